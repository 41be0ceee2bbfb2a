// The provider's thread: requests run on it in order and return their
// results, a tick follows a request at once but never the tear-down, and
// tickBy brings a tick forward. The period is ten seconds, so any tick seen within the waits
// below came from a request or from tickBy, never from the clock.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "telephony/module/ProviderThread.h"

namespace {

using namespace std::chrono_literals;
constexpr auto kLongPeriod = 10s;

bool waitFor(const std::function<bool()>& done)
{
    for (int i = 0; i < 500 && !done(); ++i)
        std::this_thread::sleep_for(10ms);
    return done();
}

TEST(ProviderThread, RequestsRunOnTheThreadInOrderAndAreFollowedByATick)
{
    ProviderThread thread;
    std::atomic<int> ticks{0};
    std::atomic<bool> setUpOnThread{false};
    thread.start(kLongPeriod, [&] { setUpOnThread = thread.onThread(); }, [&] { ++ticks; });
    ASSERT_TRUE(waitFor([&] { return ticks == 1; }));  // the first tick comes at once

    std::vector<int> order;
    EXPECT_EQ(thread.call<int>([&] { order.push_back(1); return thread.onThread() ? 7 : -1; }, 0), 7);
    EXPECT_TRUE(thread.run([&] { order.push_back(2); }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_TRUE(setUpOnThread);
    EXPECT_TRUE(waitFor([&] { return ticks >= 2; })) << "no tick after the requests";

    int ticksAtTearDown = -1;
    thread.stop([&] { order.push_back(3); ticksAtTearDown = ticks; });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(ticks, ticksAtTearDown) << "a tick ran after the tear-down";
    EXPECT_FALSE(thread.run([] {}));
    EXPECT_EQ(thread.call<int>([] { return 1; }, -5), -5);
}

TEST(ProviderThread, TickByBringsTheNextTickForward)
{
    ProviderThread thread;
    std::atomic<int> ticks{0};
    thread.start(kLongPeriod, nullptr, [&] {
        // The first tick asks for another one shortly, as a ring due soon does.
        if (++ticks == 1)
            thread.tickBy(std::chrono::steady_clock::now() + 50ms);
    });
    EXPECT_TRUE(waitFor([&] { return ticks >= 2; })) << "the tick asked for did not come";
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(ticks, 2) << "ticks came without being asked for";
    thread.stop(nullptr);
}

TEST(ProviderThread, AStopFromTheThreadItselfTearsDownThereAndIsJoinedLater)
{
    // A provider whose request finds its line gone stops on its own thread:
    // joining there would end the process.
    ProviderThread thread;
    thread.start(kLongPeriod, nullptr, nullptr);
    bool tornDownOnThread = false;
    EXPECT_TRUE(thread.run([&] { thread.stop([&] { tornDownOnThread = thread.onThread(); }); }));
    EXPECT_TRUE(tornDownOnThread);
    EXPECT_FALSE(thread.run([] {})) << "requests still taken after the stop";
    int tearDowns = 0;
    thread.stop([&] { ++tearDowns; });
    EXPECT_EQ(tearDowns, 0) << "torn down twice";
}

TEST(ProviderThread, TwoThreadsStoppingAtOnceJoinItOnce)
{
    ProviderThread thread;
    thread.start(kLongPeriod, nullptr, nullptr);
    std::atomic<int> tearDowns{0};
    std::thread other([&] { thread.stop([&] { ++tearDowns; }); });
    thread.stop([&] { ++tearDowns; });
    other.join();
    EXPECT_EQ(tearDowns, 1);
}

}  // namespace
