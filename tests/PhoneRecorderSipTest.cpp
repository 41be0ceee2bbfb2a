// The phone recorder through the main window over the SIP line, with
// baresip, a SIP client we did not write, at the far end. Navo's microphone
// is the virtual input's tone; the far end says a tone of its own; every
// recorded call must hold both, told apart by frequency. Runs inside a
// private network namespace (telephony/tests/sip_e2e.sh), where only
// 127.0.0.1 exists.
#include <QDir>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTreeView>

#include <cmath>
#include <complex>

#include "AnswerMachineWindowFixture.h"
#include "RecordFactory.h"
#include "audio/PhoneRecorderHost.h"
#include "platform/WindowMessages.h"

namespace {

using namespace amtest;

constexpr int kNavoPort = 5070;
constexpr int kFarPort = 5092;
constexpr double kMicrophone = 1000;  // Navo's side
constexpr double kFarEnd = 600;       // baresip's side
constexpr double kPlayed = 500;       // the dictation played into the call (RecordFactory's sawtooth)

// How strongly frequency sounds through samples: the amplitude a sine of it
// alone would need (a DFT bin by Goertzel's recurrence).
double amplitudeAt(const LineSamples& samples, double frequency)
{
    if (samples.empty())
        return 0;
    const double w = 2 * M_PI * frequency / LineWave::kRate;
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < samples.size(); ++n)
        sum += static_cast<double>(samples[n]) * std::polar(1.0, -w * static_cast<double>(n));
    return 2 * std::abs(sum) / static_cast<double>(samples.size());
}

// baresip waiting on 127.0.0.1:kFarPort: answers at once, says source, keeps
// what it hears from Navo (its sndfile module) and hangs up when it quits
// after seconds.
class BaresipPhone {
public:
    BaresipPhone(const TestLineSetup& setup, const std::string& source, int seconds)
        : m_folder(setup.path("far-phone"))
    {
        QDir().mkpath(QString::fromStdString(m_folder + "/heard"));
        std::ofstream(m_folder + "/accounts") << "<sip:200@127.0.0.1:" << kFarPort << ">;regint=0;answermode=auto\n";
        std::ofstream(m_folder + "/config")
            << "sip_listen 127.0.0.1:" << kFarPort << "\nnet_interface 127.0.0.1\naudio_source aufile," << source
            << "\naudio_player aubridge,nil\nrtp_ports 7300-7320\nsnd_path " << m_folder << "/heard\n"
            << "module_path /usr/lib/baresip/modules\nmodule g711.so\nmodule aufile.so\nmodule aubridge.so\n"
               "module sndfile.so\nmodule account.so\nmodule menu.so\n";
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.setStandardInputFile(QProcess::nullDevice());
        m_process.start(QStringLiteral("baresip"), {QStringLiteral("-f"), QString::fromStdString(m_folder),
                                                    QStringLiteral("-t"), QString::number(seconds)});
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
        qputenv("NAVO_AUDIO_INPUT", "tone:1000:0.25");
        qputenv("NAVO_AUDIO_PACE", "realtime");
        phoneRecorder = &recorder;
        line.setPhoneRecorderAvailable(true);
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

    void expectBothSides(const LineSamples& call)
    {
        ASSERT_GT(call.size(), 8000u);
        const double mine = amplitudeAt(call, kMicrophone);
        const double theirs = amplitudeAt(call, kFarEnd);
        const double neither = amplitudeAt(call, 1400);
        std::printf("[ measured ] recorded call %.2f s: microphone %.0f, far end %.0f, elsewhere %.0f\n",
                    static_cast<double>(call.size()) / LineWave::kRate, mine, theirs, neither);
        EXPECT_GT(mine, 1500);
        EXPECT_GT(theirs, 1500);
        EXPECT_LT(neither, 300);
    }

    PhoneRecorderHost recorder{[this](int reason) { reports.push_back(reason); }, {}};
    std::vector<int> reports;
};

// Clicks a button of the modal window titled title once it is up; then, if
// done is given, waits until done() and clicks the buttons of thenClick.
void clickWhenUp(const QString& title, const QString& button, std::function<bool()> done = {},
                 const QStringList& thenClick = {})
{
    QTimer::singleShot(20, [=] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog == nullptr || dialog->windowTitle() != title) {
            clickWhenUp(title, button, done, thenClick);
            return;
        }
        dialog->findChild<QPushButton*>(button)->click();
        if (!done)
            return;
        auto* poll = new QTimer(dialog);
        QObject::connect(poll, &QTimer::timeout, dialog, [=] {
            if (!done())
                return;
            poll->stop();
            for (const QString& name : thenClick)
                dialog->findChild<QPushButton*>(name)->click();
        });
        poll->start(20);
    });
}

// Navo calls out (+155 from the phone book), baresip answers; while the
// call is up a dictation is played into it (2114, dialog 138) and baresip
// hears it; baresip hangs up and the call, both sides, is filed at once.
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
    clickWhenUp(QStringLiteral("Navo Phone Message Player"), QString::number(IDC_LINE_PLAY),
                [this] { return app.lineState->Playing == 0; },
                {QString::number(IDC_LINE_STOP), QString::number(IDC_LINE_CANCEL)});
    window->runCommand(ID_RECORD_PLAY_OVER_LINE);
    EXPECT_TRUE(reports.empty());

    const LineSamples call = recordedCall();
    // Hung up by the far end while recording: nothing said is lost, the
    // recording lasts from the answer to the hang-up.
    EXPECT_NEAR(static_cast<double>(call.size()) / LineWave::kRate, connected.elapsed() / 1000.0, 0.6);
    EXPECT_EQ(cell(0, 2), "Far End");
    EXPECT_EQ(cell(0, 1), "200@127.0.0.1:5092");
    expectBothSides(call);
    // The far end heard the dictation, converted, at its own pitch.
    const LineSamples heard = phone.heard();
    const double played = amplitudeAt(heard, kPlayed);
    std::printf("[ measured ] far end heard %.2f s, the dictation's 500 Hz at %.0f\n",
                static_cast<double>(heard.size()) / LineWave::kRate, played);
    EXPECT_GT(played, 1000) << phone.output();
}

// baresip calls Navo; "&Answer" is pressed; the phone recorder answers and
// records both sides until baresip hangs up.
TEST_F(PhoneRecorderSip, ACallPickedUpWithAnswerIsRecordedOnBothSides)
{
    startWithTheMachineOff();
    const std::string voice = setup.path("caller.wav");
    ASSERT_TRUE(SineFiles::write(voice, kFarEnd, 20));
    clickWhenUp(QStringLiteral("Navo : Incoming Call Detected"), QStringLiteral("1"));
    QProcess caller;
    startBaresip(caller, setup, "Cal Ler", "01614960001", voice, kNavoPort, 5);
    ASSERT_TRUE(caller.waitForStarted(5000));

    const LineSamples call = recordedCall();
    EXPECT_EQ(cell(0, 2), "Cal Ler");
    EXPECT_EQ(cell(0, 1), "01614960001");
    expectBothSides(call);
    EXPECT_TRUE(reports.empty());
    EXPECT_FALSE(recorder.isOpen());
}

}  // namespace
