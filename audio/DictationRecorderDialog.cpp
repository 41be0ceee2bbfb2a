#include "audio/DictationRecorderDialog.h"

#include <QCloseEvent>
#include <QFile>
#include <QMenu>
#include <QPainter>
#include <QPolygon>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStringList>
#include <QTreeWidgetItem>

#include "core/AppData.h"
#include "platform/CallbackWindow.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "res/ResourceIds.h"
#include "res/resource.h"
#include "ui_DictationRecorderDialog.h"

namespace {

// The recording icons are red, the playing ones green; each pair alternates
// bright and dim while a run lasts.
QPixmap stateIcon(bool recording, bool bright)
{
    QPixmap pixmap(20, 20);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (recording) {
        painter.setBrush(bright ? QColor(230, 0, 0) : QColor(120, 0, 0));
        painter.drawEllipse(QRect(3, 3, 14, 14));
    } else {
        painter.setBrush(bright ? QColor(0, 190, 0) : QColor(0, 100, 0));
        painter.drawPolygon(QPolygon({QPoint(4, 3), QPoint(17, 10), QPoint(4, 17)}));
    }
    return pixmap;
}

}  // namespace

DictationRecorderDialog::DictationRecorderDialog(AppData& app, const std::string& recIdText, HelpOpener openHelp,
                                                 QWidget* parent, std::unique_ptr<RecorderDevice> device)
    : QDialog(parent),
      m_recorder(app, std::move(device)),
      m_openHelp(std::move(openHelp)),
      m_recIdText(recIdText),
      m_ui(std::make_unique<Ui::DictationRecorderDialog>())
{
    m_ui->setupUi(this);
    m_icons[0] = stateIcon(true, true);
    m_icons[1] = stateIcon(true, false);
    m_icons[2] = stateIcon(false, true);
    m_icons[3] = stateIcon(false, false);
    m_ui->IDC_INDEX_LIST->setColumnWidth(0, 220);
    m_ui->IDC_INDEX_LIST->setColumnWidth(1, 70);
    wire();
    assignControlNumbers(this);
    addToolTips();
}

int DictationRecorderDialog::openRecording()
{
    // Not in the constructor: opening can say why it failed, and a message
    // box must not come up before the window it belongs to exists.
    m_openResult = m_recIdText.empty() ? m_recorder.openNewFrom(m_startingWave) : m_recorder.openExisting(m_recIdText);
    const DictationRecorder::Texts& opened = m_recorder.openedTexts();
    m_ui->IDC_SUBJECT->setText(fromAnsi(opened.subject));
    m_ui->IDC_KEYWORDS->setText(fromAnsi(opened.keywords));
    m_ui->IDC_COMMENTS->setPlainText(fromAnsi(opened.comments));
    refresh();
    refreshMarks();
    refreshPicture();
    return m_openResult;
}

DictationRecorderDialog::~DictationRecorderDialog() = default;

void DictationRecorderDialog::wire()
{
    Ui::DictationRecorderDialog& ui = *m_ui;
    DictationRecorder* rec = &m_recorder;
    connect(rec, &DictationRecorder::displayChanged, this, &DictationRecorderDialog::refresh);
    connect(rec, &DictationRecorder::marksChanged, this, &DictationRecorderDialog::refreshMarks);
    connect(rec, &DictationRecorder::pictureChanged, this, &DictationRecorderDialog::refreshPicture);

    connect(ui.IDC_REC_RECORD, &QPushButton::clicked, this, &DictationRecorderDialog::onRecord);
    connect(ui.IDC_REC_PLAY, &QPushButton::clicked, rec, &DictationRecorder::play);
    connect(ui.IDC_REC_STOP, &QPushButton::clicked, rec, &DictationRecorder::stop);
    connect(ui.IDC_REC_RWND, &QPushButton::clicked, rec, &DictationRecorder::rewind);
    connect(ui.IDC_REC_FFWD, &QPushButton::clicked, rec, &DictationRecorder::forward);
    connect(ui.IDC_CUT, &QPushButton::clicked, rec, &DictationRecorder::cut);
    connect(ui.IDC_RESET, &QPushButton::clicked, rec, &DictationRecorder::reset);
    connect(ui.IDC_START_SLIDER, &QSlider::valueChanged, rec, &DictationRecorder::moveStartSlider);
    connect(ui.IDC_END_SLIDER, &QSlider::valueChanged, rec, &DictationRecorder::moveEndSlider);
    connect(ui.IDC_CUT_FROM_SPIN, qOverload<int>(&QSpinBox::valueChanged), rec, &DictationRecorder::spinCutFrom);
    connect(ui.IDC_CUT_TO_SPIN, qOverload<int>(&QSpinBox::valueChanged), rec, &DictationRecorder::spinCutTo);
    connect(ui.IDC_MARK, &QPushButton::clicked, this, [this] {
        m_recorder.addMark(toAnsi(m_ui->IDC_INDEX_COMMENT->text()));
        m_ui->IDC_INDEX_COMMENT->clear();
    });
    connect(ui.IDC_INSERT_PICTURE, &QPushButton::clicked, this, &DictationRecorderDialog::choosePicture);
    connect(ui.IDC_REMOVE_PICTURE, &QPushButton::clicked, rec, &DictationRecorder::removePicture);
    connect(ui.IDC_PICTURE, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        pictureMenu()->exec(m_ui->IDC_PICTURE->mapToGlobal(at));
    });
    connect(ui.IDC_REC_OK, &QPushButton::clicked, this, &DictationRecorderDialog::onSave);
    connect(ui.IDC_REC_CANCEL, &QPushButton::clicked, this, &DictationRecorderDialog::reject);
    connect(ui.IDC_REC_HELP, &QPushButton::clicked, this, [this] {
        if (m_openHelp)
            m_openHelp(kHelpPage);
    });
}

QString DictationRecorderDialog::tipText(const char* text)
{
    const QStringList words = QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QString tip;
    int lineLength = 0;
    for (const QString& word : words) {
        if (lineLength > 0 && lineLength + 1 + word.size() > kTipWidth) {
            tip += QLatin1Char('\n');
            lineLength = 0;
        } else if (lineLength > 0) {
            tip += QLatin1Char(' ');
            ++lineLength;
        }
        tip += word;
        lineLength += static_cast<int>(word.size());
    }
    return tip;
}

// Only the controls that have a text get a tip.
void DictationRecorderDialog::addToolTips()
{
    const std::pair<QWidget*, const char*> tips[] = {
        {m_ui->IDC_REC_RECORD, "Starts recording"},
        {m_ui->IDC_REC_PLAY, "Plays the current recording"},
        {m_ui->IDC_REC_STOP, "Stops playing or recording"},
        {m_ui->IDC_REC_RWND, "Rewinds the current recording to the beginning"},
        {m_ui->IDC_REC_FFWD, "Forward the current recording to the end"},
        {m_ui->IDC_MARK, "Adds the Index comment to the current recording"},
        {m_ui->IDC_CUT, "Cut the current recording to the specified times"},
        {m_ui->IDC_RESET, "Reset the cut from and cut to times"},
        {m_ui->IDC_INSERT_PICTURE, "Click here to load a picture to save and email with the recording."},
        {m_ui->IDC_REMOVE_PICTURE, "Click here to remove the current picture from the recording."},
        {m_ui->IDC_REC_OK, "Save the new or edited recording"},
        {m_ui->IDC_REC_CANCEL, "Close the dialog without saving"},
    };
    for (const auto& [widget, text] : tips)
        widget->setToolTip(tipText(text));
}

void DictationRecorderDialog::refresh()
{
    Ui::DictationRecorderDialog& ui = *m_ui;
    const DictationRecorder::Display& d = m_recorder.display();
    const DictationRecorder::Enabled e = m_recorder.enabled();
    ui.IDC_RECID->setText(QString::fromStdString(d.recId));
    ui.IDC_POSITION->setText(QString::fromStdString(d.position));
    ui.IDC_LENGTH->setText(QString::fromStdString(d.length));
    ui.IDC_START_TIME->setText(fromAnsi(d.startTime));
    ui.IDC_END_TIME->setText(fromAnsi(d.endTime));
    ui.IDC_POSITION_PROGRESS->setRange(0, d.rangeMax);
    ui.IDC_POSITION_PROGRESS->setValue(d.progress);
    ui.IDC_POSITION_PROGRESS->setFormat(QStringLiteral("%1 ms").arg(d.positionMs));
    {
        // Showing the state is not the user moving a control.
        const QSignalBlocker b1(ui.IDC_START_SLIDER);
        const QSignalBlocker b2(ui.IDC_END_SLIDER);
        const QSignalBlocker b3(ui.IDC_CUT_FROM_SPIN);
        const QSignalBlocker b4(ui.IDC_CUT_TO_SPIN);
        ui.IDC_START_SLIDER->setRange(0, d.rangeMax);
        ui.IDC_END_SLIDER->setRange(0, d.rangeMax);
        ui.IDC_START_SLIDER->setValue(d.startSlider);
        ui.IDC_END_SLIDER->setValue(d.endSlider);
        ui.IDC_CUT_FROM_SPIN->setRange(d.spinMin, d.spinMax);
        ui.IDC_CUT_TO_SPIN->setRange(d.spinMin, d.spinMax);
        ui.IDC_CUT_FROM_SPIN->setValue(d.startSlider);
        ui.IDC_CUT_TO_SPIN->setValue(d.endSlider);
    }
    ui.IDC_CUT_FROM_MSEC->setText(QString::fromStdString(d.cutFromMs));
    ui.IDC_CUT_TO_MSEC->setText(QString::fromStdString(d.cutToMs));
    ui.IDC_CUT_FROM_TIME->setText(QString::fromStdString(d.cutFromTime));
    ui.IDC_CUT_TO_TIME->setText(QString::fromStdString(d.cutToTime));
    switch (d.icon) {
    case DictationRecorder::Icon::Recording1: ui.stateIcon->setPixmap(m_icons[0]); break;
    case DictationRecorder::Icon::Recording2: ui.stateIcon->setPixmap(m_icons[1]); break;
    case DictationRecorder::Icon::Playing1: ui.stateIcon->setPixmap(m_icons[2]); break;
    case DictationRecorder::Icon::Playing2: ui.stateIcon->setPixmap(m_icons[3]); break;
    case DictationRecorder::Icon::None: ui.stateIcon->clear(); break;
    }

    ui.IDC_REC_RECORD->setEnabled(e.record);
    ui.IDC_REC_PLAY->setEnabled(e.play);
    ui.IDC_REC_STOP->setEnabled(e.stop);
    ui.IDC_REC_RWND->setEnabled(e.rewind);
    ui.IDC_REC_FFWD->setEnabled(e.forward);
    ui.IDC_RECORD_INSERT->setEnabled(e.record);
    for (QWidget* w : {static_cast<QWidget*>(ui.IDC_START_SLIDER), static_cast<QWidget*>(ui.IDC_END_SLIDER),
                       static_cast<QWidget*>(ui.IDC_CUT_FROM_SPIN), static_cast<QWidget*>(ui.IDC_CUT_TO_SPIN)})
        w->setEnabled(e.positioning);
    ui.IDC_CUT->setEnabled(e.cut);
    ui.IDC_RESET->setEnabled(e.reset);
    ui.IDC_MARK->setEnabled(e.mark);
    ui.IDC_INSERT_PICTURE->setEnabled(e.picture);
    ui.IDC_REMOVE_PICTURE->setEnabled(e.removePicture);
    ui.IDC_REC_OK->setEnabled(e.ok);
    ui.IDC_REC_CANCEL->setEnabled(e.cancel);
}

void DictationRecorderDialog::refreshMarks()
{
    QTreeWidget* list = m_ui->IDC_INDEX_LIST;
    list->clear();
    const std::vector<IndexMark>& marks = m_recorder.marks();
    for (std::size_t i = 0; i < marks.size(); ++i) {
        auto* row = new QTreeWidgetItem(list, {fromAnsi(marks[i].comment), QString::fromStdString(marks[i].time),
                                               QString::fromStdString(marks[i].flag)});
        row->setData(0, Qt::UserRole, static_cast<int>(i));
    }
    if (list->topLevelItemCount() > 0)
        list->scrollToItem(list->topLevelItem(list->topLevelItemCount() - 1));
    refresh();
}

void DictationRecorderDialog::refreshPicture()
{
    const std::string& path = m_recorder.picturePath();
    QPixmap picture(path.empty() ? QString::fromLatin1(kDefaultPicture) : QFile::decodeName(path.c_str()));
    const QSize room = m_ui->IDC_PICTURE->minimumSize();
    m_ui->IDC_PICTURE->setPixmap(picture.isNull() ? QPixmap()
                                                  : picture.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    m_ui->IDC_PICTURE->setProperty("showsPicture", !path.empty());
    refresh();
}

std::unique_ptr<QMenu> DictationRecorderDialog::pictureMenu()
{
    auto menu = std::make_unique<QMenu>(this);
    menu->setObjectName(QString::number(IDR_PICTURE_MENU));
    QAction* remove = menu->addAction(QStringLiteral("&Remove Picture"), &m_recorder, &DictationRecorder::removePicture);
    remove->setEnabled(m_recorder.enabled().removePicture);
    QAction* change = menu->addAction(QStringLiteral("Add/Change Picture"), this, &DictationRecorderDialog::choosePicture);
    change->setEnabled(m_recorder.enabled().picture);
    return menu;
}

std::optional<std::string> DictationRecorderDialog::askForPicture()
{
    FileDialogRequest request;
    request.open = true;
    request.filter = kPictureFilter;
    request.fileMustExist = true;
    return currentPrompt().chooseFile(request);
}

void DictationRecorderDialog::choosePicture()
{
    if (const std::optional<std::string> path = askForPicture())
        m_recorder.setPicture(*path);
}

DictationRecorder::Texts DictationRecorderDialog::texts() const
{
    return {toAnsi(m_ui->IDC_SUBJECT->text()), toAnsi(m_ui->IDC_KEYWORDS->text()),
            toAnsi(m_ui->IDC_COMMENTS->toPlainText())};
}

void DictationRecorderDialog::onRecord()
{
    if (m_recorder.record(m_ui->IDC_RECORD_INSERT->isChecked()) == DictationRecorder::kCannotRecord)
        finished();
}

void DictationRecorderDialog::onSave()
{
    if (m_recorder.save(texts()) != DictationRecorder::kKeptOpen)
        finished();
}

void DictationRecorderDialog::finished()
{
    done(m_recorder.filed() ? QDialog::Accepted : QDialog::Rejected);
}

void DictationRecorderDialog::reject()
{
    if (m_recorder.state() == DictationRecorder::State::Closed) {
        finished();
        return;
    }
    // Escape while recording does nothing, as the disabled Cancel button.
    if (!m_recorder.enabled().cancel)
        return;
    if (m_recorder.leave(texts()))
        finished();
}

void DictationRecorderDialog::closeEvent(QCloseEvent* event)
{
    m_recorder.endMonitor("close");
    QDialog::closeEvent(event);
}

int runDictationRecorder(AppData& app, QWidget* parent, const std::string& recIdText,
                         DictationRecorderDialog::HelpOpener openHelp)
{
    // The sound devices' notification windows need their class.
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    DictationRecorderDialog dialog(app, recIdText, std::move(openHelp), parent);
    if (dialog.openRecording() != 0)
        return 0;
    dialog.exec();
    return dialog.recorder().filed() ? 1 : 0;
}

int runDictationRecorderOnWave(AppData& app, QWidget* parent, const std::string& wavePath,
                               DictationRecorderDialog::HelpOpener openHelp)
{
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    DictationRecorderDialog dialog(app, "", std::move(openHelp), parent);
    dialog.setStartingWave(wavePath);
    if (dialog.openRecording() != 0)
        return 0;
    dialog.exec();
    return dialog.recorder().filed() ? 1 : 0;
}
