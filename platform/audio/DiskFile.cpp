#include "platform/audio/DiskFile.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Bytes left before the simulated full disk; negative = no fault.
std::atomic<std::int64_t> g_writeBudget{-1};

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
    int flags = O_CLOEXEC;
    switch (mode) {
    case Mode::Read: flags |= O_RDONLY; break;
    case Mode::ReadWrite: flags |= O_RDWR; break;
    case Mode::OpenAlways: flags |= O_RDWR | O_CREAT; break;
    case Mode::CreateAlways: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    }
    m_fd = ::open(path.c_str(), flags, 0600);  // recordings are their owner's alone
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
    auto* out = static_cast<char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::read(m_fd, out + done, size - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            fail(errno);
            return done;
        }
        if (n == 0)
            break;
        done += static_cast<std::size_t>(n);
    }
    return done;
}

std::size_t DiskFile::readAt(std::uint64_t offset, void* buffer, std::size_t size) const
{
    auto* out = static_cast<char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::pread(m_fd, out + done, size - done, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        done += static_cast<std::size_t>(n);
    }
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

    std::size_t allowed = size;
    bool faulted = false;
    std::int64_t budget = g_writeBudget.load();
    while (budget >= 0) {
        const auto take = static_cast<std::int64_t>(size) <= budget ? static_cast<std::int64_t>(size) : budget;
        if (g_writeBudget.compare_exchange_weak(budget, budget - take)) {
            allowed = static_cast<std::size_t>(take);
            faulted = allowed < size;
            break;
        }
    }

    const auto* in = static_cast<const char*>(data);
    std::size_t done = 0;
    int error = 0;
    while (done < allowed) {
        const ssize_t n = ::write(m_fd, in + done, allowed - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            error = errno;
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    if (done == size)
        return true;
    fail(error != 0 ? error : (faulted ? ENOSPC : EIO));
    if (appending && start >= 0) {
        // Take the partial write back so the file ends where it did.
        if (::ftruncate(m_fd, start) == 0)
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

bool DiskFile::truncate(std::uint64_t size)
{
    if (::ftruncate(m_fd, static_cast<off_t>(size)) != 0) {
        fail(errno);
        return false;
    }
    return true;
}

void DiskFile::failWritesAfter(std::uint64_t bytes) { g_writeBudget = static_cast<std::int64_t>(bytes); }

void DiskFile::clearWriteFault() { g_writeBudget = -1; }
