// The index-marks file (61-byte records, 0xAC for spaces, the flags it
// mends on loading) and the peak levels the level meters show.
#include "AudioTestSupport.h"

#include "audio/IndexMarks.h"
#include "audio/PeakLevels.h"
#include "audio/RecordingFlags.h"
#include "platform/audio/WaveFormats.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace audiotest;

namespace {

std::string bytesOf(const std::string& path)
{
    const std::vector<char> bytes = readFile(path);
    return std::string(bytes.begin(), bytes.end());
}

void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

bool sameMarks(const std::vector<IndexMark>& a, const std::vector<IndexMark>& b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i].comment != b[i].comment || a[i].time != b[i].time || a[i].flag != b[i].flag)
            return false;
    return true;
}

}  // namespace

TEST(IndexMarksFile, RoundTripKeepsEveryMarkInOrderIn61ByteRecords)
{
    TempFolder dir;
    const std::string path = dir.file("marks.vxk");
    const std::vector<IndexMark> marks = {
        {"Opening  remarks", "00:00:03", "0"},
        {"x", "00:01:10", "1"},
        {std::string(49, 'c'), "12:34:56", "2"},
        {"", "00:00:00", "0"},
    };
    ASSERT_TRUE(indexmarks::save(path, marks));
    const std::string bytes = bytesOf(path);
    ASSERT_EQ(bytes.size(), 4 * indexmarks::kRecordBytes);
    // Spaces in a comment are kept as 0xAC: the first space is the separator.
    EXPECT_EQ(bytes.substr(0, 61), "00:00:03 Opening\xAC\xACremarks 0" + std::string(34, ' '));
    // The longest mark fills the 60 characters exactly, then the one space.
    EXPECT_EQ(bytes.substr(122, 61), "12:34:56 " + std::string(49, 'c') + " 2 ");
    EXPECT_TRUE(sameMarks(indexmarks::load(path), marks));
}

TEST(IndexMarksFile, AnEmptyListWritesAnEmptyFileOverAnOldOneAndAMissingFolderFails)
{
    TempFolder dir;
    const std::string path = dir.file("marks.vxk");
    ASSERT_TRUE(indexmarks::save(path, {{"old", "00:00:01", "0"}}));
    ASSERT_TRUE(indexmarks::save(path, {}));
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(bytesOf(path), "");
    EXPECT_TRUE(indexmarks::load(path).empty());
    EXPECT_TRUE(indexmarks::load(dir.file("missing")).empty());
    EXPECT_FALSE(indexmarks::save(dir.file("no/such/folder/marks.vxk"), {{"a", "00:00:01", "0"}}));
}

TEST(IndexMarksFile, LoadingMendsFlagsAndKeepsAShortLastRecord)
{
    TempFolder dir;
    const std::string path = dir.file("marks.vxk");
    std::string bytes = indexmarks::record({"insert end", "00:00:05", "1"});
    bytes += indexmarks::record({"insert start", "00:00:02", "1"});
    // A record whose flag is missing, written without its padding.
    bytes += "00:00:07 no\xAC" "flag";
    writeBytes(path, bytes);
    const std::vector<IndexMark> marks = indexmarks::load(path);
    ASSERT_EQ(marks.size(), 3u);
    EXPECT_EQ(marks[0].flag, "2");
    EXPECT_EQ(marks[1].flag, "1");
    EXPECT_EQ(marks[2].comment, "no flag");
    EXPECT_EQ(marks[2].flag, "0");
}

TEST(IndexMarksFile, LongTextsAreCutAndJoinedCommentsStopAt5000)
{
    const std::string record = indexmarks::record({std::string(80, 'a'), "00:00:01:99", "12"});
    EXPECT_EQ(record.size(), 61u);
    EXPECT_EQ(record.substr(0, 9), "00:00:01 ");
    EXPECT_EQ(record.substr(9, 50), std::string(49, 'a') + " ");
    EXPECT_EQ(record[59], '1');

    std::vector<IndexMark> many(120, IndexMark{std::string(49, 'z'), "00:00:00", "0"});
    many[0].comment = "first";
    const std::string joined = indexmarks::joinedComments(many);
    EXPECT_EQ(joined.size(), indexmarks::kJoinedMax);
    EXPECT_EQ(joined.substr(0, 7), "first z");
    EXPECT_EQ(indexmarks::joinedComments({{"a b", "", "0"}, {"c", "", "0"}}), "a b c");
}

TEST(PeakLevels, SixteenBitMonoAndStereoOnTheMeterScale)
{
    const WAVEFORMATEX mono = waveFormatForQuality(0);
    std::vector<char> pcm = samples16({0, 1000, -16384, 200});
    PeakLevels levels = measurePeakLevels(pcm.data(), pcm.size(), mono);
    EXPECT_EQ(levels.left, 50);
    EXPECT_EQ(levels.right, 50);

    pcm = samples16({-32768, 0});
    EXPECT_EQ(measurePeakLevels(pcm.data(), pcm.size(), mono).left, 99);

    const WAVEFORMATEX stereo = waveFormatForQuality(1);
    pcm = samples16({3277, -32767, 0, 100, 9831, 0});
    levels = measurePeakLevels(pcm.data(), pcm.size(), stereo);
    EXPECT_EQ(levels.left, 30);
    EXPECT_EQ(levels.right, 99);
    // A part frame at the end is left out.
    levels = measurePeakLevels(pcm.data(), pcm.size() - 2, stereo);
    EXPECT_EQ(levels.left, 10);
    EXPECT_EQ(levels.right, 99);
}

TEST(PeakLevels, EightBitIsMeasuredAroundItsMiddle)
{
    const WAVEFORMATEX eight = waveFormatForQuality(2);
    const std::vector<char> silence(100, static_cast<char>(0x80));
    EXPECT_EQ(measurePeakLevels(silence.data(), silence.size(), eight).left, 0);
    const std::vector<char> loud = {static_cast<char>(0x80), static_cast<char>(0x00), static_cast<char>(0xC0)};
    EXPECT_EQ(measurePeakLevels(loud.data(), loud.size(), eight).left, 99);
    const std::vector<char> half = {static_cast<char>(0xC0), static_cast<char>(0x70)};
    EXPECT_EQ(measurePeakLevels(half.data(), half.size(), eight).left, 50);
}

TEST(PeakLevels, FlagsChangeOnlyWhileTheMeterIsOnAndNotPaused)
{
    const WAVEFORMATEX mono = waveFormatForQuality(0);
    const std::vector<char> pcm = samples16({16384});
    RecordingFlags flags;
    updateLevelMeter(flags, pcm.data(), pcm.size(), mono);
    EXPECT_EQ(flags.LevelUpdated, 0);
    EXPECT_EQ(flags.LeftLevel, 0);
    flags.LevelMeterOn = 1;
    flags.Paused = 1;
    updateLevelMeter(flags, pcm.data(), pcm.size(), mono);
    EXPECT_EQ(flags.LevelUpdated, 0);
    flags.Paused = 0;
    updateLevelMeter(flags, pcm.data(), pcm.size(), mono);
    EXPECT_EQ(flags.LevelUpdated, 1);
    EXPECT_EQ(flags.LeftLevel, 50);
    EXPECT_EQ(flags.RightLevel, 50);
}
