// The line's WAV reader over the formats a greeting may come in. Built with
// the undefined-behaviour sanitizer (which stops at the first finding), since
// arithmetic on samples is where a reader goes wrong without a visible sign.
#include "maker/Ek7Tapi/wave/LineWave.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

void put16(std::string& out, unsigned v)
{
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>((v >> 8) & 0xFF);
}

void put32(std::string& out, std::uint32_t v)
{
    put16(out, v & 0xFFFF);
    put16(out, v >> 16);
}

// An 8-bit PCM WAV at 8000 Hz of the given interleaved bytes.
std::string wave8(int channels, const std::string& frames)
{
    std::string w = "RIFF";
    put32(w, static_cast<std::uint32_t>(36 + frames.size()));
    w += "WAVEfmt ";
    put32(w, 16);
    put16(w, 1);
    put16(w, static_cast<unsigned>(channels));
    put32(w, 8000);
    put32(w, 8000u * static_cast<unsigned>(channels));
    put16(w, static_cast<unsigned>(channels));
    put16(w, 8);
    w += "data";
    put32(w, static_cast<std::uint32_t>(frames.size()));
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
