#include "telephony/ModemTester.h"

#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "res/StringTable.h"
#include "telephony/TapiBinding.h"

namespace {

// Reasons from 139 up count as a dial that went out: the line may report
// what the far end's exchange said, which is not the modem failing.
bool dialFailed(int reason)
{
    return reason >= 1 && reason <= 138;
}

}  // namespace

ModemTester::ModemTester(LineState*& line, std::string greetingPath, std::string recordFolder)
    : m_line(line), m_greetingPath(std::move(greetingPath)), m_recordFolder(std::move(recordFolder))
{
}

void ModemTester::append(const std::string& text)
{
    m_log += text;
}

void ModemTester::open(const std::string& deviceDescription)
{
    m_buttons = Buttons{};
    m_callActive = false;
    m_stopRequested = false;
    m_recording = false;
    m_playing = false;
    append(deviceDescription + " selected for testing\r\n\r\n");
}

void ModemTester::finishStart()
{
    m_buttons.start = true;
    m_buttons.cancel = true;
    m_buttons.stop = false;
}

void ModemTester::start(const std::string& number, HWND window)
{
    m_buttons.start = false;
    m_buttons.cancel = false;
    if (number.empty()) {
        AfxMessageBox(LoadString(748), MB_OK | MB_ICONINFORMATION);
        finishStart();
        return;
    }
    m_window = window;
    if (m_line->Monitoring == 0) {
        m_line = Ek7TapiInit(0);
        if (m_line->ErrorCode >= 1) {
            append("Line initialization : Failed\r\n");
            finishStart();
            return;
        }
        append("Line initialization : Passed\r\n");
    }
    m_line = Ek7TapiOpen(window);
    if (m_line->ErrorCode >= 1) {
        append("Line opened : Failed\r\n");
        finishStart();
        return;
    }
    m_lineOpen = true;
    append("Line opened : Passed\r\n");

    append("Dialing...\r\n");
    // Where the test's recording goes, so that stopping and saving it test
    // something; a left-over buffer is never taken for this one's.
    const std::string base = m_recordFolder + "/modemtest";
    Ek7TapiSetRecord((base + ".buf").c_str(), (base + ".dat").c_str(), (base + ".wav").c_str());
    m_line = Ek7TapiDial(number.c_str());
    if (dialFailed(m_line->ErrorCode)) {
        append("Dialing : Failed\r\n");
        if (m_line->CallHandle != 0)
            lineDrop(m_line->CallHandle, nullptr, 0);
        finishStart();
        return;
    }
    append("Dialing : Passed\r\n");
    m_stopRequested = false;
    m_callActive = true;
    // Stop stays grey until the library says the call exists (+154).
}

void ModemTester::stop()
{
    m_stopRequested = true;
    m_buttons.stop = false;
    if (m_recording || m_playing) {
        m_line = Ek7TapiStop();
        m_recording = false;
        m_playing = false;
    }
    m_callActive = false;
    if (m_line->CallHandle != 0) {
        lineDrop(m_line->CallHandle, nullptr, 0);
        OutputDebugString("Hungup\n");
        return;  // the disconnected and idle messages finish the call
    }
    m_line = Ek7TapiClose();
    m_lineOpen = false;
    append("Line shutdown : Passed\r\n");
    append(kClosingLine);
    m_buttons.start = true;
    m_buttons.cancel = true;
}

void ModemTester::close()
{
    if (!m_lineOpen)
        return;
    if (m_line->CallHandle != 0)
        lineDrop(m_line->CallHandle, nullptr, 0);
    m_line = Ek7TapiClose();
    m_lineOpen = false;
}

void ModemTester::connected()
{
    append("Connected : Passed\r\n");
    if (m_stopRequested)
        return;
    m_line = Ek7TapiGetWaveID(4, "wave/out");
    if (m_line->ErrorCode >= 1) {
        append("Wave-out open : Failed\r\n");
        return;
    }
    append("Wave-out open : Passed\r\n");
    m_line = Ek7TapiPlayFile(m_greetingPath.c_str());
    if (m_line->ErrorCode >= 1) {
        append("Start Play sound : Failed\r\n");
        return;
    }
    m_playing = true;
    append("Start Play sound : Passed\r\n");
}

void ModemTester::saveRecording()
{
    m_line = Ek7TapiSave();
    append(m_line->ErrorCode < 1 ? "Record sound save : Passed\r\n" : "Record sound save : Failed\r\n");
}

void ModemTester::playDone()
{
    if (m_stopRequested)
        return;
    m_playing = false;
    m_line = Ek7TapiStop();
    const bool stopped = m_line->ErrorCode < 1;
    m_recording = false;
    lineDrop(m_line->CallHandle, nullptr, 0);
    if (stopped) {
        append("Record sound stop : Passed\r\n");
        saveRecording();
    } else {
        append("Record sound stop : Failed\r\n");
    }
}

void ModemTester::disconnected()
{
    append("Disconnected : Passed\r\n");
    if (m_recording) {
        m_line = Ek7TapiStop();
        append(m_line->ErrorCode < 1 ? "Record sound stop : Passed\r\n" : "Record sound stop : Failed\r\n");
        m_recording = false;
        saveRecording();
    }
    m_playing = false;
    lineDrop(m_line->CallHandle, nullptr, 0);
}

bool ModemTester::message(UINT message)
{
    switch (message) {
    case kEk7MsgConnected:
        connected();
        return true;
    case kEk7MsgPlayDone:
        playDone();
        return true;
    case kEk7MsgDisconnected:
        disconnected();
        return true;
    case kEk7MsgIdle:
        append("Idle : Passed\r\n");
        lineDeallocateCall(m_line->CallHandle);
        return true;
    case kEk7MsgNoDialTone:
        if (m_stopRequested)
            return true;
        append("Connection : Failed (No Dial Tone)\r\n");
        PostMessage(m_window, kDialToneBox, 0, 0);
        return true;
    case kEk7MsgBusy:
        append("The number dialed was busy.\r\n");
        return true;
    case kEk7MsgRecording:
        m_recording = true;
        append("Record sound start : Passed\r\n");
        append("Recording...\r\n");
        return true;
    case kDialToneBox:
        OutputDebugString("Stop the modem called\n");
        AfxMessageBox("A dial tone was not detected, \r\nensure your modem is connected to the phone socket\r\n and "
                      "that it is turned on if it is an external modem.",
                      MB_OK | MB_ICONEXCLAMATION);
        return true;
    case kEk7MsgDialStarted:
        m_buttons.stop = true;
        return true;
    case kEk7MsgRing:
    case kEk7MsgOffered:
    case kEk7MsgDialling:
    case kEk7MsgAnswerNow:
    case kEk7MsgCallerId:
    case kEk7MsgProceeding:
    case kEk7MsgRingBack:
        return true;
    default:
        return false;
    }
}
