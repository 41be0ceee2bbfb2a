#include "app/AboutDialog.h"

#include "res/ResourceIds.h"
#include "ui_AboutDialog.h"

#ifndef NAVO_VERSION
#define NAVO_VERSION "0.1.0"
#endif

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent), m_ui(std::make_unique<Ui::AboutDialog>())
{
    m_ui->setupUi(this);
    m_ui->text->setText(
        tr("<h2>Navo</h2><p>Version %1</p>"
           "<p>Records, files, finds and replays your dictations, meetings,<br>"
           "phone calls, messages and diary entries.</p>")
            .arg(QStringLiteral(NAVO_VERSION)));
    assignControlNumbers(this);
}

AboutDialog::~AboutDialog() = default;
