// Byte-range locks with the Windows LockFile behaviour Navo relies on when it
// appends index lines under a lock: the lock is exclusive and non-blocking,
// and it holds against every other open handle of the file, including other
// handles in the same process and other processes.
//
// Built on Linux open-file-description locks, which belong to the open file
// (shared by dup() and fork()) rather than to the process, so two open()s of
// one file in one process conflict as two Windows handles do, and closing the
// last descriptor of an open file releases its locks.
//
// Differences from Windows that callers must not rely on: locking a range the
// same handle already holds succeeds (and merges with it), unlocking a range
// that is not locked succeeds, and a descriptor opened read-only can take
// only a shared lock, which keeps out writers' locks but not other readers'.
// A length of 0 locks nothing and succeeds.
#pragma once

#include "platform/WinTypes.h"

#include <cstdint>
#include <cstdio>

// FALSE at once when another handle holds a lock overlapping the range.
BOOL LockFile(int fd, std::uint64_t offset, std::uint64_t length);
BOOL UnlockFile(int fd, std::uint64_t offset, std::uint64_t length);
BOOL LockFile(std::FILE* file, std::uint64_t offset, std::uint64_t length);
BOOL UnlockFile(std::FILE* file, std::uint64_t offset, std::uint64_t length);

// Tries to lock a range for its lifetime: ok() says whether it got it; the
// destructor unlocks what it got.
class FileRangeLock {
public:
    FileRangeLock(int fd, std::uint64_t offset, std::uint64_t length);
    FileRangeLock(std::FILE* file, std::uint64_t offset, std::uint64_t length);
    ~FileRangeLock();
    FileRangeLock(const FileRangeLock&) = delete;
    FileRangeLock& operator=(const FileRangeLock&) = delete;

    bool ok() const { return m_locked; }

private:
    int m_fd;
    std::uint64_t m_offset;
    std::uint64_t m_length;
    bool m_locked;
};
