// Pieces of the provider module tested on their own: the settings (defaults,
// clamping, file and environment), the test line's framing, the
// owner-only password file, and the caller's level.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <cmath>
#include <fstream>
#include <limits>
#include <vector>

#include "telephony/module/InputLevel.h"
#include "telephony/module/LineOptions.h"
#include "telephony/module/PrivateFile.h"
#include "telephony/module/TestLineFrames.h"

namespace {

TEST(LineOptions, TheTestLineOnlyWhenAskedForAndDataUnderHome)
{
    const LineOptions options = LineOptions::from("", {{"HOME", "/home/ada"}});
    // The test line only when asked for: nobody but navo-line can call it.
    EXPECT_EQ(options.providers, (std::vector<std::string>{"SIP line"}));
    EXPECT_EQ(LineOptions::from("test_line = 1\n", {}).providers,
              (std::vector<std::string>{"SIP line", "test line"}));
    EXPECT_EQ(LineOptions::from("", {{"NAVO_TEST_LINE", "1"}, {"NAVO_LINE_PROVIDERS", "test line"}}).providers,
              (std::vector<std::string>{"test line"}));
    EXPECT_EQ(options.sipDataDir, "/home/ada/.local/share/navo/sip");
    EXPECT_TRUE(options.sipUser.empty());
}

TEST(LineOptions, FileThenEnvironmentWithValuesClamped)
{
    const std::string file =
        "# the line\n"
        "providers = test line ,  SIP line\n"
        "ring_period_ms = 5\n"
        "sip_port = 70000\n"
        "sip_rtp_ports = 9000-8000\n"
        "sip_user = ada  # comment\n"
        "sip_domain = example.org\n"
        "nonsense line without equals\n";
    LineOptions options = LineOptions::from(file, {{"XDG_DATA_HOME", "/data"}});
    EXPECT_EQ(options.providers, (std::vector<std::string>{"test line", "SIP line"}));
    EXPECT_EQ(options.ringPeriodMs, 100);
    EXPECT_EQ(options.sipPort, 65535);
    EXPECT_EQ(options.rtpPortMin, 9000);
    EXPECT_EQ(options.rtpPortMax, 9001);
    EXPECT_EQ(options.sipUser, "ada");
    EXPECT_EQ(options.sipDomain, "example.org");
    EXPECT_EQ(options.sipDataDir, "/data/navo/sip");

    options = LineOptions::from(file, {{"NAVO_RING_PERIOD_MS", "250"},
                                       {"NAVO_SIP_PORT", "0"},
                                       {"NAVO_LINE_PROVIDERS", ""},
                                       {"NAVO_RING_PERIOD_MS_TYPO", "1"}});
    EXPECT_EQ(options.ringPeriodMs, 250);
    EXPECT_EQ(options.sipPort, -1);  // 0 and -1: any free port
    EXPECT_TRUE(options.providers.empty());

    options = LineOptions::from("ring_period_ms = soon\nsip_port = -9\n", {});
    EXPECT_EQ(options.ringPeriodMs, LineOptions::from("", {}).ringPeriodMs);  // not a number: the default
    EXPECT_EQ(options.sipPort, -1);
}

TEST(TestLineFrames, FramesSurviveBeingCutAnywhere)
{
    const std::string stream = TestLineFrames::encode('C', "3\t0\t0123\tAda") + TestLineFrames::encode('H') +
                               TestLineFrames::encode('A', std::string(1000, '\x7f'));
    for (std::size_t cut = 0; cut <= stream.size(); cut += 7) {
        TestLineFrames frames;
        frames.feed(stream.data(), cut);
        frames.feed(stream.data() + cut, stream.size() - cut);
        char type = 0;
        std::string payload;
        ASSERT_TRUE(frames.next(type, payload));
        EXPECT_EQ(type, 'C');
        EXPECT_EQ(payload, "3\t0\t0123\tAda");
        ASSERT_TRUE(frames.next(type, payload));
        EXPECT_EQ(type, 'H');
        EXPECT_TRUE(payload.empty());
        ASSERT_TRUE(frames.next(type, payload));
        EXPECT_EQ(payload.size(), 1000u);
        EXPECT_FALSE(frames.next(type, payload));
    }
}

TEST(TestLineFrames, AnAbsurdLengthMarksThePeerBroken)
{
    TestLineFrames frames;
    const char bad[] = {'A', '\xff', '\xff', '\xff', '\x7f'};
    frames.feed(bad, sizeof bad);
    char type = 0;
    std::string payload;
    EXPECT_FALSE(frames.next(type, payload));
    EXPECT_TRUE(frames.broken());
}

void setMode(const std::string& path, QFileDevice::Permissions permissions)
{
    ASSERT_TRUE(QFile::setPermissions(QString::fromStdString(path), permissions));
}

constexpr auto kOwner = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

TEST(PrivateFile, OnlyAnOwnerOnlyFileIsRead)
{
    QTemporaryDir dir;
    const std::string path = dir.filePath("password").toStdString();
    std::string line, why;
    EXPECT_FALSE(PrivateFile::readFirstLine(path, line, why));
    EXPECT_NE(why.find("does not exist"), std::string::npos);

    std::ofstream(path) << "s3cret\r\nsecond line\n";
    setMode(path, kOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    EXPECT_FALSE(PrivateFile::readFirstLine(path, line, why));
    EXPECT_NE(why.find("chmod 600"), std::string::npos);
    setMode(path, kOwner | QFileDevice::ReadGroup);
    EXPECT_FALSE(PrivateFile::readFirstLine(path, line, why));
    setMode(path, kOwner);
    ASSERT_TRUE(PrivateFile::readFirstLine(path, line, why)) << why;
    EXPECT_EQ(line, "s3cret");
    setMode(path, QFileDevice::ReadOwner);
    EXPECT_TRUE(PrivateFile::readFirstLine(path, line, why));

    EXPECT_FALSE(PrivateFile::readFirstLine(dir.path().toStdString(), line, why));
    EXPECT_NE(why.find("not a regular file"), std::string::npos);
}

TEST(RecentPeak, KeepsTheLoudestOfTheLastTenFramesOnTheSampleScale)
{
    RecentPeak level;
    EXPECT_EQ(level.peak(), 0);  // nothing heard yet
    std::vector<std::int16_t> samples(160, 40);
    samples[57] = -9000;  // a negative peak counts as much as a positive one
    level.addFrame(samples.data(), samples.size());
    samples.assign(160, 40);
    for (std::size_t i = 1; i < RecentPeak::kFrames; ++i)
        level.addFrame(samples.data(), samples.size());
    EXPECT_EQ(level.peak(), 9000);
    level.addFrame(samples.data(), samples.size());  // the loud frame has aged out
    EXPECT_EQ(level.peak(), 40);
    samples.assign(160, std::numeric_limits<std::int16_t>::min());
    level.addFrame(samples.data(), samples.size());
    EXPECT_EQ(level.peak(), 32767);
    level.clear();
    level.addPeak(-5);
    EXPECT_EQ(level.peak(), 0);
}

// The SIP stack's meter as measured over PCMU: sines of peak 12000, 3000 and
// 300 read -4.30, -10.35 and -20.31; zeros read -43.61.
TEST(LevelFromMeter, MeasuredReadingsComeBackAsTheSinesPeaks)
{
    const std::pair<float, int> measured[] = {{-4.30f, 12000}, {-10.35f, 3000}, {-20.31f, 300}};
    for (const auto& [reading, peak] : measured)
        EXPECT_NEAR(levelFromMeter(reading), peak, peak * 0.02) << reading;
    EXPECT_LE(levelFromMeter(-43.61f), 2);
    EXPECT_EQ(levelFromMeter(-120.0f), 0);  // the meter's "nothing at all"
    EXPECT_EQ(levelFromMeter(std::nanf("")), 0);
    EXPECT_EQ(levelFromMeter(6.0f), 32767);  // louder than a full-scale sine
    int last = -1;
    for (float reading = -60.0f; reading <= 0.0f; reading += 0.5f) {
        const int level = levelFromMeter(reading);
        ASSERT_GE(level, last) << reading;
        last = level;
    }
}

}  // namespace
