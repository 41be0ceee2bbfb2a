// The incoming-call window (dialog 118, "Navo : Incoming Call Detected"),
// run modally by the main window's handler of WM_USER+106 while the answer
// machine is off.
//
// It rings (WAVE resource 3003, looped) until closed, shows the caller's
// number (10037) and name (10039) when caller identification has come, and
// shows them again on WM_USER+12 (post it when WM_USER+121 arrives). It
// reads no settings: the "PhWarn" switch is read before it is shown.
//
// "&Answer" (button 1, greyed unless setCanPickUp): CallAnsweredByUser = 1,
// picked up, exec() gives IDOK.
// "&Message" (button 2): CallAnsweredByUser = 1, not picked up (the answer
// machine takes the call), exec() gives IDCANCEL. Closing it by its frame:
// not picked up, CallAnsweredByUser unchanged, IDCANCEL.
#pragma once

#include <QDialog>

#include <memory>

#include "platform/WinTypes.h"
#include "telephony/ProgramResources.h"
#include "telephony/RingSound.h"

struct LineState;
namespace Ui {
class IncomingCallDialog;
}

class IncomingCallDialog : public QDialog {
public:
    static constexpr UINT kRefreshCaller = WM_USER + 12;

    IncomingCallDialog(LineState* line, const ProgramResources& resources, QWidget* parent = nullptr);
    ~IncomingCallDialog() override;

    // "&Answer" is greyed until a phone recorder can take the call picked up.
    void setCanPickUp(bool can);

    bool pickedUp() const { return m_pickedUp; }
    // The caller hung up while the window was up: it stops ringing and
    // closes with nobody's choice (not picked up, CallAnsweredByUser unchanged).
    void endWithCall();
    bool callerHungUp() const { return m_hungUp; }
    const RingSound& ring() const { return m_ring; }

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    void showCaller();
    void decide(bool pickUp);

    std::unique_ptr<Ui::IncomingCallDialog> m_ui;
    LineState* m_line;
    RingSound m_ring;
    bool m_pickedUp = false;
    bool m_decided = false;
    bool m_hungUp = false;
};
