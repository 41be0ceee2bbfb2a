#include "platform/Codepage.h"

#include <gtest/gtest.h>

TEST(Codepage, EveryByteIsOneCharacterAndRoundTrips)
{
    for (int b = 0; b < 256; ++b) {
        const std::string byte(1, static_cast<char>(b));
        const QString text = fromAnsi(byte);
        ASSERT_EQ(text.size(), 1) << b;
        EXPECT_EQ(toAnsi(text), byte) << b;
    }
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += static_cast<char>(b);
    EXPECT_EQ(toAnsi(fromAnsi(all)), all);
    // The UTF-8 path (the index's text) uses the same table.
    EXPECT_EQ(QByteArray::fromStdString(utf8FromAnsi(all)), fromAnsi(all).toUtf8());
    EXPECT_EQ(ansiFromUtf8(utf8FromAnsi(all)), all);
}

TEST(Codepage, WindowsLettersAndSigns)
{
    EXPECT_EQ(fromAnsi("\xA3"), QStringLiteral("£"));
    EXPECT_EQ(fromAnsi("\x80"), QStringLiteral("€"));
    EXPECT_EQ(fromAnsi("\x99"), QStringLiteral("™"));
    EXPECT_EQ(fromAnsi("\xAC"), QStringLiteral("¬"));
    EXPECT_EQ(fromAnsi("\x8A\x9F\x85"), QStringLiteral("ŠŸ…"));
    EXPECT_EQ(fromAnsi("\x81\x8D\x8F\x90\x9D"), QString::fromUtf16(u"\u0081\u008D\u008F\u0090\u009D"));
    EXPECT_EQ(toAnsi(QStringLiteral("£10 ¬ €5 ™")), "\xA3" "10 \xAC \x80" "5 \x99");
    EXPECT_EQ(ansiFromUtf8("Caf\xC3\xA9 \xE2\x82\xAC"), "Caf\xE9 \x80");
}

TEST(Codepage, CharactersWithoutAByteBecomeOneQuestionMark)
{
    EXPECT_EQ(toAnsi(QStringLiteral("Ω")), "?");
    EXPECT_EQ(toAnsi(QString::fromUtf16(u"\u0080")), "?");  // C1 control; 0x80 is "€"
    EXPECT_EQ(toAnsi(QString::fromUtf8("a\xF0\x9F\x8E\xA4" "b")), "a?b");  // outside the BMP
    EXPECT_EQ(toAnsi(QString(QChar(0xD800))), "?");  // a lone surrogate

    EXPECT_EQ(ansiFromUtf8("a\xF0\x9F\x8E\xA4" "b"), "a?b");
    EXPECT_EQ(ansiFromUtf8("\xCE\xA9"), "?");                 // Ω
    EXPECT_EQ(ansiFromUtf8("a\xC3" "b\x80\xE2\x82"), "a?b???");  // cut short, stray
    EXPECT_EQ(ansiFromUtf8("\xC0\xAF\xED\xA0\x80"), "?????");  // overlong, surrogate
}

TEST(Codepage, NamesCompareWithoutCase)
{
    EXPECT_TRUE(equalsIgnoreCaseAnsi("RecQual", "RECQUAL"));
    EXPECT_TRUE(equalsIgnoreCaseAnsi("J\xFCrgen", "J\xDCRGEN"));  // ü Ü
    EXPECT_TRUE(equalsIgnoreCaseAnsi("\x8A\x8C\x8E\x9F", "\x9A\x9C\x9E\xFF"));  // ŠŒŽŸ šœžÿ
    EXPECT_FALSE(equalsIgnoreCaseAnsi("\xD7", "\xF7"));  // × is not ÷
    EXPECT_FALSE(equalsIgnoreCaseAnsi("Rec", "RecQual"));
    EXPECT_FALSE(equalsIgnoreCaseAnsi("[", "{"));  // 0x5B and 0x7B differ by 0x20 but are no letters
}
