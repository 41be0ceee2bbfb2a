#include "platform/FileLock.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace {

class FileLock : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_path = QDir(m_dir.path()).filePath("Telvarine.vxd").toStdString();
        m_first = ::open(m_path.c_str(), O_RDWR | O_CREAT, 0644);
        m_second = ::open(m_path.c_str(), O_RDWR);
        ASSERT_GE(m_first, 0);
        ASSERT_GE(m_second, 0);
    }

    void TearDown() override
    {
        ::close(m_first);
        ::close(m_second);
    }

    QTemporaryDir m_dir;
    std::string m_path;
    int m_first = -1;
    int m_second = -1;
};

}  // namespace

TEST_F(FileLock, TwoHandlesInOneProcessConflictOnOverlappingRanges)
{
    ASSERT_EQ(LockFile(m_first, 100, 401), TRUE);
    EXPECT_EQ(LockFile(m_second, 500, 10), FALSE);  // overlaps the last byte, 500
    EXPECT_EQ(LockFile(m_second, 0, 101), FALSE);
    EXPECT_EQ(LockFile(m_second, 501, 10), TRUE);  // disjoint
    EXPECT_EQ(LockFile(m_second, 0, 100), TRUE);
    EXPECT_EQ(LockFile(m_first, 505, 1), FALSE);  // and the other way round

    EXPECT_EQ(UnlockFile(m_first, 100, 401), TRUE);
    EXPECT_EQ(LockFile(m_second, 100, 401), TRUE);  // unlock frees the range
}

TEST_F(FileLock, WholeFileLockAndFileOverloads)
{
    std::FILE* file = ::fdopen(::dup(m_first), "r+");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(LockFile(file, 0, ~std::uint64_t(0)), TRUE);  // "everything", past any end
    EXPECT_EQ(LockFile(m_second, std::uint64_t(1) << 40, 1), FALSE);
    EXPECT_EQ(UnlockFile(file, 0, ~std::uint64_t(0)), TRUE);
    EXPECT_EQ(LockFile(m_second, std::uint64_t(1) << 40, 1), TRUE);
    std::fclose(file);
    EXPECT_EQ(LockFile(static_cast<std::FILE*>(nullptr), 0, 1), FALSE);
    EXPECT_EQ(LockFile(-1, 0, 1), FALSE);
}

TEST_F(FileLock, RangeLockHoldsForItsLifetime)
{
    {
        FileRangeLock held(m_first, 0, 401);
        ASSERT_TRUE(held.ok());
        FileRangeLock refused(m_second, 400, 1);
        EXPECT_FALSE(refused.ok());
    }
    FileRangeLock again(m_second, 0, 401);
    EXPECT_TRUE(again.ok());
}

TEST_F(FileLock, AnotherProcessIsRefused)
{
    ASSERT_EQ(LockFile(m_first, 0, 401), TRUE);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const int fd = ::open(m_path.c_str(), O_RDWR);
        const bool overlapRefused = LockFile(fd, 400, 1) == FALSE;
        const bool disjointGranted = LockFile(fd, 401, 1) == TRUE;
        ::_exit(overlapRefused && disjointGranted ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
