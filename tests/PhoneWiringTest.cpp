// The line-state decisions with the line and the answer machine scripted:
// which line message reaches which step under which line state, what an
// incoming call asks, the Phone menu's states after each command (all on
// LineController, no window); then the main window's side of the wiring:
// its Phone menu mirrors the controller whatever a click did, and "Use
// dictation as greeting" takes the record menu's selection; the phone book's
// export and import from the File menu. The store is real for the window.
#include <QAction>
#include <QCoreApplication>
#include <QMenu>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "ScriptedPrompt.h"
#include "StoreWindowFixture.h"
#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "res/resource.h"
#include "store/ComponentFiles.h"
#include "telephony/LineController.h"
#include "telephony/PhoneBook.h"
#include "telephony/PhoneBookImport.h"
#include "maker/ek7vxrps/ek7vxrps.h"

namespace {

using Switch = AnswerMachineService::Switch;
using StartResult = LineService::StartResult;
using Refresh = LineController::Refresh;

class LineControllerTest : public ::testing::Test {
protected:
    LineControllerTest() : controller(app, fake, fake, [this] { return newMessages; })
    {
        app.lineState = &block;
        app.IniPath = dir.filePath("NAVO.ini").toStdString();
        app.ProfileSection = "Tester";
        fake.chosen = true;
        controller.startUp();
    }
    int count(const std::string& call) const { return static_cast<int>(std::count(fake.calls.begin(), fake.calls.end(), call)); }
    static std::vector<bool> states(const PhoneMenuState& menu)
    {
        return {menu.startEnabled, menu.stopEnabled, menu.onEnabled, menu.onChecked, menu.offEnabled, menu.offChecked};
    }

    QTemporaryDir dir;
    AppData app;
    FakeServices fake;
    LineState block{};
    int newMessages = -1;
    LineController controller;
};

TEST_F(LineControllerTest, LineMessagesReachTheAnswerMachineOnlyWhenTheLineStateSaysSo)
{
    // +120: only an offered call with a handle is answered.
    EXPECT_EQ(controller.lineMessage(kEk7MsgAnswerNow, nullptr), Refresh::Nothing);
    block.CallState = 1;
    controller.lineMessage(kEk7MsgAnswerNow, nullptr);
    block.CallHandle = 7;
    controller.lineMessage(kEk7MsgAnswerNow, nullptr);
    EXPECT_EQ(count("answer call"), 1);

    EXPECT_EQ(controller.lineMessage(kEk7MsgConnected, nullptr), Refresh::LineState);
    EXPECT_EQ(count("call connected"), 1);

    // +150: the machine files only when it is on; the line hears of every end
    // (an incoming-call window may be up). The Phone list, when shown, is
    // filled again; otherwise its new messages are counted for the picture.
    newMessages = 2;
    EXPECT_EQ(controller.lineMessage(kEk7MsgDisconnected, nullptr), Refresh::LineState);
    EXPECT_EQ(count("call ended"), 0);
    EXPECT_EQ(fake.messagesWaiting, 2);
    block.AnswerMachineOn = 1;
    app.CurrentListType = kListPhone;
    fake.messagesWaiting = -1;
    EXPECT_EQ(controller.lineMessage(kEk7MsgDisconnected, nullptr), Refresh::PhoneList);
    EXPECT_EQ(count("call ended"), 1);
    EXPECT_EQ(count("line call ended"), 2);
    EXPECT_EQ(fake.messagesWaiting, -1);
    // Without a store to count in, the count the line has is left alone.
    app.CurrentListType = kListDictation;
    newMessages = -1;
    controller.lineMessage(kEk7MsgDisconnected, nullptr);
    EXPECT_EQ(fake.messagesWaiting, -1);

    // A ring, a busy number, the idle call and the parts not built need nothing.
    const std::size_t before = fake.calls.size();
    for (UINT message : {kEk7MsgRing, kEk7MsgBusy, kEk7MsgIdle, kEk7MsgPlayDone, kEk7MsgRecording})
        EXPECT_EQ(controller.lineMessage(message, nullptr), Refresh::Nothing);
    EXPECT_EQ(fake.calls.size(), before);

    // +155: with the chosen entry (lParam 0) the call is placed; asked for
    // with nobody chosen (lParam 1) the user is told there is no recorder.
    app.ChosenName = "Ada Lovelace";
    app.ChosenNumber = "0161 496";
    EXPECT_EQ(controller.lineMessage(LineController::kOutgoingCallRecorder, nullptr, 0), Refresh::Status);
    EXPECT_EQ(controller.lineMessage(LineController::kOutgoingCallRecorder, nullptr, 1), Refresh::Status);
    EXPECT_EQ(std::vector<std::string>(fake.calls.begin() + static_cast<long>(before), fake.calls.end()),
              (std::vector<std::string>{"place call Ada Lovelace 0161 496", "no recorder for call"}));
}

TEST_F(LineControllerTest, CallerIdentityIsTracedAndForwarded)
{
    std::snprintf(block.CallerNumber, sizeof block.CallerNumber, "%s", "01632 960001");
    std::snprintf(block.CallerName, sizeof block.CallerName, "%s", "Zoe Smith");
    TraceCapture trace;
    controller.lineMessage(kEk7MsgCallerId, nullptr);
    EXPECT_EQ(count("forward caller id"), 1);
    const std::vector<std::string> lines = trace.lines();
    const auto number = std::find(lines.begin(), lines.end(), "01632 960001");
    ASSERT_NE(number, lines.end()) << trace.text();
    ASSERT_NE(number + 1, lines.end());
    EXPECT_EQ(*(number + 1), "Zoe Smith");
}

TEST_F(LineControllerTest, AnIncomingCallAsksTheUserOnlyWhileTheMachineIsOffWithPhWarnReadFirst)
{
    const ProfileSettings profile(app.IniPath, app.ProfileSection);
    app.PhoneWarning = 1;
    EXPECT_EQ(controller.lineMessage(kEk7MsgOffered, nullptr), Refresh::LineState);  // no call: nothing
    EXPECT_EQ(app.PhoneWarning, 1);
    block.CallState = 1;
    controller.lineMessage(kEk7MsgOffered, nullptr);
    // Missing: written "N", warning off; only an exact "Y" turns it on.
    EXPECT_EQ(profile.read(settings::kPhWarn), "N");
    EXPECT_EQ(app.PhoneWarning, 0);
    profile.write(settings::kPhWarn, "Y");
    fake.incomingChoice = LineService::IncomingChoice::PickedUp;
    controller.lineMessage(kEk7MsgOffered, nullptr);
    EXPECT_EQ(app.PhoneWarning, 1);
    profile.write(settings::kPhWarn, "y");
    // The caller hung up while the window was up: nobody takes the call.
    fake.incomingChoice = LineService::IncomingChoice::CallerHungUp;
    controller.lineMessage(kEk7MsgOffered, nullptr);
    EXPECT_EQ(app.PhoneWarning, 0);
    EXPECT_EQ(profile.read(settings::kPhWarn), "y");
    block.AnswerMachineOn = 1;
    controller.lineMessage(kEk7MsgOffered, nullptr);
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"incoming call", "machine takes this call", "incoming call",
                                                    "user takes this call", "incoming call"}));
}

TEST_F(LineControllerTest, TheAnswerMachineSwitchSetsThePhoneMenu)
{
    //                        start  stop   on     on ✓   off    off ✓
    EXPECT_EQ(states(controller.menu()), (std::vector<bool>{true, false, true, false, true, false}));

    fake.switchOnResult = Switch::Refused;  // 752: nothing changes
    EXPECT_EQ(controller.switchOn(nullptr), Refresh::Nothing);
    EXPECT_EQ(states(controller.menu()), (std::vector<bool>{true, false, true, false, true, false}));

    fake.switchOnResult = Switch::On;
    fake.lineMonitoring = true;
    EXPECT_EQ(controller.switchOn(nullptr), Refresh::Status);
    EXPECT_EQ(states(controller.menu()), (std::vector<bool>{false, true, false, true, true, false}));

    fake.switchOffResult = Switch::Off;
    EXPECT_EQ(controller.switchOff(), Refresh::LineState);
    EXPECT_EQ(states(controller.menu()), (std::vector<bool>{false, true, true, false, false, true}));

    // The modem has gone: monitoring failed and nothing can be started.
    fake.switchOnResult = Switch::Failed;
    fake.lineMonitoring = false;
    fake.chosen = false;
    EXPECT_EQ(controller.switchOn(nullptr), Refresh::Status);
    EXPECT_EQ(states(controller.menu()), (std::vector<bool>{false, false, false, false, false, true}));

    // Without a modem, switching off greys the Off command too.
    fake.switchOffResult = Switch::NoDevice;
    EXPECT_EQ(controller.switchOff(), Refresh::Nothing);
    EXPECT_EQ(states(controller.menu()), (std::vector<bool>{false, false, false, false, false, false}));
}

TEST_F(LineControllerTest, MonitoringCommandsAndModemSelectionSetThePhoneMenu)
{
    EXPECT_EQ(controller.startMonitoring(nullptr), Refresh::Status);
    EXPECT_FALSE(controller.menu().startEnabled);
    EXPECT_TRUE(controller.menu().stopEnabled);
    EXPECT_EQ(controller.stopMonitoring(), Refresh::Status);
    EXPECT_TRUE(controller.menu().startEnabled);
    EXPECT_FALSE(controller.menu().stopEnabled);
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"start monitoring", "stop monitoring"}));

    // The line stops by itself (a registrar refused the account): the line
    // says why and monitoring can be started again.
    controller.startMonitoring(nullptr);
    EXPECT_EQ(controller.lineClosed(kEk7RegistrationRefused), Refresh::Status);
    EXPECT_EQ(fake.calls.back(), "line closed " + std::to_string(kEk7RegistrationRefused));
    EXPECT_TRUE(controller.menu().startEnabled);
    EXPECT_FALSE(controller.menu().stopEnabled);

    // Refused silently without a device: the status stays as it was.
    fake.startResult = StartResult::NoDevice;
    EXPECT_EQ(controller.startMonitoring(nullptr), Refresh::Nothing);
    EXPECT_TRUE(controller.menu().startEnabled);

    // Modem Selection with a choice: start enabled, the machine shown off.
    fake.chosen = false;
    controller.startUp();
    fake.modemChoice = 1;
    EXPECT_EQ(controller.modemSelection(nullptr), Refresh::Status);
    EXPECT_EQ(fake.device, 1);
    EXPECT_EQ(states(controller.menu()), (std::vector<bool>{true, false, true, false, true, true}));
}

// The phone recorder as the line hands calls to it, scripted: what it was
// told, in order; window() a handle whose posted messages are kept.
class ScriptedRecorder : public PhoneRecorderService {
public:
    class Inbox : public QObject {
    public:
        std::vector<UINT> messages;
        bool event(QEvent* e) override
        {
            if (e->type() != WindowMessageEvent::eventType())
                return QObject::event(e);
            messages.push_back(static_cast<WindowMessageEvent*>(e)->message());
            return true;
        }
    };
    std::vector<std::string> calls;
    bool shown = false;
    bool busy = false;
    Inbox inbox;

    bool isOpen() const override { return shown; }
    bool recording() const override { return busy; }
    std::uintptr_t window() const override { return shown ? handleOf(const_cast<Inbox*>(&inbox)) : 0; }
    void open(AppData&, QWidget*, const std::string& name, const std::string& number) override
    {
        shown = true;
        calls.push_back("open " + name + "/" + number);
    }
    void stateChange(int code) override { calls.push_back("state " + std::to_string(code)); }
    void clearLineInUse() override { calls.push_back("line not in use"); }
    void close() override
    {
        shown = false;
        calls.push_back("close");
    }
};

TEST_F(LineControllerTest, CallsPickedUpPlacedAndEndedReachThePhoneRecorder)
{
    ScriptedRecorder recorder;
    controller.setPhoneRecorder(&recorder);
    // "&Answer": the machine is off for this call, the recorder opens with
    // the caller and is told to answer (+11).
    block.CallState = 1;
    block.CallHandle = 9;
    std::snprintf(block.CallerNumber, sizeof block.CallerNumber, "%s", "01632 960001");
    std::snprintf(block.CallerName, sizeof block.CallerName, "%s", "Zoe Smith");
    fake.incomingChoice = LineService::IncomingChoice::PickedUp;
    controller.lineMessage(kEk7MsgOffered, nullptr);
    EXPECT_EQ(block.AnswerMachineOn, 0);
    // +107 with the machine off: connected (7); with it on the recorder is left alone.
    controller.lineMessage(kEk7MsgConnected, nullptr);
    block.AnswerMachineOn = 1;
    controller.lineMessage(kEk7MsgConnected, nullptr);
    block.AnswerMachineOn = 0;
    // +150: the line is no longer the recorder's, and it hears of the end (+7).
    controller.lineMessage(kEk7MsgDisconnected, nullptr);
    QCoreApplication::sendPostedEvents(&recorder.inbox);
    EXPECT_EQ(recorder.inbox.messages,
              (std::vector<UINT>{PhoneRecorderService::kRecordIncoming, PhoneRecorderService::kCallEnded}));

    // +156 (the recorder filed the call): the Phone list, when shown, is filled again.
    app.CurrentListType = kListPhone;
    EXPECT_EQ(controller.lineMessage(LineController::kListRoutine, nullptr), Refresh::PhoneList);

    // +155: the chosen entry is shown, then dialled; lParam 1 opens it empty
    // and dials nothing.
    app.ChosenName = "Ada Lovelace";
    app.ChosenNumber = "0161 496";
    fake.calls.clear();
    controller.lineMessage(LineController::kOutgoingCallRecorder, nullptr, 0);
    controller.lineMessage(LineController::kOutgoingCallRecorder, nullptr, 1);
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"place call Ada Lovelace 0161 496"}));

    // The answer machine switched on: an idle recorder is closed and
    // remembered; one recording is left recording.
    recorder.busy = true;
    controller.switchOn(nullptr);
    EXPECT_FALSE(controller.recorderWasOpen());
    recorder.busy = false;
    controller.switchOn(nullptr);
    EXPECT_TRUE(controller.recorderWasOpen());
    EXPECT_EQ(recorder.calls,
              (std::vector<std::string>{"open Zoe Smith/01632 960001", "state 7", "line not in use",
                                        "open Ada Lovelace/0161 496", "open /", "close"}));
}

// --- The window's side ------------------------------------------------------

class PhoneWiring : public StoreWindowTest {
protected:
    LineState block{};

    void SetUp() override
    {
        fake.modemChoice = 0;  // a modem is chosen on the first start
        open();
        app.lineState = &block;  // the scripted line has no block of its own
        fake.calls.clear();
    }

    QAction* command(int id) const { return window->commandAction(id); }
    bool enabled(int id) const { return command(id)->isEnabled(); }
    bool checked(int id) const { return command(id)->isChecked(); }
};

TEST_F(PhoneWiring, ThePhoneMenuFollowsTheControllerWhateverAClickToggled)
{
    ASSERT_TRUE(enabled(ID_ANSWER_MACHINE_ON));
    ASSERT_FALSE(enabled(ID_STOP_MONITORING));

    // Refused (752): a click's own toggle of the check is undone.
    fake.switchOnResult = Switch::Refused;
    command(ID_ANSWER_MACHINE_ON)->trigger();
    EXPECT_FALSE(checked(ID_ANSWER_MACHINE_ON));
    EXPECT_TRUE(enabled(ID_ANSWER_MACHINE_ON));

    fake.switchOnResult = Switch::On;
    fake.lineMonitoring = true;
    command(ID_ANSWER_MACHINE_ON)->trigger();
    EXPECT_TRUE(checked(ID_ANSWER_MACHINE_ON));
    EXPECT_FALSE(enabled(ID_ANSWER_MACHINE_ON));
    EXPECT_TRUE(enabled(ID_ANSWER_MACHINE_OFF));
    EXPECT_FALSE(enabled(ID_START_MONITORING));
    EXPECT_TRUE(enabled(ID_STOP_MONITORING));
    EXPECT_EQ(label(IDC_STATUS_TEXT).toStdString(), "Line monitoring inactive : Using Navo File : " + app.DataStorePath);

    // Line messages posted to the window reach the controller.
    PostMessage(window->handle(), kEk7MsgConnected, 0, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"answer machine on", "answer machine on", "call connected"}));
    PostMessage(window->handle(), kEk7MsgLineClosed, kEk7RegistrationRefused, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(fake.calls.back(), "line closed " + std::to_string(kEk7RegistrationRefused));
}

TEST_F(PhoneWiring, UseDictationAsGreetingTakesTheOneSelectedDictation)
{
    records->dictation("Hello, you have reached Ann");
    records->dictation("Another one");
    records->message("Bob", "0800 1", true);
    ASSERT_EQ(records->lastResult(), 0);

    window->fillList(kListDictation);
    select({1});  // newest first: the first dictation
    std::unique_ptr<QMenu> menu = window->recordMenu();
    ASSERT_NE(menu, nullptr);
    QAction* greeting = menu->findChild<QAction*>(QString::number(ID_RECORD_USE_AS_GREETING));
    ASSERT_NE(greeting, nullptr);
    EXPECT_TRUE(greeting->isEnabled());
    greeting->trigger();
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"greeting from 00000001.vxz"}));

    // Two rows, or a phone message: not a greeting.
    select({0, 1});
    window->runCommand(ID_RECORD_USE_AS_GREETING);
    window->fillList(kListPhone);
    select({0});
    EXPECT_FALSE(window->recordMenu()->findChild<QAction*>(QString::number(ID_RECORD_USE_AS_GREETING))->isEnabled());
    window->runCommand(ID_RECORD_USE_AS_GREETING);
    EXPECT_EQ(fake.calls.size(), 1u);
}

// Redial and Add to PhoneBook take the Phone list's selected call: its name
// and number go to the phone book, and Redial asks for the call (+155 to the
// window, which places it) only when the line can place it.
TEST_F(PhoneWiring, RedialAndAddToPhoneBookTakeTheSelectedCall)
{
    records->message("Ann Smith", "0161 496", true);
    ASSERT_EQ(records->lastResult(), 0);
    window->fillList(kListPhone);
    select({0});
    std::unique_ptr<QMenu> menu = window->recordMenu();
    ASSERT_NE(menu, nullptr);
    QAction* add = menu->findChild<QAction*>(QString::number(ID_RECORD_ADD_TO_PHONEBOOK));
    QAction* redial = menu->findChild<QAction*>(QString::number(ID_RECORD_REDIAL));
    ASSERT_TRUE(add != nullptr && redial != nullptr);
    EXPECT_TRUE(add->isEnabled());
    EXPECT_TRUE(redial->isEnabled());

    add->trigger();
    const std::vector<PhoneBookEntry> book =
        PhoneBook(components::workspacePath(app.TempDir, components::kPhoneBook)).load();
    ASSERT_EQ(book.size(), 1u);
    EXPECT_EQ(book[0].name, "Ann Smith");
    EXPECT_EQ(book[0].number, "0161 496");

    {
        ScriptedPrompt prompt;  // not monitoring: code 17, nothing placed
        prompt.answerMessage(IDOK);
        redial->trigger();
        QCoreApplication::processEvents();
        ASSERT_EQ(prompt.messages().size(), 1u);
        EXPECT_EQ(prompt.messages()[0].text.rfind("Line monitoring must be active", 0), 0u);
    }
    block.Monitoring = 1;
    block.DialReady = 1;
    redial->trigger();
    QCoreApplication::processEvents();
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"place call Ann Smith 0161 496"}));
}

}  // namespace

TEST_F(PhoneWiring, ThePhoneBookExportedThenImportedFromTheFileMenuGivesTheSameEntriesOnce)
{
    const std::string bookPath = components::workspacePath(app.TempDir, components::kPhoneBook);
    const PhoneBook book(bookPath);
    ASSERT_EQ(book.add("Ann Smith", "0800 111"), 0);
    ASSERT_EQ(book.add("Bob", "0800 222"), 0);
    ASSERT_EQ(book.add("Cy", "0800 333"), 0);
    const auto pairs = [&] {
        std::vector<std::pair<std::string, std::string>> all;
        for (const PhoneBookEntry& e : book.load())
            all.emplace_back(e.name, e.number);
        return all;
    };
    const auto original = pairs();
    const std::string exported = dir.filePath("book.vxb").toStdString();
    const auto import = [&](const std::string& path, int command) {
        ScriptedPrompt prompt;
        prompt.answerFile(path);
        prompt.answerMessage(IDOK);
        window->runCommand(command);
        return prompt.messages().at(0).text;
    };
    {
        ScriptedPrompt prompt;
        prompt.answerFile(exported);
        window->runCommand(ID_EXPORT_PHONE_BOOK);
        EXPECT_TRUE(prompt.messages().empty());
        EXPECT_FALSE(prompt.fileRequests().at(0).open);
    }
    ASSERT_EQ(book.remove(PhoneBook::kLineSize), 0);
    ASSERT_EQ(book.remove(PhoneBook::kLineSize), 0);
    ASSERT_EQ(pairs().size(), 1u);

    EXPECT_EQ(import(exported, ID_IMPORT_PHONE_BOOK_FILE),
              "Phone Book imported from " + exported + ":\n2 added, 1 already here and skipped.");
    EXPECT_EQ(pairs(), original);
    // A copy of the whole store: an import puts the book into the store at
    // once, so the copy holds all three.
    const std::string storeCopy = dir.filePath("copy.vxt").toStdString();
    std::filesystem::copy_file(app.DataStorePath, storeCopy);
    EXPECT_EQ(import(exported, ID_IMPORT_PHONE_BOOK_FILE),
              "Phone Book imported from " + exported + ":\n0 added, 3 already here and skipped.");
    EXPECT_EQ(pairs(), original);
    // In the store at once: importing the store's own book adds nothing.
    EXPECT_EQ(import(app.DataStorePath, ID_IMPORT_PHONE_BOOK_STORE),
              "Phone Book imported from " + app.DataStorePath + ":\n0 added, 3 already here and skipped.");

    // A file that is no phone book: its name and why, and nothing changed.
    const std::string notes = dir.filePath("notes.vxb").toStdString();
    std::ofstream(notes) << "Ann 0800 111\nBob 0800 222\n";
    const std::string before = [&] {
        std::ifstream in(bookPath, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }();
    EXPECT_EQ(import(notes, ID_IMPORT_PHONE_BOOK_FILE),
              "Phone Book not imported; nothing was changed.\n" + notes
                  + ": it is not a phone book (its length is not a whole number of 101-byte lines)");
    {
        std::ifstream in(bookPath, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), before);
    }

    // Importing the whole store brings its phone book in with its records.
    ASSERT_EQ(book.remove(PhoneBook::kLineSize), 0);
    ASSERT_EQ(pairs().size(), 2u);
    const std::string report = import(storeCopy, ID_IMPORT_DATASTORE);
    EXPECT_NE(report.find("Phone Book: 1 added, 2 already here and skipped."), std::string::npos) << report;
    EXPECT_EQ(pairs().size(), 3u);
}

TEST(PhoneBookImportLimit, TheImportStopsAtFiveThousandEntriesAndSaysHowManyWereLeftOut)
{
    QTemporaryDir dir;
    AppData app;
    app.TempDir = QFile::encodeName(dir.path()).toStdString();
    app.DataStorePath = app.TempDir + "/NAVO.vxt";
    std::string current;
    for (int i = 0; i < 4998; ++i)
        current += PhoneBook::buildLine("Name" + std::to_string(i), std::to_string(i));
    std::ofstream(components::workspacePath(app.TempDir, components::kPhoneBook), std::ios::binary) << current;
    ASSERT_EQ(RPS_Create(app.DataStorePath.c_str()), 0);
    std::string incoming = PhoneBook::buildLine("Name7", "7");  // already here
    for (int i = 0; i < 4; ++i)
        incoming += PhoneBook::buildLine("New" + std::to_string(i), "1");
    MergeReport report;
    std::string error;
    ASSERT_EQ(phonebookimport::importPhoneBook(app, incoming, "in.vxb", &report, &error), 0) << error;
    EXPECT_EQ(report.added, 2);
    EXPECT_EQ(report.skipped, 1);
    EXPECT_EQ(report.leftOut, 2);
    EXPECT_EQ(PhoneBook(components::workspacePath(app.TempDir, components::kPhoneBook)).load().size(), 5000u);
    EXPECT_NE(componentexchange::reportText(report).find("2 not imported: the phone book holds at most 5000"),
              std::string::npos);
}
