// The phone recorder through the main window over the SIP line, with
// baresip, a SIP client we did not write, at the far end. The line sends the
// far end the sound server's microphone (a private PulseAudio whose only
// input is a sine) and records it with the far end's own tone; Navo's wave
// engine records the virtual input's tone, which the filed call must then
// leave out. Everything is told apart by frequency. Runs inside a private
// network namespace (telephony/tests/sip_e2e.sh), where only 127.0.0.1
// exists.
#include <QDir>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTreeView>

#include "AnswerMachineWindowFixture.h"
#include "RecordFactory.h"
#include "audio/PhoneRecorderHost.h"
#include "audio/tests/PulseServer.h"
#include "platform/WindowMessages.h"

namespace {

using namespace amtest;

constexpr int kNavoPort = 5070;
constexpr int kFarPort = 5092;
constexpr double kMicrophone = 1250;  // the wave engine's input (virtual), off the dictation's harmonics
constexpr double kFarEnd = 600;       // baresip's side
constexpr double kServerMic = 1800;  // the sound server's microphone, which the line sends
constexpr double kPlayed = 500;       // the dictation played into the call (RecordFactory's sawtooth)

// baresip on 127.0.0.1:kFarPort: answers at once (or, given dial, calls that
// address as "Cal Ler" <sip:01614960001@...>), says source, keeps what it
// hears from Navo (its sndfile module) and hangs up when it quits after
// seconds.
class BaresipPhone {
public:
    BaresipPhone(const TestLineSetup& setup, const std::string& source, int seconds, const std::string& dial = {})
        : m_folder(setup.path("far-phone"))
    {
        QDir().mkpath(QString::fromStdString(m_folder + "/heard"));
        if (dial.empty())
            std::ofstream(m_folder + "/accounts") << "<sip:200@127.0.0.1:" << kFarPort << ">;regint=0;answermode=auto\n";
        else
            std::ofstream(m_folder + "/accounts") << "\"Cal Ler\" <sip:01614960001@127.0.0.1:" << kFarPort
                                                  << ">;regint=0\n";
        std::ofstream(m_folder + "/config")
            << "sip_listen 127.0.0.1:" << kFarPort << "\nnet_interface 127.0.0.1\naudio_source aufile," << source
            << "\naudio_player aubridge,nil\nrtp_ports 7300-7320\nsnd_path " << m_folder << "/heard\n"
            << "module_path /usr/lib/baresip/modules\nmodule g711.so\nmodule aufile.so\nmodule aubridge.so\n"
               "module sndfile.so\nmodule account.so\nmodule menu.so\n";
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.setStandardInputFile(QProcess::nullDevice());
        QStringList arguments{QStringLiteral("-f"), QString::fromStdString(m_folder), QStringLiteral("-t"),
                              QString::number(seconds)};
        if (!dial.empty())
            arguments << QStringLiteral("-e") << QString::fromStdString("/dial " + dial);
        m_process.start(QStringLiteral("baresip"), arguments);
    }
    ~BaresipPhone()
    {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
    bool ready()
    {
        return waitUntil([this] {
            m_output += QString::fromLocal8Bit(m_process.readAll());
            return m_output.contains(QStringLiteral("baresip is ready")) || m_process.state() == QProcess::NotRunning;
        }, 10000) && m_output.contains(QStringLiteral("baresip is ready"));
    }
    std::string output() { return (m_output + QString::fromLocal8Bit(m_process.readAll())).toStdString(); }
    // What it decoded from Navo (sndfile's "...-dec.wav").
    LineSamples heard() const
    {
        LineSamples samples;
        for (const auto& entry : fs::directory_iterator(m_folder + "/heard"))
            if (entry.path().filename().string().find("dec") != std::string::npos)
                LineWave::readFile(entry.path().string(), samples);
        return samples;
    }

private:
    std::string m_folder;
    QProcess m_process;
    QString m_output;
};

class PhoneRecorderSip : public AnswerMachineWindow {
protected:
    PhoneRecorderSip() : AnswerMachineWindow("SIP line") {}

    void SetUp() override
    {
        if (!inSipTestNetwork())
            GTEST_SKIP() << "needs a private network namespace: run it through ctest (sip_e2e.sh)";
        setup.environment().set("NAVO_SIP_PORT", std::to_string(kNavoPort));
        setup.environment().set("NAVO_SIP_RTP_PORTS", "7078-7098");
        // Navo's microphone: a steady tone, in real time.
        qputenv("NAVO_AUDIO", "virtual");
        qputenv("NAVO_AUDIO_INPUT", "tone:1250:0.25");
        qputenv("NAVO_AUDIO_PACE", "realtime");
        phoneRecorder = &recorder;
        line.setPhoneRecorderAvailable(true);
        // One server for the process: the SIP stack connects to the first
        // it finds and stays with it.
        static PulseServer pulse;
        static const bool started = [] {
            // Navo records from the virtual input: the line takes the
            // server's first input, which the sine becomes.
            return pulse.start() &&
                   pulse.loadModule("module-sine-source source_name=sine rate=8000 frequency=" +
                                    std::to_string(static_cast<int>(kServerMic))) &&
                   pulse.command("unload-module module-remap-source") &&
                   pulse.command("unload-module module-pipe-source");
        }();
        ASSERT_TRUE(started) << pulse.why();
    }

    // The far end hears the sound server's microphone through the line.
    static void expectHeardTheMicrophone(BaresipPhone& phone)
    {
        const LineSamples heard = phone.heard();
        const double microphone = amplitudeAt(heard, kServerMic);
        std::printf("[ measured ] far end heard %.2f s, the microphone's %.0f Hz at %.0f\n",
                    static_cast<double>(heard.size()) / LineWave::kRate, kServerMic, microphone);
        EXPECT_GT(microphone, 1000) << phone.output();
    }

    // Monitoring with the answer machine off, so that calls are the user's.
    void startWithTheMachineOff()
    {
        start("PhoneCost=0.60\nCurrency=$\nHighLight=Y\n");
        window->runCommand(ID_ANSWER_MACHINE_OFF);
        ASSERT_FALSE(line.answerMachineOn());
        ASSERT_TRUE(line.monitoring());
    }

    // The sound of the one recorded call, once the Phone list shows it.
    LineSamples recordedCall()
    {
        window->fillList(kListPhone);
        if (!waitUntil([&] { return model()->rowCount() == 1; }, 20000))
            return {};
        return filedSound(cell(0, 0).toStdString());
    }

    // The line sent the far end the server's microphone and recorded it with
    // the far end: the call holds that once, not the wave engine's as well.
    void expectBothSides(const LineSamples& call)
    {
        ASSERT_GT(call.size(), 8000u);
        const double sent = amplitudeAt(call, kServerMic);
        const double engine = amplitudeAt(call, kMicrophone);
        const double theirs = amplitudeAt(call, kFarEnd);
        const double neither = amplitudeAt(call, 1400);
        std::printf("[ measured ] recorded call %.2f s: microphone sent %.0f, engine's %.0f, far end %.0f, "
                    "elsewhere %.0f\n",
                    static_cast<double>(call.size()) / LineWave::kRate, sent, engine, theirs, neither);
        EXPECT_GT(sent, 1500);
        EXPECT_GT(theirs, 1500);
        EXPECT_LT(engine, 300);
        EXPECT_LT(neither, 300);
    }

    PhoneRecorderHost recorder{[this](int reason) { reports.push_back(reason); }, {}};
    std::vector<int> reports;
};

// Navo calls out (+155 from the phone book), baresip answers; while the
// call is up a dictation is played into it (2114, dialog 138), stopped half
// way with Stop, and baresip hears it, and the microphone; the recording
// goes on past the Stop; baresip hangs up and the call, both sides, is
// filed at once.
TEST_F(PhoneRecorderSip, NavoCallsOutPlaysADictationIntoTheCallAndRecordsBothSidesUntilTheFarEndHangsUp)
{
    startWithTheMachineOff();
    // Quality 1 makes the player convert it to the line's form first.
    RecordFactory records(app, 2 * LineWave::kRate);
    ASSERT_GT(records.dictation("Played into a call", 1), 0);
    window->fillList(kListDictation);
    const std::string said = setup.path("far-end.wav");
    ASSERT_TRUE(SineFiles::write(said, kFarEnd, 20));
    BaresipPhone phone(setup, said, 6);
    ASSERT_TRUE(phone.ready()) << phone.output();

    app.ChosenName = "Far End";
    app.ChosenNumber = "200@127.0.0.1:5092";
    PostMessage(window->handle(), WM_USER + 155, 0, 0);
    ASSERT_TRUE(waitUntil([&] { return recorder.recording(); }, 10000)) << phone.output();
    QElapsedTimer connected;
    connected.start();
    EXPECT_EQ(recorder.dialog()->findChild<QLineEdit*>(QString::number(IDC_PHONE_CALLER_NAME))->text(), "Far End");

    // 2114 plays the selected record into the call.
    window->findChild<QTreeView*>(QString::number(IDC_RECORD_LIST))->selectionModel()->select(model()->index(0, 0),
                                                        QItemSelectionModel::Select | QItemSelectionModel::Rows);
    // Stop one second into the two-second dictation, while it still plays.
    QElapsedTimer playing;
    qint64 stoppedAt = -1;
    bool playingAtStop = false;
    clickWhenUp(QStringLiteral("Navo Phone Message Player"), QString::number(IDC_LINE_PLAY), 0, nullptr,
                [&] {
                    if (!playing.isValid())
                        playing.start();
                    if (playing.elapsed() < 1000 && app.lineState->Playing != 0)
                        return false;
                    playingAtStop = app.lineState->Playing != 0;
                    stoppedAt = connected.elapsed();
                    return true;
                },
                {QString::number(IDC_LINE_STOP), QString::number(IDC_LINE_CANCEL)});
    window->runCommand(ID_RECORD_PLAY_OVER_LINE);
    EXPECT_TRUE(reports.empty());
    EXPECT_TRUE(playingAtStop);
    EXPECT_EQ(app.lineState->Playing, 0);

    const LineSamples call = recordedCall();
    // Hung up by the far end while recording: nothing said is lost, the
    // recording lasts from the answer to the hang-up.
    EXPECT_NEAR(static_cast<double>(call.size()) / LineWave::kRate, connected.elapsed() / 1000.0, 0.6);
    EXPECT_EQ(cell(0, 2), "Far End");
    EXPECT_EQ(cell(0, 1), "200@127.0.0.1:5092");
    expectBothSides(call);
    // Stop ended the playing only: the far end is recorded after it.
    ASSERT_GT(stoppedAt, 0);
    const auto afterStop = static_cast<std::size_t>((stoppedAt + 500) * LineWave::kRate / 1000);
    ASSERT_LT(afterStop + LineWave::kRate, call.size());
    const double farAfterStop = amplitudeAt(call, kFarEnd, afterStop);
    std::printf("[ measured ] stopped at %.2f s; far end after it at %.0f\n", stoppedAt / 1000.0, farAfterStop);
    EXPECT_GT(farAfterStop, 1500);
    // The far end heard the dictation, converted, at its own pitch.
    const LineSamples heard = phone.heard();
    const double played = amplitudeAt(heard, kPlayed);
    std::printf("[ measured ] far end heard the dictation's 500 Hz at %.0f\n", played);
    EXPECT_GT(played, 1000) << phone.output();
    expectHeardTheMicrophone(phone);
}

// baresip calls Navo; "&Answer" is pressed; the phone recorder answers and
// records both sides until baresip hangs up; baresip hears the microphone.
TEST_F(PhoneRecorderSip, ACallPickedUpWithAnswerIsRecordedOnBothSides)
{
    startWithTheMachineOff();
    const std::string voice = setup.path("caller.wav");
    ASSERT_TRUE(SineFiles::write(voice, kFarEnd, 20));
    clickWhenUp(QStringLiteral("Navo : Incoming Call Detected"), QStringLiteral("1"));
    BaresipPhone caller(setup, voice, 5, "sip:navo@127.0.0.1:" + std::to_string(kNavoPort));
    ASSERT_TRUE(caller.ready()) << caller.output();

    const LineSamples call = recordedCall();
    EXPECT_EQ(cell(0, 2), "Cal Ler");
    EXPECT_EQ(cell(0, 1), "01614960001");
    expectBothSides(call);
    EXPECT_TRUE(reports.empty());
    EXPECT_FALSE(recorder.isOpen());
    expectHeardTheMicrophone(caller);
}

}  // namespace
