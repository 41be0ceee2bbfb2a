#include "app/CommandMenus.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <vector>

#include "app/CommandTable.h"
#include "res/StringTable.h"
#include "res/resource.h"

namespace commandmenus {
namespace {

// A line of a menu layout: a command, a separator, or the start or end of a
// (sub)menu.
enum class Kind { Command, Checkable, Separator, Begin, End };
struct Item {
    Kind kind;
    int id;
    const char* text;
};
constexpr Item command(int id, const char* text) { return {Kind::Command, id, text}; }
constexpr Item checkable(int id, const char* text) { return {Kind::Checkable, id, text}; }
constexpr Item separator() { return {Kind::Separator, 0, nullptr}; }
constexpr Item begin(const char* title) { return {Kind::Begin, 0, title}; }
constexpr Item end() { return {Kind::End, 0, nullptr}; }

const Item kMenuBar[] = {
    begin("&File"),
    command(ID_NEW_RECORDING, "&New Recording or Translation"),
    separator(),
    command(ID_NEW_DATASTORE, "New &Navo Datastore"),
    command(ID_OPEN_DATASTORE, "&Open Navo Datastore"),
    separator(),
    begin("&Import"),
    command(ID_IMPORT_DATASTORE, "Navo &Data Store..."),
    command(ID_IMPORT_MESSAGE_FILE, "Navo &Message File..."),
    command(ID_IMPORT_VIDEO_FILE, "Navo &Video File..."),
    separator(),
    command(ID_IMPORT_WAV, "&WAV File..."),
    command(ID_IMPORT_MP3, "M&P3 File..."),
    command(ID_IMPORT_WMA, "WM&A File..."),
    command(ID_IMPORT_OGG, "&OGG File..."),
    command(ID_IMPORT_WMV, "WM&V File..."),
    separator(),
    command(ID_IMPORT_PHONE_BOOK_STORE, "Phone Book from a Data Store..."),
    command(ID_IMPORT_PHONE_BOOK_FILE, "Phone Book from an Exported File..."),
    command(ID_IMPORT_TEMPLATES_STORE, "Templates from a Data Store..."),
    command(ID_IMPORT_TEMPLATES_FILE, "Templates from an Exported File..."),
    command(ID_IMPORT_AGENDAS_STORE, "Meeting Agendas from a Data Store..."),
    command(ID_IMPORT_AGENDAS_FILE, "Meeting Agendas from an Exported File..."),
    end(),
    begin("E&xport"),
    command(ID_EXPORT_PHONE_BOOK, "&Phone Book..."),
    command(ID_EXPORT_TEMPLATES, "&Templates..."),
    command(ID_EXPORT_AGENDAS, "Meeting &Agendas..."),
    end(),
    separator(),
    command(ID_EXIT, "&Exit"),
    end(),

    begin("&Phone"),
    command(ID_MODEM_SELECTION, "&Modem Selection"),
    command(ID_START_MONITORING, "&Start Monitoring Phone Line"),
    command(ID_STOP_MONITORING, "S&top Monitoring Phone Line"),
    separator(),
    checkable(ID_ANSWER_MACHINE_ON, "&Answer Machine On"),
    checkable(ID_ANSWER_MACHINE_OFF, "A&nswer Machine Off"),
    separator(),
    command(ID_PHONE_BOOK, "&Phone Book..."),
    end(),

    begin("&Tools"),
    command(ID_OPTIONS, "&Options..."),
    command(ID_HOT_KEYS, "&Hot Keys..."),
    separator(),
    command(ID_TEMPLATES, "&Templates..."),
    command(ID_AGENDAS, "&Meeting Agendas..."),
    command(ID_OFFLINE_MEETING, "Offline Meeting"),
    command(ID_TEXT_TO_SPEECH, "Text to &speech"),
    separator(),
    command(ID_MIXING_STUDIO, "Mi&xing Studio..."),
    command(ID_COMPRESS_DATASTORE, "&Compress the Data Store"),
    checkable(ID_DIARY_MONITOR, "&Diary Monitor"),
    end(),

    begin("&Help"),
    command(ID_HELP_NAVO, "Navo &Help"),
    command(ID_HELP_NAVOING, "Navoing!"),
    command(ID_NAVO_WEB, "Navo on the &Web"),
    command(kInternetRepository, "Internet &Repository"),
    separator(),
    command(ID_ABOUT_NAVO, "&About Navo"),
    end(),
};

// Record menu commands, in menu order.
const Item kRecordMenu[] = {
    command(ID_RECORD_EDIT, "Edit"),
    command(ID_RECORD_DELETE, "Delete"),
    command(ID_RECORD_PRINT, "Print"),
    separator(),
    command(ID_RECORD_PLAY, "Play"),
    command(ID_RECORD_PLAY_OVER_LINE, "Play over the phone line"),
    command(ID_RECORD_SEND, "Send"),
    separator(),
    command(ID_RECORD_REDIAL, "Redial"),
    command(ID_RECORD_ADD_TO_PHONEBOOK, "Add to PhoneBook"),
    separator(),
    command(ID_RECORD_NEW_DICTATION, "New Dictation"),
    command(ID_RECORD_USE_AS_GREETING, "Use dictation as greeting"),
    command(ID_RECORD_FROM_TEMPLATE, "Create new recording from template "),
    separator(),
    command(ID_RECORD_EXPORT_NAVO, "Export as Navo recording"),
    command(ID_RECORD_EXPORT_WAV, "Export as WAV"),
    command(ID_RECORD_EXPORT_MP3, "Export as MP3"),
    command(ID_RECORD_EXPORT_WMA, "Export as WMA"),
    command(ID_RECORD_EXPORT_OGG, "Export as OGG"),
    command(ID_RECORD_EXPORT_WMV, "Export as WMV"),
};

struct Button {
    int id;
    const char* icon;
    unsigned tipId;   // a string table text, or 0 for tip
    const char* tip;
};
const Button kToolBar[] = {
    {ID_TB_NEW_RECORDING, ":/res/images/tb-new.png", 721, nullptr},
    {ID_TB_PLAY, ":/res/images/tb-play.png", 0, "Play the selected recording"},
    {ID_TB_SEND, ":/res/images/tb-send.png", 0, "E-mail the selected recording"},
    {ID_TB_SEARCH, ":/res/images/tb-search.png", 0, "Search for recordings"},
    {ID_TB_NAVOING, ":/res/images/tb-navoing.png", 0, "Navoing!"},
};

QString objectNameOf(int id)
{
    return id == kInternetRepository ? QStringLiteral("internetRepository") : QString::number(id);
}

QAction* addBound(QMenu* menu, CommandTable& commands, const Item& item)
{
    QAction* action = menu->addAction(QString::fromLatin1(item.text));
    action->setObjectName(objectNameOf(item.id));
    action->setCheckable(item.kind == Kind::Checkable);
    QObject::connect(action, &QAction::triggered, menu, [&commands, id = item.id] { commands.run(id); });
    commands.bind(item.id, action);
    commands.setEnabled(item.id, true);
    return action;
}

}  // namespace

void buildMenuBar(QMenuBar* bar, CommandTable& commands)
{
    std::vector<QMenu*> open;
    for (const Item& item : kMenuBar) {
        switch (item.kind) {
        case Kind::Begin:
            open.push_back(open.empty() ? bar->addMenu(QString::fromLatin1(item.text))
                                        : open.back()->addMenu(QString::fromLatin1(item.text)));
            break;
        case Kind::End:
            open.pop_back();
            break;
        case Kind::Separator:
            open.back()->addSeparator();
            break;
        case Kind::Command:
        case Kind::Checkable:
            addBound(open.back(), commands, item);
            break;
        }
    }
}

void buildToolBar(QToolBar* bar, CommandTable& commands)
{
    for (const Button& button : kToolBar) {
        const QString tip = button.tipId != 0 ? LoadStringQ(button.tipId) : QString::fromLatin1(button.tip);
        QAction* action = bar->addAction(QIcon(QString::fromLatin1(button.icon)), tip);
        action->setObjectName(QString::number(button.id));
        action->setToolTip(tip);
        QObject::connect(action, &QAction::triggered, bar, [&commands, id = button.id] { commands.run(id); });
        commands.bind(button.id, action);
        commands.setEnabled(button.id, true);
    }
}

std::unique_ptr<QMenu> buildRecordMenu(QWidget* parent, CommandTable& commands, const std::map<int, bool>& states)
{
    auto menu = std::make_unique<QMenu>(parent);
    menu->setObjectName(QString::number(IDR_RECORD_MENU));
    for (const Item& item : kRecordMenu) {
        if (item.kind == Kind::Separator) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(QString::fromLatin1(item.text));
        action->setObjectName(QString::number(item.id));
        const auto state = states.find(item.id);
        const bool allowed = state != states.end() && state->second;
        action->setEnabled(allowed && commands.available(item.id));
        action->setData(allowed);
        QObject::connect(action, &QAction::triggered, menu.get(), [&commands, id = item.id] { commands.run(id); });
    }
    return menu;
}

}  // namespace commandmenus
