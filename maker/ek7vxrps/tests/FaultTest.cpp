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

    // Writes and syncs one clean put takes.
    void countCleanPut(int* writes, int* syncs)
    {
        resetStore();
        UseFaultVfs vfs(Plan{});
        ASSERT_EQ(putNew(), kRpsOk);
        *writes = FaultVfs::instance().writes();
        *syncs = FaultVfs::instance().syncs();
        ASSERT_GT(*writes, 3);
        ASSERT_GT(*syncs, 1);
    }

    TempDir dir;
    TempDir oldDir;
    TempDir newDir;
    std::string pristine = dir / "pristine.vxt";
    std::string store = dir / "store.vxt";
};

TEST_F(RpsFaultTest, FailedWriteLeavesTheOldContent)
{
    int writes = 0;
    int syncs = 0;
    countCleanPut(&writes, &syncs);
    for (int n = 1; n <= writes; ++n) {
        SCOPED_TRACE("write " + std::to_string(n));
        resetStore();
        int rc;
        {
            UseFaultVfs vfs(Plan{n});
            rc = putNew();
        }
        EXPECT_EQ(rpsErrorClass(rc), kRpsClassIo) << rc;
        EXPECT_EQ(content(), Content::Old);
    }
}

TEST_F(RpsFaultTest, FullDiskReportsDiskFullAndKeepsTheOldContent)
{
    int writes = 0;
    int syncs = 0;
    countCleanPut(&writes, &syncs);
    for (int n = 1; n <= writes; ++n) {
        SCOPED_TRACE("full from write " + std::to_string(n));
        resetStore();
        int rc;
        {
            Plan plan;
            plan.failWriteAt = n;
            plan.writeError = SQLITE_FULL;
            plan.sticky = true;  // a full disk stays full, even for the rollback
            UseFaultVfs vfs(plan);
            rc = putNew();
        }
        EXPECT_EQ(rc, kRpsErrFullStore);
        EXPECT_EQ(content(), Content::Old);
    }
}

TEST_F(RpsFaultTest, FailedSyncLeavesTheOldContent)
{
    int writes = 0;
    int syncs = 0;
    countCleanPut(&writes, &syncs);
    for (int n = 1; n <= syncs; ++n) {
        SCOPED_TRACE("sync " + std::to_string(n));
        resetStore();
        int rc;
        {
            Plan plan;
            plan.failSyncAt = n;
            UseFaultVfs vfs(plan);
            rc = putNew();
        }
        EXPECT_NE(rc, kRpsOk);
        EXPECT_EQ(content(), Content::Old);
    }
}

TEST_F(RpsFaultTest, DeathAtAnyWriteOrSyncRollsBack)
{
    int writes = 0;
    int syncs = 0;
    countCleanPut(&writes, &syncs);
    // The commit point is the removal of the journal, after the last write
    // and sync; a process that dies at any of them must leave a journal that
    // rolls the store back on the next open, whatever the put had reported.
    auto dieAt = [&](const Plan& plan, const std::string& where) {
        SCOPED_TRACE(where);
        resetStore();
        {
            UseFaultVfs vfs(plan);
            putNew();
            EXPECT_TRUE(FaultVfs::instance().crashed());
        }
        const Content found = content();
        EXPECT_EQ(found, Content::Old) << describe(found);
    };
    for (int n = 1; n <= writes; ++n) {
        Plan plan;
        plan.crashAtWrite = n;
        dieAt(plan, "death at write " + std::to_string(n));
    }
    for (int n = 1; n <= syncs; ++n) {
        Plan plan;
        plan.crashAtSync = n;
        dieAt(plan, "death at sync " + std::to_string(n));
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
