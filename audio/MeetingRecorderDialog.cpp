#include "audio/MeetingRecorderDialog.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeWidgetItem>

#include "audio/DictationRecorderDialog.h"
#include "audio/EngineRecorderView.h"
#include "audio/RecordingFlags.h"
#include "audio/VXWave.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/ShowCodedMessage.h"
#include "platform/CallbackWindow.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "res/ResourceIds.h"
#include "store/MeetingAgendas.h"
#include "ui_MeetingRecorderDialog.h"
#include "ui_OfflineMeetingDialog.h"

namespace {

constexpr int kTickMs = 200;

}  // namespace

void showMeetingCost(QLabel* time, QLabel* cost, const MeetingCost& timer, long long elapsedMs)
{
    time->setText(QString::fromStdString(MeetingCost::elapsedText(elapsedMs)));
    cost->setText(fromAnsi(timer.costText(elapsedMs)));
    const QString look = timer.highlighted()
        ? QStringLiteral("QLabel { background: rgb(255, 255, 160); color: rgb(200, 0, 0); font-weight: bold; }")
        : QString();
    time->setStyleSheet(look);
    cost->setStyleSheet(look);
    time->setProperty("highlighted", timer.highlighted());
    cost->setProperty("highlighted", timer.highlighted());
}

// ---------------------------------------------------------------------------
// The Meeting Recorder

MeetingRecorderDialog::MeetingRecorderDialog(AppData& app, bool prime, HelpOpener openHelp, QWidget* parent)
    : MeetingRecorderDialog(app, theWaveEngine(), theRecordingFlags(), prime, std::move(openHelp), parent)
{
}

MeetingRecorderDialog::MeetingRecorderDialog(AppData& app, VXWave& wave, RecordingFlags& flags, bool prime,
                                             HelpOpener openHelp, QWidget* parent)
    : QDialog(parent),
      m_recorder(app, wave, flags),
      m_flags(flags),
      m_openHelp(std::move(openHelp)),
      m_cost(MeetingCost::fromProfile(ProfileValues(app))),
      m_ui(std::make_unique<Ui::MeetingRecorderDialog>())
{
    build(app, prime);
}

MeetingRecorderDialog::~MeetingRecorderDialog() = default;

void MeetingRecorderDialog::build(AppData& app, bool prime)
{
    Ui::MeetingRecorderDialog& ui = *m_ui;
    ui.setupUi(this);
    m_bars = std::make_unique<LevelBars>(ui.levelBars, m_flags);
    ui.IDC_INDEX_LIST->setColumnWidth(0, 200);
    ui.IDC_INDEX_LIST->setColumnWidth(1, 70);
    if (prime) {
        const MeetingEntry previous = MeetingRecorder::previous(app);
        ui.IDC_DIARY_SUBJECT->setText(fromAnsi(previous.subject));
        ui.attendees->setText(fromAnsi(previous.attendees));
    }
    MeetingRecorder* rec = &m_recorder;
    connect(rec, &MeetingRecorder::stateChanged, this, &MeetingRecorderDialog::refresh);
    connect(rec, &MeetingRecorder::marksChanged, this, &MeetingRecorderDialog::refreshMarks);
    connect(rec, &MeetingRecorder::pictureChanged, this, &MeetingRecorderDialog::refresh);
    connect(ui.IDC_DIARY_PICKUP, &QPushButton::clicked, this, &MeetingRecorderDialog::onPickup);
    connect(ui.IDC_DIARY_PAUSE, &QPushButton::clicked, rec, &MeetingRecorder::pause);
    connect(ui.IDC_DIARY_STOP, &QPushButton::clicked, rec, &MeetingRecorder::stop);
    connect(ui.IDC_MARK, &QPushButton::clicked, this, [this] {
        m_recorder.addMark(toAnsi(m_ui->IDC_INDEX_COMMENT->text()));
        m_ui->IDC_INDEX_COMMENT->clear();
    });
    // The store's agendas; choosing one starts it from its first item.
    ui.agenda->addItem(QStringLiteral("(none)"));
    for (const MeetingAgenda& agenda : meetingagendas::load(app)) {
        QStringList items;
        for (const std::string& item : agenda.items)
            items << fromAnsi(item);
        ui.agenda->addItem(fromAnsi(agenda.name), items);
    }
    connect(ui.agenda, &QComboBox::currentIndexChanged, this, [this] {
        std::vector<std::string> items;
        for (const QString& item : m_ui->agenda->currentData().toStringList())
            items.push_back(toAnsi(item));
        m_recorder.setAgenda(items);
        refreshAgenda();
    });
    connect(ui.nextItemButton, &QPushButton::clicked, this, [this] {
        m_recorder.nextAgendaItem();
        refreshAgenda();
    });
    connect(ui.IDC_INSERT_PICTURE, &QPushButton::clicked, this, [this] {
        if (const std::optional<std::string> path = DictationRecorderDialog::askForPicture())
            m_recorder.setPicture(*path);
    });
    connect(ui.IDC_REMOVE_PICTURE, &QPushButton::clicked, rec, &MeetingRecorder::removePicture);
    connect(ui.IDC_REC_OK, &QPushButton::clicked, this, &MeetingRecorderDialog::onSave);
    connect(ui.IDC_REC_CANCEL, &QPushButton::clicked, this, &MeetingRecorderDialog::reject);
    connect(ui.IDC_REC_HELP, &QPushButton::clicked, this, [this] {
        if (m_openHelp)
            m_openHelp(kHelpPage);
    });
    connect(&m_timer, &QTimer::timeout, this, &MeetingRecorderDialog::tick);
    m_timer.start(kTickMs);
    showElapsed(0);
    refreshAgenda();
    assignControlNumbers(this);
}

void MeetingRecorderDialog::setTexts(const std::string& subject, const std::string& keywords,
                                 const std::string& comments)
{
    m_ui->IDC_DIARY_SUBJECT->setText(fromAnsi(subject));
    m_ui->IDC_KEYWORDS->setText(fromAnsi(keywords));
    m_ui->IDC_COMMENTS->setPlainText(fromAnsi(comments));
}

int MeetingRecorderDialog::openRecording()
{
    const int opened = m_recorder.openNew();
    refresh();
    return opened;
}

MeetingEntry MeetingRecorderDialog::entry() const
{
    MeetingEntry e;
    e.subject = toAnsi(m_ui->IDC_DIARY_SUBJECT->text());
    e.attendees = toAnsi(m_ui->attendees->text());
    e.keywords = toAnsi(m_ui->IDC_KEYWORDS->text());
    e.comments = toAnsi(m_ui->IDC_COMMENTS->toPlainText());
    e.cost = m_cost.costText(m_elapsedMs);
    return e;
}

void MeetingRecorderDialog::showElapsed(long long elapsedMs)
{
    m_elapsedMs = elapsedMs;
    showMeetingCost(m_ui->meetingTime, m_ui->meetingCost, m_cost, elapsedMs);
}

void MeetingRecorderDialog::tick()
{
    m_bars->follow();
    if (m_recorder.state() == MeetingRecorder::State::Recording)
        m_ui->IDC_POSITION->setText(QString::fromStdString(m_recorder.lengthText()));
    if (m_meetingClock.isValid())
        showElapsed(m_meetingClock.elapsed());
}

void MeetingRecorderDialog::onPickup()
{
    if (m_recorder.pickup() == 1 && !m_meetingClock.isValid())
        m_meetingClock.start();
}

void MeetingRecorderDialog::refresh()
{
    enginerecorderview::showState(*m_ui, m_recorder);
    enginerecorderview::showPicture(*m_ui, m_recorder);
    refreshAgenda();
}

bool MeetingRecorderDialog::chooseAgenda(const QString& name)
{
    const int found = m_ui->agenda->findText(name);
    if (found > 0)
        m_ui->agenda->setCurrentIndex(found);
    return found > 0;
}

void MeetingRecorderDialog::refreshAgenda()
{
    const std::string next = m_recorder.upcomingItem();
    m_ui->nextItem->setText(fromAnsi(next));
    m_ui->nextItemButton->setEnabled(!next.empty() && m_recorder.state() != MeetingRecorder::State::Closed);
}

void MeetingRecorderDialog::refreshMarks()
{
    enginerecorderview::showMarks(*m_ui, m_recorder);
}

void MeetingRecorderDialog::onSave()
{
    if (m_recorder.save(entry()) != MeetingRecorder::kKeptOpen)
        done(m_recorder.filed() ? QDialog::Accepted : QDialog::Rejected);
}

void MeetingRecorderDialog::reject()
{
    if (enginerecorderview::closeWantsSave(*this, m_recorder))
        onSave();
}

void MeetingRecorderDialog::closeEvent(QCloseEvent* event)
{
    m_recorder.stop();
    QDialog::closeEvent(event);
}

int runMeetingRecorder(AppData& app, QWidget* parent, bool prime, MeetingRecorderDialog::HelpOpener openHelp)
{
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    MeetingRecorderDialog dialog(app, prime, std::move(openHelp), parent);
    if (dialog.openRecording() != 0)
        return 0;
    dialog.exec();
    return dialog.recorder().filed() ? 1 : 0;
}

// ---------------------------------------------------------------------------
// Offline Meeting

OfflineMeetingDialog::OfflineMeetingDialog(const MeetingCost& cost, QWidget* parent)
    : QDialog(parent), m_cost(cost), m_ui(std::make_unique<Ui::OfflineMeetingDialog>())
{
    m_ui->setupUi(this);
    connect(m_ui->start, &QPushButton::clicked, this, [this] {
        if (!m_clock.isValid())
            m_clock.start();
    });
    connect(m_ui->stop, &QPushButton::clicked, this, [this] {
        if (m_clock.isValid()) {
            m_before += m_clock.elapsed();
            m_clock.invalidate();
        }
        showElapsed(m_before);
    });
    connect(m_ui->reset, &QPushButton::clicked, this, [this] {
        m_before = 0;
        if (m_clock.isValid())
            m_clock.restart();
        showElapsed(0);
    });
    connect(m_ui->closeButton, &QPushButton::clicked, this, &QDialog::accept);
    connect(&m_timer, &QTimer::timeout, this, &OfflineMeetingDialog::tick);
    m_timer.start(kTickMs);
    showElapsed(0);
}

OfflineMeetingDialog::~OfflineMeetingDialog() = default;

void OfflineMeetingDialog::showElapsed(long long elapsedMs)
{
    showMeetingCost(m_ui->meetingTime, m_ui->meetingCost, m_cost, elapsedMs);
}

void OfflineMeetingDialog::tick()
{
    if (m_clock.isValid())
        showElapsed(m_before + m_clock.elapsed());
}
