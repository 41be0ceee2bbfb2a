#include "telephony/module/ProviderThread.h"

#include <algorithm>

ProviderThread::~ProviderThread()
{
    stop(nullptr);
}

void ProviderThread::start(std::chrono::milliseconds period, std::function<void()> setUp, std::function<void()> tick)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_running)
        return;
    m_period = period;
    m_tick = std::move(tick);
    m_running = true;
    m_stopping = false;
    m_thread = std::thread(&ProviderThread::loop, this, std::move(setUp));
}

void ProviderThread::stop(std::function<void()> tearDown)
{
    if (onThread()) {
        // A thread cannot join itself: finish here, join later.
        if (tearDown)
            tearDown();
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        return;
    }
    std::thread thread;
    // tearDown is queued with the stop itself, so no tick can follow it.
    Request request{&tearDown};
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_thread.joinable())
            return;
        // Taken out under the lock: a second stop finds nothing to join.
        thread = std::move(m_thread);
        if (tearDown && !m_stopping)
            m_requests.push_back(&request);
        m_stopping = true;
    }
    m_wake.notify_all();
    thread.join();
    m_threadId = std::thread::id();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_running = false;
}

bool ProviderThread::run(const std::function<void()>& work)
{
    if (onThread()) {
        work();
        return true;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_running || m_stopping)
        return false;
    Request request{&work};
    m_requests.push_back(&request);
    m_wake.notify_all();
    m_finished.wait(lock, [&] { return request.done; });
    return true;
}

void ProviderThread::tickBy(std::chrono::steady_clock::time_point when)
{
    // Only tick (on this thread, with the lock free) sets it.
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tickBy = std::min(m_tickBy, when);
}

void ProviderThread::loop(std::function<void()> setUp)
{
    m_threadId = std::this_thread::get_id();
    // Requests made while setUp runs wait for it: they are queued.
    if (setUp)
        setUp();
    auto next = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        bool ranRequests = false;
        while (!m_requests.empty()) {
            Request* request = m_requests.front();
            m_requests.pop_front();
            lock.unlock();
            (*request->work)();
            lock.lock();
            request->done = true;
            ranRequests = true;
            m_finished.notify_all();
        }
        if (m_stopping)
            break;
        const auto now = std::chrono::steady_clock::now();
        if (now >= next || now >= m_tickBy || ranRequests) {
            m_tickBy = std::chrono::steady_clock::time_point::max();
            lock.unlock();
            if (m_tick)
                m_tick();
            lock.lock();
            if (now >= next) {
                next += m_period;
                if (next < now)
                    next = now + m_period;  // fell behind: do not race to catch up
            }
            continue;
        }
        m_wake.wait_until(lock, std::min(next, m_tickBy), [&] { return m_stopping || !m_requests.empty(); });
    }
    // Nobody may be left waiting on a request that will never run.
    for (Request* request : m_requests)
        request->done = true;
    m_requests.clear();
    m_finished.notify_all();
}
