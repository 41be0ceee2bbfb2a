#include "ToneWave.h"
#include "maker/Ek7Audio/Ek7Audio.h"
#include "platform/FileOps.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class Ek7AudioBuildTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string file(const std::string& name) const { return dir.path().toStdString() + "/" + name; }
    void TearDown() override { fileops::clearFaultPlan(); }
};

// Extracts of three tones, one of them in another quality, joined in list
// order: each segment has its length to the frame and its own pitch.
TEST_F(Ek7AudioBuildTest, ExtractsJoinInOrderWithExactLengthsAndTheirOwnPitch)
{
    tone::write(file("a.wav"), tone::kQualities[0], 400, 3000);
    tone::write(file("b.wav"), tone::kQualities[0], 900, 3000);
    tone::write(file("c.wav"), tone::kQualities[3], 1500, 3000);  // converted to quality 0
    const std::string dat = file("build.dat");
    ASSERT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), 250, 1250, 0), 0);
    ASSERT_EQ(BuildWavesX(dat.c_str(), file("b.wav").c_str(), 0, 500, 0), 0);
    // "to" past the end stops at the end: 2000..3000.
    ASSERT_EQ(BuildWavesX(dat.c_str(), file("c.wav").c_str(), 2000, 99000, 0), 0);
    ASSERT_EQ(CreateWaveX(file("build.wav").c_str(), dat.c_str(), 0), 0);

    const tone::Wave built = tone::parse(tone::readAll(file("build.wav")));
    ASSERT_TRUE(built.ok);
    EXPECT_EQ(built.format.rate, 8000);
    EXPECT_EQ(built.format.channels, 1);
    const std::vector<double> x = tone::channel(built.pcm, built.format, 0);
    ASSERT_NEAR(static_cast<double>(x.size()), 8000 + 4000 + 8000, 2.0);
    EXPECT_EQ(tone::peakFrequency(tone::slice(x, 400, 7600), 8000, 200, 2000), 400);
    EXPECT_EQ(tone::peakFrequency(tone::slice(x, 8400, 11600), 8000, 200, 2000), 900);
    EXPECT_EQ(tone::peakFrequency(tone::slice(x, 12400, 19600), 8000, 200, 2000), 1500);
    // The first extract starts 250 ms into its source, sample for sample.
    const std::vector<double> a = tone::channel(tone::parse(tone::readAll(file("a.wav"))).pcm, tone::kQualities[0], 0);
    EXPECT_EQ(tone::slice(x, 0, 8000), tone::slice(a, 2000, 10000));
}

TEST_F(Ek7AudioBuildTest, BadRangesAndMissingWavesAreRefusedAndAddNothing)
{
    tone::write(file("a.wav"), tone::kQualities[0], 400, 1000);
    const std::string dat = file("build.dat");
    ASSERT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), 0, 100, 0), 0);
    const std::string before = tone::readAll(dat);
    EXPECT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), -1, 100, 0), 2);
    EXPECT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), 500, 500, 0), 2);
    EXPECT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), 600, 500, 0), 2);
    EXPECT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), 1000, 2000, 0), 2);  // starts at the end
    EXPECT_EQ(BuildWavesX(dat.c_str(), file("gone.wav").c_str(), 0, 100, 0), 1);
    EXPECT_EQ(tone::readAll(dat), before);
    EXPECT_EQ(CreateWaveX(file("x.wav").c_str(), file("gone.dat").c_str(), 0), 1);
    EXPECT_FALSE(fileops::fileExists(file("x.wav")));
}

TEST_F(Ek7AudioBuildTest, AFullDiskFailsTheAppendWholeAndLeavesNoWave)
{
    tone::write(file("a.wav"), tone::kQualities[3], 400, 4000);
    const std::string dat = file("build.dat");
    ASSERT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), 0, 1000, 3), 0);
    const std::string before = tone::readAll(dat);
    // Half of the next extract fits.
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(88200));
    EXPECT_EQ(BuildWavesX(dat.c_str(), file("a.wav").c_str(), 1000, 2000, 3), 3);
    EXPECT_EQ(tone::readAll(dat), before);
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(100000));
    EXPECT_EQ(CreateWaveX(file("build.wav").c_str(), dat.c_str(), 3), 2);
    fileops::clearFaultPlan();
    EXPECT_FALSE(fileops::fileExists(file("build.wav")));
    ASSERT_EQ(CreateWaveX(file("build.wav").c_str(), dat.c_str(), 3), 0);
    EXPECT_EQ(tone::parse(tone::readAll(file("build.wav"))).pcm, before);
}

}  // namespace
