// I/O faults injected under the store through the fault VFS: every write and
// every sync of a put is made to fail, or the process to "die" there, in turn.
// After each, the store is reopened with the default VFS and must pass its
// integrity check and hold the complete old content or the complete new one.

#include "FaultVfs.h"
#include "TestFiles.h"

#include "maker/ek7vxrps/ek7vxrps.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using faultvfs::FaultVfs;
using faultvfs::Plan;
using faultvfs::UseFaultVfs;
using testfiles::TempDir;

namespace {

enum class Content { Old, New, Mixed };

const char* describe(Content content)
{
    return content == Content::Old ? "old" : content == Content::New ? "new" : "mixed";
}

class RpsFaultTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        FaultVfs::instance();
        // Old content: two members over several pages each, the family file
        // over three pieces.
        ASSERT_EQ(RPS_Create(pristine.c_str()), kRpsOk);
        testfiles::writeFile(oldDir / "a.vxz", testfiles::patternBytes(1, 20000));
        testfiles::writeFile(oldDir / "Telvarine.vxr", testfiles::patternBytes(2, kFamilyBytes));
        const char* names[] = {"a.vxz", "Telvarine.vxr"};
        ASSERT_EQ(RPS_Put(pristine.c_str(), oldDir.path().c_str(), names, 2), kRpsOk);

        // New content in one put, by each way a member is written: a.vxz
        // replaced (piece by piece against the stored one), the family file
        // grown by one line (only its end written), b.vxz added.
        testfiles::writeFile(newDir / "a.vxz", testfiles::patternBytes(3, 30000));
        testfiles::writeFile(newDir / "Telvarine.vxr",
                             testfiles::patternBytes(2, kFamilyBytes) + testfiles::patternBytes(4, 401));
        testfiles::writeFile(newDir / "b.vxz", testfiles::patternBytes(5, 15000));
    }

    static constexpr std::size_t kFamilyBytes = 70000;

    // A fresh copy of the old store to run one faulty put on.
    void resetStore() { testfiles::writeFile(store, testfiles::readFile(pristine)); }

    int putNew()
    {
        const char* names[] = {"a.vxz", "Telvarine.vxr", "b.vxz"};
        const std::uint64_t grownFrom[] = {0, kFamilyBytes, 0};
        return RPS_PutGrown(store.c_str(), newDir.path().c_str(), names, grownFrom, 3);
    }

    // Reopens with the default VFS (rolling back any hot journal) and says
    // which content the store holds.
    Content content()
    {
        EXPECT_EQ(RPS_Check(store.c_str()), kRpsOk);
        TempDir out;
        std::vector<std::string> listed;
        EXPECT_EQ(RPS_List(store.c_str(), &listed), kRpsOk);
        const char* names[] = {"a.vxz", "Telvarine.vxr"};
        EXPECT_EQ(RPS_Get(store.c_str(), out.path().c_str(), names, 2), kRpsOk);
        const std::string a = testfiles::readFile(out / "a.vxz");
        const std::string family = testfiles::readFile(out / "Telvarine.vxr");
        if (listed == std::vector<std::string>{"Telvarine.vxr", "a.vxz"} && a == testfiles::readFile(oldDir / "a.vxz")
            && family == testfiles::readFile(oldDir / "Telvarine.vxr"))
            return Content::Old;
        if (listed == std::vector<std::string>{"Telvarine.vxr", "a.vxz", "b.vxz"}
            && a == testfiles::readFile(newDir / "a.vxz")
            && family == testfiles::readFile(newDir / "Telvarine.vxr")) {
            const char* added[] = {"b.vxz"};
            EXPECT_EQ(RPS_Get(store.c_str(), out.path().c_str(), added, 1), kRpsOk);
            if (testfiles::readFile(out / "b.vxz") == testfiles::readFile(newDir / "b.vxz"))
                return Content::New;
        }
        return Content::Mixed;
    }

    TempDir dir;
    TempDir oldDir;
    TempDir newDir;
    std::string pristine = dir / "pristine.vxt";
    std::string store = dir / "store.vxt";
};

TEST_F(RpsFaultTest, EveryFailedOrDyingWriteAndSyncLeavesTheOldContent)
{
    // The writes and syncs one clean put takes; each is made to go wrong in turn.
    resetStore();
    {
        UseFaultVfs vfs(Plan{});
        ASSERT_EQ(putNew(), kRpsOk);
    }
    const int writes = FaultVfs::instance().writes();
    const int syncs = FaultVfs::instance().syncs();
    ASSERT_GT(writes, 3);
    ASSERT_GT(syncs, 1);
    ASSERT_EQ(content(), Content::New);

    struct Case {
        const char* what;
        bool atSync;                    // counts syncs, not writes
        void (*arm)(Plan&, int n);
        bool (*resultOk)(int rc);       // nullptr: the process "died", its result is moot
    };
    const Case cases[] = {
        {"failed write", false, [](Plan& p, int n) { p.failWriteAt = n; },
         [](int rc) { return rpsErrorClass(rc) == kRpsClassIo; }},
        // A full disk stays full, even for the rollback.
        {"full disk from write", false,
         [](Plan& p, int n) {
             p.failWriteAt = n;
             p.writeError = SQLITE_FULL;
             p.sticky = true;
         },
         [](int rc) { return rc == kRpsErrFullStore; }},
        {"failed sync", true, [](Plan& p, int n) { p.failSyncAt = n; }, [](int rc) { return rc != kRpsOk; }},
        // The commit point is the removal of the journal, after the last
        // write and sync; a process that dies at any of them must leave a
        // journal that rolls the store back on the next open.
        {"death at write", false, [](Plan& p, int n) { p.crashAtWrite = n; }, nullptr},
        {"death at sync", true, [](Plan& p, int n) { p.crashAtSync = n; }, nullptr},
    };
    for (const Case& c : cases) {
        for (int n = 1; n <= (c.atSync ? syncs : writes); ++n) {
            SCOPED_TRACE(std::string(c.what) + " " + std::to_string(n));
            resetStore();
            Plan plan;
            c.arm(plan, n);
            int rc;
            {
                UseFaultVfs vfs(plan);
                rc = putNew();
                EXPECT_TRUE(c.resultOk != nullptr || FaultVfs::instance().crashed());
            }
            EXPECT_TRUE(c.resultOk == nullptr || c.resultOk(rc)) << rc;
            const Content found = content();
            EXPECT_EQ(found, Content::Old) << describe(found);
        }
    }
}

TEST_F(RpsFaultTest, FailedCompressKeepsTheContent)
{
    resetStore();
    const char* names[] = {"Telvarine.vxr"};
    ASSERT_EQ(RPS_Delete(store.c_str(), names, 1), kRpsOk);
    const std::string before = testfiles::readFile(store);
    for (int n : {1, 5, 12}) {
        SCOPED_TRACE(n);
        int rc;
        {
            UseFaultVfs vfs(Plan{n});
            rc = RPS_Compress(store.c_str());
        }
        EXPECT_NE(rc, kRpsOk);
        EXPECT_EQ(RPS_Check(store.c_str()), kRpsOk);
        TempDir out;
        const char* kept[] = {"a.vxz"};
        ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), kept, 1), kRpsOk);
        EXPECT_EQ(testfiles::readFile(out / "a.vxz"), testfiles::readFile(oldDir / "a.vxz"));
    }
}

TEST_F(RpsFaultTest, FailedCreateLeavesNoFile)
{
    for (int n = 1; n <= 3; ++n) {
        SCOPED_TRACE(n);
        TempDir empty;
        int rc;
        {
            Plan plan;
            plan.failWriteAt = n;
            plan.writeError = SQLITE_FULL;
            plan.sticky = true;
            UseFaultVfs vfs(plan);
            rc = RPS_Create((empty / "new.vxt").c_str());
        }
        EXPECT_EQ(rc, kRpsErrFullStore);
        EXPECT_TRUE(empty.entries().empty());
    }
}

}  // namespace
