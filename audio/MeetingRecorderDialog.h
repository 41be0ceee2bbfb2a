// The Meeting Recorder (dialog 116) and Offline Meeting (command 2168).
// The recorder follows the pattern of the diary recorder (wave engine, ten
// level bars, marks, subject, attendees and keywords, comments, picture) and
// files a meeting record; both show the meeting's running time and cost
// (MeetingCost), highlighted when "HighLight" is "Y". The meeting's clock
// starts with the first PICKUP (Start for an offline meeting) and keeps
// running through PAUSE and STOP, as a meeting does. A meeting can follow one
// of the store's agendas: NEXT ITEM marks the next item where the recording
// is (before PICKUP, at its start).
#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>

#include "audio/LevelBars.h"
#include "audio/MeetingCost.h"
#include "audio/MeetingRecorder.h"

class QLabel;
struct AppData;

namespace Ui {
class MeetingRecorderDialog;
class OfflineMeetingDialog;
}

// Shows a meeting's time and cost in the two labels.
void showMeetingCost(QLabel* time, QLabel* cost, const MeetingCost& timer, long long elapsedMs);

class MeetingRecorderDialog : public QDialog {
    Q_OBJECT
public:
    using HelpOpener = std::function<bool(const std::string&)>;
    static constexpr const char* kHelpPage = "166.htm";

    // prime: start from the previous meeting's subject and attendees.
    MeetingRecorderDialog(AppData& app, bool prime, HelpOpener openHelp, QWidget* parent = nullptr);
    MeetingRecorderDialog(AppData& app, VXWave& wave, RecordingFlags& flags, bool prime, HelpOpener openHelp,
                          QWidget* parent = nullptr);
    ~MeetingRecorderDialog() override;

    int openRecording();
    // A template's texts to start from.
    void setTexts(const std::string& subject, const std::string& keywords, const std::string& comments);
    MeetingRecorder& recorder() { return m_recorder; }
    MeetingEntry entry() const;
    const MeetingCost& costTimer() const { return m_cost; }
    // Chooses an agenda by name; its items then become marks one by one
    // (NEXT ITEM). False when the store has no agenda of that name.
    bool chooseAgenda(const QString& name);
    // The cost timers as after elapsedMs of meeting (the timer calls it).
    void showElapsed(long long elapsedMs);

protected:
    void reject() override;
    void closeEvent(QCloseEvent* event) override;

private:
    void build(AppData& app, bool prime);
    void refresh();
    void refreshMarks();
    void refreshAgenda();
    void tick();
    void onPickup();
    void onSave();

    MeetingRecorder m_recorder;
    RecordingFlags& m_flags;
    HelpOpener m_openHelp;
    MeetingCost m_cost;
    std::unique_ptr<Ui::MeetingRecorderDialog> m_ui;
    std::unique_ptr<LevelBars> m_bars;
    QTimer m_timer;
    QElapsedTimer m_meetingClock;
    long long m_elapsedMs = 0;
};

class OfflineMeetingDialog : public QDialog {
    Q_OBJECT
public:
    explicit OfflineMeetingDialog(const MeetingCost& cost, QWidget* parent = nullptr);
    ~OfflineMeetingDialog() override;
    void showElapsed(long long elapsedMs);
    bool running() const { return m_clock.isValid(); }

private:
    void tick();

    MeetingCost m_cost;
    std::unique_ptr<Ui::OfflineMeetingDialog> m_ui;
    QTimer m_timer;
    QElapsedTimer m_clock;
    long long m_before = 0;  // time run before the last Start
};

int runMeetingRecorder(AppData& app, QWidget* parent, bool prime, MeetingRecorderDialog::HelpOpener openHelp = {});
