#include "maker/ZOLO/ZOLOREP1.h"

#include <cstring>
#include <new>

int strstrrep(char* text, const char* from, const char* to)
{
    if (text == nullptr || from == nullptr || *from == '\0')
        return 0;
    if (to == nullptr)
        to = "";
    const std::size_t fromLength = std::strlen(from);
    const std::size_t toLength = std::strlen(to);

    if (toLength <= fromLength) {
        // Shrinking or equal: the write position never passes the read
        // position, so one pass in place is safe.
        int count = 0;
        char* write = text;
        const char* read = text;
        while (*read != '\0') {
            if (std::strncmp(read, from, fromLength) == 0) {
                std::memcpy(write, to, toLength);
                write += toLength;
                read += fromLength;
                ++count;
            } else {
                *write++ = *read++;
            }
        }
        *write = '\0';
        return count;
    }

    // Growing: matches must be found left to right (patterns can overlap, as
    // "aa" in "aaa"), so build the result aside and copy it back.
    try {
        std::string result = strstrrep(std::string(text), std::string(from), std::string(to));
        int count = 0;
        for (const char* p = std::strstr(text, from); p != nullptr;
             p = std::strstr(p + fromLength, from))
            ++count;
        std::memcpy(text, result.c_str(), result.size() + 1);
        return count;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

std::string strstrrep(std::string text, const std::string& from, const std::string& to)
{
    if (from.empty())
        return text;
    std::string result;
    result.reserve(text.size());
    std::size_t start = 0;
    for (std::size_t hit = text.find(from); hit != std::string::npos;
         hit = text.find(from, start)) {
        result.append(text, start, hit - start);
        result += to;
        start = hit + from.size();
    }
    result.append(text, start, std::string::npos);
    return result;
}
