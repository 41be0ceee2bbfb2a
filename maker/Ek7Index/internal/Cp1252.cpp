#include "maker/Ek7Index/internal/Cp1252.h"

#include <cstdint>

namespace ek7index {

namespace {

// Code points of bytes 0x80..0x9F.
constexpr std::uint16_t kHigh[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

void appendUtf8(std::string& out, std::uint32_t cp)
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

char toCp1252(std::uint32_t cp)
{
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF))
        return static_cast<char>(cp);
    for (int i = 0; i < 32; ++i) {
        if (kHigh[i] == cp)
            return static_cast<char>(0x80 + i);
    }
    return '?';
}

}  // namespace

std::string cp1252ToUtf8(const std::string& text)
{
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            out += c;
        else if (byte < 0xA0)
            appendUtf8(out, kHigh[byte - 0x80]);
        else
            appendUtf8(out, byte);
    }
    return out;
}

std::string utf8ToCp1252(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    const std::size_t size = text.size();
    std::size_t i = 0;
    while (i < size) {
        const auto lead = static_cast<unsigned char>(text[i]);
        int extra = 0;
        std::uint32_t cp = 0;
        if (lead < 0x80) {
            out += static_cast<char>(lead);
            ++i;
            continue;
        } else if ((lead & 0xE0) == 0xC0) {
            extra = 1;
            cp = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            extra = 2;
            cp = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            extra = 3;
            cp = lead & 0x07;
        } else {
            out += '?';
            ++i;
            continue;
        }
        bool good = i + extra < size;
        for (int k = 1; good && k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            good = (next & 0xC0) == 0x80;
            cp = (cp << 6) | (next & 0x3F);
        }
        if (!good) {
            out += '?';
            ++i;
            continue;
        }
        out += toCp1252(cp);
        i += extra + 1;
    }
    return out;
}

}  // namespace ek7index
