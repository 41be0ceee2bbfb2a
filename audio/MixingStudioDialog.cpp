#include "audio/MixingStudioDialog.h"

#include "ui_MixingStudioDialog.h"

#include <QStyle>
#include <QTimer>

#include <algorithm>
#include <cstdio>

#include "audio/DictationRecorder.h"
#include "audio/DictationRecorderDialog.h"
#include "core/AppData.h"
#include "platform/CallbackWindow.h"
#include "platform/Codepage.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"

namespace {

constexpr int kProgressIntervalMs = 200;
constexpr int kFromColumn = 3;
constexpr int kToColumn = 4;

QString msecText(long ms)
{
    char text[32];
    std::snprintf(text, sizeof text, "%-6d", static_cast<int>(ms));
    return QString::fromLatin1(text);
}

// "hh:mm:ss" of an index mark, in ms; 0 when it is not one.
long markMs(const std::string& time)
{
    int h = 0, m = 0, s = 0;
    return std::sscanf(time.c_str(), "%d:%d:%d", &h, &m, &s) == 3 ? ((h * 60L + m) * 60L + s) * 1000L : 0;
}

}  // namespace

MixingStudioDialog::MixingStudioDialog(AppData& app, MixingStudio::RecorderOpener opener, QWidget* parent,
                                       QualityColour colour)
    : QDialog(parent), m_studio(app, std::move(opener)), m_colour(std::move(colour)),
      m_ui(std::make_unique<Ui::MixingStudioDialog>())
{
    m_ui->setupUi(this);
    assignControlNumbers(this);
    m_ui->cancelButton->setObjectName(QStringLiteral("1"));
    m_ui->IDC_STUDIO_10147->setToolTip(fromAnsi(LoadString(653)));
    m_ui->IDC_STUDIO_PLAY_LIST->setIcon(style()->standardIcon(QStyle::SP_MediaPlay));
    m_ui->IDC_STUDIO_RECORDINGS->setColumnWidth(0, 80);
    m_ui->IDC_STUDIO_RECORDINGS->setColumnWidth(1, 80);
    m_ui->IDC_STUDIO_RECORDINGS->setColumnWidth(2, 190);
    m_ui->IDC_STUDIO_MERGE_LIST->setColumnWidth(0, 60);
    m_ui->IDC_STUDIO_MERGE_LIST->setColumnWidth(1, 70);
    m_ui->IDC_STUDIO_MERGE_LIST->setColumnWidth(2, 140);
    m_ui->IDC_STUDIO_MERGE_LIST->setColumnWidth(3, 70);
    m_ui->IDC_STUDIO_MERGE_LIST->setColumnWidth(4, 70);
    m_ui->IDC_STUDIO_MERGE_LIST->setColumnWidth(5, 180);
    m_progressTimer = new QTimer(this);
    m_progressTimer->setInterval(kProgressIntervalMs);
    wire();
    refresh();
}

MixingStudioDialog::~MixingStudioDialog() = default;

void MixingStudioDialog::wire()
{
    Ui::MixingStudioDialog& ui = *m_ui;
    connect(&m_studio, &MixingStudio::stateChanged, this, &MixingStudioDialog::refresh);
    connect(ui.IDC_STUDIO_RECORDINGS, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { choose(item); });
    connect(ui.IDC_STUDIO_RECORDINGS, &QTreeWidget::itemActivated, this,
            [this](QTreeWidgetItem* item) { choose(item); });
    connect(ui.IDC_STUDIO_INDEX_LIST, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        setFrom(markMs(item->text(1).toStdString()));
    });
    connect(ui.IDC_STUDIO_PLAY, &QPushButton::clicked, this, [this] {
        m_studio.play(m_from, m_to);
        m_progressTimer->start();
    });
    connect(ui.IDC_STUDIO_STOP, &QPushButton::clicked, &m_studio, &MixingStudio::stop);
    connect(ui.IDC_STUDIO_EXTRACT, &QPushButton::clicked, this, [this] { m_studio.addExtract(m_from, m_to); });
    connect(ui.IDC_EXTRACT_FROM_SLIDER, &QSlider::valueChanged, this, [this](int s) { setFrom(s * 1000L); });
    connect(ui.IDC_EXTRACT_TO_SLIDER, &QSlider::valueChanged, this, [this](int s) { setTo(s * 1000L); });
    connect(ui.IDC_EXTRACT_FROM_SPIN, qOverload<int>(&QSpinBox::valueChanged), this,
            [this](int s) { setFrom(s * 1000L); });
    connect(ui.IDC_EXTRACT_TO_SPIN, qOverload<int>(&QSpinBox::valueChanged), this,
            [this](int s) { setTo(s * 1000L); });
    connect(ui.IDC_STUDIO_MERGE_LIST, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item, int column) {
        if (column == kFromColumn || column == kToColumn)
            m_ui->IDC_STUDIO_MERGE_LIST->editItem(item, column);
    });
    connect(ui.IDC_STUDIO_MERGE_LIST, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int column) {
        if (m_filling)
            return;
        const auto row = static_cast<std::size_t>(m_ui->IDC_STUDIO_MERGE_LIST->indexOfTopLevelItem(item));
        const std::string text = item->text(column).trimmed().toStdString();
        // The item stays as the user left it: it must not be rebuilt under
        // its own signal.
        m_filling = true;
        if (column == kFromColumn)
            m_studio.setFrom(row, text);
        else if (column == kToColumn)
            m_studio.setTo(row, text);
        m_filling = false;
    });
    connect(ui.IDC_STUDIO_10139, &QPushButton::clicked, this, [this] {
        if (selectedRow() >= 0)
            m_studio.removeRow(static_cast<std::size_t>(selectedRow()));
    });
    const auto move = [this](int by) {
        const int row = selectedRow();
        if (row < 0)
            return;
        m_studio.moveRow(static_cast<std::size_t>(row), by);
        const int to = std::clamp(row + by, 0, static_cast<int>(m_studio.rows().size()) - 1);
        m_ui->IDC_STUDIO_MERGE_LIST->setCurrentItem(m_ui->IDC_STUDIO_MERGE_LIST->topLevelItem(to));
    };
    connect(ui.IDC_STUDIO_10140, &QPushButton::clicked, this, [move] { move(-1); });
    connect(ui.IDC_STUDIO_10141, &QPushButton::clicked, this, [move] { move(1); });
    connect(ui.IDC_STUDIO_PLAY_LIST, &QPushButton::clicked, this, [this] {
        m_studio.togglePlayList();
        if (m_studio.playingList())
            m_progressTimer->start();
    });
    connect(ui.IDC_STUDIO_10147, &QPushButton::clicked, &m_studio, &MixingStudio::buildAndOpen);
    connect(ui.cancelButton, &QPushButton::clicked, this, &MixingStudioDialog::reject);
    connect(m_progressTimer, &QTimer::timeout, this, [this] {
        if (!m_studio.playing() && !m_studio.playingList()) {
            m_progressTimer->stop();
            return;
        }
        m_ui->IDC_STUDIO_PROGRESS->setValue(static_cast<int>(m_studio.positionMs() / 1000));
    });
}

void MixingStudioDialog::loadRecordings()
{
    QTreeWidget* list = m_ui->IDC_STUDIO_RECORDINGS;
    list->clear();
    for (const MixingStudio::Recording& r : m_studio.recordings()) {
        auto* item = new QTreeWidgetItem(list);
        item->setText(0, QString::fromStdString(r.recId));
        item->setText(1, QString::fromLatin1(r.kind.c_str()));
        item->setText(2, fromAnsi(r.subject));
        item->setText(3, fromAnsi(r.date));
        item->setText(4, fromAnsi(r.duration));
        if (m_colour)
            for (int column = 0; column < list->columnCount(); ++column)
                item->setForeground(column, m_colour(r.quality));
    }
}

void MixingStudioDialog::choose(QTreeWidgetItem* item)
{
    if (item == nullptr || m_studio.playingList())
        return;
    if (m_studio.prepare(item->text(0).toStdString()) != 0) {
        refresh();
        return;
    }
    const long length = m_studio.prepared().lengthMs;
    const int seconds = std::max(1, static_cast<int>(length / 1000));
    for (QSlider* slider : {m_ui->IDC_EXTRACT_FROM_SLIDER, m_ui->IDC_EXTRACT_TO_SLIDER})
        slider->setRange(0, seconds);
    for (QSpinBox* spin : {m_ui->IDC_EXTRACT_FROM_SPIN, m_ui->IDC_EXTRACT_TO_SPIN})
        spin->setRange(0, seconds);
    m_ui->IDC_STUDIO_PROGRESS->setRange(0, seconds);
    m_ui->IDC_STUDIO_PROGRESS->setValue(0);
    setFrom(0);
    setTo(length);
    QTreeWidget* marks = m_ui->IDC_STUDIO_INDEX_LIST;
    marks->clear();
    for (const IndexMark& mark : m_studio.prepared().marks) {
        auto* row = new QTreeWidgetItem(marks);
        row->setText(0, fromAnsi(mark.comment));
        row->setText(1, QString::fromStdString(mark.time));
    }
    refresh();
}

void MixingStudioDialog::setFrom(long ms)
{
    m_from = std::clamp(ms, 0L, m_studio.prepared().lengthMs);
    refreshExtract();
}

void MixingStudioDialog::setTo(long ms)
{
    m_to = std::clamp(ms, 0L, m_studio.prepared().lengthMs);
    refreshExtract();
}

void MixingStudioDialog::refreshExtract()
{
    const QSignalBlocker b1(m_ui->IDC_EXTRACT_FROM_SLIDER), b2(m_ui->IDC_EXTRACT_TO_SLIDER),
        b3(m_ui->IDC_EXTRACT_FROM_SPIN), b4(m_ui->IDC_EXTRACT_TO_SPIN);
    m_ui->IDC_EXTRACT_FROM_SLIDER->setValue(static_cast<int>(m_from / 1000));
    m_ui->IDC_EXTRACT_FROM_SPIN->setValue(static_cast<int>(m_from / 1000));
    m_ui->IDC_EXTRACT_TO_SLIDER->setValue(static_cast<int>(m_to / 1000));
    m_ui->IDC_EXTRACT_TO_SPIN->setValue(static_cast<int>(m_to / 1000));
    m_ui->IDC_EXTRACT_FROM_MSEC->setText(msecText(m_from));
    m_ui->IDC_EXTRACT_TO_MSEC->setText(msecText(m_to));
    m_ui->IDC_EXTRACT_FROM_TIME->setText(QString::fromStdString(DictationRecorder::timeText(m_from)));
    m_ui->IDC_EXTRACT_TO_TIME->setText(QString::fromStdString(DictationRecorder::timeText(m_to)));
}

int MixingStudioDialog::selectedRow() const
{
    return m_ui->IDC_STUDIO_MERGE_LIST->indexOfTopLevelItem(m_ui->IDC_STUDIO_MERGE_LIST->currentItem());
}

void MixingStudioDialog::refreshRows()
{
    QTreeWidget* list = m_ui->IDC_STUDIO_MERGE_LIST;
    const int current = selectedRow();
    m_filling = true;
    list->clear();
    for (const MixingStudio::Row& row : m_studio.rows()) {
        auto* item = new QTreeWidgetItem(list);
        const std::string cells[] = {row.number, row.recId, row.subject, row.from, row.to, row.details, row.wavePath};
        for (int column = 0; column < 7; ++column)
            item->setText(column, fromAnsi(cells[column]));
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    }
    if (current >= 0 && current < list->topLevelItemCount())
        list->setCurrentItem(list->topLevelItem(current));
    m_filling = false;
}

void MixingStudioDialog::refresh()
{
    const MixingStudio::Enabled e = m_studio.enabled();
    Ui::MixingStudioDialog& ui = *m_ui;
    ui.IDC_STUDIO_PLAY->setEnabled(e.play);
    ui.IDC_STUDIO_STOP->setEnabled(e.stop);
    ui.IDC_STUDIO_EXTRACT->setEnabled(e.extract);
    ui.IDC_STUDIO_10147->setEnabled(e.merge);
    for (QWidget* w : std::initializer_list<QWidget*>{ui.IDC_EXTRACT_FROM_SLIDER, ui.IDC_EXTRACT_TO_SLIDER,
                                                      ui.IDC_EXTRACT_FROM_SPIN, ui.IDC_EXTRACT_TO_SPIN})
        w->setEnabled(e.positioning);
    for (QWidget* w : std::initializer_list<QWidget*>{ui.IDC_STUDIO_10139, ui.IDC_STUDIO_10140, ui.IDC_STUDIO_10141})
        w->setEnabled(e.rowEdits);
    ui.IDC_STUDIO_RECORDINGS->setEnabled(!m_studio.playingList());
    ui.IDC_STUDIO_PLAY_LIST->setEnabled(e.playList);
    ui.cancelButton->setEnabled(e.cancel);
    // The play-list button shows what pressing it will do.
    ui.IDC_STUDIO_PLAY_LIST->setIcon(
        style()->standardIcon(m_studio.playingList() ? QStyle::SP_MediaStop : QStyle::SP_MediaPlay));
    if (!m_filling)
        refreshRows();
}

void MixingStudioDialog::reject()
{
    // While the list plays, Cancel is greyed; Escape waits too.
    if (m_studio.playingList())
        return;
    m_studio.close();
    QDialog::reject();
}

int runMixingStudio(AppData& app, QWidget* parent, std::function<bool(const std::string&)> openHelp,
                    MixingStudioDialog::QualityColour colour)
{
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    int filed = 0;
    QWidget* owner = parent;
    MixingStudioDialog* shown = nullptr;
    MixingStudio::RecorderOpener opener = [&](const std::string& wave) {
        filed |= runDictationRecorderOnWave(app, shown != nullptr ? static_cast<QWidget*>(shown) : owner, wave,
                                            openHelp);
    };
    MixingStudioDialog dialog(app, opener, parent, std::move(colour));
    shown = &dialog;
    dialog.loadRecordings();
    dialog.exec();
    return filed;
}
