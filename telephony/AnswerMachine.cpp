#include "telephony/AnswerMachine.h"

#include <algorithm>
#include <cstdlib>

#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/ShowCodedMessage.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/WaitCursor.h"
#include "res/StringTable.h"
#include "store/KeptRecordings.h"
#include "store/RecIdAllocator.h"
#include "telephony/AnswerMachineGreeting.h"
#include "telephony/LineFailureReport.h"
#include "telephony/TapiBinding.h"
#include "telephony/TelephonyService.h"

namespace {

constexpr int kLengthCheckMs = 200;

}  // namespace

AnswerMachine::AnswerMachine(TelephonyService& line) : m_line(line)
{
    m_lengthWatch.setInterval(kLengthCheckMs);
    QObject::connect(&m_lengthWatch, &QTimer::timeout, [this] { watchLength(); });
    m_line.setAnswerMachine(this);
}

AnswerMachine::~AnswerMachine()
{
    m_line.setAnswerMachine(nullptr);
}

LineState* AnswerMachine::state() const
{
    return m_line.lineState();
}

AnswerMachine::Switch AnswerMachine::switchOn(AppData& app, QObject* mainWindow)
{
    LineState* line = state();
    if (line == nullptr)
        return Switch::NotAvailable;
    if (line->CallInProgress != 0) {
        AfxMessageBox(LoadString(752), MB_OK | MB_ICONINFORMATION);
        return Switch::Refused;
    }
    // The phone recorder is not in this version, so it is never open here
    // and there is no recorder to close.
    if (!m_line.deviceChosen())
        return Switch::NoDevice;
    m_line.startMonitoring(mainWindow);
    line = state();
    if (m_line.monitoring()) {
        ProfileValues(app).setAutoMessage(true);
        line->AnswerMachineOn = 1;
        return Switch::On;
    }
    ProfileValues(app).setAutoMessage(false);
    return Switch::Failed;
}

AnswerMachine::Switch AnswerMachine::switchOff(AppData& app)
{
    LineState* line = state();
    if (line == nullptr)
        return Switch::NotAvailable;
    if (!m_line.deviceChosen())
        return Switch::NoDevice;
    ProfileValues(app).setAutoMessage(false);
    line->AnswerMachineOn = 0;
    return Switch::Off;
}

void AnswerMachine::forThisCall(AppData& app, bool take)
{
    LineState* line = state();
    if (line == nullptr)
        return;
    // The caller may have hung up while the incoming-call window waited for
    // the user: the machine must not stay on for the next call then.
    if (take && line->CallState != 1) {
        OutputDebugString("The call ended before the user chose: the answer machine stays off\n");
        take = false;
    }
    m_forThisCallOnly = take;
    line->AnswerMachineOn = take ? 1 : 0;
    // The ring count may have been reached while the incoming-call window
    // waited for the user: the line asked for no answer then (the machine
    // was off), so it is answered now.
    if (take && line->CallState == 1 && line->Connected == 0 && line->RingCount >= line->Rings)
        answerCall(app);
}

void AnswerMachine::answerCall(AppData& app)
{
    const LineState* present = state();
    if (present == nullptr || present->AnswerMachineOn == 0 || present->CallState != 1 || present->CallHandle == 0)
        return;  // only the machine answers here, and only an offered call
    // A message answered before but never filed (the machine was off when
    // that call ended) leaves nothing behind.
    m_message.discardWorkFiles();
    if (!m_message.prepare(app)) {
        if (!m_message.prepared()) {
            // No RecID left: the caller is not answered into a message that
            // could never be filed. Said once.
            OutputDebugString("No RecID left: the call is not answered\n");
            if (!m_toldNoRecId)
                AfxMessageBox(kRecIdsUsedUp, MB_ICONEXCLAMATION);
            m_toldNoRecId = true;
            return;
        }
        OutputDebugString("Cannot create the message's work file " + m_message.infoPath() + "\n");
    }
    const std::string buffer = AnswerMachineMessage::bufferPath(app.TempDir);
    const std::string data = AnswerMachineMessage::dataPath(app.TempDir);
    Ek7TapiSetRecord(buffer.c_str(), data.c_str(), m_message.wavePath().c_str());
    const LineState* line = Ek7TapiAnswer();
    if (line->ErrorCode >= 1)
        OutputDebugString("Ek7TapiAnswer failed: reason " + std::to_string(line->ErrorCode) + "\n");
}

void AnswerMachine::callConnected(AppData& app)
{
    LineFailureReport::showIfFailed(Ek7TapiGetWaveID(4, "wave/out"));
    LineFailureReport::showIfFailed(Ek7TapiGetWaveID(4, "wave/in"));
    const LineState* line = state();
    if (line != nullptr && line->AnswerMachineOn != 0 && line->CallState == 1)
        playGreeting(app);
}

void AnswerMachine::playGreeting(AppData& app)
{
    Ek7TapiSetResource(&m_line.resources(), kToneResource);
    const std::string greeting = AnswerMachineGreeting::path(app.TempDir);
    const LineState* line = Ek7TapiPlayFile(greeting.c_str());
    if (line->ErrorCode >= 1) {
        LineFailureReport::show(line->ErrorCode);
        if (state()->CallHandle != 0)
            lineDrop(state()->CallHandle, nullptr, 0);
        return;
    }
    const ProfileValues profile(app);
    m_maxSeconds = profile.maxMessageSeconds();
    m_silenceSeconds = profile.silenceSeconds();
    m_recordingFor.invalidate();
    m_silentFor.invalidate();
    m_lengthWatch.start();
}

void AnswerMachine::watchLength()
{
    const LineState* line = state();
    if (line == nullptr || line->CallHandle == 0 || line->Connected == 0) {
        stopWatching();
        return;
    }
    if (line->Recording == 0)
        return;
    // The clock starts with the recording, after the greeting and the tone.
    if (!m_recordingFor.isValid())
        m_recordingFor.start();
    if (m_recordingFor.elapsed() >= static_cast<qint64>(m_maxSeconds) * 1000) {
        OutputDebugString("Message length limit reached: ending the call\n");
        stopWatching();
        lineDrop(line->CallHandle, nullptr, 0);
        return;
    }
    // An unknown level (-1) is never silence: a line that cannot measure
    // must not cut callers off.
    const int level = Ek7TapiInputLevel();
    if (level < 0 || level >= kSilenceLevel) {
        m_silentFor.invalidate();
        return;
    }
    if (!m_silentFor.isValid()) {
        m_silentFor.start();
        return;
    }
    if (m_silentFor.elapsed() < static_cast<qint64>(m_silenceSeconds) * 1000)
        return;
    OutputDebugString("Silence limit reached: ending the call\n");
    stopWatching();
    lineDrop(line->CallHandle, nullptr, 0);
}

void AnswerMachine::stopWatching()
{
    m_lengthWatch.stop();
    m_recordingFor.invalidate();
    m_silentFor.invalidate();
}

int AnswerMachine::callEnded(AppData& app)
{
    stopWatching();
    LineState* line = state();
    if (line == nullptr)
        return kNotAvailable;
    if (line->CallState != 1) {
        // The caller gave up before the answer: nothing to file, but a
        // machine switched on for this call only must not stay on.
        if (m_forThisCallOnly) {
            line->AnswerMachineOn = 0;
            m_forThisCallOnly = false;
        }
        return 0;
    }
    line->CallEndFlag = 1;
    Ek7TapiStop();
    // A recording that cannot be saved is reported; the message is filed
    // all the same, so the caller's name, number and time are not lost.
    LineFailureReport::showIfFailed(Ek7TapiSave());
    line = state();

    int result = 0;
    if (m_message.prepared()) {
        WaitCursor wait;
        result = m_message.file(app, line->CallerName, line->CallerNumber);
        if (result != 0 && m_message.kept() && !m_toldKept) {
            AfxMessageBox(kMessageKept + keptrecordings::folderFor(app), MB_ICONINFORMATION);
            m_toldKept = true;
        }
        m_message = AnswerMachineMessage();
    } else {
        OutputDebugString("Call ended before the answer machine answered it: nothing to file\n");
    }
    if (m_forThisCallOnly) {
        line->AnswerMachineOn = 0;
        m_forThisCallOnly = false;
    }
    return result;
}

const char* const AnswerMachine::kMessageKept =
    "A message could not be filed in your Navo data store, so it has been kept, with any others that "
    "follow, in the folder below. Navo files them the next time it opens this data store.\n\n";

int AnswerMachine::useDictationAsGreeting(AppData& app, const std::string& recordFileName)
{
    int result = 0;
    {
        WaitCursor wait;
        result = AnswerMachineGreeting::fromDictation(app, recordFileName);
    }
    if (result == 0)
        AfxMessageBox(LoadString(792), MB_OK | MB_ICONINFORMATION);
    else
        ShowCodedMessage(result, MB_ICONEXCLAMATION);
    return result;
}
