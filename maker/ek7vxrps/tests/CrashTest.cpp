// A real crash: a child process puts ever more members into a store and is
// killed with SIGKILL at a random moment, again and again. After each kill
// the store must pass its integrity check, hold every put the child reported
// finished, byte for byte, and hold each put completely or not at all.
//
// Each put adds two or three record members "rec-NNNN.vxz" of up to 1 MB and
// grows the "family" member, which lists every record name so far, by their
// names; so the records present and the family list must always agree exactly.

#include "TestFiles.h"

#include "maker/ek7vxrps/ek7vxrps.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using testfiles::TempDir;

namespace {

constexpr const char* kFamily = "family";

std::string recName(int number)
{
    char name[32];
    std::snprintf(name, sizeof name, "rec-%04d.vxz", number);
    return name;
}

std::size_t recSize(const std::string& name)
{
    return static_cast<std::size_t>(testfiles::seedOf(name) % (1024 * 1024 + 1));
}

std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty())
            lines.push_back(line);
    }
    return lines;
}

// The child: continue from whatever the store holds, put forever, report the
// highest record number of each finished put as four bytes on the pipe.
[[noreturn]] void runChild(const std::string& store, const std::string& work, int reportFd, unsigned seed)
{
    std::mt19937 random(seed);
    const char* family[] = {kFamily};
    if (RPS_Get(store.c_str(), work.c_str(), family, 1) != kRpsOk)
        _exit(2);
    std::string list = testfiles::readFile(work + "/" + kFamily);
    int next = static_cast<int>(splitLines(list).size());
    for (;;) {
        const int count = 2 + static_cast<int>(random() % 2);
        std::vector<std::string> names;
        for (int i = 0; i < count; ++i) {
            const std::string name = recName(next + i);
            testfiles::writeFile(work + "/" + name, testfiles::patternBytes(testfiles::seedOf(name), recSize(name)));
            list += name + "\n";
            names.push_back(name);
        }
        const std::uint64_t before = testfiles::readFile(work + "/" + kFamily).size();
        testfiles::writeFile(work + "/" + kFamily, list);
        names.push_back(kFamily);
        std::vector<const char*> pointers;
        // The records are new; the family list only grew, and the store is
        // told so: only its end is written, as when a recording is filed.
        std::vector<std::uint64_t> grownFrom(names.size(), 0);
        grownFrom.back() = before;
        for (const std::string& name : names)
            pointers.push_back(name.c_str());
        if (RPS_PutGrown(store.c_str(), work.c_str(), pointers.data(), grownFrom.data(),
                         static_cast<int>(pointers.size()))
            != kRpsOk)
            _exit(3);
        next += count;
        const std::int32_t reported = next - 1;
        if (::write(reportFd, &reported, sizeof reported) != sizeof reported)
            _exit(4);
        for (int i = 0; i < count; ++i)
            ::unlink((work + "/" + names[static_cast<std::size_t>(i)]).c_str());
    }
}

TEST(RpsCrashTest, KilledPutsAreAllOrNothing)
{
    TempDir dir;
    const std::string store = dir / "crash.vxt";
    ASSERT_EQ(RPS_Create(store.c_str()), kRpsOk);
    testfiles::writeFile(dir / kFamily, "");
    const char* family[] = {kFamily};
    ASSERT_EQ(RPS_Put(store.c_str(), dir.path().c_str(), family, 1), kRpsOk);

    std::mt19937 random(20240517);
    int highestReported = -1;
    std::set<std::string> verified;  // records already compared byte for byte
    const auto started = std::chrono::steady_clock::now();
    constexpr int kKills = 24;
    int killedInsidePut = 0;

    // At least kKills kills; on a loaded machine go on (within a time limit)
    // until the child has done real work and some kill has hit a put.
    const auto enough = [&] { return highestReported > 5 && killedInsidePut > 0; };
    for (int kill = 0; kill < kKills || (!enough() && std::chrono::steady_clock::now() - started
                                                            < std::chrono::seconds(20));
         ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill));
        TempDir work;
        int pipeFds[2];
        ASSERT_EQ(::pipe(pipeFds), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(pipeFds[0]);
            runChild(store, work.path(), pipeFds[1], static_cast<unsigned>(kill));
        }
        ::close(pipeFds[1]);
        // The kill comes at a random moment after the child's first finished
        // put, so every round gets work done however slow the machine is.
        std::int32_t first = 0;
        if (::read(pipeFds[0], &first, sizeof first) == sizeof first)
            highestReported = std::max(highestReported, static_cast<int>(first));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 51));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        // Anything but our SIGKILL means the child failed on its own.
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "child status " << status;

        std::int32_t reported = 0;
        while (::read(pipeFds[0], &reported, sizeof reported) == sizeof reported)
            highestReported = std::max(highestReported, static_cast<int>(reported));
        ::close(pipeFds[0]);
        // A journal beside the store: the kill landed inside a put.
        if (testfiles::exists(store + "-journal"))
            ++killedInsidePut;

        ASSERT_EQ(RPS_Check(store.c_str()), kRpsOk);
        TempDir out;
        ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), family, 1), kRpsOk);
        const std::vector<std::string> listed = splitLines(testfiles::readFile(out / kFamily));
        std::vector<std::string> members;
        ASSERT_EQ(RPS_List(store.c_str(), &members), kRpsOk);
        std::set<std::string> records(members.begin(), members.end());
        records.erase(kFamily);

        // All or nothing: the records present are exactly those the family
        // lists, numbered without a gap.
        ASSERT_EQ(records, std::set<std::string>(listed.begin(), listed.end()));
        for (std::size_t i = 0; i < listed.size(); ++i)
            ASSERT_EQ(listed[i], recName(static_cast<int>(i)));
        // Every put the child finished is there.
        ASSERT_GE(static_cast<int>(listed.size()) - 1, highestReported);

        // Byte for byte, each record once (older ones were compared after an
        // earlier kill; a later put never rewrites them).
        std::vector<std::string> fresh;
        for (const std::string& name : listed) {
            if (verified.count(name) == 0)
                fresh.push_back(name);
        }
        std::vector<const char*> pointers;
        for (const std::string& name : fresh)
            pointers.push_back(name.c_str());
        ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), pointers.data(), static_cast<int>(pointers.size())),
                  kRpsOk);
        for (const std::string& name : fresh) {
            ASSERT_TRUE(testfiles::fileMatchesPattern(out / name, testfiles::seedOf(name), recSize(name))) << name;
            verified.insert(name);
        }
        // Older records are still there at their full size.
        for (const std::string& name : verified) {
            std::uint64_t size = 0;
            ASSERT_EQ(RPS_MemberSize(store.c_str(), name.c_str(), &size), kRpsOk);
            ASSERT_EQ(size, recSize(name));
        }
    }
    // The test is only worth something if the child got work done.
    EXPECT_GT(highestReported, 5);
    // ... and if some kills interrupted a transaction (rarely none would).
    EXPECT_GT(killedInsidePut, 0);
}

}  // namespace
