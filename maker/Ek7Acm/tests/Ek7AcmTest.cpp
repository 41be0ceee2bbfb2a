#include "ToneWave.h"
#include "maker/Ek7Acm/Ek7Acm.h"
#include "platform/FileOps.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class Ek7AcmTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string file(const std::string& name) const { return dir.path().toStdString() + "/" + name; }
    void TearDown() override { fileops::clearFaultPlan(); }
};

// Every quality into every other: the tone keeps its pitch, its length and
// its level, in every channel.
TEST_F(Ek7AcmTest, EveryQualityConvertsToEveryOtherKeepingPitchLengthAndLevel)
{
    constexpr double kFreq = 700;
    constexpr long kMs = 1200;
    for (int from = 0; from < 4; ++from) {
        const std::string source = file("q" + std::to_string(from) + ".wav");
        tone::write(source, tone::kQualities[from], kFreq, kMs);
        for (int to = 0; to < 4; ++to) {
            SCOPED_TRACE("quality " + std::to_string(from) + " -> " + std::to_string(to));
            const std::string target = file("out.wav");
            ASSERT_EQ(Ek7AcmConvert(0, source.c_str(), target.c_str(), to), 0);
            const tone::Wave out = tone::parse(tone::readAll(target));
            ASSERT_TRUE(out.ok);
            const tone::Format& f = tone::kQualities[to];
            EXPECT_EQ(out.format.rate, f.rate);
            EXPECT_EQ(out.format.channels, f.channels);
            EXPECT_EQ(out.format.bits, f.bits);
            for (int c = 0; c < f.channels; ++c) {
                const std::vector<double> x = tone::channel(out.pcm, f, c);
                EXPECT_NEAR(static_cast<double>(x.size()), kMs * f.rate / 1000.0, 2.0);
                // The middle, away from the resampler's edges.
                const std::vector<double> mid = tone::slice(x, x.size() / 4, x.size() * 3 / 4);
                EXPECT_NEAR(tone::peakFrequency(mid, f.rate, 500, 900), kFreq, 2.0);
                EXPECT_NEAR(tone::rms(mid), 0.5 / std::sqrt(2.0), 0.02);
            }
        }
    }
}

TEST_F(Ek7AcmTest, StereoWithDifferentSidesBecomesTheirAverageInMono)
{
    // Left and right in opposite phase cancel: mono averaging, not picking a side.
    const std::string source = file("stereo.wav");
    tone::write(source, {8000, 2, 16}, 440, 500);
    std::string bytes = tone::readAll(source);
    for (std::size_t at = 44 + 2; at + 2 <= bytes.size(); at += 4) {
        const auto v = static_cast<std::int16_t>(-static_cast<std::int16_t>(tone::get(bytes, at, 2)));
        bytes[at] = static_cast<char>(v & 0xFF);
        bytes[at + 1] = static_cast<char>((v >> 8) & 0xFF);
    }
    std::ofstream(source, std::ios::binary | std::ios::trunc) << bytes;
    ASSERT_EQ(Ek7AcmConvert(0, source.c_str(), file("mono.wav").c_str(), 0), 0);
    const tone::Wave out = tone::parse(tone::readAll(file("mono.wav")));
    EXPECT_LT(tone::rms(tone::channel(out.pcm, out.format, 0)), 0.001);
}

TEST_F(Ek7AcmTest, BadSourcesAndFullDisksFailWithoutLeavingAHalfTarget)
{
    const std::string target = file("out.wav");
    EXPECT_EQ(Ek7AcmConvert(0, file("missing.wav").c_str(), target.c_str(), 0), 1);
    std::ofstream(file("text.wav")) << "not a wave at all, just text";
    EXPECT_EQ(Ek7AcmConvert(0, file("text.wav").c_str(), target.c_str(), 0), 1);
    EXPECT_FALSE(fileops::fileExists(target));

    const std::string source = file("tone.wav");
    tone::write(source, tone::kQualities[0], 440, 3000);
    EXPECT_EQ(Ek7AcmConvert(0, source.c_str(), file("no/such/folder/out.wav").c_str(), 3), 2);
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(100000));
    EXPECT_EQ(Ek7AcmConvert(0, source.c_str(), target.c_str(), 3), 2);
    fileops::clearFaultPlan();
    EXPECT_FALSE(fileops::fileExists(target));
}

}  // namespace
