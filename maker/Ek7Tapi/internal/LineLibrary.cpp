#include "maker/Ek7Tapi/internal/LineLibrary.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <utility>
#include <vector>

#include "maker/Ek7Tapi/TapiModuleLoader.h"
#include "maker/Ek7Tapi/internal/EventRelay.h"
#include "maker/Ek7Tapi/wave/LineWave.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"

namespace {

constexpr TAPIDWORD kVoice = LINEMEDIAMODE_INTERACTIVEVOICE | LINEMEDIAMODE_AUTOMATEDVOICE;
constexpr TAPIDWORD kLineCallSelectLine = 0x1;

void copyText(char (&target)[80], const char* source)
{
    std::snprintf(target, sizeof target, "%s", source);
}

// Why lineOpenA failed, or why the line closed by itself (LINE_CLOSE).
std::int32_t lineFailure(LONG result, std::int32_t unknown)
{
    switch (result) {
    case LINEERR_BADDEVICEID:
    case LINEERR_NODEVICE:
        return kEk7DeviceGone;
    case LINEERR_INVALMEDIAMODE:
        return kEk7DeviceUnusable;
    case LINEERR_RESOURCEUNAVAIL:
        return kEk7LineInUse;
    case NAVOERR_LINESETTINGS:
        return kEk7LineSettings;
    case NAVOERR_PASSWORDFILE:
        return kEk7PasswordFile;
    case NAVOERR_REGISTRATIONREFUSED:
        return kEk7RegistrationRefused;
    case NAVOERR_REGISTRARUNREACHABLE:
        return kEk7RegistrarUnreachable;
    default:
        return unknown;
    }
}

bool fileExists(const std::string& path)
{
    return std::ifstream(path, std::ios::binary).good();
}

}  // namespace

LineLibrary& LineLibrary::instance()
{
    static LineLibrary library;
    return library;
}

// A line still open at exit is not closed from here: the module was started
// after this object, so its own statics are gone by now, and it stops its
// lines' threads itself as they go.
LineLibrary::~LineLibrary() = default;

LineState* LineLibrary::result(std::int32_t reason)
{
    m_state.ErrorCode = reason;
    return &m_state;
}

void LineLibrary::ensureRelay()
{
    if (m_relay)
        return;
    m_relay = std::make_unique<EventRelay>(*this);
    m_relayHandle = handleOf(m_relay.get());
}

void LineLibrary::post(UINT message, WPARAM wParam)
{
    if (m_window != 0)
        PostMessage(m_window, message, wParam, 0);
}

// ---- starting and stopping

LineState* LineLibrary::initVar()
{
    if (m_initialised)
        close();
    m_state = LineState{};
    m_state.Rings = 3;
    m_bufferPath.clear();
    m_dataPath.clear();
    m_wavePath.clear();
    m_toneArmed = false;
    ensureRelay();
    return result(kEk7Ok);
}

LineState* LineLibrary::init(HINSTANCE instance)
{
    ensureRelay();
    if (m_initialised)
        return result(kEk7Ok);
    if (!m_moduleTried) {
        m_moduleTried = true;
        std::string why;
        m_module = TapiModuleLoader::load(&why);
        if (!m_module.isLoaded()) {
            OutputDebugString("Ek7Tapi: no telephony provider module: " + why + "\n");
        } else {
            std::string missing;
            m_bound = m_fn.bind(m_module, &missing);
            if (!m_bound)
                OutputDebugString("Ek7Tapi: the provider module lacks " + missing + "\n");
        }
    }
    if (!m_module.isLoaded())
        return result(kEk7NoModule);
    if (!m_bound)
        return result(kEk7NoFunction);

    TAPIDWORD devices = 0;
    TAPIDWORD version = TAPI_CURRENT_VERSION;
    const LONG started =
        m_fn.lineInitializeExA(&m_app, instance, &LineLibrary::callback, "Navo", &devices, &version, nullptr);
    if (started != 0) {
        m_app = 0;
        return result(kEk7InitFailed);
    }
    m_initialised = true;
    m_state.DeviceCount = static_cast<std::int32_t>(devices);
    return result(kEk7Ok);
}

LineState* LineLibrary::open(HWND window)
{
    if (!m_initialised)
        return result(kEk7NotInitialised);
    if (m_line != 0) {
        // Already open: the events go to the new window from now on.
        m_window = window;
        return result(kEk7Ok);
    }
    if (m_state.DeviceId < 0 || m_state.DeviceId >= m_state.DeviceCount)
        return result(kEk7DeviceMissing);
    const auto device = static_cast<TAPIDWORD>(m_state.DeviceId);

    LINEDEVCAPS caps{};
    caps.dwTotalSize = sizeof caps;
    const LONG capsResult = m_fn.lineGetDevCapsA(m_app, device, TAPI_CURRENT_VERSION, 0, &caps);
    if (capsResult == LINEERR_BADDEVICEID || capsResult == LINEERR_NODEVICE)
        return result(kEk7DeviceGone);
    if (capsResult != 0)
        return result(kEk7OpenFailed);
    if ((caps.dwMediaModes & kVoice) == 0)
        return result(kEk7DeviceUnusable);

    const DWORD_PTR session = ++m_session;
    HLINE line = 0;
    const LONG opened = m_fn.lineOpenA(m_app, device, &line, TAPI_CURRENT_VERSION, 0, session,
                                       LINECALLPRIVILEGE_OWNER, caps.dwMediaModes & kVoice, nullptr);
    if (opened != 0)
        return result(lineFailure(opened, kEk7OpenFailed));
    m_line = line;
    m_window = window;
    m_state.Monitoring = 1;
    // Until the provider says otherwise; what it said while opening (a SIP
    // account not registered yet has no dial tone) is taken in at once, so
    // the block never claims a dial tone the line does not have.
    m_inService = true;
    m_state.DialReady = 1;
    drain();
    return result(kEk7Ok);
}

LineState* LineLibrary::close()
{
    ++m_session;  // whatever the module still reports belongs to the old line
    if (m_state.CallHandle != 0 && m_bound) {
        m_fn.lineDrop(m_state.CallHandle, nullptr, 0);
        m_fn.lineDeallocateCall(m_state.CallHandle);
    }
    forgetCall();
    if (m_line != 0)
        m_fn.lineClose(m_line);
    if (m_initialised)
        m_fn.lineShutdown(m_app);
    m_line = 0;
    m_app = 0;
    m_initialised = false;
    m_window = 0;
    m_state.Monitoring = 0;
    m_state.DialReady = 0;
    return result(kEk7Ok);
}

// ---- devices

LineState* LineLibrary::listDevices(Ek7TapiDeviceList* list)
{
    if (list == nullptr || !m_initialised)
        return result(kEk7ListFailed);
    for (std::int32_t device = 0; device < m_state.DeviceCount; ++device) {
        LINEDEVCAPS caps{};
        caps.dwTotalSize = sizeof caps;
        if (m_fn.lineGetDevCapsA(m_app, static_cast<TAPIDWORD>(device), TAPI_CURRENT_VERSION, 0, &caps) != 0)
            return result(kEk7DevCapsFailed);
        caps.szLineName[sizeof caps.szLineName - 1] = '\0';
        list->insertRow(std::to_string(device), caps.szLineName);
    }
    return result(kEk7Ok);
}

LineState* LineLibrary::waveId(int, const char* deviceClass)
{
    if (m_line == 0)
        return result(kEk7NoWaveDevice);
    const std::string wanted = deviceClass != nullptr ? deviceClass : "";
    if (wanted != "wave/out" && wanted != "wave/in")
        return result(kEk7BadWaveClass);
    VARSTRING id{};
    id.dwTotalSize = sizeof id;
    const HCALL call = m_state.CallHandle;
    if (m_fn.lineGetIDA(m_line, 0, call, call != 0 ? LINECALLSELECT_CALL : kLineCallSelectLine, &id,
                        wanted.c_str()) != 0)
        return result(kEk7WaveIdFailed);
    (wanted == "wave/out" ? m_state.WaveOutId : m_state.WaveInId) = static_cast<std::int32_t>(id.dwDeviceID);
    return result(kEk7Ok);
}

// ---- the call

LineState* LineLibrary::answer()
{
    if (m_state.CallHandle == 0 || m_state.CallState != 1 || m_state.Connected != 0) {
        disarmMicrophone();
        return result(kEk7NoOfferedCall);
    }
    m_recordedThisCall = false;
    m_callSendsMicrophone = takeMicrophone();
    if (m_fn.lineAnswer(m_state.CallHandle, nullptr, 0) != 0)
        return result(kEk7AnswerFailed);
    m_answerPosted = true;  // answered already: a later ring asks for nothing
    return result(kEk7Ok);
}

LineState* LineLibrary::dial(const char* number)
{
    if (m_line == 0)
        return result(kEk7LineNotOpen);
    if (number == nullptr || *number == '\0' || m_state.CallHandle != 0) {
        disarmMicrophone();
        return result(number == nullptr || *number == '\0' ? kEk7NoNumber : kEk7LineBusy);
    }
    forgetCall();
    m_callSendsMicrophone = takeMicrophone();
    HCALL call = 0;
    if (m_fn.lineMakeCallA(m_line, &call, number, 0, nullptr) != 0 || call == 0)
        return result(kEk7DialFailed);
    m_state.CallHandle = call;
    m_state.CallState = 2;
    m_state.CallInProgress = 1;
    m_state.DialReady = 0;
    post(kEk7MsgDialStarted);
    return result(kEk7Ok);
}

// ---- media

LineState* LineLibrary::setResource(const Ek7TapiResourceModule* module, int resourceId)
{
    std::string bytes;
    LineSamples samples;
    if (module == nullptr || !module->loadWave(resourceId, bytes) || !LineWave::readBytes(bytes, samples))
        return result(kEk7NoResource);
    if (!m_toneFolder)
        m_toneFolder = std::make_unique<QTemporaryDir>();
    if (!m_toneFolder->isValid())
        return result(kEk7NoResource);
    const std::string path =
        m_toneFolder->filePath(QStringLiteral("resource-%1.wav").arg(resourceId)).toLocal8Bit().toStdString();
    if (!LineWave::writeFile(path, samples, false))
        return result(kEk7NoResource);
    m_tonePath = path;
    m_toneArmed = true;
    return result(kEk7Ok);
}

LineState* LineLibrary::playFile(const char* path)
{
    if (m_state.CallHandle == 0 || m_state.Connected == 0)
        return result(kEk7NoCallToPlay);
    if (path == nullptr || !fileExists(path))
        return result(kEk7PlayFileMissing);
    if (m_fn.navoLinePlayFile(m_state.CallHandle, path) != 0)
        return result(kEk7PlayFailed);
    m_state.Playing = 1;
    m_playingTone = false;
    return result(kEk7Ok);
}

LineState* LineLibrary::setRecord(const char* bufferPath, const char* dataPath, const char* wavePath)
{
    m_bufferPath = bufferPath != nullptr ? bufferPath : "";
    m_dataPath = dataPath != nullptr ? dataPath : "";
    m_wavePath = wavePath != nullptr ? wavePath : "";
    // A buffer left by an earlier call must never be saved as this one's.
    if (!m_bufferPath.empty())
        std::remove(m_bufferPath.c_str());
    m_recordedThisCall = false;
    return result(kEk7Ok);
}

bool LineLibrary::startRecording()
{
    if (m_fn.navoLineRecordFile(m_state.CallHandle, m_bufferPath.c_str()) != 0)
        return false;
    m_state.Recording = 1;
    m_paused = false;
    m_recordedThisCall = true;
    post(kEk7MsgRecording);
    return true;
}

LineState* LineLibrary::record()
{
    if (m_state.CallHandle == 0 || m_state.Connected == 0)
        return result(kEk7NoCallToRecord);
    if (m_bufferPath.empty())
        return result(kEk7NoRecordPaths);
    if (m_state.Recording != 0)
        return result(kEk7Ok);
    return result(startRecording() ? kEk7Ok : kEk7RecordFailed);
}

LineState* LineLibrary::pause()
{
    if (m_state.Recording == 0 || m_state.CallHandle == 0)
        return result(kEk7NotRecording);
    if (m_fn.navoLinePauseRecord(m_state.CallHandle, m_paused ? 0 : 1) != 0)
        return result(kEk7RecordFailed);
    m_paused = !m_paused;
    return result(kEk7Ok);
}

LineState* LineLibrary::stop()
{
    if (m_state.CallHandle != 0 && m_bound && (m_state.Playing != 0 || m_state.Recording != 0))
        m_fn.navoLineStopMedia(m_state.CallHandle);  // a call already gone has nothing left to stop
    m_state.Playing = 0;
    m_state.Recording = 0;
    m_paused = false;
    m_playingTone = false;
    m_toneArmed = false;
    return result(kEk7Ok);
}

LineState* LineLibrary::stopPlaying()
{
    if (m_state.CallHandle != 0 && m_bound && m_state.Playing != 0) {
        // Falling back to navoLineStopMedia would cut the call's recording
        // short, which is exactly what this call exists to avoid.
        if (m_fn.navoLineStopPlay == nullptr)
            return result(kEk7StopPlayFailed);
        const LONG stopped = m_fn.navoLineStopPlay(m_state.CallHandle);
        // A call that ended before its report got here plays nothing either.
        if (stopped != 0 && stopped != LINEERR_INVALCALLHANDLE)
            return result(kEk7StopPlayFailed);
    }
    m_state.Playing = 0;
    m_playingTone = false;
    m_toneArmed = false;
    return result(kEk7Ok);
}

LineState* LineLibrary::save()
{
    if (m_wavePath.empty() || m_bufferPath.empty())
        return result(kEk7NothingRecorded);
    LineSamples samples;
    // No buffer: the caller left before recording began. That is an empty
    // message, not a failure.
    if (fileExists(m_bufferPath) && !LineWave::readFile(m_bufferPath, samples))
        return result(kEk7NothingRecorded);
    if (!LineWave::writeFile(m_wavePath, samples, true))
        return result(kEk7SaveFailed);
    return result(kEk7Ok);
}

int LineLibrary::inputLevel()
{
    // Unknown rather than silent whenever the module cannot tell: the answer
    // machine must never cut a caller on a level nobody measured.
    if (!m_bound || m_fn.navoLineGetLevel == nullptr || m_state.CallHandle == 0 || m_state.Recording == 0 ||
        m_paused)
        return -1;
    TAPIDWORD level = 0;
    if (m_fn.navoLineGetLevel(m_state.CallHandle, &level) != 0)
        return -1;
    return static_cast<int>(std::min<TAPIDWORD>(level, 32767));
}

int LineLibrary::useMicrophone(const char* input)
{
    // A module without it sends files only, as before.
    m_microphoneArmed = m_line != 0 && m_fn.navoLineUseMicrophone != nullptr &&
                        m_fn.navoLineUseMicrophone(m_line, input) == 0 && input != nullptr;
    return m_microphoneArmed ? 1 : 0;
}

bool LineLibrary::takeMicrophone()
{
    // The module's choice is for the next call it sees, so one this library
    // refuses before it gets there must not leave it armed.
    const bool armed = m_microphoneArmed;
    m_microphoneArmed = false;
    return armed;
}

void LineLibrary::disarmMicrophone()
{
    if (takeMicrophone())
        m_fn.navoLineUseMicrophone(m_line, nullptr);
}

int LineLibrary::callSendsMicrophone() const
{
    return m_state.CallHandle != 0 && m_callSendsMicrophone ? 1 : 0;
}

// ---- the reports

void LineLibrary::callback(TAPIDWORD device, TAPIDWORD message, DWORD_PTR session, DWORD_PTR p1, DWORD_PTR p2,
                           DWORD_PTR p3)
{
    instance().enqueue(Event{device, message, session, p1, p2, p3});
}

void LineLibrary::enqueue(const Event& event)
{
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_queue.push_back(event);
        wake = !m_wakePosted;
        m_wakePosted = true;
    }
    if (wake)
        PostMessage(m_relayHandle.load(), EventRelay::kDrain, 0, 0);
}

void LineLibrary::drain()
{
    std::deque<Event> events;
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        events.swap(m_queue);
        m_wakePosted = false;
    }
    for (const Event& event : events) {
        if (event.session != m_session || m_line == 0)
            continue;
        switch (event.message) {
        case LINE_CALLSTATE:
            onCallState(event.device, static_cast<TAPIDWORD>(event.p1), static_cast<TAPIDWORD>(event.p2));
            break;
        case LINE_LINEDEVSTATE:
            if (event.p1 == LINEDEVSTATE_RINGING)
                onRinging();
            if (event.p1 == LINEDEVSTATE_INSERVICE || event.p1 == LINEDEVSTATE_OUTOFSERVICE) {
                const bool was = m_inService;
                m_inService = event.p1 == LINEDEVSTATE_INSERVICE;
                m_state.DialReady = m_inService && m_state.CallHandle == 0 ? 1 : 0;
                if (was != m_inService)
                    post(kEk7MsgServiceChanged, m_inService ? 1 : 0);
            }
            break;
        case LINE_CALLINFO:
            if ((event.p1 & LINECALLINFOSTATE_CALLERID) != 0)
                onCallInfo(event.device);
            break;
        case LINE_DEVSPECIFIC:
            if (event.p1 == NAVO_MEDIA_PLAYDONE)
                onPlayDone(event.device);
            break;
        case LINE_CLOSE:
            onLineClosed(static_cast<LONG>(event.p1));
            break;
        default:
            break;
        }
    }
}

void LineLibrary::onCallState(HCALL call, TAPIDWORD state, TAPIDWORD mode)
{
    if (state == LINECALLSTATE_OFFERING) {
        if (m_state.CallHandle != 0 && m_state.CallHandle != call) {
            // One call at a time; the providers refuse a second caller
            // themselves, this only guards against one that does not.
            m_fn.lineDrop(call, nullptr, 0);
            return;
        }
        forgetCall();
        m_state.CallHandle = call;
        m_state.CallState = 1;
        m_state.CallInProgress = 1;
        m_state.DialReady = 0;
        m_state.CallerIdValid = 0;
        m_state.CallerNumber[0] = '\0';
        m_state.CallerName[0] = '\0';
        m_state.CallEndFlag = 0;
        m_state.CallAnsweredByUser = 0;
        post(kEk7MsgOffered);
        postAnswerNowWhenDue();
        return;
    }
    if (call != m_state.CallHandle)
        return;
    switch (state) {
    case LINECALLSTATE_CONNECTED:
        m_state.Connected = 1;
        post(kEk7MsgConnected);
        break;
    case LINECALLSTATE_DIALING:
        post(kEk7MsgDialling);
        break;
    case LINECALLSTATE_PROCEEDING:
        post(kEk7MsgProceeding);
        break;
    case LINECALLSTATE_RINGBACK:
        post(kEk7MsgRingBack);
        break;
    case LINECALLSTATE_BUSY:
        post(kEk7MsgBusy);
        break;
    case LINECALLSTATE_DISCONNECTED:
        // An incoming call that ended unanswered leaves nothing to file.
        if (m_state.CallState == 1 && m_state.Connected == 0)
            m_state.CallState = 0;
        m_state.Connected = 0;
        m_state.Playing = 0;
        m_state.Recording = 0;
        m_paused = false;
        m_playingTone = false;
        if (mode == LINEDISCONNECTMODE_BUSY && m_state.CallState == 2)
            post(kEk7MsgBusy);
        if (mode == LINEDISCONNECTMODE_NODIALTONE)
            post(kEk7MsgNoDialTone);
        post(kEk7MsgDisconnected);
        break;
    case LINECALLSTATE_IDLE:
        post(kEk7MsgIdle);
        // After the window has handled +151: the relay's message is queued
        // behind it on the same thread.
        PostMessage(m_relayHandle.load(), EventRelay::kClearCall, 0, static_cast<LPARAM>(call));
        break;
    default:
        break;
    }
}

void LineLibrary::onRinging()
{
    if (m_state.CallState != 1 || m_state.Connected != 0)
        return;
    ++m_state.RingCount;
    post(kEk7MsgRing, static_cast<WPARAM>(m_state.RingCount));
    postAnswerNowWhenDue();
}

void LineLibrary::postAnswerNowWhenDue()
{
    // Only for the answer machine: a call answered with the machine off would
    // be a caller left in silence. The machine switched on later (for this
    // one call) answers by itself.
    if (m_answerPosted || m_state.AnswerMachineOn == 0 || m_state.RingCount < m_state.Rings)
        return;
    m_answerPosted = true;
    post(kEk7MsgAnswerNow);
}

void LineLibrary::onCallInfo(HCALL call)
{
    if (call != m_state.CallHandle)
        return;
    LINECALLINFO info{};
    info.dwTotalSize = sizeof info;
    if (m_fn.lineGetCallInfoA(call, &info) != 0 || info.dwCallerIDFlags == 0)
        return;
    info.szCallerIDNumber[sizeof info.szCallerIDNumber - 1] = '\0';
    info.szCallerIDName[sizeof info.szCallerIDName - 1] = '\0';
    copyText(m_state.CallerNumber, info.szCallerIDNumber);
    copyText(m_state.CallerName, info.szCallerIDName);
    m_state.CallerIdValid = 1;
    post(kEk7MsgCallerId);
}

void LineLibrary::onPlayDone(HCALL call)
{
    if (call != m_state.CallHandle || m_state.Playing == 0)
        return;  // stopped meanwhile
    if (!m_playingTone && m_toneArmed && !m_tonePath.empty()) {
        m_toneArmed = false;
        if (m_fn.navoLinePlayFile(call, m_tonePath.c_str()) == 0) {
            m_playingTone = true;
            return;
        }
    }
    m_state.Playing = 0;
    m_playingTone = false;
    if (!m_recordedThisCall && !m_bufferPath.empty() && m_state.Connected != 0)
        startRecording();
    post(kEk7MsgPlayDone);
}

void LineLibrary::onLineClosed(LONG why)
{
    // The provider gave the line up: close it on our side too, so that it can
    // be opened again, and say why.
    ++m_session;
    if (m_state.CallHandle != 0)
        m_fn.lineDeallocateCall(m_state.CallHandle);
    const HLINE line = m_line;
    m_line = 0;
    forgetCall();
    m_fn.lineClose(line);
    m_state.Monitoring = 0;
    m_state.DialReady = 0;
    post(kEk7MsgLineClosed, static_cast<WPARAM>(lineFailure(why, kEk7DeviceGone)));
}

void LineLibrary::clearCall(HCALL call)
{
    if (call == 0 || call != m_state.CallHandle)
        return;
    if (m_bound)
        m_fn.lineDeallocateCall(call);  // the program may have done it already
    forgetCall();
}

void LineLibrary::forgetCall()
{
    m_state.CallHandle = 0;
    m_state.CallState = 0;
    m_state.CallInProgress = 0;
    m_state.Connected = 0;
    m_state.Playing = 0;
    m_state.Recording = 0;
    m_state.RingCount = 0;
    m_state.DialReady = m_line != 0 && m_inService ? 1 : 0;
    m_answerPosted = false;
    m_paused = false;
    m_playingTone = false;
    m_callSendsMicrophone = false;
}
