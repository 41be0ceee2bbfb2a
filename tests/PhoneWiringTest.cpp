// The main window's telephone wiring with the line and the answer machine
// scripted: which line message reaches which step under which line state,
// the Phone menu's states after each command, and "Use dictation as
// greeting" from the record menu. The store is real.
#include <QAction>
#include <QCoreApplication>
#include <QLabel>
#include <QMenu>
#include <QTemporaryDir>
#include <QTreeView>
#include <gtest/gtest.h>

#include <algorithm>

#include "FakeServices.h"
#include "RecordFactory.h"
#include "ScriptedPrompt.h"
#include "app/MainWindow.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "res/resource.h"
#include "store/DataStoreService.h"

namespace {

using Switch = AnswerMachineService::Switch;
using StartResult = LineService::StartResult;

class PhoneWiring : public ::testing::Test {
protected:
    QTemporaryDir dir;
    AppData app;
    FakeServices fake;
    DataStoreService store;
    LineState block{};
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        fake.modemChoice = 0;  // a modem is chosen on the first start
        StartupServices services = fake.services();
        services.store = &store;
        window = std::make_unique<MainWindow>(app, services, QFile::encodeName(dir.path()).toStdString() + "/navo");
        window->OnInitDialog();
        ASSERT_EQ(app.StoreUnusable, kStoreHealthy);
        app.lineState = &block;  // the scripted line has no block of its own
        fake.calls.clear();
    }
    void TearDown() override
    {
        store.deleteWorkingCopies(app);
        store.workspace(app, 2, "*.*");
    }

    void post(UINT message)
    {
        PostMessage(window->handle(), message, 0, 0);
        QCoreApplication::processEvents();
    }
    int count(const std::string& call) const { return static_cast<int>(std::count(fake.calls.begin(), fake.calls.end(), call)); }
    QAction* command(int id) const { return window->commandAction(id); }
    bool enabled(int id) const { return command(id)->isEnabled(); }
    bool checked(int id) const { return command(id)->isChecked(); }
    QString status() const { return window->findChild<QLabel*>(QString::number(IDC_STATUS_TEXT))->text(); }
};

TEST_F(PhoneWiring, LineMessagesReachTheAnswerMachineOnlyWhenTheLineStateSaysSo)
{
    // +120: only an offered call with a handle is answered.
    post(kEk7MsgAnswerNow);
    block.CallState = 1;
    post(kEk7MsgAnswerNow);
    block.CallHandle = 7;
    post(kEk7MsgAnswerNow);
    EXPECT_EQ(count("answer call"), 1);

    post(kEk7MsgConnected);
    EXPECT_EQ(count("call connected"), 1);

    // +150: the machine files only when it is on; the line hears of every end
    // (an incoming-call window may be up).
    post(kEk7MsgDisconnected);
    EXPECT_EQ(count("call ended"), 0);
    block.AnswerMachineOn = 1;
    post(kEk7MsgDisconnected);
    EXPECT_EQ(count("call ended"), 1);
    EXPECT_EQ(count("line call ended"), 2);

    // A ring, a busy number and the idle call need nothing.
    const std::size_t before = fake.calls.size();
    for (UINT message : {kEk7MsgRing, kEk7MsgBusy, kEk7MsgIdle, kEk7MsgPlayDone, kEk7MsgRecording})
        post(message);
    EXPECT_EQ(fake.calls.size(), before);
}

TEST_F(PhoneWiring, CallerIdentityIsTracedAndForwarded)
{
    std::snprintf(block.CallerNumber, sizeof block.CallerNumber, "%s", "01632 960001");
    std::snprintf(block.CallerName, sizeof block.CallerName, "%s", "Zoe Smith");
    TraceCapture trace;
    post(kEk7MsgCallerId);
    EXPECT_EQ(count("forward caller id"), 1);
    const std::vector<std::string> lines = trace.lines();
    const auto number = std::find(lines.begin(), lines.end(), "01632 960001");
    ASSERT_NE(number, lines.end()) << trace.text();
    ASSERT_NE(number + 1, lines.end());
    EXPECT_EQ(*(number + 1), "Zoe Smith");
}

TEST_F(PhoneWiring, AnIncomingCallAsksTheUserOnlyWhileTheMachineIsOff)
{
    post(kEk7MsgOffered);  // no call on the line: nothing
    block.CallState = 1;
    post(kEk7MsgOffered);
    fake.incomingChoice = LineService::IncomingChoice::PickedUp;
    post(kEk7MsgOffered);
    // The caller hung up while the window was up: nobody takes the call.
    fake.incomingChoice = LineService::IncomingChoice::CallerHungUp;
    post(kEk7MsgOffered);
    block.AnswerMachineOn = 1;
    post(kEk7MsgOffered);
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"incoming call", "machine takes this call", "incoming call",
                                                    "user takes this call", "incoming call"}));
}

TEST_F(PhoneWiring, TheAnswerMachineSwitchSetsThePhoneMenu)
{
    ASSERT_TRUE(enabled(ID_ANSWER_MACHINE_ON));

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
    EXPECT_FALSE(checked(ID_ANSWER_MACHINE_OFF));
    EXPECT_TRUE(enabled(ID_ANSWER_MACHINE_OFF));
    EXPECT_FALSE(enabled(ID_START_MONITORING));
    EXPECT_TRUE(enabled(ID_STOP_MONITORING));
    EXPECT_EQ(status().toStdString(), "Line monitoring inactive : Using Navo File : " + app.DataStorePath);

    fake.switchOffResult = Switch::Off;
    command(ID_ANSWER_MACHINE_OFF)->trigger();
    EXPECT_FALSE(checked(ID_ANSWER_MACHINE_ON));
    EXPECT_TRUE(enabled(ID_ANSWER_MACHINE_ON));
    EXPECT_TRUE(checked(ID_ANSWER_MACHINE_OFF));
    EXPECT_FALSE(enabled(ID_ANSWER_MACHINE_OFF));

    // The modem has gone: monitoring failed and nothing can be started.
    fake.switchOnResult = Switch::Failed;
    fake.lineMonitoring = false;
    fake.chosen = false;
    command(ID_ANSWER_MACHINE_ON)->trigger();
    EXPECT_FALSE(enabled(ID_START_MONITORING));
    EXPECT_FALSE(enabled(ID_STOP_MONITORING));
    EXPECT_FALSE(checked(ID_ANSWER_MACHINE_ON));
    EXPECT_FALSE(enabled(ID_ANSWER_MACHINE_ON));
    EXPECT_TRUE(checked(ID_ANSWER_MACHINE_OFF));
    EXPECT_FALSE(enabled(ID_ANSWER_MACHINE_OFF));
}

TEST_F(PhoneWiring, WithoutAModemSwitchingOffGreysTheOffCommand)
{
    fake.switchOffResult = Switch::NoDevice;
    window->runCommand(ID_ANSWER_MACHINE_OFF);
    EXPECT_FALSE(checked(ID_ANSWER_MACHINE_OFF));
    EXPECT_FALSE(enabled(ID_ANSWER_MACHINE_OFF));
}

TEST_F(PhoneWiring, MonitoringCommandsAndModemSelectionSetTheMenuAndStatus)
{
    window->runCommand(ID_START_MONITORING);
    EXPECT_FALSE(enabled(ID_START_MONITORING));
    EXPECT_TRUE(enabled(ID_STOP_MONITORING));
    window->runCommand(ID_STOP_MONITORING);
    EXPECT_TRUE(enabled(ID_START_MONITORING));
    EXPECT_FALSE(enabled(ID_STOP_MONITORING));
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"start monitoring", "stop monitoring"}));

    // The line stops by itself (a registrar refused the account): the line
    // says why and the menus let monitoring be started again.
    window->runCommand(ID_START_MONITORING);
    PostMessage(window->handle(), kEk7MsgLineClosed, kEk7RegistrationRefused, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(fake.calls.back(), "line closed " + std::to_string(kEk7RegistrationRefused));
    EXPECT_TRUE(enabled(ID_START_MONITORING));
    EXPECT_FALSE(enabled(ID_STOP_MONITORING));
    fake.calls.clear();

    // Refused silently without a device: the status stays as it was.
    const QString before = status();
    fake.startResult = StartResult::NoDevice;
    window->runCommand(ID_START_MONITORING);
    EXPECT_EQ(status(), before);
    EXPECT_TRUE(enabled(ID_START_MONITORING));

    // Modem Selection with a choice: start enabled, the machine shown off.
    fake.modemChoice = 1;
    window->runCommand(ID_MODEM_SELECTION);
    EXPECT_EQ(fake.device, 1);
    EXPECT_TRUE(enabled(ID_START_MONITORING));
    EXPECT_FALSE(checked(ID_ANSWER_MACHINE_ON));
    EXPECT_TRUE(enabled(ID_ANSWER_MACHINE_ON));
    EXPECT_TRUE(checked(ID_ANSWER_MACHINE_OFF));
    EXPECT_EQ(status().toStdString(), "Line monitoring inactive : Using Navo File : " + app.DataStorePath);
}

TEST_F(PhoneWiring, UseDictationAsGreetingTakesTheOneSelectedDictation)
{
    RecordFactory records(app);
    records.dictation("Hello, you have reached Ann");
    records.dictation("Another one");
    records.message("Bob", "0800 1", true);
    ASSERT_EQ(records.lastResult(), 0);
    QTreeView* list = window->findChild<QTreeView*>(QString::number(IDC_RECORD_LIST));
    auto select = [&](std::initializer_list<int> rows) {
        QItemSelectionModel* selection = list->selectionModel();
        selection->clearSelection();
        selection->setCurrentIndex(list->model()->index(*rows.begin(), 0), QItemSelectionModel::NoUpdate);
        for (int row : rows)
            selection->select(list->model()->index(row, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    };

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

}  // namespace
