#include "maker/ZOLO/ZOLOWORD.h"

#include <cstring>

int word_find(const char* line, char* out, int n)
{
    if (out == nullptr)
        return 0;
    out[0] = '\0';
    if (line == nullptr || n < 1)
        return 0;

    const char* end = line;
    while (*end != '\0' && *end != '\n')
        ++end;
    if (*end == '\n' && end > line && end[-1] == '\r')
        --end;

    const char* field = line;
    for (int i = 1; i < n; ++i) {
        const char* space = static_cast<const char*>(std::memchr(field, ' ', end - field));
        if (space == nullptr)
            return 0;
        field = space + 1;
    }
    const char* space = static_cast<const char*>(std::memchr(field, ' ', end - field));
    const char* fieldEnd = space != nullptr ? space : end;
    const int length = static_cast<int>(fieldEnd - field);
    std::memcpy(out, field, length);
    out[length] = '\0';
    return length;
}
