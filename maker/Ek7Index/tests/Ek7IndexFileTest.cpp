#include "IndexFixture.h"

#include <sqlite3.h>

#include <filesystem>
#include <thread>
#include <vector>

namespace {

std::string notFound()
{
    return "<" + std::to_string(kEk7IndexNotFound) + ">";
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace

using FileTest = IndexTest;

TEST_F(FileTest, EmptyFileReadsAsEmptyIndexAndBecomesOneOnFirstAdd)
{
    std::vector<std::uint32_t> ids;
    int visits = 0;
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(Ek7IndexForEach(m_index.c_str(), [&](const Ek7IndexRow&) { return ++visits > 0; }),
              kEk7IndexOk);
    EXPECT_EQ(Ek7IndexSearch(m_index.c_str(), "anything", &ids), kEk7IndexOk);
    EXPECT_EQ(read(1), notFound());
    EXPECT_EQ(visits, 0);
    EXPECT_TRUE(ids.empty());
    EXPECT_EQ(std::filesystem::file_size(m_index), 0u);  // reading wrote nothing

    Ek7IndexEntry e = entry(1, "first");
    ASSERT_NE(Ek7IndexAdd(&e), 0) << Ek7IndexLastError();
    EXPECT_GT(std::filesystem::file_size(m_index), 0u);
    EXPECT_EQ(count(), 1u);
    EXPECT_FALSE(std::filesystem::exists(m_index + "-journal"));
}

TEST_F(FileTest, MissingFileIsNotCreatedExceptByCreate)
{
    const std::string missing = m_dir + "/Missing.vxi";
    Ek7IndexEntry e = entry(1, "x");
    e.storeLocation1 = missing.c_str();
    EXPECT_EQ(Ek7IndexAdd(&e), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexCannotOpen);
    std::uint64_t n = 7;
    EXPECT_EQ(Ek7IndexCount(missing.c_str(), &n), kEk7IndexCannotOpen);
    EXPECT_FALSE(std::filesystem::exists(missing));

    ASSERT_EQ(Ek7IndexCreate(missing.c_str()), kEk7IndexOk);
    EXPECT_EQ(Ek7IndexCount(missing.c_str(), &n), kEk7IndexOk);
    EXPECT_EQ(n, 0u);
    ASSERT_NE(Ek7IndexAdd(&e), 0);
    EXPECT_EQ(Ek7IndexCreate(missing.c_str()), kEk7IndexOk);  // an index stays as it is
    EXPECT_EQ(Ek7IndexCount(missing.c_str(), &n), kEk7IndexOk);
    EXPECT_EQ(n, 1u);
}

// Every call on a file that is not a sound index fails with a code and leaves
// the file byte for byte as it was.
class DamagedFileTest : public IndexTest {
protected:
    void expectEveryCallRefused(const char* what)
    {
        SCOPED_TRACE(what);
        const std::string before = bytesOf(m_index);
        Ek7IndexEntry e = entry(5, "words");

        EXPECT_EQ(Ek7IndexAdd(&e), 0);
        EXPECT_NE(Ek7IndexLastError(), kEk7IndexOk);
        EXPECT_EQ(Ek7IndexUpd(&e), 0);
        EXPECT_EQ(Ek7IndexSFS(&e), 0);
        EXPECT_EQ(Ek7IndexDel(&e), 0);
        EXPECT_EQ(Ek7IndexAddBatch(&e, 1), 0);
        const int readCode = Ek7IndexRead(5, m_index.c_str(), m_buffer) ? kEk7IndexOk
                                                                          : Ek7IndexLastError();
        EXPECT_TRUE(readCode == kEk7IndexNotAnIndex || readCode == kEk7IndexDamaged) << readCode;
        EXPECT_STREQ(m_buffer, "");
        std::uint64_t n = 0;
        std::vector<std::uint32_t> ids;
        EXPECT_NE(Ek7IndexCount(m_index.c_str(), &n), kEk7IndexOk);
        EXPECT_NE(Ek7IndexForEach(m_index.c_str(), [](const Ek7IndexRow&) { return true; }),
                  kEk7IndexOk);
        EXPECT_NE(Ek7IndexSearch(m_index.c_str(), "words", &ids), kEk7IndexOk);
        Ek7IndexQuery query;
        query.words = "words";
        std::vector<Ek7IndexHit> hits;
        EXPECT_NE(Ek7IndexFind(m_index.c_str(), query, &hits, &n), kEk7IndexOk);
        EXPECT_NE(Ek7IndexCreate(m_index.c_str()), kEk7IndexOk);

        EXPECT_EQ(bytesOf(m_index), before);
        EXPECT_FALSE(std::filesystem::exists(m_index + "-journal"));
    }

    char m_buffer[EK7_INDEX_RECORD_MAX];
};

TEST_F(DamagedFileTest, TextAndForeignFilesAreNotIndexes)
{
    writeFile(m_index, "00000001 0 0  Not\xAC" "an\xAC" "index\n");
    expectEveryCallRefused("text");
    writeFile(m_index, std::string("SQLite format 3\0\x10\0", 18));
    expectEveryCallRefused("SQLite header cut short");
    std::string noise(8192, '\0');
    for (std::size_t i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<char>((i * 2654435761u) >> 13);
    writeFile(m_index, noise);
    expectEveryCallRefused("noise");

    // A sound SQLite file that another program made.
    std::filesystem::remove(m_index);
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(m_index.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE entry(rec_id INTEGER PRIMARY KEY, x TEXT)", nullptr,
                           nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    expectEveryCallRefused("foreign SQLite");
}

TEST_F(DamagedFileTest, TruncatedIndexIsDamaged)
{
    std::vector<Ek7IndexEntry> entries;
    for (std::uint32_t id = 1; id <= 300; ++id)
        entries.push_back(entry(id, std::string(200, 'a' + id % 26) + " words", id * 401));
    ASSERT_NE(Ek7IndexAddBatch(entries.data(), entries.size()), 0);
    const std::string whole = bytesOf(m_index);
    ASSERT_GT(whole.size(), 16384u);

    writeFile(m_index, whole.substr(0, whole.size() / 2));
    expectEveryCallRefused("cut in half");
    writeFile(m_index, whole.substr(0, 4096 + 100));
    expectEveryCallRefused("one page and a bit");
}

TEST_F(FileTest, TwoWritersAtOnceBothLand)
{
    auto addRange = [this](std::uint32_t first) {
        for (std::uint32_t id = first; id < first + 100; ++id) {
            Ek7IndexEntry e{};
            e.storeLocation1 = m_index.c_str();
            e.recId = id;
            e.recordType = "3";
            e.startTime = "t";
            e.linePosition = id;
            EXPECT_NE(Ek7IndexAdd(&e), 0) << Ek7IndexLastError();
        }
    };
    std::thread a(addRange, 1);
    std::thread b(addRange, 1001);
    a.join();
    b.join();
    EXPECT_EQ(count(), 200u);
}

TEST_F(FileTest, HundredThousandEntriesListInRecIdOrder)
{
    // Added in descending order so that the listing has to do the sorting.
    std::vector<Ek7IndexEntry> entries;
    entries.reserve(100000);
    for (std::uint32_t id = 100000; id >= 1; --id) {
        Ek7IndexEntry e{};
        e.storeLocation1 = m_index.c_str();
        e.recId = id;
        e.recordType = id % 2 ? "0" : "3";
        e.startTime = "22/11/2026\xAC" "01:30:05";
        e.keywords = id == 77777 ? "needle" : "hay";
        e.linePosition = (id - 1) * 401;
        entries.push_back(e);
    }
    ASSERT_NE(Ek7IndexAddBatch(entries.data(), entries.size()), 0) << Ek7IndexLastError();

    std::uint32_t expected = 1;
    bool inOrder = true;
    ASSERT_EQ(Ek7IndexForEach(m_index.c_str(),
                              [&](const Ek7IndexRow& row) {
                                  inOrder = inOrder && row.recId == expected &&
                                            row.linePosition == (expected - 1) * 401;
                                  ++expected;
                                  return true;
                              }),
              kEk7IndexOk);
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(expected, 100001u);

    std::vector<std::uint32_t> ids;
    ASSERT_EQ(Ek7IndexSearch(m_index.c_str(), "needle", &ids), kEk7IndexOk);
    EXPECT_EQ(ids, std::vector<std::uint32_t>{77777});
    EXPECT_EQ(count(), 100000u);

    // The batch was the whole index, so its search rows were merged into one
    // piece; changes afterwards keep them in step all the same.
    Ek7IndexEntry gone = entry(77777, "");
    ASSERT_NE(Ek7IndexDel(&gone), 0);
    Ek7IndexEntry moved = entry(100001, "needle");
    ASSERT_NE(Ek7IndexAdd(&moved), 0);
    ASSERT_EQ(Ek7IndexSearch(m_index.c_str(), "needle", &ids), kEk7IndexOk);
    EXPECT_EQ(ids, std::vector<std::uint32_t>{100001});
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(m_index.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, "INSERT INTO entry_search(entry_search, rank) VALUES ('integrity-check', 1)",
                           nullptr, nullptr, nullptr),
              SQLITE_OK)
        << sqlite3_errmsg(db);
    sqlite3_close(db);

    // Stopping early stops.
    int visits = 0;
    ASSERT_EQ(Ek7IndexForEach(m_index.c_str(), [&](const Ek7IndexRow&) { return ++visits < 3; }),
              kEk7IndexOk);
    EXPECT_EQ(visits, 3);
}

TEST_F(FileTest, VisitorThatThrowsIsReportedNotPassedOn)
{
    Ek7IndexEntry e = entry(1, "x");
    ASSERT_NE(Ek7IndexAdd(&e), 0);
    EXPECT_EQ(Ek7IndexForEach(m_index.c_str(),
                              [](const Ek7IndexRow&) -> bool { throw std::runtime_error("x"); }),
              kEk7IndexVisitorFailed);
}
