// "Navo Compressor" (dialog 143): the progress of a CompressorRun over the
// record files it is given, with Cancel, Stop and Re-Start (CompressorRun.h
// says what each does). It starts at once and closes itself when the last
// file is done; an error is shown in a box and the next file goes on.
#pragma once

#include <QDialog>
#include <memory>
#include <string>
#include <vector>

#include "audio/CompressorRun.h"

namespace Ui {
class CompressorDialog;
}

class CompressorDialog : public QDialog {
    Q_OBJECT
public:
    // workFolder must exist; it receives the sounds while they are worked on.
    CompressorDialog(std::vector<std::string> recordFiles, CompressorRun::Options options,
                     const std::string& workFolder, QWidget* parent = nullptr, DWORD pauseMs = 1000);
    ~CompressorDialog() override;

    // The dialog run modally over the files, as e-mail calls it; the result
    // of each file (5 when it went in).
    static std::vector<int> run(const std::vector<std::string>& recordFiles, bool convert, bool compress,
                                const std::string& workFolder, QWidget* parent);

    const CompressorRun& compressorRun() const { return *m_run; }

protected:
    bool event(QEvent* event) override;
    void reject() override;

private:
    void refresh();

    std::unique_ptr<Ui::CompressorDialog> m_ui;
    std::unique_ptr<CompressorRun> m_run;
};
