#include "maker/ZOLO/ZOLOWORD.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string field(const std::string& line, int n)
{
    std::vector<char> out(line.size() + 1, 'x');
    const int length = word_find(line.c_str(), out.data(), n);
    EXPECT_EQ(length, static_cast<int>(std::string(out.data()).size()));
    return out.data();
}

// An index line as the recorders write it: empty fields 4, 6 and 11, then one
// space and padding to 400, then "\n".
std::string indexLine()
{
    std::string line = "00000042 0 0  Board\xAC"
                       "minutes  note 22/11/2026\xAC"
                       "01:30:05 22/11/2026\xAC"
                       "01:31:00 00:00:55  3 ";
    line.append(400 - line.size(), ' ');
    return line + "\n";
}

}  // namespace

TEST(WordFind, EmptyFieldsDoNotShiftLaterFields)
{
    const std::string line = indexLine();
    ASSERT_EQ(line.size(), 401u);
    EXPECT_EQ(field(line, 1), "00000042");
    EXPECT_EQ(field(line, 2), "0");
    EXPECT_EQ(field(line, 4), "");
    EXPECT_EQ(field(line, 5), "Board\xAC" "minutes");
    EXPECT_EQ(field(line, 6), "");
    EXPECT_EQ(field(line, 7), "note");
    EXPECT_EQ(field(line, 8), "22/11/2026\xAC" "01:30:05");
    EXPECT_EQ(field(line, 10), "00:00:55");
    EXPECT_EQ(field(line, 11), "");
    EXPECT_EQ(field(line, 12), "3");
    EXPECT_EQ(field(line, 13), "");
    EXPECT_EQ(field(line, 14), "");
}

TEST(WordFind, LineEndIsNotPartOfTheLastField)
{
    EXPECT_EQ(field("a b\n", 2), "b");
    EXPECT_EQ(field("a b\r\n", 2), "b");
    EXPECT_EQ(field("a b\r\nc d", 3), "");  // only the first line counts
    EXPECT_EQ(field("a b", 2), "b");
    EXPECT_EQ(field("a \n", 2), "");
    EXPECT_EQ(field("a b\rc", 2), "b\rc");  // a lone "\r" is text
}

TEST(WordFind, OutOfRangeFieldsAreEmpty)
{
    EXPECT_EQ(field("a b", 3), "");
    EXPECT_EQ(field("a b", 1000), "");
    EXPECT_EQ(field("a b", 0), "");
    EXPECT_EQ(field("a b", -5), "");
    EXPECT_EQ(field("", 1), "");
    EXPECT_EQ(field(" ", 1), "");
    EXPECT_EQ(field(" ", 2), "");
    EXPECT_EQ(field("  x", 3), "x");

    char out[4] = "zz";
    EXPECT_EQ(word_find(nullptr, out, 1), 0);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(word_find("abc", nullptr, 1), 0);
}
