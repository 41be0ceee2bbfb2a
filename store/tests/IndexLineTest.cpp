// Index lines byte for byte, their work-file writers and the family files.
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "StoreFixture.h"
#include "core/AppData.h"
#include "platform/FileLock.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/IndexLineFile.h"

namespace {

const std::vector<std::string> kDictationFields = {
    "00000012", "0", "0", "", "Call the bank", "", "second text", "22/11/2026 10:00:00",
    "22/11/2026 10:05:00", "00:05:00", "", "3"};

}  // namespace

// Blanks inside a field travel as 0xAC; the fields, one space each, then
// blanks to 400 and a line end; the columns rebuild the same line.
TEST(IndexLine, IsFourHundredCharactersAndALineEndAndItsColumnsRebuildIt)
{
    const std::string line = indexline::build(kDictationFields);
    const std::string fields =
        "00000012 0 0  Call\xAC" "the\xAC" "bank  second\xAC" "text 22/11/2026\xAC" "10:00:00 "
        "22/11/2026\xAC" "10:05:00 00:05:00  3 ";
    ASSERT_EQ(line.size(), 401u);
    EXPECT_EQ(line, fields + std::string(400 - fields.size(), ' ') + "\n");

    const std::vector<std::string> columns = indexline::fields(line);
    ASSERT_EQ(columns.size(), 14u);
    std::vector<std::string> expected = kDictationFields;  // empty fields keep the numbering
    expected[4] = "Call\xAC" "the\xAC" "bank";
    expected[6] = "second\xAC" "text";
    expected[7] = "22/11/2026\xAC" "10:00:00";
    expected[8] = "22/11/2026\xAC" "10:05:00";
    expected.resize(14);
    EXPECT_EQ(columns, expected);
    EXPECT_EQ(indexline::showField(columns[4]), "Call the bank");
    EXPECT_EQ(indexline::fromColumns(columns), line);
    EXPECT_EQ(indexline::recIdText(7), "00000007");
}

TEST(IndexLine, LineBreaksNeverSplitTheRecordAndLongFieldsAreNotCut)
{
    std::vector<std::string> fields = kDictationFields;
    fields[6] = "first line\r\nsecond\nthird\r";
    std::string line = indexline::build(fields);
    EXPECT_EQ(line.size(), 401u);
    EXPECT_EQ(line.find('\n'), 400u);
    EXPECT_EQ(line.find('\r'), std::string::npos);
    EXPECT_EQ(indexline::field(line, 7), "first\xAC" "line\xAC\xAC" "second\xAC" "third\xAC");
    EXPECT_EQ(indexline::field(line, 8), "22/11/2026\xAC" "10:00:00");

    fields[4] = std::string(390, 'x');
    line = indexline::build(fields);
    EXPECT_GT(line.size(), 401u);
    EXPECT_EQ(line.substr(line.size() - 3), "3 \n");
}

class LineFileTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string path(const char* name) const { return dir.path().toStdString() + "/" + name; }
};

TEST_F(LineFileTest, RewriteWritesAtTheStartAndKeepsALongerTail)
{
    const std::string file = path("a.vxl");
    writeAll(file, std::string(500, 'z'));
    const std::string line = indexline::build(kDictationFields);
    ASSERT_EQ(indexlinefile::rewriteFromColumns(file, indexline::fields(line)), 1);
    const std::string content = readAll(file);
    ASSERT_EQ(content.size(), 500u);
    EXPECT_EQ(content.substr(0, 401), line);
    EXPECT_EQ(content.substr(401), std::string(99, 'z'));
    EXPECT_EQ(indexlinefile::rewriteFromColumns(path("missing/a.vxl"), {}), 0);
}

TEST_F(LineFileTest, AppendLocksFromTheEndForEndPlusALine)
{
    EXPECT_EQ(indexlinefile::appendLockRange(0), (std::pair<long long, long long>(0, 401)));
    EXPECT_EQ(indexlinefile::appendLockRange(802), (std::pair<long long, long long>(802, 1203)));

    const std::string file = path("p.vxl");
    const std::string line = indexline::build(kDictationFields);
    ASSERT_EQ(indexlinefile::appendLocked(file, line), 1);
    ASSERT_EQ(indexlinefile::appendLocked(file, line), 1);
    EXPECT_EQ(readAll(file), line + line);

    // Someone else holding bytes inside the range keeps the writer out.
    std::FILE* other = std::fopen(file.c_str(), "r+b");
    ASSERT_NE(other, nullptr);
    {
        FileRangeLock held(other, 1000, 1);
        ASSERT_TRUE(held.ok());
        EXPECT_EQ(indexlinefile::appendLocked(file, line), 0);
    }
    std::fclose(other);
    EXPECT_EQ(indexlinefile::appendLocked(file, line), 1);
    EXPECT_EQ(readAll(file).size(), 3 * 401u);
}

TEST_F(LineFileTest, ReadLineByTypeAndPosition)
{
    const std::string line12 = indexline::build(kDictationFields);
    std::vector<std::string> other = kDictationFields;
    other[0] = "00000013";
    const std::string line13 = indexline::build(other);
    writeAll(path("Telvarine.vxr"), std::string(400, ' ') + "\n" + line12 + line13.substr(0, 200));
    writeAll(path("Telvarine.vxp"), line13);
    const std::string ws = dir.path().toStdString();

    EXPECT_EQ(family::readLine(ws, "00000012", 0, 401), line12);
    EXPECT_EQ(family::readLine(ws, "12", 5, 401), line12);
    EXPECT_EQ(family::readLine(ws, "00000013", 3, 0), line13);
    EXPECT_EQ(family::readLine(ws, "00000013", 0, 401), "LOST");   // another record there
    EXPECT_EQ(family::readLine(ws, "00000013", 0, 802), "LOST");   // cut short
    EXPECT_EQ(family::readLine(ws, "00000013", 0, 4010), "LOST");  // beyond the end
    EXPECT_EQ(family::readLine(ws, "00000013", 1, 0), "LOST");     // no meeting file
    for (int type : {6, 7, 8, 17, -1})
        EXPECT_EQ(family::readLine(ws, "00000012", type, 401), "BAD") << type;

    EXPECT_TRUE(family::markDeleted(path("Telvarine.vxr"), "00000012", 401));
    EXPECT_EQ(family::readLine(ws, "00000012", 0, 401), "LOST");
    EXPECT_EQ(readAll(path("Telvarine.vxr")).substr(401, 9), "99999999 ");
    EXPECT_FALSE(family::markDeleted(path("Telvarine.vxr"), "00000012", 401));
}

// TMPDIR for the test's lifetime.
struct TemporaryFolderIs {
    explicit TemporaryFolderIs(const QByteArray& folder) { qputenv("TMPDIR", folder); }
    ~TemporaryFolderIs()
    {
        if (saved.isNull())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", saved);
    }
    const QByteArray saved = qgetenv("TMPDIR");
};

TEST(Workspace, PrivateFolderClearedByPatternAndRemoved)
{
    AppData app;
    ASSERT_EQ(workspace::Workspace(app, workspace::kCreate, "*.*"), 0);
    ASSERT_FALSE(app.TempDir.empty());
    EXPECT_NE(app.TempDir.find("Telvarine"), std::string::npos);
    EXPECT_EQ(fileMode(app.TempDir), 0700u);
    for (const char* name : {"a.vxz", "b.vxz", "Telvarine.vxr", "buffer"})
        writeAll(app.TempDir + "/" + name, "x");
    workspace::Workspace(app, workspace::kClear, "*.vxz");
    EXPECT_FALSE(std::filesystem::exists(app.TempDir + "/a.vxz"));
    EXPECT_TRUE(std::filesystem::exists(app.TempDir + "/Telvarine.vxr"));
    workspace::Workspace(app, workspace::kClear, "*.*");
    EXPECT_FALSE(std::filesystem::exists(app.TempDir + "/buffer"));  // no dot, still matched
    workspace::Workspace(app, workspace::kRemove, "*.*");
    EXPECT_FALSE(std::filesystem::exists(app.TempDir));
}

// A Navo killed while it ran leaves its workspace behind; the next one to
// start removes it, and nothing that a running process or another user holds.
TEST(Workspace, NextStartRemovesTheWorkspacesOfEndedNavosOnly)
{
    namespace fs = std::filesystem;
    QTemporaryDir tmp;
    const TemporaryFolderIs temporary(tmp.path().toLocal8Bit());
    ::umask(022);
    AppData mine;
    ASSERT_EQ(workspace::Workspace(mine, workspace::kCreate, "*.*"), 0);
    ::umask(022);

    // A child makes a workspace and reports it; it then ends without any
    // clean-up, or waits until its pipe closes.
    auto spawn = [](bool stay, pid_t* pid, int* release) {
        int report[2];
        int hold[2];
        if (::pipe(report) != 0 || ::pipe(hold) != 0)
            return std::string();
        *pid = ::fork();
        if (*pid == 0) {
            ::close(report[0]);
            ::close(hold[1]);
            AppData child;
            if (workspace::Workspace(child, workspace::kCreate, "*.*") != 0)
                _exit(3);
            writeAll(child.TempDir + "/Telvarine.vxi", "index copy");
            (void)!::write(report[1], child.TempDir.data(), child.TempDir.size());
            ::close(report[1]);
            char c;
            if (stay)
                (void)!::read(hold[0], &c, 1);
            _exit(0);
        }
        ::close(report[1]);
        ::close(hold[0]);
        *release = hold[1];
        char buffer[4096];
        const ssize_t n = ::read(report[0], buffer, sizeof buffer);
        ::close(report[0]);
        return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
    };
    pid_t deadPid = 0;
    pid_t livePid = 0;
    int deadRelease = -1;
    int liveRelease = -1;
    const std::string dead = spawn(false, &deadPid, &deadRelease);
    const std::string live = spawn(true, &livePid, &liveRelease);
    ASSERT_FALSE(dead.empty());
    ASSERT_FALSE(live.empty());
    int status = 0;
    ASSERT_EQ(::waitpid(deadPid, &status, 0), deadPid);

    // This process's own workspace, its owner file naming the ended child as
    // a reused process id would: the lock it holds still keeps it.
    writeAll(mine.TempDir + "/" + workspace::kOwnerFile, std::to_string(deadPid) + "\n");
    // One left by an older Navo, which names no owner, and one of another user.
    const std::string older = tmp.path().toStdString() + "/Telvarine0ABC";
    const std::string foreign = tmp.path().toStdString() + "/TelvarineBEEF";
    fs::create_directory(older);
    fs::create_directory(foreign);
    writeAll(foreign + "/" + workspace::kOwnerFile, std::to_string(deadPid) + "\n");
    const bool canGiveAway = ::chown(foreign.c_str(), 65534, 65534) == 0;

    AppData next;
    ASSERT_EQ(workspace::Workspace(next, workspace::kCreate, "*.*"), 0);
    EXPECT_FALSE(fs::exists(dead));
    EXPECT_TRUE(fs::exists(live + "/Telvarine.vxi"));
    EXPECT_TRUE(fs::exists(mine.TempDir));
    EXPECT_TRUE(fs::exists(older));
    if (canGiveAway) {
        EXPECT_TRUE(fs::exists(foreign));
    }

    // What the workspace's process makes is its owner's alone.
    writeAll(next.TempDir + "/xbuffer.wav", "x");
    fs::create_directory(next.TempDir + "/kept");
    EXPECT_EQ(fileMode(next.TempDir + "/xbuffer.wav"), 0600u);
    EXPECT_EQ(fileMode(next.TempDir + "/kept"), 0700u);

    // Once the other child has ended, its workspace goes too.
    ::close(liveRelease);
    ::close(deadRelease);
    ASSERT_EQ(::waitpid(livePid, &status, 0), livePid);
    AppData third;
    ASSERT_EQ(workspace::Workspace(third, workspace::kCreate, "*.*"), 0);
    EXPECT_FALSE(fs::exists(live));
    EXPECT_TRUE(fs::exists(mine.TempDir));

    for (AppData* app : {&mine, &next, &third})
        workspace::Workspace(*app, workspace::kRemove, "*.*");
    EXPECT_FALSE(fs::exists(mine.TempDir));
}

TEST(Workspace, UnusableTemporaryFolderIsError119)
{
    const TemporaryFolderIs temporary("/nonexistent/navo-test-tmp");
    AppData app;
    EXPECT_EQ(workspace::Workspace(app, workspace::kCreate, "*.*"), 119);
    EXPECT_TRUE(app.TempDir.empty());
}
