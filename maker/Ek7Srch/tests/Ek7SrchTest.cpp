// SearchLog over real family files: which lines a list shows, in which
// order, and what each cell holds.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "maker/Ek7Srch/Ek7Srch.h"

namespace {

std::string line(const std::vector<std::string>& fields)
{
    std::string text;
    for (std::size_t i = 0; i < fields.size(); ++i)
        text += (i ? " " : "") + fields[i];
    text += ' ';
    text.resize(400, ' ');
    return text + "\n";
}

class SearchLogTest : public ::testing::Test {
protected:
    std::string path = (std::filesystem::temp_directory_path() / ("ek7srch-" + std::to_string(::getpid()))).string();
    void TearDown() override { std::filesystem::remove(path); }
    void write(const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }
};

const std::string kDead = line({"99999999"});

}  // namespace

TEST_F(SearchLogTest, KeepsLiveLinesOfTheFamilyNewestFirst)
{
    write(kDead +
          line({"00000001", "0", "0", "", "First\xAC" "note", "", "", "01/02/2026\xAC" "09:30:00", "x", "00:00:05", "", "2"}) +
          line({"00000002", "5", "0", "", "With\xAC" "text", "", "", "02/02/2026\xAC" "10:00:00", "x", "00:01:00", "", "3"}) +
          line({"99999999", "0", "0", "", "deleted"}) +
          line({"00000004", "11", "0", "", "Bonjour", "", "", "03/02/2026\xAC" "11:00:00", "x", "00:00:09", "", "0"}) +
          line({"00000005", "9", "0", "", "Clip"}) + std::string("00000006 0 torn"));
    SearchLogRows rows;
    ASSERT_EQ(SearchLog(path.c_str(), SearchLogRows::kDictation, &rows), 2);
    EXPECT_EQ(rows.recId(0), "00000002");
    EXPECT_EQ(rows.recId(1), "00000001");
    EXPECT_EQ(rows.columnCount(), 7);
    EXPECT_EQ(rows.cell(1, 1), "First note");
    EXPECT_EQ(rows.cell(1, 2), "01/02/2026");
    EXPECT_EQ(rows.cell(1, 3), "09:30:00");
    EXPECT_EQ(rows.cell(1, 4), "00:00:05");
    EXPECT_EQ(rows.cell(1, 5), "00000001.vxz");
    EXPECT_EQ(rows.cell(1, 6), "2");
    EXPECT_EQ(rows.quality(0), 3);

    EXPECT_EQ(SearchLog(path.c_str(), SearchLogRows::kTranslation, &rows), 1);
    EXPECT_EQ(rows.cell(0, 1), "Bonjour");
    EXPECT_EQ(SearchLog(path.c_str(), SearchLogRows::kVideo, &rows), 1);
    EXPECT_EQ(rows.quality(0), -1);  // no quality field: drawn as quality 0
    EXPECT_EQ(SearchLog(path.c_str(), SearchLogRows::kMeeting, &rows), 0);
}

TEST_F(SearchLogTest, PhoneRowsTakeNumberAndNameByKindAndFlagNewMessages)
{
    write(kDead +
          line({"00000010", "2", "Ann\xAC" "Smith", "", "01234\xAC" "567", "", "", "05/03/2026\xAC" "08:00:00", "x",
                "00:00:20", "7", "0"}) +
          line({"00000011", "3", "Bob", "0800\xAC" "123", "", "", "", "06/03/2026\xAC" "12:00:00", "x", "00:10:00",
                "", "1"}));
    SearchLogRows rows;
    ASSERT_EQ(SearchLog(path.c_str(), SearchLogRows::kPhone, &rows), 2);
    EXPECT_EQ(rows.columnCount(), 8);
    EXPECT_EQ(rows.cell(1, 1), "01234 567");
    EXPECT_EQ(rows.cell(1, 2), "Ann Smith");
    EXPECT_EQ(rows.image(1), SearchLogRows::kNewMessageImage);
    EXPECT_EQ(rows.cell(0, 1), "0800 123");
    EXPECT_EQ(rows.cell(0, 2), "Bob");
    EXPECT_EQ(rows.cell(0, 3), "06/03/2026");
    EXPECT_EQ(rows.cell(0, 6), "00000011.vxz");
    EXPECT_EQ(rows.cell(0, 7), "1");
    EXPECT_NE(rows.image(0), SearchLogRows::kNewMessageImage);
}

TEST_F(SearchLogTest, MissingOrEmptyFileIsAnEmptyList)
{
    SearchLogRows rows;
    EXPECT_EQ(SearchLog(path.c_str(), SearchLogRows::kDictation, &rows), 0);
    write("");
    EXPECT_EQ(SearchLog(path.c_str(), SearchLogRows::kDictation, &rows), 0);
    write("garbage that is not a family file at all");
    EXPECT_EQ(SearchLog(path.c_str(), SearchLogRows::kDictation, &rows), 0);
}
