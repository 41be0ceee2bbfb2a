// Tones of the recording qualities through the compressor and back: the
// compressed file is a small fraction of the wave, and the wave made of it
// has the recording's rate and channels, its length within one Opus frame and
// its tone. Bad sources and unwritable targets give their codes and leave
// nothing under the target name.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <string>

#include "maker/Ek7Acm/tests/ToneWave.h"
#include "maker/Ek7WavComp/Ek7WavComp.h"

namespace {

class Ek7WavCompTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string path(const std::string& name) const { return dir.path().toStdString() + "/" + name; }
};

}  // namespace

TEST_F(Ek7WavCompTest, EachRecordingQualityComesBackWithItsRateLengthAndTone)
{
    for (const tone::Format& q : tone::kQualities) {
        SCOPED_TRACE(std::to_string(q.rate) + " Hz, " + std::to_string(q.channels) + " ch, " +
                     std::to_string(q.bits) + " bit");
        const double seconds = 2.0;
        tone::write(path("in.wav"), q, 440.0, 2000);
        const std::string source = tone::readAll(path("in.wav"));
        ASSERT_EQ(Ek7WavCompInit(), 0);
        ASSERT_EQ(Ek7WavComp(0, path("in.wav").c_str(), path("in.opus").c_str()), kEk7WavCompFinished);
        const std::string compressed = tone::readAll(path("in.opus"));
        EXPECT_EQ(compressed.compare(0, 4, "OggS"), 0);
        // 16 kbit/s a channel: about 4 KB a second for each channel.
        EXPECT_LT(compressed.size(), static_cast<std::size_t>(seconds * 2200 * q.channels + 2000));
        EXPECT_LT(compressed.size() * 4, source.size());

        ASSERT_EQ(Ek7WavDeComp(0, path("in.opus").c_str(), path("out.wav").c_str()), kEk7WavCompFinished);
        const tone::Wave out = tone::parse(tone::readAll(path("out.wav")));
        ASSERT_TRUE(out.ok);
        EXPECT_EQ(out.format.rate, q.rate);
        EXPECT_EQ(out.format.channels, q.channels);
        EXPECT_EQ(out.format.bits, 16);
        const std::vector<double> first = tone::channel(out.pcm, out.format, 0);
        EXPECT_NEAR(static_cast<double>(first.size()), seconds * q.rate, q.rate * 0.02);  // one 20 ms frame
        // The middle, away from the codec's first and last frames.
        const std::vector<double> mid = tone::slice(first, first.size() / 4, first.size() * 3 / 4);
        EXPECT_NEAR(tone::peakFrequency(mid, q.rate, 300, 600), 440.0, 3.0);
        EXPECT_FALSE(std::filesystem::exists(path("out.wav.part")));
    }
}

TEST_F(Ek7WavCompTest, BadSourcesAndTargetsGiveTheirCodesAndLeaveNoFile)
{
    EXPECT_EQ(Ek7WavComp(0, path("missing.wav").c_str(), path("a.opus").c_str()), kEk7WavCompOpenFailed);
    std::ofstream(path("text.wav")) << "not a wave at all";
    EXPECT_EQ(Ek7WavComp(0, path("text.wav").c_str(), path("a.opus").c_str()), kEk7WavCompInvalidFile);
    // A wave that is not PCM (format 3, float).
    tone::write(path("float.wav"), tone::kQualities[0], 440, 100);
    std::string fl = tone::readAll(path("float.wav"));
    fl[20] = 3;
    std::ofstream(path("float.wav"), std::ios::binary | std::ios::trunc) << fl;
    EXPECT_EQ(Ek7WavComp(0, path("float.wav").c_str(), path("a.opus").c_str()), kEk7WavCompInvalidFile);
    tone::write(path("good.wav"), tone::kQualities[0], 440, 500);
    EXPECT_EQ(Ek7WavComp(0, path("good.wav").c_str(), path("no/such/folder/a.opus").c_str()),
              kEk7WavCompCreateFailed);
    EXPECT_FALSE(std::filesystem::exists(path("a.opus")));

    EXPECT_EQ(Ek7WavDeComp(0, path("missing.opus").c_str(), path("b.wav").c_str()), kEk7WavCompOpenFailed);
    EXPECT_EQ(Ek7WavDeComp(0, path("good.wav").c_str(), path("b.wav").c_str()), kEk7WavCompInvalidFile);
    ASSERT_EQ(Ek7WavComp(0, path("good.wav").c_str(), path("good.opus").c_str()), kEk7WavCompFinished);
    EXPECT_EQ(Ek7WavDeComp(0, path("good.opus").c_str(), path("no/such/folder/b.wav").c_str()),
              kEk7WavCompCreateFailed);
    EXPECT_FALSE(std::filesystem::exists(path("b.wav")));
    // The leftovers of either side.
    for (const auto& entry : std::filesystem::directory_iterator(dir.path().toStdString()))
        EXPECT_EQ(entry.path().string().find(".part"), std::string::npos) << entry.path();
}
