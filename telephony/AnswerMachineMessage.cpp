#include "telephony/AnswerMachineMessage.h"

#include <filesystem>
#include <fstream>

#include "core/ProfileSettings.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/Ek7Tapi/wave/LineWave.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/IndexLineFile.h"
#include "store/RecIdAllocator.h"

namespace {

constexpr int kRecordFileFailed = 109;
constexpr int kIndexFailed = 110;

bool exists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

}  // namespace

bool AnswerMachineMessage::prepare(const ProfileSettings& profile, const std::string& workspace)
{
    return prepareAt(profile, workspace, std::time(nullptr));
}

bool AnswerMachineMessage::prepareAt(const ProfileSettings& profile, const std::string& workspace, std::time_t start)
{
    *this = AnswerMachineMessage();
    m_recId = allocateRecId(profile);
    m_workspace = workspace;
    char stamp[kDateStampSize];
    DateStamp(stamp);
    m_baseName = stamp;
    m_info = components::workspacePath(workspace, m_baseName + ".vxs");
    m_line = components::workspacePath(workspace, m_baseName + ".vxl");
    m_wave = components::workspacePath(workspace, m_baseName + ".vxw");
    m_record = components::workspacePath(workspace, m_baseName + ".vxz");
    char date[kLogDateSize];
    LogDateAt(start, date);
    m_startText = date;
    m_startTime = start;
    std::ofstream info(m_info, std::ios::binary | std::ios::trunc);
    return static_cast<bool>(info);
}

std::string AnswerMachineMessage::bufferPath(const std::string& workspace)
{
    return components::workspacePath(workspace, kBufferName);
}

std::string AnswerMachineMessage::dataPath(const std::string& workspace)
{
    return components::workspacePath(workspace, kDataName);
}

std::string AnswerMachineMessage::callerField(const std::string& text)
{
    std::string field = text.substr(0, kCallerTextMax);
    for (char& c : field) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F)
            c = ' ';
    }
    return indexline::cleanField(field);
}

std::string AnswerMachineMessage::indexLine(long recId, const std::string& callerName,
                                            const std::string& callerNumber, const std::string& startText,
                                            const std::string& endText, const std::string& duration)
{
    // Texts are cut before they are joined, so the line always stays within
    // its 400 characters: 8 + 1 + 79 + 79 + two 19-character dates + the
    // duration and separators come to well under it.
    return indexline::build({indexline::recIdText(recId), kRecordType, callerField(callerName), "",
                             callerField(callerNumber), "", "", startText.substr(0, 126), endText.substr(0, 126),
                             duration.substr(0, 40), kNewMessageImage, "0"});
}

int AnswerMachineMessage::file(const std::string& workspace, const std::string& storePath,
                               const std::string& callerName, const std::string& callerNumber)
{
    return fileAt(workspace, storePath, callerName, callerNumber, std::time(nullptr));
}

int AnswerMachineMessage::fileAt(const std::string& workspace, const std::string& storePath,
                                 const std::string& callerName, const std::string& callerNumber, std::time_t end)
{
    m_filedLine.clear();
    m_position = 0;
    char endText[kLogDateSize];
    LogDateAt(end, endText);
    char duration[kDurationSize];
    CallDuration(static_cast<long>(m_startTime), static_cast<long>(end), duration);

    const std::string line = indexLine(m_recId, callerName, callerNumber, m_startText, endText, duration);
    if (!indexlinefile::appendLocked(m_line, line)) {
        OutputDebugString("Cannot write the message's index line to " + m_line + "\n");
        return kRecordFileFailed;
    }
    m_filedLine = line;

    // The line library writes nothing when it could not save; an empty
    // sound keeps the caller's name, number and time in the store.
    if (!exists(m_wave)) {
        OutputDebugString("No recording of the message: filed without sound\n");
        LineWave::writeFile(m_wave, LineSamples(), true);
    }
    if (!exists(m_info)) {
        std::ofstream info(m_info, std::ios::binary | std::ios::trunc);
    }

    OutputDebugString("Saving Navo file to repository\n");
    m_position = VXsaveP(m_wave.c_str(), m_line.c_str(), m_info.c_str(), "", workspace.c_str(), storePath.c_str(),
                         m_baseName.c_str(), 0);
    if (m_position == 0)
        return kRecordFileFailed;
    OutputDebugString("Navo file saved to repository\n");
    // The record file and its line are in the store: the work files have
    // done their part even if the index refuses the entry.
    discardWorkFiles();

    // The store keeps no record count of its own: the family file and the
    // index are the count, and both have the new record now.
    const std::string index = components::workspacePath(workspace, components::kIndex);
    const std::vector<std::string> fields = indexline::fields(line, 8);
    const Ek7IndexEntry entry{index.c_str(),
                              storePath.c_str(),
                              workspace.c_str(),
                              static_cast<std::uint32_t>(m_recId),
                              kRecordType,
                              fields[7].c_str(),
                              kKeywords,
                              " ",
                              m_position,
                              0,
                              line.c_str()};
    OutputDebugString("Updating Index\n");
    if (Ek7IndexAdd(&entry) == 0)
        return kIndexFailed;
    OutputDebugString("Index updated\n");
    return 0;
}

void AnswerMachineMessage::discardWorkFiles() const
{
    if (m_workspace.empty())
        return;
    std::error_code error;
    for (const std::string& path : {m_wave, m_line, m_info, m_record, bufferPath(m_workspace), dataPath(m_workspace)})
        if (!path.empty())
            std::filesystem::remove(path, error);
}
