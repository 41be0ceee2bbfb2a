// Ek7Tapi over the test line: a navo-line caller in a process of its own
// rings, speaks and hangs up; the test's window acts as the main window's
// answer machine does (answer at +120, greeting at +107, save at +150).
#include <gtest/gtest.h>

#include <QFile>
#include <QLocalServer>
#include <QUdpSocket>

#include <fstream>
#include <map>
#include <vector>
#include <memory>

#include "LineTestSupport.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "maker/Ek7Tapi/wave/LineWave.h"

namespace {

LineSamples readSamples(const std::string& path)
{
    LineSamples samples;
    EXPECT_TRUE(LineWave::readFile(path, samples)) << path;
    return samples;
}

std::string fileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

class TestLineCall : public ::testing::Test {
protected:
    void SetUp() override
    {
        state = Ek7TapiInitVar();
        log = std::make_unique<MessageLog>(state);
        ASSERT_TRUE(SineFiles::write(greeting, 400, 0.5));
        ASSERT_TRUE(SineFiles::write(voice, 600, 1.0));
    }

    void TearDown() override { Ek7TapiClose(); }

    void openLine(int rings, bool answerMachineOn = true)
    {
        state->Rings = rings;
        state->AnswerMachineOn = answerMachineOn ? 1 : 0;  // the window below acts as the answer machine
        state->DeviceId = 0;
        Ek7TapiInit(0);
        ASSERT_EQ(state->ErrorCode, kEk7Ok);
        ASSERT_EQ(state->DeviceCount, 1);
        Ek7TapiOpen(log->handle());
        ASSERT_EQ(state->ErrorCode, kEk7Ok);
        ASSERT_EQ(state->Monitoring, 1);
    }

    void actAsAnswerMachine() { ::actAsAnswerMachine(*log, state, setup, greeting, vxw, results); }

    // The line open with the answer machine on, and a caller ringing in.
    void callIn(int rings, const QStringList& arguments, bool answerMachineOn = true)
    {
        openLine(rings, answerMachineOn);
        actAsAnswerMachine();
        caller = std::make_unique<NavoLineProcess>(setup.socketPath());
        caller->start(QStringList{QStringLiteral("call")} + arguments);
    }

    TestLineSetup setup;
    LineState* state = nullptr;
    std::unique_ptr<MessageLog> log;
    SoundFolderResources resources;
    const std::string greeting = setup.path("greeting.wav");
    const std::string voice = setup.path("voice.wav");
    const std::string vxw = setup.path("message.vxw");
    AnswerResults results;
    std::unique_ptr<NavoLineProcess> caller;
};

TEST_F(TestLineCall, AnsweredAfterTheRingCountGreetedRecordedAndSaved)
{
    const std::string heard = setup.path("heard.wav");
    callIn(3, {"--rings", "6", "--number", "0207 946 0321", "--name", "Ada Lovelace", "--say",
               QString::fromStdString(voice), "--hear", QString::fromStdString(heard)});
    ASSERT_EQ(caller->finish(), 0) << caller->output().toStdString();
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    log->pump(50);

    EXPECT_TRUE(caller->outputHas("answered after 3 rings")) << caller->output().toStdString();
    EXPECT_EQ(results.answer, kEk7Ok);
    EXPECT_EQ(results.play, kEk7Ok);
    EXPECT_EQ(results.save, kEk7Ok);

    // The order of a whole call, rings and all (so each message below is there).
    const std::vector<UINT> expected = {kEk7MsgOffered,   kEk7MsgCallerId,  kEk7MsgRing,     kEk7MsgRing,
                                        kEk7MsgRing,      kEk7MsgAnswerNow, kEk7MsgConnected, kEk7MsgRecording,
                                        kEk7MsgPlayDone,  kEk7MsgDisconnected, kEk7MsgIdle};
    ASSERT_EQ(log->sequence(), expected);

    const LoggedMessage* offered = log->first(kEk7MsgOffered);
    EXPECT_EQ(offered->state.CallState, 1);
    EXPECT_NE(offered->state.CallHandle, 0u);
    EXPECT_EQ(offered->state.CallInProgress, 1);
    const LoggedMessage* callerId = log->first(kEk7MsgCallerId);
    EXPECT_EQ(callerId->state.CallerIdValid, 1);
    EXPECT_STREQ(callerId->state.CallerNumber, "0207 946 0321");
    EXPECT_STREQ(callerId->state.CallerName, "Ada Lovelace");

    // Rings one ring period apart, counted 1, 2, 3; the answer at the third.
    std::vector<qint64> ringTimes;
    for (const LoggedMessage& m : log->messages())
        if (m.message == kEk7MsgRing) {
            EXPECT_EQ(m.wParam, ringTimes.size() + 1);
            ringTimes.push_back(m.atMs);
        }
    EXPECT_NEAR(ringTimes[2] - ringTimes[1], setup.ringPeriodMs(), 60);
    const LoggedMessage* answerNow = log->first(kEk7MsgAnswerNow);
    EXPECT_EQ(answerNow->state.RingCount, 3);
    EXPECT_LT(answerNow->atMs - ringTimes[2], 50);

    // +150 still describes the call; after +151 it is gone.
    const LoggedMessage* ended = log->first(kEk7MsgDisconnected);
    EXPECT_EQ(ended->state.CallState, 1);
    EXPECT_EQ(ended->state.CallHandle, offered->state.CallHandle);
    EXPECT_EQ(state->CallState, 0);
    EXPECT_EQ(state->CallHandle, 0u);
    EXPECT_EQ(state->CallInProgress, 0);
    EXPECT_EQ(state->DialReady, 1);

    // The caller heard the greeting (400 Hz, 0.5 s), then the tone (1 kHz).
    const LineSamples played = readSamples(heard);
    const std::size_t start = SineFiles::measure(played).firstSound;
    const ToneMeasure greetingHeard = SineFiles::measure(played, start, start + 4000);
    EXPECT_NEAR(greetingHeard.frequency, 400, 10);
    EXPECT_NEAR(greetingHeard.soundSeconds, 0.5, 0.03);
    const ToneMeasure toneHeard = SineFiles::measure(played, start + 4000 + 160);
    EXPECT_NEAR(toneHeard.frequency, 1000, 20);
    EXPECT_NEAR(toneHeard.soundSeconds, 0.6, 0.05);

    // The message holds the caller alone: 600 Hz for the second spoken,
    // written as the program's 8 kHz 16-bit mono WAV with its fact chunk.
    const std::string saved = fileBytes(vxw);
    ASSERT_GT(saved.size(), 58u);
    EXPECT_EQ(saved.substr(12, 4), "fmt ");
    EXPECT_EQ(saved.substr(38, 4), "fact");
    int rate = 0, channels = 0, bits = 0;
    ASSERT_TRUE(LineWave::probe(vxw, rate, channels, bits));
    EXPECT_EQ(rate, 8000);
    EXPECT_EQ(channels, 1);
    EXPECT_EQ(bits, 16);
    const ToneMeasure message = SineFiles::measure(readSamples(vxw));
    EXPECT_NEAR(message.frequency, 600, 10);
    EXPECT_NEAR(message.soundSeconds, 1.0, 0.05);
}

TEST_F(TestLineCall, ALineThatDropsMidMessageKeepsWhatWasSaidSoFar)
{
    ASSERT_TRUE(SineFiles::write(voice, 600, 3.0));
    callIn(1, {"--rings", "5", "--say", QString::fromStdString(voice)});
    ASSERT_TRUE(log->waitFor(kEk7MsgRecording));
    // Greeting and tone are over; the caller starts 300 ms after the tone.
    MessageLog::pump(300 + 1000);
    caller->kill();
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_EQ(results.save, kEk7Ok);
    const ToneMeasure kept = SineFiles::measure(readSamples(vxw));
    EXPECT_NEAR(kept.frequency, 600, 10);
    EXPECT_GT(kept.soundSeconds, 0.6);
    EXPECT_LT(kept.soundSeconds, 1.6);
}

TEST_F(TestLineCall, CallerWhoHangsUpBeforeTheRingCountIsNeverAnswered)
{
    callIn(3, {"--rings", "2", "--number", "555", "--name", "Brief"});
    EXPECT_EQ(caller->finish(), 4) << caller->output().toStdString();
    EXPECT_TRUE(caller->outputHas("not answered after 2 rings"));
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    log->pump(3 * setup.ringPeriodMs());

    EXPECT_EQ(log->count(kEk7MsgOffered), 1);
    EXPECT_EQ(log->count(kEk7MsgRing), 2);
    EXPECT_EQ(log->count(kEk7MsgAnswerNow), 0);
    EXPECT_EQ(log->count(kEk7MsgConnected), 0);
    EXPECT_EQ(log->count(kEk7MsgDisconnected), 1);
    EXPECT_EQ(results.answer, -1);
    // Never answered: +150 comes with CallState 0, so nothing is filed.
    EXPECT_EQ(log->first(kEk7MsgDisconnected)->state.CallState, 0);
    EXPECT_EQ(results.save, -1);
    EXPECT_EQ(state->CallState, 0);
}

TEST_F(TestLineCall, WithTheAnswerMachineOffNoRingAsksForAnAnswer)
{
    callIn(1, {"--rings", "3"}, false);
    EXPECT_EQ(caller->finish(), 4) << caller->output().toStdString();
    EXPECT_TRUE(caller->outputHas("not answered after 3 rings"));
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_EQ(log->count(kEk7MsgRing), 3);
    EXPECT_EQ(log->count(kEk7MsgAnswerNow), 0);
    EXPECT_EQ(log->count(kEk7MsgConnected), 0);
}

TEST_F(TestLineCall, ASecondCallerDuringACallHearsBusy)
{
    callIn(1, {"--rings", "5", "--speak-after", "answer", "--hold", "1500"});
    NavoLineProcess& first = *caller;
    ASSERT_TRUE(log->waitFor(kEk7MsgConnected));

    NavoLineProcess second(setup.socketPath());
    second.start({"call", "--rings", "5", "--number", "999"});
    EXPECT_EQ(second.finish(), 3) << second.output().toStdString();
    EXPECT_TRUE(second.outputHas("busy"));
    EXPECT_EQ(first.finish(), 0) << first.output().toStdString();
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_EQ(log->count(kEk7MsgOffered), 1);
    EXPECT_STRNE(state->CallerNumber, "999");
}

TEST_F(TestLineCall, SaveWithoutARecordingWritesAnEmptyMessage)
{
    // The caller leaves during the greeting: recording never starts.
    ASSERT_TRUE(SineFiles::write(greeting, 400, 3.0));
    callIn(1, {"--rings", "5", "--speak-after", "answer", "--linger", "300"});
    EXPECT_EQ(caller->finish(), 0);
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_EQ(log->count(kEk7MsgRecording), 0);
    EXPECT_EQ(log->count(kEk7MsgPlayDone), 0);
    EXPECT_EQ(results.save, kEk7Ok);
    LineSamples samples;
    ASSERT_TRUE(LineWave::readFile(vxw, samples));
    EXPECT_TRUE(samples.empty());
}

TEST_F(TestLineCall, RecordPauseAndResumeKeepOnlyWhatWasSaidWhileRecording)
{
    openLine(1);
    log->onMessage = [this](const LoggedMessage& m) {
        if (m.message == kEk7MsgAnswerNow) {
            Ek7TapiSetRecord(setup.path("xbuffer.wav").c_str(), setup.path("xdata.wav").c_str(), vxw.c_str());
            Ek7TapiAnswer();
        }
    };
    ASSERT_TRUE(SineFiles::write(voice, 600, 1.6));
    caller = std::make_unique<NavoLineProcess>(setup.socketPath());
    caller->start({"call", "--rings", "5", "--say", QString::fromStdString(voice), "--speak-after", "answer",
                  "--linger", "200"});
    ASSERT_TRUE(log->waitFor(kEk7MsgConnected));
    EXPECT_EQ(Ek7TapiInputLevel(), -1);  // the caller's level: unknown until recorded
    EXPECT_EQ(Ek7TapiRecord()->ErrorCode, kEk7Ok);
    EXPECT_EQ(state->Recording, 1);
    ASSERT_TRUE(log->waitFor(kEk7MsgRecording));
    log->pump(400);
    EXPECT_NEAR(Ek7TapiInputLevel(), 12000, 60);  // the sine's own peak: samples pass untouched
    EXPECT_EQ(Ek7TapiPause()->ErrorCode, kEk7Ok);  // pause ...
    EXPECT_EQ(Ek7TapiInputLevel(), -1);
    log->pump(600);
    EXPECT_EQ(Ek7TapiPause()->ErrorCode, kEk7Ok);  // ... and go on
    ASSERT_EQ(caller->finish(), 0);
    ASSERT_TRUE(log->waitFor(kEk7MsgDisconnected));
    EXPECT_EQ(Ek7TapiInputLevel(), -1);
    Ek7TapiStop();
    EXPECT_EQ(Ek7TapiSave()->ErrorCode, kEk7Ok);
    const ToneMeasure kept = SineFiles::measure(readSamples(vxw));
    EXPECT_NEAR(kept.frequency, 600, 10);
    EXPECT_NEAR(kept.soundSeconds, 1.0, 0.1);  // 1.6 s said, 0.6 s of it paused
}

TEST_F(TestLineCall, DialledCallFindsBusyOrNoDialToneAndWord8FollowsTheCall)
{
    openLine(3);
    EXPECT_EQ(state->DialReady, 1);
    // Nobody waits: engaged.
    EXPECT_EQ(Ek7TapiDial("0800 000")->ErrorCode, kEk7Ok);
    EXPECT_EQ(state->CallState, 2);
    EXPECT_EQ(state->DialReady, 0);
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle));
    EXPECT_EQ(log->sequence(), (std::vector<UINT>{kEk7MsgDialStarted, kEk7MsgDialling, kEk7MsgProceeding,
                                                  kEk7MsgBusy, kEk7MsgDisconnected, kEk7MsgIdle}));

    // A phone that is engaged.
    NavoLineProcess engaged(setup.socketPath());
    engaged.start({"wait", "--busy", "--timeout", "10000"});
    ASSERT_TRUE(engaged.waitForOutput(QStringLiteral("waiting for a call"))) << engaged.output().toStdString();
    EXPECT_EQ(Ek7TapiDial("0800 222")->ErrorCode, kEk7Ok);
    EXPECT_EQ(engaged.finish(), 3) << engaged.output().toStdString();
    EXPECT_TRUE(engaged.outputHas("Navo calls 0800 222: busy"));
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle, 2));
    EXPECT_EQ(log->count(kEk7MsgBusy), 2);

    // A dead line: no dial tone, and nothing rings.
    NavoLineProcess dead(setup.socketPath());
    dead.start({"wait", "--no-dial-tone", "--timeout", "10000"});
    ASSERT_TRUE(dead.waitForOutput(QStringLiteral("waiting for a call"))) << dead.output().toStdString();
    EXPECT_EQ(Ek7TapiDial("0800 333")->ErrorCode, kEk7Ok);
    EXPECT_EQ(dead.finish(), 7) << dead.output().toStdString();
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle, 3));
    EXPECT_EQ(log->count(kEk7MsgNoDialTone), 1);
    EXPECT_EQ(log->count(kEk7MsgDialling), 2);  // the dead line never dialled
    EXPECT_EQ(log->count(kEk7MsgConnected), 0);
    const LoggedMessage* noTone = log->first(kEk7MsgNoDialTone);
    EXPECT_EQ(noTone->state.CallState, 2);
    EXPECT_EQ(noTone->state.CallInProgress, 1);
    log->pump(30);
    EXPECT_EQ(state->CallHandle, 0u);
    EXPECT_EQ(state->CallInProgress, 0);
    EXPECT_EQ(state->DialReady, 1);
}

TEST_F(TestLineCall, DialledPhoneRingsThenAnswersAndHearsWhatIsPlayed)
{
    openLine(3);
    const std::string heard = setup.path("heard.wav");
    NavoLineProcess phone(setup.socketPath());
    phone.start({"wait", "--answer-after", "2", "--hear", QString::fromStdString(heard), "--timeout", "10000"});
    ASSERT_TRUE(phone.waitForOutput(QStringLiteral("waiting for a call"))) << phone.output().toStdString();
    log->onMessage = [this](const LoggedMessage& m) {
        if (m.message == kEk7MsgConnected)
            Ek7TapiPlayFile(greeting.c_str());
        if (m.message == kEk7MsgPlayDone)
            Ek7TapiClose();  // the tester hangs up after playing
    };
    EXPECT_EQ(Ek7TapiDial("0800 111")->ErrorCode, kEk7Ok);
    EXPECT_EQ(phone.finish(), 0) << phone.output().toStdString();
    EXPECT_TRUE(phone.outputHas("Navo calls 0800 111"));
    EXPECT_TRUE(phone.outputHas("Navo hung up"));
    EXPECT_EQ(log->sequence(), (std::vector<UINT>{kEk7MsgDialStarted, kEk7MsgDialling, kEk7MsgProceeding,
                                                  kEk7MsgRingBack, kEk7MsgConnected, kEk7MsgPlayDone}));
    // Two rings of the line's period before the answer.
    const qint64 rang = log->first(kEk7MsgConnected)->atMs - log->first(kEk7MsgRingBack)->atMs;
    EXPECT_GE(rang, 2 * setup.ringPeriodMs() - 20);
    EXPECT_LT(rang, 2 * setup.ringPeriodMs() + 300);
    EXPECT_EQ(log->first(kEk7MsgConnected)->state.Connected, 1);
    EXPECT_NEAR(SineFiles::measure(readSamples(heard)).frequency, 400, 10);
}

TEST_F(TestLineCall, ClosingDuringACallHangsUpWithoutMessages)
{
    callIn(1, {"--rings", "5", "--speak-after", "answer", "--hold", "5000"});
    ASSERT_TRUE(log->waitFor(kEk7MsgConnected));
    Ek7TapiClose();
    EXPECT_EQ(state->Monitoring, 0);
    EXPECT_EQ(state->CallHandle, 0u);
    EXPECT_EQ(caller->finish(), 0);
    EXPECT_TRUE(caller->outputHas("Navo hung up"));
    log->pump(100);
    EXPECT_EQ(log->count(kEk7MsgDisconnected), 0);
}

// ---- opening and the reasons for failing

TEST_F(TestLineCall, OpenNeedsInitAndAnExistingDevice)
{
    state->DeviceId = 0;
    EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7NotInitialised);
    EXPECT_EQ(Ek7TapiInit(0)->ErrorCode, kEk7Ok);
    state->DeviceId = 1;  // only device 0 exists
    EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7DeviceMissing);
    state->DeviceId = -1;
    EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7DeviceMissing);
    EXPECT_EQ(state->Monitoring, 0);
    state->DeviceId = 0;
    EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7Ok);
    EXPECT_EQ(state->Monitoring, 1);
    EXPECT_EQ(state->DialReady, 1);
    Ek7TapiClose();
    EXPECT_EQ(state->Monitoring, 0);
    EXPECT_EQ(state->DialReady, 0);
    EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7NotInitialised);
}

TEST_F(TestLineCall, ALineAnotherProgramHoldsCannotBeOpened)
{
    QLocalServer other;
    ASSERT_TRUE(other.listen(QString::fromStdString(setup.socketPath())));
    state->DeviceId = 0;
    Ek7TapiInit(0);
    EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7LineInUse);
    EXPECT_EQ(state->Monitoring, 0);
}

// Each SIP line setting that makes the line unusable fails the open with a
// reason of its own, before the stack goes on the network.
TEST(Ek7TapiSipLine, EachUnusableSettingFailsTheOpenWithItsOwnReason)
{
    QUdpSocket other;
    ASSERT_TRUE(other.bind(QHostAddress::AnyIPv4, 0));
    struct Case {
        const char* what;
        std::map<std::string, std::string> variables;
        std::int32_t reason;
    };
    TestLineSetup setup(200, "SIP line");
    const std::string password = setup.path("password");
    std::ofstream(password) << "secret\n";
    QFile::setPermissions(QString::fromStdString(password), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    const std::vector<Case> cases = {
        {"port in use", {{"NAVO_SIP_PORT", std::to_string(other.localPort())}}, kEk7LineInUse},
        {"user without domain", {{"NAVO_SIP_PORT", "-1"}, {"NAVO_SIP_USER", "ada"}}, kEk7LineSettings},
        {"password file others can read",
         {{"NAVO_SIP_PORT", "-1"}, {"NAVO_SIP_USER", "ada"}, {"NAVO_SIP_DOMAIN", "127.0.0.1"},
          {"NAVO_SIP_PASSWORD_FILE", password}},
         kEk7PasswordFile},
    };
    for (const Case& c : cases) {
        ScopedEnvironment environment;
        for (const auto& [name, value] : c.variables)
            environment.set(name.c_str(), value);
        LineState* state = Ek7TapiInitVar();
        MessageLog window(state);
        state->DeviceId = 0;
        ASSERT_EQ(Ek7TapiInit(0)->ErrorCode, kEk7Ok) << c.what;
        EXPECT_EQ(Ek7TapiOpen(window.handle())->ErrorCode, c.reason) << c.what;
        EXPECT_EQ(state->Monitoring, 0) << c.what;
        Ek7TapiClose();
    }
}

TEST_F(TestLineCall, CallFunctionsWithoutACallSayWhy)
{
    openLine(3);
    EXPECT_EQ(Ek7TapiAnswer()->ErrorCode, kEk7NoOfferedCall);
    EXPECT_EQ(Ek7TapiPlayFile(greeting.c_str())->ErrorCode, kEk7NoCallToPlay);
    EXPECT_EQ(Ek7TapiRecord()->ErrorCode, kEk7NoCallToRecord);
    EXPECT_EQ(Ek7TapiPause()->ErrorCode, kEk7NotRecording);
    EXPECT_EQ(Ek7TapiStop()->ErrorCode, kEk7Ok);
    EXPECT_EQ(Ek7TapiSave()->ErrorCode, kEk7NothingRecorded);
    EXPECT_EQ(Ek7TapiDial("")->ErrorCode, kEk7NoNumber);
    EXPECT_EQ(Ek7TapiGetWaveID(4, "wave/out")->ErrorCode, kEk7Ok);
    EXPECT_EQ(Ek7TapiGetWaveID(4, "midi/out")->ErrorCode, kEk7BadWaveClass);
    EXPECT_EQ(Ek7TapiSetResource(&resources, 4711)->ErrorCode, kEk7NoResource);
    EXPECT_EQ(Ek7TapiSetResource(nullptr, 3001)->ErrorCode, kEk7NoResource);
    Ek7TapiClose();
    EXPECT_EQ(Ek7TapiDial("123")->ErrorCode, kEk7LineNotOpen);
    EXPECT_EQ(Ek7TapiGetWaveID(4, "wave/in")->ErrorCode, kEk7NoWaveDevice);
}

class DeviceRows : public Ek7TapiDeviceList {
public:
    void insertRow(const std::string& number, const std::string& description) override
    {
        rows.emplace_back(number, description);
    }
    std::vector<std::pair<std::string, std::string>> rows;
};

TEST(Ek7TapiDevices, ListDevNamesEveryConfiguredLine)
{
    TestLineSetup setup(200, "test line, SIP line, no such line");
    LineState* state = Ek7TapiInitVar();
    DeviceRows rows;
    EXPECT_EQ(Ek7TapiListDev(&rows)->ErrorCode, kEk7ListFailed);  // not started
    ASSERT_EQ(Ek7TapiInit(0)->ErrorCode, kEk7Ok);
    EXPECT_EQ(state->DeviceCount, 2);
    EXPECT_EQ(Ek7TapiListDev(nullptr)->ErrorCode, kEk7ListFailed);
    EXPECT_EQ(Ek7TapiListDev(&rows)->ErrorCode, kEk7Ok);
    ASSERT_EQ(rows.rows.size(), 2u);  // the unknown provider is left out
    EXPECT_EQ(rows.rows[1].first, "1");
    Ek7TapiClose();
}

}  // namespace

namespace {

// Leaving the line open at exit must neither hang nor abort the process on
// the way out (a provider thread left running, or joined from the wrong
// place): the module stops its lines' threads as its statics go.
TEST(Ek7TapiExitDeathTest, AProcessThatEndsWithTheLineOpenExitsCleanly)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            TestLineSetup setup;
            LineState* state = Ek7TapiInitVar();
            MessageLog window(state);
            state->DeviceId = 0;
            Ek7TapiInit(0);
            Ek7TapiOpen(window.handle());
            if (state->Monitoring != 1)
                std::exit(3);
            MessageLog::pump(50);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
