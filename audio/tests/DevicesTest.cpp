// The waveIn/waveOut devices over the registry's backends: argument checks,
// whole buffers handed back in order as window messages, reset and close,
// the virtual input (tone, file in another format) and output, and the
// recording-source selector.
#include "AudioTestSupport.h"

#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/RecordingSource.h"
#include "platform/audio/WaveApi.h"
#include "platform/audio/WaveFormats.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

using namespace audiotest;

namespace {

// A ring of n buffers of size bytes, prepared and queued.
struct Ring {
    std::vector<std::unique_ptr<WAVEHDR>> headers;
    std::vector<std::vector<char>> data;

    Ring(HWAVEIN in, std::size_t n, std::size_t size)
    {
        for (std::size_t i = 0; i < n; ++i) {
            data.emplace_back(size);
            headers.emplace_back(new WAVEHDR());
            headers.back()->lpData = data.back().data();
            headers.back()->dwBufferLength = static_cast<DWORD>(size);
            EXPECT_EQ(waveInPrepareHeader(in, headers.back().get(), sizeof(WAVEHDR)), MMSYSERR_NOERROR);
            EXPECT_EQ(waveInAddBuffer(in, headers.back().get(), sizeof(WAVEHDR)), MMSYSERR_NOERROR);
        }
    }
};

class DevicesTest : public ::testing::Test {
protected:
    void SetUp() override { qunsetenv("NAVO_AUDIO"); }
    TempFolder dir;
    MessageWindow window;

    // The samples of every buffer handed back so far, in order.
    std::vector<std::int16_t> recorded() const
    {
        std::vector<std::int16_t> x;
        for (const auto& m : window.messages) {
            if (m.message != MM_WIM_DATA)
                continue;
            const auto* h = reinterpret_cast<const WAVEHDR*>(m.lParam);
            const auto s = toSamples16(std::vector<char>(h->lpData, h->lpData + h->dwBytesRecorded));
            x.insert(x.end(), s.begin(), s.end());
        }
        return x;
    }
};

}  // namespace

TEST_F(DevicesTest, OpenChecksFormatFlagsAndDevices)
{
    auto state = useScriptedBackend();
    WAVEFORMATEX f = waveFormatForQuality(0);
    HWAVEIN in = 0;
    EXPECT_EQ(waveInOpen(nullptr, WAVE_MAPPER, &f, 0, 0, WAVE_FORMAT_QUERY), MMSYSERR_NOERROR);
    EXPECT_EQ(waveInOpen(&in, 5, &f, 0, 0, CALLBACK_WINDOW), MMSYSERR_BADDEVICEID);
    EXPECT_EQ(waveInOpen(&in, WAVE_MAPPER, &f, 0, 0, 0x00030000 /* a callback function */), MMSYSERR_INVALFLAG);
    f.wBitsPerSample = 24;
    f.nBlockAlign = 3;
    f.nAvgBytesPerSec = 24000;
    EXPECT_EQ(waveInOpen(nullptr, WAVE_MAPPER, &f, 0, 0, WAVE_FORMAT_QUERY), WAVERR_BADFORMAT);
    char text[MAXERRORLENGTH];
    EXPECT_EQ(waveInGetErrorText(12345, text, sizeof text), MMSYSERR_BADERRNUM);

    state->inputs.clear();
    f = waveFormatForQuality(0);
    EXPECT_EQ(waveInOpen(nullptr, WAVE_MAPPER, &f, 0, 0, WAVE_FORMAT_QUERY), MMSYSERR_NODRIVER);
    AudioBackendRegistry::instance().choose("no-such-backend");
    EXPECT_EQ(waveInOpen(nullptr, WAVE_MAPPER, &f, 0, 0, WAVE_FORMAT_QUERY), MMSYSERR_NODRIVER);
    qputenv("NAVO_AUDIO", "scripted");  // the environment wins over the choice
    EXPECT_EQ(AudioBackendRegistry::instance().activeName(), "scripted");
    qunsetenv("NAVO_AUDIO");
}

TEST_F(DevicesTest, BuffersComeBackWholeInOrderAndResetReturnsTheRest)
{
    auto state = useScriptedBackend();
    const WAVEFORMATEX f = waveFormatForQuality(1);  // 4-byte frames
    HWAVEIN in = 0;
    ASSERT_EQ(waveInOpen(&in, WAVE_MAPPER, &f, window.handle(), 0, CALLBACK_WINDOW), MMSYSERR_NOERROR);
    Ring ring(in, 4, 1002);  // not a whole number of frames: 1000 bytes used
    ASSERT_EQ(waveInStart(in), MMSYSERR_NOERROR);
    std::vector<char> sound(2600);
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = static_cast<char>(i * 7);
    state->push(sound);
    drain();
    // Open, then two full buffers, in the order they were added.
    ASSERT_EQ(window.messages.size(), 3u);
    EXPECT_EQ(window.messages[0].message, MM_WIM_OPEN);
    for (int i = 0; i < 2; ++i) {
        const auto& m = window.messages[static_cast<std::size_t>(i) + 1];
        EXPECT_EQ(m.message, MM_WIM_DATA);
        EXPECT_EQ(m.wParam, in);
        const auto* h = reinterpret_cast<const WAVEHDR*>(m.lParam);
        EXPECT_EQ(h, ring.headers[static_cast<std::size_t>(i)].get());
        EXPECT_EQ(h->dwBytesRecorded, 1000u);
        EXPECT_TRUE(h->dwFlags & WHDR_DONE);
        EXPECT_TRUE(std::equal(h->lpData, h->lpData + 1000, sound.begin() + i * 1000));
    }
    EXPECT_EQ(waveInClose(in), WAVERR_STILLPLAYING);
    EXPECT_EQ(waveInUnprepareHeader(in, ring.headers[2].get(), sizeof(WAVEHDR)), WAVERR_STILLPLAYING);

    // Reset: the part-filled third buffer with its 600 bytes, the fourth empty.
    ASSERT_EQ(waveInReset(in), MMSYSERR_NOERROR);
    drain();
    ASSERT_EQ(window.messages.size(), 5u);
    EXPECT_EQ(reinterpret_cast<const WAVEHDR*>(window.messages[3].lParam)->dwBytesRecorded, 600u);
    EXPECT_EQ(reinterpret_cast<const WAVEHDR*>(window.messages[4].lParam)->dwBytesRecorded, 0u);
    EXPECT_EQ(state->sink, nullptr);

    ring.headers[0]->dwFlags = 0;
    EXPECT_EQ(waveInAddBuffer(in, ring.headers[0].get(), sizeof(WAVEHDR)), WAVERR_UNPREPARED);
    ASSERT_EQ(waveInClose(in), MMSYSERR_NOERROR);
    drain();
    EXPECT_EQ(window.messages.back().message, MM_WIM_CLOSE);
    EXPECT_EQ(waveInStart(in), MMSYSERR_INVALHANDLE);

    // Handles are never reused.
    HWAVEIN again = 0;
    ASSERT_EQ(waveInOpen(&again, WAVE_MAPPER, &f, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
    EXPECT_NE(again, in);
    waveInClose(again);
}

TEST_F(DevicesTest, VirtualToneArrivesInRealTimeWithoutGapsOrDrops)
{
    useVirtualBackend("tone:1000:0.5", "", true);
    const WAVEFORMATEX f = waveFormatForQuality(0);
    HWAVEIN in = 0;
    ASSERT_EQ(waveInOpen(&in, WAVE_MAPPER, &f, window.handle(), 0, CALLBACK_WINDOW), MMSYSERR_NOERROR);
    Ring ring(in, 10, 1600);  // ten buffers of 100 ms
    QElapsedTimer clock;
    clock.start();
    ASSERT_EQ(waveInStart(in), MMSYSERR_NOERROR);
    ASSERT_TRUE(pumpUntil([&] { return window.count(MM_WIM_DATA) == 5; }, 3000));
    const qint64 elapsed = clock.elapsed();
    EXPECT_GE(elapsed, 480);  // 500 ms of sound takes 500 ms
    EXPECT_LE(elapsed, 2000);
    const std::vector<std::int16_t> x = recorded();
    ASSERT_EQ(x.size(), 4000u);
    EXPECT_DOUBLE_EQ(peakFrequency(x, 8000, 100, 3900, 10), 1000.0);
    EXPECT_NEAR(rms(x), 0.5 * 32767 / std::sqrt(2.0), 50);
    // Continuous across buffer edges: no step larger than the sine's slope.
    for (std::size_t i = 1; i < x.size(); ++i)
        ASSERT_LE(std::abs(x[i] - x[i - 1]), 12900) << i;
    EXPECT_EQ(waveInDroppedBytes(in), 0u);
    waveInReset(in);
    waveInClose(in);
}

TEST_F(DevicesTest, VirtualInputConvertsAFileToTheFormatAskedFor)
{
    // A CD-quality stereo file with different tones left and right, read as
    // quality 0 (mono 8000 Hz): both tones, resampled, mixed to one channel.
    std::vector<std::int16_t> cd;
    for (int n = 0; n < 44100; ++n) {
        cd.push_back(static_cast<std::int16_t>(8000 * std::sin(2 * 3.14159265358979 * 500 * n / 44100)));
        cd.push_back(static_cast<std::int16_t>(8000 * std::sin(2 * 3.14159265358979 * 1500 * n / 44100)));
    }
    const std::string file = dir.file("cd.wav");
    writeWav(file, waveFormatForQuality(3), samples16(cd));
    useVirtualBackend(file, "", false);
    const WAVEFORMATEX f = waveFormatForQuality(0);
    HWAVEIN in = 0;
    ASSERT_EQ(waveInOpen(&in, WAVE_MAPPER, &f, window.handle(), 0, CALLBACK_WINDOW), MMSYSERR_NOERROR);
    Ring ring(in, 12, 1600);
    ASSERT_EQ(waveInStart(in), MMSYSERR_NOERROR);
    ASSERT_TRUE(pumpUntil([&] { return window.count(MM_WIM_DATA) == 12; }, 3000));
    const std::vector<std::int16_t> x = recorded();
    // One second of the file, then silence.
    const std::vector<std::int16_t> sound(x.begin() + 400, x.begin() + 7600);
    const double p500 = goertzel(sound, 8000, 500);
    const double p1500 = goertzel(sound, 8000, 1500);
    EXPECT_NEAR(p500 / p1500, 1.0, 0.1);
    EXPECT_GT(p500, 1000 * goertzel(sound, 8000, 1000));
    EXPECT_NEAR(rms(sound), 4000, 200);  // each channel halved, two tones
    const std::vector<std::int16_t> after(x.begin() + 8100, x.end());
    EXPECT_EQ(rms(after), 0.0);
    waveInReset(in);
    waveInClose(in);

    // A file that is not a WAV file does not open.
    useVirtualBackend(dir.file("cd.txt"), "", false);
    EXPECT_EQ(waveInOpen(&in, WAVE_MAPPER, &f, 0, 0, CALLBACK_NULL), MMSYSERR_ALLOCATED);
}

TEST_F(DevicesTest, VirtualOutputPlaysBuffersInOrderAtRealPaceIntoAFile)
{
    const std::string out = dir.file("out.wav");
    useVirtualBackend("silence", out, true);
    const WAVEFORMATEX f = waveFormatForQuality(3);
    HWAVEOUT device = 0;
    ASSERT_EQ(waveOutOpen(&device, WAVE_MAPPER, &f, window.handle(), 0, CALLBACK_WINDOW), MMSYSERR_NOERROR);
    std::vector<std::vector<char>> pieces;
    std::vector<std::unique_ptr<WAVEHDR>> headers;
    for (int i = 0; i < 3; ++i) {
        pieces.emplace_back(17640);  // 100 ms each
        for (std::size_t b = 0; b < pieces.back().size(); ++b)
            pieces.back()[b] = static_cast<char>(b * (i + 3));
        headers.emplace_back(new WAVEHDR());
        headers.back()->lpData = pieces.back().data();
        headers.back()->dwBufferLength = 17640;
        ASSERT_EQ(waveOutPrepareHeader(device, headers.back().get(), sizeof(WAVEHDR)), MMSYSERR_NOERROR);
    }
    QElapsedTimer clock;
    clock.start();
    for (auto& h : headers)
        ASSERT_EQ(waveOutWrite(device, h.get(), sizeof(WAVEHDR)), MMSYSERR_NOERROR);
    ASSERT_TRUE(pumpUntil([&] { return window.count(MM_WOM_DONE) == 3; }, 3000));
    EXPECT_GE(clock.elapsed(), 290);
    std::vector<const WAVEHDR*> done;
    for (const auto& m : window.messages) {
        if (m.message == MM_WOM_DONE)
            done.push_back(reinterpret_cast<const WAVEHDR*>(m.lParam));
    }
    EXPECT_EQ(done, (std::vector<const WAVEHDR*>{headers[0].get(), headers[1].get(), headers[2].get()}));
    MMTIME position;
    position.wType = TIME_MS;
    ASSERT_EQ(waveOutGetPosition(device, &position, sizeof position), MMSYSERR_NOERROR);
    EXPECT_EQ(position.u.ms, 300u);
    for (auto& h : headers)
        waveOutUnprepareHeader(device, h.get(), sizeof(WAVEHDR));
    ASSERT_EQ(waveOutClose(device), MMSYSERR_NOERROR);
    std::vector<char> all;
    for (const auto& p : pieces)
        all.insert(all.end(), p.begin(), p.end());
    EXPECT_EQ(waveData(readFile(out)), all);
}

TEST_F(DevicesTest, RecordingSourcesAreTheInputsAndChoosingOneChoosesTheDevice)
{
    auto state = useScriptedBackend();
    state->inputs = {{"mic", "Microphone"}, {"line", "Line in"}};
    EXPECT_EQ(RecordingSource::sourceNames(), (std::vector<std::string>{"Microphone", "Line in"}));
    EXPECT_EQ(RecordingSource::currentSource(), 0);
    EXPECT_FALSE(RecordingSource::selectSource(2));
    EXPECT_TRUE(RecordingSource::selectSource(1));
    EXPECT_EQ(RecordingSource::currentSource(), 1);
    const WAVEFORMATEX f = waveFormatForQuality(0);
    HWAVEIN in = 0;
    ASSERT_EQ(waveInOpen(&in, WAVE_MAPPER, &f, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
    EXPECT_EQ(state->openedId, "line");
    waveInClose(in);
    EXPECT_TRUE(RecordingSource::selectSourceByName("Microphone"));
    ASSERT_EQ(waveInOpen(&in, WAVE_MAPPER, &f, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
    EXPECT_EQ(state->openedId, "mic");
    waveInClose(in);

    // A source that went away falls back to the default.
    EXPECT_TRUE(RecordingSource::selectSource(1));
    state->inputs = {{"mic", "Microphone"}};
    EXPECT_EQ(RecordingSource::currentSource(), 0);
}
