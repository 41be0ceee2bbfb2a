// "Navo File Converter" (dialog 151): "Converting file" n "of" m, the file's
// name, the current-file and overall progress bars, and Re-Start, Stop and
// Cancel (FileConverter says what each does to the converter's events). It
// starts the list on opening and closes itself when the converter thread
// has ended: accepted when every job ran to its end, rejected after Cancel.
#pragma once

#include <QDialog>
#include <memory>
#include <vector>

#include "audio/FileConverter.h"

namespace Ui {
class FileConverterDialog;
}

class FileConverterDialog : public QDialog {
    Q_OBJECT
public:
    explicit FileConverterDialog(std::vector<FileConverter::Job> jobs, QWidget* parent = nullptr);
    ~FileConverterDialog() override;

    const FileConverter& converter() const { return *m_converter; }

    // Runs the list modally; the number of files converted.
    static int run(std::vector<FileConverter::Job> jobs, QWidget* parent);

protected:
    bool event(QEvent* event) override;
    void reject() override;

private:
    void showState(int filePercent);

    std::unique_ptr<Ui::FileConverterDialog> m_ui;
    std::unique_ptr<FileConverter> m_converter;
    std::vector<FileConverter::Job> m_jobs;
};
