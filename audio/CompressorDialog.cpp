#include "audio/CompressorDialog.h"

#include <QPushButton>

#include "platform/Prompt.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "ui_CompressorDialog.h"

CompressorDialog::CompressorDialog(std::vector<std::string> recordFiles, CompressorRun::Options options,
                                   const std::string& workFolder, QWidget* parent, DWORD pauseMs)
    : QDialog(parent), m_ui(std::make_unique<Ui::CompressorDialog>())
{
    m_ui->setupUi(this);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    assignControlNumbers(this);
    m_run = std::make_unique<CompressorRun>(
        handleOf(this), std::move(recordFiles), options, workFolder,
        [](const std::string& text) { AfxMessageBox(text, MB_OK | MB_ICONERROR); }, pauseMs);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &CompressorDialog::reject);
    connect(m_ui->IDC_COMPRESSOR_STOP, &QPushButton::clicked, this, [this] {
        m_run->stop();
        refresh();
    });
    connect(m_ui->IDC_COMPRESSOR_RESTART, &QPushButton::clicked, this, [this] {
        m_run->restart();
        refresh();
    });
    m_run->start();
    refresh();
}

CompressorDialog::~CompressorDialog() = default;

std::vector<int> CompressorDialog::run(const std::vector<std::string>& recordFiles, bool convert, bool compress,
                                       const std::string& workFolder, QWidget* parent)
{
    CompressorRun::Options options;
    options.convert = convert;
    options.compress = compress;
    CompressorDialog dialog(recordFiles, options, workFolder, parent);
    // A run that had nothing to do may have closed already.
    if (dialog.m_run->state() != CompressorRun::State::Closed)
        dialog.exec();
    return dialog.m_run->results();
}

void CompressorDialog::refresh()
{
    using State = CompressorRun::State;
    const State state = m_run->state();
    m_ui->IDC_COMPRESSOR_TEXT->setText(QString::fromStdString(m_run->progressText()));
    m_ui->IDC_COMPRESSOR_FILE_PROGRESS->setValue(m_run->filePercent());
    m_ui->IDC_COMPRESSOR_TOTAL_PROGRESS->setValue(m_run->overallPercent());
    m_ui->IDC_COMPRESSOR_STOP->setEnabled(state == State::Working);
    m_ui->IDC_COMPRESSOR_RESTART->setEnabled(state == State::Stopped);
    m_ui->cancelButton->setEnabled(state != State::Cancelling && state != State::Closed);
    if (state == State::Closed && isVisible())
        done(m_run->cancelled() ? IDCANCEL : IDOK);
}

bool CompressorDialog::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QDialog::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    if (m_run->handle(message->message(), message->wParam(), message->lParam()))
        refresh();
    return true;
}

void CompressorDialog::reject()
{
    // Escape, the window's close and Cancel: the worker is asked to end,
    // and the dialog closes once it has.
    m_run->cancel();
    refresh();
}
