#include "app/MainWindow.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QListWidget>
#include <QMenuBar>
#include <QToolBar>
#include <QTreeView>
#include <set>

#include "app/AboutDialog.h"
#include "app/AppData.h"
#include "app/OptionsDialog.h"
#include "app/ProfileStartup.h"
#include "app/ShowCodedMessage.h"
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

const char* const kLineInactive = "Line monitoring inactive";
const char* const kSavingStore = "Saving Navo Data Store.....Please wait";
const char* const kTitlePrefix = "Navo for user :";
constexpr int kWeightHeavy = 900;

// Commands whose work is in this build. Everything else on the menu and the
// tool bar stays greyed until its part arrives.
const std::set<int> kAvailableCommands = {ID_EXIT,           ID_OPTIONS,       ID_ABOUT_NAVO,
                                          IDM_ABOUTBOX,      ID_NEW_DATASTORE, ID_OPEN_DATASTORE};

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

const char* listTypeName(int listType)
{
    switch (listType) {
    case kListDictation: return "Dictation";
    case kListMeeting: return "Meeting";
    case kListPhone: return "Phone";
    case kListDiary: return "Diary";
    case kListTranslation: return "Translation";
    case kListVideo: return "Video";
    default: return "";
    }
}

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
    return exec();
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
        PostMessage(handle(), WM_CLOSE, 0, 0);
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
    if (startup.loadProfile(this)) {
        const int built = m_services.store->buildStore(m_app.ProfileDir, m_app.DataStoreName, m_app.TempDir);
        if (built > 0) {
            ShowCodedMessage(built, MB_ICONSTOP);
            m_app.StartupFailed = 1;
            PostMessage(handle(), WM_CLOSE, 0, 0);
        }
    }

    // 15.
    const int opened = m_services.store->openLastStore(m_app);
    if (opened == 105) {
        if (ShowCodedMessage(105, MB_YESNO | MB_ICONQUESTION) == IDYES)
            m_services.store->openStoreCommand(m_app, this);
        else
            m_services.store->newStoreCommand(m_app, this);
        if (m_app.StoreUnusable != kStoreHealthy) {
            m_app.StartupFailed = 1;
            PostMessage(handle(), WM_CLOSE, 0, 0);
        }
    } else if (opened == 0) {
        setStatusText(m_ui->IDC_STATUS_TEXT->text() + QStringLiteral(" : Using Navo File :") +
                      QString::fromLocal8Bit(m_app.DataStorePath.c_str()));
    } else if (opened > 0) {
        // The store is there but cannot be read: its message says the
        // program closes, and it does, without saving over it.
        ShowCodedMessage(opened, MB_ICONSTOP);
        m_app.StartupFailed = 1;
        PostMessage(handle(), WM_CLOSE, 0, 0);
    }

    // 16.
    applyMenuStartStates();

    // 17.-18.
    startup.readRings();
    startup.readExpPrompt();

    // 19.
    if (startup.readDiarySetting() && !m_app.StartupFailed) {
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

    // 22.
    raise();
    activateWindow();

    // 23.
    switch (startup.readAutoMessage()) {
    case ProfileStartup::AutoMessage::On:
        m_services.answerMachine->switchOn(m_app);
        fillList(kListDictation);
        break;
    case ProfileStartup::AutoMessage::Off:
        m_services.answerMachine->switchOff(m_app);
        fillList(kListDictation);
        break;
    case ProfileStartup::AutoMessage::Neither:
        break;
    }

    // 24.
    m_clientSize = size();

    // 25.
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
    m_services.line->close(m_app);                             // 5.

    setStatusText(QString::fromLatin1(kSavingStore));          // 6.
    m_ui->IDC_STATUS_TEXT->repaint();
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
        if (message->message() == WM_CLOSE)
            close();
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
    // Lists come from the index of the open store; until the store and its
    // search are in this build, the list stays empty and says why.
    m_ui->IDC_HEADING->setText(QString::fromLatin1(listTypeName(listType)));
    m_app.CurrentListType = listType;
    m_ui->IDC_PROGRESS_TEXT->setText(
        QStringLiteral("%1 list: record lists are not in this build").arg(listTypeName(listType)));
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
    addCommand(file, ID_EXIT, "&Exit");

    QMenu* phone = m_menuBar->addMenu(tr("&Phone"));
    addCommand(phone, ID_MODEM_SELECTION, "&Modem Selection");
    addCommand(phone, ID_START_MONITORING, "&Start Monitoring Phone Line");
    addCommand(phone, ID_STOP_MONITORING, "S&top Monitoring Phone Line");
    phone->addSeparator();
    addCommand(phone, ID_ANSWER_MACHINE_ON, "&Answer Machine On");
    addCommand(phone, ID_ANSWER_MACHINE_OFF, "A&nswer Machine Off");
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
    case ID_NEW_DATASTORE:
        m_services.store->newStoreCommand(m_app, this);
        afterStoreCommand();
        break;
    case ID_OPEN_DATASTORE:
        m_services.store->openStoreCommand(m_app, this);
        afterStoreCommand();
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
    OptionsDialog dialog(m_app, ProfileSettings(m_app.IniPath, m_app.ProfileSection), this);
    dialog.exec();
}

void MainWindow::openAbout()
{
    AboutDialog dialog(this);
    dialog.exec();
}
