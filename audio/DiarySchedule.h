// Which diary reminders are due, and when the next one will be: the diary
// monitor's thinking, without its thread or its clock.
//
// Times are local calendar minutes (minutesOf: minutes since 1 January 1970
// on the calendar, whatever the time zone), as the diary line keeps them.
//
// An entry reminds when its reminder is 1 or 2 and its day and time have
// come. What was reminded is kept in the reminder log, one line per event:
//   "<RecID> <due> <at> R"   reminded at minute <at> for the time <due>
//   "<RecID> <due> <at> P"   listened to
// so a reminder fires once per due time: a snoozed entry has a new due time
// and fires again then, across restarts. Reminder 2 ("Nag Me") fires again
// every kNagMinutes until it has been listened to.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace diary {

inline constexpr long long kNever = -1;
inline constexpr int kNagMinutes = 5;
inline constexpr int kLogError = 131;

long long minutesOf(int year, int month, int day, int hour, int minute);
// The calendar of a minute.
void calendarOf(long long minutes, int* year, int* month, int* day, int* hour, int* minute);

struct Reminder {
    long recId = 0;
    long long due = 0;
    int reminder = 1;  // 1 or 2
};

// The reminder log: appended by the monitor and the reminder window, read
// whole when the monitor (re)starts or is told the store changed.
class ReminderLog {
public:
    explicit ReminderLog(std::string path) : m_path(std::move(path)) {}
    const std::string& path() const { return m_path; }
    // Creates the log when missing; false when it cannot be opened.
    bool open() const;
    // Reads it again; false when it cannot be opened.
    bool load();
    // Appends one event (and keeps it); false when it cannot be written.
    bool reminded(const Reminder& r, long long at);
    bool listenedTo(const Reminder& r, long long at);

    struct State {
        long long lastReminded = kNever;
        bool listenedTo = false;
    };
    State state(long recId, long long due) const;

private:
    bool append(const Reminder& r, long long at, char what);
    std::string m_path;
    std::map<std::pair<long, long long>, State> m_states;
};

// The reminders are read (scan) and their next firing times worked out
// (plan) only when the diary or the log changed; between those, each wake
// looks at the earliest firing time alone, however large the diary.
class DiarySchedule {
public:
    // The reminders of a diary family file's live lines (a partly written
    // last line is left for the next scan), planned against log. False when
    // the file cannot be read (no reminders then).
    bool scan(const std::string& familyFile, const ReminderLog& log);
    const std::vector<Reminder>& reminders() const { return m_reminders; }

    // The reminders due at minute now, each logged as reminded and planned
    // again (a nag). A log that cannot be written stops the taking
    // (*logFailed set).
    std::vector<Reminder> takeDue(long long now, ReminderLog& log, bool* logFailed = nullptr);
    // The earliest minute something falls due after takeDue, or kNever.
    long long nextDue() const { return m_queue.empty() ? kNever : m_queue.begin()->first; }

    // When r fires next on its own terms, or kNever.
    static long long fireAt(const Reminder& r, const ReminderLog& log);

private:
    std::vector<Reminder> m_reminders;
    std::multimap<long long, std::size_t> m_queue;  // firing minute -> reminder
};

}  // namespace diary
