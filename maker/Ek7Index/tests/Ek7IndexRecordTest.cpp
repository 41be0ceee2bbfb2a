#include "IndexFixture.h"

#include <algorithm>
#include <climits>
#include <vector>

using RecordTest = IndexTest;

TEST_F(RecordTest, AddThenReadGivesOneLineWithSpacesAsSeparatorReplacement)
{
    Ek7IndexEntry e = entry(42, "Quarterly budget\r\nreview\rwith Anne", 802, "Board minutes");
    e.extraText = "call back\nTuesday";
    ASSERT_NE(Ek7IndexAdd(&e), 0) << Ek7IndexLastError();

    const std::string record = read(42);
    EXPECT_EQ(std::count(record.begin(), record.end(), ' '), 6);
    EXPECT_EQ(record.find_first_of("\r\n"), std::string::npos);
    EXPECT_EQ(field(0, record), "00000042");
    EXPECT_EQ(field(1, record), "0");
    EXPECT_EQ(field(2, record), "22/11/2026\xAC" "01:30:05");
    EXPECT_EQ(field(3, record), "802");
    EXPECT_EQ(field(4, record), "0");
    EXPECT_EQ(field(5, record), "Quarterly\xAC" "budget\xAC\xAC" "review\xAC" "with\xAC" "Anne");
    EXPECT_EQ(field(6, record), "call\xAC" "back\xAC" "Tuesday");
    EXPECT_EQ(field(7, record), "");

    // The listing keeps plain spaces and the line as it was given.
    int visited = 0;
    ASSERT_EQ(Ek7IndexForEach(m_index.c_str(),
                              [&](const Ek7IndexRow& row) {
                                  ++visited;
                                  EXPECT_EQ(row.keywords, "Quarterly budget  review with Anne");
                                  EXPECT_EQ(row.line, e.line);
                                  EXPECT_EQ(row.line.size(), 401u);
                                  return true;
                              }),
              kEk7IndexOk);
    EXPECT_EQ(visited, 1);
}

TEST_F(RecordTest, FieldReadsIndexLinesFromZero)
{
    const std::string line = indexLine(7, "5", "Site visit");
    EXPECT_EQ(field(0, line), "00000007");
    EXPECT_EQ(field(1, line), "5");
    EXPECT_EQ(field(3, line), "");
    EXPECT_EQ(field(4, line), "Site\xAC" "visit");
    EXPECT_EQ(field(11, line), "3");
    EXPECT_EQ(field(12, line), "");
    EXPECT_EQ(field(-1, line), "");
    EXPECT_EQ(field(INT_MAX, line), "");
}

TEST_F(RecordTest, EmptyKeywordsKeepTheLaterFieldsInPlace)
{
    Ek7IndexEntry e = entry(3, "");
    e.extraText = "x";
    ASSERT_NE(Ek7IndexAdd(&e), 0);
    const std::string record = read(3);
    EXPECT_EQ(field(5, record), "");
    EXPECT_EQ(field(6, record), "x");
}

TEST_F(RecordTest, Windows1252TextSurvivesStorage)
{
    // The undefined bytes too: the index stores UTF-8 and gives the bytes back.
    const char* const text = "caf\xE9 \x80 \x81\x8D\x8F\x90\x9D\xFF";
    Ek7IndexEntry a = entry(1, text);
    a.startTime = text;
    ASSERT_NE(Ek7IndexAdd(&a), 0);
    std::vector<Ek7IndexRow> rows;
    ASSERT_EQ(Ek7IndexForEach(m_index.c_str(),
                              [&](const Ek7IndexRow& row) {
                                  rows.push_back(row);
                                  return true;
                              }),
              kEk7IndexOk);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].startTime, text);
    EXPECT_EQ(rows[0].keywords, text);
}

TEST_F(RecordTest, AddingAnExistingRecIdFailsAndKeepsTheFirst)
{
    Ek7IndexEntry first = entry(10, "first", 401);
    Ek7IndexEntry second = entry(10, "second", 802);
    ASSERT_NE(Ek7IndexAdd(&first), 0);
    EXPECT_EQ(Ek7IndexAdd(&second), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexExists);
    EXPECT_EQ(field(5, read(10)), "first");
    EXPECT_EQ(field(3, read(10)), "401");
}

TEST_F(RecordTest, ReRecordedRecordIsDeletedAndAddedAgain)
{
    Ek7IndexEntry before = entry(11, "old take", 401);
    ASSERT_NE(Ek7IndexAdd(&before), 0);
    ASSERT_NE(Ek7IndexDel(&before), 0);
    EXPECT_EQ(read(11), "<" + std::to_string(kEk7IndexNotFound) + ">");
    EXPECT_EQ(Ek7IndexDel(&before), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexNotFound);

    Ek7IndexEntry after = entry(11, "new take", 1203);
    ASSERT_NE(Ek7IndexAdd(&after), 0);
    EXPECT_EQ(field(5, read(11)), "new\xAC" "take");
    EXPECT_EQ(field(3, read(11)), "1203");
    EXPECT_EQ(count(), 1u);
}

TEST_F(RecordTest, UpdateWithFieldsReadBackMovesTheLineAndKeepsTheRest)
{
    Ek7IndexEntry added = entry(20, "alpha beta", 1604, "Tender meeting");
    added.extraText = "extra words";
    ASSERT_NE(Ek7IndexAdd(&added), 0);

    // What store compression does: read the record, pass its keywords back
    // with the new position, reserved 1, no line and no extra text.
    const std::string record = read(20);
    const std::string keywords = field(5, record);
    Ek7IndexEntry moved{};
    moved.storeLocation1 = m_index.c_str();
    moved.storeLocation2 = m_store.c_str();
    moved.workspace = m_dir.c_str();
    moved.recId = 20;
    moved.recordType = "0";
    moved.startTime = "22/11/2026\xAC" "01:30:05";
    moved.keywords = keywords.c_str();
    moved.linePosition = 401;
    moved.reserved = 1;
    ASSERT_NE(Ek7IndexUpd(&moved), 0) << Ek7IndexLastError();

    const std::string now = read(20);
    EXPECT_EQ(field(3, now), "401");
    EXPECT_EQ(field(4, now), "1");
    EXPECT_EQ(field(5, now), field(5, record));
    EXPECT_EQ(field(6, now), "extra\xAC" "words");
    std::string listed;
    ASSERT_EQ(Ek7IndexForEach(m_index.c_str(),
                              [&](const Ek7IndexRow& row) {
                                  listed = row.keywords;
                                  return true;
                              }),
              kEk7IndexOk);
    EXPECT_EQ(listed, "alpha beta");
    std::vector<std::uint32_t> found;
    ASSERT_EQ(Ek7IndexSearch(m_index.c_str(), "beta", &found), kEk7IndexOk);
    EXPECT_EQ(found, std::vector<std::uint32_t>{20});
    ASSERT_EQ(Ek7IndexSearch(m_index.c_str(), "tender", &found), kEk7IndexOk);
    EXPECT_EQ(found, std::vector<std::uint32_t>{20});
}

TEST_F(RecordTest, UpdateOfAnAbsentRecIdFails)
{
    Ek7IndexEntry present = entry(30, "here");
    ASSERT_NE(Ek7IndexAdd(&present), 0);
    Ek7IndexEntry absent = entry(31, "not here");
    EXPECT_EQ(Ek7IndexUpd(&absent), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexNotFound);
    EXPECT_EQ(Ek7IndexSFS(&absent), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexNotFound);
    EXPECT_EQ(count(), 1u);

    // A batch is all or nothing: the present entry keeps its position too.
    const std::string before = read(30);
    Ek7IndexEntry batch[] = {entry(30, "here", 802), entry(31, "not here", 1203)};
    EXPECT_EQ(Ek7IndexUpdBatch(batch, 2), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexNotFound);
    EXPECT_EQ(read(30), before);
    ASSERT_NE(Ek7IndexUpdBatch(batch, 1), 0) << Ek7IndexLastError();
    EXPECT_EQ(field(3, read(30)), "802");

    // Read in a batch: each record as Ek7IndexRead gives it, "" without one.
    const std::uint32_t ids[] = {31, 30};
    std::vector<std::string> records;
    ASSERT_EQ(Ek7IndexReadBatch(ids, 2, m_index.c_str(), &records), kEk7IndexOk);
    EXPECT_EQ(records, (std::vector<std::string>{"", read(30)}));
}

TEST_F(RecordTest, BadEntriesAreRefusedAndChangeNothing)
{
    Ek7IndexEntry good = entry(40, "kept");
    ASSERT_NE(Ek7IndexAdd(&good), 0);
    const std::string before = bytesOf(m_index);

    Ek7IndexEntry e = entry(0, "zero");
    EXPECT_EQ(Ek7IndexAdd(&e), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexBadArgument);
    e = entry(99999999, "deleted-line marker");
    EXPECT_EQ(Ek7IndexAdd(&e), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexBadArgument);
    e = entry(41, std::string(kEk7IndexKeywordsMax + 1, 'k'));
    EXPECT_EQ(Ek7IndexAdd(&e), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexTooLong);
    e = entry(40, std::string(kEk7IndexKeywordsMax + 1, 'k'));
    EXPECT_EQ(Ek7IndexUpd(&e), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexTooLong);
    e = entry(42, "no type");
    e.recordType = nullptr;
    EXPECT_EQ(Ek7IndexAdd(&e), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexBadArgument);
    EXPECT_EQ(Ek7IndexAdd(nullptr), 0);
    EXPECT_EQ(Ek7IndexRead(40, m_index.c_str(), nullptr), 0);

    EXPECT_EQ(bytesOf(m_index), before);
    // The longest texts allowed still read back whole.
    e = entry(43, std::string(kEk7IndexKeywordsMax, 'k'));
    const std::string extra(kEk7IndexExtraTextMax, 'e');
    const std::string start(kEk7IndexStartTimeMax, 's');
    const std::string type(kEk7IndexRecordTypeMax, 't');
    e.extraText = extra.c_str();
    e.startTime = start.c_str();
    e.recordType = type.c_str();
    ASSERT_NE(Ek7IndexAdd(&e), 0);
    const std::string record = read(43);
    EXPECT_EQ(field(5, record).size(), kEk7IndexKeywordsMax);
    EXPECT_EQ(field(6, record), extra);
}

TEST_F(RecordTest, BatchIsAllOrNothing)
{
    std::vector<Ek7IndexEntry> batch = {entry(1, "a"), entry(2, "b"), entry(3, "c")};
    ASSERT_NE(Ek7IndexAddBatch(batch.data(), batch.size()), 0);
    std::vector<Ek7IndexEntry> clash = {entry(4, "d"), entry(2, "again"), entry(5, "e")};
    EXPECT_EQ(Ek7IndexAddBatch(clash.data(), clash.size()), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexExists);
    EXPECT_EQ(count(), 3u);
    EXPECT_EQ(read(4), "<" + std::to_string(kEk7IndexNotFound) + ">");

    const std::string other = m_dir + "/Other.vxi";
    clash[1].recId = 6;
    clash[1].storeLocation1 = other.c_str();
    EXPECT_EQ(Ek7IndexAddBatch(clash.data(), clash.size()), 0);
    EXPECT_EQ(Ek7IndexLastError(), kEk7IndexBadArgument);
}
