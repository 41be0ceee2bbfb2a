#include "app/ExportOptionsDialog.h"

#include "platform/Codepage.h"
#include "res/ResourceIds.h"
#include "ui_ExportOptionsDialog.h"

ExportOptionsDialog::ExportOptionsDialog(const std::string& caption, bool videoList, const ExportOptions& initial,
                                         QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::ExportOptionsDialog>())
{
    m_ui->setupUi(this);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowTitle(fromAnsi(caption));
    m_ui->IDC_EXPORT_LOCK->setChecked(initial.lock);
    m_ui->IDC_EXPORT_CONVERT->setChecked(initial.convert && !videoList);
    m_ui->IDC_EXPORT_COMPRESS->setChecked(initial.compress && !videoList);
    m_ui->IDC_EXPORT_CONVERT->setEnabled(!videoList);
    m_ui->IDC_EXPORT_COMPRESS->setEnabled(!videoList);
    connect(m_ui->buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_ui->buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    assignControlNumbers(this);
}

ExportOptionsDialog::~ExportOptionsDialog() = default;

ExportOptions ExportOptionsDialog::options() const
{
    ExportOptions chosen;
    chosen.lock = m_ui->IDC_EXPORT_LOCK->isChecked();
    chosen.convert = m_ui->IDC_EXPORT_CONVERT->isChecked();
    chosen.compress = m_ui->IDC_EXPORT_COMPRESS->isChecked();
    return chosen;
}

std::optional<ExportOptions> ExportOptionsDialog::ask(const std::string& caption, bool videoList,
                                                      const ExportOptions& initial, QWidget* parent)
{
    ExportOptionsDialog dialog(caption, videoList, initial, parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.options();
}
