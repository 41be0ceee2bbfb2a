#include "res/StringTable.h"

#include "platform/Codepage.h"

#include <gtest/gtest.h>

#include <iterator>

namespace {

TEST(StringTable, TextsKeepTheirExactSpacingAndLineBreaks)
{
    // Doubled spaces inside the text.
    EXPECT_EQ(LoadString(100), "OLE initialization failed.  Make sure that the OLE libraries are the correct version");
    EXPECT_EQ(LoadString(605),
              "A problem was encountered extracting the required information  from the Navo data store : "
              "Application closing : Error 103");
    EXPECT_EQ(LoadString(638), "An error occurred during the merge process  : Error 203");
    // Real line breaks, and the space left before one of them.
    EXPECT_EQ(LoadString(602),
              "The Navo data store you used last could not be accessed.\n\nDo you want to open another data store? "
              "\nAnswering No will prompt you to create a new data store : Error 105");
    EXPECT_EQ(LoadString(760),
              "Please select a modem to test from the list by clicking on the \nID of one of the devices in the list");
    // Trailing and leading spaces.
    EXPECT_EQ(LoadString(752), "A telephone call is currently in progress.\nAction cancelled ");
    EXPECT_EQ(LoadString(792), "Your answer machine greeting message has been successfully changed.  ");
    EXPECT_EQ(LoadString(689), "Number of Messages : ");
    EXPECT_EQ(LoadString(684), " voice mail attached");
    EXPECT_EQ(LoadString(876), " video mail attached");
    // The misspelling is part of the text.
    EXPECT_EQ(LoadString(654), "Presssing this button will present you with the Navo Studio");
}

TEST(StringTable, QualityToolTipsEndWithASpace)
{
    EXPECT_EQ(LoadString(796), "Set recording quality to Navo Voice. 1 min of recording uses 1MB disk space. ");
    EXPECT_EQ(LoadString(797), "Set recording quality to Navo Stereo. 1 min of recording uses 2MB disk space. ");
    EXPECT_EQ(LoadString(798), "Set recording quality to Radio. 1 min of recording uses 1.25MB disk space. ");
    EXPECT_EQ(LoadString(799), "Set recording quality to CD. 1 min of recording uses 10MB disk space. ");
}

TEST(StringTable, SampleFromEachArea)
{
    EXPECT_EQ(LoadString(101), "&About Navo...");
    EXPECT_EQ(LoadString(801), "Your Navo Data Store needs compressing, do you want to compress it now?");
    EXPECT_EQ(LoadString(847), "Double click to open recording. Right click for more options.");
    EXPECT_EQ(LoadString(688), "[Enter your subject heading here] (Navo Recording :-");
    EXPECT_EQ(LoadString(633), "Navo could not start recording using your default recording device : Error 202");
    EXPECT_EQ(LoadString(694), "Sets the number of minutes before being reminded again");
    EXPECT_EQ(LoadString(823), "Adjusts the playback speed.");
    EXPECT_EQ(LoadString(865),
              "You will need to install the latest version of Microsoft's DirectX to use this function.\n"
              "Would you like to install it now?");
    EXPECT_EQ(LoadStringQ(749),
              QStringLiteral("The modem which was used previously is no longer available.\nPhone monitoring has "
                             "been disabled.\nUse Modem Selection from the Phone menu to see if you have an "
                             "alternative"));
}

TEST(StringTable, WindowMessageNameFitsItsBuffer)
{
    // Registered from a 40-byte buffer.
    const std::string name = LoadString(800);
    EXPECT_EQ(name, "Ek7 Message from Word");
    EXPECT_LE(name.size(), 39u);
}

TEST(StringTable, UnknownNumbersLoadEmpty)
{
    // Below the first, between neighbours, the unused 607, above the last.
    for (unsigned id : {0u, 99u, 102u, 601u, 607u, 877u, 1000u, 99999u}) {
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
    for (const StringEntry& e : StringTable::builtIn()) {
        const std::string bytes = LoadString(e.id);
        EXPECT_FALSE(bytes.empty()) << e.id;
        EXPECT_EQ(fromAnsi(bytes), LoadStringQ(e.id)) << e.id;
    }
}

TEST(StringTable, NumbersAreSortedAndUnique)
{
    EXPECT_TRUE(StringTable::builtIn().isSortedAndUnique());
    EXPECT_GT(StringTable::builtIn().size(), 70u);

    const StringEntry twice[] = {{1, "a"}, {2, "b"}, {2, "c"}};
    EXPECT_FALSE(StringTable(twice, std::size(twice)).isSortedAndUnique());
    const StringEntry unsorted[] = {{1, "a"}, {3, "b"}, {2, "c"}};
    EXPECT_FALSE(StringTable(unsorted, std::size(unsorted)).isSortedAndUnique());
}

}  // namespace
