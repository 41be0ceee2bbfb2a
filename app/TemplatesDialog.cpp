#include "app/TemplatesDialog.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "ui_TemplatesDialog.h"

namespace {

// The recorders a template can open, by list type.
const std::pair<int, const char*> kTypes[] = {
    {kListDictation, "Dictation"},
    {kListMeeting, "Meeting"},
    {kListDiary, "Diary"},
};

}  // namespace

TemplatesDialog::TemplatesDialog(AppData& app, QWidget* parent)
    : QDialog(parent), m_app(app), m_ui(std::make_unique<Ui::TemplatesDialog>())
{
    m_ui->setupUi(this);
    for (const auto& [type, name] : kTypes)
        m_ui->type->addItem(QString::fromLatin1(name), type);
    connect(m_ui->templates, &QListWidget::currentRowChanged, this, &TemplatesDialog::show);
    connect(m_ui->newButton, &QPushButton::clicked, this, &TemplatesDialog::newTemplate);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &TemplatesDialog::saveTemplate);
    connect(m_ui->deleteButton, &QPushButton::clicked, this, &TemplatesDialog::deleteTemplate);
    connect(m_ui->recordButton, &QPushButton::clicked, this, &TemplatesDialog::recordFromTemplate);
    connect(m_ui->closeButton, &QPushButton::clicked, this, &QDialog::reject);
    m_templates = recordtemplates::load(app);
    fill(m_templates.empty() ? -1 : 0);
}

TemplatesDialog::~TemplatesDialog() = default;

void TemplatesDialog::fill(int select)
{
    m_ui->templates->clear();
    for (const RecordTemplate& t : m_templates)
        m_ui->templates->addItem(fromAnsi(t.name));
    m_ui->templates->setCurrentRow(select);
    if (select < 0)
        show(-1);
    m_ui->deleteButton->setEnabled(!m_templates.empty());
    m_ui->recordButton->setEnabled(!m_templates.empty());
}

void TemplatesDialog::show(int row)
{
    const RecordTemplate t = row >= 0 && row < static_cast<int>(m_templates.size()) ? m_templates[row] : RecordTemplate{};
    m_ui->name->setText(fromAnsi(t.name));
    m_ui->type->setCurrentIndex(std::max(0, m_ui->type->findData(t.listType)));
    m_ui->subject->setText(fromAnsi(t.subject));
    m_ui->keywords->setText(fromAnsi(t.keywords));
    m_ui->comments->setPlainText(fromAnsi(t.comments));
}

RecordTemplate TemplatesDialog::edited() const
{
    RecordTemplate t;
    t.name = toAnsi(m_ui->name->text().trimmed());
    t.listType = m_ui->type->currentData().toInt();
    t.subject = toAnsi(m_ui->subject->text());
    t.keywords = toAnsi(m_ui->keywords->text());
    t.comments = toAnsi(m_ui->comments->toPlainText());
    return t;
}

bool TemplatesDialog::store(const std::vector<RecordTemplate>& all)
{
    const int saved = recordtemplates::save(m_app, all);
    if (saved != 0) {
        ShowCodedMessage(saved, MB_ICONEXCLAMATION);
        return false;
    }
    m_templates = all;
    return true;
}

void TemplatesDialog::newTemplate()
{
    m_ui->templates->setCurrentRow(-1);
    show(-1);
    m_ui->name->setFocus();
}

bool TemplatesDialog::saveTemplate()
{
    const RecordTemplate t = edited();
    if (t.name.empty()) {
        AfxMessageBox("Give the template a name.", MB_ICONEXCLAMATION);
        return false;
    }
    std::vector<RecordTemplate> all = m_templates;
    int row = -1;
    for (std::size_t i = 0; i < all.size(); ++i)
        if (all[i].name == t.name)
            row = static_cast<int>(i);
    if (row < 0) {
        all.push_back(t);
        row = static_cast<int>(all.size()) - 1;
    } else {
        all[static_cast<std::size_t>(row)] = t;
    }
    if (!store(all))
        return false;
    fill(row);
    return true;
}

void TemplatesDialog::deleteTemplate()
{
    const int row = m_ui->templates->currentRow();
    if (row < 0 || row >= static_cast<int>(m_templates.size()))
        return;
    std::vector<RecordTemplate> all = m_templates;
    all.erase(all.begin() + row);
    if (store(all))
        fill(all.empty() ? -1 : std::min(row, static_cast<int>(all.size()) - 1));
}

void TemplatesDialog::recordFromTemplate()
{
    const int row = m_ui->templates->currentRow();
    if (row < 0 || row >= static_cast<int>(m_templates.size()))
        return;
    m_chosen = row;
    accept();
}
