// The diary line's values, and the Diary Recorder's line.
#include "audio/DiaryRecorder.h"

#include <cstdio>
#include <cstdlib>

#include "store/IndexLine.h"

namespace {

constexpr std::size_t kFieldCount = 12;

bool wholeNumber(const std::string& text, int* value)
{
    if (text.empty() || text.size() > 6)
        return false;
    for (char c : text)
        if (c < '0' || c > '9')
            return false;
    *value = std::atoi(text.c_str());
    return true;
}

}  // namespace

// ---------------------------------------------------------------------------
// The diary line's values

std::string DiaryEntry::dateText() const
{
    char text[40];
    std::snprintf(text, sizeof text, "%d/%d/%d", day, month, year);
    return text;
}

std::string DiaryEntry::timeText() const
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
    return text;
}

bool diaryline::parseDate(const std::string& text, int* day, int* month, int* year)
{
    const std::size_t a = text.find('/');
    const std::size_t b = a == std::string::npos ? a : text.find('/', a + 1);
    if (b == std::string::npos)
        return false;
    int d = 0, m = 0, y = 0;
    if (!wholeNumber(text.substr(0, a), &d) || !wholeNumber(text.substr(a + 1, b - a - 1), &m)
        || !wholeNumber(text.substr(b + 1), &y))
        return false;
    if (d < 1 || d > 31 || m < 1 || m > 12 || y < 1)
        return false;
    *day = d;
    *month = m;
    *year = y;
    return true;
}

bool diaryline::parseTime(const std::string& text, int* hour, int* minute)
{
    const std::size_t colon = text.find(':');
    int h = 0, m = 0;
    if (colon == std::string::npos || !wholeNumber(text.substr(0, colon), &h)
        || !wholeNumber(text.substr(colon + 1), &m) || h > 23 || m > 59)
        return false;
    *hour = h;
    *minute = m;
    return true;
}

bool DiaryEntry::fromLine(const std::string& line, DiaryEntry* entry)
{
    const std::vector<std::string> f = indexline::fields(line, static_cast<int>(kFieldCount));
    if (f[1] != "4")
        return false;
    DiaryEntry e;
    if (!diaryline::parseDate(f[diaryline::kDateField - 1], &e.day, &e.month, &e.year)
        || !diaryline::parseTime(f[diaryline::kTimeField - 1], &e.hour, &e.minute))
        return false;
    const std::string& reminder = f[diaryline::kReminderField - 1];
    e.reminder = reminder == "1" ? 1 : reminder == "2" ? 2 : 0;
    e.subject = indexline::showField(f[diaryline::kSubjectField - 1]);
    *entry = e;
    return true;
}

// ---------------------------------------------------------------------------
// The Diary Recorder's line

std::vector<std::string> DiaryRecorder::lineFields(const DiaryEntry& entry) const
{
    std::vector<std::string> fields(kFieldCount);
    fields[0] = recIdText();
    fields[1] = "4";
    fields[diaryline::kDateField - 1] = entry.dateText();
    fields[diaryline::kTimeField - 1] = entry.timeText();
    fields[diaryline::kSubjectField - 1] = oneLine(entry.subject).substr(0, kSubjectMax);
    fields[7] = startText();
    fields[8] = endText();
    fields[diaryline::kReminderField - 1] = std::to_string(entry.reminder == 1 || entry.reminder == 2 ? entry.reminder : 0);
    fields[diaryline::kQualityField - 1] = std::to_string(quality());
    return fields;
}

int DiaryRecorder::save(const DiaryEntry& entry)
{
    return file('D', lineFields(entry), 7, entry.keywords, entry.comments);
}
