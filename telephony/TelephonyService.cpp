#include "telephony/TelephonyService.h"

#include <QObject>
#include <QWidget>

#include <cstdlib>
#include <cstdio>

#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "platform/Prompt.h"
#include "platform/WaitCursor.h"
#include "platform/WindowMessages.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "res/StringTable.h"
#include "telephony/IncomingCallDialog.h"
#include "telephony/LineFailureReport.h"
#include "platform/Trace.h"
#include "telephony/ModemSelectionDialog.h"
#include "telephony/TapiBinding.h"
#include "telephony/AnswerMachineGreeting.h"
#include "telephony/module/LineOptions.h"

namespace {

// Line library reasons that mean "the modem chosen before is gone".
bool deviceGone(int reason)
{
    return reason == kEk7DeviceMissing || reason == kEk7OpenFailed || reason == kEk7DeviceGone;
}

// The line's own troubles (its settings, its network), each with the short
// cause the status line shows and what the user is told.
struct Trouble {
    int reason;
    const char* cause;
    const char* message;
};

const Trouble kTroubles[] = {
    {kEk7LineInUse, "the line is in use by another program",
     "The telephone line is in use by another program, so Navo cannot monitor it.\n\n"
     "For the SIP line this means another program holds its UDP port: close that program or give "
     "the line another port."},
    {kEk7LineSettings, "the line's settings are incomplete",
     "The telephone line's settings are incomplete: an account at a registrar needs both a user "
     "and a domain that make a valid SIP address.\n\nCorrect the line's settings, then start "
     "monitoring again."},
    {kEk7PasswordFile, "the password file cannot be used",
     "The password file of the telephone line's account cannot be used: it is missing or "
     "unreadable, or other users can read it.\n\nIt must be readable by you only (chmod 600)."},
    {kEk7RegistrationRefused, "the registrar refused the account",
     "The registrar refused the telephone line's account: check its user name and password.\n\n"
     "Line monitoring has stopped."},
    {kEk7RegistrarUnreachable, "the registrar does not answer",
     "The registrar of the telephone line's account does not answer: check its domain and the "
     "network connection.\n\nLine monitoring has stopped."},
};

const Trouble* lineTrouble(int reason)
{
    for (const Trouble& trouble : kTroubles)
        if (trouble.reason == reason)
            return &trouble;
    return nullptr;
}

// The status line after a failure: why, when the line could say.
std::string failedStatus(const Trouble* trouble)
{
    return trouble == nullptr ? std::string(TelephonyService::kFailed)
                              : std::string(TelephonyService::kFailed) + " (" + trouble->cause + ")";
}

// "ada@sip.example.net" when the device is the SIP line with an account at
// a registrar, else empty.
std::string sipAccount(std::int32_t device)
{
    const LineOptions options = LineOptions::current();
    if (device < 0 || static_cast<std::size_t>(device) >= options.providers.size() ||
        options.providers[static_cast<std::size_t>(device)] != "SIP line" || options.sipUser.empty())
        return {};
    return options.sipUser + "@" + options.sipDomain;
}

}  // namespace

TelephonyService::TelephonyService(ProgramResources resources) : m_resources(std::move(resources)) {}

TelephonyService::~TelephonyService() = default;

ProfileValues TelephonyService::profile() const
{
    return ProfileValues(m_app != nullptr ? m_app->IniPath : std::string(),
                           m_app != nullptr ? m_app->ProfileSection : std::string());
}

void TelephonyService::initVar(AppData& app)
{
    m_app = &app;
    m_line = Ek7TapiInitVar();
    app.lineState = m_line;
    m_status = kInactive;
}

void TelephonyService::chooseDevice(long deviceId)
{
    if (m_line == nullptr)
        m_line = Ek7TapiInitVar();
    m_line->DeviceId = static_cast<std::int32_t>(deviceId);
    m_line->DeviceChosen = 1;
}

bool TelephonyService::deviceChosen() const
{
    return m_line != nullptr && m_line->DeviceChosen != 0;
}

void TelephonyService::setRings(int rings)
{
    if (m_line == nullptr)
        m_line = Ek7TapiInitVar();
    m_line->Rings = rings;
}

bool TelephonyService::monitoring() const
{
    return m_line != nullptr && m_line->Monitoring != 0;
}

bool TelephonyService::answerMachineOn() const
{
    return m_line != nullptr && m_line->AnswerMachineOn != 0;
}

bool TelephonyService::callWaitingForUser() const
{
    return m_line != nullptr && m_line->Connected != 0 && m_line->AnswerMachineOn == 0;
}

void TelephonyService::setMessagesWaiting(int count)
{
    if (m_line != nullptr)
        m_line->MessagesWaiting = count;
}

TelephonyService::StartResult TelephonyService::startMonitoring(QObject* mainWindow)
{
    if (!deviceChosen())
        return StartResult::NoDevice;
    WaitCursor wait;
    m_window = mainWindow;
    m_line->Rings = profile().rings();
    if (m_line->Monitoring != 0)
        return StartResult::AlreadyMonitoring;

    m_line = Ek7TapiInit(0);
    if (m_line->ErrorCode >= 1) {
        LineFailureReport::show(m_line->ErrorCode);
        m_status = kFailed;
        return StartResult::InitFailed;
    }
    m_line = Ek7TapiOpen(handleOf(mainWindow));
    if (m_line->ErrorCode < 1) {
        m_status = kActive;
        m_account = sipAccount(m_line->DeviceId);
        return StartResult::Started;
    }
    const int reason = m_line->ErrorCode;
    const Trouble* trouble = lineTrouble(reason);
    m_status = failedStatus(trouble);
    if (trouble != nullptr) {
        // The device is there; once the cause is put right it can be
        // monitored again without choosing it anew.
        AfxMessageBox(trouble->message, MB_OK | MB_ICONEXCLAMATION);
        return StartResult::OpenFailed;
    }
    if (deviceGone(reason))
        AfxMessageBox(LoadString(749), MB_OK | MB_ICONINFORMATION);
    else if (reason == kEk7DeviceUnusable)
        AfxMessageBox(LoadString(751), MB_OK | MB_ICONINFORMATION);
    else
        LineFailureReport::show(reason);
    m_line->DeviceChosen = 0;
    return StartResult::OpenFailed;
}

std::string TelephonyService::statusText() const
{
    std::string text = m_status;
    if (!m_account.empty() && m_line != nullptr && m_line->Monitoring != 0) {
        // Word 8 comes up once the registrar has accepted the account; a
        // call on the line holds it down meanwhile.
        const bool registered = m_line->DialReady != 0 || m_line->CallInProgress != 0;
        text += " : " + m_account + (registered ? " registered" : " registering...");
    }
    return m_callText.empty() ? text : text + " : " + m_callText;
}

void TelephonyService::placeCall(const std::string& name, const std::string& number)
{
    if (m_line == nullptr)
        return;
    m_callee = name.empty() ? number : name + " (" + number + ")";
    // The phone recorder takes this call: the callee must hear the user.
    Ek7TapiUseMicrophone(AudioBackendRegistry::instance().serverInputName().c_str());
    m_line = Ek7TapiDial(number.c_str());
    if (m_line->ErrorCode >= 1) {
        m_outgoing = false;
        m_callText = "Call to " + m_callee + " failed";
        LineFailureReport::show(m_line->ErrorCode);
        return;
    }
    OutputDebugString("Dialing " + number + "\n");
    m_outgoing = true;
    m_outgoingConnected = false;
    m_callText = "Calling " + m_callee;
}

void TelephonyService::noRecorderForCall()
{
    m_callText = "Nobody chosen to call (no phone recorder in this build)";
}

bool TelephonyService::outgoingCallMessage(unsigned message)
{
    if (!m_outgoing || m_line == nullptr)
        return false;
    switch (message) {
    case kEk7MsgRingBack:
        m_callText = m_callee + " is ringing";
        return true;
    case kEk7MsgConnected:
        m_outgoingConnected = true;
        // Said plainly when nothing records the call.
        m_callText = "Connected to " + m_callee + (m_phoneRecorder ? "" : " (not recorded)");
        return true;
    case kEk7MsgBusy:
        m_callText = m_callee + " is busy";
        return true;
    case kEk7MsgNoDialTone:
        m_callText = "No dial tone: the call to " + m_callee + " could not be made";
        return true;
    case kEk7MsgDisconnected:
        m_outgoing = false;
        if (m_outgoingConnected)
            m_callText = "Call to " + m_callee + " ended";
        else if (m_callText.rfind("Calling ", 0) == 0 || m_callText.find(" is ringing") != std::string::npos)
            m_callText = "Call to " + m_callee + " not answered";
        return true;
    default:
        return false;
    }
}

void TelephonyService::lineClosed(int reason)
{
    // The library has closed the line already.
    const Trouble* trouble = lineTrouble(reason);
    m_status = failedStatus(trouble);
    m_account.clear();
    AfxMessageBox(trouble == nullptr ? LoadString(749) : std::string(trouble->message), MB_OK | MB_ICONEXCLAMATION);
}

void TelephonyService::closeLine()
{
    if (m_answerMachine != nullptr && m_app != nullptr && m_line != nullptr && m_line->AnswerMachineOn != 0 &&
        m_line->CallState == 1 && m_line->Connected != 0)
        m_answerMachine->callEnded(*m_app);
    if (m_line != nullptr && m_line->CallHandle != 0)
        lineDrop(m_line->CallHandle, nullptr, 0);
    m_line = Ek7TapiClose();
    m_status = kInactive;
    m_account.clear();
    m_callText.clear();
    m_outgoing = false;
}

void TelephonyService::stopMonitoring()
{
    closeLine();
}

long TelephonyService::selectModem(QWidget* owner)
{
    const bool wasMonitoring = monitoring();
    if (wasMonitoring)
        stopMonitoring();
    long chosen = -1;
    {
        ModemSelectionDialog dialog(m_line, profile(), owner);
        if (m_app != nullptr)
            dialog.setGreetingPath(m_app->TempDir + "/" + AnswerMachineGreeting::kFileName);
        chosen = dialog.run();
    }
    if (wasMonitoring)
        startMonitoring(m_window != nullptr ? m_window : owner);
    return chosen;
}

bool TelephonyService::modemSelectionCommand(QWidget* owner)
{
    selectModem(owner);
    if (!deviceChosen())
        return false;
    profile().setDevice(static_cast<long>(static_cast<std::uint32_t>(m_line->DeviceId)));
    return true;
}

TelephonyService::IncomingChoice TelephonyService::runIncomingCall(QWidget* owner)
{
    if (!m_incoming)
        m_incoming = new IncomingCallDialog(m_line, m_resources, owner);
    m_incoming->setCanPickUp(m_phoneRecorder);
    m_incoming->exec();
    const bool pickedUp = m_incoming && m_incoming->pickedUp();
    const bool hungUp = m_incoming && m_incoming->callerHungUp();
    delete m_incoming.data();
    if (hungUp)
        return IncomingChoice::CallerHungUp;
    return pickedUp ? IncomingChoice::PickedUp : IncomingChoice::ToAnswerMachine;
}

void TelephonyService::callEnded()
{
    if (m_incoming)
        m_incoming->endWithCall();
}

void TelephonyService::forwardCallerId()
{
    if (m_incoming)
        PostMessage(handleOf(m_incoming.data()), IncomingCallDialog::kRefreshCaller, 0, 0);
}

void TelephonyService::close(AppData& app)
{
    delete m_incoming.data();
    closeLine();
    app.lineState = m_line;
}
