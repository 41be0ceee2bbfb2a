#include "audio/DiarySchedule.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "audio/DiaryRecorder.h"
#include "platform/FileOps.h"
#include "store/IndexLine.h"

namespace diary {

namespace {

// Days since 1 January 1970 of a date of the proleptic Gregorian calendar.
long long daysFromCivil(long long y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

}  // namespace

long long minutesOf(int year, int month, int day, int hour, int minute)
{
    return daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) * 1440 + hour * 60 + minute;
}

void calendarOf(long long minutes, int* year, int* month, int* day, int* hour, int* minute)
{
    long long z = minutes >= 0 ? minutes / 1440 : (minutes - 1439) / 1440;
    const long long inDay = minutes - z * 1440;
    *hour = static_cast<int>(inDay / 60);
    *minute = static_cast<int>(inDay % 60);
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    *year = static_cast<int>(static_cast<long long>(yoe) + era * 400 + (m <= 2));
    *month = static_cast<int>(m);
    *day = static_cast<int>(d);
}

// ---------------------------------------------------------------------------
// The reminder log

bool ReminderLog::open() const
{
    fileops::UniqueFd fd(fileops::openFile(m_path, fileops::Access::Append));
    return fd.valid();
}

bool ReminderLog::load()
{
    std::ifstream in(m_path);
    if (!in)
        return open() && (m_states.clear(), true);
    m_states.clear();
    std::string text;
    while (std::getline(in, text)) {
        std::istringstream fields(text);
        long recId = 0;
        long long due = 0;
        long long at = 0;
        char what = 0;
        if (!(fields >> recId >> due >> at >> what))
            continue;  // a line cut short by a crash
        State& state = m_states[{recId, due}];
        if (what == 'R')
            state.lastReminded = std::max(state.lastReminded, at);
        else if (what == 'P')
            state.listenedTo = true;
    }
    return true;
}

bool ReminderLog::append(const Reminder& r, long long at, char what)
{
    char line[80];
    const int n = std::snprintf(line, sizeof line, "%ld %lld %lld %c\n", r.recId, r.due, at, what);
    fileops::UniqueFd fd(fileops::openFile(m_path, fileops::Access::Append));
    if (!fd.valid() || fileops::writeAll(fd.get(), line, static_cast<std::size_t>(n)) != 0 || fd.close() != 0)
        return false;
    State& state = m_states[{r.recId, r.due}];
    if (what == 'R')
        state.lastReminded = std::max(state.lastReminded, at);
    else
        state.listenedTo = true;
    return true;
}

bool ReminderLog::reminded(const Reminder& r, long long at) { return append(r, at, 'R'); }

bool ReminderLog::listenedTo(const Reminder& r, long long at) { return append(r, at, 'P'); }

ReminderLog::State ReminderLog::state(long recId, long long due) const
{
    const auto it = m_states.find({recId, due});
    return it == m_states.end() ? State{} : it->second;
}

// ---------------------------------------------------------------------------
// The schedule

bool DiarySchedule::scan(const std::string& familyFile, const ReminderLog& log)
{
    m_reminders.clear();
    m_queue.clear();
    std::ifstream in(familyFile, std::ios::binary);
    if (!in)
        return false;
    std::vector<Reminder> found;
    std::string line(indexline::kLineBytes, '\0');
    while (in.read(line.data(), static_cast<std::streamsize>(line.size()))) {
        // Cheap tests first: most lines of a large diary remind of nothing.
        if (line.compare(0, 8, indexline::kDeletedRecId) == 0 || line.compare(8, 3, " 4 ") != 0)
            continue;
        DiaryEntry entry;
        if (!DiaryEntry::fromLine(line, &entry) || entry.reminder == 0)
            continue;
        Reminder r;
        r.recId = std::atol(line.c_str());
        r.due = minutesOf(entry.year, entry.month, entry.day, entry.hour, entry.minute);
        r.reminder = entry.reminder;
        found.push_back(r);
    }
    m_reminders = std::move(found);
    for (std::size_t i = 0; i < m_reminders.size(); ++i) {
        const long long at = fireAt(m_reminders[i], log);
        if (at != kNever)
            m_queue.emplace(at, i);
    }
    return true;
}

long long DiarySchedule::fireAt(const Reminder& r, const ReminderLog& log)
{
    const ReminderLog::State state = log.state(r.recId, r.due);
    if (state.lastReminded == kNever)
        return r.due;
    if (r.reminder == 2 && !state.listenedTo)
        return state.lastReminded + kNagMinutes;
    return kNever;
}

std::vector<Reminder> DiarySchedule::takeDue(long long now, ReminderLog& log, bool* logFailed)
{
    std::vector<Reminder> due;
    while (!m_queue.empty() && m_queue.begin()->first <= now) {
        const std::size_t i = m_queue.begin()->second;
        const Reminder& r = m_reminders[i];
        if (!log.reminded(r, now)) {
            if (logFailed != nullptr)
                *logFailed = true;
            break;
        }
        m_queue.erase(m_queue.begin());
        due.push_back(r);
        const long long again = fireAt(r, log);
        if (again != kNever)
            m_queue.emplace(again, i);
    }
    return due;
}

}  // namespace diary
