// The phone recorder (dialog 125, "Navo Phone Recorder"), modeless: records
// a telephone call, both sides (PhoneRecorder), with the caller's or
// callee's name (10044) and number (10043), the call's running time and
// cost at "PhoneCost" per minute (the meeting recorder's cost timers), index
// marks and notes, and files it as a recorded phone call.
//
// The main window drives it:
//   WM_USER+11  an incoming call picked up is to be recorded here: it
//               answers the call (Ek7TapiAnswer).
//   stateChange(7)  the call is connected: the call's clock starts and a
//               recording run starts, unless one is going already.
//   WM_USER+7   the call has ended: the run ends and what was recorded is
//               filed at once, with the notes typed so far; the recorder
//               then closes. Nothing recorded: it just closes.
// Opened while a call is already connected (New Recording on the Phone list)
// it starts recording at once. With "PhWarn" on, the store's recording
// warning ("vxwarn.wav") is played into the call when recording begins. PICKUP, PAUSE and STOP work as in the other
// recorders, for both sides; OK files, CANCEL asks about unsaved sound.
#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>

#include "audio/LevelBars.h"
#include "audio/MeetingCost.h"
#include "audio/PhoneRecorder.h"

struct AppData;
struct RecordingFlags;
class VXWave;

namespace Ui {
class PhoneRecorderDialog;
}

class PhoneRecorderDialog : public QDialog {
    Q_OBJECT
public:
    using HelpOpener = std::function<bool(const std::string&)>;
    static constexpr const char* kHelpPage = "166.htm";

    PhoneRecorderDialog(AppData& app, VXWave& wave, RecordingFlags& flags, PhoneRecorder::FailureReport report,
                        HelpOpener openHelp, QWidget* parent = nullptr);
    ~PhoneRecorderDialog() override;

    // Takes the RecID; 0 or EngineRecorder::kNoRecId.
    int openRecording();
    void setCaller(const std::string& name, const std::string& number);
    void stateChange(int code);
    // Cleared when the line is no longer there for this call.
    void setLineInUse(bool inUse) { m_lineInUse = inUse; }
    bool lineInUse() const { return m_lineInUse; }

    PhoneRecorder& recorder() { return m_recorder; }
    PhoneCallEntry entry() const;
    const MeetingCost& costTimer() const { return m_cost; }
    void showElapsed(long long elapsedMs);

signals:
    // A recording was filed (the Phone list has a new row).
    void filed();

protected:
    bool event(QEvent* event) override;
    void reject() override;
    void closeEvent(QCloseEvent* event) override;

private:
    void refresh();
    void tick();
    void answerIncoming();
    void takeCallerIdentity();
    void warnTheOtherParty();
    void callEnded();
    void onSave();
    void showCallState(const QString& text);

    AppData& m_app;
    PhoneRecorder m_recorder;
    RecordingFlags& m_flags;
    HelpOpener m_openHelp;
    MeetingCost m_cost;
    std::unique_ptr<Ui::PhoneRecorderDialog> m_ui;
    std::unique_ptr<LevelBars> m_bars;
    QTimer m_timer;
    QElapsedTimer m_callClock;
    long long m_elapsedMs = 0;
    bool m_lineInUse = false;
    bool m_warned = false;
};
