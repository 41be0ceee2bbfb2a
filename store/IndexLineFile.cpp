#include "store/IndexLineFile.h"

#include "platform/FileLock.h"
#include "platform/FileOps.h"
#include "store/IndexLine.h"

namespace indexlinefile {

namespace {
// Opened for writing, created when absent, never truncated.
fileops::UniqueFd openForWriting(const std::string& path)
{
    return fileops::UniqueFd(fileops::openFile(path, fileops::Access::ReadWriteCreate));
}
}  // namespace

std::pair<long long, long long> appendLockRange(long long endOffset)
{
    return {endOffset, endOffset + static_cast<long long>(indexline::kLineBytes)};
}

int rewriteFromColumns(const std::string& path, const std::vector<std::string>& columns)
{
    fileops::UniqueFd file = openForWriting(path);
    if (!file.valid())
        return 0;
    const std::string line = indexline::fromColumns(columns);
    return fileops::pwriteAll(file.get(), line.data(), line.size(), 0) == 0 && file.close() == 0 ? 1 : 0;
}

int appendLocked(const std::string& path, const std::string& line)
{
    fileops::UniqueFd file = openForWriting(path);
    fileops::FileInfo info;
    if (!file.valid() || fileops::infoOf(file.get(), &info) != 0)
        return 0;
    const auto [offset, length] = appendLockRange(static_cast<long long>(info.size));
    FileRangeLock lock(file.get(), static_cast<std::uint64_t>(offset), static_cast<std::uint64_t>(length));
    if (!lock.ok())
        return 0;
    return fileops::pwriteAll(file.get(), line.data(), line.size(), info.size) == 0 ? 1 : 0;
}

}  // namespace indexlinefile
