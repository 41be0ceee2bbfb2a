#include "maker/ZOLO/ZOLODATE.h"

#include <chrono>
#include <cstdio>
#include <mutex>

namespace {

constexpr std::int64_t kMillisPerDay = 86400000;

std::int64_t floorDiv(std::int64_t a, std::int64_t b)
{
    std::int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0)))
        --q;
    return q;
}

// Days since 1970-01-01 of a proleptic Gregorian date, and back. Working in
// wall-clock days rather than through mktime keeps the stamps free of the
// time zone's gaps and repeats.
std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const std::int64_t era = floorDiv(y, 400);
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void civilFromDays(std::int64_t z, std::int64_t* y, unsigned* m, unsigned* d)
{
    z += 719468;
    const std::int64_t era = floorDiv(z, 146097);
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    *d = doy - (153 * mp + 2) / 5 + 1;
    *m = mp < 10 ? mp + 3 : mp - 9;
    *y = static_cast<std::int64_t>(yoe) + era * 400 + (*m <= 2);
}

// Local wall-clock time in milliseconds since 1970-01-01 00:00 local.
bool wallMillis(std::time_t seconds, int millis, std::int64_t* out)
{
    std::int64_t secs = static_cast<std::int64_t>(seconds) + floorDiv(millis, 1000);
    const std::int64_t ms = millis - floorDiv(millis, 1000) * 1000;
    const std::time_t t = static_cast<std::time_t>(secs);
    std::tm tm{};
    if (localtime_r(&t, &tm) == nullptr)
        return false;
    const std::int64_t days = daysFromCivil(static_cast<std::int64_t>(tm.tm_year) + 1900,
                                            static_cast<unsigned>(tm.tm_mon + 1),
                                            static_cast<unsigned>(tm.tm_mday));
    secs = days * 86400 + tm.tm_hour * 3600 + tm.tm_min * 60 + tm.tm_sec;
    *out = secs * 1000 + ms;
    return true;
}

void formatStamp(std::int64_t wall, char* out)
{
    const std::int64_t days = floorDiv(wall, kMillisPerDay);
    const std::int64_t rem = wall - days * kMillisPerDay;
    std::int64_t y = 0;
    unsigned m = 0;
    unsigned d = 0;
    civilFromDays(days, &y, &m, &d);
    // Room for any year the clock can give; a stamp is 17 digits until 9999.
    char text[64];
    std::snprintf(text, sizeof text, "%04lld%02u%02u%02d%02d%02d%03d",
                  static_cast<long long>(y), m, d,
                  static_cast<int>(rem / 3600000), static_cast<int>(rem / 60000 % 60),
                  static_cast<int>(rem / 1000 % 60), static_cast<int>(rem % 1000));
    std::snprintf(out, kDateStampSize, "%.31s", text);
}

void formatDuration(unsigned long long seconds, char* out)
{
    std::snprintf(out, kDurationSize, "%02llu:%02llu:%02llu",
                  seconds / 3600, seconds / 60 % 60, seconds % 60);
}

}  // namespace

void DateStampAt(std::time_t seconds, int millis, char* out)
{
    std::int64_t wall = 0;
    if (!wallMillis(seconds, millis, &wall))
        wall = 0;
    formatStamp(wall, out);
}

void DateStampNext(std::time_t seconds, int millis, std::int64_t* lastIssued, char* out)
{
    std::int64_t wall = 0;
    const bool known = wallMillis(seconds, millis, &wall);
    if (*lastIssued != kNoDateStampYet && (!known || wall <= *lastIssued))
        wall = *lastIssued + 1;
    *lastIssued = wall;
    formatStamp(wall, out);
}

void DateStamp(char* out)
{
    static std::mutex mutex;
    static std::int64_t lastIssued = kNoDateStampYet;

    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    const std::int64_t secs = floorDiv(ms, 1000);

    std::lock_guard<std::mutex> lock(mutex);
    DateStampNext(static_cast<std::time_t>(secs), static_cast<int>(ms - secs * 1000),
                  &lastIssued, out);
}

void LogDateAt(std::time_t t, char* out)
{
    std::tm tm{};
    if (localtime_r(&t, &tm) == nullptr) {
        std::snprintf(out, kLogDateSize, "00/00/0000 00:00:00");
        return;
    }
    std::snprintf(out, kLogDateSize, "%02d/%02d/%04d %02d:%02d:%02d", tm.tm_mday,
                  tm.tm_mon + 1, tm.tm_year + 1900, tm.tm_hour, tm.tm_min, tm.tm_sec);
}

void LogDate(char* out)
{
    LogDateAt(std::time(nullptr), out);
}

void conv_millisec(long milliseconds, char* out)
{
    formatDuration(milliseconds < 0 ? 0 : static_cast<unsigned long long>(milliseconds) / 1000, out);
}

void CallDuration(long startSeconds, long endSeconds, char* out)
{
    // Unsigned subtraction: far-apart values cannot overflow.
    formatDuration(endSeconds <= startSeconds
                       ? 0
                       : static_cast<unsigned long long>(endSeconds) -
                             static_cast<unsigned long long>(startSeconds),
                   out);
}
