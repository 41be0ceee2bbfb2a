// Temporary names: four hex digits like Windows', from a random start, with
// eight digits once the short names run short.
#include "platform/TempName.h"

#include <QFile>

#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <random>
#include <unordered_set>

std::string uniqueTempName(const std::string& prefix)
{
    static std::mutex mutex;
    static std::unordered_set<std::string> issued;
    static std::mt19937 random{std::random_device{}()};

    // TMPDIR as it stands: a folder that is missing must make the caller's
    // create fail, not send the name to the root folder.
    std::string folder = QFile::encodeName(qEnvironmentVariable("TMPDIR")).toStdString();
    if (folder.empty())
        folder = "/tmp";
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    std::lock_guard<std::mutex> lock(mutex);
    for (int attempt = 0;; ++attempt) {
        const std::uint32_t number = random();
        char digits[9];
        if (attempt < 64)
            std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(number & 0xFFFF));
        else
            std::snprintf(digits, sizeof digits, "%08X", static_cast<unsigned>(number));
        std::string path = folder + "/" + prefix + digits;
        struct stat st {};
        // lstat, so that a dangling symbolic link counts as taken.
        if (::lstat(path.c_str(), &st) != 0 && issued.insert(path).second)
            return path;
    }
}
