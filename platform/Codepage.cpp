// Windows-1252 <-> Unicode by table; see Codepage.h.
#include "platform/Codepage.h"

#include <array>
#include <utility>

namespace {

// The characters of bytes 0x80-0x9F; the undefined ones map to themselves.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
};

// The byte of one UTF-16 unit outside surrogates, or '?' when none.
char byteOf(char16_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return static_cast<char>(c);
    for (std::size_t i = 0; i < kHigh.size(); ++i) {
        if (kHigh[i] == c)
            return static_cast<char>(0x80 + i);
    }
    return '?';
}

}  // namespace

QString fromAnsi(std::string_view bytes)
{
    QString text(static_cast<qsizetype>(bytes.size()), Qt::Uninitialized);
    QChar* out = text.data();
    for (const char ch : bytes) {
        const auto b = static_cast<unsigned char>(ch);
        *out++ = QChar(b >= 0x80 && b < 0xA0 ? kHigh[b - 0x80] : char16_t(b));
    }
    return text;
}

std::string toAnsi(const QString& text)
{
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate() && i + 1 < n && text.at(i + 1).isLowSurrogate()) {
            ++i;  // one '?' for the whole code point
            bytes += '?';
        } else if (c.isSurrogate()) {
            bytes += '?';
        } else {
            bytes += byteOf(c.unicode());
        }
    }
    return bytes;
}

namespace {

void appendUtf8(std::string& out, char32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// The code point of the well-formed UTF-8 sequence at text[i] and its length;
// length 0 for a byte that starts none (a stray continuation byte, a cut-short
// or overlong sequence, a surrogate).
std::pair<char32_t, std::size_t> decodeUtf8(std::string_view text, std::size_t i)
{
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t extra = 0;
    char32_t cp = 0;
    char32_t least = 0;
    if (lead < 0x80)
        return {lead, 1};
    if ((lead & 0xE0) == 0xC0) {
        extra = 1;
        cp = lead & 0x1F;
        least = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2;
        cp = lead & 0x0F;
        least = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3;
        cp = lead & 0x07;
        least = 0x10000;
    } else {
        return {0, 0};
    }
    if (i + extra >= text.size())
        return {0, 0};
    for (std::size_t k = 1; k <= extra; ++k) {
        const auto next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80)
            return {0, 0};
        cp = (cp << 6) | (next & 0x3F);
    }
    if (cp < least || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return {0, 0};
    return {cp, extra + 1};
}

}  // namespace

std::string ansiFromUtf8(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto [cp, length] = decodeUtf8(utf8, i);
        if (length == 0) {
            out += '?';
            ++i;
            continue;
        }
        out += cp > 0xFFFF ? '?' : byteOf(static_cast<char16_t>(cp));
        i += length;
    }
    return out;
}

std::string utf8FromAnsi(std::string_view bytes)
{
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 8);
    for (const char ch : bytes) {
        const auto b = static_cast<unsigned char>(ch);
        appendUtf8(out, b >= 0x80 && b < 0xA0 ? kHigh[b - 0x80] : char32_t(b));
    }
    return out;
}

char foldAnsi(char byte)
{
    const auto b = static_cast<unsigned char>(byte);
    if (b >= 'A' && b <= 'Z')
        return static_cast<char>(b + 0x20);
    if (b >= 0xC0 && b <= 0xDE && b != 0xD7)  // À-Þ but not ×
        return static_cast<char>(b + 0x20);
    switch (b) {
    case 0x8A: return static_cast<char>(0x9A);  // Š
    case 0x8C: return static_cast<char>(0x9C);  // Œ
    case 0x8E: return static_cast<char>(0x9E);  // Ž
    case 0x9F: return static_cast<char>(0xFF);  // Ÿ
    default: return byte;
    }
}

bool equalsIgnoreCaseAnsi(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (foldAnsi(a[i]) != foldAnsi(b[i]))
            return false;
    }
    return true;
}
