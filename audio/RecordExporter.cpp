#include "audio/RecordExporter.h"

#include <algorithm>
#include <filesystem>

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/Ek7WavComp/Ek7WavComp.h"
#include "platform/Codepage.h"
#include "platform/FileOps.h"
#include "platform/Prompt.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordFiler.h"
#include "store/RecordInfo.h"

namespace fs = std::filesystem;

namespace {

constexpr int kCannotExtract = 111;
constexpr int kCannotRead = 112;
constexpr std::size_t kNameSubjectMax = 100;
constexpr const char* kWorkFolder = "export";

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isPhoneFamily(int type)
{
    return type == 2 || type == 3;
}

// "dd/mm/yyyy hh:mm:ss" as "yyyy-mm-dd"; empty when it is not that.
std::string isoDate(const std::string& logDate)
{
    if (logDate.size() < 10 || logDate[2] != '/' || logDate[5] != '/')
        return {};
    const std::string date = logDate.substr(6, 4) + "-" + logDate.substr(3, 2) + "-" + logDate.substr(0, 2);
    for (std::size_t i : {0u, 1u, 2u, 3u, 5u, 6u, 8u, 9u})
        if (date[i] < '0' || date[i] > '9')
            return {};
    return date;
}

// A file name's part made of record text: no folder separators, no
// characters other systems refuse, no leading or trailing blanks or dots.
std::string safeName(const std::string& utf8)
{
    std::string out;
    for (char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || std::string("/\\:*?\"<>|").find(c) != std::string::npos)
            out += '_';
        else
            out += c;
    }
    if (out.size() > kNameSubjectMax) {
        out.resize(kNameSubjectMax);
        // Not in the middle of a UTF-8 character.
        while (!out.empty() && (static_cast<unsigned char>(out.back()) & 0xC0) == 0x80)
            out.pop_back();
        if (!out.empty() && static_cast<unsigned char>(out.back()) >= 0xC0)
            out.pop_back();
    }
    while (!out.empty() && (out.back() == ' ' || out.back() == '.'))
        out.pop_back();
    while (!out.empty() && out.front() == ' ')
        out.erase(out.begin());
    return out;
}

const char* filterName(int kind)
{
    switch (kind) {
    case RecordExporter::kNavo: return "Navo Recordings";
    case RecordExporter::kWav: return "WAV Files";
    case RecordExporter::kMp3: return "MP3 Files";
    case RecordExporter::kWma: return "WMA Files";
    case RecordExporter::kOgg: return "OGG Files";
    default: return "WMV Files";
    }
}

// Copies a file into place under target, never leaving half of it there.
bool copyInto(const std::string& source, const std::string& target)
{
    const std::string part = target + ".part";
    std::error_code error;
    fs::copy_file(source, part, fs::copy_options::overwrite_existing, error);
    if (error || fileops::renameFile(part, target) != 0) {
        fileops::removeFile(part);
        return false;
    }
    return true;
}

}  // namespace

struct RecordExporter::Taken {
    std::string recId;
    Naming naming;
    std::string recordFile;  // the extracted ".vxz"
    std::string sound;       // a wave of its sound ("" when it has none)
    std::string video;       // its ".wmv" member, if any
};

RecordExporter::RecordExporter(AppData& app, RunConverter runConverter)
    : m_app(app), m_runConverter(std::move(runConverter))
{
}

const char* RecordExporter::extensionOf(int kind)
{
    switch (kind) {
    case kNavo: return ".vxz";
    case kWav: return ".wav";
    case kMp3: return ".mp3";
    case kWma: return ".wma";
    case kOgg: return ".ogg";
    case kWmv: return ".wmv";
    default: return "";
    }
}

int RecordExporter::formatCodeOf(int kind)
{
    switch (kind) {
    case kWav: return FileConverter::kWav;
    case kMp3: return FileConverter::kMp3;
    case kWma:
    case kWmv: return FileConverter::kWma;
    case kOgg: return FileConverter::kOgg;
    default: return -1;
    }
}

RecordExporter::Naming RecordExporter::namingFor(int kind, const std::string& line, const std::string& author)
{
    const std::vector<std::string> fields = indexline::fields(line, 12);
    const std::string recId = fields[0];
    const int type = std::atoi(fields[1].c_str());
    Naming naming;
    if (isPhoneFamily(type)) {
        // Answer-machine messages keep the caller's number in place 5, calls
        // recorded by hand in place 4; both the name in place 3.
        const std::string name = indexline::showField(fields[2]);
        const std::string number = indexline::showField(fields[type == 2 ? 4 : 3]);
        naming.artist = utf8FromAnsi(name.empty() ? number : name);
        naming.title = naming.artist;
    } else {
        naming.title = utf8FromAnsi(indexline::showField(fields[4]));
        naming.artist = utf8FromAnsi(author);
    }
    naming.date = isoDate(indexline::showField(fields[7]));
    const std::string subject = safeName(naming.title);
    naming.fileName = recId + (subject.empty() ? "" : " " + subject) + extensionOf(kind);
    return naming;
}

int RecordExporter::take(const std::string& recId, int kind, Taken* taken)
{
    const long number = std::atol(recId.c_str());
    const std::string folder = fileops::joinPath(m_app.TempDir, kWorkFolder);
    std::error_code error;
    fs::create_directories(folder, error);
    taken->recId = recId;
    const std::string recordFileName = RecordFiler::recordFileName(number);
    if (number <= 0 || ExtractFile(m_app.DataStorePath.c_str(), recordFileName.c_str(), folder.c_str()) != 0)
        return kCannotExtract;
    taken->recordFile = fileops::joinPath(folder, recordFileName);
    std::vector<std::string> members;
    if (VXopenVXZ(taken->recordFile.c_str(), folder.c_str()) != 0 ||
        VXlistMembers(taken->recordFile.c_str(), &members) != 0)
        return kCannotRead;
    std::string line, author;
    for (const std::string& member : members) {
        const std::string path = fileops::joinPath(folder, member);
        if (endsWith(member, ".vxl")) {
            fileops::readWholeFile(path, &line);
        } else if (endsWith(member, ".vxs")) {
            RecordInfo info;
            if (recordinfo::readFile(path, &info) == 0)
                author = info.user;
        } else if (endsWith(member, ".wmv")) {
            taken->video = path;
        } else if ((endsWith(member, ".wav") || endsWith(member, ".vxw")) && taken->sound.empty()) {
            taken->sound = path;
        }
    }
    if (line.size() < indexline::kLineBytes - 1 || line.compare(0, recId.size(), recId) != 0)
        return kCannotRead;
    taken->naming = namingFor(kind, line, author);
    // A compressed recording is made a wave again for the converters.
    if (kind != kNavo && !taken->sound.empty() && Ek7WavIsComp(taken->sound.c_str())) {
        const std::string wave = taken->sound + ".wav";
        if (Ek7WavDeComp(0, taken->sound.c_str(), wave.c_str()) != kEk7WavCompFinished)
            return kCannotRead;
        taken->sound = wave;
    }
    if (kind != kNavo && taken->sound.empty() && !(kind == kWmv && !taken->video.empty()))
        return kCannotRead;
    return 0;
}

RecordExporter::Result RecordExporter::exportRecords(int kind, const std::vector<std::string>& recIds)
{
    Result result;
    if (*extensionOf(kind) == '\0' || recIds.empty())
        return result;
    const std::string folder = fileops::joinPath(m_app.TempDir, kWorkFolder);
    struct Cleanup {
        std::string folder;
        ~Cleanup()
        {
            std::error_code ignored;
            fs::remove_all(folder, ignored);
        }
    } cleanup{folder};

    std::vector<Taken> records;
    for (const std::string& recId : recIds) {
        Taken taken;
        const int code = take(recId, kind, &taken);
        if (code != 0) {
            ShowCodedMessage(code, MB_ICONEXCLAMATION);
            ++result.failed;
            continue;
        }
        records.push_back(std::move(taken));
    }
    if (records.empty())
        return result;

    // Where each goes.
    std::vector<std::string> targets;
    std::string chosenFolder;
    for (const Taken& taken : records) {
        if (!targets.empty() && m_app.PromptOnExport == 0) {
            // Named by Navo, not by the user: an existing file of that name
            // is replaced only when the user says so.
            const std::string target = fileops::joinPath(chosenFolder, taken.naming.fileName);
            if (fileops::fileExists(target) &&
                AfxMessageBox(target + " already exists.\nDo you want to replace it?", MB_YESNO | MB_ICONEXCLAMATION) !=
                    IDYES)
                targets.push_back({});
            else
                targets.push_back(target);
            continue;
        }
        FileDialogRequest request;
        request.open = false;
        request.title = "Export " + taken.recId;
        const std::string extension = extensionOf(kind);
        request.filter = filterName(kind) + std::string(" (*") + extension + ")|*" + extension + "|All Files (*.*)|*.*||";
        request.defaultExt = extension.substr(1);
        request.initialDir = chosenFolder;
        request.fileName = taken.naming.fileName;
        request.overwritePrompt = true;
        const std::optional<std::string> chosen = currentPrompt().chooseFile(request);
        if (!chosen) {
            result.cancelled = true;
            return result;
        }
        targets.push_back(*chosen);
        chosenFolder = fileops::parentFolderOf(*chosen);
    }
    result.files = targets;

    std::vector<FileConverter::Job> jobs;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const Taken& taken = records[i];
        if (targets[i].empty())
            continue;
        const std::string copyFrom = kind == kNavo ? taken.recordFile : kind == kWmv ? taken.video : std::string();
        if (!copyFrom.empty()) {
            if (copyInto(copyFrom, targets[i]))
                ++result.exported;
            else
                ++result.failed;
            continue;
        }
        jobs.push_back({taken.sound, targets[i], formatCodeOf(kind), taken.naming.title, taken.naming.artist,
                        taken.naming.date});
    }
    if (!jobs.empty()) {
        const int converted = m_runConverter ? m_runConverter(jobs) : 0;
        result.exported += converted;
        result.failed += static_cast<int>(jobs.size()) - converted;
    }
    return result;
}
