// The line's WAV reader over the formats a greeting may come in. Built with
// the undefined-behaviour sanitizer (which stops at the first finding), since
// arithmetic on samples is where a reader goes wrong without a visible sign.
#include "maker/Ek7Tapi/wave/LineWave.h"

#include "maker/Ek7Acm/tests/ToneWave.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

// An 8-bit PCM WAV at 8000 Hz of the given interleaved bytes.
std::string wave8(int channels, const std::string& frames)
{
    const auto n = static_cast<std::uint32_t>(channels);
    std::string w = "RIFF";
    tone::put(w, static_cast<std::uint32_t>(36 + frames.size()), 4);
    w += "WAVEfmt ";
    tone::put(w, 16, 4);
    tone::put(w, 1, 2);
    tone::put(w, n, 2);
    tone::put(w, 8000, 4);
    tone::put(w, 8000 * n, 4);
    tone::put(w, n, 2);
    tone::put(w, 8, 2);
    w += "data";
    tone::put(w, static_cast<std::uint32_t>(frames.size()), 4);
    return w + frames;
}

TEST(LineWave, EightBitStereoBelowTheMidpointReadsAsNegativeSamples)
{
    // Left and right: 0 and 0 (full negative), 64 and 128, 255 and 255.
    const std::string frames = {'\0', '\0', '\x40', '\x80', '\xFF', '\xFF'};
    LineSamples samples;
    ASSERT_TRUE(LineWave::readBytes(wave8(2, frames), samples));
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[0], -32768);
    EXPECT_EQ(samples[1], (-64 * 256) / 2);
    EXPECT_EQ(samples[2], 127 * 256);
}

}  // namespace
