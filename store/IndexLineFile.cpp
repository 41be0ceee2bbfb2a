#include "store/IndexLineFile.h"

#include <cstdio>
#include <memory>

#include "platform/FileLock.h"
#include "store/IndexLine.h"

namespace indexlinefile {

namespace {
struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Opened for writing, created when absent, never truncated.
File openForWriting(const std::string& path)
{
    File file(std::fopen(path.c_str(), "r+b"));
    if (!file)
        file.reset(std::fopen(path.c_str(), "w+b"));
    return file;
}
}  // namespace

std::pair<long long, long long> appendLockRange(long long endOffset)
{
    return {endOffset, endOffset + static_cast<long long>(indexline::kLineBytes)};
}

int rewriteFromColumns(const std::string& path, const std::vector<std::string>& columns)
{
    File file = openForWriting(path);
    if (!file)
        return 0;
    const std::string line = indexline::fromColumns(columns);
    if (std::fwrite(line.data(), 1, line.size(), file.get()) != line.size() || std::fflush(file.get()) != 0)
        return 0;
    return 1;
}

int appendLocked(const std::string& path, const std::string& line)
{
    File file = openForWriting(path);
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0)
        return 0;
    const long end = std::ftell(file.get());
    if (end < 0)
        return 0;
    const auto [offset, length] = appendLockRange(end);
    FileRangeLock lock(file.get(), static_cast<std::uint64_t>(offset), static_cast<std::uint64_t>(length));
    if (!lock.ok())
        return 0;
    const bool written = std::fwrite(line.data(), 1, line.size(), file.get()) == line.size() &&
                         std::fflush(file.get()) == 0;
    return written ? 1 : 0;
}

}  // namespace indexlinefile
