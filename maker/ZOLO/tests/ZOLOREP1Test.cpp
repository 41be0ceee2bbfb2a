#include "maker/ZOLO/ZOLOREP1.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(StrStrRep, SpacesAndSeparatorReplacementRoundTrip)
{
    char text[64] = " Board  minutes ";
    EXPECT_EQ(strstrrep(text, " ", "\xAC"), 4);
    EXPECT_STREQ(text, "\xAC" "Board\xAC\xAC" "minutes\xAC");
    EXPECT_EQ(std::strlen(text), 16u);
    EXPECT_EQ(strstrrep(text, "\xAC", " "), 4);
    EXPECT_STREQ(text, " Board  minutes ");

    EXPECT_EQ(strstrrep(std::string("J Smith 01 23"), " ", "\xAC"),
              "J\xAC" "Smith\xAC" "01\xAC" "23");
}

TEST(StrStrRep, ShrinkingGrowingAndOverlaps)
{
    char text[64] = "aaa-aaa";
    EXPECT_EQ(strstrrep(text, "aa", "b"), 2);  // left to right, no overlap
    EXPECT_STREQ(text, "ba-ba");
    EXPECT_EQ(strstrrep(text, "b", "xyz"), 2);
    EXPECT_STREQ(text, "xyza-xyza");
    EXPECT_EQ(strstrrep(text, "a", ""), 2);
    EXPECT_STREQ(text, "xyz-xyz");
    EXPECT_EQ(strstrrep(text, "xyz-xyz", "q"), 1);
    EXPECT_STREQ(text, "q");

    EXPECT_EQ(strstrrep(std::string("aaa"), "aa", "aaaa"), "aaaaa");
    EXPECT_EQ(strstrrep(std::string("abc"), "", "x"), "abc");
    EXPECT_EQ(strstrrep(text, "", "y"), 0);
    EXPECT_EQ(strstrrep(text, nullptr, "y"), 0);
    EXPECT_EQ(strstrrep(nullptr, "a", "y"), 0);
    EXPECT_EQ(strstrrep(text, "x", "y"), 0);
    EXPECT_STREQ(text, "q");
}
