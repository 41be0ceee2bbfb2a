// Windows-1252 <-> Unicode by table; see Codepage.h.
#include "platform/Codepage.h"

#include <array>

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

std::string ansiFromUtf8(std::string_view utf8)
{
    return toAnsi(QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())));
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
