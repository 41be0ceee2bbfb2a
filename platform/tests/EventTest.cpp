#include "platform/Event.h"
#include "platform/Sleep.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Sets the event from another thread after a pause, so the wait really waits.
std::thread setLater(Event& event, int ms)
{
    return std::thread([&event, ms] {
        Sleep(static_cast<DWORD>(ms));
        event.set();
    });
}

}  // namespace

TEST(Event, WaitForAnyWakesWithTheIndexOfTheEventSet)
{
    Event a, b, c;
    std::thread setter = setLater(b, 30);
    EXPECT_EQ(WaitForMultipleObjects({&a, &b, &c}, false, 5000), WAIT_OBJECT_0 + 1);
    setter.join();
    EXPECT_FALSE(b.wait(0));  // consumed by the wait that returned it
}

TEST(Event, LowestIndexWinsAndOnlyThatOneIsConsumed)
{
    Event a, b, c;
    c.set();
    b.set();
    EXPECT_EQ(WaitForMultipleObjects({&a, &b, &c}, false, 0), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitForMultipleObjects({&a, &b, &c}, false, 0), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitForMultipleObjects({&a, &b, &c}, false, 0), WAIT_TIMEOUT);
}

TEST(Event, AutoResetReleasesExactlyOneWaiter)
{
    Event event;
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] { woken += event.wait(300) ? 1 : 0; });
    Sleep(30);
    event.set();
    for (auto& waiter : waiters)
        waiter.join();
    EXPECT_EQ(woken.load(), 1);
    EXPECT_FALSE(event.wait(0));
}

TEST(Event, ManualResetStaysSetForEveryWaiterUntilReset)
{
    Event event(true);
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] { woken += event.wait(5000) ? 1 : 0; });
    Sleep(30);
    event.set();
    for (auto& waiter : waiters)
        waiter.join();
    EXPECT_EQ(woken.load(), 4);
    EXPECT_TRUE(event.wait(0));
    event.reset();
    EXPECT_FALSE(event.wait(0));
    EXPECT_TRUE(Event(true, true).wait(0));
}

TEST(Event, WaitTimesOut)
{
    Event a, b;
    const auto start = Clock::now();
    EXPECT_EQ(WaitForMultipleObjects({&a, &b}, false, 60), WAIT_TIMEOUT);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
    EXPECT_FALSE(a.wait(10));
}

TEST(Event, WaitForAllNeedsEveryEventAndConsumesTheAutoResetOnes)
{
    Event manual(true), autoReset;
    manual.set();
    EXPECT_EQ(WaitForMultipleObjects({&manual, &autoReset}, true, 30), WAIT_TIMEOUT);
    EXPECT_TRUE(manual.wait(0));  // a wait-all that timed out consumes nothing

    std::thread setter = setLater(autoReset, 30);
    EXPECT_EQ(WaitForMultipleObjects({&manual, &autoReset}, true, 5000), WAIT_OBJECT_0);
    setter.join();
    EXPECT_TRUE(manual.wait(0));
    EXPECT_FALSE(autoReset.wait(0));
}

TEST(Event, BadListsFail)
{
    Event a;
    EXPECT_EQ(WaitForMultipleObjects({}, false, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForMultipleObjects({&a, nullptr}, false, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForMultipleObjects({&a, &a}, true, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForMultipleObjects(std::vector<Event*>(65, &a), false, 0), WAIT_FAILED);
}
