#include "telephony/PhoneBookEntryDialog.h"

#include "platform/Codepage.h"
#include "res/ResourceIds.h"
#include "ui_PhoneBookEntryDialog.h"

PhoneBookEntryDialog::PhoneBookEntryDialog(QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::PhoneBookEntryDialog>())
{
    m_ui->setupUi(this);
    assignControlNumbers(this);
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

PhoneBookEntryDialog::~PhoneBookEntryDialog() = default;

std::string PhoneBookEntryDialog::name() const
{
    return toAnsi(m_ui->IDC_PB_NAME->text());
}

std::string PhoneBookEntryDialog::number() const
{
    return toAnsi(m_ui->IDC_PB_NUMBER->text());
}
