#include "platform/Trace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

TEST(Trace, CaptureCollectsWhatIsTracedWhileItLives)
{
    OutputDebugString("before\n");
    TraceCapture outer;
    OutputDebugString("Saving SFS\n");
    {
        TraceCapture inner;
        OutputDebugString(std::string("Index "));
        OutputDebugString("updated\n");
        OutputDebugString("no newline");
        EXPECT_EQ(inner.lines(), (std::vector<std::string>{"Index updated", "no newline"}));
    }
    OutputDebugString(static_cast<const char*>(nullptr));
    EXPECT_EQ(outer.text(), "Saving SFS\nIndex updated\nno newline");
    EXPECT_TRUE(outer.contains("Index updated"));
    EXPECT_FALSE(outer.contains("before"));
}

TEST(Trace, ThreadsTraceWholeTexts)
{
    TraceCapture capture;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 100; ++i)
                OutputDebugString("thread " + std::to_string(t) + " line " + std::to_string(i) + "\n");
        });
    }
    for (auto& thread : threads)
        thread.join();
    const std::vector<std::string> lines = capture.lines();
    EXPECT_EQ(lines.size(), 400u);
    for (const std::string& line : lines)
        EXPECT_EQ(line.rfind("thread ", 0), 0u) << line;
}

// The switch is read once per process, so each case runs in a fresh one.
TEST(TraceDeathTest, GoesToStandardErrorOnlyWhenNavoTraceIs1)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ::setenv("NAVO_TRACE", "1", 1);
            OutputDebugString("Saving SFS\n");
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "Saving SFS");
    EXPECT_EXIT(
        {
            ::setenv("NAVO_TRACE", "0", 1);
            OutputDebugString("Saving SFS\n");
            std::fputs("[nothing else]", stderr);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^\\[nothing else\\]$");
}
