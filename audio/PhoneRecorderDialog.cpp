#include "audio/PhoneRecorderDialog.h"

#include <QCloseEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include "audio/EngineRecorderView.h"
#include "audio/MeetingRecorderDialog.h"
#include "audio/RecordingFlags.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "core/StartupServices.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/Codepage.h"
#include "platform/FileOps.h"
#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "store/ComponentFiles.h"
#include "ui_PhoneRecorderDialog.h"

namespace {

constexpr int kTickMs = 200;

}  // namespace

PhoneRecorderDialog::PhoneRecorderDialog(AppData& app, VXWave& wave, RecordingFlags& flags,
                                         PhoneRecorder::FailureReport report, HelpOpener openHelp, QWidget* parent)
    : QDialog(parent),
      m_app(app),
      m_recorder(app, wave, flags, std::move(report)),
      m_flags(flags),
      m_openHelp(std::move(openHelp)),
      m_cost(MeetingCost::phoneCallFromProfile(ProfileValues(app))),
      m_ui(std::make_unique<Ui::PhoneRecorderDialog>())
{
    Ui::PhoneRecorderDialog& ui = *m_ui;
    ui.setupUi(this);
    m_bars = std::make_unique<LevelBars>(ui.levelBars, m_flags);
    ui.IDC_INDEX_LIST->setColumnWidth(0, 200);
    ui.IDC_INDEX_LIST->setColumnWidth(1, 70);
    PhoneRecorder* rec = &m_recorder;
    connect(rec, &PhoneRecorder::stateChanged, this, &PhoneRecorderDialog::refresh);
    connect(rec, &PhoneRecorder::marksChanged, this, [this] { enginerecorderview::showMarks(*m_ui, m_recorder); });
    connect(rec, &PhoneRecorder::pictureChanged, this, &PhoneRecorderDialog::refresh);
    connect(ui.IDC_DIARY_PICKUP, &QPushButton::clicked, this, [this] { m_recorder.pickup(); });
    connect(ui.IDC_DIARY_PAUSE, &QPushButton::clicked, this, [this] { m_recorder.pause(); });
    connect(ui.IDC_DIARY_STOP, &QPushButton::clicked, this, [this] { m_recorder.stop(); });
    connect(ui.IDC_MARK, &QPushButton::clicked, this, [this] {
        m_recorder.addMark(toAnsi(m_ui->IDC_INDEX_COMMENT->text()));
        m_ui->IDC_INDEX_COMMENT->clear();
    });
    connect(ui.IDC_INSERT_PICTURE, &QPushButton::clicked, this, [this] {
        if (const std::optional<std::string> path = DictationRecorderDialog::askForPicture())
            m_recorder.setPicture(*path);
    });
    connect(ui.IDC_REMOVE_PICTURE, &QPushButton::clicked, rec, &PhoneRecorder::removePicture);
    connect(ui.IDC_REC_OK, &QPushButton::clicked, this, &PhoneRecorderDialog::onSave);
    connect(ui.IDC_REC_CANCEL, &QPushButton::clicked, this, &PhoneRecorderDialog::reject);
    connect(ui.IDC_REC_HELP, &QPushButton::clicked, this, [this] {
        if (m_openHelp)
            m_openHelp(kHelpPage);
    });
    connect(&m_timer, &QTimer::timeout, this, &PhoneRecorderDialog::tick);
    m_timer.start(kTickMs);
    showElapsed(0);
    assignControlNumbers(this);
}

PhoneRecorderDialog::~PhoneRecorderDialog() = default;

int PhoneRecorderDialog::openRecording()
{
    const int opened = m_recorder.openNew();
    refresh();
    const LineState* line = m_app.lineState;
    // Opened for a call that is up already: it is recorded from now on.
    if (opened == 0 && line != nullptr && line->Connected != 0 && line->CallHandle != 0) {
        m_lineInUse = true;
        stateChange(PhoneRecorderService::kConnected);
    }
    return opened;
}

void PhoneRecorderDialog::setCaller(const std::string& name, const std::string& number)
{
    m_ui->IDC_PHONE_CALLER_NAME->setText(fromAnsi(name));
    m_ui->IDC_PHONE_CALLER_NUMBER->setText(fromAnsi(number));
}

PhoneCallEntry PhoneRecorderDialog::entry() const
{
    PhoneCallEntry e;
    e.name = toAnsi(m_ui->IDC_PHONE_CALLER_NAME->text());
    e.number = toAnsi(m_ui->IDC_PHONE_CALLER_NUMBER->text());
    e.keywords = toAnsi(m_ui->IDC_KEYWORDS->text());
    e.comments = toAnsi(m_ui->IDC_COMMENTS->toPlainText());
    e.cost = m_cost.costText(m_elapsedMs);
    return e;
}

void PhoneRecorderDialog::showElapsed(long long elapsedMs)
{
    m_elapsedMs = elapsedMs;
    showMeetingCost(m_ui->callTime, m_ui->callCost, m_cost, elapsedMs);
}

void PhoneRecorderDialog::showCallState(const QString& text)
{
    m_ui->callState->setText(text);
}

void PhoneRecorderDialog::tick()
{
    m_bars->follow();
    if (m_recorder.state() == PhoneRecorder::State::Recording)
        m_ui->IDC_POSITION->setText(QString::fromStdString(m_recorder.lengthText()));
    if (m_callClock.isValid())
        showElapsed(m_callClock.elapsed());
}

void PhoneRecorderDialog::refresh()
{
    enginerecorderview::showState(*m_ui, m_recorder);
    enginerecorderview::showPicture(*m_ui, m_recorder);
}

bool PhoneRecorderDialog::event(QEvent* event)
{
    if (event->type() == WindowMessageEvent::eventType()) {
        const UINT message = static_cast<WindowMessageEvent*>(event)->message();
        if (message == PhoneRecorderService::kRecordIncoming)
            answerIncoming();
        else if (message == PhoneRecorderService::kCallEnded)
            callEnded();
        return true;
    }
    return QDialog::event(event);
}

void PhoneRecorderDialog::takeCallerIdentity()
{
    // The caller's identity can come after the pick-up; boxes the user has
    // typed in are left alone.
    const LineState* line = m_app.lineState;
    if (line == nullptr || line->CallState != 1 || line->CallerIdValid != 1)
        return;
    if (m_ui->IDC_PHONE_CALLER_NAME->text().isEmpty())
        m_ui->IDC_PHONE_CALLER_NAME->setText(fromAnsi(line->CallerName));
    if (m_ui->IDC_PHONE_CALLER_NUMBER->text().isEmpty())
        m_ui->IDC_PHONE_CALLER_NUMBER->setText(fromAnsi(line->CallerNumber));
}

void PhoneRecorderDialog::answerIncoming()
{
    takeCallerIdentity();
    const LineState* line = m_app.lineState;
    if (line == nullptr || line->CallState != 1 || line->CallHandle == 0) {
        showCallState(tr("The caller has gone"));
        return;
    }
    m_lineInUse = true;
    if (line->Connected != 0) {
        stateChange(PhoneRecorderService::kConnected);
        return;
    }
    showCallState(tr("Answering..."));
    // The caller must hear the user: the line sends the input Navo records.
    Ek7TapiUseMicrophone(AudioBackendRegistry::instance().serverInputName().c_str());
    m_app.lineState = Ek7TapiAnswer();
    if (m_app.lineState->ErrorCode >= 1)
        showCallState(tr("The call could not be answered (reason %1)").arg(m_app.lineState->ErrorCode));
}

void PhoneRecorderDialog::stateChange(int code)
{
    if (code != PhoneRecorderService::kConnected)
        return;
    m_lineInUse = true;
    takeCallerIdentity();
    showCallState(tr("Connected: recording both sides"));
    if (!m_callClock.isValid())
        m_callClock.start();
    // A run begun before the call connected holds the microphone alone: it
    // ends there and the call's own run begins.
    if (m_recorder.state() != PhoneRecorder::State::Idle && !m_recorder.recordingLine())
        m_recorder.stop();
    if (m_recorder.state() == PhoneRecorder::State::Idle && m_recorder.pickup() == 1)
        warnTheOtherParty();
}

void PhoneRecorderDialog::warnTheOtherParty()
{
    // "PhWarn": the other party hears the store's recording warning once a
    // call, recorded with the rest.
    if (m_warned || !ProfileValues(m_app).yesNo(settings::kPhWarn))
        return;
    m_warned = true;
    const std::string warning = components::workspacePath(m_app.TempDir, components::kWarning);
    if (!fileops::fileExists(warning))
        return;
    m_app.lineState = Ek7TapiPlayFile(warning.c_str());
    if (m_app.lineState->ErrorCode >= 1)
        OutputDebugString("The recording warning could not be played into the call\n");
}

void PhoneRecorderDialog::callEnded()
{
    takeCallerIdentity();
    m_lineInUse = false;
    if (m_callClock.isValid()) {
        showElapsed(m_callClock.elapsed());
        m_callClock.invalidate();
    }
    showCallState(tr("Call ended"));
    m_recorder.stop();
    if (m_recorder.state() == PhoneRecorder::State::Idle && m_recorder.recordedSomething()) {
        OutputDebugString("Call ended: filing the recorded call\n");
        onSave();
    } else if (m_recorder.state() == PhoneRecorder::State::Idle) {
        done(QDialog::Rejected);
    }
}

void PhoneRecorderDialog::onSave()
{
    if (m_recorder.save(entry()) == PhoneRecorder::kKeptOpen)
        return;
    if (m_recorder.filed())
        emit filed();
    done(m_recorder.filed() ? QDialog::Accepted : QDialog::Rejected);
}

void PhoneRecorderDialog::reject()
{
    if (enginerecorderview::closeWantsSave(*this, m_recorder))
        onSave();
}

void PhoneRecorderDialog::closeEvent(QCloseEvent* event)
{
    m_recorder.stop();
    QDialog::closeEvent(event);
}
