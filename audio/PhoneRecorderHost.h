// The main window's phone recorder (PhoneRecorderService): keeps the one
// modeless phone recorder window, creates it when a call needs it and
// forgets it once it has closed. A filed call is told to the window that
// opened it with WM_USER+156.
#pragma once

#include <QPointer>

#include "audio/PhoneRecorderDialog.h"
#include "core/StartupServices.h"

class PhoneRecorderHost : public PhoneRecorderService {
public:
    // report: how a line library failure is shown (the telephony's report).
    PhoneRecorderHost(PhoneRecorder::FailureReport report, PhoneRecorderDialog::HelpOpener openHelp);
    ~PhoneRecorderHost() override;

    bool isOpen() const override { return !m_dialog.isNull(); }
    bool recording() const override;
    std::uintptr_t window() const override;
    void open(AppData& app, QWidget* owner, const std::string& name, const std::string& number) override;
    void stateChange(int code) override;
    void clearLineInUse() override;
    void close() override;

    PhoneRecorderDialog* dialog() const { return m_dialog.data(); }

private:
    PhoneRecorder::FailureReport m_report;
    PhoneRecorderDialog::HelpOpener m_openHelp;
    QPointer<PhoneRecorderDialog> m_dialog;
};
