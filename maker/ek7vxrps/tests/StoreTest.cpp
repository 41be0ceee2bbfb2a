// The data store against real SQLite files on disk: round trips at the chunk
// boundaries, all-or-nothing puts, gets and deletes, files that are not
// stores, memory use with a large member, and a store held by someone else.

#include "FaultVfs.h"
#include "TestFiles.h"

#include "maker/ek7vxrps/ek7vxrps.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

using testfiles::TempDir;
using testfiles::exists;
using testfiles::readFile;
using testfiles::writeFile;

namespace {

class RpsStoreTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(RPS_Create(store.c_str()), kRpsOk); }

    // Puts name with the given content through the source folder.
    int putText(const std::string& name, const std::string& content)
    {
        writeFile(src / name, content);
        const char* names[] = {name.c_str()};
        return RPS_Put(store.c_str(), src.path().c_str(), names, 1);
    }

    // The member's content, or "<missing>".
    std::string member(const std::string& name)
    {
        TempDir out;
        const char* names[] = {name.c_str()};
        if (RPS_Get(store.c_str(), out.path().c_str(), names, 1) != kRpsOk)
            return "<missing>";
        return readFile(out / name);
    }

    TempDir dir;
    TempDir src;
    std::string store = dir / "data.vxt";
};

TEST_F(RpsStoreTest, NewStoreIsEmptyPrivateAndSingleFile)
{
    std::vector<std::string> names{"x"};
    EXPECT_EQ(RPS_List(store.c_str(), &names), kRpsOk);
    EXPECT_TRUE(names.empty());
    EXPECT_EQ(testfiles::modeOf(store), 0600u);
    // No journal, no temporary name: the folder holds the store and nothing else.
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"data.vxt"});
    EXPECT_EQ(RPS_Check(store.c_str()), kRpsOk);

    EXPECT_EQ(RPS_Create(store.c_str()), kRpsErrExists);
    EXPECT_EQ(RPS_Create((dir / "no-such-folder/x.vxt").c_str()), kRpsErrCannotCreate);
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"data.vxt"});
}

TEST_F(RpsStoreTest, RoundTripAtChunkBoundaries)
{
    // Sizes around the 32 KiB pieces members are stored in.
    const std::vector<std::pair<std::string, std::size_t>> members = {
        {"empty", 0}, {"one", 1}, {"chunk", 32 * 1024}, {"chunk+1", 32 * 1024 + 1},
        {"chunk-1", 32 * 1024 - 1}, {"several.wav", 3 * 32 * 1024 + 17}};
    std::vector<const char*> names;
    for (const auto& [name, size] : members) {
        testfiles::writePatternFile(src / name, testfiles::seedOf(name), size);
        names.push_back(name.c_str());
    }
    ASSERT_EQ(RPS_Put(store.c_str(), src.path().c_str(), names.data(), static_cast<int>(names.size())), kRpsOk);

    TempDir out;
    ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), names.data(), static_cast<int>(names.size())), kRpsOk);
    for (const auto& [name, size] : members) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(testfiles::fileMatchesPattern(out / name, testfiles::seedOf(name), size));
        EXPECT_EQ(testfiles::modeOf(out / name), 0600u);
        std::uint64_t stored = 99;
        EXPECT_EQ(RPS_MemberSize(store.c_str(), name.c_str(), &stored), kRpsOk);
        EXPECT_EQ(stored, size);
        EXPECT_EQ(RPS_Exists(store.c_str(), name.c_str()), 0);
    }
    // Nothing but the members: no temporary names left behind.
    EXPECT_EQ(out.entries().size(), members.size());

    std::vector<std::string> listed;
    ASSERT_EQ(RPS_List(store.c_str(), &listed), kRpsOk);
    EXPECT_EQ(listed, (std::vector<std::string>{"chunk", "chunk+1", "chunk-1", "empty", "one", "several.wav"}));
    EXPECT_EQ(RPS_Exists(store.c_str(), "absent"), 1);
    std::uint64_t size = 0;
    EXPECT_EQ(RPS_MemberSize(store.c_str(), "absent", &size), kRpsErrMemberMissing);
}

TEST_F(RpsStoreTest, PutReplacesOnlyTheNamedMembers)
{
    ASSERT_EQ(putText("a", "first a"), kRpsOk);
    ASSERT_EQ(putText("b", "first b"), kRpsOk);
    ASSERT_EQ(putText("a", "second a, longer than before"), kRpsOk);
    EXPECT_EQ(member("a"), "second a, longer than before");
    EXPECT_EQ(member("b"), "first b");

    // An existing file in the target folder is replaced by the member.
    TempDir out;
    writeFile(out / "a", "stale");
    const char* names[] = {"a"};
    ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), names, 1), kRpsOk);
    EXPECT_EQ(readFile(out / "a"), "second a, longer than before");
}

TEST_F(RpsStoreTest, LoadFileTakesAnyPathUnderAnyName)
{
    writeFile(dir / "elsewhere.bin", "loaded");
    ASSERT_EQ(RPS_LoadFile(store.c_str(), (dir / "elsewhere.bin").c_str(), "Telvarine.vxa"), kRpsOk);
    EXPECT_EQ(member("Telvarine.vxa"), "loaded");
    EXPECT_EQ(RPS_LoadFile(store.c_str(), (dir / "nope").c_str(), "x"), kRpsErrSourceMissing);
    EXPECT_EQ(RPS_LoadFile(store.c_str(), (dir / "elsewhere.bin").c_str(), "../x"), kRpsErrBadName);
}

TEST_F(RpsStoreTest, FailedPutChangesNothing)
{
    ASSERT_EQ(putText("a", "old a"), kRpsOk);
    writeFile(src / "a", "new a");
    ::mkdir((src / "folder").c_str(), 0700);

    const char* missing[] = {"a", "not-there"};
    EXPECT_EQ(RPS_Put(store.c_str(), src.path().c_str(), missing, 2), kRpsErrSourceMissing);
    const char* folder[] = {"a", "folder"};
    EXPECT_EQ(RPS_Put(store.c_str(), src.path().c_str(), folder, 2), kRpsErrSourceNotFile);
    const char* climbing[] = {"a", "../a"};
    EXPECT_EQ(RPS_Put(store.c_str(), src.path().c_str(), climbing, 2), kRpsErrBadName);

    EXPECT_EQ(member("a"), "old a");
    std::vector<std::string> listed;
    ASSERT_EQ(RPS_List(store.c_str(), &listed), kRpsOk);
    EXPECT_EQ(listed, std::vector<std::string>{"a"});
}

TEST_F(RpsStoreTest, FailedGetWritesNothing)
{
    ASSERT_EQ(putText("a", "content"), kRpsOk);
    TempDir out;
    const char* names[] = {"a", "missing"};
    EXPECT_EQ(RPS_Get(store.c_str(), out.path().c_str(), names, 2), kRpsErrMemberMissing);
    EXPECT_TRUE(out.entries().empty());

    for (const char* bad : {"", ".", "..", "../a", "a/b", "/etc/passwd"}) {
        SCOPED_TRACE(bad);
        const char* one[] = {bad};
        EXPECT_EQ(RPS_Get(store.c_str(), out.path().c_str(), one, 1), kRpsErrBadName);
        EXPECT_EQ(RPS_Exists(store.c_str(), bad), kRpsErrBadName);
    }
    EXPECT_TRUE(out.entries().empty());
    EXPECT_FALSE(exists(dir / "a"));

    const char* one[] = {"a"};
    EXPECT_EQ(RPS_Get(store.c_str(), (out / "no-such-folder").c_str(), one, 1), kRpsErrIoExtract);
}

TEST_F(RpsStoreTest, DeleteIsAllOrNothing)
{
    ASSERT_EQ(putText("a", "a"), kRpsOk);
    ASSERT_EQ(putText("b", "b"), kRpsOk);
    const char* withMissing[] = {"a", "missing"};
    EXPECT_EQ(RPS_Delete(store.c_str(), withMissing, 2), kRpsErrMemberMissing);
    EXPECT_EQ(RPS_Exists(store.c_str(), "a"), 0);

    const char* both[] = {"a", "b"};
    EXPECT_EQ(RPS_Delete(store.c_str(), both, 2), kRpsOk);
    std::vector<std::string> listed{"x"};
    ASSERT_EQ(RPS_List(store.c_str(), &listed), kRpsOk);
    EXPECT_TRUE(listed.empty());
}

TEST_F(RpsStoreTest, NullOrNegativeArgumentsAreRefusedAndChangeNothing)
{
    ASSERT_EQ(putText("a", "kept"), kRpsOk);
    const char* s = store.c_str();
    const char* f = src.path().c_str();
    const char* one[] = {"a"};
    const char* withNull[] = {"a", nullptr};
    const std::uint64_t grown[] = {0, 0};
    std::uint64_t size = 0;
    const std::vector<std::pair<const char*, std::function<int()>>> calls = {
        {"Create", [] { return RPS_Create(nullptr); }},
        {"Put without store", [&] { return RPS_Put(nullptr, f, one, 1); }},
        {"Put without folder", [&] { return RPS_Put(s, nullptr, one, 1); }},
        {"Put a null name", [&] { return RPS_Put(s, f, withNull, 2); }},
        {"Put a negative count", [&] { return RPS_Put(s, f, one, -1); }},
        {"PutGrown without lengths", [&] { return RPS_PutGrown(s, f, one, nullptr, 1); }},
        {"Update without removed names", [&] { return RPS_Update(s, f, one, grown, 1, nullptr, 1); }},
        {"Get without names", [&] { return RPS_Get(s, f, nullptr, 1); }},
        {"Delete a null name", [&] { return RPS_Delete(s, withNull, 2); }},
        {"Info", [&] { return RPS_Info(s, nullptr); }},
        {"LoadFile", [&] { return RPS_LoadFile(s, nullptr, "b"); }},
        {"Exists", [&] { return RPS_Exists(s, nullptr); }},
        {"MemberSize", [&] { return RPS_MemberSize(s, "a", nullptr); }},
        {"MemberSize without name", [&] { return RPS_MemberSize(s, nullptr, &size); }},
        {"List", [&] { return RPS_List(s, nullptr); }},
        {"Compress", [] { return RPS_Compress(nullptr); }},
        {"Check", [] { return RPS_Check(nullptr); }},
    };
    for (const auto& [what, call] : calls)
        EXPECT_EQ(call(), kRpsErrInvalidArgument) << what;
    EXPECT_EQ(member("a"), "kept");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"data.vxt"});
}

TEST_F(RpsStoreTest, CompressGivesFreeSpaceBack)
{
    testfiles::writePatternFile(src / "big", 7, 2 * 1024 * 1024);
    ASSERT_EQ(putText("small", "kept"), kRpsOk);
    const char* big[] = {"big"};
    ASSERT_EQ(RPS_Put(store.c_str(), src.path().c_str(), big, 1), kRpsOk);
    ASSERT_EQ(RPS_Delete(store.c_str(), big, 1), kRpsOk);

    _RPS_Info_4 before{};
    ASSERT_EQ(RPS_Info(store.c_str(), &before), kRpsOk);
    EXPECT_GE(before.reclaimable, 2u * 1024 * 1024);
    EXPECT_LE(before.reclaimable, before.size);
    struct stat st {};
    ASSERT_EQ(::stat(store.c_str(), &st), 0);
    EXPECT_EQ(before.size, static_cast<std::uint64_t>(st.st_size));

    ASSERT_EQ(RPS_Compress(store.c_str()), kRpsOk);
    _RPS_Info_4 after{};
    ASSERT_EQ(RPS_Info(store.c_str(), &after), kRpsOk);
    EXPECT_EQ(after.reclaimable, 0u);
    EXPECT_LE(after.size + 2u * 1024 * 1024, before.size);
    EXPECT_EQ(member("small"), "kept");
    // Vacuuming keeps the marker that makes the file a store.
    EXPECT_EQ(RPS_Check(store.c_str()), kRpsOk);
    EXPECT_EQ(testfiles::modeOf(store), 0600u);
}

// --- Members in pieces ------------------------------------------------------

// Writes to the store and its journal during one call, counted by the test VFS.
template <typename Call>
int writesOf(Call call)
{
    faultvfs::FaultVfs::instance();
    faultvfs::UseFaultVfs vfs(faultvfs::Plan{});
    EXPECT_EQ(call(), kRpsOk);
    return faultvfs::FaultVfs::instance().writes();
}

TEST_F(RpsStoreTest, ChangesCostWhatChangedNotTheMemberSize)
{
    // A family file of 10,000 lines (4 MB, over a thousand pages).
    const std::string name = "Telvarine.vxr";
    std::string family = testfiles::patternBytes(1, 10000 * 401);
    writeFile(src / name, family);
    const char* names[] = {name.c_str()};
    const int whole = writesOf([&] { return RPS_Put(store.c_str(), src.path().c_str(), names, 1); });
    ASSERT_GT(whole, 1000);

    // One more line: only the end is written.
    std::uint64_t grownFrom = family.size();
    family += testfiles::patternBytes(2, 401);
    writeFile(src / name, family);
    EXPECT_LT(writesOf([&] { return RPS_PutGrown(store.c_str(), src.path().c_str(), names, &grownFrom, 1); }), 40);
    EXPECT_EQ(member(name), family);

    // A line marked deleted in the middle, put whole: compared piece by
    // piece, one piece written.
    family.replace(5000 * 401, 8, "99999999");
    writeFile(src / name, family);
    EXPECT_LT(writesOf([&] { return RPS_Put(store.c_str(), src.path().c_str(), names, 1); }), 40);
    EXPECT_EQ(member(name), family);

    // A hint that does not match the stored length (the workspace copy was
    // rewritten shorter meanwhile) falls back to the comparison.
    family.resize(3000 * 401);
    family += testfiles::patternBytes(3, 401);
    writeFile(src / name, family);
    grownFrom = 3000 * 401;
    ASSERT_EQ(RPS_PutGrown(store.c_str(), src.path().c_str(), names, &grownFrom, 1), kRpsOk);
    EXPECT_EQ(member(name), family);
    std::uint64_t size = 0;
    ASSERT_EQ(RPS_MemberSize(store.c_str(), name.c_str(), &size), kRpsOk);
    EXPECT_EQ(size, family.size());
    EXPECT_EQ(RPS_Check(store.c_str()), kRpsOk);
}

TEST_F(RpsStoreTest, FirstFormatStoreIsReadAndMovesIntoPiecesOnWrite)
{
    // A store as the first format made it: every member whole in one row.
    const std::string old = dir / "old.vxt";
    const std::string family = testfiles::patternBytes(4, 100 * 1024 + 5);
    {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(old.c_str(), &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db,
                               "PRAGMA application_id=1448629297; PRAGMA user_version=1;"
                               "CREATE TABLE rps_member(name TEXT NOT NULL UNIQUE, data BLOB NOT NULL);"
                               "INSERT INTO rps_member VALUES('rec.vxz', x'0102030405');",
                               nullptr, nullptr, nullptr),
                  SQLITE_OK);
        sqlite3_stmt* st = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(db, "INSERT INTO rps_member VALUES('Telvarine.vxr', ?1)", -1, &st, nullptr),
                  SQLITE_OK);
        sqlite3_bind_blob(st, 1, family.data(), static_cast<int>(family.size()), SQLITE_STATIC);
        ASSERT_EQ(sqlite3_step(st), SQLITE_DONE);
        sqlite3_finalize(st);
        sqlite3_close(db);
    }
    ASSERT_EQ(::chmod(old.c_str(), 0400), 0);
    // Read as it is, even where it cannot be written.
    TempDir out;
    const char* both[] = {"Telvarine.vxr", "rec.vxz"};
    ASSERT_EQ(RPS_Get(old.c_str(), out.path().c_str(), both, 2), kRpsOk);
    EXPECT_EQ(readFile(out / "Telvarine.vxr"), family);
    EXPECT_EQ(readFile(out / "rec.vxz"), std::string("\x01\x02\x03\x04\x05"));
    ASSERT_EQ(::chmod(old.c_str(), 0600), 0);

    // The first write moves the grown member into pieces; the rest stays.
    const std::string grown = family + testfiles::patternBytes(5, 401);
    writeFile(src / "Telvarine.vxr", grown);
    const char* one[] = {"Telvarine.vxr"};
    const std::uint64_t grownFrom = family.size();
    ASSERT_EQ(RPS_PutGrown(old.c_str(), src.path().c_str(), one, &grownFrom, 1), kRpsOk);
    ASSERT_EQ(RPS_Get(old.c_str(), out.path().c_str(), both, 2), kRpsOk);
    EXPECT_EQ(readFile(out / "Telvarine.vxr"), grown);
    EXPECT_EQ(readFile(out / "rec.vxz"), std::string("\x01\x02\x03\x04\x05"));
    std::uint64_t size = 0;
    ASSERT_EQ(RPS_MemberSize(old.c_str(), "Telvarine.vxr", &size), kRpsOk);
    EXPECT_EQ(size, grown.size());
    const char* rec[] = {"rec.vxz"};
    EXPECT_EQ(RPS_Delete(old.c_str(), rec, 1), kRpsOk);
    EXPECT_EQ(RPS_Check(old.c_str()), kRpsOk);
}

// --- Files that are not stores -------------------------------------------

class RpsNotAStoreTest : public ::testing::Test {
protected:
    // Every call must refuse the file with the expected code and leave its
    // bytes exactly as they were (a missing file missing).
    void expectRefused(const std::string& path, int expected)
    {
        const std::string before = readFile(path);
        writeFile(src / "m", "data");
        const char* names[] = {"m"};
        EXPECT_EQ(RPS_Put(path.c_str(), src.path().c_str(), names, 1), expected);
        EXPECT_EQ(RPS_Get(path.c_str(), src.path().c_str(), names, 1), expected);
        EXPECT_EQ(RPS_Exists(path.c_str(), "m"), expected);
        EXPECT_EQ(RPS_Delete(path.c_str(), names, 1), expected);
        EXPECT_EQ(RPS_Compress(path.c_str()), expected);
        EXPECT_EQ(RPS_Check(path.c_str()), expected);
        _RPS_Info_4 info{};
        EXPECT_EQ(RPS_Info(path.c_str(), &info), expected);
        EXPECT_EQ(readFile(path), before);
        EXPECT_FALSE(exists(path + "-journal"));
    }

    TempDir dir;
    TempDir src;
};

TEST_F(RpsNotAStoreTest, TextEmptyAndFolderAreNotDatabases)
{
    for (const char* text : {"Dear diary, this is not a data store.\n", "", "SQLite form"}) {
        SCOPED_TRACE(text);
        writeFile(dir / "text.vxt", text);
        expectRefused(dir / "text.vxt", kRpsErrNotSqlite);
    }
    ::mkdir((dir / "folder.vxt").c_str(), 0700);
    EXPECT_EQ(RPS_Check((dir / "folder.vxt").c_str()), kRpsErrNotSqlite);
}

TEST_F(RpsNotAStoreTest, ForeignDatabasesAreRefused)
{
    const std::string path = dir / "other.db";
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE rps_member(name TEXT, data BLOB)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    // Right table name, but not marked as a store.
    expectRefused(path, kRpsErrForeign);
}

TEST_F(RpsNotAStoreTest, TruncatedOrScribbledStoreIsDamaged)
{
    const std::string path = dir / "cut.vxt";
    ASSERT_EQ(RPS_Create(path.c_str()), kRpsOk);
    testfiles::writePatternFile(src / "big", 3, 600 * 1024);
    const char* names[] = {"big"};
    ASSERT_EQ(RPS_Put(path.c_str(), src.path().c_str(), names, 1), kRpsOk);
    ASSERT_EQ(::truncate(path.c_str(), 300 * 1024), 0);
    expectRefused(path, kRpsErrDamaged);

    // A page of the schema overwritten with noise.
    const std::string scribbled = dir / "scribbled.vxt";
    ASSERT_EQ(RPS_Create(scribbled.c_str()), kRpsOk);
    std::string bytes = readFile(scribbled);
    ASSERT_GE(bytes.size(), 8192u);
    const std::string noise = testfiles::patternBytes(11, 4096 - 100);
    bytes.replace(100, noise.size(), noise);
    writeFile(scribbled, bytes);
    const int rc = RPS_Check(scribbled.c_str());
    EXPECT_EQ(rpsErrorClass(rc), kRpsClassNotStore) << rc;
}

TEST_F(RpsNotAStoreTest, MissingStoreIsNeverCreated)
{
    const std::string path = dir / "never.vxt";
    expectRefused(path, kRpsErrNoStore);
    EXPECT_EQ(RPS_LoadFile(path.c_str(), (src / "m").c_str(), "m"), kRpsErrNoStore);
    EXPECT_TRUE(dir.entries().empty());
}

// --- Memory and concurrency ----------------------------------------------

// Resets the peak resident memory (clear_refs 5); -1 when the kernel does not
// allow it.
long resetPeakRss()
{
    std::ofstream reset("/proc/self/clear_refs");
    reset << "5";
    reset.close();
    return reset ? 0 : -1;
}

// A "VmHWM:" (peak) or "VmRSS:" (current) figure of this process in KiB.
long rssKiB(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(field, 0) == 0)
            return std::stol(line.substr(field.size()));
    }
    return -1;
}

TEST_F(RpsStoreTest, LargeMemberIsStreamedNotLoaded)
{
    constexpr std::uint64_t kSize = 64ull * 1024 * 1024;
    testfiles::writePatternFile(src / "long.wav", 42, kSize);
    const char* names[] = {"long.wav"};
    TempDir out;

    if (resetPeakRss() != 0)
        GTEST_SKIP() << "cannot reset the peak RSS here";
    long base = rssKiB("VmRSS:");
    ASSERT_EQ(RPS_Put(store.c_str(), src.path().c_str(), names, 1), kRpsOk);
    const long putGrowth = rssKiB("VmHWM:") - base;

    resetPeakRss();
    base = rssKiB("VmRSS:");
    ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), names, 1), kRpsOk);
    const long getGrowth = rssKiB("VmHWM:") - base;

    // 64 MiB moved; a whole-member buffer would show up as 65536 KiB.
    EXPECT_LT(putGrowth, 12 * 1024) << "put grew RSS by " << putGrowth << " KiB";
    EXPECT_LT(getGrowth, 12 * 1024) << "get grew RSS by " << getGrowth << " KiB";
    EXPECT_TRUE(testfiles::fileMatchesPattern(out / "long.wav", 42, kSize));
}

TEST_F(RpsStoreTest, HeldStoreReportsBusyAndStaysIntact)
{
    ASSERT_EQ(putText("a", "old"), kRpsOk);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(store.c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);

    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(putText("a", "new"), kRpsErrBusy);
    // It waited for the other holder instead of failing at once.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));

    sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    EXPECT_EQ(member("a"), "old");
    EXPECT_EQ(putText("a", "new"), kRpsOk);
    EXPECT_EQ(member("a"), "new");
}

}  // namespace
