#include "res/StringTable.h"

#include "platform/Codepage.h"

#include <gtest/gtest.h>

#include <iterator>

namespace {

TEST(StringTable, TextsKeepTheirSpacesAndLineBreaks)
{
    EXPECT_EQ(LoadString(752), "A telephone call is currently in progress.\nAction cancelled ");
    EXPECT_EQ(LoadString(684), " voice mail attached");
    EXPECT_EQ(LoadString(638), "An error occurred during the merge process  : Error 203");
    // Registered as a window message name from a 40-byte buffer.
    EXPECT_LE(LoadString(800).size(), 39u);
}

TEST(StringTable, UnknownNumbersLoadEmpty)
{
    // Below the first, between neighbours, the unused 607, above the last.
    for (unsigned id : {0u, 99u, 102u, 607u, 877u, 99999u}) {
        EXPECT_FALSE(HasString(id)) << id;
        EXPECT_EQ(LoadString(id), "") << id;
        EXPECT_TRUE(LoadStringQ(id).isEmpty()) << id;
    }
    EXPECT_TRUE(HasString(692));
}

TEST(StringTable, NonAsciiLoadsAsSingleWindows1252Bytes)
{
    const StringEntry entries[] = {
        {1, "£"},
        {2, "Cost ¬ 3 €"},
        {3, "Navo™"},
    };
    const StringTable table(entries, std::size(entries));
    EXPECT_EQ(table.load(1), "\xA3");
    EXPECT_EQ(table.load(2), "Cost \xAC 3 \x80");
    EXPECT_EQ(table.load(3), "Navo\x99");
    EXPECT_EQ(table.loadQ(1), QString(QChar(0x00A3)));
    EXPECT_EQ(table.loadQ(2), QStringLiteral("Cost \u00AC 3 \u20AC"));
    EXPECT_EQ(table.loadQ(3), QStringLiteral("Navo\u2122"));
    EXPECT_EQ(table.load(4), "");
}

TEST(StringTable, BothFormsOfEveryStringAgree)
{
    EXPECT_GT(StringTable::builtIn().size(), 70u);
    for (const StringEntry& e : StringTable::builtIn()) {
        const std::string bytes = LoadString(e.id);
        EXPECT_FALSE(bytes.empty()) << e.id;
        EXPECT_EQ(fromAnsi(bytes), LoadStringQ(e.id)) << e.id;
    }
}

}  // namespace
