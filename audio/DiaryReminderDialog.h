// The Diary Reminder (dialog 139), shown for a diary entry whose reminder
// has come: it plays the entry at once through the "waveaudio" device, and
// offers Play, Stop, Cancel and Snooze. Snooze moves the entry's time on by
// the minutes chosen (1 to 240) and stores it back into the record's line,
// so the reminder comes again then, also after a restart. Several reminders
// open 50 pixels apart.
#pragma once

#include <QDialog>

#include <functional>
#include <memory>
#include <string>

#include "audio/DiarySchedule.h"
#include "store/RecordEditor.h"

class RecorderDevice;
struct AppData;

namespace Ui {
class DiaryReminderDialog;
}

class DiaryReminderDialog : public QDialog {
    Q_OBJECT
public:
    static constexpr int kCascadeStep = 50;
    static constexpr int kSnoozeDefault = 10;

    // now: the local calendar minute (the monitor's clock).
    DiaryReminderDialog(AppData& app, const diary::Reminder& reminder, QWidget* owner,
                        std::function<long long()> now = {});
    ~DiaryReminderDialog() override;

    // Takes the entry out of the store, places the window and starts
    // playing. 0; 1 when the entry no longer falls due then (changed or
    // deleted since); or the code of the message shown.
    int openEntry();

    bool listenedTo() const { return m_listenedTo; }
    bool snoozed() const { return m_snoozed; }
    RecorderDevice* device() { return m_device.get(); }

    // The offset the next reminder window takes.
    static QPoint cascadeOffset();

    void play();
    void stopPlaying();
    // 0, or the code of the message shown (the window stays open then).
    int snooze();

protected:
    void done(int result) override;
    bool event(QEvent* event) override;

private:
    AppData& m_app;
    diary::Reminder m_reminder;
    std::function<long long()> m_now;
    std::unique_ptr<Ui::DiaryReminderDialog> m_ui;
    std::unique_ptr<RecorderDevice> m_device;
    RecordEditor m_editor;
    EditableRecord m_record;
    std::string m_wavePath;
    bool m_loaded = false;
    bool m_listenedTo = false;
    bool m_snoozed = false;
    bool m_closed = false;
};
