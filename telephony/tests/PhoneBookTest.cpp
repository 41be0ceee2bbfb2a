// The phone book file: lines of exactly 101 bytes with 0xAC for blanks (and
// the overlong line kept as it always was), the 5000-entry limit, offsets
// after a delete, and a disk that fails under add and delete.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <string>

#include "platform/FileOps.h"
#include "telephony/PhoneBook.h"

namespace {

class PhoneBookFile : public ::testing::Test {
protected:
    std::string read() const
    {
        std::string content;
        fileops::readWholeFile(path, &content);
        return content;
    }
    void write(const std::string& content) const { ASSERT_EQ(fileops::writeWholeFile(path, content.data(), content.size()), 0); }

    QTemporaryDir folder;
    const std::string path = folder.filePath(QStringLiteral("Telvarine.vxb")).toStdString();
    const std::string temp = folder.filePath(QStringLiteral("tempphone.vxb")).toStdString();
    PhoneBook book{path, temp};
};

struct SeamPlan {
    explicit SeamPlan(const fileops::FaultPlan& plan) { fileops::setFaultPlan(plan); }
    ~SeamPlan() { fileops::clearFaultPlan(); }
};

}  // namespace

TEST_F(PhoneBookFile, BlanksTravelAs0xACAndAnOverlongLineKeepsItsQuirk)
{
    EXPECT_TRUE(book.load().empty());  // no file yet
    ASSERT_EQ(book.add("Ada Lovelace", "+44 20 7946 0000"), 0);
    const std::string longName(50, 'N');
    const std::string longNumber(60, '7');  // cut to 50 on adding
    ASSERT_EQ(book.add(longName, longNumber), 0);
    ASSERT_EQ(book.add("Grace", "555"), 0);

    const std::string bytes = read();
    ASSERT_EQ(bytes.size(), 3 * PhoneBook::kLineSize);
    EXPECT_EQ(bytes.substr(0, 30), "Ada\xACLovelace +44\xAC" "20\xAC" "7946\xAC" "0000 ");
    EXPECT_EQ(bytes[99], ' ');
    EXPECT_EQ(bytes[100], '\n');
    // 50 + 1 + 50 + 1 characters: the first 101 go, no line feed.
    EXPECT_EQ(bytes.substr(101, 101), longName + " " + std::string(50, '7'));

    const std::vector<PhoneBookEntry> entries = book.load();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].name, "Ada Lovelace");
    EXPECT_EQ(entries[0].number, "+44 20 7946 0000");
    EXPECT_EQ(entries[1].name, longName);
    EXPECT_EQ(entries[1].number, std::string(50, '7'));
    EXPECT_EQ(entries[2].name, "Grace");
    EXPECT_EQ(entries[2].offset, 202u);
    EXPECT_EQ(PhoneBook::offsetText(entries[2].offset), "00000000000000000202");
}

TEST_F(PhoneBookFile, OnlyTheFirst5000LinesAreLoaded)
{
    std::string content;
    for (int i = 0; i < 5001; ++i)
        content += PhoneBook::buildLine("Name" + std::to_string(i), std::to_string(i));
    write(content);
    const std::vector<PhoneBookEntry> entries = book.load();
    ASSERT_EQ(entries.size(), 5000u);
    EXPECT_EQ(entries.back().name, "Name4999");
    EXPECT_EQ(entries.back().offset, 4999u * 101u);
}

TEST_F(PhoneBookFile, DeleteShiftsLaterOffsetsAndEditRewritesOneLine)
{
    for (const char* name : {"Ada", "Brian", "Clare", "Dennis"})
        ASSERT_EQ(book.add(name, std::string(name) + " 1"), 0);
    ASSERT_EQ(book.remove(0), 0);
    EXPECT_FALSE(fileops::fileExists(temp));
    std::vector<PhoneBookEntry> entries = book.load();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].name, "Brian");
    EXPECT_EQ(entries[0].offset, 0u);
    EXPECT_EQ(entries[2].name, "Dennis");
    EXPECT_EQ(entries[2].offset, 202u);

    ASSERT_EQ(book.edit(entries[1].offset, "Clare Mary", "0161 496"), 0);
    ASSERT_EQ(book.remove(entries[2].offset), 0);  // the last line
    entries = book.load();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].name, "Brian");
    EXPECT_EQ(entries[1].name, "Clare Mary");
    EXPECT_EQ(entries[1].number, "0161 496");
    EXPECT_EQ(read().size(), 202u);
}

TEST_F(PhoneBookFile, AFailingDiskLosesNothing)
{
    ASSERT_EQ(book.add("Ada", "1"), 0);
    ASSERT_EQ(book.add("Brian", "2"), 0);
    const std::string before = read();

    fileops::FaultPlan failing;
    failing.failWriteAt = 1;
    {
        SeamPlan plan(failing);
        EXPECT_EQ(book.add("Clare", "3"), PhoneBook::kWriteError);
    }
    EXPECT_EQ(read(), before);
    {
        // Room for half a line only: the half is not left behind.
        SeamPlan plan(fileops::FaultPlan::diskFullAfter(50));
        EXPECT_EQ(book.add("Clare", "3"), PhoneBook::kWriteError);
    }
    EXPECT_EQ(read(), before);
    // A delete failing at its first write (the temporary copy) or its second
    // (the replacement) leaves the book as it was.
    for (int at : {1, 2}) {
        failing.failWriteAt = at;
        {
            SeamPlan plan(failing);
            EXPECT_EQ(book.remove(0), PhoneBook::kWriteError) << "write " << at;
        }
        EXPECT_EQ(read(), before) << "write " << at;
        EXPECT_FALSE(fileops::fileExists(temp));
    }
    ASSERT_EQ(book.load().size(), 2u);
}
