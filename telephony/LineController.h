// The line-state decisions the main window used to make itself: which line
// message goes to which step of the line and the answer machine under which
// line state, whether an incoming call asks the user (and the "PhWarn"
// switch read for it), what happens after a
// call, and the state of the Phone menu after each Phone command and each
// answer-machine switch. A plain class over LineService and
// AnswerMachineService: no window, so it is tested with scripted services.
//
// The window drives it with one call per Phone command or line message and
// then brings itself up to date as the returned Refresh says, mirroring
// menu() onto its Phone menu.
#pragma once

#include <functional>
#include <string>

#include "core/StartupServices.h"
#include "platform/WinTypes.h"

class QObject;
class QWidget;
struct AppData;

// What the Phone menu shows for 2003 (start), 2004 (stop), 2005 (answer
// machine on) and 2006 (off). All enabled and unchecked until start-up.
struct PhoneMenuState {
    bool startEnabled = true;
    bool stopEnabled = true;
    bool onEnabled = true;
    bool onChecked = false;
    bool offEnabled = true;
    bool offChecked = false;
};

class LineController {
public:
    // What the window brings up to date after a step (besides the menu).
    enum class Refresh {
        Nothing,
        LineState,  // the Phone item's line-state picture
        Status,     // the status text, then the picture
        PhoneList,  // the Phone list is shown: fill it again (picture too)
    };
    // The Phone list's count of new messages when it is not shown, or -1
    // when there is no store to count in.
    using NewMessageCounter = std::function<int()>;

    // The main window's own messages: the phone recorder for an outgoing
    // call; the after-call update once the phone recorder has filed a call.
    static constexpr UINT kOutgoingCallRecorder = WM_USER + 155;
    static constexpr UINT kListRoutine = WM_USER + 156;

    LineController(AppData& app, LineService& line, AnswerMachineService& machine,
                   NewMessageCounter countNewMessages);

    const PhoneMenuState& menu() const { return m_menu; }

    // The phone recorder that takes calls picked up, placed or connected;
    // none: they go unrecorded (and "&Answer" is greyed).
    void setPhoneRecorder(PhoneRecorderService* recorder) { m_recorder = recorder; }
    // Set when the answer machine was switched on while the phone recorder
    // was open and idle (it was closed then).
    bool recorderWasOpen() const { return m_recorderWasOpen; }

    // Start-up: stop greyed; start and answer machine on only with a device.
    void startUp();
    // Phone menu 2002, 2003, 2004.
    Refresh modemSelection(QWidget* owner);
    Refresh startMonitoring(QObject* window);
    Refresh stopMonitoring();
    // Phone menu 2005 and 2006, and "AutoMessage" at start-up.
    Refresh switchOn(QObject* window);
    Refresh switchOff();
    // Command 2107 for the selection: only one dictation, in the Dictation list.
    void useDictationAsGreeting(int selectedCount, const std::string& recordFileName);

    // A line message (WM_USER+105 to +156) posted to the window; owner
    // parents the incoming-call window and the phone recorder. Messages that
    // need nothing (a ring, busy, dialling, playing, idle, and any other)
    // give Nothing.
    // +155 (the phone recorder for an outgoing call; lParam 0 the chosen
    // entry, 1 nobody) opens the phone recorder, then places the call.
    Refresh lineMessage(UINT message, QWidget* owner, LPARAM lParam = 0);
    // WM_USER+157: the line stopped by itself (wParam the reason); the user
    // is told why and monitoring can be started again.
    Refresh lineClosed(int reason);

private:
    Refresh apply(AnswerMachineService::Switch result);
    void applyMonitoring();
    Refresh incomingCall(QWidget* owner);
    // "PhWarn" into AppData::PhoneWarning before the incoming-call window
    // (missing: "N" is written, warning off; only "Y" is on).
    void readPhoneWarning();
    void callerIdentity();
    Refresh callEnded();
    // The main window's after-call update.
    Refresh afterCall();
    void openRecorderForIncoming(QWidget* owner);

    AppData& m_app;
    LineService& m_line;
    AnswerMachineService& m_machine;
    NewMessageCounter m_countNewMessages;
    PhoneMenuState m_menu;
    PhoneRecorderService* m_recorder = nullptr;
    bool m_recorderWasOpen = false;
};
