#include "telephony/PhoneBookEditDialog.h"

#include "platform/Codepage.h"
#include "res/ResourceIds.h"
#include "ui_PhoneBookEditDialog.h"

PhoneBookEditDialog::PhoneBookEditDialog(const std::string& name, const std::string& number,
                                         const std::string& offsetText, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::PhoneBookEditDialog>())
{
    m_ui->setupUi(this);
    assignControlNumbers(this);
    m_ui->IDC_PB_NAME->setText(fromAnsi(name));
    m_ui->IDC_PB_NUMBER->setText(fromAnsi(number));
    m_ui->IDC_PB_OFFSET->setText(fromAnsi(offsetText));
    m_ui->IDC_PB_OFFSET->hide();
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

PhoneBookEditDialog::~PhoneBookEditDialog() = default;

std::string PhoneBookEditDialog::name() const
{
    return toAnsi(m_ui->IDC_PB_NAME->text());
}

std::string PhoneBookEditDialog::number() const
{
    return toAnsi(m_ui->IDC_PB_NUMBER->text());
}

std::string PhoneBookEditDialog::offsetText() const
{
    return toAnsi(m_ui->IDC_PB_OFFSET->text());
}
