// Recording and playing through a real PulseAudio server with the "qt"
// backend: a private headless server whose pipe source carries a known
// tone. Skips only when pulseaudio cannot start on this machine.
#include "AudioTestSupport.h"
#include "PulseServer.h"

#include "audio/MciSendCommand.h"
#include "audio/VXWave.h"
#include "audio/WaveAudio.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/RecordingSource.h"
#include "platform/audio/WaveFormats.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <cmath>

using namespace audiotest;

namespace {

constexpr double kTone = 1000;
constexpr double kLevel = 0.5;

class PulseTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!server.start(8000))
            GTEST_SKIP() << "PulseAudio cannot start here: " << server.why();
        qunsetenv("NAVO_AUDIO");
        AudioBackendRegistry::instance().choose("qt");
        CallbackWindow::registerClass();
        server.feedTone(kTone, kLevel);
        ASSERT_TRUE(RecordingSource::selectSourceByName("virtmic"))
            << "sources: " << RecordingSource::sourceNames().size();
    }

    // Records seconds through the engine at quality and returns the saved file.
    std::vector<char> recordWithEngine(int quality, int milliseconds)
    {
        VXWave wave(nullptr, flags);
        wave.RawRecordPath = dir.file("buffer.wav");
        wave.RawDataPath = dir.file("data.wav");
        wave.WavePath = dir.file("record.wav");
        wave.DiscardInput = 0;
        EXPECT_EQ(wave.StartRecord(5, quality), 1) << wave.LastError;
        flags.LevelMeterOn = 1;
        // Until that much sound has come, not for that long: a loaded machine
        // may deliver it late, but must not lose it.
        const DWORD wanted = waveFormatForQuality(quality).nAvgBytesPerSec / 1000 * milliseconds;
        EXPECT_TRUE(pumpUntil([&] { return wave.bytesWritten() >= wanted; }, 30000)) << wave.bytesWritten();
        wave.DiscardInput = 1;
        wave.Stop(0);
        EXPECT_EQ(wave.Append(), 0);
        flags.LevelMeterOn = 0;
        EXPECT_EQ(wave.SaveWaveFile(), 0);
        wave.Free();
        return readFile(wave.WavePath);
    }

    // The tone's frequency and level in one channel, past the first 300 ms
    // (the server's start-up).
    void expectTone(const std::vector<std::int16_t>& x, int rate)
    {
        ASSERT_GE(x.size(), static_cast<std::size_t>(rate));
        const std::vector<std::int16_t> steady(x.begin() + rate * 3 / 10, x.end());
        EXPECT_NEAR(peakFrequency(steady, rate, 100, rate / 2.0 - 100, 5), kTone, 5);
        EXPECT_NEAR(rms(steady), kLevel * 32767 / std::sqrt(2.0), kLevel * 32767 / std::sqrt(2.0) * 0.1);
    }

    PulseServer server;
    TempFolder dir;
    RecordingFlags flags;
};

}  // namespace

TEST_F(PulseTest, EngineRecordsTheToneAtVoiceAndCdQuality)
{
    std::vector<char> file = recordWithEngine(0, 2000);
    EXPECT_EQ(riffChunks(file).size(), 3u);
    std::vector<std::int16_t> x = toSamples16(waveData(file));
    // About two seconds of sound: nothing dropped, nothing doubled.
    EXPECT_NEAR(static_cast<double>(x.size()), 16000, 16000 * 0.15);
    expectTone(x, 8000);
    // The meter saw the tone's peak: high byte 0x3F or 0x40 of 16383.
    EXPECT_GE(flags.LeftLevel, 48);
    EXPECT_LE(flags.LeftLevel, 50);

    // CD quality: its format, and the tone in both channels.
    file = recordWithEngine(3, 1500);
    const auto chunks = riffChunks(file);
    ASSERT_FALSE(chunks.empty());
    WAVEFORMATEX f;
    readWaveFormatEx(reinterpret_cast<const unsigned char*>(file.data() + chunks[0].offset), chunks[0].size, f);
    EXPECT_EQ(f, waveFormatForQuality(3));
    x = toSamples16(waveData(file));
    expectTone(channel(x, 2, 0), 44100);
    expectTone(channel(x, 2, 1), 44100);
}

TEST_F(PulseTest, MediaControlRecordsThenPlaysToTheSpeaker)
{
    MessageWindow window;
    const MCIDEVICEID device = WaveAudio::open("");
    ASSERT_NE(device, WaveAudio::kOpenFailed);
    ASSERT_EQ(WaveAudio::setWaveFormat(device, 0), 0u);
    ASSERT_EQ(WaveAudio::record(window.handle(), true, device), 0u);
    ASSERT_TRUE(pumpUntil([&] { return WaveAudio::length(1, device) >= 1500; }, 5000));
    ASSERT_EQ(WaveAudio::stop(device), 0u);
    drain();
    ASSERT_EQ(window.count(MM_MCINOTIFY), 1);
    EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_ABORTED);
    const DWORD length = WaveAudio::length(1, device);
    ASSERT_EQ(WaveAudio::save(dir.path(), dir.file("dictation.wav"), device), 0u);
    expectTone(toSamples16(waveData(readFile(dir.file("dictation.wav")))), 8000);

    // Played to the null sink in real time: done no sooner than its length.
    const MCIDEVICEID again = WaveAudio::open(dir.file("dictation.wav"));
    window.messages.clear();
    QElapsedTimer clock;
    clock.start();
    ASSERT_EQ(WaveAudio::playFrom(window.handle(), 0, again), 0u);
    ASSERT_TRUE(pumpUntil([&] { return window.count(MM_MCINOTIFY) > 0; }, 10000));
    EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_SUCCESSFUL);
    EXPECT_GE(clock.elapsed(), static_cast<qint64>(length) - 50);
    EXPECT_EQ(WaveAudio::position(again), length);
    WaveAudio::close(again);
}
