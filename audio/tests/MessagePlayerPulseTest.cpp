// The message player on a real PulseAudio server with the "qt" backend:
// the recording-control selector offers the null sink's monitor, and "New"
// with that monitor chosen records the effected sound as the output plays
// it, or, when the chosen monitor hears nothing, files the rendered sound.
// Skips only when pulseaudio cannot start on this machine.
#include "AudioTestSupport.h"
#include "PlayerRecords.h"
#include "PulseServer.h"
#include "ScriptedPrompt.h"
#include "StoreFixture.h"

#include "audio/MessagePlayer.h"
#include "audio/MessagePlayerDialog.h"
#include "audio/PlayerEffects.h"
#include "audio/RecordingControls.h"
#include "core/ProfileValues.h"
#include "platform/CallbackWindow.h"
#include "platform/Trace.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/WaveFormats.h"
#include "store/IndexLine.h"

#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

namespace {

QTemporaryDir& configHome()
{
    static QTemporaryDir dir;
    return dir;
}
[[maybe_unused]] const bool kConfigHomeSet = [] {
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome().path()));
    return true;
}();

class PlayerPulseTest : public OpenStoreFixture {
protected:
    PulseServer server;
    ScriptedPrompt prompt;

    void SetUp() override
    {
        if (!server.start(8000))
            GTEST_SKIP() << "PulseAudio cannot start here: " << server.why();
        OpenStoreFixture::SetUp();
        qunsetenv("NAVO_AUDIO");
        AudioBackendRegistry::instance().choose("qt");
        CallbackWindow::registerClass();
        playereffects::publishDirectXVersion(true);
        ProfileValues(app).setEffectTexts({});
    }

    // The selector's first monitor entry whose name has text; -1 when none.
    static int monitorNamed(const std::string& text)
    {
        const std::vector<std::string> names = recordingcontrols::names();
        for (std::size_t i = 0; i < names.size(); ++i)
            if (recordingcontrols::isMonitor(static_cast<int>(i)) && names[i].find(text) != std::string::npos)
                return static_cast<int>(i);
        return -1;
    }
    static int speakerMonitor() { return monitorNamed("Monitor"); }

    // Plays source at twice its speed with the control chosen and New
    // pressed; the new record's RecID, 0 when none was filed.
    long newAtTwiceTheSpeed(long source, int control)
    {
        MessagePlayer player(app, {indexline::recIdText(source)}, 0);
        EXPECT_EQ(player.open(), 0);
        EXPECT_EQ(player.switchEffectsOn(), MessagePlayer::EffectsResult::On);
        player.moveSpeed(2 * playerrecords::kRate);
        EXPECT_EQ(player.chooseRecordingControl(control), 0);
        prompt.answerMessage(IDYES);  // 805
        prompt.answerMessage(IDOK);   // 804
        EXPECT_EQ(player.newRecordingWithEffects(), 0);
        EXPECT_TRUE(player.takingFromMonitor());
        EXPECT_EQ(player.state(), MessagePlayer::State::Recording);
        // A timer drives the take to its end, as the dialog's does; the
        // event loop sleeps in between rather than taking a core from the
        // sound threads.
        QEventLoop loop;
        QTimer ticks;
        QObject::connect(&ticks, &QTimer::timeout, [&] {
            player.tick();
            if (player.state() != MessagePlayer::State::Recording)
                loop.quit();
        });
        ticks.start(MessagePlayerDialog::kTimerMs);
        QTimer::singleShot(20000, &loop, &QEventLoop::quit);
        loop.exec();
        EXPECT_NE(player.state(), MessagePlayer::State::Recording) << "the take never ended";
        return player.lastNewRecId();
    }

    static WAVEFORMATEX formatOf(const std::vector<char>& file)
    {
        WAVEFORMATEX format{};
        const auto chunks = audiotest::riffChunks(file);
        if (!chunks.empty())
            readWaveFormatEx(reinterpret_cast<const unsigned char*>(file.data() + chunks[0].offset), chunks[0].size,
                             format);
        return format;
    }
};

TEST_F(PlayerPulseTest, TheSelectorListsTheInputsAndTheOutputsMonitor)
{
    const std::vector<std::string> names = recordingcontrols::names();
    // Qt's own inputs stay where they were; the monitor comes after them.
    ASSERT_GE(names.size(), 3u);
    int monitors = 0;
    for (std::size_t i = 0; i < names.size(); ++i)
        monitors += recordingcontrols::isMonitor(static_cast<int>(i));
    EXPECT_EQ(monitors, 1) << "only the null sink has a monitor";
    const int monitor = speakerMonitor();
    ASSERT_GE(monitor, 2) << "after virtmic and speakermon";
    EXPECT_NE(names[static_cast<std::size_t>(monitor)].find("Monitor"), std::string::npos)
        << names[static_cast<std::size_t>(monitor)];
    EXPECT_FALSE(recordingcontrols::isMonitor(static_cast<int>(names.size())));
    ASSERT_TRUE(recordingcontrols::select(monitor));
    EXPECT_EQ(recordingcontrols::current(), monitor);
    EXPECT_EQ(AudioBackendRegistry::instance().recordingSourceId(), "speaker.monitor");
}

TEST_F(PlayerPulseTest, NewWithTheMonitorChosenRecordsTheEffectedSoundAsPlayed)
{
    // CD quality: the take comes in that format, while rendering would keep
    // the source's 8 kHz mono, so the filed wave shows which path made it.
    app.RecordingQuality = 3;
    const long source = playerrecords::fileSamples(app, "to speed up", playerrecords::tone(440, 1200));
    ASSERT_NE(source, 0);
    TraceCapture traces;
    const long created = newAtTwiceTheSpeed(source, speakerMonitor());
    ASSERT_GT(created, source);
    EXPECT_FALSE(traces.contains("rendering the effects"));
    for (const char* step : {"Navo file saved to repository", "Updating Index", "Index updated"})
        EXPECT_TRUE(traces.contains(step)) << step;
    ASSERT_EQ(prompt.messages().size(), 2u);

    MessagePlayer check(app, {indexline::recIdText(created)}, 0);
    ASSERT_EQ(check.open(), 0);
    EXPECT_EQ(check.display().subject, "to speed up");
    const std::vector<char> file = audiotest::readFile(check.wavePath());
    EXPECT_EQ(formatOf(file), waveFormatForQuality(3));
    // Half the length at the same pitch, in both channels. A machine too
    // busy to feed the output in time leaves gaps the server fills with
    // silence, and the monitor records them as they were heard; the
    // length of the effected sound is counted over the frames that sound.
    const std::vector<std::int16_t> x = audiotest::toSamples16(audiotest::waveData(file));
    std::size_t sounding = 0;
    for (std::size_t i = 0; i + 1 < x.size(); i += 2)
        sounding += x[i] != 0 || x[i + 1] != 0;
    EXPECT_NEAR(static_cast<double>(sounding) / 44100, 0.6, 0.06);
    EXPECT_GE(check.display().lengthMs, 600 - 60);
    for (int c = 0; c < 2; ++c)
        EXPECT_NEAR(audiotest::peakFrequency(audiotest::channel(x, 2, c), 44100, 200, 2000, 5), 440, 10) << c;
}

// The monitor of an output the player does not play to hears nothing: the
// effected sound is made directly instead, and nothing is lost.
TEST_F(PlayerPulseTest, AMonitorThatHearsNothingGivesTheRenderedSoundInstead)
{
    ASSERT_TRUE(server.loadModule("module-null-sink sink_name=elsewhere sink_properties=device.description=Elsewhere"));
    app.RecordingQuality = 3;
    const long source = playerrecords::fileSamples(app, "to speed up", playerrecords::tone(440, 1200));
    ASSERT_NE(source, 0);
    TraceCapture traces;
    const int elsewhere = monitorNamed("Elsewhere");
    ASSERT_GE(elsewhere, 0);
    const long created = newAtTwiceTheSpeed(source, elsewhere);
    ASSERT_GT(created, source);
    EXPECT_TRUE(traces.contains("Monitor heard nothing; rendering the effects"));

    MessagePlayer check(app, {indexline::recIdText(created)}, 0);
    ASSERT_EQ(check.open(), 0);
    const std::vector<char> file = audiotest::readFile(check.wavePath());
    EXPECT_EQ(formatOf(file), waveFormatForQuality(0));
    EXPECT_NEAR(check.display().lengthMs, 600, 40);
    EXPECT_NEAR(audiotest::peakFrequency(audiotest::toSamples16(audiotest::waveData(file)), 8000, 200, 2000, 5), 440,
                10);
}

}  // namespace
