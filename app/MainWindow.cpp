#include "app/MainWindow.h"

#include <algorithm>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QListWidget>
#include <QMenuBar>
#include <QShortcut>
#include <QStandardPaths>
#include <QTextStream>
#include <QToolBar>
#include <QTreeView>
#include <QWhatsThis>
#include <set>

#include "maker/Ek7Srch/Ek7Srch.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "store/ComponentFiles.h"

#include "app/AboutDialog.h"
#include "app/DictationEditorDialog.h"
#include "app/HotKeysDialog.h"
#include "core/AppData.h"
#include "app/OptionsDialog.h"
#include "core/ProfileValues.h"
#include "app/ProfileStartup.h"
#include "app/RecordListModel.h"
#include "app/RecordLists.h"
#include "core/SettingsKeys.h"
#include "core/ShowCodedMessage.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "platform/gui/Shell.h"
#include "platform/Sleep.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"
#include "res/resource.h"
#include "ui_MainWindow.h"

namespace {

const char* const kLineInactive = "Line monitoring inactive";
const char* const kSavingStore = "Saving Navo Data Store.....Please wait";
const char* const kTitlePrefix = "Navo for user :";
constexpr int kWeightHeavy = 900;

// Commands whose work is in this build. Everything else on the menu and the
// tool bar stays greyed until its part arrives.
const std::set<int> kAvailableCommands = {ID_EXIT,          ID_OPTIONS,        ID_ABOUT_NAVO,   IDM_ABOUTBOX,
                                          ID_NEW_DATASTORE, ID_OPEN_DATASTORE, ID_RECORD_DELETE, ID_HELP_NAVO,
                                          ID_HELP_NAVOING,  ID_TB_NAVOING,     ID_NAVO_WEB,     ID_RECORD_EDIT,
                                          ID_HOT_KEYS,      ID_MODEM_SELECTION, ID_START_MONITORING,
                                          ID_STOP_MONITORING, ID_ANSWER_MACHINE_ON, ID_ANSWER_MACHINE_OFF,
                                          ID_RECORD_USE_AS_GREETING, ID_NEW_RECORDING, ID_TB_NEW_RECORDING,
                                          ID_RECORD_NEW_DICTATION};

// Private messages other threads and windows post to the main window.
constexpr UINT kDiaryMonitorStarted = WM_USER + 40;
constexpr UINT kDiaryMonitorFailed = WM_USER + 41;
constexpr UINT kDiaryRemindersDue = WM_USER + 42;
constexpr UINT kDiaryMonitorStopped = WM_USER + 43;
constexpr UINT kTemplateRecording = WM_USER + 30;
// Line messages of other parts that are not in this version.
constexpr UINT kOutgoingCallRecorder = WM_USER + 155;
constexpr UINT kListRoutine = WM_USER + 156;

// Record menu commands, in menu order, with their texts.
struct MenuItem {
    int id;
    const char* text;
};
const MenuItem kRecordMenu[] = {
    {ID_RECORD_EDIT, "Edit"},
    {ID_RECORD_DELETE, "Delete"},
    {ID_RECORD_PRINT, "Print"},
    {0, nullptr},
    {ID_RECORD_PLAY, "Play"},
    {ID_RECORD_PLAY_OVER_LINE, "Play over the phone line"},
    {ID_RECORD_SEND, "Send"},
    {0, nullptr},
    {ID_RECORD_REDIAL, "Redial"},
    {ID_RECORD_ADD_TO_PHONEBOOK, "Add to PhoneBook"},
    {0, nullptr},
    {ID_RECORD_NEW_DICTATION, "New Dictation"},
    {ID_RECORD_USE_AS_GREETING, "Use dictation as greeting"},
    {ID_RECORD_FROM_TEMPLATE, "Create new recording from template "},
    {0, nullptr},
    {ID_RECORD_EXPORT_NAVO, "Export as Navo recording"},
    {ID_RECORD_EXPORT_WAV, "Export as WAV"},
    {ID_RECORD_EXPORT_MP3, "Export as MP3"},
    {ID_RECORD_EXPORT_WMA, "Export as WMA"},
    {ID_RECORD_EXPORT_OGG, "Export as OGG"},
    {ID_RECORD_EXPORT_WMV, "Export as WMV"},
};

const char* const kLineStateIcons[] = {":/res/images/line-closed.png", ":/res/images/line-monitoring.png",
                                       ":/res/images/line-monitoring-new.png", ":/res/images/line-answering.png",
                                       ":/res/images/line-answering-new.png"};
constexpr int kPhoneItem = 4;
constexpr int kRepositoryItem = 7;

const QColor kChooserBackground(122, 153, 215);
const QColor kListText(10, 20, 200);

struct TypeItem {
    const char* name;
    const char* icon;
};
// The order of the record-type chooser; a click maps position to list type.
const TypeItem kRecordTypes[] = {
    {"Dictation", ":/res/images/type-dictation.png"}, {"Video", ":/res/images/type-video.png"},
    {"Meeting", ":/res/images/type-meeting.png"},     {"Translate", ":/res/images/type-translate.png"},
    {"Phone", ":/res/images/type-phone.png"},         {"Diary", ":/res/images/type-diary.png"},
};

}  // namespace

MainWindow::MainWindow(AppData& app, StartupServices services, std::string executablePath,
                       QWidget* parent)
    : QDialog(parent),
      m_app(app),
      m_services(services),
      m_executablePath(std::move(executablePath)),
      m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/res/images/navo.png")));
    setWindowFlags(Qt::Window | Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint);
    createMenu();

    m_model = new RecordListModel(this);
    QTreeView* list = m_ui->IDC_RECORD_LIST;
    list->setModel(m_model);
    list->setContextMenuPolicy(Qt::CustomContextMenu);
    list->header()->setSortIndicatorShown(true);
    connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this, &MainWindow::onSelectionChanged);
    connect(list, &QTreeView::doubleClicked, this, &MainWindow::onDoubleClicked);
    connect(list, &QWidget::customContextMenuRequested, this, [this] {
        if (std::unique_ptr<QMenu> menu = recordMenu())
            menu->exec(QCursor::pos());
    });
    connect(m_ui->IDC_RECORD_TYPES, &QListWidget::itemClicked, this, &MainWindow::onChooserClicked);
    // Delete on the list runs the record menu's delete, question and all.
    auto* remove = new QShortcut(QKeySequence(QKeySequence::Delete), list);
    remove->setContext(Qt::WidgetShortcut);
    connect(remove, &QShortcut::activated, this, &MainWindow::deleteSelectedRecords);
    auto* help = new QShortcut(QKeySequence(Qt::Key_F1), this);
    connect(help, &QShortcut::activated, this, &MainWindow::showControlHelp);
    assignControlNumbers(this);
}

MainWindow::~MainWindow() = default;

HWND MainWindow::handle()
{
    return handleOf(this);
}

int MainWindow::DoModal()
{
    OnInitDialog();
    // A failed start-up or a stop: the window is never shown.
    if (m_stopRequested) {
        OnClose();
        return IDCANCEL;
    }
    return exec();
}

void MainWindow::requestStop()
{
    m_stopRequested = true;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget != this && widget->isVisible() && widget->isModal())
            widget->close();
    if (isVisible())
        PostMessage(handle(), WM_CLOSE, 0, 0);
}

void MainWindow::closeAfterStartup()
{
    // Later steps ask nothing more: a question would run a nested event
    // loop that delivers the close while the window is still hidden.
    m_stopRequested = true;
    PostMessage(handle(), WM_CLOSE, 0, 0);
}

BOOL MainWindow::OnInitDialog()
{
    ProfileStartup startup(m_app, *m_services.line);

    // 1. The About item. There is no window-manager system menu to extend
    // here, so it goes on the window's own right-click menu.
    const std::string about = LoadString(101);
    if (!about.empty()) {
        auto* separator = new QAction(this);
        separator->setSeparator(true);
        auto* item = new QAction(fromAnsi(about), this);
        item->setObjectName(QString::number(IDM_ABOUTBOX));
        connect(item, &QAction::triggered, this, [this] { runCommand(IDM_ABOUTBOX); });
        addAction(separator);
        addAction(item);
        setContextMenuPolicy(Qt::ActionsContextMenu);
        m_actions[IDM_ABOUTBOX] = item;
    }

    // 2.
    m_services.line->initVar(m_app);
    m_app.StoreUnusable = kStoreHealthy;
    m_app.MainWindowAlive = 1;

    // 3.
    createToolBar();
    m_ui->IDC_RECORD_LIST->setToolTip(LoadStringQ(847));

    // 4.
    const int workspace = m_services.store->workspace(m_app, 1, "*.*");
    if (workspace > 0) {
        ShowCodedMessage(workspace, MB_ICONSTOP);
        closeAfterStartup();
    }

    // 5.
    m_headingFont = m_ui->IDC_HEADING->font();
    m_headingFont.setWeight(QFont::Weight(kWeightHeavy));
    m_headingFont.setPointSizeF(m_headingFont.pointSizeF() * 1.4);
    m_ui->IDC_HEADING->setFont(m_headingFont);

    // 6.
    std::string title = kTitlePrefix;

    // 7. The record list: full rows, white behind, the quality-0 blue text.
    QPalette listPalette = m_ui->IDC_RECORD_LIST->palette();
    listPalette.setColor(QPalette::Base, Qt::white);
    listPalette.setColor(QPalette::Text, kListText);
    m_ui->IDC_RECORD_LIST->setPalette(listPalette);

    // 8.
    setStatusText(QString::fromLatin1(kLineInactive));
    m_ui->IDC_HEADING->setText(QStringLiteral("Navo"));
    m_app.CurrentListType = kListNone;

    // 9.-11.
    startup.locate(m_executablePath);
    startup.readDefaultInternet();
    startup.chooseSection();

    // 12.
    title += m_app.ProfileSection;
    setWindowTitle(fromAnsi(title));

    // 13.
    if (!startup.prepareProfileDir())
        OutputDebugString("Could not create the profile folder " + m_app.ProfileDir + "\n");

    // 14.
    if (startup.loadProfile(this, !m_stopRequested)) {
        const int built = m_services.store->buildStore(m_app.ProfileDir, m_app.DataStoreName, m_app.TempDir);
        if (built > 0) {
            ShowCodedMessage(built, MB_ICONSTOP);
            m_app.StartupFailed = 1;
            closeAfterStartup();
        }
    }

    // 15.
    const int opened = m_services.store->openLastStore(m_app);
    if (opened == 105) {
        // Stopping (before or during the question): no store is chosen.
        const int answer = m_stopRequested ? IDCANCEL : ShowCodedMessage(105, MB_YESNO | MB_ICONQUESTION);
        if (m_stopRequested)
            m_app.StoreUnusable = kStoreCancelled;
        else if (answer == IDYES)
            m_services.store->openStoreCommand(m_app, this);
        else
            m_services.store->newStoreCommand(m_app, this);
        if (m_app.StoreUnusable != kStoreHealthy) {
            m_app.StartupFailed = 1;
            closeAfterStartup();
        }
    } else if (opened == 0) {
        setStatusText(m_ui->IDC_STATUS_TEXT->text() + QStringLiteral(" : Using Navo File :") +
                      QString::fromLocal8Bit(m_app.DataStorePath.c_str()));
    } else if (opened > 0) {
        // The store is there but cannot be read: its message says the
        // program closes, and it does, without saving over it.
        ShowCodedMessage(opened, MB_ICONSTOP);
        m_app.StartupFailed = 1;
        closeAfterStartup();
    }

    // 16.
    applyMenuStartStates();

    // 17.-18.
    startup.readRings();
    startup.readExpPrompt();

    // 19.
    if (startup.readDiarySetting() && !m_app.StartupFailed && !m_stopRequested) {
        const int diary = m_services.diary->check(m_app);
        if (diary > 0) {
            ShowCodedMessage(diary, MB_ICONEXCLAMATION);
        } else if (diary == 0) {
            m_app.DiaryMonitorRunning = 1;
            m_services.diary->start(m_app, handle());
        }
    }

    // 20.
    startup.readCompressAndQuality();

    // 21.
    buildRecordTypeList();
    showLineState();

    // 22.
    raise();
    activateWindow();

    // 23.
    switch (m_stopRequested ? ProfileStartup::AutoMessage::Neither : startup.readAutoMessage()) {
    case ProfileStartup::AutoMessage::On:
        applyAnswerMachineSwitch(m_services.answerMachine->switchOn(m_app, this));
        showLineState();
        fillList(kListDictation);
        break;
    case ProfileStartup::AutoMessage::Off:
        applyAnswerMachineSwitch(m_services.answerMachine->switchOff(m_app));
        fillList(kListDictation);
        break;
    case ProfileStartup::AutoMessage::Neither:
        break;
    }

    // 24.
    m_clientSize = size();

    // 25.
    if (!m_stopRequested)
        checkStoreCompression();

    m_initialised = true;
    return TRUE;
}

void MainWindow::checkStoreCompression()
{
    std::uint64_t size = 0;
    std::uint64_t reclaimable = 0;
    if (m_services.store->storeInfo(m_app.DataStorePath, size, reclaimable) != 0)
        return;
    if (!ProfileStartup::needsCompression(size, reclaimable))
        return;
    if (ShowCodedMessage(24, MB_YESNO | MB_ICONQUESTION) == IDYES)
        m_services.compression->runDialog(m_app, this);
}

void MainWindow::OnClose()
{
    if (m_closed)
        return;
    m_closed = true;

    m_app.MainWindowAlive = 0;                                 // 1.
    QApplication::setOverrideCursor(Qt::WaitCursor);           // 2.
    m_app.DiaryMonitorRunning = 0;                             // 3.
    for (QPointer<QWidget>& window : m_modeless)               // 4.
        delete window.data();
    m_modeless.clear();
    // A message still being left is filed before the line is closed under
    // it, so that it goes into the store saved below.
    if (const LineState* line = m_app.lineState;
        line != nullptr && line->AnswerMachineOn != 0 && line->CallState == 1 && line->Connected != 0)
        m_services.answerMachine->callEnded(m_app);
    m_services.line->close(m_app);                             // 5.

    setStatusText(QString::fromLatin1(kSavingStore));          // 6.
    m_ui->IDC_STATUS_TEXT->repaint();
    if (isVisible() && !m_stopRequested)  // nobody would see it
        Sleep(1000);

    if (m_app.StoreUnusable == kStoreHealthy) {                // 7.
        const int saved = m_services.store->save(m_app);
        if (saved > 0)
            ShowCodedMessage(saved, MB_ICONEXCLAMATION);
    }
    m_services.store->deleteWorkingCopies(m_app);              // 8.
    m_headingFont = QFont();
    m_services.store->workspace(m_app, 2, "*.*");              // 9.
    // 10. Help pages open in the user's browser; there is no help window
    // of ours left to close.
    // 11. The record list's rows own no data of their own.
    QApplication::restoreOverrideCursor();                     // 12.
    OutputDebugString("Navo closed\n");
    done(IDCANCEL);
}

bool MainWindow::event(QEvent* event)
{
    if (event->type() == WindowMessageEvent::eventType()) {
        const auto* message = static_cast<WindowMessageEvent*>(event);
        handleWindowMessage(message->message(), message->wParam(), message->lParam());
        return true;
    }
    return QDialog::event(event);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    OnClose();
    event->accept();
}

void MainWindow::reject()
{
    // Escape must not end the program behind shutdown's back.
    close();
}

void MainWindow::adoptModeless(QWidget* window)
{
    m_modeless.emplace_back(window);
}

void MainWindow::setStatusText(const QString& text)
{
    m_ui->IDC_STATUS_TEXT->setText(text);
}

void MainWindow::fillList(int listType)
{
    const recordlists::ListSpec* spec = recordlists::specFor(listType);
    if (!spec)
        return;
    setCommandEnabled(ID_TB_PLAY, false);
    setCommandEnabled(ID_TB_SEND, false);
    const bool canRecord = hasRecorder(listType);
    setCommandEnabled(ID_TB_NEW_RECORDING, canRecord);
    setCommandEnabled(ID_NEW_RECORDING, canRecord);
    m_ui->IDC_PROGRESS_TEXT->setText(QString::fromLatin1(spec->searchingText));
    m_ui->IDC_HEADING->setText(QString::fromLatin1(spec->heading));
    m_model->clear();

    m_app.CurrentListType = listType;
    SearchLogRows rows;
    const std::string family = components::workspacePath(m_app.TempDir, spec->familyFile);
    const int found = m_app.TempDir.empty() ? 0 : SearchLog(family.c_str(), spec->searchType, &rows);
    m_model->setRows(std::move(rows), listType);

    QTreeView* list = m_ui->IDC_RECORD_LIST;
    const int columns = static_cast<int>(spec->columns.size());
    // The widths suit the classic 8-point dialog font, whose digits are 6
    // pixels wide; a larger font widens every column alike so an ID still fits.
    const double scale = std::max(1.0, list->fontMetrics().horizontalAdvance(QLatin1Char('0')) / 6.0);
    for (int column = 0; column < columns; ++column) {
        list->setColumnWidth(column, qRound(spec->columns[column].width * scale));
        list->setColumnHidden(column, column >= columns - 2);
    }
    list->header()->setSortIndicator(0, Qt::DescendingOrder);

    int newMessages = 0;
    if (listType == kListPhone) {
        newMessages = m_model->newMessageCount();
        m_services.line->setMessagesWaiting(newMessages);
        showLineState();
    }
    m_ui->IDC_PROGRESS_TEXT->setText(QString::fromStdString(recordlists::countText(listType, found, newMessages)));
    onSelectionChanged();
}

void MainWindow::showLineState()
{
    QListWidgetItem* phone = m_ui->IDC_RECORD_TYPES->item(kPhoneItem);
    if (!phone)
        return;
    // The count the last Phone list fill (or call) left in the line state.
    int newMessages = m_app.CurrentListType == kListPhone ? m_model->newMessageCount() : 0;
    if (m_app.lineState != nullptr)
        newMessages = m_app.lineState->MessagesWaiting;
    const auto state = recordlists::lineState(m_services.line->monitoring(), m_services.line->answerMachineOn(),
                                              newMessages);
    // Made once: a new icon for every call would leave its pixmap in Qt's
    // pixmap cache, and the cache grows call after call up to its limit.
    if (m_lineStateIcons.empty())
        for (const char* file : kLineStateIcons)
            m_lineStateIcons.emplace_back(QString::fromLatin1(file));
    phone->setIcon(m_lineStateIcons.at(static_cast<std::size_t>(state)));
}

void MainWindow::onChooserClicked(QListWidgetItem* item)
{
    QListWidget* chooser = m_ui->IDC_RECORD_TYPES;
    if (!item || chooser->currentItem() != item || !item->isSelected())
        return;
    const int position = chooser->row(item);
    if (position == kRepositoryItem) {
        openInternetRepository();
        return;
    }
    const int listType = recordlists::listTypeAtChooserPosition(position);
    if (listType != kListNone)
        fillList(listType);
}

void MainWindow::onSelectionChanged()
{
    const QModelIndexList rows = m_ui->IDC_RECORD_LIST->selectionModel()->selectedRows();
    m_selectedCount = static_cast<int>(rows.size());
    m_selectedId.clear();
    m_selectedFile.clear();
    const SearchLogRows& data = m_model->rows();
    for (const QModelIndex& row : rows) {
        m_selectedId = data.recId(static_cast<std::size_t>(row.row()));
        m_selectedFile = data.cell(static_cast<std::size_t>(row.row()), data.fileNameColumn());
    }
    const QModelIndex focused = m_ui->IDC_RECORD_LIST->currentIndex();
    m_focusedRow = focused.isValid() ? focused.row() : -1;
    setCommandEnabled(ID_TB_PLAY, m_selectedCount > 0);
    setCommandEnabled(ID_TB_SEND, m_selectedCount > 0);
}

void MainWindow::onDoubleClicked(const QModelIndex& index)
{
    QItemSelectionModel* selection = m_ui->IDC_RECORD_LIST->selectionModel();
    if (!index.isValid() || index.row() != m_ui->IDC_RECORD_LIST->currentIndex().row() ||
        !selection->isRowSelected(index.row(), {}))
        return;
    setCommandEnabled(ID_TB_PLAY, true);
    setCommandEnabled(ID_TB_SEND, true);
    runCommand(ID_RECORD_PLAY);
}

std::vector<std::string> MainWindow::selectedIds() const
{
    std::vector<std::string> ids;
    const SearchLogRows& data = m_model->rows();
    for (const QModelIndex& row : m_ui->IDC_RECORD_LIST->selectionModel()->selectedRows())
        ids.push_back(data.recId(static_cast<std::size_t>(row.row())));
    return ids;
}

std::unique_ptr<QMenu> MainWindow::recordMenu()
{
    if (m_selectedId.empty() && m_selectedCount == 0)
        return nullptr;
    const std::map<int, bool> states = recordlists::contextMenuStates(
        m_app.CurrentListType, m_selectedCount, m_services.line->callWaitingForUser());
    auto menu = std::make_unique<QMenu>(this);
    menu->setObjectName(QString::number(IDR_RECORD_MENU));
    for (const MenuItem& item : kRecordMenu) {
        if (!item.text) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(QString::fromLatin1(item.text));
        action->setObjectName(QString::number(item.id));
        const auto state = states.find(item.id);
        // Of the editors, only the dictation's is in this build.
        const bool available = kAvailableCommands.count(item.id) != 0 &&
                               (item.id != ID_RECORD_EDIT || m_app.CurrentListType == kListDictation) &&
                               (item.id != ID_RECORD_NEW_DICTATION || hasRecorder(kListDictation));
        action->setEnabled(state != states.end() && state->second && available);
        action->setData(state != states.end() && state->second);
        connect(action, &QAction::triggered, this, [this, id = item.id] { runCommand(id); });
    }
    return menu;
}

bool MainWindow::hasRecorder(int listType) const
{
    return m_services.recorder && m_services.recorder->hasRecorder(listType);
}

void MainWindow::newRecording(int listType)
{
    if (!hasRecorder(listType))
        return;
    const bool prime = ProfileValues(m_app).yesNo(settings::kPrime);
    m_services.recorder->record(m_app, listType, this, prime);
    // Recorders are modal: the list of that type is rebuilt when one closes.
    fillList(listType);
}

void MainWindow::editSelectedRecord()
{
    // Only dictations have an editor in this build.
    if (m_selectedId.empty() || m_app.CurrentListType != kListDictation)
        return;
    DictationEditorDialog editor(m_app, m_selectedId, this);
    if (editor.loadResult() == 0 || editor.loadResult() == RecordEditor::kLocked)
        editor.exec();
    fillList(m_app.CurrentListType);
}

void MainWindow::deleteSelectedRecords()
{
    const std::vector<std::string> ids = selectedIds();
    if (ids.empty())
        return;
    if (AfxMessageBox(recordlists::deleteQuestion(ids), MB_YESNO | MB_ICONQUESTION) != IDYES)
        return;
    const int failed = m_services.store->deleteRecords(m_app, ids);
    if (failed > 0)
        AfxMessageBox("Failed to delete one or more messages", MB_ICONEXCLAMATION);
    else
        AfxMessageBox("Message(s) Deleted", MB_ICONINFORMATION);
    fillList(m_app.CurrentListType);
}

bool MainWindow::openHelpPage(const std::string& page)
{
    // The pages are built into the program; the browser gets a copy in the
    // user's cache folder.
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/help");
    QDir().mkpath(folder);
    for (const QString& name : QDir(QStringLiteral(":/res/help")).entryList(QDir::Files)) {
        const QString target = folder + QLatin1Char('/') + name;
        QFile::remove(target);
        QFile::copy(QStringLiteral(":/res/help/") + name, target);
        QFile::setPermissions(target, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }
    const QString path = folder + QLatin1Char('/') + QString::fromStdString(page);
    return QFile::exists(path) && ShellExecuteOpen(QFile::encodeName(path).toStdString()) > 32;
}

void MainWindow::openInternetRepository()
{
    setCommandEnabled(ID_TB_PLAY, false);
    setCommandEnabled(ID_TB_SEND, false);
    std::string target = ProfileValues(m_app).internet();
    // AppDir already ends in the separator; the page name brings its own.
    if (ProfileSettings::isMissing(target))
        target = m_app.AppDir + "/test.htm";
    if (ShellExecuteOpen(target) <= 32)
        AfxMessageBox("Internet Repository unavailable", MB_ICONEXCLAMATION);
}

void MainWindow::openWebSite()
{
    if (ShellExecuteOpen(LoadString(790)) <= 32)
        ShowCodedMessage(22, MB_ICONINFORMATION);
}

void MainWindow::showControlHelp()
{
    // Pop-up help for the four controls that have it, from the help texts.
    static const std::map<int, int> kTexts = {{IDC_RECORD_TYPES, 100}, {IDC_RECORD_LIST, 101},
                                              {IDC_PROGRESS_TEXT, 102}, {IDC_STATUS_TEXT, 103}};
    QWidget* widget = QApplication::widgetAt(QCursor::pos());
    if (!widget || !isAncestorOf(widget))
        widget = focusWidget();
    while (widget && widget != this && !kTexts.count(widget->objectName().toInt()))
        widget = widget->parentWidget();
    if (!widget || widget == this)
        return;
    QFile file(QStringLiteral(":/res/help/navohelp.txt"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    const QString key = QString::number(kTexts.at(widget->objectName().toInt())) + QLatin1Char('=');
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QString line = in.readLine();
        if (line.startsWith(key)) {
            QWhatsThis::showText(widget->mapToGlobal(widget->rect().center()), line.mid(key.size()), widget);
            return;
        }
    }
}

void MainWindow::handleWindowMessage(UINT message, WPARAM wParam, LPARAM)
{
    switch (message) {
    case WM_CLOSE:
        // Delivered inside a start-up question: DoModal closes afterwards.
        if (m_initialised)
            close();
        else
            m_stopRequested = true;
        break;
    case kDiaryMonitorStarted:
        if (QAction* action = commandAction(ID_DIARY_MONITOR))
            action->setChecked(true);
        break;
    case kDiaryMonitorStopped:
        if (QAction* action = commandAction(ID_DIARY_MONITOR))
            action->setChecked(false);
        break;
    case kDiaryMonitorFailed:
        ShowCodedMessage(static_cast<int>(wParam), MB_ICONEXCLAMATION);
        m_app.DiaryMonitorRunning = 0;
        break;
    case kDiaryRemindersDue:
        OutputDebugString("Diary reminders are due, but reminders are not in this build\n");
        break;
    case kTemplateRecording:
        OutputDebugString("Recording from a template is not in this build\n");
        break;
    default:
        handleLineMessage(message);
        break;
    }
}

bool MainWindow::handleLineMessage(UINT message)
{
    const LineState* line = m_app.lineState;
    switch (message) {
    case kEk7MsgOffered:
        onIncomingCall();
        return true;
    case kEk7MsgCallerId:
        onCallerIdentity();
        return true;
    case kEk7MsgAnswerNow:
        if (line != nullptr && line->CallState == 1 && line->CallHandle != 0)
            m_services.answerMachine->answerCall(m_app);
        return true;
    case kEk7MsgConnected:
        // The phone recorder, which a call the machine does not have would
        // be handed to here, is not in this version.
        m_services.answerMachine->callConnected(m_app);
        showLineState();
        return true;
    case kEk7MsgDisconnected:
        onCallEnded();
        return true;
    case kOutgoingCallRecorder:
        OutputDebugString("The phone recorder is not in this build\n");
        return true;
    case kListRoutine:
        return true;
    default:
        // +105 (a ring), +108 (busy) and the dialling, playing and idle
        // messages need nothing from the main window.
        return false;
    }
}

void MainWindow::onIncomingCall()
{
    const LineState* line = m_app.lineState;
    if (line != nullptr && line->AnswerMachineOn == 0 && line->CallState == 1) {
        const LineService::IncomingChoice choice = m_services.line->runIncomingCall(this);
        const bool picked = choice == LineService::IncomingChoice::PickedUp;
        // A caller who has already gone leaves no call for anyone to take.
        if (choice != LineService::IncomingChoice::CallerHungUp)
            m_services.answerMachine->forThisCall(m_app, !picked);
        if (picked)
            OutputDebugString("Call picked up, but the phone recorder is not in this build\n");
    }
    showLineState();
}

void MainWindow::onCallerIdentity()
{
    if (const LineState* line = m_app.lineState) {
        OutputDebugString(line->CallerNumber);
        OutputDebugString("\n");
        OutputDebugString(line->CallerName);
        OutputDebugString("\n");
    }
    m_services.line->forwardCallerId();
}

void MainWindow::onCallEnded()
{
    // The phone recorder is not in this version, so the steps that would
    // tell it the call has ended have no one to tell.
    m_services.line->callEnded();
    const LineState* line = m_app.lineState;
    if (line != nullptr && line->AnswerMachineOn != 0)
        m_services.answerMachine->callEnded(m_app);
    afterCallUpdate();
}

void MainWindow::afterCallUpdate()
{
    if (m_app.CurrentListType == kListPhone) {
        fillList(kListPhone);
    } else if (const recordlists::ListSpec* spec = recordlists::specFor(kListPhone); spec && !m_app.TempDir.empty()) {
        // Not shown: counted as the Phone list would count them, so the
        // line-state picture tells of a new message at once.
        SearchLogRows rows;
        const std::string family = components::workspacePath(m_app.TempDir, spec->familyFile);
        SearchLog(family.c_str(), spec->searchType, &rows);
        int newMessages = 0;
        for (std::size_t row = 0; row < rows.size(); ++row)
            if (rows.image(row) == SearchLogRows::kNewMessageImage)
                ++newMessages;
        m_services.line->setMessagesWaiting(newMessages);
    }
    showLineState();
}

void MainWindow::showLineStatus()
{
    setStatusText(QString::fromStdString(m_services.line->statusText()) + QStringLiteral(" : Using Navo File : ") +
                  QString::fromLocal8Bit(m_app.DataStorePath.c_str()));
    showLineState();
}

void MainWindow::setCommandChecked(int id, bool checked)
{
    m_checked[id] = checked;
    if (QAction* action = commandAction(id))
        action->setChecked(checked);
}

void MainWindow::applyMonitoringMenus()
{
    if (m_services.line->monitoring()) {
        setCommandEnabled(ID_START_MONITORING, false);
        setCommandEnabled(ID_STOP_MONITORING, true);
    } else if (!m_services.line->deviceChosen()) {
        // The modem could not be opened: nothing works until one is chosen.
        setCommandEnabled(ID_START_MONITORING, false);
        setCommandEnabled(ID_STOP_MONITORING, false);
        setCommandChecked(ID_ANSWER_MACHINE_ON, false);
        setCommandEnabled(ID_ANSWER_MACHINE_ON, false);
    } else {
        setCommandEnabled(ID_START_MONITORING, true);
        setCommandEnabled(ID_STOP_MONITORING, false);
    }
}

void MainWindow::modemSelectionCommand()
{
    const bool chosen = m_services.line->modemSelectionCommand(this);
    applyMonitoringMenus();
    if (chosen) {
        setCommandEnabled(ID_START_MONITORING, true);
        setCommandChecked(ID_ANSWER_MACHINE_ON, false);
        setCommandEnabled(ID_ANSWER_MACHINE_ON, true);
        setCommandChecked(ID_ANSWER_MACHINE_OFF, true);
    }
    showLineStatus();
}

void MainWindow::startMonitoringCommand()
{
    if (m_services.line->startMonitoring(this) == LineService::StartResult::NoDevice)
        return;
    applyMonitoringMenus();
    showLineStatus();
}

void MainWindow::stopMonitoringCommand()
{
    m_services.line->stopMonitoring();
    applyMonitoringMenus();
    showLineStatus();
}

void MainWindow::applyAnswerMachineSwitch(AnswerMachineService::Switch result)
{
    using Switch = AnswerMachineService::Switch;
    switch (result) {
    case Switch::NotAvailable:
    case Switch::Refused:
        return;
    case Switch::NoDevice:
        setCommandChecked(ID_ANSWER_MACHINE_OFF, false);
        setCommandEnabled(ID_ANSWER_MACHINE_OFF, false);
        return;
    case Switch::On:
        applyMonitoringMenus();
        setCommandChecked(ID_ANSWER_MACHINE_ON, true);
        setCommandEnabled(ID_ANSWER_MACHINE_ON, false);
        setCommandChecked(ID_ANSWER_MACHINE_OFF, false);
        setCommandEnabled(ID_ANSWER_MACHINE_OFF, true);
        showLineStatus();
        return;
    case Switch::Failed:
        applyMonitoringMenus();
        setCommandChecked(ID_ANSWER_MACHINE_OFF, true);
        setCommandEnabled(ID_ANSWER_MACHINE_OFF, false);
        showLineStatus();
        return;
    case Switch::Off:
        setCommandChecked(ID_ANSWER_MACHINE_ON, false);
        setCommandEnabled(ID_ANSWER_MACHINE_ON, true);
        setCommandChecked(ID_ANSWER_MACHINE_OFF, true);
        setCommandEnabled(ID_ANSWER_MACHINE_OFF, false);
        showLineState();
        return;
    }
}

void MainWindow::useDictationAsGreeting()
{
    if (m_app.CurrentListType != kListDictation || m_selectedCount != 1 || m_selectedFile.empty())
        return;
    m_services.answerMachine->useDictationAsGreeting(m_app, m_selectedFile);
}

void MainWindow::buildRecordTypeList()
{
    QListWidget* chooser = m_ui->IDC_RECORD_TYPES;
    QPalette palette = chooser->palette();
    palette.setColor(QPalette::Base, kChooserBackground);
    palette.setColor(QPalette::Window, kChooserBackground);
    palette.setColor(QPalette::Text, Qt::white);
    chooser->setPalette(palette);
    chooser->setAutoFillBackground(true);
    chooser->setGridSize(QSize(100, 80));
    chooser->clear();
    for (const TypeItem& type : kRecordTypes) {
        auto* item = new QListWidgetItem(QIcon(QString::fromLatin1(type.icon)),
                                         QString::fromLatin1(type.name), chooser);
        item->setForeground(Qt::white);
        item->setTextAlignment(Qt::AlignHCenter | Qt::AlignTop);
        // The whole grid cell answers a click, not just the picture and name.
        item->setSizeHint(QSize(100, 80));
    }
}

void MainWindow::createToolBar()
{
    if (m_toolBar)
        return;
    m_toolBar = new QToolBar(this);
    m_toolBar->setObjectName(QString::number(IDR_TOOLBAR));
    m_toolBar->setIconSize(QSize(24, 24));
    struct Button {
        int id;
        const char* icon;
        QString tip;
    };
    const Button buttons[] = {
        {ID_TB_NEW_RECORDING, ":/res/images/tb-new.png", LoadStringQ(721)},
        {ID_TB_PLAY, ":/res/images/tb-play.png", tr("Play the selected recording")},
        {ID_TB_SEND, ":/res/images/tb-send.png", tr("E-mail the selected recording")},
        {ID_TB_SEARCH, ":/res/images/tb-search.png", tr("Search for recordings")},
        {ID_TB_NAVOING, ":/res/images/tb-navoing.png", QStringLiteral("Navoing!")},
    };
    for (const Button& button : buttons) {
        QAction* action = m_toolBar->addAction(QIcon(QString::fromLatin1(button.icon)), button.tip);
        action->setObjectName(QString::number(button.id));
        action->setToolTip(button.tip);
        connect(action, &QAction::triggered, this, [this, id = button.id] { runCommand(id); });
        m_actions[button.id] = action;
        setCommandEnabled(button.id, true);
    }
    static_cast<QBoxLayout*>(layout())->insertWidget(0, m_toolBar);
}

void MainWindow::addCommand(QMenu* menu, int id, const char* text)
{
    QAction* action = menu->addAction(QString::fromLatin1(text));
    action->setObjectName(QString::number(id));
    connect(action, &QAction::triggered, this, [this, id] { runCommand(id); });
    m_actions[id] = action;
    setCommandEnabled(id, true);
}

void MainWindow::createMenu()
{
    m_menuBar = new QMenuBar(this);
    m_menuBar->setObjectName(QString::number(IDR_MAIN_MENU));
    layout()->setMenuBar(m_menuBar);

    QMenu* file = m_menuBar->addMenu(tr("&File"));
    addCommand(file, ID_NEW_RECORDING, "&New Recording or Translation");
    file->addSeparator();
    addCommand(file, ID_NEW_DATASTORE, "New &Navo Datastore");
    addCommand(file, ID_OPEN_DATASTORE, "&Open Navo Datastore");
    file->addSeparator();
    QMenu* import = file->addMenu(tr("&Import"));
    addCommand(import, ID_IMPORT_DATASTORE, "Navo &Data Store...");
    addCommand(import, ID_IMPORT_MESSAGE_FILE, "Navo &Message File...");
    addCommand(import, ID_IMPORT_VIDEO_FILE, "Navo &Video File...");
    import->addSeparator();
    addCommand(import, ID_IMPORT_WAV, "&WAV File...");
    addCommand(import, ID_IMPORT_MP3, "M&P3 File...");
    addCommand(import, ID_IMPORT_WMA, "WM&A File...");
    addCommand(import, ID_IMPORT_OGG, "&OGG File...");
    addCommand(import, ID_IMPORT_WMV, "WM&V File...");
    import->addSeparator();
    addCommand(import, ID_IMPORT_PHONE_BOOK_STORE, "Phone Book from a Data Store...");
    addCommand(import, ID_IMPORT_PHONE_BOOK_FILE, "Phone Book from an Exported File...");
    addCommand(import, ID_IMPORT_TEMPLATES_STORE, "Templates from a Data Store...");
    addCommand(import, ID_IMPORT_TEMPLATES_FILE, "Templates from an Exported File...");
    addCommand(import, ID_IMPORT_AGENDAS_STORE, "Meeting Agendas from a Data Store...");
    addCommand(import, ID_IMPORT_AGENDAS_FILE, "Meeting Agendas from an Exported File...");
    QMenu* exportMenu = file->addMenu(tr("E&xport"));
    addCommand(exportMenu, ID_EXPORT_PHONE_BOOK, "&Phone Book...");
    addCommand(exportMenu, ID_EXPORT_TEMPLATES, "&Templates...");
    addCommand(exportMenu, ID_EXPORT_AGENDAS, "Meeting &Agendas...");
    file->addSeparator();
    addCommand(file, ID_EXIT, "&Exit");

    QMenu* phone = m_menuBar->addMenu(tr("&Phone"));
    addCommand(phone, ID_MODEM_SELECTION, "&Modem Selection");
    addCommand(phone, ID_START_MONITORING, "&Start Monitoring Phone Line");
    addCommand(phone, ID_STOP_MONITORING, "S&top Monitoring Phone Line");
    phone->addSeparator();
    addCommand(phone, ID_ANSWER_MACHINE_ON, "&Answer Machine On");
    addCommand(phone, ID_ANSWER_MACHINE_OFF, "A&nswer Machine Off");
    m_actions[ID_ANSWER_MACHINE_ON]->setCheckable(true);
    m_actions[ID_ANSWER_MACHINE_OFF]->setCheckable(true);
    phone->addSeparator();
    addCommand(phone, ID_PHONE_BOOK, "&Phone Book...");

    QMenu* tools = m_menuBar->addMenu(tr("&Tools"));
    addCommand(tools, ID_OPTIONS, "&Options...");
    addCommand(tools, ID_HOT_KEYS, "&Hot Keys...");
    tools->addSeparator();
    addCommand(tools, ID_TEMPLATES, "&Templates...");
    addCommand(tools, ID_AGENDAS, "&Meeting Agendas...");
    addCommand(tools, ID_OFFLINE_MEETING, "Offline Meeting");
    addCommand(tools, ID_TEXT_TO_SPEECH, "Text to &speech");
    tools->addSeparator();
    addCommand(tools, ID_COMPRESS_DATASTORE, "&Compress the Data Store");
    addCommand(tools, ID_DIARY_MONITOR, "&Diary Monitor");
    m_actions[ID_DIARY_MONITOR]->setCheckable(true);

    QMenu* help = m_menuBar->addMenu(tr("&Help"));
    addCommand(help, ID_HELP_NAVO, "Navo &Help");
    addCommand(help, ID_HELP_NAVOING, "Navoing!");
    addCommand(help, ID_NAVO_WEB, "Navo on the &Web");
    // The internet repository has no command number of its own.
    QAction* repository = help->addAction(tr("Internet &Repository"));
    repository->setObjectName(QStringLiteral("internetRepository"));
    connect(repository, &QAction::triggered, this, &MainWindow::openInternetRepository);
    help->addSeparator();
    addCommand(help, ID_ABOUT_NAVO, "&About Navo");
}

QAction* MainWindow::commandAction(int id) const
{
    const auto found = m_actions.find(id);
    return found == m_actions.end() ? nullptr : found->second;
}

void MainWindow::setCommandEnabled(int id, bool enabled)
{
    m_requested[id] = enabled;
    if (QAction* action = commandAction(id))
        action->setEnabled(enabled && kAvailableCommands.count(id) != 0);
}

bool MainWindow::commandRequested(int id) const
{
    const auto found = m_requested.find(id);
    return found != m_requested.end() && found->second;
}

void MainWindow::applyMenuStartStates()
{
    setCommandEnabled(ID_STOP_MONITORING, false);
    const bool chosen = m_services.line->deviceChosen();
    setCommandEnabled(ID_ANSWER_MACHINE_ON, chosen);
    setCommandEnabled(ID_START_MONITORING, chosen);
}

void MainWindow::runCommand(int id)
{
    const QAction* action = commandAction(id);
    if (action && !action->isEnabled())
        return;
    switch (id) {
    case ID_EXIT:
        close();
        break;
    case ID_OPTIONS:
        openOptions();
        break;
    case ID_ABOUT_NAVO:
    case IDM_ABOUTBOX:
        openAbout();
        break;
    case ID_RECORD_DELETE:
        deleteSelectedRecords();
        break;
    case ID_RECORD_EDIT:
        editSelectedRecord();
        break;
    case ID_NEW_RECORDING:
    case ID_TB_NEW_RECORDING:
        newRecording(m_app.CurrentListType);
        break;
    case ID_RECORD_NEW_DICTATION:
        newRecording(kListDictation);
        break;
    case ID_HOT_KEYS: {
        HotKeysDialog dialog(this);
        dialog.exec();
        break;
    }
    case ID_HELP_NAVO:
        openHelpPage("166.htm");
        break;
    case ID_HELP_NAVOING:
    case ID_TB_NAVOING:
        openHelpPage("900.htm");
        break;
    case ID_NAVO_WEB:
        openWebSite();
        break;
    case ID_NEW_DATASTORE:
        m_services.store->newStoreCommand(m_app, this);
        afterStoreCommand();
        break;
    case ID_OPEN_DATASTORE:
        m_services.store->openStoreCommand(m_app, this);
        afterStoreCommand();
        break;
    case ID_MODEM_SELECTION:
        modemSelectionCommand();
        break;
    case ID_START_MONITORING:
        startMonitoringCommand();
        break;
    case ID_STOP_MONITORING:
        stopMonitoringCommand();
        break;
    case ID_ANSWER_MACHINE_ON:
    case ID_ANSWER_MACHINE_OFF:
        applyAnswerMachineSwitch(id == ID_ANSWER_MACHINE_ON ? m_services.answerMachine->switchOn(m_app, this)
                                                            : m_services.answerMachine->switchOff(m_app));
        // A click toggles the check by itself; the switch alone decides it.
        for (int item : {ID_ANSWER_MACHINE_ON, ID_ANSWER_MACHINE_OFF})
            setCommandChecked(item, m_checked[item]);
        break;
    case ID_RECORD_USE_AS_GREETING:
        useDictationAsGreeting();
        break;
    default:
        break;
    }
}

void MainWindow::afterStoreCommand()
{
    if (m_app.StoreUnusable != kStoreHealthy)
        return;
    setStatusText(QString::fromStdString(m_services.line->statusText()) + QStringLiteral(" : Using Navo File : ") +
                  QString::fromLocal8Bit(m_app.DataStorePath.c_str()));
    fillList(m_app.CurrentListType == kListNone ? kListDictation : m_app.CurrentListType);
}

void MainWindow::openOptions()
{
    OptionsDialog dialog(m_app, ProfileValues(m_app), this);
    dialog.exec();
}

void MainWindow::openAbout()
{
    AboutDialog dialog(this);
    dialog.exec();
}
