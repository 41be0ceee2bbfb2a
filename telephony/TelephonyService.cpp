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
#include "res/StringTable.h"
#include "telephony/IncomingCallDialog.h"
#include "telephony/LineFailureReport.h"
#include "telephony/ModemSelectionDialog.h"
#include "telephony/TapiBinding.h"

namespace {

// Line library reasons that mean "the modem chosen before is gone".
bool deviceGone(int reason)
{
    return reason == kEk7DeviceMissing || reason == kEk7OpenFailed || reason == kEk7DeviceGone;
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
        return StartResult::Started;
    }
    const int reason = m_line->ErrorCode;
    if (deviceGone(reason))
        AfxMessageBox(LoadString(749), MB_OK | MB_ICONINFORMATION);
    else if (reason == kEk7DeviceUnusable)
        AfxMessageBox(LoadString(751), MB_OK | MB_ICONINFORMATION);
    else
        LineFailureReport::show(reason);
    m_status = kFailed;
    m_line->DeviceChosen = 0;
    return StartResult::OpenFailed;
}

void TelephonyService::stopMonitoring()
{
    m_line = Ek7TapiClose();
    m_status = kInactive;
}

long TelephonyService::selectModem(QWidget* owner)
{
    const bool wasMonitoring = monitoring();
    if (wasMonitoring)
        stopMonitoring();
    long chosen = -1;
    {
        ModemSelectionDialog dialog(m_line, profile().settings(), owner);
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
        m_incoming = new IncomingCallDialog(*m_app, m_line, m_resources, owner);
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
    if (m_line != nullptr && m_line->CallHandle != 0)
        lineDrop(m_line->CallHandle, nullptr, 0);
    m_line = Ek7TapiClose();
    app.lineState = m_line;
    m_status = kInactive;
}
