// The effects player checked by what is heard: the virtual output's WAV
// file (at fast pace) or a hand-pulled device, measured by frequency,
// length, correlation and band energy.
#include <gtest/gtest.h>

#include "maker/Ek7Acm/tests/ToneWave.h"
#include "maker/Ek7Audio/Ek7Audio.h"
#include "maker/Ek7DxSnd/Ek7DxSnd.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/WavFileReader.h"
#include "platform/audio/WavFileWriter.h"

#include <chrono>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

namespace {

constexpr double kPi = 3.14159265358979323846;

WAVEFORMATEX pcm(int rate, int channels, int bits)
{
    WAVEFORMATEX f;
    f.wFormatTag = WAVE_FORMAT_PCM;
    f.nChannels = static_cast<WORD>(channels);
    f.nSamplesPerSec = static_cast<DWORD>(rate);
    f.wBitsPerSample = static_cast<WORD>(bits);
    f.nBlockAlign = static_cast<WORD>(channels * bits / 8);
    f.nAvgBytesPerSec = f.nSamplesPerSec * f.nBlockAlign;
    return f;
}

// Mono 16-bit at 8 kHz unless said otherwise; samples in [-1, 1].
void writeWave(const std::string& path, const std::vector<double>& x, const WAVEFORMATEX& f = pcm(8000, 1, 16))
{
    std::string bytes;
    const int size = f.wBitsPerSample / 8;
    const double scale = size == 4 ? 2147483647.0 : size == 2 ? 32767 : 127;
    for (double v : x)
        for (int c = 0; c < f.nChannels; ++c)
            tone::put(bytes, static_cast<std::uint32_t>(std::lround(v * scale) + (size == 1 ? 128 : 0)), size);
    WavFileWriter writer;
    ASSERT_TRUE(writer.create(path, f) && writer.write(bytes.data(), bytes.size()) && writer.finish());
}

std::vector<char> soundOf(const std::string& path)
{
    WavFileReader reader;
    EXPECT_TRUE(reader.open(path)) << path;
    std::vector<char> bytes(static_cast<std::size_t>(reader.dataSize()));
    bytes.resize(reader.read(bytes.data(), bytes.size()));
    return bytes;
}

std::vector<double> mono16(const std::vector<char>& bytes)
{
    return tone::channel(std::string(bytes.begin(), bytes.end()), {8000, 1, 16}, 0);
}

std::vector<double> sine(double hz, double seconds, double level, int rate = 8000)
{
    std::vector<double> x(static_cast<std::size_t>(seconds * rate));
    for (std::size_t n = 0; n < x.size(); ++n)
        x[n] = level * std::sin(2 * kPi * hz * static_cast<double>(n) / rate);
    return x;
}

// Level of one frequency in dB (Goertzel, full-scale sine = 0 dB).
double levelDb(const std::vector<double>& x, double hz, int rate = 8000)
{
    const double w = 2 * kPi * hz / rate;
    double re = 0, im = 0;
    for (std::size_t n = 0; n < x.size(); ++n) {
        re += x[n] * std::cos(w * static_cast<double>(n));
        im += x[n] * std::sin(w * static_cast<double>(n));
    }
    return 20 * std::log10(2 * std::hypot(re, im) / static_cast<double>(x.size()));
}

struct Pairs {
    int v[kDxEffectCount][2] = {{1, 8000}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}};
    Pairs& on(int pair, int value)
    {
        v[pair][0] = 1;
        v[pair][1] = value;
        return *this;
    }
};

// A device the test pulls by hand, a block at a time.
struct HandPulled {
    AudioPlayback::Source* source = nullptr;
};

class HandPlayback final : public AudioPlayback {
public:
    explicit HandPlayback(std::shared_ptr<HandPulled> state) : m_state(std::move(state)) {}
    MMRESULT start(Source& source) override
    {
        m_state->source = &source;
        return MMSYSERR_NOERROR;
    }
    void stop() override { m_state->source = nullptr; }

private:
    std::shared_ptr<HandPulled> m_state;
};

class HandBackend final : public AudioBackend {
public:
    explicit HandBackend(std::shared_ptr<HandPulled> state) : m_state(std::move(state)) {}
    std::vector<Device> inputs() override { return {}; }
    std::vector<Device> outputs() override { return {{"hand", "Hand-pulled output"}}; }
    std::string defaultInput() override { return {}; }
    std::string defaultOutput() override { return "hand"; }
    MMRESULT openCapture(const std::string&, const WAVEFORMATEX&, std::unique_ptr<AudioCapture>&) override
    {
        return MMSYSERR_NOTSUPPORTED;
    }
    MMRESULT openPlayback(const std::string&, const WAVEFORMATEX&, std::unique_ptr<AudioPlayback>& playback) override
    {
        playback = std::make_unique<HandPlayback>(m_state);
        return MMSYSERR_NOERROR;
    }

private:
    std::shared_ptr<HandPulled> m_state;
};

class DxSoundTest : public ::testing::Test {
protected:
    std::filesystem::path dir = std::filesystem::temp_directory_path() / ("ek7dxsnd-" + std::to_string(::getpid()));
    std::string in = (dir / "in.wav").string();
    std::string heard = (dir / "heard.wav").string();

    void SetUp() override
    {
        std::filesystem::create_directories(dir);
        ::setenv("NAVO_AUDIO", "virtual", 1);
        ::setenv("NAVO_AUDIO_PACE", "fast", 1);
        ::setenv("NAVO_AUDIO_OUTPUT", heard.c_str(), 1);
    }
    void TearDown() override
    {
        CleanDSound();
        std::filesystem::remove_all(dir);
    }

    // Plays file to its end through the virtual output; what was heard.
    std::vector<char> playToEnd(const std::string& file, const Pairs& pairs, std::uint32_t start = 0)
    {
        int normal = 0, lowest = 0, highest = 0;
        EXPECT_EQ(InitDSound(0, file.c_str(), &normal, &lowest, &highest), kDxOk);
        EXPECT_EQ(PlayDSound(start, pairs.v, kDxEffectCount), kDxOk);
        // While the device's thread plays: the position never runs back, and
        // re-applying the speed (as the dialog's slider does) is safe.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        std::uint32_t last = 0;
        while (IsPlayingDSound() && std::chrono::steady_clock::now() < deadline) {
            const std::uint32_t now = GetPosn();
            EXPECT_GE(now, last);
            last = now;
            EXPECT_EQ(AdjEffects(0, pairs.v[0][1]), pairs.v[0][1]);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_FALSE(IsPlayingDSound()) << "the end was never heard";
        EXPECT_EQ(GetPosn(), 100000u);
        StopDSound();
        CleanDSound();
        return soundOf(heard);
    }
};

}  // namespace

// Every recording format: with every effect off the output is the file,
// byte for byte, and the reversed copy plays as the reversed frames.
TEST_F(DxSoundTest, AllOffIsAPassThroughInEveryFormatAndReverseIsBackwards)
{
    for (const WAVEFORMATEX& f : {pcm(8000, 1, 16), pcm(8000, 2, 16), pcm(22050, 1, 8), pcm(44100, 2, 16)}) {
        SCOPED_TRACE(std::to_string(f.nSamplesPerSec) + " Hz x" + std::to_string(f.nChannels));
        writeWave(in, sine(440, 0.73, 0.5, static_cast<int>(f.nSamplesPerSec)), f);
        Pairs pairs;
        pairs.v[0][1] = static_cast<int>(f.nSamplesPerSec);
        const std::vector<char> source = soundOf(in);
        EXPECT_EQ(playToEnd(in, pairs), source);

        const std::string reversed = (dir / "reversed.wav").string();
        ASSERT_EQ(ReversePlay(in.c_str(), reversed.c_str()), 0);
        const std::vector<char> back = playToEnd(reversed, pairs);
        ASSERT_EQ(back.size(), source.size());
        const std::size_t frame = f.nBlockAlign;
        for (std::size_t i = 0; i < source.size(); i += frame)
            ASSERT_TRUE(std::equal(back.begin() + static_cast<std::ptrdiff_t>(i), back.begin() + static_cast<std::ptrdiff_t>(i + frame),
                                   source.end() - static_cast<std::ptrdiff_t>(i + frame)))
                << "frame " << i / frame;
    }
}

// Speed is a rate in Hz against the file's own: twice the rate plays in
// half the time, half the rate in twice; the tone keeps its pitch.
TEST_F(DxSoundTest, SpeedChangesTheLengthAndKeepsThePitch)
{
    writeWave(in, sine(440, 2.0, 0.5));
    int normal = 0, lowest = 0, highest = 0;
    ASSERT_EQ(InitDSound(0, in.c_str(), &normal, &lowest, &highest), kDxOk);
    EXPECT_EQ(normal, 8000);
    EXPECT_LT(lowest + 2, normal);  // the dialog divides by highest - lowest - 2
    EXPECT_GT(highest, normal);
    EXPECT_EQ(AdjEffects(0, 1), lowest);  // clamped to the range
    for (const auto& [rate, seconds] : {std::pair{16000, 1.0}, std::pair{4000, 4.0}}) {
        SCOPED_TRACE(rate);
        const std::vector<double> x = mono16(playToEnd(in, Pairs().on(0, rate)));
        EXPECT_NEAR(static_cast<double>(x.size()) / 8000, seconds, seconds * 0.02);
        EXPECT_NEAR(tone::peakFrequency(x, 8000, 300, 600), 440, 5);
    }
}

// Noise through the echo: the output correlates with the input at
// the set delay, half as strong as the direct sound.
TEST_F(DxSoundTest, EchoPutsADelayedCopyAtTheSetDelay)
{
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0, 0.1);
    std::vector<double> x(12000);
    for (double& v : x)
        v = noise(random);
    writeWave(in, x);
    const std::vector<double> source = mono16(soundOf(in));
    for (int value : {24, 49}) {
        SCOPED_TRACE(value);
        const std::vector<double> y = mono16(playToEnd(in, Pairs().on(1, value)));
        ASSERT_EQ(y.size(), source.size());
        std::vector<double> correlation(6000);
        for (std::size_t lag = 0; lag < correlation.size(); ++lag) {
            for (std::size_t n = lag; n < y.size(); ++n)
                correlation[lag] += y[n] * source[n - lag];
            correlation[lag] /= static_cast<double>(y.size() - lag);
        }
        const auto best = static_cast<std::size_t>(std::max_element(correlation.begin() + 1, correlation.end()) - correlation.begin());
        EXPECT_EQ(best, static_cast<std::size_t>((value + 1) * 80));  // (value + 1) * 10 ms
        EXPECT_NEAR(correlation[best] / correlation[0], 0.5, 0.05);
    }
}

// 1 kHz is the equalizer's band: below 50 cuts it, 50 leaves it, above
// boosts it, by 0.3 dB a step; 125 Hz, three octaves away, barely moves.
TEST_F(DxSoundTest, EqualizerChangesBandEnergyTheWayItsValueSays)
{
    std::vector<double> x = sine(1000, 1.0, 0.05);
    const std::vector<double> low = sine(125, 1.0, 0.05);
    for (std::size_t n = 0; n < x.size(); ++n)
        x[n] += low[n];
    writeWave(in, x);
    const std::string rendered = (dir / "rendered.wav").string();
    ASSERT_EQ(InitDSound(0, in.c_str(), nullptr, nullptr, nullptr), kDxOk);
    for (const auto& [value, gainDb] : {std::pair{0, -15.0}, std::pair{25, -7.5}, std::pair{50, 0.0}, std::pair{99, 14.7}}) {
        SCOPED_TRACE(value);
        SetEffects(Pairs().on(6, value).v, kDxEffectCount);
        ASSERT_EQ(RenderDSound(rendered.c_str()), kDxOk);
        std::vector<double> y = mono16(soundOf(rendered));
        y.erase(y.begin(), y.begin() + 800);  // the filter's start
        EXPECT_NEAR(levelDb(y, 1000) - levelDb(x, 1000), gainDb, 0.3);
        EXPECT_NEAR(levelDb(y, 125) - levelDb(x, 125), 0, gainDb > 0 ? 0.8 : 0.5);
    }
}

// Driven by a device pulled by hand: the position follows what was heard,
// a seek takes effect at the next pull, a value adjusted or an effect
// switched while playing is heard from the very next block, and the end is
// the end.
TEST_F(DxSoundTest, PlayingFollowsPositionSeekAndAdjustmentsFromTheNextBlock)
{
    auto hand = std::make_shared<HandPulled>();
    AudioBackendRegistry::instance().add("ek7dxsnd-hand", [hand] { return std::make_unique<HandBackend>(hand); });
    ::setenv("NAVO_AUDIO", "ek7dxsnd-hand", 1);
    writeWave(in, sine(1000, 1.0, 0.05));
    const std::vector<char> source = soundOf(in);
    const std::size_t block = 160;  // 10 ms
    auto pull = [&](std::size_t bytes) {
        std::vector<char> got(bytes);
        got.resize(hand->source->pull(got.data(), bytes));
        return got;
    };

    ASSERT_EQ(InitDSound(0, in.c_str(), nullptr, nullptr, nullptr), kDxOk);
    ASSERT_EQ(PlayDSound(50000, Pairs().v, kDxEffectCount), kDxOk);
    ASSERT_NE(hand->source, nullptr);
    EXPECT_EQ(pull(4 * block), std::vector<char>(source.begin() + 8000, source.begin() + 8000 + 4 * block));
    hand->source->played(4 * block);
    EXPECT_EQ(GetPosn(), 54000u);
    SetPosn(25);
    EXPECT_EQ(pull(block), std::vector<char>(source.begin() + 4000, source.begin() + 4000 + block));
    EXPECT_EQ(GetPosn(), 54000u);  // the new place is not heard yet
    hand->source->played(5 * block);
    EXPECT_EQ(GetPosn(), 26000u);  // 2000 frames and the block heard
    std::vector<char> rest = pull(source.size());
    EXPECT_EQ(rest.size(), source.size() - 4000 - block);
    EXPECT_TRUE(IsPlayingDSound());  // pulled is not heard
    EXPECT_TRUE(pull(block).empty());
    hand->source->played(5 * block + rest.size());
    EXPECT_FALSE(IsPlayingDSound());
    EXPECT_EQ(GetPosn(), 100000u);

    // Equalizer cut, then boosted after 30 blocks: those 30 are exactly the
    // cut rendering, the 31st already differs, and from a few blocks later
    // the level is the boosted rendering's.
    const std::string cut = (dir / "cut.wav").string();
    const std::string boost = (dir / "boost.wav").string();
    SetEffects(Pairs().on(6, 99).v, kDxEffectCount);
    ASSERT_EQ(RenderDSound(boost.c_str()), kDxOk);
    SetEffects(Pairs().on(6, 0).v, kDxEffectCount);
    ASSERT_EQ(RenderDSound(cut.c_str()), kDxOk);
    ASSERT_EQ(PlayDSound(0, Pairs().on(6, 0).v, kDxEffectCount), kDxOk);
    std::vector<char> out;
    for (int i = 0; i < 30; ++i) {
        const std::vector<char> got = pull(block);
        out.insert(out.end(), got.begin(), got.end());
    }
    EXPECT_EQ(AdjEffects(6, 99), 99);
    for (std::vector<char> got = pull(block); !got.empty(); got = pull(block))
        out.insert(out.end(), got.begin(), got.end());
    const std::vector<char> cutSound = soundOf(cut);
    const std::vector<double> y = mono16(out), boosted = mono16(soundOf(boost));
    ASSERT_EQ(out.size(), cutSound.size());
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 30 * block, cutSound.begin()));
    EXPECT_FALSE(std::equal(out.begin() + 30 * block, out.begin() + 31 * block, cutSound.begin() + 30 * block));
    EXPECT_NEAR(tone::rms(tone::slice(y, 35 * 80, y.size())) / tone::rms(tone::slice(boosted, 35 * 80, y.size())), 1.0,
                0.02);

    // An On button switched while playing: the echo (250 ms) is heard from
    // the next block; switched off and on again it starts from silence, so
    // for its first 250 ms the sound is the file's, with no stale tail.
    ASSERT_EQ(PlayDSound(0, Pairs().v, kDxEffectCount), kDxOk);
    auto fileBlock = [&](std::size_t index) {
        return std::vector<char>(source.begin() + static_cast<std::ptrdiff_t>(index * block),
                                 source.begin() + static_cast<std::ptrdiff_t>((index + 1) * block));
    };
    std::size_t at = 0;
    for (; at < 30; ++at)
        ASSERT_EQ(pull(block), fileBlock(at));
    SetEffects(Pairs().on(1, 24).v, kDxEffectCount);
    for (; at < 60; ++at)
        EXPECT_EQ(pull(block) != fileBlock(at), at >= 55) << "block " << at;  // the echo arrives after 25 blocks
    SetEffects(Pairs().v, kDxEffectCount);
    for (; at < 65; ++at)
        EXPECT_EQ(pull(block), fileBlock(at));
    SetEffects(Pairs().on(1, 24).v, kDxEffectCount);
    for (; at < 90; ++at)
        EXPECT_EQ(pull(block), fileBlock(at)) << "block " << at;
    EXPECT_NE(pull(block), fileBlock(at));
    StopDSound();
    CleanDSound();
    AudioBackendRegistry::instance().remove("ek7dxsnd-hand");
}

TEST_F(DxSoundTest, FailuresAreClearAndHarmless)
{
    // Before InitDSound.
    EXPECT_EQ(PlayDSound(0, Pairs().v, kDxEffectCount), kDxErrState);
    EXPECT_EQ(RenderDSound(heard.c_str()), kDxErrState);
    EXPECT_EQ(GetPosn(), 0u);
    EXPECT_FALSE(IsPlayingDSound());
    SetPosn(50);
    StopDSound();

    const std::string text = (dir / "notes.wav").string();
    std::ofstream(text) << "not a wave at all";
    EXPECT_EQ(InitDSound(0, text.c_str(), nullptr, nullptr, nullptr), kDxErrOpen);
    EXPECT_EQ(InitDSound(0, (dir / "missing.wav").string().c_str(), nullptr, nullptr, nullptr), kDxErrOpen);
    writeWave(in, sine(440, 0.5, 0.5), pcm(8000, 1, 32));
    EXPECT_EQ(InitDSound(0, in.c_str(), nullptr, nullptr, nullptr), kDxErrOpen);
    EXPECT_EQ(PlayDSound(0, Pairs().v, kDxEffectCount), kDxErrState);  // a failed open leaves no player

    writeWave(in, sine(440, 0.5, 0.5));
    ::setenv("NAVO_AUDIO_OUTPUT", (dir / "no-such-folder" / "out.wav").string().c_str(), 1);
    EXPECT_EQ(InitDSound(0, in.c_str(), nullptr, nullptr, nullptr), kDxErrDevice);
    ::setenv("NAVO_AUDIO_OUTPUT", heard.c_str(), 1);
    ASSERT_EQ(InitDSound(0, in.c_str(), nullptr, nullptr, nullptr), kDxOk);
    EXPECT_EQ(RenderDSound((dir / "no-such-folder" / "x.wav").string().c_str()), kDxErrWrite);
}
