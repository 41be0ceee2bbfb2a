// The main window with the answer machine on, end to end over the test line:
// a real store, the real TelephonyService and AnswerMachine, and navo-line
// ringing as a caller in a process of its own. The window starts as a user's
// does, with "AutoMessage" "1", so start-up switches the machine on.
#include "AnswerMachineWindowFixture.h"

#include <QDialog>
#include <QItemSelectionModel>

#include <ostream>
#include <string>
#include <vector>

#include "RecordFactory.h"
#include "audio/PhoneRecorderHost.h"

namespace {

using namespace amtest;

// The Phone menu's states are LineController's and the window's mirror of
// them PhoneWiring's; here the real line and machine behind the commands.
TEST_F(AnswerMachineWindow, StartUpSwitchesTheMachineOnAndTheCommandsReachTheLine)
{
    start();
    EXPECT_EQ(label(IDC_STATUS_TEXT).toStdString(), "Line monitoring active : Using Navo File : " + app.DataStorePath);
    EXPECT_EQ(app.lineState->AnswerMachineOn, 1);
    QListWidgetItem* phone = window->findChild<QListWidget*>(QString::number(IDC_RECORD_TYPES))->item(4);
    EXPECT_TRUE(sameImage(phone->icon(), ":/res/images/line-answering.png"));

    // Off from the menu: the line stays open.
    window->runCommand(ID_ANSWER_MACHINE_OFF);
    EXPECT_EQ(app.lineState->AnswerMachineOn, 0);
    EXPECT_EQ(profile().read("AutoMessage"), "0");
    EXPECT_TRUE(line.monitoring());
    EXPECT_TRUE(sameImage(phone->icon(), ":/res/images/line-monitoring.png"));
    window->runCommand(ID_ANSWER_MACHINE_ON);
    EXPECT_EQ(profile().read("AutoMessage"), "1");

    window->runCommand(ID_STOP_MONITORING);
    EXPECT_FALSE(line.monitoring());
    EXPECT_EQ(label(IDC_STATUS_TEXT).toStdString(), "Line monitoring inactive : Using Navo File : " + app.DataStorePath);
    EXPECT_TRUE(sameImage(phone->icon(), ":/res/images/line-closed.png"));
    window->runCommand(ID_START_MONITORING);
    EXPECT_TRUE(line.monitoring());
    EXPECT_TRUE(sameImage(phone->icon(), ":/res/images/line-answering.png"));
}

// A call taken while the Phone list is shown fills it again at once; one
// taken while another list is shown only lights the line state.
TEST_F(AnswerMachineWindow, AnsweredCallsBecomeNewMessagesInThePhoneList)
{
    start();
    window->fillList(kListPhone);
    ASSERT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 0");

    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "6", "--number", "01632 960123", "--name", "Zoe Smith", "--say",
                  QString::fromStdString(voice())});
    ASSERT_EQ(caller.finish(), 0) << caller.output().toStdString();
    ASSERT_TRUE(waitUntil([&] { return model()->rowCount() == 1; }));

    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 1 : You have 1 new messages.");
    EXPECT_EQ(cell(0, 0), "00000001");
    EXPECT_EQ(cell(0, 1), "01632 960123");
    EXPECT_EQ(cell(0, 2), "Zoe Smith");
    EXPECT_TRUE(sameImage(model()->index(0, 0).data(Qt::DecorationRole).value<QIcon>(), ":/res/images/row-new.png"));
    EXPECT_EQ(app.lineState->MessagesWaiting, 1);
    // What the caller said is the message: one second of 600 Hz.
    const ToneMeasure heard = SineFiles::measure(filedSound("00000001"));
    EXPECT_NEAR(heard.frequency, 600, 15);
    EXPECT_NEAR(heard.soundSeconds, 1.0, 0.25);
    EXPECT_TRUE(line.monitoring());
    EXPECT_FALSE(workspaceHas(".vxs"));
    EXPECT_FALSE(workspaceHas(".vxw"));

    window->fillList(kListDictation);
    NavoLineProcess second(setup.socketPath());
    second.start({"call", "--rings", "6", "--name", "Second Caller", "--say", QString::fromStdString(voice())});
    ASSERT_EQ(second.finish(), 0);
    ASSERT_TRUE(waitUntil([&] { return app.lineState->MessagesWaiting == 2; }));
    EXPECT_EQ(app.CurrentListType, kListDictation);  // not switched behind the user's back
    QListWidgetItem* phone = window->findChild<QListWidget*>(QString::number(IDC_RECORD_TYPES))->item(4);
    EXPECT_TRUE(sameImage(phone->icon(), ":/res/images/line-answering-new.png"));
    window->fillList(kListPhone);
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 2 : You have 2 new messages.");
    EXPECT_EQ(cell(0, 2), "Second Caller");
}

TEST_F(AnswerMachineWindow, ACallerWhoHangsUpBeforeTheRingCountLeavesNothing)
{
    start();
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "1", "--number", "0800 1", "--name", "Quick"});
    EXPECT_EQ(caller.finish(), 4);  // not answered
    ASSERT_TRUE(waitUntil([&] { return app.lineState->CallInProgress == 0; }));
    MessageLog::pump(100);

    window->fillList(kListPhone);
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 0");
    EXPECT_EQ(profile().read("RecID"), "0");  // never answered: no RecID used
    EXPECT_TRUE(line.monitoring());
    EXPECT_EQ(app.lineState->AnswerMachineOn, 1);
    EXPECT_EQ(label(IDC_STATUS_TEXT).toStdString(), "Line monitoring active : Using Navo File : " + app.DataStorePath);
    EXPECT_FALSE(workspaceHas(".vxs"));
}

// Every way the line closes under a message being left files it first: the
// exit, Stop Monitoring (2004) and Modem Selection (2002).
class LineClosedDuringAMessage : public AnswerMachineWindow, public ::testing::WithParamInterface<int> {};

TEST_P(LineClosedDuringAMessage, TheMessageIsFiledAndSaved)
{
    start();
    ASSERT_TRUE(SineFiles::write(voice(), 600, 6.0));
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "6", "--number", "555 0142", "--name", "Late Caller", "--say",
                  QString::fromStdString(voice())});
    ASSERT_TRUE(waitUntil([&] { return app.lineState->Recording == 1; }));
    MessageLog::pump(1000);
    if (GetParam() == ID_MODEM_SELECTION) {
        QTimer::singleShot(0, [] {
            if (QWidget* dialog = QApplication::activeModalWidget())
                dialog->close();  // cancelled: the same modem, monitored again
        });
    }
    if (GetParam() != 0)
        window->runCommand(GetParam());
    window->OnClose();
    EXPECT_EQ(caller.finish(), 0);
    EXPECT_TRUE(caller.outputHas(QStringLiteral("Navo hung up"))) << caller.output().toStdString();

    // The store saved at exit holds the message.
    const ToneMeasure heard = SineFiles::measure(filedSound("00000001"));
    EXPECT_GT(heard.soundSeconds, 0.6);
    EXPECT_LT(heard.soundSeconds, 3.0);
    EXPECT_FALSE(line.monitoring());
}

INSTANTIATE_TEST_SUITE_P(ExitStopMonitoringAndModemSelection, LineClosedDuringAMessage,
                         ::testing::Values(0, ID_STOP_MONITORING, ID_MODEM_SELECTION));

TEST_F(AnswerMachineWindow, AMessageThatReachesMaxMessageIsCutAndFiled)
{
    start("MaxMessage=1\n");
    ASSERT_TRUE(SineFiles::write(voice(), 600, 5.0));
    window->fillList(kListPhone);
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "6", "--number", "555 0100", "--name", "Long Talker", "--say",
                  QString::fromStdString(voice())});
    ASSERT_EQ(caller.finish(), 0);
    EXPECT_TRUE(caller.outputHas(QStringLiteral("Navo hung up"))) << caller.output().toStdString();
    ASSERT_TRUE(waitUntil([&] { return model()->rowCount() == 1; }));

    EXPECT_EQ(cell(0, 2), "Long Talker");
    const ToneMeasure heard = SineFiles::measure(filedSound("00000001"));
    // Cut at the one-second limit: some of the caller's five seconds, never
    // much more than the limit (how much depends on how busy the machine is).
    EXPECT_GT(heard.soundSeconds, 0.4);
    EXPECT_LT(heard.soundSeconds, 1.6);
    EXPECT_TRUE(line.monitoring());
}

TEST_F(AnswerMachineWindow, ACallerSilentForTheSilenceSecondsIsCutAndTheSpeechFiled)
{
    start("Silence=2\n");
    window->fillList(kListPhone);
    // A second of speech, then silence for far longer than the limit.
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "6", "--name", "Quiet Caller", "--say", QString::fromStdString(voice()),
                  "--linger", "30000"});
    ASSERT_EQ(caller.finish(45000), 0) << caller.output().toStdString();
    EXPECT_TRUE(caller.outputHas(QStringLiteral("Navo hung up"))) << caller.output().toStdString();
    ASSERT_TRUE(waitUntil([&] { return model()->rowCount() == 1; }));
    EXPECT_EQ(cell(0, 2), "Quiet Caller");
    const ToneMeasure heard = SineFiles::measure(filedSound("00000001"));
    EXPECT_NEAR(heard.soundSeconds, 1.0, 0.25);
    // Never cut before two silent seconds; the caller's thirty would have
    // made it far longer (how much over two depends on how busy we are).
    EXPECT_GT(heard.seconds, 2.9);
    EXPECT_LT(heard.seconds, 20.0);
}

// Callers never silent for the two seconds of "Silence" hang up themselves,
// and all they said is filed. Parts: seconds of 600 Hz and of silence in turn.
struct Speech {
    const char* name;
    std::vector<double> parts;
    double soundSeconds;
};

void PrintTo(const Speech& speech, std::ostream* out)
{
    *out << speech.name;
}

class SpeechWithinTheLimit : public AnswerMachineWindow, public ::testing::WithParamInterface<Speech> {};

TEST_P(SpeechWithinTheLimit, IsNotCutShort)
{
    start("Silence=2\n");
    window->fillList(kListPhone);
    LineSamples said;
    for (std::size_t i = 0; i < GetParam().parts.size(); ++i) {
        const LineSamples part = SineFiles::sine(600, GetParam().parts[i], i % 2 == 0 ? 12000 : 0);
        said.insert(said.end(), part.begin(), part.end());
    }
    ASSERT_TRUE(LineWave::writeFile(voice(), said, false));
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "6", "--say", QString::fromStdString(voice())});
    ASSERT_EQ(caller.finish(), 0) << caller.output().toStdString();
    EXPECT_FALSE(caller.outputHas(QStringLiteral("Navo hung up"))) << caller.output().toStdString();
    ASSERT_TRUE(waitUntil([&] { return model()->rowCount() == 1; }));
    EXPECT_NEAR(SineFiles::measure(filedSound("00000001")).soundSeconds, GetParam().soundSeconds, 0.3);
}

INSTANTIATE_TEST_SUITE_P(
    Callers, SpeechWithinTheLimit,
    ::testing::Values(Speech{"LongerThanTheLimitWithoutAPause", {5.0}, 5.0},
                      Speech{"PausingForLessThanTheLimit", {1.0, 1.0, 1.0, 1.2, 1.0}, 3.0}),
    [](const ::testing::TestParamInfo<Speech>& info) { return std::string(info.param.name); });

// With the machine off, the user sends the call to it from the incoming-call
// window: before the ring count, or after it, when the call is already up.
class OneCallMode : public AnswerMachineWindow, public ::testing::WithParamInterface<int> {};

TEST_P(OneCallMode, TheMachineTakesThatCallOnlyAndFilesIt)
{
    start();
    window->runCommand(ID_ANSWER_MACHINE_OFF);
    ASSERT_EQ(app.lineState->AnswerMachineOn, 0);
    window->fillList(kListPhone);
    bool asked = false;
    // "&Message" (button 2) in the incoming-call window.
    clickWhenUp(QStringLiteral("Navo : Incoming Call Detected"), QStringLiteral("2"), GetParam(), &asked);
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "12", "--number", "0117 496 0000", "--name", "Sent To Machine", "--say",
                  QString::fromStdString(voice())});
    ASSERT_EQ(caller.finish(), 0) << caller.output().toStdString();
    ASSERT_TRUE(waitUntil([&] { return model()->rowCount() == 1; }));
    EXPECT_TRUE(asked);
    EXPECT_EQ(cell(0, 2), "Sent To Machine");
    EXPECT_NEAR(SineFiles::measure(filedSound("00000001")).soundSeconds, 1.0, 0.25);
    // Off again for the next call, and the menus never said otherwise.
    EXPECT_EQ(app.lineState->AnswerMachineOn, 0);
    EXPECT_FALSE(machine.forThisCallOnly());
    EXPECT_TRUE(window->commandAction(ID_ANSWER_MACHINE_OFF)->isChecked());
    EXPECT_EQ(profile().read("AutoMessage"), "0");
}

// A call the phone recorder records; a dictation played into it (2114,
// dialog 138) is cancelled half way while it plays. The caller hears it stop,
// and the filed call still holds all the caller said, after the cancel too.
TEST_F(AnswerMachineWindow, CancellingAPlayIntoTheCallLeavesThePhoneRecorderRecording)
{
    qputenv("NAVO_AUDIO", "virtual");
    qputenv("NAVO_AUDIO_INPUT", "tone:1250:0.25");
    qputenv("NAVO_AUDIO_PACE", "realtime");
    std::vector<int> reports;
    PhoneRecorderHost recorder{[&](int reason) { reports.push_back(reason); }, {}};
    phoneRecorder = &recorder;
    line.setPhoneRecorderAvailable(true);
    start("PhoneCost=0.60\nCurrency=$\nHighLight=Y\n");
    window->runCommand(ID_ANSWER_MACHINE_OFF);
    RecordFactory records(app, 2 * LineWave::kRate);  // a two-second dictation
    ASSERT_GT(records.dictation("Played into a call", 1), 0);
    window->fillList(kListDictation);

    const std::string heard = setup.path("heard.wav");
    ASSERT_TRUE(SineFiles::write(voice(), 600, 3.0));
    clickWhenUp(QStringLiteral("Navo : Incoming Call Detected"), QStringLiteral("1"));
    NavoLineProcess caller(setup.socketPath());
    caller.start({"call", "--rings", "0", "--say", QString::fromStdString(voice()), "--speak-after", "answer",
                  "--linger", "300", "--hear", QString::fromStdString(heard)});
    ASSERT_TRUE(waitUntil([&] { return recorder.recording(); }, 10000)) << caller.output().toStdString();
    QElapsedTimer recording;
    recording.start();

    window->findChild<QTreeView*>(QString::number(IDC_RECORD_LIST))->selectionModel()->select(model()->index(0, 0),
                                                        QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QElapsedTimer playing;
    bool playingAtCancel = false;
    qint64 cancelledAt = -1;
    clickWhenUp(QStringLiteral("Navo Phone Message Player"), QString::number(IDC_LINE_PLAY), 0, nullptr, [&] {
        if (!playing.isValid())
            playing.start();
        if (playing.elapsed() < 1000 && app.lineState->Playing != 0)
            return false;
        // Escape: Cancel itself is greyed while the dictation plays.
        playingAtCancel = app.lineState->Playing != 0;
        cancelledAt = recording.elapsed();
        qobject_cast<QDialog*>(QApplication::activeModalWidget())->reject();
        return true;
    });
    window->runCommand(ID_RECORD_PLAY_OVER_LINE);
    EXPECT_TRUE(playingAtCancel);
    EXPECT_EQ(app.lineState->Playing, 0);
    EXPECT_EQ(app.lineState->Recording, 1);
    ASSERT_EQ(caller.finish(), 0) << caller.output().toStdString();

    window->fillList(kListPhone);
    ASSERT_TRUE(waitUntil([&] { return model()->rowCount() == 1; }, 10000));
    // The filed call mixes the caller with the wave engine's microphone
    // (1250 Hz): the caller's 600 Hz must sound on after the cancel until
    // the caller stops speaking, three seconds after the answer.
    const LineSamples call = filedSound(cell(0, 0).toStdString());
    ASSERT_GT(cancelledAt, 0);
    const auto from = static_cast<std::size_t>((cancelledAt + 300) * LineWave::kRate / 1000);
    const std::size_t to = 29 * LineWave::kRate / 10;
    ASSERT_LT(from + LineWave::kRate / 4, to) << "cancelled at " << cancelledAt << " ms";
    ASSERT_GE(call.size(), to);
    const double callerAfter = amplitudeAt(call, 600, from, to);
    std::printf("[ measured ] cancelled at %.2f s; the caller's 600 Hz after it at %.0f\n", cancelledAt / 1000.0,
                callerAfter);
    EXPECT_GT(callerAfter, 10000);
    EXPECT_LT(amplitudeAt(call, 900, from, to), 600);
    // The caller heard the dictation's 500 Hz, and only until the cancel.
    LineSamples heardSamples;
    ASSERT_TRUE(LineWave::readFile(heard, heardSamples));
    const ToneMeasure dictation = SineFiles::measure(heardSamples);
    EXPECT_GT(dictation.soundSeconds, 0.5);
    EXPECT_LT(dictation.soundSeconds, 1.5);
    // A sawtooth that never crosses zero: its pitch by a DFT bin instead.
    const std::size_t played = dictation.firstSound;
    EXPECT_GT(amplitudeAt(heardSamples, 500, played, played + LineWave::kRate / 2), 3000);
    EXPECT_LT(amplitudeAt(heardSamples, 1400, played, played + LineWave::kRate / 2), 300);
    EXPECT_TRUE(reports.empty());
}

INSTANTIATE_TEST_SUITE_P(BeforeAndAfterTheRingCount, OneCallMode, ::testing::Values(0, 6 * kRingPeriodMs));

}  // namespace
