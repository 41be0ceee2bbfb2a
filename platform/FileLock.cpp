#include "platform/FileLock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace {

bool setLock(int fd, std::uint64_t offset, std::uint64_t length, bool lock)
{
    if (fd < 0)
        return false;
    if (length == 0)
        return true;
    constexpr auto kMax = static_cast<std::uint64_t>(INT64_MAX);
    if (offset > kMax)
        return false;
    struct flock range {};
    const int mode = ::fcntl(fd, F_GETFL);
    if (mode < 0)
        return false;
    if (!lock)
        range.l_type = F_UNLCK;
    else
        range.l_type = (mode & O_ACCMODE) == O_RDONLY ? F_RDLCK : F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(offset);
    // A range reaching past the largest offset (Windows callers lock "the
    // whole file" as offset 0, length ~0) runs to the end: l_len 0.
    range.l_len = length > kMax - offset ? 0 : static_cast<off_t>(length);
    range.l_pid = 0;  // required for open-file-description locks
    return ::fcntl(fd, F_OFD_SETLK, &range) == 0;
}

int descriptorOf(std::FILE* file)
{
    return file == nullptr ? -1 : ::fileno(file);
}

}  // namespace

BOOL LockFile(int fd, std::uint64_t offset, std::uint64_t length)
{
    return setLock(fd, offset, length, true) ? TRUE : FALSE;
}

BOOL UnlockFile(int fd, std::uint64_t offset, std::uint64_t length)
{
    return setLock(fd, offset, length, false) ? TRUE : FALSE;
}

BOOL LockFile(std::FILE* file, std::uint64_t offset, std::uint64_t length)
{
    return LockFile(descriptorOf(file), offset, length);
}

BOOL UnlockFile(std::FILE* file, std::uint64_t offset, std::uint64_t length)
{
    return UnlockFile(descriptorOf(file), offset, length);
}

FileRangeLock::FileRangeLock(int fd, std::uint64_t offset, std::uint64_t length)
    : m_fd(fd), m_offset(offset), m_length(length), m_locked(LockFile(fd, offset, length) == TRUE)
{
}

FileRangeLock::FileRangeLock(std::FILE* file, std::uint64_t offset, std::uint64_t length)
    : FileRangeLock(descriptorOf(file), offset, length)
{
}

FileRangeLock::~FileRangeLock()
{
    if (m_locked)
        UnlockFile(m_fd, m_offset, m_length);
}
