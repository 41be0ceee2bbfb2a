#include "platform/audio/DiskFile.h"

#include "platform/FileOps.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string tempFolder()
{
    const char* dir = std::getenv("TMPDIR");
    return dir != nullptr && *dir != '\0' ? dir : "/tmp";
}

}  // namespace

DiskFile::~DiskFile() { close(); }

DiskFile::DiskFile(DiskFile&& other) noexcept
    : m_fd(other.m_fd), m_errorText(std::move(other.m_errorText))
{
    other.m_fd = -1;
}

DiskFile& DiskFile::operator=(DiskFile&& other) noexcept
{
    if (this != &other) {
        close();
        m_fd = other.m_fd;
        m_errorText = std::move(other.m_errorText);
        other.m_fd = -1;
    }
    return *this;
}

void DiskFile::fail(int error) { m_errorText = std::strerror(error); }

bool DiskFile::open(const std::string& path, Mode mode)
{
    close();
    using fileops::Access;
    Access access = Access::Read;
    switch (mode) {
    case Mode::Read: access = Access::Read; break;
    case Mode::ReadWrite: access = Access::ReadWrite; break;
    case Mode::OpenAlways: access = Access::ReadWriteCreate; break;
    case Mode::CreateAlways: access = Access::CreateTruncate; break;
    }
    m_fd = fileops::openFile(path, access, 0600);  // recordings are their owner's alone
    if (m_fd < 0) {
        fail(errno);
        return false;
    }
    struct stat st {};
    if (::fstat(m_fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        close();
        fail(EISDIR);
        return false;
    }
    return true;
}

bool DiskFile::openAnonymous(const std::string& folder)
{
    close();
    std::string pattern = (folder.empty() ? tempFolder() : folder) + "/navo-scratch-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    m_fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (m_fd < 0) {
        fail(errno);
        return false;
    }
    ::unlink(name.data());
    return true;
}

void DiskFile::close()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

std::size_t DiskFile::read(void* buffer, std::size_t size)
{
    std::size_t done = 0;
    const int error = fileops::readUpTo(m_fd, buffer, size, &done);
    if (error != 0)
        fail(error);
    return done;
}

std::size_t DiskFile::readAt(std::uint64_t offset, void* buffer, std::size_t size) const
{
    std::size_t done = 0;
    fileops::preadUpTo(m_fd, buffer, size, offset, &done);
    return done;
}

bool DiskFile::write(const void* data, std::size_t size)
{
    if (m_fd < 0) {
        fail(EBADF);
        return false;
    }
    const off_t start = ::lseek(m_fd, 0, SEEK_CUR);
    const bool appending = start >= 0 && static_cast<std::uint64_t>(start) == this->size();
    const int error = fileops::writeAll(m_fd, data, size);
    if (error == 0)
        return true;
    fail(error);
    if (appending && start >= 0) {
        // Take the partial write back so the file ends where it did.
        if (fileops::truncateFile(m_fd, static_cast<std::uint64_t>(start)) == 0)
            ::lseek(m_fd, start, SEEK_SET);
    }
    return false;
}

bool DiskFile::seek(std::uint64_t offset)
{
    if (::lseek(m_fd, static_cast<off_t>(offset), SEEK_SET) < 0) {
        fail(errno);
        return false;
    }
    return true;
}

bool DiskFile::seekToEnd()
{
    if (::lseek(m_fd, 0, SEEK_END) < 0) {
        fail(errno);
        return false;
    }
    return true;
}

std::uint64_t DiskFile::tell() const
{
    const off_t pos = ::lseek(m_fd, 0, SEEK_CUR);
    return pos < 0 ? 0 : static_cast<std::uint64_t>(pos);
}

std::uint64_t DiskFile::size() const
{
    struct stat st {};
    if (m_fd < 0 || ::fstat(m_fd, &st) != 0)
        return 0;
    return static_cast<std::uint64_t>(st.st_size);
}

bool DiskFile::sync()
{
    const int error = fileops::syncFile(m_fd);
    if (error != 0)
        fail(error);
    return error == 0;
}

bool DiskFile::truncate(std::uint64_t size)
{
    const int error = fileops::truncateFile(m_fd, size);
    if (error != 0)
        fail(error);
    return error == 0;
}
