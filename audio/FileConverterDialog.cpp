#include "audio/FileConverterDialog.h"

#include <QPushButton>

#include "maker/Ek7Conv/Ek7Conv.h"
#include "platform/FileOps.h"
#include "platform/Prompt.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "ui_FileConverterDialog.h"

FileConverterDialog::FileConverterDialog(std::vector<FileConverter::Job> jobs, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::FileConverterDialog>()), m_jobs(jobs)
{
    m_ui->setupUi(this);
    assignControlNumbers(this);
    const HWND self = handleOf(this);
    m_converter = std::make_unique<FileConverter>(
        std::move(jobs), [self](UINT message, WPARAM wParam, LPARAM lParam) { PostMessage(self, message, wParam, lParam); },
        self);
    connect(m_ui->IDC_CONVERT_STOP, &QPushButton::clicked, this, [this] {
        m_converter->stop();
        showState(m_ui->IDC_CONVERT_FILE_PROGRESS->value());
    });
    connect(m_ui->IDC_CONVERT_RESTART, &QPushButton::clicked, this, [this] {
        m_converter->restart();
        showState(0);
    });
    connect(m_ui->IDC_CONVERT_CANCEL, &QPushButton::clicked, this, [this] { reject(); });
    showState(0);
    m_converter->start();
}

FileConverterDialog::~FileConverterDialog()
{
    // The converter's destructor stops and joins its thread.
}

int FileConverterDialog::run(std::vector<FileConverter::Job> jobs, QWidget* parent)
{
    FileConverterDialog dialog(std::move(jobs), parent);
    dialog.exec();
    return dialog.converter().converted();
}

void FileConverterDialog::showState(int filePercent)
{
    const int total = m_converter->total();
    const int current = std::max(1, std::min(m_converter->current(), total));
    m_ui->IDC_CONVERT_COUNT->setText(
        QStringLiteral("Converting file %1 of %2").arg(total == 0 ? 0 : current).arg(total));
    if (total > 0)
        m_ui->IDC_CONVERT_FILE->setText(QString::fromStdString(
            fileops::baseNameOf(m_jobs[static_cast<std::size_t>(current - 1)].target)));
    m_ui->IDC_CONVERT_FILE_PROGRESS->setValue(filePercent);
    const int done = total == 0 ? 100 : ((current - 1) * 100 + filePercent) / total;
    m_ui->IDC_CONVERT_ALL_PROGRESS->setValue(done);
    const FileConverter::State state = m_converter->state();
    m_ui->IDC_CONVERT_STOP->setEnabled(state == FileConverter::State::Converting);
    m_ui->IDC_CONVERT_RESTART->setEnabled(state == FileConverter::State::Stopped);
}

bool FileConverterDialog::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QDialog::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    if (message->message() == kEk7ConvProgressMessage) {
        showState(static_cast<int>(message->wParam()));
        return true;
    }
    if (message->message() != FileConverter::kMsgConvert)
        return true;
    const LPARAM code = message->lParam();
    const int failed = m_converter->onMessage(message->wParam(), code);
    if (code == FileConverter::kFileDone && m_converter->state() == FileConverter::State::Converting)
        showState(0);
    else if (code != FileConverter::kFileFailed)
        showState(code == FileConverter::kFileDone ? 100 : m_ui->IDC_CONVERT_FILE_PROGRESS->value());
    if (failed != 0)
        currentPrompt().messageBox(FileConverter::resultText(failed), MB_OK | MB_ICONERROR, "Navo File Converter");
    if (code == FileConverter::kThreadStopped) {
        m_converter->join();
        if (m_converter->state() == FileConverter::State::Finished)
            accept();
        else
            QDialog::reject();
    }
    return true;
}

void FileConverterDialog::reject()
{
    // Escape, the window's close and Cancel: the thread is told to stop and
    // the dialog closes when it says it has.
    m_converter->cancel();
    showState(m_ui->IDC_CONVERT_FILE_PROGRESS->value());
}
