#include "app/MainWindow.h"

#include <algorithm>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QHeaderView>
#include <QListWidget>
#include <QMenuBar>
#include <QShortcut>
#include <QToolBar>
#include <QTreeView>

#include "maker/Ek7Srch/Ek7Srch.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "store/ComponentFiles.h"
#include "telephony/DialerDialog.h"
#include "telephony/OutgoingCall.h"
#include "telephony/PhoneBook.h"
#include "telephony/PhoneBookDialog.h"
#include "telephony/PhoneMessagePlayerDialog.h"

#include "app/AboutDialog.h"
#include "app/CommandMenus.h"
#include "app/DictationEditorDialog.h"
#include "app/HotKeysDialog.h"
#include "app/ImportCommands.h"
#include "app/ListPrinting.h"
#include "app/SearchDialog.h"
#include "core/AppData.h"
#include "app/OptionsDialog.h"
#include "core/ProfileValues.h"
#include "app/ProfileStartup.h"
#include "app/RecordListModel.h"
#include "app/RecordLists.h"
#include "app/RecordTypeChooser.h"
#include "app/TemplatesDialog.h"
#include "app/ComponentCommands.h"
#include "core/SettingsKeys.h"
#include "core/ShowCodedMessage.h"
#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "platform/Sleep.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"
#include "res/resource.h"
#include "ui_MainWindow.h"

namespace {

const char* const kSavingStore = "Saving Navo Data Store.....Please wait";
const char* const kTitlePrefix = "Navo for user :";
constexpr int kWeightHeavy = 900;

// Private messages other threads and windows post to the main window.
constexpr UINT kDiaryMonitorStarted = WM_USER + 40;
constexpr UINT kDiaryMonitorFailed = WM_USER + 41;
constexpr UINT kDiaryRemindersDue = WM_USER + 42;
constexpr UINT kDiaryMonitorStopped = WM_USER + 43;
constexpr UINT kTemplateRecording = WM_USER + 30;
const QColor kListText(10, 20, 200);

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
    m_chooser = std::make_unique<RecordTypeChooser>(m_ui->IDC_RECORD_TYPES);
    setWindowIcon(QIcon(QStringLiteral(":/res/images/navo.png")));
    setWindowFlags(Qt::Window | Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint);
    m_phone = std::make_unique<LineController>(m_app, *m_services.line, *m_services.answerMachine,
                                               [this] { return countNewPhoneMessages(); });
    if (m_services.phoneRecorder != nullptr)
        m_phone->setPhoneRecorder(m_services.phoneRecorder);
    auto* menuBar = new QMenuBar(this);
    menuBar->setObjectName(QString::number(IDR_MAIN_MENU));
    layout()->setMenuBar(menuBar);
    commandmenus::buildMenuBar(menuBar, m_commands);
    registerCommands();

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
    connect(help, &QShortcut::activated, this, [this] { HelpPages::showControlHelp(this); });
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

    // 1.
    addAboutItem();

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
    setStatusText(QString::fromLatin1(LineService::kInactiveText));
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
    m_phone->startUp();
    applyPhone(LineController::Refresh::Nothing);

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
    m_chooser->build();
    showLineState();

    // 22.
    raise();
    activateWindow();

    // 23.
    switch (m_stopRequested ? ProfileStartup::AutoMessage::Neither : startup.readAutoMessage()) {
    case ProfileStartup::AutoMessage::On:
        applyPhone(m_phone->switchOn(this));
        showLineState();
        fillList(kListDictation);
        break;
    case ProfileStartup::AutoMessage::Off:
        applyPhone(m_phone->switchOff());
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
        compressStore();
}

void MainWindow::compressStore()
{
    m_compressing = true;
    const int saved = m_services.compression->runDialog(m_app, this);
    m_compressing = false;
    if (m_initialised && m_stopRequested) {
        close();
        return;
    }
    if (saved > 0)
        ShowCodedMessage(saved, MB_ICONEXCLAMATION);
    // The lines moved: the list reads them again at their new places.
    if (saved != kNotAvailable && m_app.CurrentListType != kListNone)
        fillList(m_app.CurrentListType);
}

void MainWindow::OnClose()
{
    if (m_closed)
        return;
    m_closed = true;

    m_app.MainWindowAlive = 0;                                 // 1.
    QApplication::setOverrideCursor(Qt::WaitCursor);           // 2.
    m_app.DiaryMonitorRunning = 0;                             // 3.
    if (m_services.diary)
        m_services.diary->stop();
    for (QPointer<QWidget>& window : m_modeless)               // 4.
        delete window.data();
    m_modeless.clear();
    // A message still being left is filed first, into the store saved below.
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
    // The count the last Phone list fill (or call) left in the line state.
    int newMessages = m_app.CurrentListType == kListPhone ? m_model->newMessageCount() : 0;
    if (m_app.lineState != nullptr)
        newMessages = m_app.lineState->MessagesWaiting;
    m_chooser->showLineState(
        recordlists::lineState(m_services.line->monitoring(), m_services.line->answerMachineOn(), newMessages));
}

void MainWindow::onChooserClicked(QListWidgetItem* item)
{
    const RecordTypeChooser::Choice choice = m_chooser->clicked(item);
    if (choice.repository)
        openInternetRepository();
    else if (choice.listType != kListNone)
        fillList(choice.listType);
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
    return commandmenus::buildRecordMenu(this, m_commands, states);
}

bool MainWindow::hasRecorder(int listType) const
{
    if (listType == kListPhone && m_services.phoneRecorder != nullptr)
        return true;
    return m_services.recorder && m_services.recorder->hasRecorder(listType);
}

void MainWindow::newRecording(int listType)
{
    if (listType == kListPhone && m_services.phoneRecorder != nullptr) {
        // A phone call is recorded while it is up: the phone recorder takes
        // the call in progress.
        const LineState* line = m_app.lineState;
        if (line == nullptr || !m_services.line->callWaitingForUser()) {
            AfxMessageBox("A telephone call is recorded while it is in progress: pick up a call, or place one "
                          "from the phone book or the dialer, and the phone recorder records it.",
                          MB_ICONINFORMATION);
            return;
        }
        m_services.phoneRecorder->open(m_app, this, line->CallerName, line->CallerNumber);
        return;
    }
    if (!hasRecorder(listType))
        return;
    const bool prime = ProfileValues(m_app).yesNo(settings::kPrime);
    m_services.recorder->record(m_app, listType, this, prime);
    diaryChanged();
    // Recorders are modal: the list of that type is rebuilt when one closes.
    fillList(listType);
}

void MainWindow::editSelectedRecord()
{
    // Only dictations have an editor in this build.
    if (m_selectedId.empty() || m_app.CurrentListType != kListDictation)
        return;
    DictationEditorDialog editor(m_app, m_selectedId, this);
    editor.run();
    fillList(m_app.CurrentListType);
}

void MainWindow::playSelectedRecord()
{
    if (!m_services.player || m_selectedId.empty())
        return;
    const SearchLogRows& data = m_model->rows();
    std::vector<std::string> recIds;
    for (std::size_t row = 0; row < data.size(); ++row)
        recIds.push_back(data.recId(row));
    // The focused row when it is selected, else the last selected one.
    QItemSelectionModel* selection = m_ui->IDC_RECORD_LIST->selectionModel();
    int index = m_focusedRow >= 0 && selection->isRowSelected(m_focusedRow, {}) ? m_focusedRow : -1;
    if (index < 0) {
        const auto chosen = std::find(recIds.begin(), recIds.end(), m_selectedId);
        index = chosen == recIds.end() ? -1 : static_cast<int>(chosen - recIds.begin());
    }
    if (index < 0)
        return;
    const int listType = m_app.CurrentListType;
    if (m_services.player->play(m_app, recIds, index, this) > 0)
        fillList(listType);
}

std::vector<std::string> MainWindow::selectedFileNames() const
{
    std::vector<std::string> names;
    const SearchLogRows& data = m_model->rows();
    for (const QModelIndex& row : m_ui->IDC_RECORD_LIST->selectionModel()->selectedRows())
        names.push_back(data.cell(static_cast<std::size_t>(row.row()), data.fileNameColumn()));
    return names;
}

void MainWindow::sendSelectedRecords()
{
    const std::vector<std::string> names = selectedFileNames();
    if (names.empty() || !m_services.mail)
        return;
    // Locking rewrites only the copies, so the list stays as it is.
    m_services.mail->sendRecords(m_app, names, this);
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
    diaryChanged();
    fillList(m_app.CurrentListType);
}

void MainWindow::openInternetRepository()
{
    setCommandEnabled(ID_TB_PLAY, false);
    setCommandEnabled(ID_TB_SEND, false);
    HelpPages::openInternetRepository(m_app);
}

void MainWindow::handleWindowMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_CLOSE:
        // Delivered inside a start-up question: DoModal closes afterwards.
        // Delivered while the store is being compressed: shutdown would save
        // and remove the workspace under the compression, so it waits.
        if (m_initialised && !m_compressing)
            close();
        else
            m_stopRequested = true;
        break;
    case kDiaryMonitorStarted:
        m_commands.setChecked(ID_DIARY_MONITOR, true);
        break;
    case kDiaryMonitorStopped:
        m_commands.setChecked(ID_DIARY_MONITOR, false);
        break;
    case kDiaryMonitorFailed:
        m_app.DiaryMonitorRunning = 0;
        if (m_services.diary)
            m_services.diary->stop();
        ShowCodedMessage(static_cast<int>(wParam), MB_ICONEXCLAMATION);
        break;
    case kDiaryRemindersDue:
        if (m_app.DiaryMonitorRunning && m_services.diary)
            m_services.diary->reminderDue(m_app, this, wParam, lParam);
        break;
    case kTemplateRecording:
        recordFromTemplate(static_cast<int>(wParam));
        break;
    case kEk7MsgLineClosed:
        applyPhone(m_phone->lineClosed(static_cast<int>(wParam)));
        break;
    default:
        applyPhone(m_phone->lineMessage(message, this, lParam));
        break;
    }
}

int MainWindow::countNewPhoneMessages() const
{
    const recordlists::ListSpec* spec = recordlists::specFor(kListPhone);
    if (!spec || m_app.TempDir.empty())
        return -1;
    SearchLogRows rows;
    SearchLog(components::workspacePath(m_app.TempDir, spec->familyFile).c_str(), spec->searchType, &rows);
    return RecordListModel::newMessageCount(rows);
}

void MainWindow::showLineStatus()
{
    setStatusText(QString::fromStdString(m_services.line->statusText()) + QStringLiteral(" : Using Navo File : ") +
                  QString::fromLocal8Bit(m_app.DataStorePath.c_str()));
    showLineState();
}

void MainWindow::applyPhone(LineController::Refresh refresh)
{
    const PhoneMenuState& menu = m_phone->menu();
    setCommandEnabled(ID_START_MONITORING, menu.startEnabled);
    setCommandEnabled(ID_STOP_MONITORING, menu.stopEnabled);
    setCommandEnabled(ID_ANSWER_MACHINE_ON, menu.onEnabled);
    setCommandEnabled(ID_ANSWER_MACHINE_OFF, menu.offEnabled);
    m_commands.setChecked(ID_ANSWER_MACHINE_ON, menu.onChecked);
    m_commands.setChecked(ID_ANSWER_MACHINE_OFF, menu.offChecked);
    switch (refresh) {
    case LineController::Refresh::Nothing:
        break;
    case LineController::Refresh::LineState:
        showLineState();
        break;
    case LineController::Refresh::Status:
        showLineStatus();
        break;
    case LineController::Refresh::PhoneList:
        fillList(kListPhone);
        showLineStatus();
        break;
    }
}

void MainWindow::registerPhoneCommands()
{
    m_commands.add(ID_MODEM_SELECTION, [this] { applyPhone(m_phone->modemSelection(this)); });
    m_commands.add(ID_START_MONITORING, [this] { applyPhone(m_phone->startMonitoring(this)); });
    m_commands.add(ID_STOP_MONITORING, [this] { applyPhone(m_phone->stopMonitoring()); });
    m_commands.add(ID_ANSWER_MACHINE_ON, [this] { applyPhone(m_phone->switchOn(this)); });
    m_commands.add(ID_ANSWER_MACHINE_OFF, [this] { applyPhone(m_phone->switchOff()); });
    m_commands.add(ID_RECORD_USE_AS_GREETING,
                   [this] { m_phone->useDictationAsGreeting(m_selectedCount, m_selectedFile); });

    // The phone book and calling out. The phone book file is a component of
    // the open store, in the workspace.
    const auto bookPath = [this] { return components::workspacePath(m_app.TempDir, components::kPhoneBook); };
    // The Phone list's selected call: its number (column 1) and name (column 2).
    const auto selectedCall = [this](std::string& name, std::string& number) {
        const QModelIndexList rows = m_ui->IDC_RECORD_LIST->selectionModel()->selectedRows();
        if (m_app.CurrentListType != kListPhone || rows.isEmpty())
            return false;
        const auto row = static_cast<std::size_t>(rows.back().row());
        number = m_model->rows().cell(row, 1);
        name = m_model->rows().cell(row, 2);
        return true;
    };
    const auto inPhoneList = [this] { return m_app.CurrentListType == kListPhone; };
    m_commands.add(ID_PHONE_BOOK, [this, bookPath] { PhoneBookDialog::run(m_app, bookPath(), handle(), this); });
    m_commands.add(
        ID_RECORD_PLAY_OVER_LINE,
        [this] {
            const QModelIndexList rows = m_ui->IDC_RECORD_LIST->selectionModel()->selectedRows();
            if (rows.size() != 1 || !m_services.line->callWaitingForUser())
                return;
            const auto row = static_cast<std::size_t>(rows.front().row());
            const SearchLogRows& data = m_model->rows();
            PhoneMessagePlayerDialog::run(m_app, data.cell(row, data.fileNameColumn()),
                                          std::max(0, data.quality(row)), this);
        },
        [this] { return m_services.line->callWaitingForUser(); });
    m_commands.add(
        ID_RECORD_REDIAL,
        [this, bookPath, selectedCall] {
            std::string name, number;
            if (m_selectedCount != 1 || !selectedCall(name, number))
                return;
            // A call that left no number can only be redialled by typing it.
            if (number.empty())
                DialerDialog::run(m_app, bookPath(), handle(), this, name, number);
            else
                outgoingcall::choose(m_app, handle(), name, number);
        },
        inPhoneList);
    m_commands.add(
        ID_RECORD_ADD_TO_PHONEBOOK,
        [this, bookPath, selectedCall] {
            std::string name, number;
            // A caller who gave neither name nor number leaves nothing to keep.
            if (!selectedCall(name, number) || (name.empty() && number.empty()))
                return;
            if (const int code = PhoneBook(bookPath()).add(name, number); code > 0)
                ShowCodedMessage(code, MB_ICONEXCLAMATION);
            else
                OutputDebugString("Added to the phone book\n");
        },
        inPhoneList);
}

void MainWindow::createToolBar()
{
    if (m_toolBarBuilt)
        return;
    m_toolBarBuilt = true;
    auto* toolBar = new QToolBar(this);
    toolBar->setObjectName(QString::number(IDR_TOOLBAR));
    toolBar->setIconSize(QSize(24, 24));
    commandmenus::buildToolBar(toolBar, m_commands);
    static_cast<QBoxLayout*>(layout())->insertWidget(0, toolBar);
}

void MainWindow::addAboutItem()
{
    // There is no window-manager system menu to extend here, so the About
    // item goes on the window's own right-click menu.
    const std::string about = LoadString(101);
    if (about.empty())
        return;
    auto* separator = new QAction(this);
    separator->setSeparator(true);
    auto* item = new QAction(fromAnsi(about), this);
    item->setObjectName(QString::number(IDM_ABOUTBOX));
    connect(item, &QAction::triggered, this, [this] { runCommand(IDM_ABOUTBOX); });
    addAction(separator);
    addAction(item);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    m_commands.bind(IDM_ABOUTBOX, item);
}

void MainWindow::registerCommands()
{
    const auto about = [this] {
        AboutDialog dialog(this);
        dialog.exec();
    };
    m_commands.add(ID_EXIT, [this] { close(); });
    m_commands.add(ID_OPTIONS, [this] { openOptions(); });
    m_commands.add(ID_ABOUT_NAVO, about);
    m_commands.add(IDM_ABOUTBOX, about);
    m_commands.add(ID_HOT_KEYS, [this] {
        HotKeys table;
        table.load();
        HotKeysDialog dialog(table.values(), this);
        if (dialog.exec() == QDialog::Accepted) {
            table.setValues(dialog.values());
            table.save();
        }
    });
    m_commands.add(ID_NEW_DATASTORE, [this] {
        m_services.store->newStoreCommand(m_app, this);
        afterStoreCommand();
    });
    m_commands.add(ID_OPEN_DATASTORE, [this] {
        m_services.store->openStoreCommand(m_app, this);
        afterStoreCommand();
    });
    m_commands.add(ID_RECORD_DELETE, [this] { deleteSelectedRecords(); });
    // Without a usable store the compression service declines and says so.
    m_commands.add(ID_COMPRESS_DATASTORE, [this] { compressStore(); });
    // Of the editors, only the dictation's is in this build.
    m_commands.add(ID_RECORD_EDIT, [this] { editSelectedRecord(); },
                   [this] { return m_app.CurrentListType == kListDictation; });
    if (m_services.player) {
        m_commands.add(ID_TB_PLAY, [this] { playSelectedRecord(); });
        m_commands.add(ID_RECORD_PLAY, [this] { playSelectedRecord(); });
    }
    if (m_services.mail) {
        m_commands.add(ID_TB_SEND, [this] { sendSelectedRecords(); });
        m_commands.add(ID_RECORD_SEND, [this] { sendSelectedRecords(); });
    }
    // The record exports; the record menu enables those that suit the list.
    if (m_services.exporter)
        for (int kind : commandmenus::kRecordExports)
            m_commands.add(kind, [this, kind] {
                const std::vector<std::string> ids = selectedIds();
                if (!ids.empty())
                    m_services.exporter->exportRecords(m_app, kind, ids, this);
            });
    m_commands.add(ID_NEW_RECORDING, [this] { newRecording(m_app.CurrentListType); });
    m_commands.add(ID_TB_NEW_RECORDING, [this] { newRecording(m_app.CurrentListType); });
    m_commands.add(ID_RECORD_NEW_DICTATION, [this] { newRecording(kListDictation); },
                   [this] { return hasRecorder(kListDictation); });
    m_commands.add(ID_MIXING_STUDIO, [this] {
        // The studio's build is filed as a new dictation.
        if (m_services.studio->run(m_app, this))
            fillList(kListDictation);
    }, [this] { return m_services.studio != nullptr && m_app.StoreUnusable == kStoreHealthy; });
    if (QAction* studio = m_commands.action(ID_MIXING_STUDIO)) {
        studio->setToolTip(fromAnsi(LoadString(654)));
        studio->setStatusTip(studio->toolTip());
    }
    m_commands.add(ID_DIARY_MONITOR, [this] { toggleDiaryMonitor(); });
    m_commands.add(ID_TEMPLATES, [this] { openTemplates(); });
    m_commands.add(ID_RECORD_FROM_TEMPLATE, [this] { openTemplates(); });
    componentcommands::registerCommands(m_commands, m_app, this);
    m_commands.add(ID_OFFLINE_MEETING, [this] { m_services.recorder->offlineMeeting(m_app, this); },
                   [this] { return m_services.recorder && m_services.recorder->hasOfflineMeeting(); });
    m_commands.add(commandmenus::kInternetRepository, [this] { openInternetRepository(); });
    m_commands.add(ID_TB_SEARCH, [this] { openSearch(); });
    // The imports; a store's phone book, templates and agendas are merged
    // as their own imports would merge them.
    importcommands::registerCommands(
        m_commands, m_app, this,
        {[this](int listType) { fillList(listType); },
         [this](const std::string& source, const std::string& folder, ImportReport* report) {
             componentcommands::mergeStoreComponents(m_app, source, folder, report);
         }});
    m_commands.add(ID_RECORD_PRINT, [this] { printList(); });
    HelpPages::registerCommands(m_commands);
    registerPhoneCommands();
}

void MainWindow::toggleDiaryMonitor()
{
    if (!m_services.diary)
        return;
    if (m_app.DiaryMonitorRunning) {
        m_app.DiaryMonitorRunning = 0;
        m_services.diary->stop();
        return;
    }
    const int check = m_services.diary->check(m_app);
    if (check > 0) {
        ShowCodedMessage(check, MB_ICONEXCLAMATION);
    } else if (check == 0) {
        m_app.DiaryMonitorRunning = 1;
        m_services.diary->start(m_app, handle());
    }
}

void MainWindow::openTemplates()
{
    TemplatesDialog dialog(m_app, this);
    if (dialog.exec() == QDialog::Accepted && dialog.chosen() >= 0)
        PostMessage(handle(), kTemplateRecording, static_cast<WPARAM>(dialog.chosen()), 0);
}

void MainWindow::recordFromTemplate(int index)
{
    const std::vector<RecordTemplate> all = recordtemplates::load(m_app);
    if (index < 0 || index >= static_cast<int>(all.size()) || !m_services.recorder)
        return;
    const RecordTemplate& t = all[static_cast<std::size_t>(index)];
    m_services.recorder->recordWithTexts(m_app, t.listType, this, t.subject, t.keywords, t.comments);
    diaryChanged();
    fillList(t.listType);
}

void MainWindow::diaryChanged()
{
    if (m_app.DiaryMonitorRunning && m_services.diary)
        m_services.diary->storeChanged(m_app);
}

void MainWindow::openSearch()
{
    SearchDialog dialog(m_app, m_services.store, this, m_services.player);
    dialog.addSendAndExport(m_services.mail, m_services.exporter);
    dialog.exec();
    // Records deleted from the results leave the list too.
    if (recordlists::specFor(m_app.CurrentListType) != nullptr)
        fillList(m_app.CurrentListType);
}

void MainWindow::printList()
{
    const recordlists::ListSpec* spec = recordlists::specFor(m_app.CurrentListType);
    if (spec == nullptr)
        return;
    listprinting::preview(this, listprinting::describe(m_app, *m_model, *m_ui->IDC_RECORD_LIST,
                                                       QString::fromLatin1(spec->heading)));
}

void MainWindow::afterStoreCommand()
{
    if (m_app.StoreUnusable != kStoreHealthy)
        return;
    diaryChanged();
    setStatusText(QString::fromStdString(m_services.line->statusText()) + QStringLiteral(" : Using Navo File : ") +
                  QString::fromLocal8Bit(m_app.DataStorePath.c_str()));
    fillList(m_app.CurrentListType == kListNone ? kListDictation : m_app.CurrentListType);
}

void MainWindow::openOptions()
{
    OptionsModel options(m_app, ProfileValues(m_app));
    const OptionsValues before = options.load();
    OptionsDialog dialog(before, this);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    options.apply(before, dialog.values(), accepted);
}

