// The File Converter's list and thread without a window: the messages the
// thread posts are handed back to the list in order, as the dialog does.
// A whole list runs to its files; Stop abandons the file in progress and
// leaves nothing under its name; Re-Start runs the list again and Cancel
// ends the thread.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>

#include "audio/FileConverter.h"
#include "maker/Ek7Acm/tests/ToneWave.h"

namespace fs = std::filesystem;

namespace {

// The posted messages, taken one at a time by the test's thread.
class Mailbox {
public:
    FileConverter::Post post()
    {
        return [this](UINT message, WPARAM wParam, LPARAM lParam) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_queue.push_back({message, wParam, lParam});
            m_ready.notify_one();
        };
    }
    struct Message {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };
    Message take()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ready.wait(lock, [this] { return !m_queue.empty(); });
        const Message m = m_queue.front();
        m_queue.pop_front();
        return m;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<Message> m_queue;
};

class FileConverterTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    Mailbox mailbox;
    std::string path(const std::string& name) const { return dir.path().toStdString() + "/" + name; }

    // Hands messages to the list until one with this code has been handled;
    // returns the codes seen, and the results of the failures in failures.
    std::vector<LPARAM> pumpUntil(FileConverter& converter, LPARAM code, std::vector<int>* failures = nullptr)
    {
        std::vector<LPARAM> codes;
        for (;;) {
            const Mailbox::Message m = mailbox.take();
            EXPECT_EQ(m.message, FileConverter::kMsgConvert);
            codes.push_back(m.lParam);
            const int failed = converter.onMessage(m.wParam, m.lParam);
            if (failed != 0 && failures != nullptr)
                failures->push_back(failed);
            if (m.lParam == code)
                return codes;
        }
    }
};

}  // namespace

TEST_F(FileConverterTest, AListRunsToItsFilesAndReportsEachFailure)
{
    tone::write(path("a.wav"), tone::kQualities[0], 440, 500);
    std::ofstream(path("bad.wav")) << "no wave";
    FileConverter converter({{path("a.wav"), path("a.mp3"), FileConverter::kMp3, "A", "", ""},
                             {path("bad.wav"), path("bad.ogg"), FileConverter::kOgg, "", "", ""},
                             {path("a.wav"), path("a.none"), 5, "", "", ""},
                             {path("a.wav"), path("a.out.wav"), FileConverter::kWavToo, "", "", ""}},
                            mailbox.post());
    converter.start();
    std::vector<int> failures;
    const std::vector<LPARAM> codes = pumpUntil(converter, FileConverter::kThreadStopped, &failures);
    // Reset, done, failed + done, done (code 5 converts nothing), done, the end.
    EXPECT_EQ(codes, (std::vector<LPARAM>{0, 2, 3, 2, 2, 2, 100}));
    EXPECT_EQ(failures, std::vector<int>{9});
    EXPECT_STREQ(FileConverter::resultText(9), "Invalid Telvarine recording file");
    EXPECT_STREQ(FileConverter::resultText(4), "Unknown error");
    EXPECT_EQ(converter.state(), FileConverter::State::Finished);
    EXPECT_EQ(converter.converted(), 3);
    EXPECT_TRUE(fs::exists(path("a.mp3")));
    EXPECT_TRUE(fs::exists(path("a.out.wav")));
    EXPECT_FALSE(fs::exists(path("bad.ogg")));
    EXPECT_FALSE(fs::exists(path("a.none")));
    converter.join();
}

TEST_F(FileConverterTest, StopLeavesNoFileReStartRunsAgainAndCancelEndsTheThread)
{
    // Three minutes at CD quality: Vorbis takes seconds over it, so Stop,
    // pressed at once, always comes while the file is being written.
    tone::write(path("long.wav"), tone::kQualities[3], 440, 180000);
    const std::string target = path("long.ogg");
    FileConverter converter({{path("long.wav"), target, FileConverter::kOgg, "", "", ""}}, mailbox.post());
    converter.start();
    pumpUntil(converter, FileConverter::kCounterReset);
    ASSERT_EQ(converter.state(), FileConverter::State::Converting);
    converter.stop();
    std::vector<int> failures;
    const std::vector<LPARAM> codes = pumpUntil(converter, FileConverter::kCancelled, &failures);
    // The abandoned file reports no failure to the user.
    EXPECT_EQ(codes, (std::vector<LPARAM>{3, 2, 99}));
    EXPECT_TRUE(failures.empty());
    EXPECT_EQ(converter.state(), FileConverter::State::Stopped);
    EXPECT_FALSE(fs::exists(target));
    EXPECT_FALSE(fs::exists(target + ".part"));

    converter.restart();
    pumpUntil(converter, FileConverter::kCounterReset);
    EXPECT_EQ(converter.state(), FileConverter::State::Converting);
    EXPECT_EQ(converter.current(), 1);
    converter.cancel();
    EXPECT_EQ(pumpUntil(converter, FileConverter::kThreadStopped), (std::vector<LPARAM>{3, 2, 100}));
    EXPECT_EQ(converter.state(), FileConverter::State::Closed);
    converter.join();
    EXPECT_FALSE(fs::exists(target));
    EXPECT_FALSE(fs::exists(target + ".part"));
}
