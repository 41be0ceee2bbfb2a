#include "telephony/PhoneBookDialog.h"

#include <QHeaderView>
#include <QIcon>
#include <QMenu>

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "platform/Codepage.h"
#include "res/ResourceIds.h"
#include "res/resource.h"
#include "telephony/DialerDialog.h"
#include "telephony/OutgoingCall.h"
#include "telephony/PhoneBookEditDialog.h"
#include "telephony/PhoneBookEntryDialog.h"
#include "ui_PhoneBookDialog.h"

namespace {

constexpr int kNameColumn = 0;
constexpr int kNumberColumn = 1;
constexpr int kOffsetColumn = 2;

}  // namespace

PhoneBookDialog::PhoneBookDialog(AppData& app, const std::string& bookPath, HWND owner, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::PhoneBookDialog>()), m_app(app), m_book(bookPath), m_owner(owner)
{
    m_ui->setupUi(this);
    m_ui->okButton->setObjectName(QString::number(IDOK));
    m_ui->cancelButton->setObjectName(QString::number(IDCANCEL));
    assignControlNumbers(this);

    QTreeWidget* list = m_ui->IDC_PB_LIST;
    list->setIconSize(QSize(16, 16));
    QPalette palette = list->palette();
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, QColor(kTextRed, kTextGreen, kTextBlue));
    list->setPalette(palette);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionsClickable(true);
    list->setColumnWidth(kNameColumn, 145);
    list->setColumnWidth(kNumberColumn, 145);
    list->setColumnWidth(kOffsetColumn, 0);
    list->header()->setSectionResizeMode(kOffsetColumn, QHeaderView::Fixed);

    connect(list->header(), &QHeaderView::sectionClicked, this, &PhoneBookDialog::sortBy);
    connect(m_ui->IDC_PB_NAME, &QLineEdit::textChanged, this, &PhoneBookDialog::typeAhead);
    connect(list, &QTreeWidget::itemDoubleClicked, this, [this] { choose(focusedAndSelected()); });
    connect(list, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { m_remembered = item; });
    connect(list, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        if (auto menu = contextMenu())
            menu->exec(m_ui->IDC_PB_LIST->viewport()->mapToGlobal(at));
    });
    connect(m_ui->okButton, &QPushButton::clicked, this, [this] {
        choose(m_remembered != nullptr && m_remembered->isSelected() ? m_remembered : nullptr);
    });
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_ui->newButton, &QPushButton::clicked, this, &PhoneBookDialog::newEntry);
    connect(m_ui->dialerButton, &QPushButton::clicked, this, [this] {
        if (DialerDialog::run(m_app, m_book.path(), m_owner, this))
            accept();  // the call is asked for: the phone book has done its part
        else
            reload();
    });
    reload();
}

PhoneBookDialog::~PhoneBookDialog() = default;

void PhoneBookDialog::run(AppData& app, const std::string& bookPath, HWND owner, QWidget* parent)
{
    PhoneBookDialog dialog(app, bookPath, owner, parent);
    dialog.exec();
}

void PhoneBookDialog::reload()
{
    QTreeWidget* list = m_ui->IDC_PB_LIST;
    list->clear();
    m_remembered = nullptr;
    const std::vector<PhoneBookEntry> entries = m_book.load();
    const QIcon icon(QStringLiteral(":/res/images/type-phone.png"));
    QList<QTreeWidgetItem*> items;
    items.reserve(static_cast<int>(entries.size()));
    for (const PhoneBookEntry& entry : entries) {
        auto* item = new QTreeWidgetItem(QStringList{fromAnsi(entry.name), fromAnsi(entry.number),
                                                     QString::fromStdString(PhoneBook::offsetText(entry.offset))});
        item->setIcon(kNameColumn, icon);
        items.push_back(item);
    }
    list->addTopLevelItems(items);  // one insertion for all
    m_count = static_cast<int>(entries.size());
}

void PhoneBookDialog::typeAhead(const QString& typed)
{
    QTreeWidget* list = m_ui->IDC_PB_LIST;
    const QString text = typed.left(49);
    if (text.isEmpty()) {
        if (m_remembered != nullptr)
            m_remembered->setSelected(false);
        return;
    }
    // The first name, from the top, that starts with the text; the list
    // compares without regard to case.
    QTreeWidgetItem* found = nullptr;
    for (int i = 0, n = list->topLevelItemCount(); i < n && found == nullptr; ++i)
        if (list->topLevelItem(i)->text(kNameColumn).startsWith(text, Qt::CaseInsensitive))
            found = list->topLevelItem(i);
    if (found == nullptr)
        return;
    list->scrollToItem(found);
    if (m_remembered != nullptr)
        m_remembered->setSelected(false);
    found->setSelected(true);
    list->setCurrentItem(found, kNameColumn, QItemSelectionModel::NoUpdate);
    m_remembered = found;
}

QTreeWidgetItem* PhoneBookDialog::focusedAndSelected() const
{
    QTreeWidgetItem* item = m_ui->IDC_PB_LIST->currentItem();
    return item != nullptr && item->isSelected() ? item : nullptr;
}

void PhoneBookDialog::choose(QTreeWidgetItem* item)
{
    const std::string name = item != nullptr ? toAnsi(item->text(kNameColumn)) : std::string();
    const std::string number = item != nullptr ? toAnsi(item->text(kNumberColumn)) : std::string();
    accept();
    outgoingcall::choose(m_app, m_owner, name, number);
}

std::unique_ptr<QMenu> PhoneBookDialog::contextMenu()
{
    QTreeWidgetItem* item = focusedAndSelected();
    auto menu = std::make_unique<QMenu>(this);
    menu->setObjectName(QString::number(IDR_PHONEBOOK_MENU));
    QAction* dial = menu->addAction(QStringLiteral("Dial"));
    QAction* edit = menu->addAction(QStringLiteral("Edit..."));
    QAction* remove = menu->addAction(QStringLiteral("Delete..."));
    dial->setObjectName(QString::number(ID_PB_DIAL));
    edit->setObjectName(QString::number(ID_PB_EDIT));
    remove->setObjectName(QString::number(ID_PB_DELETE));
    dial->setEnabled(item != nullptr && outgoingcall::canDial(m_app.lineState));
    edit->setEnabled(item != nullptr);
    remove->setEnabled(item != nullptr);
    connect(dial, &QAction::triggered, this, [this] { choose(focusedAndSelected()); });
    connect(edit, &QAction::triggered, this, [this] { editItem(focusedAndSelected()); });
    connect(remove, &QAction::triggered, this, [this] { deleteItem(focusedAndSelected()); });
    return menu;
}

void PhoneBookDialog::editItem(QTreeWidgetItem* item)
{
    if (item == nullptr)
        return;
    PhoneBookEditDialog edit(toAnsi(item->text(kNameColumn)), toAnsi(item->text(kNumberColumn)),
                             toAnsi(item->text(kOffsetColumn)), this);
    if (edit.exec() != QDialog::Accepted)
        return;
    const std::uint64_t offset = std::strtoull(edit.offsetText().c_str(), nullptr, 10);
    if (const int code = m_book.edit(offset, edit.name(), edit.number()); code > 0)
        ShowCodedMessage(code, MB_ICONEXCLAMATION);
    reload();
}

void PhoneBookDialog::deleteItem(QTreeWidgetItem* item)
{
    if (item == nullptr)
        return;
    const std::uint64_t offset = std::strtoull(item->text(kOffsetColumn).toLatin1().constData(), nullptr, 10);
    if (const int code = m_book.remove(offset); code > 0)
        ShowCodedMessage(code, MB_ICONEXCLAMATION);
    reload();
}

void PhoneBookDialog::newEntry()
{
    PhoneBookEntryDialog entry(this);
    if (entry.exec() != QDialog::Accepted)
        return;
    if (const int code = m_book.add(entry.name(), entry.number()); code > 0)
        ShowCodedMessage(code, MB_ICONEXCLAMATION);
    reload();
}

void PhoneBookDialog::sortBy(int column)
{
    // A second click on the same header turns the order round.
    m_sortAscending = column == m_sortColumn ? !m_sortAscending : true;
    m_sortColumn = column;
    m_ui->IDC_PB_LIST->sortItems(column, m_sortAscending ? Qt::AscendingOrder : Qt::DescendingOrder);
}
