#include "telephony/AnswerMachineMessage.h"

#include <filesystem>
#include <fstream>

#include "core/AppData.h"
#include "maker/Ek7Srch/SearchLogRows.h"
#include "maker/Ek7Tapi/wave/LineWave.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/KeptRecordings.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"

namespace {

bool exists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

// The line library saved the sound already; the duration comes from the
// call's times.
class SavedCallSource : public RecordingSource {
public:
    bool fastForward() override { return true; }
    long lengthMs() override { return 0; }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        // The line library writes nothing when it could not save; an empty
        // sound keeps the caller's name, number and time in the store.
        if (!exists(path)) {
            OutputDebugString("No recording of the message: filed without sound\n");
            LineWave::writeFile(path, LineSamples(), true);
        }
        return exists(path);
    }
};

}  // namespace

bool AnswerMachineMessage::prepare(AppData& app)
{
    return prepareAt(app, std::time(nullptr));
}

bool AnswerMachineMessage::prepareAt(AppData& app, std::time_t start)
{
    *this = AnswerMachineMessage();
    const std::string& workspace = app.TempDir;
    m_recId = allocateRecId(app);
    if (m_recId == 0)
        return false;
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
                             duration.substr(0, 40), std::to_string(SearchLogRows::kNewMessageImage), "0"});
}

int AnswerMachineMessage::file(AppData& app, const std::string& callerName, const std::string& callerNumber)
{
    return fileAt(app, callerName, callerNumber, std::time(nullptr));
}

int AnswerMachineMessage::fileAt(AppData& app, const std::string& callerName, const std::string& callerNumber,
                                 std::time_t end)
{
    m_filedLine.clear();
    m_position = 0;
    m_kept = false;
    char endText[kLogDateSize];
    LogDateAt(end, endText);
    char duration[kDurationSize];
    CallDuration(static_cast<long>(m_startTime), static_cast<long>(end), duration);

    RecordingToFile recording;
    recording.recId = m_recId;
    recording.baseName = m_baseName;
    recording.waveExtension = ".vxw";
    recording.family = 'P';
    const std::string line = indexLine(m_recId, callerName, callerNumber, m_startText, endText, duration);
    recording.fields = indexline::fields(line, 12);
    recording.duration = recording.fields[9];
    recording.keywords = kKeywords;
    recording.extraText = " ";

    SavedCallSource source;
    RecordFiler filer(app);
    const int result = filer.save(recording, source);
    if (RecordFiler::notFiled(result)) {
        m_kept = keptrecordings::keep(app, recording);
        return result;
    }
    m_filedLine = line;
    m_position = static_cast<unsigned>(filer.linePosition());
    discardWorkFiles();
    return result;
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
