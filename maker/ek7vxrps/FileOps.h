#pragma once
// Small POSIX file helpers shared by the store and the record-file library:
// an owned descriptor, whole reads and writes that survive short transfers and
// signals, and a temporary file that becomes visible under its final name only
// when it is complete. Functions report errno values (0 = success).

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace rps {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    int release();
    void reset(int fd = -1);
    // Closes and reports the close's errno (NFS reports write errors there).
    int close();

private:
    int m_fd = -1;
};

// Opens path with O_CLOEXEC added; returns -1 and sets errno on failure.
int openFile(const std::string& path, int flags, mode_t mode = 0);

int writeAll(int fd, const void* data, std::size_t size);
int pwriteAll(int fd, const void* data, std::size_t size, off_t offset);

// Reads until size bytes or end of file; *got receives the count.
int readUpTo(int fd, void* data, std::size_t size, std::size_t* got);
// The same at an offset, leaving the file position alone.
int preadUpTo(int fd, void* data, std::size_t size, off_t offset, std::size_t* got);

// Whole-file helpers for small files.
int writeWholeFile(const std::string& path, const void* data, std::size_t size);
int readWholeFile(const std::string& path, std::string* content);

// Fsyncs the folder that holds path, so that a rename or link there survives
// a power loss.
int syncParentFolder(const std::string& path);

bool isDiskFull(int err);
bool fileExists(const std::string& path);

// A name that stays inside its folder: not empty, no '/', not "." or "..".
bool isPlainFileName(const char* name);

std::string joinPath(const std::string& folder, const std::string& name);
std::string baseNameOf(const std::string& path);
// The folder part of path ("." when there is none).
std::string parentFolderOf(const std::string& path);

// A file created as ".<name>.XXXXXX" beside its final name, mode 0600. It is
// removed on destruction unless publish() renamed it into place.
class TempFile {
public:
    TempFile() = default;
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    TempFile(TempFile&& other) noexcept;
    TempFile& operator=(TempFile&&) = delete;

    int create(const std::string& folder, const std::string& finalName);
    int fd() const { return m_fd.get(); }
    // Closes the file; with sync, fsyncs it first.
    int finish(bool sync);
    // Renames the finished file over its final name.
    int publish();
    // Gives the finished file its final name unless that name exists
    // (EEXIST then); nothing is ever replaced.
    int publishNoReplace();
    const std::string& tempPath() const { return m_tempPath; }
    const std::string& finalPath() const { return m_finalPath; }

private:
    UniqueFd m_fd;
    std::string m_tempPath;
    std::string m_finalPath;
    bool m_published = false;
};

}  // namespace rps
