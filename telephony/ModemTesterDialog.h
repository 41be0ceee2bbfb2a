// The modem tester window (dialog 150, "Navo Modem Tester"): the number to
// dial (10264), "Start" (10262), "Stop" (10263), the log (10261, read-only,
// kept scrolled to its last line) and "Cancel" (2). The work is
// ModemTester's; the window passes the line's messages to it and shows its
// log and buttons after each step.
#pragma once

#include <QDialog>
#include <QTemporaryDir>

#include <memory>
#include <string>

#include "telephony/ModemTester.h"

namespace Ui {
class ModemTesterDialog;
}

class ModemTesterDialog : public QDialog {
public:
    // description: the Modem Selection row's, shown in the first log line.
    ModemTesterDialog(LineState*& line, const std::string& description, const std::string& greetingPath,
                      QWidget* parent = nullptr);
    ~ModemTesterDialog() override;

    const ModemTester& tester() const { return m_tester; }

protected:
    bool event(QEvent* event) override;
    void reject() override;

private:
    void refresh();

    std::unique_ptr<Ui::ModemTesterDialog> m_ui;
    QTemporaryDir m_recordFolder;
    ModemTester m_tester;
};
