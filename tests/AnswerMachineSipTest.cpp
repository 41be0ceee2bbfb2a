// The answer machine through the main window over the SIP line: baresip, a
// SIP client we did not write, calls Navo over loopback with a display name
// and a number and falls silent: it is cut off after "Silence" seconds (read
// from the SIP stack's own level meter) and what it said appears in the
// Phone list. Runs inside
// a private network namespace (telephony/tests/sip_e2e.sh), where only
// 127.0.0.1 exists.
#include <QProcess>

#include "AnswerMachineWindowFixture.h"

namespace {

using namespace amtest;

constexpr int kNavoPort = 5070;

class AnswerMachineSip : public AnswerMachineWindow {
protected:
    AnswerMachineSip() : AnswerMachineWindow("SIP line") {}

    void SetUp() override
    {
        if (!inSipTestNetwork())
            GTEST_SKIP() << "needs a private network namespace: run it through ctest (sip_e2e.sh)";
        setup.environment().set("NAVO_SIP_PORT", std::to_string(kNavoPort));
        setup.environment().set("NAVO_SIP_RTP_PORTS", "7078-7098");
    }

    // baresip calls Navo, says what is in voice, and hangs up after seconds.
    QString callWithBaresip(const std::string& name, const std::string& number, const std::string& voice,
                            int seconds)
    {
        QProcess caller;
        startBaresip(caller, setup, name, number, voice, kNavoPort, seconds);
        if (!caller.waitForStarted(5000))
            return QStringLiteral("baresip did not start");
        waitUntil([&] { return caller.state() == QProcess::NotRunning; }, (seconds + 10) * 1000);
        return QString::fromLocal8Bit(caller.readAll());
    }

    // What the caller says: quiet through greeting (0.3 s) and tone (0.6 s),
    // 1.5 s of 600 Hz, then quietSeconds of zeros, at the 8 kHz of the PCMU
    // codec baresip is given.
    std::string writeVoice(int quietSeconds)
    {
        const std::string voice = setup.path("voice.wav");
        LineSamples said = SineFiles::sine(0, 1.5, 0);
        const LineSamples tone = SineFiles::sine(600, 1.5);
        said.insert(said.end(), tone.begin(), tone.end());
        said.resize(said.size() + static_cast<std::size_t>(8000 * quietSeconds), 0);
        return LineWave::writeFile(voice, said, false) ? voice : std::string();
    }
};

TEST_F(AnswerMachineSip, ACallerSilentForTheSilenceSecondsIsCutBeforeBaresipHangsUp)
{
    start("Silence=2\n");
    window->fillList(kListPhone);

    // The meter settles on the zeros about half a second after the tone stops.
    const std::string voice = writeVoice(20);
    ASSERT_FALSE(voice.empty());

    const QString output = callWithBaresip("Silent Sam", "01614960001", voice, 12);
    ASSERT_TRUE(waitUntil([&] { return model()->rowCount() == 1; }, 10000)) << output.toStdString();
    // baresip's word for a BYE from the far end.
    EXPECT_TRUE(output.contains(QStringLiteral("session closed"))) << output.toStdString();
    EXPECT_EQ(cell(0, 2), "Silent Sam");
    const ToneMeasure heard = SineFiles::measure(filedSound("00000001"));
    EXPECT_NEAR(heard.frequency, 600, 15);
    EXPECT_NEAR(heard.soundSeconds, 1.5, 0.3);
    // Two silent seconds at least, and ended by Navo well before baresip's
    // own twelve.
    EXPECT_GT(heard.seconds, 3.4);
    EXPECT_LT(heard.seconds, 9.0);
    std::printf("[ measured ] silence cut over SIP: %.2f s of sound in %.2f s\n", heard.soundSeconds, heard.seconds);
    EXPECT_TRUE(line.monitoring());
}

}  // namespace
