// All events share one mutex and one condition variable: every set() wakes
// every waiter, and each waiter checks its own events. Navo has a handful of
// events and waiting threads, so this is simpler than per-event waiter lists
// at no measurable cost, and a wait on several events needs nothing more.
#include "platform/Event.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

std::mutex g_mutex;
std::condition_variable g_changed;

}  // namespace

Event::Event(bool manualReset, bool initialState) : m_manualReset(manualReset), m_set(initialState)
{
}

void Event::set()
{
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        m_set = true;
    }
    g_changed.notify_all();
}

void Event::reset()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    m_set = false;
}

bool Event::wait(DWORD timeoutMs)
{
    return WaitForMultipleObjects({this}, false, timeoutMs) == WAIT_OBJECT_0;
}

DWORD WaitForMultipleObjects(const std::vector<Event*>& events, bool waitAll, DWORD timeoutMs)
{
    if (events.empty() || events.size() > MAXIMUM_WAIT_OBJECTS
        || std::find(events.begin(), events.end(), nullptr) != events.end())
        return WAIT_FAILED;
    if (waitAll) {
        std::vector<Event*> sorted(events);
        std::sort(sorted.begin(), sorted.end());
        if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
            return WAIT_FAILED;
    }

    // Returns the result once the wait is satisfied (consuming auto-reset
    // events), else nothing; called with g_mutex held.
    auto satisfied = [&]() -> DWORD {
        if (waitAll) {
            for (Event* e : events) {
                if (!e->m_set)
                    return WAIT_TIMEOUT;
            }
            for (Event* e : events) {
                if (!e->m_manualReset)
                    e->m_set = false;
            }
            return WAIT_OBJECT_0;
        }
        for (std::size_t i = 0; i < events.size(); ++i) {
            if (events[i]->m_set) {
                if (!events[i]->m_manualReset)
                    events[i]->m_set = false;
                return static_cast<DWORD>(WAIT_OBJECT_0 + i);
            }
        }
        return WAIT_TIMEOUT;
    };

    std::unique_lock<std::mutex> lock(g_mutex);
    DWORD result = satisfied();
    if (timeoutMs == INFINITE) {
        while (result == WAIT_TIMEOUT) {
            g_changed.wait(lock);
            result = satisfied();
        }
        return result;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (result == WAIT_TIMEOUT) {
        if (g_changed.wait_until(lock, deadline) == std::cv_status::timeout)
            return satisfied();
        result = satisfied();
    }
    return result;
}
