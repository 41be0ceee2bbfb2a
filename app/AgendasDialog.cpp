#include "app/AgendasDialog.h"

#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>

#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "ui_AgendasDialog.h"

AgendasDialog::AgendasDialog(const AppData& app, QWidget* parent)
    : QDialog(parent), m_book(app), m_ui(std::make_unique<Ui::AgendasDialog>())
{
    m_ui->setupUi(this);
    connect(m_ui->agendas, &QListWidget::currentRowChanged, this, &AgendasDialog::show);
    const auto row = [this] { return static_cast<std::size_t>(std::max(0, m_ui->agendas->currentRow())); };
    const auto name = [this] { return toAnsi(m_ui->name->text().trimmed()); };
    connect(m_ui->newButton, &QPushButton::clicked, this, [this, name] {
        const int added = static_cast<int>(m_book.agendas().size());
        after(m_book.create(name()), added);
    });
    connect(m_ui->renameButton, &QPushButton::clicked, this, [this, row, name] {
        after(m_book.rename(row(), name()), static_cast<int>(row()));
    });
    connect(m_ui->deleteButton, &QPushButton::clicked, this, [this, row] {
        const int at = static_cast<int>(row());
        const std::string refused = m_book.remove(row());
        after(refused, at);
    });
    connect(m_ui->saveItemsButton, &QPushButton::clicked, this, [this, row] {
        std::vector<std::string> items;
        for (const QString& line : m_ui->items->toPlainText().split(QLatin1Char('\n')))
            items.push_back(toAnsi(line));
        after(m_book.setItems(row(), items), static_cast<int>(row()));
    });
    connect(m_ui->closeButton, &QPushButton::clicked, this, &QDialog::accept);
    fill(m_book.agendas().empty() ? -1 : 0);
}

AgendasDialog::~AgendasDialog() = default;

void AgendasDialog::after(const std::string& refused, int select)
{
    if (!refused.empty()) {
        AfxMessageBox(refused, MB_ICONEXCLAMATION);
        return;
    }
    fill(std::min(select, static_cast<int>(m_book.agendas().size()) - 1));
}

void AgendasDialog::fill(int select)
{
    const QSignalBlocker quiet(m_ui->agendas);
    m_ui->agendas->clear();
    for (const MeetingAgenda& agenda : m_book.agendas())
        m_ui->agendas->addItem(fromAnsi(agenda.name));
    m_ui->agendas->setCurrentRow(select);
    show(select);
    const bool any = !m_book.agendas().empty();
    m_ui->renameButton->setEnabled(any);
    m_ui->deleteButton->setEnabled(any);
    m_ui->saveItemsButton->setEnabled(any);
}

void AgendasDialog::show(int row)
{
    const auto& all = m_book.agendas();
    const MeetingAgenda agenda = row >= 0 && row < static_cast<int>(all.size()) ? all[static_cast<std::size_t>(row)]
                                                                                : MeetingAgenda{};
    m_ui->name->setText(fromAnsi(agenda.name));
    QStringList items;
    for (const std::string& item : agenda.items)
        items << fromAnsi(item);
    m_ui->items->setPlainText(items.join(QLatin1Char('\n')));
}
