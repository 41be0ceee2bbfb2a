#include "audio/DiaryReminderDialog.h"

#include <QCheckBox>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QStyle>

#include "audio/DiaryMonitor.h"
#include "audio/DiaryRecorder.h"
#include "audio/DictationRecorderDialog.h"
#include "audio/WaveAudioDevice.h"
#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/Codepage.h"
#include "platform/FileOps.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordFiler.h"
#include "ui_DiaryReminderDialog.h"

namespace {

// Where the next reminder window goes; back to 0 when one closes.
QPoint& cascade()
{
    static QPoint offset;
    return offset;
}

}  // namespace

DiaryReminderDialog::DiaryReminderDialog(AppData& app, const diary::Reminder& reminder, QWidget* owner,
                                         std::function<long long()> now)
    : QDialog(owner),
      m_app(app),
      m_reminder(reminder),
      m_now(now ? std::move(now) : [] { return SystemDiaryClock().now(); }),
      m_ui(std::make_unique<Ui::DiaryReminderDialog>()),
      m_editor(app)
{
    Ui::DiaryReminderDialog& ui = *m_ui;
    ui.setupUi(this);
    ui.IDC_REMINDER_PLAY->setIcon(style()->standardIcon(QStyle::SP_MediaPlay));
    ui.IDC_REMINDER_STOP->setIcon(style()->standardIcon(QStyle::SP_MediaStop));
    ui.IDC_REMINDER_CANCEL->setIcon(style()->standardIcon(QStyle::SP_DialogCancelButton));
    ui.IDC_SNOOZE->setIcon(style()->standardIcon(QStyle::SP_BrowserReload));
    const std::pair<QWidget*, unsigned> tips[] = {
        {ui.IDC_REMINDER_PLAY, 662}, {ui.IDC_REMINDER_STOP, 663}, {ui.IDC_REMINDER_CANCEL, 669},
        {ui.IDC_SNOOZE, 693},        {ui.IDC_SNOOZE_MINUTES, 694},
    };
    for (const auto& [widget, id] : tips)
        widget->setToolTip(DictationRecorderDialog::tipText(LoadString(id).c_str()));
    ui.IDC_SNOOZE_MINUTES->setRange(1, 240);
    ui.IDC_SNOOZE_MINUTES->setValue(kSnoozeDefault);
    ui.IDC_REMINDER_NAG_ME->setChecked(reminder.reminder == 2);
    connect(ui.IDC_REMINDER_PLAY, &QPushButton::clicked, this, &DiaryReminderDialog::play);
    connect(ui.IDC_REMINDER_STOP, &QPushButton::clicked, this, &DiaryReminderDialog::stopPlaying);
    connect(ui.IDC_REMINDER_CANCEL, &QPushButton::clicked, this, &DiaryReminderDialog::reject);
    connect(ui.IDC_SNOOZE, &QPushButton::clicked, this, &DiaryReminderDialog::snooze);
    assignControlNumbers(this);
}

DiaryReminderDialog::~DiaryReminderDialog()
{
    if (!m_closed)
        done(QDialog::Rejected);
}

QPoint DiaryReminderDialog::cascadeOffset() { return cascade(); }

int DiaryReminderDialog::openEntry()
{
    const std::string recIdText = indexline::recIdText(m_reminder.recId);
    const int loaded = m_editor.load(recIdText, &m_record);
    if (loaded != 0 && loaded != RecordEditor::kLocked) {
        m_editor.discard(m_record);
        ShowCodedMessage(loaded, MB_ICONEXCLAMATION);
        return loaded;
    }
    m_loaded = true;
    DiaryEntry entry;
    if (!DiaryEntry::fromLine(m_record.line, &entry) || entry.reminder == 0
        || diary::minutesOf(entry.year, entry.month, entry.day, entry.hour, entry.minute) != m_reminder.due)
        return 1;
    m_reminder.reminder = entry.reminder;
    m_ui->IDC_REMINDER_NAG_ME->setChecked(entry.reminder == 2);
    m_ui->subject->setText(fromAnsi(entry.subject.empty() ? recIdText : entry.subject));
    m_ui->when->setText(QString::fromStdString(entry.dateText() + "  " + entry.timeText()));

    // The entry's sound comes out of its record file into the workspace.
    const std::string local = components::workspacePath(m_app.TempDir, m_record.recordFileName);
    const std::string waveName = m_record.baseName + ".wav";
    int extracted = ExtractFile(m_app.DataStorePath.c_str(), m_record.recordFileName.c_str(), m_app.TempDir.c_str());
    if (extracted == 0)
        extracted = ExtractFile(local.c_str(), waveName.c_str(), m_app.TempDir.c_str());
    fileops::removeFile(local);
    if (extracted != 0) {
        ShowCodedMessage(extracted, MB_ICONEXCLAMATION);
        return extracted;
    }
    m_wavePath = components::workspacePath(m_app.TempDir, waveName);

    // Offsets on the screen, as several windows falling due together stack.
    const QScreen* where = screen();
    move((where != nullptr ? where->availableGeometry().topLeft() : QPoint()) + cascade());
    cascade() += QPoint(kCascadeStep, kCascadeStep);

    m_device = std::make_unique<WaveAudioDevice>(handleOf(this));
    if (m_device->open(m_wavePath))
        play();
    return 0;
}

void DiaryReminderDialog::play()
{
    if (!m_device || !m_device->isOpen())
        return;
    m_device->stop();
    if (m_device->play(0, m_device->length()) == 0)
        m_listenedTo = true;
}

void DiaryReminderDialog::stopPlaying()
{
    if (m_device && m_device->isOpen())
        m_device->stop();
}

int DiaryReminderDialog::snooze()
{
    const long long due = m_now() + m_ui->IDC_SNOOZE_MINUTES->value();
    DiaryEntry entry;
    diary::calendarOf(due, &entry.year, &entry.month, &entry.day, &entry.hour, &entry.minute);
    std::vector<std::string> fields = indexline::fields(m_record.line, 12);
    fields[diaryline::kDateField - 1] = entry.dateText();
    fields[diaryline::kTimeField - 1] = entry.timeText();
    fields[diaryline::kReminderField - 1] = m_ui->IDC_REMINDER_NAG_ME->isChecked() ? "2" : "1";
    const int saved = m_editor.saveFields(m_record, fields);
    if (saved != 0) {
        ShowCodedMessage(saved, MB_ICONEXCLAMATION);
        return saved;
    }
    m_snoozed = true;
    accept();
    return 0;
}

bool DiaryReminderDialog::event(QEvent* event)
{
    // The end of playing needs nothing: Play starts again from the start.
    if (event->type() == WindowMessageEvent::eventType())
        return true;
    return QDialog::event(event);
}

void DiaryReminderDialog::done(int result)
{
    if (!m_closed) {
        m_closed = true;
        if (m_device) {
            m_device->stop();
            m_device->close();
        }
        if (!m_wavePath.empty())
            fileops::removeFile(m_wavePath);
        if (m_loaded)
            m_editor.discard(m_record);
        cascade() = QPoint();
    }
    QDialog::done(result);
}
