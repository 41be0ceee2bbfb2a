// The telephone line as the main window uses it: app/StartupServices.h's
// LineService for real, on the line library Ek7Tapi, plus the Phone menu's
// line commands (start and stop monitoring, Modem Selection), the incoming-
// call window and the exit step.
//
// Use (all on the UI thread):
//
//   TelephonyService line;                      // main(): services.line = &line
//   line.initVar(app);                          // start-up: app.lineState is the block
//   line.startMonitoring(mainWindow);           // 2003, answer machine on, after Modem Selection
//   line.stopMonitoring();                      // 2004
//   line.modemSelectionCommand(mainWindow);     // 2002
//   line.close(app);                            // exit (the main window then waits a second)
//
// The library's messages arrive at the window given to startMonitoring (see
// maker/Ek7Tapi/Ek7Tapi.h for each): +106 offered, +121 caller identity,
// +105 a ring, +120 time to answer, +107 connected, +110 recording, +131
// played, +150 ended, +151 idle; dialling adds +154, +111, +152, +153, +108,
// +109. LineController decides what each means for the program; for the
// incoming-call window it calls runIncomingCall() on +106 and
// forwardCallerId() on +121.
//
// Status texts: "Line monitoring active", "Line monitoring inactive" (also
// before anything was tried), "Failed to start line monitoring" (also once
// the line has stopped by itself).
//
// Failures name their cause: a modem that is gone (749), one that carries no
// voice (751), and for the SIP line a port in use, incomplete settings, a
// password file others can read, and a registrar that refuses the account or
// does not answer each have a message of their own.
#pragma once

#include <QPointer>

#include <string>

#include "core/ProfileValues.h"
#include "core/StartupServices.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "telephony/IncomingCallDialog.h"
#include "telephony/ProgramResources.h"

class QObject;

class TelephonyService : public LineService {
public:
    static constexpr const char* kActive = kActiveText;
    static constexpr const char* kInactive = kInactiveText;
    static constexpr const char* kFailed = "Failed to start line monitoring";

    // StartResult and IncomingChoice are LineService's (app/StartupServices.h).

    explicit TelephonyService(ProgramResources resources = ProgramResources());
    ~TelephonyService() override;

    // LineService
    void initVar(AppData& app) override;
    void chooseDevice(long deviceId) override;
    bool deviceChosen() const override;
    void setRings(int rings) override;
    // Modem Selection (113): stops monitoring first when the line is
    // monitored and starts it again afterwards, whatever the choice. The
    // device chosen (DeviceId, DeviceChosen 1), or -1.
    long selectModem(QWidget* owner) override;
    // Exit: frees the incoming-call window, files a message being left,
    // drops a present call (lineDrop), Ek7TapiClose. The one-second wait after it is the caller's.
    void close(AppData& app) override;
    // The line's state, then for a SIP account "ada@example.net registering..."
    // or "... registered", then an outgoing call's progress; a failure says
    // its cause in brackets where the line could tell it.
    std::string statusText() const override;
    bool monitoring() const override;
    bool answerMachineOn() const override;
    // A call is connected and the answer machine is not handling it.
    bool callWaitingForUser() const override;
    void setMessagesWaiting(int count) override;

    // Command 2003: reads "Rings" (missing: writes "3"), then Ek7TapiInit and
    // Ek7TapiOpen(mainWindow) unless already monitoring.
    StartResult startMonitoring(QObject* mainWindow) override;
    // Command 2004: files a message being left, Ek7TapiClose; status inactive.
    void stopMonitoring() override;
    // Command 2002: selectModem; when DeviceChosen is set afterwards, "CommID"
    // is written as DeviceId in hexadecimal and true returned (menu: 2003
    // enabled, 2005 unchecked and enabled, 2006 checked).
    bool modemSelectionCommand(QWidget* owner) override;

    // WM_USER+106 with the answer machine off: runs the incoming-call window
    // modally and forgets it afterwards.
    IncomingChoice runIncomingCall(QWidget* owner) override;
    // WM_USER+121: the window, when open, shows the caller again.
    void forwardCallerId() override;
    void callEnded() override;
    // WM_USER+157: the line stopped by itself (a SIP registrar refused the
    // account or stopped answering): says why; status failed. The device
    // stays chosen, so monitoring can be started again.
    void lineClosed(int reason) override;
    // Outgoing calls: their progress is shown after the line status text
    // ("Calling Ada (0161 496)", "Connected to ...", with " (not recorded)"
    // when there is no phone recorder, "... is busy", "No dial tone",
    // "Call to ... ended"); Stop Monitoring hangs it up.
    void placeCall(const std::string& name, const std::string& number) override;
    void noRecorderForCall() override;
    bool outgoingCallMessage(unsigned message) override;
    IncomingCallDialog* incomingCallDialog() const { return m_incoming.data(); }

    // The answer machine whose message still being left is filed before the
    // line closes under it (exit, 2004, 2002): the line library drops the call
    // on closing and never reports its end. AnswerMachine registers itself.
    void setAnswerMachine(AnswerMachineService* machine) { m_answerMachine = machine; }
    // "&Answer" in the incoming-call window picks a call up only where a
    // phone recorder can take it; until then the button is greyed.
    void setPhoneRecorderAvailable(bool available) { m_phoneRecorder = available; }

    LineState* lineState() const { return m_line; }
    const ProgramResources& resources() const { return m_resources; }

private:
    ProfileValues profile() const;
    // Every way of closing the line: the message in progress first.
    void closeLine();

    ProgramResources m_resources;
    AppData* m_app = nullptr;
    LineState* m_line = nullptr;
    QObject* m_window = nullptr;
    std::string m_status = kInactive;
    std::string m_callText;  // the outgoing call's progress, shown after m_status
    std::string m_account;   // the SIP line's account while monitored
    std::string m_callee;    // "Ada (0161 496)"
    bool m_outgoing = false;
    bool m_outgoingConnected = false;
    QPointer<IncomingCallDialog> m_incoming;
    AnswerMachineService* m_answerMachine = nullptr;
    bool m_phoneRecorder = false;
};
