// The diary monitor: a worker thread at the lowest priority that finds the
// diary entries whose reminder has come and tells the main window, only by
// posting WM_USER+42 (wParam the RecID, lParam the due minute), one message
// per entry; WM_USER+40 when it starts, +43 when it ends, +41 with 131 when
// the reminder log cannot be opened or written.
//
// It does not poll the diary: it reads the diary family file when it starts
// and when told the store changed (storeChanged), works out the next minute
// something falls due and sleeps until then or until it is woken. The clock
// is a seam, so that tests move time on instead of waiting for it.
//
// The main window hands each WM_USER+42 back to reminderDue(), which asks
// 691, shows the Diary Reminder (dialog 139) playing the entry, logs that it
// was listened to, and stores a snoozed time back into the record's line.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "audio/DiarySchedule.h"
#include "core/StartupServices.h"
#include "platform/Event.h"
#include "platform/WinTypes.h"

class DiaryClock {
public:
    virtual ~DiaryClock() = default;
    // The local calendar minute now (diary::minutesOf).
    virtual long long now() = 0;
    // Returns when wake is set or the minute until has come (kNever: only
    // when woken).
    virtual void waitUntil(Event& wake, long long until) = 0;
};

// The system's clock. Sleeps at most a minute at a time, so that a clock
// set forward (or a change of summer time) is noticed within a minute.
class SystemDiaryClock : public DiaryClock {
public:
    long long now() override;
    void waitUntil(Event& wake, long long until) override;
};

class DiaryMonitor : public DiaryService {
public:
    static constexpr UINT kStarted = WM_USER + 40;
    static constexpr UINT kFailed = WM_USER + 41;
    static constexpr UINT kDue = WM_USER + 42;
    static constexpr UINT kStopped = WM_USER + 43;

    // clock: the system's when null.
    explicit DiaryMonitor(std::shared_ptr<DiaryClock> clock = nullptr);
    ~DiaryMonitor() override;

    // The reminder log of the open store: in the profile folder, named
    // after the store.
    static std::string logPath(const AppData& app);

    int check(AppData& app) override;
    void start(AppData& app, std::uintptr_t mainWindow) override;
    void stop() override;
    void storeChanged(AppData& app) override;
    void reminderDue(AppData& app, QWidget* owner, std::uintptr_t wParam, std::intptr_t lParam) override;

    bool running() const { return m_thread.joinable(); }
    DiaryClock& clock() { return *m_clock; }

private:
    struct Paths {
        std::string family;
        std::string log;
    };
    static Paths pathsOf(const AppData& app);
    void run(HWND window);

    std::shared_ptr<DiaryClock> m_clock;
    std::thread m_thread;
    std::atomic<bool> m_running{false};
    Event m_wake;
    std::mutex m_pathsLock;  // m_paths and m_changed
    Paths m_paths;
    bool m_changed = false;
};
