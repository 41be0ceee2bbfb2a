#include "telephony/DialerDialog.h"

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "platform/Codepage.h"
#include "res/ResourceIds.h"
#include "res/resource.h"
#include "telephony/OutgoingCall.h"
#include "telephony/PhoneBook.h"
#include "ui_DialerDialog.h"

DialerDialog::DialerDialog(const std::string& name, const std::string& number, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::DialerDialog>())
{
    m_ui->setupUi(this);
    m_ui->dialButton->setObjectName(QString::number(IDOK));
    m_ui->cancelButton->setObjectName(QString::number(IDCANCEL));
    assignControlNumbers(this);
    m_ui->IDC_PB_NAME->setText(fromAnsi(name));
    m_ui->IDC_PB_NUMBER->setText(fromAnsi(number));
    connect(m_ui->dialButton, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
}

DialerDialog::~DialerDialog() = default;

std::string DialerDialog::name() const
{
    return toAnsi(m_ui->IDC_PB_NAME->text());
}

std::string DialerDialog::number() const
{
    return toAnsi(m_ui->IDC_PB_NUMBER->text());
}

bool DialerDialog::addToPhoneBook() const
{
    return m_ui->addToPhoneBook->isChecked();
}

bool DialerDialog::run(AppData& app, const std::string& bookPath, HWND owner, QWidget* parent,
                       const std::string& name, const std::string& number)
{
    DialerDialog dialer(name, number, parent);
    if (dialer.exec() != QDialog::Accepted)
        return false;
    if (dialer.addToPhoneBook() && !(dialer.name().empty() && dialer.number().empty()))
        if (const int code = PhoneBook(bookPath).add(dialer.name(), dialer.number()); code > 0)
            ShowCodedMessage(code, MB_ICONEXCLAMATION);
    outgoingcall::choose(app, owner, dialer.name(), dialer.number());
    return true;
}
