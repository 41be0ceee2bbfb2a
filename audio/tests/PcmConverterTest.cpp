// Rate, channel and sample-type conversion, checked on real tones.
#include "AudioTestSupport.h"

#include "platform/audio/PcmConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace audiotest;

namespace {

constexpr double kPi = 3.14159265358979323846;

// Interleaved float frames of a sine per channel.
std::vector<char> floatTone(int rate, int channels, double seconds, const std::vector<double>& freqs, double level)
{
    const auto frames = static_cast<std::size_t>(rate * seconds);
    std::vector<char> out(frames * static_cast<std::size_t>(channels) * 4);
    for (std::size_t n = 0; n < frames; ++n) {
        for (int c = 0; c < channels; ++c) {
            const auto v = static_cast<float>(level * std::sin(2 * kPi * freqs[static_cast<std::size_t>(c)] * static_cast<double>(n) / rate));
            std::memcpy(&out[(n * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)) * 4], &v, 4);
        }
    }
    return out;
}

std::vector<char> convertAll(PcmConverter& converter, const std::vector<char>& in, std::size_t piece)
{
    std::vector<char> out;
    for (std::size_t at = 0; at < in.size(); at += piece)
        converter.convert(in.data() + at, std::min(piece, in.size() - at), out);
    converter.flush(out);
    return out;
}

// Drops the first and last 50 ms, where the filter starts and ends.
std::vector<std::int16_t> middle(const std::vector<std::int16_t>& x, int rate)
{
    const auto cut = static_cast<std::ptrdiff_t>(rate / 20);
    return std::vector<std::int16_t>(x.begin() + cut, x.end() - cut);
}

}  // namespace

TEST(PcmConverter, DownsamplingKeepsToneFrequencyLevelAndLength)
{
    // 48 kHz float stereo (what a sound server may prefer) to quality 0.
    PcmConverter converter({48000, 2, SampleKind::Float32}, {8000, 1, SampleKind::Int16});
    const std::vector<char> in = floatTone(48000, 2, 1.0, {1000, 1000}, 0.5);
    const auto out = toSamples16(convertAll(converter, in, 4096 + 4));  // pieces end mid-frame
    EXPECT_NEAR(static_cast<double>(out.size()), 8000.0, 1.0);
    const auto steady = middle(out, 8000);
    EXPECT_DOUBLE_EQ(peakFrequency(steady, 8000, 100, 3900, 10), 1000.0);
    EXPECT_NEAR(rms(steady), 0.5 * 32768 / std::sqrt(2.0), 0.5 * 32768 / std::sqrt(2.0) * 0.03);
}

TEST(PcmConverter, DownsamplingFiltersOutWhatWouldAlias)
{
    // 6 kHz cannot exist at 8 kHz: without a filter it would fold to 2 kHz.
    PcmConverter converter({48000, 1, SampleKind::Float32}, {8000, 1, SampleKind::Int16});
    const auto out = middle(toSamples16(convertAll(converter, floatTone(48000, 1, 1.0, {6000}, 0.5), 48000)), 8000);
    EXPECT_LT(rms(out), 0.5 * 32768 * 0.01);  // at least 40 dB down
}

TEST(PcmConverter, UpsamplingToCdStereoKeepsEachChannel)
{
    PcmConverter converter({22050, 2, SampleKind::Float32}, {44100, 2, SampleKind::Int16});
    const auto out = toSamples16(convertAll(converter, floatTone(22050, 2, 0.5, {440, 2500}, 0.25), 1000 * 8));
    EXPECT_NEAR(static_cast<double>(out.size()) / 2, 22050.0, 2.0);
    const auto left = middle(channel(out, 2, 0), 44100);
    const auto right = middle(channel(out, 2, 1), 44100);
    EXPECT_NEAR(peakFrequency(left, 44100, 100, 5000, 10), 440.0, 10.0);
    EXPECT_NEAR(peakFrequency(right, 44100, 100, 5000, 10), 2500.0, 10.0);
    EXPECT_NEAR(rms(left), 0.25 * 32768 / std::sqrt(2.0), 300);
}

TEST(PcmConverter, ChannelsAndSampleTypesMapExactlyAtOneRate)
{
    // Mono 16-bit to stereo: each sample copied to both channels.
    PcmConverter up({8000, 1, SampleKind::Int16}, {8000, 2, SampleKind::Int16});
    std::vector<char> out;
    const auto mono = samples16({0, 1000, -32768, 32767});
    up.convert(mono.data(), mono.size(), out);
    EXPECT_EQ(toSamples16(out), (std::vector<std::int16_t>{0, 0, 1000, 1000, -32768, -32768, 32767, 32767}));

    // Stereo to mono averages.
    PcmConverter down({8000, 2, SampleKind::Int16}, {8000, 1, SampleKind::Int16});
    out.clear();
    const auto stereo = samples16({1000, 3000, -2000, 2000});
    down.convert(stereo.data(), stereo.size(), out);
    EXPECT_EQ(toSamples16(out), (std::vector<std::int16_t>{2000, 0}));

    // 16-bit to unsigned 8-bit keeps the top byte, offset by 128.
    PcmConverter bits({22050, 1, SampleKind::Int16}, {22050, 1, SampleKind::UInt8});
    out.clear();
    const auto wide = samples16({0, 16384, -16384, -32768, 32767});
    bits.convert(wide.data(), wide.size(), out);
    const std::vector<unsigned char> narrow(out.begin(), out.end());
    EXPECT_EQ(narrow, (std::vector<unsigned char>{128, 192, 64, 0, 255}));
}
