#include "store/RecordEditor.h"

#include <cstdlib>
#include <vector>

#include "core/AppData.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/FileOps.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/IndexLineFile.h"
#include "store/RecordFiler.h"
#include "store/RecordInfo.h"

namespace {

constexpr int kCannotExtract = 111;
constexpr int kCannotRead = 112;
constexpr int kNotWritten = 109;
constexpr int kIndexNotUpdated = 110;
constexpr std::size_t kSubjectMax = 149;

std::string indexField(const char* record, int number)
{
    std::vector<char> out(EK7_INDEX_RECORD_MAX, '\0');
    Ek7IndexField(number, record, out.data());
    return out.data();
}

}  // namespace

RecordEditor::RecordEditor(AppData& app) : m_app(app) {}

int RecordEditor::load(const std::string& recIdText, EditableRecord* record)
{
    const std::string index = components::workspacePath(m_app.TempDir, components::kIndex);
    const long recId = std::atol(recIdText.c_str());
    std::vector<char> entry(EK7_INDEX_RECORD_MAX, '\0');
    if (recId <= 0 || !Ek7IndexRead(static_cast<std::uint32_t>(recId), index.c_str(), entry.data()))
        return kCannotRead;

    EditableRecord loaded;
    loaded.recId = indexline::recIdText(recId);
    loaded.recordType = std::atoi(indexField(entry.data(), 1).c_str());
    loaded.position = std::atol(indexField(entry.data(), 3).c_str());
    loaded.keywords = indexline::showField(indexField(entry.data(), 5));
    loaded.line = family::readLine(m_app.TempDir, loaded.recId, loaded.recordType, loaded.position);
    if (loaded.line == family::kLost || loaded.line == family::kBad)
        return kCannotRead;
    const std::vector<std::string> fields = indexline::fields(loaded.line, 12);
    loaded.subject = indexline::showField(fields[4]);
    loaded.startTime = indexline::showField(fields[7]);
    loaded.endTime = indexline::showField(fields[8]);
    loaded.duration = indexline::showField(fields[9]);
    loaded.recordFileName = RecordFiler::recordFileName(recId);

    // The record file's members come into the workspace under their own
    // names, ready to be written back.
    if (ExtractFile(m_app.DataStorePath.c_str(), loaded.recordFileName.c_str(), m_app.TempDir.c_str()) != 0)
        return kCannotExtract;
    const std::string recordFile = components::workspacePath(m_app.TempDir, loaded.recordFileName);
    std::vector<std::string> members;
    const int opened = VXopenVXZ(recordFile.c_str(), m_app.TempDir.c_str());
    if (opened != 0 || VXlistMembers(recordFile.c_str(), &members) != 0) {
        fileops::removeFile(recordFile);
        return opened != 0 ? opened : kCannotRead;
    }
    fileops::removeFile(recordFile);
    for (const std::string& member : members) {
        const std::size_t dot = member.rfind('.');
        if (dot != std::string::npos && member.substr(dot) == ".vxl")
            loaded.baseName = member.substr(0, dot);
    }
    RecordInfo info;
    if (recordinfo::readFile(RecordFiler::infoPath(m_app.TempDir, loaded.baseName), &info) == 0) {
        loaded.comments = info.extraText == " " ? std::string() : info.extraText;
        loaded.locked = info.locked;
    }
    *record = loaded;
    for (const std::string& member : members)
        if (member != record->baseName + ".vxl" && member != record->baseName + ".vxs")
            fileops::removeFile(components::workspacePath(m_app.TempDir, member));
    return loaded.locked ? kLocked : 0;
}

int RecordEditor::save(const EditableRecord& record, const std::string& subject, const std::string& comments)
{
    if (record.locked)
        return kLocked;
    std::vector<std::string> fields = indexline::fields(record.line, 12);
    fields[4] = indexline::cleanField(subject.substr(0, kSubjectMax));
    const std::string infoFile = RecordFiler::infoPath(m_app.TempDir, record.baseName);
    RecordInfo info;
    recordinfo::readFile(infoFile, &info);
    info.extraText = comments.empty() ? " " : comments;
    if (recordinfo::writeFile(infoFile, info) != 0)
        return kNotWritten;
    EditableRecord edited = record;
    return replaceLine(&edited, fields);
}

int RecordEditor::replaceLine(EditableRecord* record, const std::vector<std::string>& fields,
                              const std::string& newMember)
{
    const std::string line = indexline::build(fields);
    const std::string lineFile = RecordFiler::linePath(m_app.TempDir, record->baseName);
    if (!indexlinefile::rewriteFromColumns(lineFile, indexline::fields(line)))
        return kNotWritten;
    RecordInfo info;
    recordinfo::readFile(RecordFiler::infoPath(m_app.TempDir, record->baseName), &info);

    const long position = family::replaceRecordLine(record->recordFileName, m_app.TempDir, m_app.DataStorePath, newMember,
                                                    components::familyFileForType(record->recordType), lineFile);
    if (position == 0)
        return kNotWritten;
    record->line = line;
    record->position = position;

    const std::string index = components::workspacePath(m_app.TempDir, components::kIndex);
    const std::string type = std::to_string(record->recordType);
    const std::string start = fields.size() > 7 ? fields[7] : std::string();
    const std::string extra = info.extraText.empty() ? std::string(" ") : info.extraText;
    Ek7IndexEntry entry{index.c_str(), m_app.DataStorePath.c_str(), m_app.TempDir.c_str(),
                        static_cast<std::uint32_t>(std::atol(record->recId.c_str())), type.c_str(), start.c_str(),
                        record->keywords.c_str(), extra.c_str(), static_cast<std::uint32_t>(position), 0, line.c_str()};
    if (!Ek7IndexUpd(&entry))
        return kIndexNotUpdated;
    Ek7IndexSFS(&entry);
    return 0;
}

void RecordEditor::discard(const EditableRecord& record)
{
    for (const std::string& path : {RecordFiler::wavePath(m_app.TempDir, record.baseName),
                                    RecordFiler::linePath(m_app.TempDir, record.baseName),
                                    RecordFiler::infoPath(m_app.TempDir, record.baseName)})
        fileops::removeFile(path);
}
