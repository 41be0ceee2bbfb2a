// TelephonyService, the main window's line, over the test line: monitoring
// started and stopped with its status texts and messages, the "Rings" and
// "CommID" settings, Modem Selection, the incoming-call window on a real
// call, and the exit.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLocalServer>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

#include <functional>
#include <memory>

#include "LineTestSupport.h"
#include "ScriptedPrompt.h"
#include "core/AppData.h"
#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"
#include "platform/Trace.h"
#include "res/StringTable.h"
#include "telephony/IncomingCallDialog.h"
#include "telephony/ModemSelectionDialog.h"
#include "telephony/TapiBinding.h"
#include "telephony/TelephonyService.h"

namespace {

// Runs check on the modal dialog once it is up (the test thread is inside
// its exec() then).
void whenModal(std::function<void(QWidget*)> check)
{
    QTimer::singleShot(0, [check] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog == nullptr) {
            QTimer::singleShot(20, [check] { whenModal(check); });
            return;
        }
        check(dialog);
    });
}

// Runs action once ready() holds, checking as the event loop runs; after
// five seconds anyway, so a check that never holds fails instead of hanging.
void whenReady(QObject* context, std::function<bool()> ready, std::function<void()> action, int triesLeft = 250)
{
    if (ready() || triesLeft == 0) {
        action();
        return;
    }
    QTimer::singleShot(20, context, [=] { whenReady(context, ready, action, triesLeft - 1); });
}

class TelephonyServiceTest : public ::testing::Test {
protected:
    explicit TelephonyServiceTest(const std::string& providers = "test line")
        : setup(200, providers), profile(setup.path("NAVO.ini"), "Tester")
    {
        app.IniPath = setup.path("NAVO.ini");
        app.ProfileSection = "Tester";
        service.initVar(app);
        log = std::make_unique<MessageLog>(app.lineState);
    }

    ~TelephonyServiceTest() override { service.close(app); }

    // Monitoring the test line, answering after rings (the setting left as
    // it is when 0).
    void startMonitoring(int rings = 0)
    {
        service.chooseDevice(0);
        if (rings > 0)
            profile.write(settings::kRings, std::to_string(rings));
        ASSERT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::Started);
    }

    // Every offered call picked up, as by a user; then onConnected.
    void pickUpCalls(std::function<void()> onConnected = {})
    {
        log->onMessage = [onConnected](const LoggedMessage& m) {
            if (m.message == kEk7MsgOffered)
                Ek7TapiAnswer();
            if (m.message == kEk7MsgConnected && onConnected)
                onConnected();
        };
    }

    TestLineSetup setup;
    ProfileSettings profile;
    AppData app;
    TelephonyService service{ProgramResources(QString::fromStdString(TestLineSetup::soundsFolder()))};
    std::unique_ptr<MessageLog> log;
};

TEST_F(TelephonyServiceTest, StartNeedsAChosenDeviceAndReadsTheRingsSettingEachTime)
{
    {
        ScriptedPrompt prompt;  // any message box would fail the test
        EXPECT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::NoDevice);
        EXPECT_EQ(service.statusText(), "Line monitoring inactive");
        EXPECT_EQ(profile.read(settings::kRings), "Bad");  // not even read
    }
    startMonitoring();
    EXPECT_TRUE(service.monitoring());
    EXPECT_EQ(service.statusText(), "Line monitoring active");
    EXPECT_EQ(profile.read(settings::kRings), "3");  // missing: written as 3
    EXPECT_EQ(app.lineState->Rings, 3);

    profile.write(settings::kRings, "5");
    EXPECT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::AlreadyMonitoring);
    EXPECT_EQ(app.lineState->Rings, 5);  // read again even so

    service.stopMonitoring();
    EXPECT_FALSE(service.monitoring());
    EXPECT_EQ(service.statusText(), "Line monitoring inactive");
    EXPECT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::Started);
}

TEST_F(TelephonyServiceTest, AModemThatIsGoneShowsMessage749AndDisablesMonitoring)
{
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    service.chooseDevice(3);  // the test line is device 0 and the only one
    EXPECT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::OpenFailed);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, LoadString(749));
    EXPECT_EQ(prompt.messages()[0].flags, MB_OK | MB_ICONINFORMATION);
    EXPECT_EQ(service.statusText(), "Failed to start line monitoring");
    EXPECT_FALSE(service.deviceChosen());
    EXPECT_FALSE(service.monitoring());
    // Until a modem is chosen again, starting is refused without a word.
    EXPECT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::NoDevice);
    EXPECT_EQ(prompt.messages().size(), 1u);
}

TEST_F(TelephonyServiceTest, ALineInUseElsewhereSaysSoAndCanBeStartedOnceFree)
{
    auto other = std::make_unique<QLocalServer>();
    ASSERT_TRUE(other->listen(QString::fromStdString(setup.socketPath())));
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    service.chooseDevice(0);
    EXPECT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::OpenFailed);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_NE(prompt.messages()[0].text, LoadString(749)) << "told the modem is gone";
    EXPECT_NE(prompt.messages()[0].text.find("in use by another program"), std::string::npos);
    EXPECT_EQ(service.statusText(), "Failed to start line monitoring (the line is in use by another program)");
    // The device is still there: once the other program lets go, it is
    // monitored without being chosen again.
    EXPECT_TRUE(service.deviceChosen());
    other.reset();
    EXPECT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::Started);
}

TEST_F(TelephonyServiceTest, IncomingCallWindowShowsTheCallerAndSendsTheCallToTheAnswerMachine)
{
    startMonitoring(9);
    QString shownNumber, shownName;
    TelephonyService::IncomingChoice choice = TelephonyService::IncomingChoice::PickedUp;
    bool ran = false;
    log->onMessage = [&](const LoggedMessage& m) {
        if (m.message == kEk7MsgCallerId)
            service.forwardCallerId();
        if (m.message != kEk7MsgOffered || app.lineState->AnswerMachineOn != 0 || app.lineState->CallState != 1)
            return;
        whenModal([&](QWidget* dialog) {
            auto* number = dialog->findChild<QLabel*>(QStringLiteral("10037"));
            // Once the caller's identity has come and been forwarded.
            whenReady(dialog, [number] { return !number->text().isEmpty(); }, [&, dialog, number] {
                shownNumber = number->text();
                shownName = dialog->findChild<QLabel*>(QStringLiteral("10039"))->text();
                dialog->findChild<QPushButton*>(QStringLiteral("2"))->click();  // "&Message"
            });
        });
        choice = service.runIncomingCall(nullptr);
        ran = true;
    };
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "2", "--number", "01632 960001", "--name", "Zoe Smith"});
    EXPECT_EQ(caller.finish(), 4);  // nobody answers within two rings
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    ASSERT_TRUE(ran);
    EXPECT_EQ(choice, TelephonyService::IncomingChoice::ToAnswerMachine);
    EXPECT_EQ(shownNumber, QStringLiteral("01632 960001"));
    EXPECT_EQ(shownName, QStringLiteral("Zoe Smith"));
    EXPECT_EQ(app.lineState->CallAnsweredByUser, 1);
    EXPECT_EQ(service.incomingCallDialog(), nullptr);  // destroyed and forgotten
}

TEST_F(TelephonyServiceTest, IncomingCallWindowClosesByItselfWhenTheCallerHangsUp)
{
    startMonitoring(9);
    TelephonyService::IncomingChoice choice = TelephonyService::IncomingChoice::PickedUp;
    bool ran = false, wasRinging = false, ringingAfterEnd = true;
    log->onMessage = [&](const LoggedMessage& m) {
        if (m.message == kEk7MsgDisconnected && service.incomingCallDialog() != nullptr) {
            wasRinging = service.incomingCallDialog()->ring().isPlaying();
            service.callEnded();  // as the main window does on +150
            ringingAfterEnd = service.incomingCallDialog()->ring().isPlaying();
        }
        if (m.message != kEk7MsgOffered || app.lineState->CallState != 1)
            return;
        // Nobody clicks anything; should the window stay up, it is closed
        // long after the caller has gone so the test fails instead of hanging.
        whenModal([](QWidget* dialog) { QTimer::singleShot(15000, dialog, [dialog] { dialog->close(); }); });
        choice = service.runIncomingCall(nullptr);
        ran = true;
    };
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "2", "--number", "01632 960002", "--name", "Yan Li"});
    EXPECT_EQ(caller.finish(), 4);  // the caller gives up after two rings
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    ASSERT_TRUE(ran) << "the window did not close when the caller hung up";
    EXPECT_EQ(choice, TelephonyService::IncomingChoice::CallerHungUp);
#ifdef NAVO_TEST_HAS_RING
    EXPECT_TRUE(wasRinging);
#endif
    EXPECT_FALSE(ringingAfterEnd);
    EXPECT_EQ(app.lineState->CallAnsweredByUser, 0);
    EXPECT_EQ(service.incomingCallDialog(), nullptr);
    EXPECT_TRUE(service.monitoring());
}

TEST_F(TelephonyServiceTest, ConnectedCallIsWaitingForTheUserUnlessTheAnswerMachineHasIt)
{
    startMonitoring(1);
    bool waitingWhileConnected = false;
    bool waitingWithMachine = true;
    pickUpCalls([&] {
        waitingWhileConnected = service.callWaitingForUser();
        app.lineState->AnswerMachineOn = 1;
        waitingWithMachine = service.callWaitingForUser();
        app.lineState->AnswerMachineOn = 0;
    });
    EXPECT_FALSE(service.callWaitingForUser());
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "4", "--speak-after", "answer", "--hold", "200"});
    EXPECT_EQ(caller.finish(), 0);
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_TRUE(waitingWhileConnected);
    EXPECT_FALSE(waitingWithMachine);
    EXPECT_FALSE(service.callWaitingForUser());
}

// An outgoing call with no phone recorder in the build: the call is placed
// and each step shows after the line's status text; nothing pretends to
// record it. A number that is busy says so; Stop Monitoring hangs up.
TEST_F(TelephonyServiceTest, OutgoingCallShowsItsProgressInTheStatusText)
{
    startMonitoring();
    std::vector<std::string> shown;
    log->onMessage = [this, &shown](const LoggedMessage& m) {
        if (service.outgoingCallMessage(m.message))
            shown.push_back(service.statusText());
    };
    NavoLineProcess phone(setup.socketPath());
    phone.start({"wait", "--answer-after", "1", "--hold", "5000", "--timeout", "10000"});
    ASSERT_TRUE(phone.waitForOutput(QStringLiteral("waiting for a call")));
    service.placeCall("Ada Lovelace", "0161 496");
    EXPECT_EQ(service.statusText(), "Line monitoring active : Calling Ada Lovelace (0161 496)");
    ASSERT_TRUE(log->waitFor(kEk7MsgConnected));
    EXPECT_EQ(shown, (std::vector<std::string>{
                         "Line monitoring active : Ada Lovelace (0161 496) is ringing",
                         "Line monitoring active : Connected to Ada Lovelace (0161 496) (not recorded)"}));
    service.stopMonitoring();  // hangs up
    EXPECT_EQ(phone.finish(), 0);
    EXPECT_TRUE(phone.outputHas("Navo hung up"));
    EXPECT_EQ(service.statusText(), "Line monitoring inactive");

    ASSERT_EQ(service.startMonitoring(log.get()), TelephonyService::StartResult::Started);
    shown.clear();
    service.placeCall("", "0800 000");  // nobody waits: engaged
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    ASSERT_FALSE(shown.empty());
    EXPECT_EQ(shown.back(), "Line monitoring active : 0800 000 is busy");
}

TEST_F(TelephonyServiceTest, ExitDropsACallInProgressAndClosesTheLine)
{
    startMonitoring(1);
    pickUpCalls();
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "4", "--speak-after", "answer", "--hold", "10000"});
    ASSERT_TRUE(log->waitFor(kEk7MsgConnected));
    service.close(app);
    EXPECT_EQ(caller.finish(), 0);
    EXPECT_TRUE(caller.outputHas("Navo hung up")) << caller.output().toStdString();
    EXPECT_FALSE(service.monitoring());
    EXPECT_EQ(app.lineState->CallHandle, 0u);
    EXPECT_EQ(service.statusText(), "Line monitoring inactive");
}

TEST_F(TelephonyServiceTest, LineDropThroughTheBindingEndsTheCallWithItsMessages)
{
    startMonitoring(1);
    pickUpCalls([&] { EXPECT_EQ(lineDrop(app.lineState->CallHandle, nullptr, 0), 0); });
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "4", "--speak-after", "answer", "--hold", "10000"});
    EXPECT_EQ(caller.finish(), 0);
    EXPECT_TRUE(caller.outputHas("Navo hung up"));
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_EQ(log->count(kEk7MsgDisconnected), 1);
    EXPECT_TRUE(service.monitoring());  // the line stays open for the next call
}

class TwoLines : public TelephonyServiceTest {
protected:
    TwoLines() : TelephonyServiceTest("test line,SIP line") {}
};

TEST_F(TwoLines, ModemSelectionPreselectsCommIdReadAsDecimalAndRestartsMonitoring)
{
    // "a" is what device 10 was written as: read as a decimal number it is 0.
    profile.write(settings::kCommID, "a");
    startMonitoring();

    QStringList rows;
    QString preselected;
    bool iconShown = false;
    bool descriptionsWhole = true;
    whenModal([&](QWidget* dialog) {
        auto* list = dialog->findChild<QTreeWidget*>(QStringLiteral("10038"));
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            rows << list->topLevelItem(i)->text(0) + QLatin1Char(' ') + list->topLevelItem(i)->text(1);
        if (!list->selectedItems().isEmpty())
            preselected = list->selectedItems().first()->text(0);
        iconShown = !list->topLevelItem(0)->icon(0).isNull();
        // Every description is shown whole, and the number column is no
        // wider than a number needs.
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            descriptionsWhole = descriptionsWhole &&
                list->columnWidth(1) > list->fontMetrics().horizontalAdvance(list->topLevelItem(i)->text(1));
        descriptionsWhole = descriptionsWhole && list->viewport()->width() >= list->header()->length() &&
                            list->columnWidth(0) < list->columnWidth(1) / 2;
        list->clearSelection();
        list->topLevelItem(1)->setSelected(true);
        dialog->findChild<QPushButton*>(QStringLiteral("8010"))->click();  // Select
    });
    EXPECT_TRUE(service.modemSelectionCommand(nullptr));
    EXPECT_EQ(rows, (QStringList{"0 Navo test line (driven by navo-line)", "1 Navo SIP line (calls over the Internet)"}));
    EXPECT_EQ(preselected, QStringLiteral("0"));
    EXPECT_TRUE(iconShown);
    EXPECT_TRUE(descriptionsWhole);
    EXPECT_EQ(app.lineState->DeviceId, 1);
    EXPECT_TRUE(service.deviceChosen());
    EXPECT_EQ(profile.read(settings::kCommID), "1");
    // Monitoring was on before, so it is on again, now on the SIP line.
    EXPECT_TRUE(service.monitoring());
    service.stopMonitoring();
}

TEST_F(TwoLines, CancelKeepsTheDeviceAndCommIdMissingPreselectsNothing)
{
    service.chooseDevice(1);
    QString preselected = QStringLiteral("unset");
    QString testerLog;
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    whenModal([&](QWidget* dialog) {
        auto* list = dialog->findChild<QTreeWidget*>(QStringLiteral("10038"));
        preselected = list->selectedItems().isEmpty() ? QString() : list->selectedItems().first()->text(0);
        // Test with no row chosen: message 760; with one: the tester on it.
        dialog->findChild<QPushButton*>(QStringLiteral("8011"))->click();
        list->topLevelItem(0)->setSelected(true);
        whenModal([&](QWidget* tester) {
            testerLog = tester->findChild<QPlainTextEdit*>(QStringLiteral("10261"))->toPlainText();
            tester->findChild<QPushButton*>(QString::number(IDCANCEL))->click();
        });
        dialog->findChild<QPushButton*>(QStringLiteral("8011"))->click();
        dialog->findChild<QPushButton*>(QStringLiteral("8009"))->click();  // Cancel
    });
    EXPECT_EQ(service.selectModem(nullptr), -1);
    EXPECT_TRUE(preselected.isEmpty());
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, LoadString(760));
    EXPECT_EQ(testerLog, QStringLiteral("Navo test line (driven by navo-line) selected for testing\n\n"));
    // Neither listing nor testing a line chooses it.
    EXPECT_EQ(app.lineState->DeviceId, 1);
    EXPECT_FALSE(service.monitoring());
}

class NoLines : public TelephonyServiceTest {
protected:
    NoLines() : TelephonyServiceTest("") {}
};

TEST_F(NoLines, ModemSelectionWithoutDevicesShowsMessage759)
{
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    service.chooseDevice(0);
    EXPECT_EQ(service.selectModem(nullptr), -1);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, LoadString(759));
    EXPECT_EQ(prompt.messages()[0].flags, MB_OK | MB_ICONINFORMATION);
    EXPECT_FALSE(service.deviceChosen());
    prompt.answerMessage(IDOK);
    EXPECT_FALSE(service.modemSelectionCommand(nullptr));
    EXPECT_EQ(profile.read(settings::kCommID), "Bad");
}

}  // namespace
