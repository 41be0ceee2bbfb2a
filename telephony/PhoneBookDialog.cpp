#include "telephony/PhoneBookDialog.h"

#include <QHeaderView>
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
#include "telephony/PhoneBookModel.h"
#include "ui_PhoneBookDialog.h"

PhoneBookDialog::PhoneBookDialog(AppData& app, const std::string& bookPath, HWND owner, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::PhoneBookDialog>()), m_app(app), m_book(bookPath), m_owner(owner)
{
    m_ui->setupUi(this);
    m_ui->okButton->setObjectName(QString::number(IDOK));
    m_ui->cancelButton->setObjectName(QString::number(IDCANCEL));
    assignControlNumbers(this);

    QTreeView* list = m_ui->IDC_PB_LIST;
    m_model = new PhoneBookModel(this);
    list->setModel(m_model);
    list->setIconSize(QSize(16, 16));
    QPalette palette = list->palette();
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, QColor(kTextRed, kTextGreen, kTextBlue));
    list->setPalette(palette);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionsClickable(true);
    list->setColumnWidth(PhoneBookModel::kName, 145);
    list->setColumnWidth(PhoneBookModel::kNumber, 145);
    list->setColumnWidth(PhoneBookModel::kOffset, 0);
    list->header()->setSectionResizeMode(PhoneBookModel::kOffset, QHeaderView::Fixed);

    connect(list->header(), &QHeaderView::sectionClicked, this, &PhoneBookDialog::sortBy);
    connect(m_ui->IDC_PB_NAME, &QLineEdit::textChanged, this, &PhoneBookDialog::typeAhead);
    connect(list, &QTreeView::doubleClicked, this, [this] { choose(focusedAndSelected()); });
    connect(list, &QTreeView::clicked, this, [this](const QModelIndex& index) { m_remembered = index.row(); });
    connect(list, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        if (auto menu = contextMenu())
            menu->exec(m_ui->IDC_PB_LIST->viewport()->mapToGlobal(at));
    });
    connect(m_ui->okButton, &QPushButton::clicked, this, [this] { choose(isSelected(m_remembered) ? m_remembered : -1); });
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
    m_remembered = -1;
    std::vector<PhoneBookEntry> entries = m_book.load();
    m_count = static_cast<int>(entries.size());
    m_model->setEntries(std::move(entries));
}

bool PhoneBookDialog::isSelected(int row) const
{
    return row >= 0 && m_ui->IDC_PB_LIST->selectionModel()->isRowSelected(row, {});
}

void PhoneBookDialog::select(int row, bool selected)
{
    if (row < 0)
        return;
    m_ui->IDC_PB_LIST->selectionModel()->select(
        m_model->index(row, 0), (selected ? QItemSelectionModel::Select : QItemSelectionModel::Deselect) |
                                     QItemSelectionModel::Rows);
}

void PhoneBookDialog::typeAhead(const QString& typed)
{
    const QString text = typed.left(49);
    if (text.isEmpty()) {
        select(m_remembered, false);
        return;
    }
    const int found = m_model->findName(text);
    if (found < 0)
        return;
    QTreeView* list = m_ui->IDC_PB_LIST;
    list->scrollTo(m_model->index(found, 0));
    select(m_remembered, false);
    select(found, true);
    list->selectionModel()->setCurrentIndex(m_model->index(found, 0), QItemSelectionModel::NoUpdate);
    m_remembered = found;
}

int PhoneBookDialog::focusedAndSelected() const
{
    const QModelIndex current = m_ui->IDC_PB_LIST->currentIndex();
    return current.isValid() && isSelected(current.row()) ? current.row() : -1;
}

void PhoneBookDialog::choose(int row)
{
    const std::string name = row >= 0 ? m_model->entry(row).name : std::string();
    const std::string number = row >= 0 ? m_model->entry(row).number : std::string();
    accept();
    outgoingcall::choose(m_app, m_owner, name, number);
}

std::unique_ptr<QMenu> PhoneBookDialog::contextMenu()
{
    const int row = focusedAndSelected();
    auto menu = std::make_unique<QMenu>(this);
    menu->setObjectName(QString::number(IDR_PHONEBOOK_MENU));
    QAction* dial = menu->addAction(QStringLiteral("Dial"));
    QAction* edit = menu->addAction(QStringLiteral("Edit..."));
    QAction* remove = menu->addAction(QStringLiteral("Delete..."));
    dial->setObjectName(QString::number(ID_PB_DIAL));
    edit->setObjectName(QString::number(ID_PB_EDIT));
    remove->setObjectName(QString::number(ID_PB_DELETE));
    dial->setEnabled(row >= 0 && outgoingcall::canDial(m_app.lineState));
    edit->setEnabled(row >= 0);
    remove->setEnabled(row >= 0);
    connect(dial, &QAction::triggered, this, [this] { choose(focusedAndSelected()); });
    connect(edit, &QAction::triggered, this, [this] { editItem(focusedAndSelected()); });
    connect(remove, &QAction::triggered, this, [this] { deleteItem(focusedAndSelected()); });
    return menu;
}

void PhoneBookDialog::editItem(int row)
{
    if (row < 0)
        return;
    const PhoneBookEntry& entry = m_model->entry(row);
    PhoneBookEditDialog edit(entry.name, entry.number, PhoneBook::offsetText(entry.offset), this);
    if (edit.exec() != QDialog::Accepted)
        return;
    const std::uint64_t offset = std::strtoull(edit.offsetText().c_str(), nullptr, 10);
    if (const int code = m_book.edit(offset, edit.name(), edit.number()); code > 0)
        ShowCodedMessage(code, MB_ICONEXCLAMATION);
    reload();
}

void PhoneBookDialog::deleteItem(int row)
{
    if (row < 0)
        return;
    if (const int code = m_book.remove(m_model->entry(row).offset); code > 0)
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
    m_remembered = -1;
    m_model->sort(column, m_sortAscending ? Qt::AscendingOrder : Qt::DescendingOrder);
}
