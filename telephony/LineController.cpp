#include "telephony/LineController.h"

#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"

LineController::LineController(AppData& app, LineService& line, AnswerMachineService& machine,
                               NewMessageCounter countNewMessages)
    : m_app(app), m_line(line), m_machine(machine), m_countNewMessages(std::move(countNewMessages))
{
}

void LineController::startUp()
{
    m_menu.stopEnabled = false;
    const bool chosen = m_line.deviceChosen();
    m_menu.onEnabled = chosen;
    m_menu.startEnabled = chosen;
}

void LineController::applyMonitoring()
{
    if (m_line.monitoring()) {
        m_menu.startEnabled = false;
        m_menu.stopEnabled = true;
    } else if (!m_line.deviceChosen()) {
        // The modem could not be opened: nothing works until one is chosen.
        m_menu.startEnabled = false;
        m_menu.stopEnabled = false;
        m_menu.onChecked = false;
        m_menu.onEnabled = false;
    } else {
        m_menu.startEnabled = true;
        m_menu.stopEnabled = false;
    }
}

LineController::Refresh LineController::modemSelection(QWidget* owner)
{
    const bool chosen = m_line.modemSelectionCommand(owner);
    applyMonitoring();
    if (chosen) {
        m_menu.startEnabled = true;
        m_menu.onChecked = false;
        m_menu.onEnabled = true;
        m_menu.offChecked = true;
    }
    return Refresh::Status;
}

LineController::Refresh LineController::startMonitoring(QObject* window)
{
    if (m_line.startMonitoring(window) == LineService::StartResult::NoDevice)
        return Refresh::Nothing;
    applyMonitoring();
    return Refresh::Status;
}

LineController::Refresh LineController::stopMonitoring()
{
    m_line.stopMonitoring();
    if (m_recorder != nullptr && m_recorder->isOpen())
        m_recorder->clearLineInUse();
    applyMonitoring();
    return Refresh::Status;
}

LineController::Refresh LineController::switchOn(QObject* window)
{
    // A call in progress is refused by the machine itself, recorder and all.
    const LineState* line = m_app.lineState;
    if (line == nullptr || line->CallInProgress == 0) {
        m_recorderWasOpen = false;
        if (m_recorder != nullptr && m_recorder->isOpen() && !m_recorder->recording()) {
            m_recorderWasOpen = true;
            m_recorder->close();
        }
    }
    return apply(m_machine.switchOn(m_app, window));
}

LineController::Refresh LineController::switchOff()
{
    return apply(m_machine.switchOff(m_app));
}

LineController::Refresh LineController::apply(AnswerMachineService::Switch result)
{
    using Switch = AnswerMachineService::Switch;
    switch (result) {
    case Switch::NotAvailable:
    case Switch::Refused:
        return Refresh::Nothing;
    case Switch::NoDevice:
        m_menu.offChecked = false;
        m_menu.offEnabled = false;
        return Refresh::Nothing;
    case Switch::On:
        applyMonitoring();
        m_menu.onChecked = true;
        m_menu.onEnabled = false;
        m_menu.offChecked = false;
        m_menu.offEnabled = true;
        return Refresh::Status;
    case Switch::Failed:
        applyMonitoring();
        m_menu.offChecked = true;
        m_menu.offEnabled = false;
        return Refresh::Status;
    case Switch::Off:
        m_menu.onChecked = false;
        m_menu.onEnabled = true;
        m_menu.offChecked = true;
        m_menu.offEnabled = false;
        return Refresh::LineState;
    }
    return Refresh::Nothing;
}

void LineController::useDictationAsGreeting(int selectedCount, const std::string& recordFileName)
{
    if (m_app.CurrentListType != kListDictation || selectedCount != 1 || recordFileName.empty())
        return;
    m_machine.useDictationAsGreeting(m_app, recordFileName);
}

LineController::Refresh LineController::lineMessage(UINT message, QWidget* owner, LPARAM lParam)
{
    const LineState* line = m_app.lineState;
    // An outgoing call's progress goes to the status text; the steps below
    // still run for it (the wave devices at +107, the after-call update).
    const bool outgoingShown = m_line.outgoingCallMessage(message);
    switch (message) {
    case kEk7MsgOffered:
        return incomingCall(owner);
    case kEk7MsgCallerId:
        callerIdentity();
        return Refresh::Nothing;
    case kEk7MsgServiceChanged:
        // A SIP account registered (or lost it): the status line says so.
        return Refresh::Status;
    case kEk7MsgAnswerNow:
        if (line != nullptr && line->CallState == 1 && line->CallHandle != 0)
            m_machine.answerCall(m_app);
        return Refresh::Nothing;
    case kEk7MsgConnected:
        // The line's wave devices, and the greeting when the machine has
        // the call; a call the machine does not have is the recorder's.
        m_machine.callConnected(m_app);
        if (line != nullptr && line->AnswerMachineOn == 0 && m_recorder != nullptr && m_recorder->isOpen())
            m_recorder->stateChange(PhoneRecorderService::kConnected);
        return outgoingShown ? Refresh::Status : Refresh::LineState;
    case kEk7MsgDisconnected: {
        const Refresh after = callEnded();
        return outgoingShown && after != Refresh::PhoneList ? Refresh::Status : after;
    }
    case kOutgoingCallRecorder:
        if (m_recorder != nullptr) {
            // lParam 0: the chosen entry; otherwise an empty recorder.
            const bool chosen = lParam == 0;
            m_recorder->open(m_app, owner, chosen ? m_app.ChosenName : std::string(),
                             chosen ? m_app.ChosenNumber : std::string());
            if (chosen)
                m_line.placeCall(m_app.ChosenName, m_app.ChosenNumber);
            return Refresh::Status;
        }
        // Without a phone recorder the call is placed and its progress
        // shown, but nothing records it.
        OutputDebugString("No phone recorder in this build: dialling without it\n");
        if (lParam == 0)
            m_line.placeCall(m_app.ChosenName, m_app.ChosenNumber);
        else
            m_line.noRecorderForCall();
        return Refresh::Status;
    case kListRoutine:
        // The phone recorder has filed a call: shown as after a call.
        return afterCall();
    default:
        if (outgoingShown)
            return Refresh::Status;
        // +105 (a ring), +108 (busy) and the dialling, playing and idle
        // messages need nothing here.
        return Refresh::Nothing;
    }
}

LineController::Refresh LineController::incomingCall(QWidget* owner)
{
    const LineState* line = m_app.lineState;
    if (line != nullptr && line->AnswerMachineOn == 0 && line->CallState == 1) {
        readPhoneWarning();
        const LineService::IncomingChoice choice = m_line.runIncomingCall(owner);
        const bool picked = choice == LineService::IncomingChoice::PickedUp;
        // A caller who has already gone leaves no call for anyone to take.
        if (choice != LineService::IncomingChoice::CallerHungUp)
            m_machine.forThisCall(m_app, !picked);
        if (picked && m_recorder != nullptr)
            openRecorderForIncoming(owner);
        else if (picked)
            OutputDebugString("Call picked up, but this build has no phone recorder\n");
    }
    return Refresh::LineState;
}

void LineController::openRecorderForIncoming(QWidget* owner)
{
    LineState* line = m_app.lineState;
    if (line == nullptr)
        return;
    line->AnswerMachineOn = 0;
    m_recorder->open(m_app, owner, line->CallerName, line->CallerNumber);
    PostMessage(m_recorder->window(), PhoneRecorderService::kRecordIncoming, 0, 0);
}

void LineController::readPhoneWarning()
{
    // Read afresh for every call: Options may have changed it since.
    m_app.PhoneWarning = ProfileValues(m_app).yesNo(settings::kPhWarn) ? 1 : 0;
}

void LineController::callerIdentity()
{
    if (const LineState* line = m_app.lineState) {
        OutputDebugString(line->CallerNumber);
        OutputDebugString("\n");
        OutputDebugString(line->CallerName);
        OutputDebugString("\n");
    }
    m_line.forwardCallerId();
}

LineController::Refresh LineController::callEnded()
{
    m_line.callEnded();
    const LineState* line = m_app.lineState;
    const bool recorderOpen = m_recorder != nullptr && m_recorder->isOpen();
    if (recorderOpen && m_recorderWasOpen) {
        m_recorder->clearLineInUse();
        PostMessage(m_recorder->window(), PhoneRecorderService::kCallEnded, 0, 0);
        m_recorderWasOpen = false;
        return afterCall();
    }
    if (recorderOpen && line != nullptr && line->AnswerMachineOn == 0) {
        m_recorder->clearLineInUse();
        PostMessage(m_recorder->window(), PhoneRecorderService::kCallEnded, 0, 0);
    }
    if (line != nullptr && line->AnswerMachineOn != 0)
        m_machine.callEnded(m_app);
    return afterCall();
}

LineController::Refresh LineController::afterCall()
{
    if (m_app.CurrentListType == kListPhone)
        return Refresh::PhoneList;
    // Not shown: counted as the Phone list would count them, so the
    // line-state picture tells of a new message at once.
    if (const int newMessages = m_countNewMessages ? m_countNewMessages() : -1; newMessages >= 0)
        m_line.setMessagesWaiting(newMessages);
    return Refresh::LineState;
}

LineController::Refresh LineController::lineClosed(int reason)
{
    m_line.lineClosed(reason);
    applyMonitoring();
    return Refresh::Status;
}
