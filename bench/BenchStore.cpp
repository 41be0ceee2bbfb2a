#include "BenchStore.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "StoreContent.h"
#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordFiler.h"
#include "store/Workspace.h"

namespace fs = std::filesystem;

BenchStore::BenchStore(const std::string& root, const std::string& name)
{
    const std::string home = root + "/" + name;
    m_app.AppDir = home + "/";
    m_app.IniPath = home + "/NAVO.ini";
    m_app.ProfileSection = "bench";
    m_app.ProfileDir = home + "/Profiles/bench";
    m_app.DataStoreName = "NAVO";
    std::error_code error;
    fs::create_directories(m_app.ProfileDir, error);
    m_ready = !error && workspace::Workspace(m_app, workspace::kCreate, "*.*") == 0;
}

bool BenchStore::buildDictations(const std::string& root, const std::string& name, long records, std::size_t bytes)
{
    const std::string components = root + "/" + name + "-components";
    const std::string scratch = root + "/" + name + "-scratch";
    fs::create_directories(components);
    fs::create_directories(scratch);
    const StoreContent content(records, StoreContent::Mix::DictationOnly);
    const bool built = ready() && content.writeAll(components, storePath()) && create() &&
                       putComponents(components) && putRecordings(1, records, bytes, scratch, 1000, [](long) {});
    fs::remove_all(components);
    fs::remove_all(scratch);
    return built;
}

BenchStore::~BenchStore()
{
    if (m_ready)
        workspace::Workspace(m_app, workspace::kRemove, "*.*");
}

std::string BenchStore::storePath() const
{
    return m_app.ProfileDir + "/" + m_app.DataStoreName + ".vxt";
}

std::uint64_t BenchStore::fileSize() const
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(storePath(), error);
    return error ? 0 : static_cast<std::uint64_t>(size);
}

bool BenchStore::create()
{
    if (VXfilebuild(m_app.ProfileDir.c_str(), m_app.DataStoreName.c_str(), m_app.TempDir.c_str()) != 0)
        return false;
    m_app.DataStorePath = storePath();
    workspace::Workspace(m_app, workspace::kClear, "*.*");
    return true;
}

bool BenchStore::putComponents(const std::string& folder)
{
    const std::vector<const char*>& names = components::saved();
    return RPS_Put(storePath().c_str(), folder.c_str(), names.data(), static_cast<int>(names.size())) == 0;
}

bool BenchStore::putRecordings(long first, long count, std::size_t bytes, const std::string& scratch, long batch,
                               const std::function<void(long)>& progress)
{
    // Noise: a recording does not compress, and nothing below may take a
    // short cut on repeated bytes.
    std::mt19937 random(7);
    std::string content(bytes, '\0');
    for (char& c : content)
        c = static_cast<char>(random() & 0xFF);

    const long made = std::min(batch, count);
    std::vector<std::string> names;
    for (long i = 0; i < made; ++i) {
        names.push_back(RecordFiler::recordFileName(first + i));
        std::ofstream out(scratch + "/" + names.back(), std::ios::binary | std::ios::trunc);
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
        if (!out.flush())
            return false;
    }

    for (long done = 0; done < count;) {
        const long now = std::min(made, count - done);
        if (done > 0) {
            for (long i = 0; i < now; ++i) {
                const std::string next = RecordFiler::recordFileName(first + done + i);
                std::error_code error;
                fs::rename(scratch + "/" + names[static_cast<std::size_t>(i)], scratch + "/" + next, error);
                if (error)
                    return false;
                names[static_cast<std::size_t>(i)] = next;
            }
        }
        std::vector<const char*> pointers;
        for (long i = 0; i < now; ++i)
            pointers.push_back(names[static_cast<std::size_t>(i)].c_str());
        if (RPS_Put(storePath().c_str(), scratch.c_str(), pointers.data(), static_cast<int>(now)) != 0)
            return false;
        done += now;
        progress(done);
    }
    std::error_code error;
    for (const std::string& name : names)
        fs::remove(scratch + "/" + name, error);
    return true;
}

void BenchStore::setLastRecId(long recId)
{
    ProfileSettings(m_app.IniPath, m_app.ProfileSection).write(settings::kRecID, indexline::recIdText(recId));
}
