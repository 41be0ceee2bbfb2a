// A workspace, a profile and a real data store in a temporary folder, and a
// recorder stand-in that writes a real wave file, for the store tests.
#pragma once

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>

#include "core/AppData.h"
#include "core/ProfileSettings.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"
#include "store/DataStore.h"
#include "store/Workspace.h"

inline std::string readAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline void writeAll(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

inline unsigned fileMode(const std::string& path)
{
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 0777) : 0;
}

// A mono 8 kHz 16-bit wave of n samples.
inline std::string waveBytes(std::uint32_t samples)
{
    auto put32 = [](std::string& s, std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            s += static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    auto put16 = [](std::string& s, std::uint16_t v) {
        s += static_cast<char>(v & 0xFF);
        s += static_cast<char>(v >> 8);
    };
    std::string w = "RIFF";
    put32(w, 36 + samples * 2);
    w += "WAVEfmt ";
    put32(w, 16);
    put16(w, 1);
    put16(w, 1);
    put32(w, 8000);
    put32(w, 16000);
    put16(w, 2);
    put16(w, 16);
    w += "data";
    put32(w, samples * 2);
    for (std::uint32_t i = 0; i < samples; ++i)
        put16(w, static_cast<std::uint16_t>((i * 37) & 0xFFFF));
    return w;
}

class FakeRecording : public RecordingSource {
public:
    explicit FakeRecording(std::uint32_t samples = 8000, bool writes = true) : m_samples(samples), m_writes(writes) {}
    bool fastForward() override { return true; }
    long lengthMs() override { return static_cast<long>(m_samples) / 8; }
    void showDuration(const std::string& text) override { shown = text; }
    bool writeWave(const std::string& path) override
    {
        if (m_writes)
            writeAll(path, waveBytes(m_samples));
        return m_writes;
    }
    std::string shown;

private:
    std::uint32_t m_samples;
    bool m_writes;
};

// The paths and names of another block (the block itself cannot be copied:
// worker threads watch some of its flags).
inline void copyPaths(AppData& to, const AppData& from)
{
    to.AppDir = from.AppDir;
    to.IniPath = from.IniPath;
    to.ProfileSection = from.ProfileSection;
    to.ProfileDir = from.ProfileDir;
    to.DataStorePath = from.DataStorePath;
    to.DataStoreName = from.DataStoreName;
    to.TempDir = from.TempDir;
}

class StoreFixture : public ::testing::Test {
protected:
    QTemporaryDir dir;
    AppData app;

    std::string root() const { return dir.path().toStdString(); }
    ProfileSettings profile() const { return ProfileSettings(app.IniPath, app.ProfileSection); }

    void SetUp() override
    {
        app.AppDir = root() + "/";
        app.IniPath = root() + "/NAVO.ini";
        app.ProfileSection = "tester";
        app.ProfileDir = root() + "/Profiles/tester";
        app.DataStoreName = "NAVO";
        std::filesystem::create_directories(app.ProfileDir);
        ASSERT_EQ(workspace::Workspace(app, workspace::kCreate, "*.*"), 0);
    }

    void TearDown() override { workspace::Workspace(app, workspace::kRemove, "*.*"); }

    std::string storePath() const { return app.ProfileDir + "/" + app.DataStoreName + ".vxt"; }

    // A new, empty store, built the way start-up builds one.
    void buildStore()
    {
        ASSERT_EQ(VXfilebuild(app.ProfileDir.c_str(), app.DataStoreName.c_str(), app.TempDir.c_str()), 0);
        app.DataStorePath = storePath();
    }

    // A dictation filed through the real procedure; returns its RecID.
    long fileDictation(const std::string& subject, const std::string& keywords = "words",
                       std::uint32_t samples = 8000)
    {
        const NewRecordNames names = prepareNewRecording(app);
        RecordingToFile rec;
        rec.recId = names.recId;
        rec.baseName = names.baseName;
        rec.family = 'R';
        rec.fields = {indexlineRecId(names.recId), "0", "0", "", subject, "", "", "22/11/2026 10:00:00",
                      "22/11/2026 10:01:00", "", "", "0"};
        rec.keywords = keywords;
        rec.extraText = " ";
        FakeRecording source(samples);
        RecordFiler filer(app);
        lastResult = filer.save(rec, source);
        lastPosition = filer.linePosition();
        lastColumns = filer.columns();
        return names.recId;
    }

    // An answer-machine message, its sound filed as the line library saves it.
    long fileMessage(std::uint32_t samples = 8000)
    {
        const NewRecordNames names = prepareNewRecording(app);
        RecordingToFile rec;
        rec.recId = names.recId;
        rec.baseName = names.baseName;
        rec.family = 'P';
        rec.waveExtension = ".vxw";
        rec.fields = {indexlineRecId(names.recId), "2", "Ann Smith", "", "01632 960000", "", "",
                      "22/11/2026 10:00:00", "22/11/2026 10:01:00", "", "7", "0"};
        rec.keywords = "Answer Machine Message";
        rec.extraText = " ";
        FakeRecording source(samples);
        lastResult = RecordFiler(app).save(rec, source);
        return names.recId;
    }

    // The bytes of the member whose name ends with suffix in a record's
    // file, both taken out of the store into folder; a text saying what is
    // missing otherwise.
    std::string storedMember(long recId, const std::string& suffix, std::string folder = {}) const
    {
        if (folder.empty())
            folder = root() + "/out";
        std::filesystem::create_directories(folder);
        const std::string recordFile = RecordFiler::recordFileName(recId);
        if (ExtractFile(app.DataStorePath.c_str(), recordFile.c_str(), folder.c_str()) != 0)
            return "(no record file)";
        const std::string local = folder + "/" + recordFile;
        std::vector<std::string> members;
        VXlistMembers(local.c_str(), &members);
        for (const std::string& m : members)
            if (m.size() > suffix.size() && m.compare(m.size() - suffix.size(), suffix.size(), suffix) == 0)
                return ExtractFile(local.c_str(), m.c_str(), folder.c_str()) == 0 ? readAll(folder + "/" + m)
                                                                                   : "(member unreadable)";
        return "(no member " + suffix + ")";
    }

    // A record file taken from the store and opened (every member's CRC
    // checked): its size and its members by extension.
    struct StoredRecord {
        std::uint64_t fileSize = 0;
        std::map<std::string, std::string> members;
    };
    StoredRecord storedRecord(long recId) const
    {
        StoredRecord result;
        const std::string recordFile = RecordFiler::recordFileName(recId);
        const std::string folder = root() + "/check-" + std::to_string(recId);
        std::filesystem::create_directories(folder);
        const std::string local = folder + "/" + recordFile;
        EXPECT_EQ(ExtractFile(app.DataStorePath.c_str(), recordFile.c_str(), folder.c_str()), 0);
        std::error_code error;
        result.fileSize = std::filesystem::file_size(local, error);
        EXPECT_EQ(VXopenVXZ(local.c_str(), folder.c_str()), 0);
        std::filesystem::remove(local, error);
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            result.members[entry.path().extension().string()] = readAll(entry.path().string());
        std::filesystem::remove_all(folder, error);
        return result;
    }

    static std::string indexlineRecId(long recId)
    {
        char text[16];
        std::snprintf(text, sizeof text, "%08ld", recId);
        return text;
    }

    int lastResult = -1;
    long lastPosition = 0;
    std::vector<std::string> lastColumns;
};

// A store built and opened, as after a first start.
class OpenStoreFixture : public StoreFixture {
protected:
    DataStore store;
    void SetUp() override
    {
        StoreFixture::SetUp();
        buildStore();
        ASSERT_EQ(store.extract(app), 0);
    }
};
