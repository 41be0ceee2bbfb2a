#include "maker/ek7vxrps/FileOps.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace rps {

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept
{
    if (this != &other)
        reset(other.release());
    return *this;
}

int UniqueFd::release()
{
    const int fd = m_fd;
    m_fd = -1;
    return fd;
}

void UniqueFd::reset(int fd)
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = fd;
}

int UniqueFd::close()
{
    if (m_fd < 0)
        return 0;
    const int fd = release();
    // Linux releases the descriptor even when close fails, so never retry.
    return ::close(fd) == 0 ? 0 : errno;
}

int openFile(const std::string& path, int flags, mode_t mode)
{
    int fd;
    do {
        fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

int writeAll(int fd, const void* data, std::size_t size)
{
    const auto* p = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::write(fd, p, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (n == 0)
            return EIO;
        p += n;
        size -= static_cast<std::size_t>(n);
    }
    return 0;
}

int pwriteAll(int fd, const void* data, std::size_t size, off_t offset)
{
    const auto* p = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::pwrite(fd, p, size, offset);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (n == 0)
            return EIO;
        p += n;
        size -= static_cast<std::size_t>(n);
        offset += n;
    }
    return 0;
}

int preadUpTo(int fd, void* data, std::size_t size, off_t offset, std::size_t* got)
{
    auto* p = static_cast<char*>(data);
    std::size_t total = 0;
    while (total < size) {
        const ssize_t n = ::pread(fd, p + total, size - total, offset + static_cast<off_t>(total));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            *got = total;
            return errno;
        }
        if (n == 0)
            break;
        total += static_cast<std::size_t>(n);
    }
    *got = total;
    return 0;
}

int readUpTo(int fd, void* data, std::size_t size, std::size_t* got)
{
    auto* p = static_cast<char*>(data);
    std::size_t total = 0;
    while (total < size) {
        const ssize_t n = ::read(fd, p + total, size - total);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            *got = total;
            return errno;
        }
        if (n == 0)
            break;
        total += static_cast<std::size_t>(n);
    }
    *got = total;
    return 0;
}

int writeWholeFile(const std::string& path, const void* data, std::size_t size)
{
    TempFile file;
    int err = file.create(parentFolderOf(path), baseNameOf(path));
    if (err == 0)
        err = writeAll(file.fd(), data, size);
    if (err == 0)
        err = file.finish(false);
    if (err == 0)
        err = file.publish();
    return err;
}

int readWholeFile(const std::string& path, std::string* content)
{
    UniqueFd fd(openFile(path, O_RDONLY));
    if (!fd.valid())
        return errno;
    content->clear();
    std::vector<char> buffer(64 * 1024);
    for (;;) {
        std::size_t got = 0;
        const int err = readUpTo(fd.get(), buffer.data(), buffer.size(), &got);
        if (err != 0)
            return err;
        content->append(buffer.data(), got);
        if (got < buffer.size())
            return 0;
    }
}

int syncParentFolder(const std::string& path)
{
    UniqueFd fd(openFile(parentFolderOf(path), O_RDONLY | O_DIRECTORY));
    if (!fd.valid())
        return errno;
    return ::fsync(fd.get()) == 0 ? 0 : errno;
}

bool isDiskFull(int err)
{
    return err == ENOSPC || err == EDQUOT;
}

bool fileExists(const std::string& path)
{
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

bool isPlainFileName(const char* name)
{
    if (name == nullptr || name[0] == '\0')
        return false;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
        return false;
    // A backslash separates folders on Windows; refuse it too, so that a
    // name from an archive made there cannot climb out either.
    return std::strchr(name, '/') == nullptr && std::strchr(name, '\\') == nullptr;
}

std::string joinPath(const std::string& folder, const std::string& name)
{
    if (folder.empty())
        return name;
    if (folder.back() == '/')
        return folder + name;
    return folder + "/" + name;
}

std::string baseNameOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string parentFolderOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

TempFile::~TempFile()
{
    m_fd.reset();
    if (!m_published && !m_tempPath.empty())
        ::unlink(m_tempPath.c_str());
}

TempFile::TempFile(TempFile&& other) noexcept
    : m_fd(std::move(other.m_fd)),
      m_tempPath(std::move(other.m_tempPath)),
      m_finalPath(std::move(other.m_finalPath)),
      m_published(other.m_published)
{
    other.m_tempPath.clear();
    other.m_published = true;
}

int TempFile::create(const std::string& folder, const std::string& finalName)
{
    m_finalPath = joinPath(folder, finalName);
    std::string pattern = joinPath(folder, "." + finalName + ".XXXXXX");
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    // mkostemp creates the file with mode 0600, which is what every file the
    // libraries write should have: recordings are private.
    const int fd = ::mkostemp(buffer.data(), O_CLOEXEC);
    if (fd < 0)
        return errno;
    m_fd.reset(fd);
    m_tempPath.assign(buffer.data());
    return 0;
}

int TempFile::finish(bool sync)
{
    if (sync && ::fsync(m_fd.get()) != 0)
        return errno;
    return m_fd.close();
}

int TempFile::publish()
{
    if (::rename(m_tempPath.c_str(), m_finalPath.c_str()) != 0)
        return errno;
    m_published = true;
    return 0;
}

int TempFile::publishNoReplace()
{
    if (::link(m_tempPath.c_str(), m_finalPath.c_str()) == 0) {
        ::unlink(m_tempPath.c_str());
        m_published = true;
        return 0;
    }
    const int err = errno;
    // Some file systems (FAT on a memory stick) have no hard links; fall back
    // to a checked rename, which leaves only a tiny window for a race.
    if (err != EPERM && err != ENOTSUP && err != EOPNOTSUPP && err != ENOSYS)
        return err;
    if (fileExists(m_finalPath))
        return EEXIST;
    return publish();
}

}  // namespace rps
