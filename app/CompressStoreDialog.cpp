#include "app/CompressStoreDialog.h"

#include <QHeaderView>
#include <QStyle>

#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "ui_CompressStoreDialog.h"

namespace {
constexpr int kDescriptionWidth = 80;
}

CompressStoreDialog::CompressStoreDialog(const std::string& workspace, const std::string& storePath,
                                         StoreCompressor::Save save, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::CompressStoreDialog>())
{
    m_ui->setupUi(this);
    setWindowFlag(Qt::WindowCloseButtonHint, false);
    QTreeWidget* log = m_ui->IDC_COMPRESS_ERROR_LOG;
    // The column is made 80 pixels wide and then stretches with the list,
    // so that the longest row ("Error removing wasted space from Data
    // Store") reads whole.
    log->setColumnWidth(0, kDescriptionWidth);
    log->header()->setStretchLastSection(true);
    QPalette white = log->palette();
    white.setColor(QPalette::Base, Qt::white);
    log->setPalette(white);
    assignControlNumbers(this);

    setLine(1, StoreCompressor::kTextComponents, StoreCompressor::kWaiting);
    setLine(2, StoreCompressor::kTextRemoveSpace, StoreCompressor::kWaiting);
    const HWND self = handleOf(this);
    m_worker = std::make_unique<StoreCompressor>(
        workspace, storePath, std::move(save),
        [self](UINT message, WPARAM wParam, LPARAM lParam) { PostMessage(self, message, wParam, lParam); });
    m_worker->start();
}

CompressStoreDialog::~CompressStoreDialog()
{
    // A dialog destroyed early still lets the worker end its steps.
    if (m_worker)
        m_worker->wait();
}

QColor CompressStoreDialog::colourOf(int state)
{
    switch (state) {
    case StoreCompressor::kInProgress: return QColor(0, 128, 0);
    case StoreCompressor::kDone: return QColor(0, 0, 255);
    case StoreCompressor::kDoneWithErrors: return QColor(255, 0, 0);
    default: return QColor(0, 0, 0);
    }
}

int CompressStoreDialog::lineState(int line) const
{
    return line == 1 || line == 2 ? m_states[line - 1] : -1;
}

void CompressStoreDialog::setLine(int line, int text, int state)
{
    QLabel* label = line == 1 ? m_ui->IDC_COMPRESS_STATUS1 : m_ui->IDC_COMPRESS_STATUS2;
    m_states[line - 1] = state;
    label->setText(QString::fromLatin1(StoreCompressor::statusText(text)));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colourOf(state));
    label->setPalette(palette);
}

bool CompressStoreDialog::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QDialog::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    switch (message->message()) {
    case StoreCompressor::kMsgStatus:
        if (message->wParam() == 1 || message->wParam() == 2)
            setLine(static_cast<int>(message->wParam()), StoreCompressor::textOf(message->lParam()),
                    StoreCompressor::stateOf(message->lParam()));
        break;
    case StoreCompressor::kMsgErrorRow: {
        auto* row = new QTreeWidgetItem(m_ui->IDC_COMPRESS_ERROR_LOG);
        row->setText(0, QString::fromLatin1(StoreCompressor::errorRowText(static_cast<int>(message->wParam()))));
        row->setIcon(0, style()->standardIcon(QStyle::SP_MessageBoxCritical));
        row->setToolTip(0, row->text(0));
        break;
    }
    case StoreCompressor::kMsgFinished:
        m_saveResult = static_cast<int>(message->wParam());
        m_finished = true;
        m_worker->wait();
        accept();
        break;
    default:
        break;
    }
    return true;
}

void CompressStoreDialog::reject()
{
    // Escape and the window's close do nothing until the worker is done.
    if (m_finished)
        QDialog::reject();
}
