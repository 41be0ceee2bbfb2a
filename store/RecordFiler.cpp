#include "store/RecordFiler.h"

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/IndexLineFile.h"
#include "store/RecordInfo.h"

namespace {

constexpr std::size_t kDurationField = 10;  // counted from 1
constexpr std::size_t kStartField = 8;

std::string familyNameFor(char family)
{
    switch (family) {
    case 'P': return components::kPhone;
    case 'M': return components::kMeeting;
    case 'D': return components::kDiary;
    default: return components::kDictation;
    }
}

std::string fieldOrEmpty(const std::vector<std::string>& fields, std::size_t number)
{
    return number <= fields.size() ? fields[number - 1] : std::string();
}

}  // namespace

RecordFiler::RecordFiler(const AppData& app) : RecordFiler(app.TempDir, app.DataStorePath) {}

RecordFiler::RecordFiler(std::string workspace, std::string storePath)
    : m_workspace(std::move(workspace)), m_storePath(std::move(storePath))
{
}

std::string RecordFiler::wavePath(const std::string& workspace, const std::string& baseName,
                                  const std::string& extension)
{
    return components::workspacePath(workspace, baseName + extension);
}

std::vector<std::string> RecordFiler::workFiles(const std::string& workspace, const RecordingToFile& recording)
{
    return {wavePath(workspace, recording.baseName, recording.waveExtension),
            linePath(workspace, recording.baseName), infoPath(workspace, recording.baseName)};
}

std::string RecordFiler::linePath(const std::string& workspace, const std::string& baseName)
{
    return components::workspacePath(workspace, baseName + ".vxl");
}

std::string RecordFiler::infoPath(const std::string& workspace, const std::string& baseName)
{
    return components::workspacePath(workspace, baseName + ".vxs");
}

std::string RecordFiler::recordFileName(long recId)
{
    return indexline::recIdText(recId) + ".vxz";
}

int RecordFiler::save(RecordingToFile& recording, RecordingSource& source)
{
    m_columns.clear();
    m_position = 0;
    int result = file(recording, source);
    // A new record file took its extra members in the filing itself.
    if (result == 0 && recording.reRecorded)
        result = addMembers(recording);
    if (result > 0)
        ShowCodedMessage(result, MB_ICONEXCLAMATION);
    // Not filed: the work files are all there is of the recording.
    if (notFiled(result))
        return result;
    for (const std::string& path : workFiles(m_workspace, recording))
        fileops::removeFile(path);
    OutputDebugString("Saving done closing dialog\n");
    return result;
}

int RecordFiler::file(RecordingToFile& recording, RecordingSource& source)
{
    const std::string wave = wavePath(m_workspace, recording.baseName, recording.waveExtension);
    const std::string lineFile = linePath(m_workspace, recording.baseName);
    const std::string info = infoPath(m_workspace, recording.baseName);

    // 1. The search text, kept in the "vxs" file with the audit data.
    OutputDebugString("Saving SFS\n");
    RecordInfo details;
    if (recording.reRecorded || recording.keepInfo)
        recordinfo::readFile(info, &details);  // kept from the record file when it was opened
    details.keywords = recording.keywords;
    details.extraText = recording.extraText;
    recordinfo::stamp(&details);
    recordinfo::writeFile(info, details);
    OutputDebugString("Saved SFS\n");

    // 2.-4.
    OutputDebugString("About to fast forward\n");
    if (source.fastForward())
        OutputDebugString("Fast forward OK\n");
    std::string duration = recording.duration;
    if (duration.empty()) {
        char text[128];
        conv_millisec(source.lengthMs(), text);
        duration = text;
    }
    source.showDuration(duration);
    OutputDebugString("Saving WAV file\n");
    if (source.writeWave(wave))
        OutputDebugString("WAV file saved\n");

    // 5.-6. The line, and the fields read back as the list will show them.
    if (recording.fields.size() < kDurationField)
        recording.fields.resize(kDurationField);
    recording.fields[kDurationField - 1] = duration;
    const std::string line = indexline::build(recording.fields);
    m_columns = indexline::fields(line);
    if (!indexlinefile::rewriteFromColumns(lineFile, m_columns))
        OutputDebugString("Could not write the index line file\n");

    // 7. Everything that goes into the record file must be there.
    for (const std::string& path : {wave, lineFile, info})
        if (!fileops::fileExists(path))
            return kMissingFile;
    for (const std::string& extra : recording.extraMembers)
        if (!fileops::fileExists(components::workspacePath(m_workspace, extra)))
            return kMissingFile;

    // 8. A replaced attachment leaves the record file before it is rewritten.
    if (recording.reRecorded && !recording.replacedAttachment.empty())
        dropMember(recording.recordFileName, recording.replacedAttachment);

    return recording.reRecorded ? fileAgain(recording, line, lineFile)
                                : fileNew(recording, line, wave, lineFile, info);
}

int RecordFiler::addMembers(const RecordingToFile& recording)
{
    const std::string recordFile = recording.reRecorded ? recording.recordFileName : recordFileName(recording.recId);
    for (const std::string& extra : recording.extraMembers)
        if (VXsaveVXZ(recordFile.c_str(), m_workspace.c_str(), m_storePath.c_str(), extra.c_str()) != 0)
            return kRecordFileFailed;
    return 0;
}

void RecordFiler::dropMember(const std::string& recordFileName, const std::string& member)
{
    const std::string local = components::workspacePath(m_workspace, recordFileName);
    if (ExtractFile(m_storePath.c_str(), recordFileName.c_str(), m_workspace.c_str()) != 0)
        return;
    const char* names[] = {recordFileName.c_str()};
    if (DelFile(local.c_str(), member.c_str()) == 0)
        RPS_Put(m_storePath.c_str(), m_workspace.c_str(), names, 1);
    fileops::removeFile(local);
}

int RecordFiler::fileNew(const RecordingToFile& recording, const std::string& line, const std::string& wave,
                         const std::string& lineFile, const std::string& info)
{
    OutputDebugString("Saving Navo file to repository\n");
    // The record file with all its members and the line go into the store
    // in one transaction.
    std::vector<std::string> files = {wave, lineFile, info};
    if (!recording.attachment.empty())
        files.push_back(recording.attachment);
    for (const std::string& extra : recording.extraMembers)
        files.push_back(components::workspacePath(m_workspace, extra));
    const unsigned position = VXsaveFiles(recording.family, files, m_workspace.c_str(), m_storePath.c_str());
    if (position == 0)
        return kRecordFileFailed;
    OutputDebugString("Navo file saved to repository\n");
    m_position = static_cast<long>(position);
    // The record file and its line went in together. The index entry is
    // derived from them: one that cannot be added now is rebuilt when the
    // store is next opened, so the recording is not lost with it.
    OutputDebugString("Updating Index\n");
    if (!addToIndex(recording, line))
        return kIndexFailed;
    OutputDebugString("Index updated\n");
    return 0;
}

int RecordFiler::fileAgain(const RecordingToFile& recording, const std::string& line,
                           const std::string& lineFile)
{
    const long position = family::replaceRecordLine(recording.recordFileName, m_workspace, m_storePath, "",
                                                    familyNameFor(recording.family), lineFile);
    if (position == 0)
        return kRecordFileFailed;
    m_position = position;
    removeFromIndex(recording.recId);
    return addToIndex(recording, line) ? 0 : kIndexFailed;
}

std::vector<int> RecordFiler::saveBatch(std::vector<RecordingToFile>& recordings)
{
    m_columns.clear();
    m_position = 0;
    std::vector<int> results(recordings.size(), kRecordFileFailed);
    std::vector<std::string> lines(recordings.size());
    std::vector<std::vector<std::string>> columns(recordings.size());
    std::vector<VxNewRecord> batch;
    std::vector<std::size_t> inBatch;  // recordings[inBatch[i]] is batch[i]
    std::vector<bool> workFilesWritten(recordings.size(), true);
    for (std::size_t i = 0; i < recordings.size(); ++i) {
        RecordingToFile& recording = recordings[i];
        const std::string wave = wavePath(m_workspace, recording.baseName, recording.waveExtension);
        const std::string lineFile = linePath(m_workspace, recording.baseName);
        const std::string info = infoPath(m_workspace, recording.baseName);
        const bool inMemory = !recording.waveBytes.empty();
        workFilesWritten[i] = !inMemory;
        RecordInfo details;
        if (recording.keepInfo)
            recordinfo::readFile(info, &details);
        details.keywords = recording.keywords;
        details.extraText = recording.extraText;
        recordinfo::stamp(&details);
        if (!inMemory && recordinfo::writeFile(info, details) != 0) {
            results[i] = kMissingFile;
            continue;
        }
        if (recording.fields.size() < kDurationField)
            recording.fields.resize(kDurationField);
        if (recording.duration.empty()) {
            char text[128];
            conv_millisec(0, text);
            recording.duration = text;
        }
        recording.fields[kDurationField - 1] = recording.duration;
        lines[i] = indexline::build(recording.fields);
        columns[i] = indexline::fields(lines[i]);
        VxNewRecord record;
        record.letter = recording.family;
        if (inMemory) {
            const std::string line = indexline::fromColumns(columns[i]);
            record.line = line;
            record.members.emplace_back(recording.baseName + recording.waveExtension, std::move(recording.waveBytes));
            record.members.emplace_back(recording.baseName + ".vxl", line);
            record.members.emplace_back(recording.baseName + ".vxs", details.serialize());
            recording.waveBytes.clear();
        } else if (!indexlinefile::rewriteFromColumns(lineFile, columns[i])) {
            results[i] = kMissingFile;
            continue;
        } else {
            record.files = {wave, lineFile, info};
        }
        if (!recording.attachment.empty())
            record.files.push_back(recording.attachment);
        for (const std::string& extra : recording.extraMembers)
            record.files.push_back(components::workspacePath(m_workspace, extra));
        bool complete = true;
        for (const std::string& path : record.files)
            complete = complete && fileops::fileExists(path);
        if (!complete) {
            results[i] = kMissingFile;
            continue;
        }
        batch.push_back(std::move(record));
        inBatch.push_back(i);
    }
    if (batch.empty())
        return results;

    OutputDebugString("Saving " + std::to_string(batch.size()) + " Navo files to repository\n");
    VXsaveBatch(batch, m_workspace.c_str(), m_storePath.c_str());

    // The index entries of those filed, in one transaction; entries that
    // cannot be added now are rebuilt when the store is next opened.
    const std::string index = components::workspacePath(m_workspace, components::kIndex);
    std::vector<Ek7IndexEntry> entries;
    std::vector<std::size_t> filed;
    for (std::size_t b = 0; b < batch.size(); ++b) {
        if (batch[b].code != kVxOk)
            continue;
        const std::size_t i = inBatch[b];
        RecordingToFile& recording = recordings[i];
        if (recording.extraText.empty())
            recording.extraText = " ";
        entries.push_back(Ek7IndexEntry{index.c_str(), m_storePath.c_str(), m_workspace.c_str(),
                                        static_cast<std::uint32_t>(recording.recId), nullptr, nullptr,
                                        recording.keywords.c_str(), recording.extraText.c_str(),
                                        batch[b].position, 0, lines[i].c_str()});
        filed.push_back(i);
    }
    // The texts the entries point at stay put from here on.
    std::vector<std::string> types(filed.size());
    std::vector<std::string> starts(filed.size());
    for (std::size_t e = 0; e < filed.size(); ++e) {
        types[e] = fieldOrEmpty(columns[filed[e]], 2);
        starts[e] = fieldOrEmpty(columns[filed[e]], kStartField);
        entries[e].recordType = types[e].c_str();
        entries[e].startTime = starts[e].c_str();
    }
    const bool indexed = entries.empty() || Ek7IndexAddBatch(entries.data(), entries.size()) != 0;
    for (const std::size_t i : filed) {
        results[i] = indexed ? 0 : kIndexFailed;
        if (workFilesWritten[i])
            for (const std::string& path : workFiles(m_workspace, recordings[i]))
                fileops::removeFile(path);
    }
    return results;
}

void RecordFiler::removeFromIndex(long recId)
{
    const std::string index = components::workspacePath(m_workspace, components::kIndex);
    Ek7IndexEntry entry{};
    entry.storeLocation1 = index.c_str();
    entry.recId = static_cast<std::uint32_t>(recId);
    Ek7IndexDel(&entry);
}

bool RecordFiler::addToIndex(const RecordingToFile& recording, const std::string& line)
{
    const std::string index = components::workspacePath(m_workspace, components::kIndex);
    const std::string type = fieldOrEmpty(m_columns, 2);
    const std::string start = fieldOrEmpty(m_columns, kStartField);
    const std::string extra = recording.extraText.empty() ? " " : recording.extraText;
    Ek7IndexEntry entry{index.c_str(),
                        m_storePath.c_str(),
                        m_workspace.c_str(),
                        static_cast<std::uint32_t>(recording.recId),
                        type.c_str(),
                        start.c_str(),
                        recording.keywords.c_str(),
                        extra.c_str(),
                        static_cast<std::uint32_t>(m_position),
                        0,
                        line.c_str()};
    return Ek7IndexAdd(&entry) != 0;
}
