// The SIP line's settings window, opened from Modem Selection: the account
// (user, domain, registrar or outbound proxy, authentication name, password),
// the transport, the local port, a STUN server, and whether direct calls are
// taken from other computers. OK checks them (SipSettings::problem: the
// window stays open with the reason) and writes them to the line's settings
// file, which the line reads each time monitoring starts.
#pragma once

#include <QDialog>

#include <memory>
#include <string>

#include "telephony/SipSettings.h"

namespace Ui {
class SipSettingsDialog;
}

class SipSettingsDialog : public QDialog {
public:
    // configPath: the line's settings file (LineOptions::configPath() when empty).
    explicit SipSettingsDialog(QWidget* parent = nullptr, const std::string& configPath = {});
    ~SipSettingsDialog() override;

    SipSettings settings() const;
    // OK: checks, then writes; the window stays open on a problem.
    void accept() override;

private:
    void showPasswordState();

    std::unique_ptr<Ui::SipSettingsDialog> m_ui;
    std::string m_configPath;
    SipSettings m_read;
};
