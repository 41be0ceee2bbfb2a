#include "platform/Codepage.h"

#include <gtest/gtest.h>

#include <iconv.h>

TEST(Codepage, EveryByteIsOneCharacterAndRoundTrips)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += static_cast<char>(b);
    ASSERT_EQ(fromAnsi(all).size(), 256);
    EXPECT_EQ(toAnsi(fromAnsi(all)), all);
    // The UTF-8 path (the index's text) uses the same table.
    EXPECT_EQ(QByteArray::fromStdString(utf8FromAnsi(all)), fromAnsi(all).toUtf8());
    EXPECT_EQ(ansiFromUtf8(utf8FromAnsi(all)), all);
}

TEST(Codepage, TheTableIsWindows1252AsTheSystemConvertsIt)
{
    iconv_t cd = iconv_open("UTF-8", "CP1252");
    ASSERT_NE(cd, reinterpret_cast<iconv_t>(-1));
    for (int b = 1; b < 256; ++b) {
        if (b == 0x81 || b == 0x8D || b == 0x8F || b == 0x90 || b == 0x9D)
            continue;  // undefined in Windows-1252: checked below
        char in = static_cast<char>(b);
        char out[8] = {};
        char* inPtr = &in;
        char* outPtr = out;
        std::size_t inLeft = 1;
        std::size_t outLeft = sizeof out;
        ASSERT_NE(iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft), static_cast<std::size_t>(-1)) << b;
        const std::string utf8(out, sizeof out - outLeft);
        EXPECT_EQ(utf8FromAnsi(std::string(1, in)), utf8) << b;
        EXPECT_EQ(fromAnsi(std::string(1, in)), QString::fromUtf8(utf8.data(), qsizetype(utf8.size()))) << b;
    }
    iconv_close(cd);
    EXPECT_EQ(fromAnsi("\x81\x8D\x8F\x90\x9D"), QString::fromUtf16(u"\u0081\u008D\u008F\u0090\u009D"));
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
