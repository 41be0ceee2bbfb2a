// The Diary Recorder's work, without a window: an EngineRecorder that files
// its recording as a diary record with its day, time and reminder.
//
// The diary line (record type "4") carries, besides the usual start, end and
// duration texts, the diary date ("%d/%d/%d": day/month/year) in field 3,
// the time ("%H:%M") in field 4, and two integers at its end: the reminder
// (0 none, 1 remind, 2 remind and nag until played) and the quality.
#pragma once

#include <string>
#include <vector>

#include "audio/EngineRecorder.h"

// The diary values of an entry as its line holds them.
struct DiaryEntry {
    int day = 1;
    int month = 1;
    int year = 2000;
    int hour = 0;
    int minute = 0;
    int reminder = 0;  // 0, 1 or 2
    std::string subject;
    std::string keywords;
    std::string comments;

    // 0 without "Auto Reminder"; 1 with it; 2 with it and "Nag Me" ("Nag
    // Me" alone means nothing).
    static int reminderFor(bool autoReminder, bool nagMe) { return autoReminder ? (nagMe ? 2 : 1) : 0; }
    // "%d/%d/%d" and "%H:%M".
    std::string dateText() const;
    std::string timeText() const;
    // The fields a diary line keeps for its date, time and reminder, read
    // back; false when the line is not a diary line or they do not parse.
    static bool fromLine(const std::string& line, DiaryEntry* entry);
};

namespace diaryline {
inline constexpr int kDateField = 3;
inline constexpr int kTimeField = 4;
inline constexpr int kSubjectField = 5;
inline constexpr int kReminderField = 11;
inline constexpr int kQualityField = 12;
// "d/m/yyyy" and "hh:mm" as the line keeps them; false when malformed.
bool parseDate(const std::string& text, int* day, int* month, int* year);
bool parseTime(const std::string& text, int* hour, int* minute);
}  // namespace diaryline

class DiaryRecorder : public EngineRecorder {
public:
    using EngineRecorder::EngineRecorder;

    // The line's fields (1..12) for an entry, as they will be filed; the
    // duration place is left to the filer.
    std::vector<std::string> lineFields(const DiaryEntry& entry) const;
    // OK: 0, 110, or kKeptOpen (see EngineRecorder::file).
    int save(const DiaryEntry& entry);
};
