// The one thread a provider's line runs on. It calls tick() every period and
// runs the provider's requests between ticks, with a tick straight after
// them so what they started (a SIP answer, say) goes out at once. Everything
// the provider owns (sockets, the SIP stack) is touched by this thread only
// and needs no lock.
// liblinphone in particular must never be called from two threads.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

class ProviderThread {
public:
    ProviderThread() = default;
    ~ProviderThread();
    ProviderThread(const ProviderThread&) = delete;
    ProviderThread& operator=(const ProviderThread&) = delete;

    // Starts the thread: setUp runs first on it; tick every period after.
    void start(std::chrono::milliseconds period, std::function<void()> setUp, std::function<void()> tick);
    // Runs tearDown on the thread, then ends it. Safe to call twice, and
    // from two threads at once. Called on the thread itself (from a request
    // or a tick), it runs tearDown there and ends the thread after the
    // present work; the join is then left to the next stop or the destructor.
    void stop(std::function<void()> tearDown);

    // Runs work on the thread and waits for it (at once when called on the
    // thread itself). Returns work's result; fallback when not running.
    template <typename Result>
    Result call(std::function<Result()> work, Result fallback)
    {
        Result result = fallback;
        run([&] { result = work(); });
        return result;
    }
    // false when the thread is not running.
    bool run(const std::function<void()>& work);

    bool onThread() const { return std::this_thread::get_id() == m_threadId.load(); }

    // From tick on the thread: the next tick comes no later than when (a
    // ring due between two periods is then reported on time).
    void tickBy(std::chrono::steady_clock::time_point when);

private:
    void loop(std::function<void()> setUp);

    struct Request {
        const std::function<void()>* work;
        bool done = false;
    };

    std::mutex m_mutex;
    std::thread m_thread;  // guarded by m_mutex
    // Set by the thread itself before setUp runs, so setUp already finds
    // itself on the thread (m_thread is assigned only after the start).
    std::atomic<std::thread::id> m_threadId{};
    std::condition_variable m_wake;
    std::condition_variable m_finished;
    std::deque<Request*> m_requests;
    bool m_running = false;
    bool m_stopping = false;
    std::chrono::milliseconds m_period{20};
    std::chrono::steady_clock::time_point m_tickBy = std::chrono::steady_clock::time_point::max();
    std::function<void()> m_tick;
};
