#include "store/KeptRecordings.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/AppData.h"
#include "platform/Trace.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"
#include "store/RecordInfo.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kDurationField = 10;

// A kept recording's sound is already a file: nothing to play or measure.
class KeptSource : public RecordingSource {
public:
    bool fastForward() override { return true; }
    long lengthMs() override { return 0; }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        std::error_code error;
        return fs::exists(path, error);
    }
};

char familyForType(const std::string& type)
{
    if (type == "2" || type == "3")
        return 'P';
    if (type == "1")
        return 'M';
    if (type == "4")
        return 'D';
    return 'R';
}

std::string readAll(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Files the recording kept in folder; false leaves it there.
bool fileOne(AppData& app, const fs::path& folder)
{
    RecordingToFile recording;
    recording.baseName = folder.filename().string();
    std::error_code error;
    const fs::path vxw = folder / (recording.baseName + ".vxw");
    recording.waveExtension = fs::exists(vxw, error) ? ".vxw" : ".wav";
    const std::string line = readAll(folder / (recording.baseName + ".vxl"));
    if (line.size() < indexline::kLength)
        return false;
    // As many fields as the line was built with: its padding is not one.
    const std::string text = line.substr(0, indexline::kLength);
    const std::string used = text.substr(0, text.find_last_not_of(' ') + 1);
    recording.fields = indexline::fields(line, static_cast<int>(std::count(used.begin(), used.end(), ' ')) + 1);
    if (recording.fields.size() < kDurationField)
        return false;
    recording.recId = allocateRecId(app);
    if (recording.recId == 0)
        return false;
    recording.fields[0] = indexline::recIdText(recording.recId);
    recording.family = familyForType(recording.fields[1]);
    recording.duration = recording.fields[kDurationField - 1];
    RecordInfo info;
    if (recordinfo::readFile((folder / (recording.baseName + ".vxs")).string(), &info) == 0) {
        recording.keywords = info.keywords;
        recording.extraText = info.extraText;
    }

    for (const std::string& path : RecordFiler::workFiles(app.TempDir, recording)) {
        fs::copy_file(folder / fs::path(path).filename(), path, fs::copy_options::overwrite_existing, error);
        if (error)
            return false;
    }
    KeptSource source;
    if (RecordFiler(app).save(recording, source) != 0)
        return false;
    fs::remove_all(folder, error);
    return true;
}

}  // namespace

namespace keptrecordings {

std::string folderFor(const AppData& app)
{
    return app.ProfileDir + "/" + app.DataStoreName + ".kept";
}

bool keep(const AppData& app, const RecordingToFile& recording)
{
    const fs::path folder = fs::path(folderFor(app)) / recording.baseName;
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        return false;
    fs::permissions(folderFor(app), fs::perms::owner_all, error);
    fs::permissions(folder, fs::perms::owner_all, error);
    bool kept = true;
    for (const std::string& path : RecordFiler::workFiles(app.TempDir, recording)) {
        const fs::path target = folder / fs::path(path).filename();
        fs::rename(path, target, error);
        if (error) {  // another file system: copy, then let go of the original
            error.clear();
            fs::copy_file(path, target, fs::copy_options::overwrite_existing, error);
            if (!error)
                fs::remove(path, error);
        }
        if (error) {
            OutputDebugString("Could not keep " + path + " in " + folder.string() + "\n");
            kept = false;
        }
    }
    return kept;
}

Refiled fileKept(AppData& app)
{
    Refiled result;
    std::error_code error;
    const fs::path root = folderFor(app);
    if (!fs::is_directory(root, error))
        return result;
    for (const fs::directory_entry& entry : fs::directory_iterator(root, error)) {
        if (!entry.is_directory(error))
            continue;
        if (fileOne(app, entry.path()))
            ++result.filed;
        else
            ++result.left;
    }
    if (result.left == 0)
        fs::remove(root, error);
    return result;
}

}  // namespace keptrecordings
