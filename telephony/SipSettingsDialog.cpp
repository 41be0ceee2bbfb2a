#include "telephony/SipSettingsDialog.h"

#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "telephony/module/LineOptions.h"
#include "ui_SipSettingsDialog.h"

SipSettingsDialog::SipSettingsDialog(QWidget* parent, const std::string& configPath)
    : QDialog(parent),
      m_ui(std::make_unique<Ui::SipSettingsDialog>()),
      m_configPath(configPath.empty() ? LineOptions::configPath() : configPath),
      m_read(SipSettings::read(m_configPath))
{
    m_ui->setupUi(this);
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &SipSettingsDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &SipSettingsDialog::reject);
    m_ui->sipUser->setText(fromAnsi(m_read.user));
    m_ui->sipDomain->setText(fromAnsi(m_read.domain));
    m_ui->sipRegistrar->setText(fromAnsi(m_read.registrar));
    m_ui->sipAuthUser->setText(fromAnsi(m_read.authUser));
    const int transport = m_ui->sipTransport->findText(fromAnsi(m_read.transport).toUpper());
    m_ui->sipTransport->setCurrentIndex(transport >= 0 ? transport : 0);
    m_ui->sipPort->setValue(m_read.localPort > 0 ? m_read.localPort : 5060);
    m_ui->sipStun->setText(fromAnsi(m_read.stunServer));
    m_ui->sipAllowRemote->setChecked(m_read.allowRemote);
    showPasswordState();
}

SipSettingsDialog::~SipSettingsDialog() = default;

void SipSettingsDialog::showPasswordState()
{
    QString state;
    switch (SipSettings::secret(m_read.passwordFile)) {
    case SipSettings::Secret::None:
        state = tr("No password is stored.");
        break;
    case SipSettings::Secret::Missing:
        state = tr("The password file %1 is missing: enter the password.").arg(fromAnsi(m_read.passwordFile));
        break;
    case SipSettings::Secret::Private:
        state = tr("A password is stored, readable by you only. Leave the box empty to keep it.");
        break;
    case SipSettings::Secret::Exposed:
        state = tr("The password file %1 can be read by others, so the line refuses it; OK makes it readable by "
                   "you only.")
                    .arg(fromAnsi(m_read.passwordFile));
        break;
    }
    m_ui->sipPasswordState->setText(state);
}

SipSettings SipSettingsDialog::settings() const
{
    SipSettings settings = m_read;
    settings.user = toAnsi(m_ui->sipUser->text().trimmed());
    settings.domain = toAnsi(m_ui->sipDomain->text().trimmed());
    settings.registrar = toAnsi(m_ui->sipRegistrar->text().trimmed());
    settings.authUser = toAnsi(m_ui->sipAuthUser->text().trimmed());
    settings.transport = toAnsi(m_ui->sipTransport->currentText().toLower());
    settings.localPort = m_ui->sipPort->value();
    settings.stunServer = toAnsi(m_ui->sipStun->text().trimmed());
    settings.allowRemote = m_ui->sipAllowRemote->isChecked();
    return settings;
}

void SipSettingsDialog::accept()
{
    const SipSettings chosen = settings();
    if (const std::string problem = chosen.problem(); !problem.empty()) {
        AfxMessageBox(problem, MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    if (const std::string failed = chosen.write(m_configPath, m_ui->sipPassword->text().toUtf8().toStdString()); !failed.empty()) {
        AfxMessageBox("The SIP line's settings were not saved: " + failed + ".", MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    QDialog::accept();
}
