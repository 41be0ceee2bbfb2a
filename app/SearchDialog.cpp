#include "app/SearchDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/CommandMenus.h"
#include "app/ListPrinting.h"
#include "app/RecordListModel.h"
#include "app/RecordLists.h"
#include "core/AppData.h"
#include "core/StartupServices.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "res/resource.h"

namespace {

int dayOf(const QDate& date)
{
    return date.year() * 10000 + date.month() * 100 + date.day();
}

}  // namespace

SearchDialog::SearchDialog(AppData& app, StoreService* store, QWidget* parent, PlayerService* player)
    : QDialog(parent), m_app(app), m_store(store), m_player(player)
{
    setObjectName(QStringLiteral("SearchDialog"));
    setWindowTitle(QStringLiteral("Search for recordings"));
    auto* layout = new QVBoxLayout(this);

    auto* wordsRow = new QHBoxLayout;
    wordsRow->addWidget(new QLabel(QStringLiteral("&Words:"), this));
    m_words = new QLineEdit(this);
    m_words->setObjectName(QStringLiteral("words"));
    m_words->setPlaceholderText(QStringLiteral("subject, keywords, comments, caller, index marks"));
    static_cast<QLabel*>(wordsRow->itemAt(0)->widget())->setBuddy(m_words);
    wordsRow->addWidget(m_words, 1);
    layout->addLayout(wordsRow);

    auto* typesRow = new QHBoxLayout;
    const std::pair<const char*, unsigned> types[] = {
        {"Dictation", kEk7FamilyDictation}, {"Video", kEk7FamilyVideo}, {"Meeting", kEk7FamilyMeeting},
        {"Translate", kEk7FamilyTranslation}, {"Phone", kEk7FamilyPhone}, {"Diary", kEk7FamilyDiary}};
    for (const auto& [name, family] : types) {
        auto* box = new QCheckBox(QString::fromLatin1(name), this);
        box->setObjectName(QStringLiteral("type") + QString::fromLatin1(name));
        box->setChecked(true);
        typesRow->addWidget(box);
        m_types.emplace_back(box, family);
        connect(box, &QCheckBox::toggled, this, &SearchDialog::changed);
    }
    typesRow->addStretch(1);
    layout->addLayout(typesRow);

    auto* filterRow = new QHBoxLayout;
    m_useFrom = new QCheckBox(QStringLiteral("From"), this);
    m_from = new QDateEdit(QDate::currentDate().addMonths(-1), this);
    m_useTo = new QCheckBox(QStringLiteral("To"), this);
    m_to = new QDateEdit(QDate::currentDate(), this);
    m_useFrom->setObjectName(QStringLiteral("useFrom"));
    m_useTo->setObjectName(QStringLiteral("useTo"));
    m_from->setObjectName(QStringLiteral("from"));
    m_to->setObjectName(QStringLiteral("to"));
    for (QDateEdit* edit : {m_from, m_to}) {
        edit->setCalendarPopup(true);
        edit->setDisplayFormat(QStringLiteral("dd/MM/yyyy"));
        edit->setEnabled(false);
        connect(edit, &QDateEdit::dateChanged, this, &SearchDialog::changed);
    }
    connect(m_useFrom, &QCheckBox::toggled, m_from, &QWidget::setEnabled);
    connect(m_useTo, &QCheckBox::toggled, m_to, &QWidget::setEnabled);
    connect(m_useFrom, &QCheckBox::toggled, this, &SearchDialog::changed);
    connect(m_useTo, &QCheckBox::toggled, this, &SearchDialog::changed);
    m_newOnly = new QCheckBox(QStringLiteral("New messages only"), this);
    m_newOnly->setObjectName(QStringLiteral("newOnly"));
    connect(m_newOnly, &QCheckBox::toggled, this, &SearchDialog::changed);
    m_order = new QComboBox(this);
    m_order->setObjectName(QStringLiteral("order"));
    m_order->addItems({QStringLiteral("Sort by relevance"), QStringLiteral("Sort by date")});
    connect(m_order, &QComboBox::currentIndexChanged, this, &SearchDialog::changed);
    for (QWidget* w : std::initializer_list<QWidget*>{m_useFrom, m_from, m_useTo, m_to, m_newOnly})
        filterRow->addWidget(w);
    filterRow->addStretch(1);
    filterRow->addWidget(m_order);
    layout->addLayout(filterRow);

    m_model = new RecordListModel(this);
    m_results = new QTreeView(this);
    m_results->setObjectName(QString::number(IDC_RECORD_LIST));
    m_results->setModel(m_model);
    m_results->setRootIsDecorated(false);
    m_results->setUniformRowHeights(true);
    m_results->setAllColumnsShowFocus(true);
    m_results->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_results->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_results->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_results, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        if (std::unique_ptr<QMenu> menu = recordMenu())
            menu->exec(m_results->viewport()->mapToGlobal(at));
    });
    layout->addWidget(m_results, 1);

    auto* bottom = new QHBoxLayout;
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("count"));
    bottom->addWidget(m_count, 1);
    auto* printButton = new QPushButton(QStringLiteral("&Print..."), this);
    printButton->setObjectName(QString::number(ID_RECORD_PRINT));
    connect(printButton, &QPushButton::clicked, this, [this] { m_commands.run(ID_RECORD_PRINT); });
    auto* closeButton = new QPushButton(QStringLiteral("Close"), this);
    connect(closeButton, &QPushButton::clicked, this, &QDialog::accept);
    bottom->addWidget(printButton);
    bottom->addWidget(closeButton);
    layout->addLayout(bottom);

    // The record menu's commands that act on the results themselves; the
    // others stay greyed here.
    if (m_store != nullptr)
        m_commands.add(ID_RECORD_DELETE, [this] { deleteSelected(); });
    m_commands.add(ID_RECORD_PRINT, [this] { print(); });
    // Send and the exports come with addSendAndExport.
    if (m_player != nullptr) {
        m_commands.add(ID_RECORD_PLAY, [this] { playSelected(); });
        connect(m_results, &QAbstractItemView::doubleClicked, this, [this] { playSelected(); });
    }

    m_pause.setSingleShot(true);
    m_pause.setInterval(kPauseMs);
    connect(&m_pause, &QTimer::timeout, this, &SearchDialog::start);
    connect(m_words, &QLineEdit::textChanged, this, &SearchDialog::changed);
    resize(760, 480);
    searchNow();
}

SearchDialog::~SearchDialog()
{
    if (m_worker.joinable())
        m_worker.join();
}

SearchRequest SearchDialog::request() const
{
    SearchRequest request;
    request.words = toAnsi(m_words->text());
    unsigned families = 0;
    bool all = true;
    for (const auto& [box, family] : m_types) {
        if (box->isChecked())
            families |= family;
        else
            all = false;
    }
    // Nothing ticked finds nothing; everything ticked is no narrowing.
    constexpr unsigned kNoFamily = 1u << 31;  // a bit no family has
    request.families = all ? 0 : (families == 0 ? kNoFamily : families);
    if (m_useFrom->isChecked())
        request.fromDay = dayOf(m_from->date());
    if (m_useTo->isChecked())
        request.toDay = dayOf(m_to->date());
    request.newMessagesOnly = m_newOnly->isChecked();
    request.newestFirst = m_order->currentIndex() == 1;
    return request;
}

void SearchDialog::changed()
{
    m_pause.start();
}

void SearchDialog::searchNow()
{
    m_pause.stop();
    start();
}

void SearchDialog::start()
{
    if (m_running) {
        m_again = true;
        return;
    }
    if (m_worker.joinable())
        m_worker.join();
    m_running = true;
    m_again = false;
    ++m_runs;
    const int generation = ++m_generation;
    m_count->setText(QStringLiteral("Searching..."));
    const RecordSearch search(m_app.TempDir);
    const SearchRequest wanted = request();
    m_worker = std::thread([this, search, wanted, generation] {
        SearchAnswer answer = search.run(wanted);
        // Delivered on the dialog's thread; the destructor joins this thread
        // first, and Qt drops events posted to a deleted object.
        QMetaObject::invokeMethod(
            this, [this, answer = std::move(answer), generation]() mutable { showAnswer(std::move(answer), generation); },
            Qt::QueuedConnection);
    });
}

void SearchDialog::finishPending()
{
    while (m_running || m_again) {
        if (m_worker.joinable())
            m_worker.join();
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
        if (!m_running && m_again)
            start();
    }
}

void SearchDialog::showAnswer(SearchAnswer answer, int generation)
{
    m_running = false;
    if (m_again) {
        start();
        return;
    }
    if (generation != m_generation)
        return;
    const int listType = answer.listType;
    m_model->setRows(std::move(answer.rows), listType);
    if (const recordlists::ListSpec* spec = recordlists::specFor(listType)) {
        const int columns = static_cast<int>(spec->columns.size());
        for (int column = 0; column < columns; ++column) {
            m_results->setColumnWidth(column, spec->columns[column].width);
            m_results->setColumnHidden(column, column >= columns - 2);
        }
    }
    QString text = answer.code != 0 ? QStringLiteral("The index could not be read (reason %1)").arg(answer.code)
                                    : QStringLiteral("%1 records found").arg(answer.total);
    if (answer.code == 0 && answer.total > static_cast<std::uint64_t>(m_model->rowCount()))
        text += QStringLiteral(", the first %1 shown").arg(m_model->rowCount());
    if (answer.unranked)
        text += QStringLiteral(" (too many to rank: newest first; add a word to narrow)");
    m_count->setText(text);
}

void SearchDialog::addSendAndExport(MailService* mail, ExportService* exporter)
{
    if (mail != nullptr)
        m_commands.add(ID_RECORD_SEND, [this, mail] {
            std::vector<std::string> names;
            const SearchLogRows& data = m_model->rows();
            for (const QModelIndex& row : m_results->selectionModel()->selectedRows())
                names.push_back(data.cell(static_cast<std::size_t>(row.row()), data.fileNameColumn()));
            if (!names.empty())
                mail->sendRecords(m_app, names, this);
        });
    if (exporter != nullptr)
        for (int kind : commandmenus::kRecordExports)
            m_commands.add(kind, [this, exporter, kind] {
                const std::vector<std::string> ids = selectedIds();
                if (!ids.empty())
                    exporter->exportRecords(m_app, kind, ids, this);
            });
}

std::vector<std::string> SearchDialog::selectedIds() const
{
    std::vector<std::string> ids;
    for (const QModelIndex& row : m_results->selectionModel()->selectedRows())
        ids.push_back(m_model->rows().recId(static_cast<std::size_t>(row.row())));
    return ids;
}

std::unique_ptr<QMenu> SearchDialog::recordMenu()
{
    const int selected = static_cast<int>(m_results->selectionModel()->selectedRows().size());
    if (selected == 0)
        return nullptr;
    return commandmenus::buildRecordMenu(this, m_commands,
                                         recordlists::contextMenuStates(m_model->listType(), selected, false));
}

void SearchDialog::playSelected()
{
    if (m_player == nullptr)
        return;
    // Prev and Next walk the results; the player starts on the current row
    // when it is selected, else on the first selected one.
    const SearchLogRows& data = m_model->rows();
    std::vector<std::string> recIds;
    for (std::size_t row = 0; row < data.size(); ++row)
        recIds.push_back(data.recId(row));
    QItemSelectionModel* selection = m_results->selectionModel();
    int index = m_results->currentIndex().row();
    if (index < 0 || !selection->isRowSelected(index, {})) {
        const QModelIndexList rows = selection->selectedRows();
        index = rows.isEmpty() ? -1 : rows.first().row();
    }
    if (index < 0 || index >= static_cast<int>(recIds.size()))
        return;
    // Playing can make messages heard, which changes what the results show.
    if (m_player->play(m_app, recIds, index, this) > 0)
        searchNow();
}

void SearchDialog::deleteSelected()
{
    const std::vector<std::string> ids = selectedIds();
    if (ids.empty() || m_store == nullptr)
        return;
    if (AfxMessageBox(recordlists::deleteQuestion(ids), MB_YESNO | MB_ICONQUESTION) != IDYES)
        return;
    if (m_store->deleteRecords(m_app, ids) > 0)
        AfxMessageBox("Failed to delete one or more messages", MB_ICONEXCLAMATION);
    else
        AfxMessageBox("Message(s) Deleted", MB_ICONINFORMATION);
    searchNow();
}

void SearchDialog::print()
{
    finishPending();
    const QString name = QStringLiteral("Search results");
    listprinting::preview(this, listprinting::describe(m_app, *m_model, *m_results, name));
}
