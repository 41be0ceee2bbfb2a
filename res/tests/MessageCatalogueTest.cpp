#include "res/MessageCatalogue.h"

#include "res/StringTable.h"

#include <gtest/gtest.h>

#include <iterator>
#include <regex>

namespace {

TEST(MessageCatalogue, UnknownCodesShowTheUndefinedMessage)
{
    const std::string undefined = "Message issued but not defined : Error 1000";
    for (int code : {0, -1, 99999, 100, 121, 208}) {
        EXPECT_EQ(MessageStringFor(code), 692u) << code;
        EXPECT_EQ(MessageTextFor(code), undefined) << code;
    }
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
    // A code without a string number keeps its own text.
    EXPECT_EQ(MessageStringFor(120), 0u);
    EXPECT_EQ(MessageTextFor(120), "Error writing to Phone Book : Action cancelled : Error 120");

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

}  // namespace
