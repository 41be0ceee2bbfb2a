// A diary clock that stands still until the test moves it; the monitor's
// sleeps are counted, so a test waits for the monitor, never for time.
#pragma once

#include "audio/DiaryMonitor.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

class FakeClock : public DiaryClock {
public:
    explicit FakeClock(long long start) : m_now(start) {}
    long long now() override { return m_now; }
    void waitUntil(Event& wake, long long until) override
    {
        {
            std::lock_guard<std::mutex> lock(m_lock);
            m_wake = &wake;
            m_until = until;
            ++m_sleeps;
        }
        m_changed.notify_all();
        wake.wait(INFINITE);
    }
    int sleeps()
    {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_sleeps;
    }
    long long sleepingUntil()
    {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_until;
    }
    // Waits (for the monitor, not for time) until it slept n times.
    bool asleep(int n)
    {
        std::unique_lock<std::mutex> lock(m_lock);
        return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_sleeps >= n; });
    }
    // Moves time on with no monitor running.
    void setNow(long long minute)
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_now = minute;
        m_wake = nullptr;
    }
    // Moves time on, wakes the monitor and waits until it sleeps again.
    bool advanceTo(long long minute)
    {
        const int before = sleeps();
        m_now = minute;
        {
            std::lock_guard<std::mutex> lock(m_lock);
            if (m_wake != nullptr)
                m_wake->set();
        }
        return asleep(before + 1);
    }

private:
    std::atomic<long long> m_now;
    std::mutex m_lock;
    std::condition_variable m_changed;
    Event* m_wake = nullptr;
    long long m_until = 0;
    int m_sleeps = 0;
};

