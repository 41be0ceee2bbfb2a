#include "store/RecordImport.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "core/AppData.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"
#include "store/RecordInfo.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kDurationField = 10;
// A batch is filed when it holds this many records, or when its first
// record has waited this long: a crash loses no more than that.
constexpr std::size_t kBatchRecords = 32;
constexpr auto kBatchWait = std::chrono::milliseconds(500);
// Nor more sound held in memory than this.
constexpr std::size_t kBatchBytes = 64 * 1024 * 1024;
constexpr const char* kFamilies[] = {components::kDictation, components::kMeeting, components::kPhone,
                                     components::kDiary};
// Components another module merges: phone book, templates, agendas.
constexpr const char* kMergedComponents[] = {components::kPhoneBook, components::kTemplates, components::kCounterA};

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

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// FNV-1a over a file's bytes, as hex; "" when it cannot be read.
std::string digestText(std::uint64_t hash)
{
    char text[20];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

void fnv(std::uint64_t* hash, const char* bytes, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        *hash ^= static_cast<unsigned char>(bytes[i]);
        *hash *= 1099511628211ull;
    }
}

constexpr std::uint64_t kFnvStart = 1469598103934665603ull;

std::string fileDigest(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return {};
    std::uint64_t hash = kFnvStart;
    char buffer[65536];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0)
        fnv(&hash, buffer, static_cast<std::size_t>(in.gcount()));
    return digestText(hash);
}

std::string bytesDigest(const std::string& bytes)
{
    std::uint64_t hash = kFnvStart;
    fnv(&hash, bytes.data(), bytes.size());
    return digestText(hash);
}

// What makes two records the same: the sound and the search texts (the line
// is compared on its own first).
std::string contentKey(const std::string& digest, const std::string& keywords, const std::string& extraText)
{
    if (digest.empty())
        return {};
    return digest + '\n' + keywords + '\n' + extraText;
}

// The line without its RecID and padding: equal for a record and its copy.
std::string textKey(const std::string& line)
{
    std::string text = line.substr(8, indexline::kLength - 8);
    const std::size_t end = text.find_last_not_of(' ');
    return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

bool parseRecId(const char* line, long* recId)
{
    long number = 0;
    for (int i = 0; i < 8; ++i) {
        if (line[i] < '0' || line[i] > '9')
            return false;
        number = number * 10 + (line[i] - '0');
    }
    *recId = number;
    return true;
}

void clearFolder(const std::string& folder)
{
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

// A sub-folder of the scratch folder, made empty.
std::string freshFolder(const std::string& scratch, const std::string& name)
{
    const std::string path = scratch + "/" + name;
    clearFolder(path);
    std::error_code ignored;
    fs::create_directories(path, ignored);
    return path;
}

std::string vxReason(int code)
{
    switch (code) {
    case kVxErrExtract: return "the record file cannot be taken from the data store (Error 111)";
    case kVxErrRead: return "the file cannot be read or is no Navo record file (Error 112)";
    case kVxErrDamaged: return "Corrupted Navo file (Error 113)";
    default: return "Error " + std::to_string(code);
    }
}

}  // namespace

std::string ImportReport::summary() const
{
    if (refused())
        return refusal;
    std::string text = "Imported: " + std::to_string(imported) + "\nAlready in the data store (skipped): "
                       + std::to_string(skipped) + "\nFailed: " + std::to_string(failed.size());
    for (const ImportFailure& failure : failed)
        text += "\n  " + failure.what + " : " + failure.reason;
    for (const std::string& note : notes)
        text += "\n" + note;
    return text;
}

RecordImport::RecordImport(AppData& app) : m_app(app)
{
    if (fileops::makeTempFolder(m_app.TempDir, ".import-", &m_scratch) != 0)
        m_scratch.clear();
}

RecordImport::~RecordImport()
{
    // Queued and never filed (an import that did not flush): nothing of them
    // is in the store, and their work files go.
    for (const Pending& pending : m_pending)
        removeWorkFiles(pending.recording);
    if (!m_scratch.empty())
        clearFolder(m_scratch);
}

std::string RecordImport::prepare(const std::string& folder, Prepared* record)
{
    Prepared found;
    found.folder = folder;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
        found.members.push_back(entry.path().filename().string());
    std::sort(found.members.begin(), found.members.end());
    for (const std::string& member : found.members)
        if (endsWith(member, ".vxl"))
            found.baseName = member.substr(0, member.size() - 4);
    if (found.baseName.empty())
        return "it holds no index line (no .vxl member)";
    for (const char* extension : {".wav", ".vxw"})
        if (std::count(found.members.begin(), found.members.end(), found.baseName + extension) != 0)
            found.waveExtension = extension;
    if (found.waveExtension.empty())
        return "it holds no sound";
    std::string line;
    if (fileops::readWholeFile(folder + "/" + found.baseName + ".vxl", &line) != 0 || line.size() < indexline::kLineBytes)
        return "its index line is shorter than 401 bytes";
    found.line = line.substr(0, indexline::kLineBytes);
    long recId = 0;
    if (!parseRecId(found.line.c_str(), &recId) || found.line[8] != ' ')
        return "its index line does not start with a RecID";
    *record = std::move(found);
    return {};
}

void RecordImport::loadStoreTexts()
{
    if (m_textsLoaded)
        return;
    m_textsLoaded = true;
    for (const char* family : kFamilies) {
        std::string text;
        if (fileops::readWholeFile(components::workspacePath(m_app.TempDir, family), &text) != 0)
            continue;
        for (std::size_t at = 0; at + indexline::kLineBytes <= text.size(); at += indexline::kLineBytes) {
            long recId = 0;
            if (!parseRecId(text.c_str() + at, &recId) || recId == 0 || text.compare(at, 8, indexline::kDeletedRecId) == 0)
                continue;
            m_byText.emplace(textKey(text.substr(at, indexline::kLineBytes)), recId);
        }
    }
}

// The content key of a record already in the store, from its record file.
std::string RecordImport::storedContentKey(long recId)
{
    const auto known = m_contentOf.find(recId);
    if (known != m_contentOf.end())
        return known->second;
    std::string key;
    const std::string folder = freshFolder(m_scratch, "stored");
    const std::string recordFile = RecordFiler::recordFileName(recId);
    if (ExtractFile(m_app.DataStorePath.c_str(), recordFile.c_str(), folder.c_str()) == 0) {
        const std::string local = folder + "/" + recordFile;
        const std::string members = freshFolder(folder, "members");
        Prepared stored;
        if (VXopenVXZ(local.c_str(), members.c_str()) == 0 && prepare(members, &stored).empty()) {
            RecordInfo info;
            recordinfo::readFile(members + "/" + stored.baseName + ".vxs", &info);
            key = contentKey(fileDigest(members + "/" + stored.baseName + stored.waveExtension), info.keywords,
                             info.extraText);
        }
    }
    clearFolder(folder);
    m_contentOf[recId] = key;
    return key;
}

void RecordImport::file(const Prepared& record, const std::string& what, ImportReport* report)
{
    // New work-file names, so that nothing of another record in the
    // workspace is taken or overwritten.
    char stamp[kDateStampSize];
    DateStamp(stamp);
    const std::string baseName = stamp;
    RecordingToFile recording;
    recording.baseName = baseName;
    recording.waveExtension = record.waveExtension;
    recording.keepInfo = true;
    std::vector<std::pair<std::string, std::string>> moves;  // from, to
    for (const std::string& member : record.members) {
        std::string name = member;
        if (member.compare(0, record.baseName.size() + 1, record.baseName + ".") == 0)
            name = baseName + member.substr(record.baseName.size());
        const std::string target = components::workspacePath(m_app.TempDir, name);
        if (fileops::fileExists(target)) {
            report->failed.push_back({what, "a work file of the same name is in use (" + name + ")"});
            return;
        }
        moves.emplace_back(record.folder + "/" + member, target);
        if (name != baseName + record.waveExtension && name != baseName + ".vxl" && name != baseName + ".vxs")
            recording.extraMembers.push_back(name);
    }

    const std::string used = textKey(record.line);
    recording.fields = indexline::fields(record.line, static_cast<int>(std::count(used.begin(), used.end(), ' ')) + 1);
    if (recording.fields.size() < kDurationField)
        recording.fields.resize(kDurationField);
    recording.duration = recording.fields[kDurationField - 1];

    for (const auto& move : moves) {
        std::error_code error;
        fs::rename(move.first, move.second, error);
        if (error) {
            error.clear();
            fs::copy_file(move.first, move.second, fs::copy_options::overwrite_existing, error);
        }
        if (error) {
            for (const auto& moved : moves)
                fileops::removeFile(moved.second);
            report->failed.push_back({what, "its files cannot be written to the workspace (" + error.message() + ")"});
            return;
        }
    }
    RecordInfo info;
    if (recordinfo::readFile(RecordFiler::infoPath(m_app.TempDir, baseName), &info) == 0) {
        recording.keywords = info.keywords.substr(0, 4999);
        recording.extraText = info.extraText;
    }
    add(std::move(recording), what, report);
}

std::string RecordImport::contentOf(Pending& pending)
{
    if (pending.content.empty()) {
        const RecordingToFile& recording = pending.recording;
        const std::string digest =
            recording.waveBytes.empty()
                ? fileDigest(RecordFiler::wavePath(m_app.TempDir, recording.baseName, recording.waveExtension))
                : bytesDigest(recording.waveBytes);
        pending.content = contentKey(digest, recording.keywords, recording.extraText);
    }
    return pending.content;
}

// Only a record whose line matches one here (or one queued) has its sound
// compared: most imports never read a sound twice.
bool RecordImport::isDuplicate(Pending& pending)
{
    loadStoreTexts();
    const auto range = m_byText.equal_range(pending.text);
    for (auto it = range.first; it != range.second; ++it) {
        const std::string content = contentOf(pending);
        if (!content.empty() && storedContentKey(it->second) == content)
            return true;
    }
    for (Pending& queued : m_pending)
        if (queued.text == pending.text && !contentOf(pending).empty() && contentOf(queued) == contentOf(pending))
            return true;
    return false;
}

void RecordImport::removeWorkFiles(const RecordingToFile& recording)
{
    if (recording.waveBytes.empty())
        for (const std::string& path : RecordFiler::workFiles(m_app.TempDir, recording))
            fileops::removeFile(path);
    for (const std::string& extra : recording.extraMembers)
        fileops::removeFile(components::workspacePath(m_app.TempDir, extra));
}

void RecordImport::add(RecordingToFile recording, const std::string& what, ImportReport* report)
{
    if (m_storeRefused) {
        removeWorkFiles(recording);
        report->failed.push_back({what, "not tried: the data store refused an earlier record"});
        return;
    }
    if (recording.fields.size() < kDurationField)
        recording.fields.resize(kDurationField);
    recording.fields[0] = indexline::recIdText(0);
    recording.fields[kDurationField - 1] = recording.duration;
    recording.family = familyForType(recording.fields[1]);
    recording.recId = 0;
    recording.reRecorded = false;
    if (recording.extraText.empty())
        recording.extraText = " ";
    Pending pending{std::move(recording), what, {}, {}};
    pending.text = textKey(indexline::build(pending.recording.fields));
    if (isDuplicate(pending)) {
        removeWorkFiles(pending.recording);
        ++report->skipped;
        return;
    }
    if (m_pending.empty()) {
        m_firstPending = std::chrono::steady_clock::now();
        m_pendingBytes = 0;
    }
    m_pendingBytes += pending.recording.waveBytes.size();
    m_pending.push_back(std::move(pending));
    if (m_pending.size() >= kBatchRecords || m_pendingBytes >= kBatchBytes
        || std::chrono::steady_clock::now() - m_firstPending >= kBatchWait)
        flush(report);
}

void RecordImport::flush(ImportReport* report)
{
    if (m_pending.empty())
        return;
    std::vector<Pending> pending;
    pending.swap(m_pending);
    const long first = allocateRecIds(m_app, static_cast<long>(pending.size()));
    if (first == 0) {
        m_storeRefused = true;
        for (const Pending& one : pending) {
            removeWorkFiles(one.recording);
            report->failed.push_back({one.what, "this data store has used up its record numbers"});
        }
        return;
    }
    std::vector<RecordingToFile> recordings;
    std::vector<bool> inMemory;
    recordings.reserve(pending.size());
    for (std::size_t i = 0; i < pending.size(); ++i) {
        inMemory.push_back(!pending[i].recording.waveBytes.empty());
        RecordingToFile recording = std::move(pending[i].recording);
        recording.recId = first + static_cast<long>(i);
        recording.fields[0] = indexline::recIdText(recording.recId);
        recordings.push_back(std::move(recording));
    }
    const std::vector<int> results = RecordFiler(m_app).saveBatch(recordings);
    bool anyFiled = false;
    for (std::size_t i = 0; i < pending.size(); ++i) {
        // The filer deletes the work files it filed; the other members and,
        // when it did not file, everything else are this import's to remove.
        if (RecordFiler::notFiled(results[i]) && !inMemory[i]) {
            removeWorkFiles(recordings[i]);
        } else {
            for (const std::string& extra : recordings[i].extraMembers)
                fileops::removeFile(components::workspacePath(m_app.TempDir, extra));
        }
        if (RecordFiler::notFiled(results[i])) {
            report->failed.push_back(
                {pending[i].what, "the data store did not take it (Error " + std::to_string(results[i]) + ")"});
            continue;
        }
        anyFiled = true;
        ++report->imported;
        report->recIds.push_back(recordings[i].recId);
        m_byText.emplace(pending[i].text, recordings[i].recId);
        if (!pending[i].content.empty())
            m_contentOf[recordings[i].recId] = pending[i].content;
    }
    // The store itself refused: the records after these are not tried.
    if (!anyFiled)
        m_storeRefused = true;
}

ImportReport RecordImport::importStore(const std::string& sourcePath, const ImportProgress& progress)
{
    ImportReport report;
    const std::string name = fs::path(sourcePath).filename().string();
    auto refuse = [&](const std::string& reason) {
        report.refusal = "The data store " + sourcePath + " cannot be imported: " + reason;
        OutputDebugString(report.refusal + "\n");
        return report;
    };
    if (m_scratch.empty())
        return refuse("the temporary workspace cannot be written");
    std::error_code error;
    if (fs::equivalent(sourcePath, m_app.DataStorePath, error))
        return refuse("it is the data store open now");
    if (!fs::is_regular_file(sourcePath, error))
        return refuse("there is no such file");
    if (const int checked = RPS_Check(sourcePath.c_str()); checked != kRpsOk)
        return refuse(rpsErrorText(checked));

    // Everything is read and checked before the first record is filed, so a
    // damaged store changes nothing here.
    const std::string families = freshFolder(m_scratch, "families");
    for (const char* family : kFamilies) {
        if (const int got = RPS_Get(sourcePath.c_str(), families.c_str(), &family, 1); got != kRpsOk)
            return refuse(std::string(family) + ": " + rpsErrorText(got));
    }
    struct SourceRecord {
        long recId;
        std::string folder;
    };
    std::map<long, std::string> lines;  // the last line of a RecID counts
    for (const char* family : kFamilies) {
        std::string text;
        if (fileops::readWholeFile(families + "/" + family, &text) != 0)
            return refuse(std::string(family) + " cannot be read");
        if (text.size() % indexline::kLineBytes != 0)
            return refuse(std::string(family) + " is damaged: it is not made of whole 401-byte lines");
        for (std::size_t at = 0; at < text.size(); at += indexline::kLineBytes) {
            long recId = 0;
            if (!parseRecId(text.c_str() + at, &recId) || text[at + indexline::kLength] != '\n')
                return refuse(std::string(family) + " is damaged: the line at byte " + std::to_string(at)
                              + " is not an index line");
            if (recId != 0 && text.compare(at, 8, indexline::kDeletedRecId) != 0)
                lines[recId] = text.substr(at, indexline::kLineBytes);
        }
    }
    std::vector<SourceRecord> records;
    for (const auto& [recId, line] : lines) {
        const std::string recordFile = RecordFiler::recordFileName(recId);
        const std::string folder = freshFolder(m_scratch, std::to_string(recId));
        const int got = ExtractFile(sourcePath.c_str(), recordFile.c_str(), folder.c_str());
        if (got != 0)
            return refuse(recordFile + ": " + vxReason(got));
        const std::string local = folder + "/" + recordFile;
        const std::string members = folder + "/members";
        fs::create_directories(members, error);
        const int opened = VXopenVXZ(local.c_str(), members.c_str());
        if (opened != 0)
            return refuse(recordFile + ": " + vxReason(opened));
        fileops::removeFile(local);
        Prepared record;
        if (const std::string problem = prepare(members, &record); !problem.empty())
            return refuse(recordFile + ": " + problem);
        // The store's line is the record's line, even where the copy in its
        // record file is older.
        fileops::writeWholeFile(members + "/" + record.baseName + ".vxl", line.data(), line.size());
        records.push_back({recId, members});
    }

    for (std::size_t i = 0; i < records.size(); ++i) {
        if (progress && !progress(i, records.size())) {
            flush(&report);
            report.failed.push_back({name, "stopped: " + std::to_string(records.size() - i) + " records not imported"});
            break;
        }
        Prepared record;
        const std::string what = RecordFiler::recordFileName(records[i].recId) + " in " + name;
        if (const std::string problem = prepare(records[i].folder, &record); !problem.empty())
            report.failed.push_back({what, problem});
        else
            file(record, what, &report);
        clearFolder(fs::path(records[i].folder).parent_path().string());
    }
    flush(&report);

    // The one place the store's other components come in.
    if (m_merge) {
        const std::string folder = freshFolder(m_scratch, "components");
        for (const char* component : kMergedComponents)
            if (RPS_Exists(sourcePath.c_str(), component) == 0)
                RPS_Get(sourcePath.c_str(), folder.c_str(), &component, 1);
        m_merge(sourcePath, folder, &report);
        clearFolder(folder);
    }
    if (progress)
        progress(records.size(), records.size());
    return report;
}

ImportReport RecordImport::importRecordFiles(const std::vector<std::string>& paths, const ImportProgress& progress)
{
    ImportReport report;
    if (m_scratch.empty()) {
        report.refusal = "The temporary workspace cannot be written";
        return report;
    }
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (progress && !progress(i, paths.size())) {
            flush(&report);
            report.failed.push_back({"", "stopped: " + std::to_string(paths.size() - i) + " files not imported"});
            break;
        }
        const std::string& path = paths[i];
        const std::string folder = freshFolder(m_scratch, "file");
        const int opened = VXopenVXZ(path.c_str(), folder.c_str());
        Prepared record;
        if (opened != 0)
            report.failed.push_back({path, vxReason(opened)});
        else if (const std::string problem = prepare(folder, &record); !problem.empty())
            report.failed.push_back({path, "not a Navo record file: " + problem});
        else
            file(record, path, &report);
        clearFolder(folder);
    }
    flush(&report);
    if (progress)
        progress(paths.size(), paths.size());
    return report;
}
