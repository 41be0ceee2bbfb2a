#include "maker/ZOLO/ZOLODATE.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <time.h>

namespace {

// Runs each test in a chosen time zone and puts the old one back.
class ZoneTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        const char* old = std::getenv("TZ");
        m_oldZone = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
    }

    void TearDown() override
    {
        if (m_oldZone)
            setenv("TZ", m_oldZone->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

    static void useZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }

private:
    std::optional<std::string> m_oldZone;
};

std::string stampAt(std::time_t seconds, int millis)
{
    char out[kDateStampSize];
    DateStampAt(seconds, millis, out);
    return out;
}

std::string duration(long ms)
{
    char out[kDurationSize];
    conv_millisec(ms, out);
    return out;
}

std::string callDuration(long start, long end)
{
    char out[kDurationSize];
    CallDuration(start, end, out);
    return out;
}

constexpr std::time_t k20261122_013005 = 1795311005;  // UTC
constexpr std::time_t k20240229_235959 = 1709251199;  // UTC
constexpr std::time_t k20260701_120000 = 1782907200;  // UTC
constexpr std::time_t kLondonLastSummerSecond = 1792889999;  // 25/10/2026 01:59:59 BST

}  // namespace

TEST_F(ZoneTest, StampIsLocalTimeDigitsWithMillisecondsAndCarries)
{
    useZone("UTC");
    EXPECT_EQ(stampAt(k20261122_013005, 123), "20261122013005123");
    EXPECT_EQ(stampAt(k20261122_013005, 1000), stampAt(k20261122_013005 + 1, 0));
    EXPECT_EQ(stampAt(k20261122_013005, -1), stampAt(k20261122_013005 - 1, 999));
    // Leap day and the turn of the month.
    EXPECT_EQ(stampAt(k20240229_235959, 999), "20240229235959999");
    EXPECT_EQ(stampAt(k20240229_235959, 1000), "20240301000000000");

    useZone("Europe/London");
    EXPECT_EQ(stampAt(k20260701_120000, 0), "20260701130000000");
}

TEST_F(ZoneTest, StampSequenceStaysUniqueAndOrdered)
{
    useZone("UTC");
    std::int64_t last = kNoDateStampYet;
    char a[kDateStampSize];
    char b[kDateStampSize];
    DateStampNext(k20261122_013005, 999, &last, a);
    DateStampNext(k20261122_013005, 999, &last, b);  // same millisecond
    EXPECT_STREQ(a, "20261122013005999");
    EXPECT_STREQ(b, "20261122013006000");

    // The clock running behind the last stamp does not go back either.
    DateStampNext(k20261122_013005, 0, &last, a);
    EXPECT_STREQ(a, "20261122013006001");
    // Once the clock is ahead again it is followed.
    DateStampNext(k20261122_013005 + 60, 5, &last, a);
    EXPECT_STREQ(a, "20261122013105005");
}

TEST_F(ZoneTest, StampSequenceSurvivesSummerTimeEnding)
{
    useZone("Europe/London");
    std::int64_t last = kNoDateStampYet;
    char before[kDateStampSize];
    char after[kDateStampSize];
    DateStampNext(kLondonLastSummerSecond, 999, &last, before);
    // One millisecond later the local clock reads 01:00:00 again.
    DateStampNext(kLondonLastSummerSecond + 1, 0, &last, after);
    EXPECT_STREQ(before, "20261025015959999");
    EXPECT_STREQ(after, "20261025020000000");
    EXPECT_LT(std::strcmp(before, after), 0);
}

TEST(DateStamp, TenThousandCallsAreUniqueIncreasingDigits)
{
    std::string previous;
    for (int i = 0; i < 10000; ++i) {
        char out[kDateStampSize];
        std::memset(out, 'x', sizeof out);
        DateStamp(out);
        const std::string stamp(out);
        ASSERT_EQ(stamp.size(), 17u) << stamp;
        ASSERT_EQ(stamp.find_first_not_of("0123456789"), std::string::npos) << stamp;
        ASSERT_GT(stamp, previous) << "call " << i;
        previous = stamp;
    }
}

TEST_F(ZoneTest, LogDateIsDayMonthYearTime)
{
    char out[kLogDateSize];
    useZone("UTC");
    LogDateAt(k20261122_013005, out);
    EXPECT_STREQ(out, "22/11/2026 01:30:05");
    useZone("Europe/London");
    LogDateAt(k20260701_120000, out);
    EXPECT_STREQ(out, "01/07/2026 13:00:00");
}

TEST(Durations, MillisecondBoundaries)
{
    EXPECT_EQ(duration(0), "00:00:00");
    EXPECT_EQ(duration(999), "00:00:00");
    EXPECT_EQ(duration(1000), "00:00:01");
    EXPECT_EQ(duration(59999), "00:00:59");
    EXPECT_EQ(duration(60000), "00:01:00");
    EXPECT_EQ(duration(3599999), "00:59:59");
    EXPECT_EQ(duration(3600000), "01:00:00");
    EXPECT_EQ(duration(360000000), "100:00:00");
    EXPECT_EQ(duration(-1), "00:00:00");
    EXPECT_EQ(duration(LONG_MIN), "00:00:00");
    EXPECT_EQ(duration(LONG_MAX), "2562047788015:12:55");
}

TEST(Durations, CallSeconds)
{
    EXPECT_EQ(callDuration(100, 100), "00:00:00");
    EXPECT_EQ(callDuration(100, 99), "00:00:00");
    EXPECT_EQ(callDuration(1000, 4661), "01:01:01");
    EXPECT_EQ(callDuration(LONG_MIN, LONG_MAX), "5124095576030431:00:15");
}
