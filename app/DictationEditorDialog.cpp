#include "app/DictationEditorDialog.h"

#include <QPushButton>

#include "core/AppData.h"
#include "app/HelpPages.h"
#include "core/ShowCodedMessage.h"
#include "platform/Codepage.h"
#include "res/ResourceIds.h"
#include "ui_DictationEditorDialog.h"

DictationEditorDialog::DictationEditorDialog(AppData& app, const std::string& recIdText, QWidget* parent)
    : QDialog(parent), m_app(app), m_editor(app), m_ui(std::make_unique<Ui::DictationEditorDialog>())
{
    m_ui->setupUi(this);
    m_loadResult = m_editor.load(recIdText, &m_record);
    m_ui->navoId->setText(QString::fromStdString(m_record.recId));
    m_ui->startTime->setText(fromAnsi(m_record.startTime));
    m_ui->endTime->setText(fromAnsi(m_record.endTime));
    m_ui->duration->setText(fromAnsi(m_record.duration));
    m_ui->keywords->setText(fromAnsi(m_record.keywords));
    m_ui->IDC_EDITOR_SUBJECT->setText(fromAnsi(m_record.subject));
    m_ui->IDC_COMMENTS->setPlainText(fromAnsi(m_record.comments));
    m_ui->saveButton->setObjectName(QString::number(IDOK));
    m_ui->cancelButton->setObjectName(QString::number(IDCANCEL));
    connect(m_ui->saveButton, &QPushButton::clicked, this, &DictationEditorDialog::save);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_ui->helpButton, &QPushButton::clicked, this, [] { HelpPages::open("300.htm"); });
    assignControlNumbers(this);
}

int DictationEditorDialog::run()
{
    // Said here, not in the constructor: a message box must not come up
    // before the window it belongs to exists.
    if (m_loadResult != 0)
        ShowCodedMessage(m_loadResult, m_loadResult == RecordEditor::kLocked ? MB_ICONINFORMATION : MB_ICONEXCLAMATION);
    if (m_loadResult != 0 && m_loadResult != RecordEditor::kLocked)
        return QDialog::Rejected;
    return exec();
}

DictationEditorDialog::~DictationEditorDialog()
{
    m_editor.discard(m_record);
}

void DictationEditorDialog::save()
{
    const int result = m_editor.save(m_record, toAnsi(m_ui->IDC_EDITOR_SUBJECT->text()),
                                     toAnsi(m_ui->IDC_COMMENTS->toPlainText()));
    if (result != 0) {
        ShowCodedMessage(result, result == RecordEditor::kLocked ? MB_ICONINFORMATION : MB_ICONEXCLAMATION);
        return;
    }
    accept();
}
