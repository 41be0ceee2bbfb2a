#include "platform/WindowMessages.h"

#include <QCoreApplication>
#include <QObject>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// Records every window message with the thread it arrived on.
class Receiver : public QObject {
public:
    struct Received {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        QThread* thread;
    };

    bool event(QEvent* e) override
    {
        if (e->type() != WindowMessageEvent::eventType())
            return QObject::event(e);
        const auto* m = static_cast<WindowMessageEvent*>(e);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_received.push_back({m->message(), m->wParam(), m->lParam(), QThread::currentThread()});
        return true;
    }

    std::vector<Received> received() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_received;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Received> m_received;
};

// Runs the caller's event loop (for receivers on this thread) until the
// receiver holds count messages or five seconds pass.
bool waitForMessages(const Receiver& receiver, std::size_t count)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (receiver.received().size() < count) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

}  // namespace

TEST(WindowMessages, PostsFromWorkerThreadsArriveOnTheReceiversThreadInOrder)
{
    QThread worker;
    worker.start();
    auto* receiver = new Receiver;
    receiver->moveToThread(&worker);
    const HWND window = handleOf(receiver);

    constexpr int kSenders = 4;
    constexpr int kEach = 250;
    std::vector<std::thread> senders;
    for (int s = 0; s < kSenders; ++s) {
        senders.emplace_back([window, s] {
            for (int i = 0; i < kEach; ++i)
                EXPECT_EQ(PostMessage(window, WM_USER + 105, WPARAM(s), LPARAM(i)), TRUE);
        });
    }
    for (auto& sender : senders)
        sender.join();
    ASSERT_TRUE(waitForMessages(*receiver, kSenders * kEach));

    std::map<WPARAM, LPARAM> next;
    for (const auto& r : receiver->received()) {
        EXPECT_EQ(r.thread, &worker);
        EXPECT_EQ(r.message, WM_USER + 105);
        EXPECT_EQ(r.lParam, next[r.wParam]++) << "sender " << r.wParam;
    }

    receiver->deleteLater();
    worker.quit();
    worker.wait();
    EXPECT_EQ(PostMessage(window, WM_USER, 0, 0), FALSE);
}

TEST(WindowMessages, HandlesAreStableAndDieWithTheirObject)
{
    Receiver a;
    auto* b = new Receiver;
    const HWND handleA = handleOf(&a);
    const HWND handleB = handleOf(b);
    EXPECT_NE(handleA, 0u);
    EXPECT_EQ(handleOf(&a), handleA);
    EXPECT_NE(handleA, handleB);
    EXPECT_EQ(handleOf(nullptr), 0u);

    ASSERT_EQ(PostMessage(handleB, WM_USER + 1, 0, 0), TRUE);  // queued, never delivered
    delete b;
    EXPECT_EQ(PostMessage(handleB, WM_USER + 2, 0, 0), FALSE);
    EXPECT_EQ(PostMessage(0, WM_USER, 0, 0), FALSE);
    EXPECT_EQ(PostMessage(0xDEADBEEF, WM_USER, 0, 0), FALSE);

    auto* c = new Receiver;  // may reuse b's address, never its handle
    EXPECT_NE(handleOf(c), handleB);
    delete c;

    a.disconnect();  // even with its destroyed() connection cut, a stays known
    EXPECT_EQ(PostMessage(handleA, WM_CLOSE, 7, -1), TRUE);
    ASSERT_TRUE(waitForMessages(a, 1));
    EXPECT_EQ(a.received()[0].message, WM_CLOSE);
    EXPECT_EQ(a.received()[0].wParam, 7u);
    EXPECT_EQ(a.received()[0].lParam, -1);
}

TEST(WindowMessages, PostingWhileTheReceiverIsDestroyedIsSafe)
{
    for (int round = 0; round < 20; ++round) {
        QThread worker;
        worker.start();
        auto* receiver = new Receiver;
        receiver->moveToThread(&worker);
        const HWND window = handleOf(receiver);

        std::atomic<bool> refused{false};
        std::thread sender([&] {
            for (int i = 0; i < 1000000 && !refused; ++i)
                refused = PostMessage(window, WM_USER, 0, i) == FALSE;
        });
        QThread::usleep(200);
        QMetaObject::invokeMethod(receiver, [receiver] { delete receiver; }, Qt::BlockingQueuedConnection);
        sender.join();
        EXPECT_TRUE(refused);
        worker.quit();
        worker.wait();
    }
}

TEST(WindowMessages, RegisteredMessagesAreStablePerNameWithoutCase)
{
    const UINT mini = RegisterWindowMessageA("Message from Navo mini player");
    EXPECT_GE(mini, 0xC000u);
    EXPECT_LE(mini, 0xFFFFu);
    EXPECT_EQ(RegisterWindowMessageA("MESSAGE FROM NAVO MINI PLAYER"), mini);
    const UINT word = RegisterWindowMessageA("Ek7 Message from Word");
    EXPECT_NE(word, mini);
    EXPECT_GE(word, 0xC000u);
    EXPECT_EQ(RegisterWindowMessageA("ek7 message from word"), word);
    EXPECT_EQ(RegisterWindowMessageA(""), 0u);
    EXPECT_EQ(RegisterWindowMessageA(nullptr), 0u);

    std::vector<UINT> seen(8);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < seen.size(); ++t)
        threads.emplace_back([&seen, t] { seen[t] = RegisterWindowMessageA("Navo thread test"); });
    for (auto& thread : threads)
        thread.join();
    for (const UINT number : seen)
        EXPECT_EQ(number, seen[0]);
}
