#include "app/InertServices.h"

#include "core/AppData.h"
#include "platform/Trace.h"

StartupServices InertServices::services()
{
    return {nullptr, this, this, this, this};
}

void InertServices::initVar(AppData&)
{
    OutputDebugString("Ek7TapiInitVar skipped: no telephone line in this build\n");
}

void InertServices::chooseDevice(long deviceId)
{
    m_deviceId = deviceId;
    m_deviceChosen = true;
}

bool InertServices::deviceChosen() const
{
    return m_deviceChosen;
}

void InertServices::setRings(int rings)
{
    m_rings = rings;
}

long InertServices::selectModem(QWidget*)
{
    OutputDebugString("Modem selection skipped: no telephone line in this build\n");
    return -1;
}

void InertServices::close(AppData&)
{
    OutputDebugString("Ek7TapiClose skipped: no telephone line in this build\n");
}

std::string InertServices::statusText() const
{
    return kInactiveText;
}

int InertServices::check(AppData&)
{
    OutputDebugString("Diary check skipped: no diary monitor in this build\n");
    return kNotAvailable;
}

void InertServices::start(AppData&, std::uintptr_t)
{
    OutputDebugString("Diary monitor not started: not in this build\n");
}

InertServices::StartResult InertServices::startMonitoring(QObject*)
{
    OutputDebugString("Start monitoring skipped: no telephone line in this build\n");
    return StartResult::NoDevice;
}

void InertServices::stopMonitoring()
{
    OutputDebugString("Stop monitoring skipped: no telephone line in this build\n");
}

bool InertServices::modemSelectionCommand(QWidget*)
{
    OutputDebugString("Modem selection skipped: no telephone line in this build\n");
    return false;
}

InertServices::IncomingChoice InertServices::runIncomingCall(QWidget*)
{
    return IncomingChoice::ToAnswerMachine;
}

InertServices::Switch InertServices::switchOn(AppData&, QObject*)
{
    OutputDebugString("Answer machine on skipped: not in this build\n");
    return Switch::NotAvailable;
}

InertServices::Switch InertServices::switchOff(AppData&)
{
    OutputDebugString("Answer machine off skipped: not in this build\n");
    return Switch::NotAvailable;
}

void InertServices::answerCall(AppData&)
{
    OutputDebugString("Answering skipped: no answer machine in this build\n");
}

int InertServices::callEnded(AppData&)
{
    return kNotAvailable;
}

int InertServices::useDictationAsGreeting(AppData&, const std::string&)
{
    OutputDebugString("Greeting not changed: no answer machine in this build\n");
    return kNotAvailable;
}

int InertServices::runDialog(AppData&, QWidget*)
{
    OutputDebugString("Store compression skipped: not in this build\n");
    return kNotAvailable;
}
