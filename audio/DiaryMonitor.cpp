// The diary monitor. Divisions: the system clock; starting and stopping;
// the thread; a due reminder on the main window's thread.
#include "audio/DiaryMonitor.h"

#include <QWidget>

#include <algorithm>
#include <ctime>

#include "audio/DiaryRecorder.h"
#include "audio/DiaryReminderDialog.h"
#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "platform/Prompt.h"
#include "platform/ThreadPriority.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace {

constexpr long long kMaxSleepMs = 60 * 1000;

}  // namespace

// ---------------------------------------------------------------------------
// The system clock

long long SystemDiaryClock::now()
{
    const std::time_t t = std::time(nullptr);
    std::tm tm{};
    localtime_r(&t, &tm);
    return diary::minutesOf(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min);
}

void SystemDiaryClock::waitUntil(Event& wake, long long until)
{
    long long ms = kMaxSleepMs;
    if (until != diary::kNever) {
        const std::time_t t = std::time(nullptr);
        std::tm tm{};
        localtime_r(&t, &tm);
        const long long nowSeconds =
            diary::minutesOf(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min) * 60 + tm.tm_sec;
        ms = std::clamp((until * 60 - nowSeconds) * 1000, 0LL, kMaxSleepMs);
    }
    wake.wait(static_cast<DWORD>(ms));
}

// ---------------------------------------------------------------------------
// Starting and stopping

DiaryMonitor::DiaryMonitor(std::shared_ptr<DiaryClock> clock)
    : m_clock(clock ? std::move(clock) : std::make_shared<SystemDiaryClock>())
{
}

DiaryMonitor::~DiaryMonitor() { stop(); }

std::string DiaryMonitor::logPath(const AppData& app)
{
    return app.ProfileDir + "/" + (app.DataStoreName.empty() ? std::string("NAVO") : app.DataStoreName) + ".reminders";
}

DiaryMonitor::Paths DiaryMonitor::pathsOf(const AppData& app)
{
    return {components::workspacePath(app.TempDir, components::kDiary), logPath(app)};
}

int DiaryMonitor::check(AppData& app)
{
    return diary::ReminderLog(logPath(app)).open() ? 0 : diary::kLogError;
}

void DiaryMonitor::start(AppData& app, std::uintptr_t mainWindow)
{
    if (m_thread.joinable()) {
        if (m_running)
            return;
        m_thread.join();  // ended by itself (the log failed)
    }
    {
        std::lock_guard<std::mutex> lock(m_pathsLock);
        m_paths = pathsOf(app);
        m_changed = true;
    }
    m_running = true;
    m_wake.reset();
    const auto window = static_cast<HWND>(mainWindow);
    m_thread = std::thread([this, window] { run(window); });
}

void DiaryMonitor::stop()
{
    if (!m_thread.joinable())
        return;
    m_running = false;
    m_wake.set();
    m_thread.join();
}

void DiaryMonitor::storeChanged(AppData& app)
{
    {
        std::lock_guard<std::mutex> lock(m_pathsLock);
        m_paths = pathsOf(app);
        m_changed = true;
    }
    m_wake.set();
}

// ---------------------------------------------------------------------------
// The thread

void DiaryMonitor::run(HWND window)
{
    setLowestThreadPriority();
    PostMessage(window, kStarted, 0, 0);
    diary::DiarySchedule schedule;
    std::unique_ptr<diary::ReminderLog> log;
    while (m_running) {
        Paths paths;
        bool changed = false;
        {
            std::lock_guard<std::mutex> lock(m_pathsLock);
            changed = m_changed;
            m_changed = false;
            paths = m_paths;
        }
        if (changed) {
            log = std::make_unique<diary::ReminderLog>(paths.log);
            if (!log->load()) {
                m_running = false;
                PostMessage(window, kFailed, diary::kLogError, 0);
                break;
            }
            if (!schedule.scan(paths.family, *log))
                OutputDebugString("Diary monitor: no diary to read\n");
        }
        const long long now = m_clock->now();
        bool logFailed = false;
        for (const diary::Reminder& r : schedule.takeDue(now, *log, &logFailed))
            PostMessage(window, kDue, static_cast<WPARAM>(r.recId), static_cast<LPARAM>(r.due));
        if (logFailed) {
            m_running = false;
            PostMessage(window, kFailed, diary::kLogError, 0);
            break;
        }
        m_clock->waitUntil(m_wake, schedule.nextDue());
    }
    PostMessage(window, kStopped, 0, 0);
}

// ---------------------------------------------------------------------------
// A due reminder, on the main window's thread

void DiaryMonitor::reminderDue(AppData& app, QWidget* owner, std::uintptr_t wParam, std::intptr_t lParam)
{
    diary::Reminder r;
    r.recId = static_cast<long>(wParam);
    r.due = static_cast<long long>(lParam);
    if (ShowCodedMessage(132, MB_YESNO | MB_ICONQUESTION) != IDYES)
        return;  // not listened to: "Nag Me" reminds again
    DiaryReminderDialog dialog(app, r, owner, [this] { return m_clock->now(); });
    if (dialog.openEntry() != 0)
        return;
    dialog.exec();
    diary::ReminderLog log(logPath(app));
    if (dialog.listenedTo() && !log.listenedTo(r, m_clock->now()))
        ShowCodedMessage(diary::kLogError, MB_ICONEXCLAMATION);
    if (dialog.listenedTo() || dialog.snoozed())
        storeChanged(app);
}
