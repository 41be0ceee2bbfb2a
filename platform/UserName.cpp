#include "platform/UserName.h"

#include "platform/Codepage.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string logOnName()
{
    std::vector<char> scratch(16384);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, scratch.data(), scratch.size(), &found) == 0 && found != nullptr
        && found->pw_name != nullptr && *found->pw_name != '\0')
        return found->pw_name;
    for (const char* variable : {"USER", "LOGNAME"}) {
        const char* value = std::getenv(variable);
        if (value != nullptr && *value != '\0')
            return value;
    }
    return {};
}

}  // namespace

BOOL GetUserNameA(char* buffer, DWORD* size)
{
    if (size == nullptr)
        return FALSE;
    const std::string name = ansiFromUtf8(logOnName());  // system names are UTF-8
    if (name.empty())
        return FALSE;
    const auto needed = static_cast<DWORD>(name.size() + 1);
    if (buffer == nullptr || *size < needed) {
        *size = needed;
        return FALSE;
    }
    std::memcpy(buffer, name.c_str(), needed);
    *size = needed;
    return TRUE;
}
