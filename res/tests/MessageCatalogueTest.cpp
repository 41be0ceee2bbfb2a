#include "res/MessageCatalogue.h"

#include "res/StringTable.h"

#include <gtest/gtest.h>

#include <iterator>
#include <regex>

namespace {

TEST(MessageCatalogue, StatedCodesShowTheirStrings)
{
    EXPECT_EQ(MessageStringFor(200), 624u);
    EXPECT_EQ(MessageStringFor(202), 633u);
    EXPECT_EQ(MessageStringFor(203), 638u);
    EXPECT_EQ(MessageStringFor(204), 639u);
    EXPECT_EQ(MessageStringFor(205), 640u);
    EXPECT_EQ(MessageStringFor(206), 803u);
    EXPECT_EQ(MessageStringFor(22), 791u);
    EXPECT_EQ(MessageStringFor(24), 801u);
    EXPECT_EQ(MessageStringFor(500), 657u);
    EXPECT_EQ(MessageStringFor(6), 660u);
    EXPECT_EQ(MessageStringFor(131), 690u);
    EXPECT_EQ(MessageStringFor(132), 691u);
}

TEST(MessageCatalogue, DataStoreRunSkips607AndPutsTheQuestionAt602)
{
    const unsigned expected[] = {603, 604, 605, 606, 602, 608, 609, 610, 611, 612,
                                 613, 614, 615, 616, 617, 618, 619, 620, 621};
    for (int code = 101; code <= 119; ++code)
        EXPECT_EQ(MessageStringFor(code), expected[code - 101]) << code;
    EXPECT_EQ(MessageTextFor(105), LoadString(602));
    EXPECT_EQ(MessageTextFor(119), "The temporary workspace could not be created : Application closing : Error 119");
}

TEST(MessageCatalogue, UnknownCodesShowTheUndefinedMessage)
{
    const std::string undefined = "Message issued but not defined : Error 1000";
    for (int code : {0, 1000, -1, 99999, 100, 121, 207, 502}) {
        EXPECT_EQ(MessageStringFor(code), 692u) << code;
        EXPECT_EQ(MessageTextFor(code), undefined) << code;
    }
}

TEST(MessageCatalogue, CodesWithoutStringNumberKeepTheirOwnText)
{
    EXPECT_EQ(MessageStringFor(120), 0u);
    EXPECT_EQ(MessageTextFor(120), "Error writing to Phone Book : Action cancelled : Error 120");
    EXPECT_EQ(MessageTextFor(15), "A telephone call is currently in progress.\nAction cancelled ");
    EXPECT_EQ(MessageTextFor(17),
              "Line monitoring must be active before you can dial out.\nGo back to the main dialog and click on "
              "the Phone icon.\nAction cancelled");
    EXPECT_EQ(MessageTextFor(130), "Navo file does not contain audit information : Info 130");
}

TEST(MessageCatalogue, EveryCodeHasTextAndTheStringWinsOverTheFallback)
{
    const std::string undefined = LoadString(692);
    for (const CodedMessage& m : MessageCatalogue::builtIn()) {
        const std::string text = MessageTextFor(m.code);
        EXPECT_FALSE(text.empty()) << m.code;
        if (m.stringId != 0 && HasString(m.stringId))
            EXPECT_EQ(text, LoadString(m.stringId)) << m.code;
        else if (m.fallbackUtf8 == nullptr)
            EXPECT_EQ(text, undefined) << m.code;  // wording not known yet
        else
            EXPECT_NE(text, undefined) << m.code;
    }

    const CodedMessage entries[] = {{5, 101, "only while 101 is missing"}, {6, 102, "shown"}};
    const MessageCatalogue catalogue(entries, std::size(entries));
    EXPECT_EQ(catalogue.textFor(5), "&About Navo...");
    EXPECT_EQ(catalogue.textFor(6), "shown");
    EXPECT_EQ(catalogue.stringFor(7), MessageCatalogue::kUndefinedMessage);
}

TEST(MessageCatalogue, NumberInTheTextIsTheCode)
{
    const std::regex numbered(R"((Error|Info) (\d+))");
    const std::string undefined = LoadString(692);
    int checked = 0;
    for (const CodedMessage& m : MessageCatalogue::builtIn()) {
        const std::string text = MessageTextFor(m.code);
        if (text == undefined)
            continue;
        for (auto it = std::sregex_iterator(text.begin(), text.end(), numbered); it != std::sregex_iterator();
             ++it) {
            EXPECT_EQ(std::stoi((*it)[2]), m.code) << text;
            ++checked;
        }
    }
    EXPECT_GT(checked, 30);
}

TEST(MessageCatalogue, CodesAreSortedAndUnique)
{
    EXPECT_TRUE(MessageCatalogue::builtIn().isSortedAndUnique());
    const CodedMessage twice[] = {{1, 628, nullptr}, {1, 627, nullptr}};
    EXPECT_FALSE(MessageCatalogue(twice, std::size(twice)).isSortedAndUnique());
}

}  // namespace
