// The modem tester over the test line, against navo-line as the far end: a
// call that connects logs every step "Passed" and the far end hears the
// greeting; a dead line logs the missing dial tone and shows its box; Stop
// drops a call and only then, with no call left, closes the line.
#include <gtest/gtest.h>

#include <memory>

#include "LineTestSupport.h"
#include "ScriptedPrompt.h"
#include "res/StringTable.h"
#include "telephony/ModemTester.h"

namespace {

class ModemTesterTest : public ::testing::Test {
protected:
    ModemTesterTest()
    {
        line = Ek7TapiInitVar();
        line->DeviceId = 0;  // the test line, the only device
        log = std::make_unique<MessageLog>(line);
        log->onMessage = [this](const LoggedMessage& m) { tester.message(m.message); };
        EXPECT_TRUE(SineFiles::write(greeting, 400, 0.6));
        // The test line listens for navo-line only while open: it is opened
        // first, so the tester finds it monitored and only takes it over.
        EXPECT_EQ(Ek7TapiInit(0)->ErrorCode, kEk7Ok);
        EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7Ok);
        tester.open("Navo test line");
    }
    ~ModemTesterTest() override
    {
        tester.close();
        Ek7TapiClose();
    }

    TestLineSetup setup{200};
    LineState* line = nullptr;
    std::unique_ptr<MessageLog> log;
    const std::string greeting = setup.path("vxgreet.wav");
    ModemTester tester{line, greeting, setup.path("")};
    ScriptedPrompt prompt;  // a box nobody expects fails the checks below
};

TEST_F(ModemTesterTest, ACallThatConnectsPassesEveryStepAndTheFarEndHearsTheGreeting)
{
    const std::string heard = setup.path("heard.wav");
    NavoLineProcess phone(setup.socketPath());
    phone.start({"wait", "--answer-after", "1", "--hear", QString::fromStdString(heard), "--timeout", "10000"});
    ASSERT_TRUE(phone.waitForOutput(QStringLiteral("waiting for a call"))) << phone.output().toStdString();

    tester.start("0161 496 0000", log->handle());
    EXPECT_FALSE(tester.buttons().start);
    EXPECT_FALSE(tester.buttons().cancel);
    EXPECT_FALSE(tester.buttons().stop);  // until the call exists
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle)) << tester.log();
    EXPECT_EQ(phone.finish(), 0) << phone.output().toStdString();
    EXPECT_TRUE(tester.buttons().stop);
    tester.stop();

    EXPECT_EQ(tester.log(),
              "Navo test line selected for testing\r\n\r\n"
              "Line opened : Passed\r\n"
              "Dialing...\r\n"
              "Dialing : Passed\r\n"
              "Connected : Passed\r\n"
              "Wave-out open : Passed\r\n"
              "Start Play sound : Passed\r\n"
              "Record sound start : Passed\r\n"
              "Recording...\r\n"
              "Record sound stop : Passed\r\n"
              "Record sound save : Passed\r\n"
              "Disconnected : Passed\r\n"
              "Idle : Passed\r\n"
              "Line shutdown : Passed\r\n"
              "================================\r\n\r\n");
    EXPECT_TRUE(prompt.messages().empty());
    EXPECT_EQ(line->Monitoring, 0);
    EXPECT_TRUE(tester.buttons().start);
    EXPECT_TRUE(tester.buttons().cancel);
    LineSamples played;
    ASSERT_TRUE(LineWave::readFile(heard, played));
    EXPECT_NEAR(SineFiles::measure(played).frequency, 400, 10);
}

TEST_F(ModemTesterTest, ADeadLineLogsNoDialToneAndShowsTheBox)
{
    NavoLineProcess dead(setup.socketPath());
    dead.start({"wait", "--no-dial-tone", "--timeout", "10000"});
    ASSERT_TRUE(dead.waitForOutput(QStringLiteral("waiting for a call"))) << dead.output().toStdString();
    prompt.answerMessage(IDOK);
    tester.start("0161 496 0001", log->handle());
    ASSERT_TRUE(log->waitFor(ModemTester::kDialToneBox));
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_NE(tester.log().find("Dialing : Passed\r\nConnection : Failed (No Dial Tone)\r\n"), std::string::npos)
        << tester.log();
    EXPECT_EQ(tester.log().find("Connected"), std::string::npos);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text,
              "A dial tone was not detected, \r\nensure your modem is connected to the phone socket\r\n and that it is "
              "turned on if it is an external modem.");
    EXPECT_EQ(prompt.messages()[0].flags, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
    EXPECT_EQ(dead.finish(), 7);
}

TEST_F(ModemTesterTest, StopDropsACallFirstAndClosesTheLineOnlyWithoutOne)
{
    // No number: message 748, and the line is never touched.
    prompt.answerMessage(IDOK);
    tester.start("", log->handle());
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, LoadString(748));
    EXPECT_EQ(line->CallHandle, 0u);
    EXPECT_EQ(log->count(kEk7MsgDialStarted), 0);
    EXPECT_EQ(tester.log(), "Navo test line selected for testing\r\n\r\n");
    EXPECT_TRUE(tester.buttons().start);

    NavoLineProcess phone(setup.socketPath());
    phone.start({"wait", "--answer-after", "50", "--timeout", "10000"});
    ASSERT_TRUE(phone.waitForOutput(QStringLiteral("waiting for a call"))) << phone.output().toStdString();
    tester.start("0161 496 0002", log->handle());
    ASSERT_TRUE(log->waitFor(kEk7MsgDialStarted));
    ASSERT_TRUE(log->waitFor(kEk7MsgRingBack));
    tester.stop();  // a call: dropped, the line stays open
    EXPECT_EQ(tester.log().find("Line shutdown"), std::string::npos);
    EXPECT_EQ(line->Monitoring, 1);
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_FALSE(tester.callActive());
    EXPECT_EQ(tester.log().find("Connected"), std::string::npos);
    tester.stop();  // no call: the line closes and the block ends
    EXPECT_EQ(line->Monitoring, 0);
    const std::string& text = tester.log();
    const std::string end = std::string("Disconnected : Passed\r\nIdle : Passed\r\nLine shutdown : Passed\r\n") +
                            ModemTester::kClosingLine;
    ASSERT_GE(text.size(), end.size());
    EXPECT_EQ(text.substr(text.size() - end.size()), end) << text;
    phone.finish();
}

}  // namespace
