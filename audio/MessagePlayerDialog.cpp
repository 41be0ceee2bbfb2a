#include "audio/MessagePlayerDialog.h"

#include <QCloseEvent>
#include <QSignalBlocker>
#include <QTreeWidgetItem>

#include "audio/RecordingControls.h"
#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "platform/CallbackWindow.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"
#include "res/resource.h"
#include "ui_MessagePlayerDialog.h"

namespace {

constexpr UINT kWmCommand = 0x0111;

// Tool tips of the effects panel by control.
struct Tip {
    const char* control;
    int string;
};
constexpr Tip kTips[] = {
    {"IDC_EFFECTS", 807},   {"IDC_ECHO", 808},        {"IDC_CHORUS", 809},      {"IDC_DISTORTION", 810},
    {"IDC_ECHO_ON", 811},   {"IDC_CHORUS_ON", 812},   {"IDC_DISTORTION_ON", 813}, {"IDC_FLANGER", 814},
    {"IDC_GARGLE", 815},    {"IDC_EQUALIZER", 816},   {"IDC_REVERB", 817},      {"IDC_GARGLE_ON", 818},
    {"IDC_EQUALIZER_ON", 819}, {"IDC_REVERB_ON", 820}, {"IDC_FLANGER_ON", 821}, {"IDC_REVERSE", 822},
};
constexpr int kSpeedTip = 823;

}  // namespace

MessagePlayerDialog::MessagePlayerDialog(AppData& app, std::vector<std::string> recIds, int index, QWidget* parent,
                                         HotKeyHooks hotKeys, std::unique_ptr<RecorderDevice> device,
                                         std::unique_ptr<EffectsEngine> effects)
    : QDialog(parent),
      m_player(app, std::move(recIds), index, std::move(device), std::move(effects)),
      m_hotKeys(std::move(hotKeys)),
      m_ui(std::make_unique<Ui::MessagePlayerDialog>())
{
    m_ui->setupUi(this);
    m_ui->IDC_PLAYER_INDEX_LIST->setColumnWidth(0, 220);
    m_ui->IDC_PLAYER_INDEX_LIST->setColumnWidth(1, 70);
    m_ui->effectsPanel->hide();
    m_miniPlayerMessage = RegisterWindowMessageA(kMiniPlayerMessage);
    addToolTips();
    wire();
    assignControlNumbers(this);
    m_timer.setInterval(kTimerMs);
    connect(&m_timer, &QTimer::timeout, &m_player, &MessagePlayer::tick);
}

MessagePlayerDialog::~MessagePlayerDialog()
{
    finish();
    // The player outlives the widgets it would refresh.
    m_player.disconnect(this);
}

HWND MessagePlayerDialog::handle()
{
    return handleOf(this);
}

bool MessagePlayerDialog::effectsShown() const
{
    return !m_ui->effectsPanel->isHidden();
}

int MessagePlayerDialog::openPlayer()
{
    const int opened = m_player.open();
    if (opened != 0)
        return opened;
    for (const std::string& name : recordingcontrols::names())
        m_ui->IDC_RECORD_CONTROL->addItem(fromAnsi(name));
    m_ui->IDC_RECORD_CONTROL->setPlaceholderText(QStringLiteral("(no control chosen)"));
    m_ui->IDC_RECORD_CONTROL->setCurrentIndex(-1);
    if (m_hotKeys.registerKeys) {
        const int refused = m_hotKeys.registerKeys(handle());
        m_keysRegistered = refused == 0;
        if (refused != 0) {
            const std::string action = m_hotKeys.actionOf ? m_hotKeys.actionOf(refused) : std::to_string(refused);
            AfxMessageBox("Navo could not take hot key " + std::to_string(refused) + " (\"" + action +
                              "\"): another program uses it. The player's hot keys are off until it opens again.",
                          MB_ICONINFORMATION);
        }
    }
    m_timer.start();
    refresh();
    refreshMarks();
    return 0;
}

void MessagePlayerDialog::wire()
{
    Ui::MessagePlayerDialog& ui = *m_ui;
    MessagePlayer* player = &m_player;
    connect(player, &MessagePlayer::displayChanged, this, &MessagePlayerDialog::refresh);
    connect(player, &MessagePlayer::recordChanged, this, &MessagePlayerDialog::refresh);
    connect(player, &MessagePlayer::marksChanged, this, &MessagePlayerDialog::refreshMarks);
    connect(ui.IDC_PLAYER_START, &QPushButton::clicked, player, &MessagePlayer::play);
    connect(ui.IDC_PLAYER_STOP, &QPushButton::clicked, player, &MessagePlayer::stop);
    // Pause keeps the position; Start goes on from it.
    connect(ui.IDC_PLAYER_PAUSE, &QPushButton::clicked, player, &MessagePlayer::stop);
    connect(ui.IDC_PLAYER_RWND, &QPushButton::clicked, player, &MessagePlayer::rewind);
    connect(ui.IDC_PLAYER_FFWD, &QPushButton::clicked, player, &MessagePlayer::forward);
    connect(ui.IDC_PLAYER_PREV, &QPushButton::clicked, player, &MessagePlayer::previous);
    connect(ui.IDC_PLAYER_NEXT, &QPushButton::clicked, player, &MessagePlayer::next);
    // Dragged or paged; the timer's own updates are not passed back.
    connect(ui.IDC_PLAYER_POSITION, &QSlider::valueChanged, this, [this](int ms) { m_player.moveTo(ms); });
    connect(ui.IDC_PLAYER_MARK, &QPushButton::clicked, this, [this] {
        const QString comment = m_ui->markComment->text();
        m_player.addMark(toAnsi(comment.isEmpty() ? QStringLiteral("Mark") : comment));
        m_ui->markComment->clear();
    });
    connect(ui.IDC_PLAYER_RECORD, &QPushButton::clicked, this, [this] {
        if (m_player.insertSpeech() != 0)
            ShowCodedMessage(MessagePlayer::kCannotPlay, MB_ICONINFORMATION);
    });
    connect(ui.IDC_PLAYER_NEW, &QPushButton::clicked, this, [this] { m_player.newRecordingWithEffects(); });
    connect(ui.IDC_EFFECTS, &QPushButton::clicked, this, &MessagePlayerDialog::toggleEffects);
    connect(ui.IDC_RECORD_CONTROL, qOverload<int>(&QComboBox::activated), this,
            [this](int control) { m_player.chooseRecordingControl(control); });
    connect(ui.IDC_PLAYER_OK, &QPushButton::clicked, this, &MessagePlayerDialog::onOk);
    connect(ui.IDC_PLAYER_CANCEL, &QPushButton::clicked, this, &MessagePlayerDialog::reject);

    QSlider* sliders[] = {nullptr, ui.IDC_ECHO, ui.IDC_CHORUS, ui.IDC_DISTORTION, ui.IDC_FLANGER,
                          ui.IDC_GARGLE, ui.IDC_EQUALIZER, ui.IDC_REVERB};
    QPushButton* buttons[] = {nullptr, ui.IDC_ECHO_ON, ui.IDC_CHORUS_ON, ui.IDC_DISTORTION_ON, ui.IDC_FLANGER_ON,
                              ui.IDC_GARGLE_ON, ui.IDC_EQUALIZER_ON, ui.IDC_REVERB_ON};
    for (int i = 1; i < playereffects::kLibraryPairs; ++i) {
        connect(sliders[i], &QSlider::valueChanged, this, [this, i](int value) {
            m_player.moveEffect(i, value);
            refreshEffects();
        });
        connect(buttons[i], &QPushButton::toggled, this, [this, i](bool on) {
            m_player.setEffectOn(i, on);
            refreshEffects();
        });
    }
    connect(ui.speedSlider, &QSlider::valueChanged, this, [this](int speed) {
        m_player.moveSpeed(speed);
        refreshEffects();
    });
    connect(ui.IDC_REVERSE, &QCheckBox::toggled, player, &MessagePlayer::setReverse);
}

void MessagePlayerDialog::addToolTips()
{
    for (const Tip& tip : kTips)
        if (auto* widget = findChild<QWidget*>(QLatin1String(tip.control)))
            widget->setToolTip(fromAnsi(LoadString(tip.string)));
    m_ui->speedSlider->setToolTip(fromAnsi(LoadString(kSpeedTip)));
}

void MessagePlayerDialog::refresh()
{
    Ui::MessagePlayerDialog& ui = *m_ui;
    const MessagePlayer::Display& d = m_player.display();
    const MessagePlayer::State state = m_player.state();
    ui.recIdText->setText(QString::fromStdString(d.recId));
    ui.subjectText->setText(fromAnsi(d.subject));
    ui.positionText->setText(QString::fromStdString(d.position));
    ui.lengthText->setText(QString::fromStdString(d.length));
    {
        const QSignalBlocker block(ui.IDC_PLAYER_POSITION);
        ui.IDC_PLAYER_POSITION->setRange(0, d.sliderMax);
        if (!ui.IDC_PLAYER_POSITION->isSliderDown())
            ui.IDC_PLAYER_POSITION->setValue(d.slider);
    }
    ui.IDC_PLAYER_PROGRESS->setRange(0, std::max(1, d.sliderMax));
    ui.IDC_PLAYER_PROGRESS->setValue(d.slider);
    const bool open = state != MessagePlayer::State::Closed;
    const bool recording = state == MessagePlayer::State::Recording;
    ui.IDC_PLAYER_START->setEnabled(state == MessagePlayer::State::Stopped);
    ui.IDC_PLAYER_PAUSE->setEnabled(state == MessagePlayer::State::Playing);
    ui.IDC_PLAYER_STOP->setEnabled(state == MessagePlayer::State::Playing || recording);
    ui.IDC_PLAYER_RWND->setEnabled(open && !recording);
    ui.IDC_PLAYER_FFWD->setEnabled(open && !recording);
    ui.IDC_PLAYER_PREV->setEnabled(open && !recording && m_player.index() > 0);
    ui.IDC_PLAYER_NEXT->setEnabled(open && !recording && m_player.index() + 1 < m_player.count());
    ui.IDC_PLAYER_RECORD->setEnabled(state == MessagePlayer::State::Stopped && !m_player.effectsActive());
    ui.IDC_PLAYER_NEW->setEnabled(m_player.effectsActive() && !recording);
    ui.IDC_EFFECTS->setEnabled(open && !recording);
    ui.IDC_PLAYER_OK->setEnabled(!recording);
    ui.IDC_PLAYER_CANCEL->setEnabled(!recording);
    refreshEffects();
}

void MessagePlayerDialog::refreshEffects()
{
    Ui::MessagePlayerDialog& ui = *m_ui;
    const playereffects::Table& table = m_player.effects();
    QSlider* sliders[] = {nullptr, ui.IDC_ECHO, ui.IDC_CHORUS, ui.IDC_DISTORTION, ui.IDC_FLANGER,
                          ui.IDC_GARGLE, ui.IDC_EQUALIZER, ui.IDC_REVERB};
    QPushButton* buttons[] = {nullptr, ui.IDC_ECHO_ON, ui.IDC_CHORUS_ON, ui.IDC_DISTORTION_ON, ui.IDC_FLANGER_ON,
                              ui.IDC_GARGLE_ON, ui.IDC_EQUALIZER_ON, ui.IDC_REVERB_ON};
    QProgressBar* gauges[] = {ui.IDC_SPEED_LEVEL, ui.IDC_ECHO_LEVEL, ui.IDC_CHORUS_LEVEL, ui.IDC_DISTORTION_LEVEL,
                              ui.IDC_FLANGER_LEVEL, ui.IDC_GARGLE_LEVEL, ui.IDC_EQUALIZER_LEVEL, ui.IDC_REVERB_LEVEL};
    for (int i = 1; i < playereffects::kLibraryPairs; ++i) {
        const QSignalBlocker blockSlider(sliders[i]);
        const QSignalBlocker blockButton(buttons[i]);
        sliders[i]->setValue(m_player.sliderValue(i));
        buttons[i]->setChecked(table[static_cast<std::size_t>(i)][0] != 0);
        gauges[i]->setValue(table[static_cast<std::size_t>(i)][0] != 0 ? table[static_cast<std::size_t>(i)][1] : 0);
    }
    const MessagePlayer::Display& d = m_player.display();
    const QSignalBlocker blockSpeed(ui.speedSlider);
    ui.speedSlider->setRange(d.speedLowest, std::max(d.speedLowest, d.speedHighest));
    ui.speedSlider->setValue(table[playereffects::kSpeed][1]);
    ui.IDC_SPEED_LEVEL->setRange(0, 100);
    ui.IDC_SPEED_LEVEL->setValue(d.speedPosition);
}

void MessagePlayerDialog::refreshMarks()
{
    QTreeWidget* list = m_ui->IDC_PLAYER_INDEX_LIST;
    list->clear();
    for (const IndexMark& mark : m_player.marks())
        list->addTopLevelItem(new QTreeWidgetItem(
            {fromAnsi(mark.comment), QString::fromStdString(mark.time), QString::fromStdString(mark.flag)}));
}

void MessagePlayerDialog::toggleEffects()
{
    if (m_player.effectsActive()) {
        m_player.switchEffectsOff();
        showEffectsPanel(false);
    } else {
        // The panel is shown while the engine opens, as the dialog widens
        // before it does; a failure shrinks it again.
        showEffectsPanel(true);
        if (m_player.switchEffectsOn() != MessagePlayer::EffectsResult::On)
            showEffectsPanel(false);
    }
    refresh();
}

void MessagePlayerDialog::showEffectsPanel(bool shown)
{
    const int panelWidth = m_ui->effectsPanel->sizeHint().width();
    if (shown == effectsShown())
        return;
    m_ui->effectsPanel->setVisible(shown);
    if (shown)
        resize(width() + panelWidth, height());
    else
        resize(std::max(m_ui->mainPanel->minimumWidth(), width() / 2 + kShrinkExtra), height());
    adjustSize();
}

bool MessagePlayerDialog::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QDialog::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    if (message->message() == WM_HOTKEY)
        m_player.command(static_cast<int>(message->wParam()));
    else if (message->message() == m_miniPlayerMessage)
        m_player.miniPlayer(static_cast<unsigned long>(message->wParam()));
    else if (message->message() == kWmCommand)
        m_player.command(static_cast<int>(message->wParam() & 0xFFFF));
    return true;
}

void MessagePlayerDialog::onOk()
{
    // What could not be saved stays here, with the message shown.
    if (m_player.save() != 0)
        return;
    finish();
    done(QDialog::Accepted);
}

void MessagePlayerDialog::reject()
{
    if (m_player.state() == MessagePlayer::State::Recording)
        return;
    finish();
    done(QDialog::Rejected);
}

void MessagePlayerDialog::closeEvent(QCloseEvent* event)
{
    finish();
    QDialog::closeEvent(event);
}

void MessagePlayerDialog::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    m_timer.stop();
    m_player.stop();
    if (m_hotKeys.unregisterKeys)
        m_hotKeys.unregisterKeys(handle());
    m_keysRegistered = false;
}
