#include "audio/DiaryRecorderDialog.h"

#include <QCalendarWidget>
#include <algorithm>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDateTime>
#include <QFile>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeWidgetItem>

#include "audio/DictationRecorderDialog.h"
#include "audio/EngineRecorderView.h"
#include "audio/LevelBars.h"
#include "audio/RecordingFlags.h"
#include "audio/VXWave.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "core/ShowCodedMessage.h"
#include "platform/CallbackWindow.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "res/ResourceIds.h"
#include "res/resource.h"
#include "ui_DiaryRecorderDialog.h"

DiaryRecorderDialog::DiaryRecorderDialog(AppData& app, HelpOpener openHelp, QWidget* parent)
    : DiaryRecorderDialog(app, theWaveEngine(), theRecordingFlags(), std::move(openHelp), parent)
{
}

DiaryRecorderDialog::DiaryRecorderDialog(AppData& app, VXWave& wave, RecordingFlags& flags, HelpOpener openHelp,
                                         QWidget* parent)
    : QDialog(parent),
      m_recorder(app, wave, flags),
      m_flags(flags),
      m_openHelp(std::move(openHelp)),
      m_ui(std::make_unique<Ui::DiaryRecorderDialog>())
{
    build(app);
}

DiaryRecorderDialog::~DiaryRecorderDialog() = default;

int DiaryRecorderDialog::levelBarId(int i) { return LevelBars::controlId(i); }

void DiaryRecorderDialog::build(AppData& app)
{
    Ui::DiaryRecorderDialog& ui = *m_ui;
    ui.setupUi(this);
    m_bars = std::make_unique<LevelBars>(ui.levelBars, m_flags);
    ui.IDC_INDEX_LIST->setColumnWidth(0, 200);
    ui.IDC_INDEX_LIST->setColumnWidth(1, 70);
    const QDateTime now = QDateTime::currentDateTime();
    ui.IDC_DIARY_DATE->setSelectedDate(now.date());
    ui.IDC_DIARY_TIME->setTime(QTime(now.time().hour(), now.time().minute()));
    ui.IDC_AUTO_REMINDER->setChecked(ProfileValues(app).yesNo(settings::kADiary));

    DiaryRecorder* rec = &m_recorder;
    connect(rec, &DiaryRecorder::stateChanged, this, &DiaryRecorderDialog::refresh);
    connect(rec, &DiaryRecorder::marksChanged, this, &DiaryRecorderDialog::refreshMarks);
    connect(rec, &DiaryRecorder::pictureChanged, this, &DiaryRecorderDialog::refreshPicture);
    connect(ui.IDC_DIARY_PICKUP, &QPushButton::clicked, rec, &DiaryRecorder::pickup);
    connect(ui.IDC_DIARY_PAUSE, &QPushButton::clicked, rec, &DiaryRecorder::pause);
    connect(ui.IDC_DIARY_STOP, &QPushButton::clicked, rec, &DiaryRecorder::stop);
    connect(ui.IDC_MARK, &QPushButton::clicked, this, [this] {
        m_recorder.addMark(toAnsi(m_ui->IDC_INDEX_COMMENT->text()));
        m_ui->IDC_INDEX_COMMENT->clear();
    });
    connect(ui.IDC_INSERT_PICTURE, &QPushButton::clicked, this, &DiaryRecorderDialog::choosePicture);
    connect(ui.IDC_REMOVE_PICTURE, &QPushButton::clicked, rec, &DiaryRecorder::removePicture);
    connect(ui.IDC_REC_OK, &QPushButton::clicked, this, &DiaryRecorderDialog::onSave);
    connect(ui.IDC_REC_CANCEL, &QPushButton::clicked, this, &DiaryRecorderDialog::reject);
    connect(ui.IDC_REC_HELP, &QPushButton::clicked, this, [this] {
        if (m_openHelp)
            m_openHelp(kHelpPage);
    });
    connect(&m_timer, &QTimer::timeout, this, &DiaryRecorderDialog::followLevels);
    m_timer.start(kRefreshMs);

    const std::pair<QWidget*, const char*> tips[] = {
        {ui.IDC_DIARY_PICKUP, "Starts recording"},
        {ui.IDC_DIARY_STOP, "Stops playing or recording"},
        {ui.IDC_MARK, "Adds the Index comment to the current recording"},
        {ui.IDC_INSERT_PICTURE, "Click here to load a picture to save and email with the recording."},
        {ui.IDC_REMOVE_PICTURE, "Click here to remove the current picture from the recording."},
        {ui.IDC_REC_OK, "Save the new or edited recording"},
        {ui.IDC_REC_CANCEL, "Close the dialog without saving"},
    };
    for (const auto& [widget, text] : tips)
        widget->setToolTip(DictationRecorderDialog::tipText(text));
    assignControlNumbers(this);
}

void DiaryRecorderDialog::setTexts(const std::string& subject, const std::string& keywords,
                                 const std::string& comments)
{
    m_ui->IDC_DIARY_SUBJECT->setText(fromAnsi(subject));
    m_ui->IDC_KEYWORDS->setText(fromAnsi(keywords));
    m_ui->IDC_COMMENTS->setPlainText(fromAnsi(comments));
}

int DiaryRecorderDialog::openRecording()
{
    const int opened = m_recorder.openNew();
    refresh();
    refreshPicture();
    return opened;
}

DiaryEntry DiaryRecorderDialog::entry() const
{
    DiaryEntry e;
    const QDate date = m_ui->IDC_DIARY_DATE->selectedDate();
    const QTime time = m_ui->IDC_DIARY_TIME->time();
    e.day = date.day();
    e.month = date.month();
    e.year = date.year();
    e.hour = time.hour();
    e.minute = time.minute();
    e.reminder = DiaryEntry::reminderFor(m_ui->IDC_AUTO_REMINDER->isChecked(), m_ui->IDC_NAG_ME->isChecked());
    e.subject = toAnsi(m_ui->IDC_DIARY_SUBJECT->text());
    e.keywords = toAnsi(m_ui->IDC_KEYWORDS->text());
    e.comments = toAnsi(m_ui->IDC_COMMENTS->toPlainText());
    return e;
}

void DiaryRecorderDialog::refresh()
{
    enginerecorderview::showState(*m_ui, m_recorder);
}

void DiaryRecorderDialog::followLevels()
{
    if (m_recorder.state() == DiaryRecorder::State::Recording)
        m_ui->IDC_POSITION->setText(QString::fromStdString(m_recorder.lengthText()));
    m_bars->follow();
}

void DiaryRecorderDialog::refreshMarks()
{
    enginerecorderview::showMarks(*m_ui, m_recorder);
}

void DiaryRecorderDialog::refreshPicture()
{
    enginerecorderview::showPicture(*m_ui, m_recorder);
    refresh();
}

void DiaryRecorderDialog::choosePicture()
{
    if (const std::optional<std::string> path = DictationRecorderDialog::askForPicture())
        m_recorder.setPicture(*path);
}

void DiaryRecorderDialog::onSave()
{
    if (m_recorder.save(entry()) != DiaryRecorder::kKeptOpen)
        done(m_recorder.filed() ? QDialog::Accepted : QDialog::Rejected);
}

void DiaryRecorderDialog::reject()
{
    if (enginerecorderview::closeWantsSave(*this, m_recorder))
        onSave();
}

void DiaryRecorderDialog::closeEvent(QCloseEvent* event)
{
    m_recorder.stop();
    QDialog::closeEvent(event);
}

int runDiaryRecorder(AppData& app, QWidget* parent, DiaryRecorderDialog::HelpOpener openHelp)
{
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    DiaryRecorderDialog dialog(app, std::move(openHelp), parent);
    if (dialog.openRecording() != 0)
        return 0;
    dialog.exec();
    return dialog.recorder().filed() ? 1 : 0;
}
