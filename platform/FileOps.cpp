#include "platform/FileOps.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

namespace fileops {

namespace {

enum class Step { Write, Sync, Other };

struct FaultState {
    std::mutex mutex;
    FaultPlan plan;
    FaultCounts counts;
    bool failing = false;  // a sticky write failure has begun
};

FaultState& faults()
{
    static FaultState state;
    return state;
}

// Counts one step and says whether it may go ahead: 0, or the errno it fails
// with. For a write, *allowed is how many of its bytes reach the disk.
int enter(Step step, std::size_t size = 0, std::size_t* allowed = nullptr)
{
    FaultState& state = faults();
    std::lock_guard<std::mutex> lock(state.mutex);
    FaultCounts& counts = state.counts;
    const FaultPlan& plan = state.plan;
    ++counts.steps;
    if (plan.dieAt != 0 && counts.steps == plan.dieAt)
        ::_exit(kDiedExitCode);
    if (step == Step::Sync) {
        ++counts.syncs;
        return plan.failSyncAt != 0 && counts.syncs == plan.failSyncAt ? EIO : 0;
    }
    if (step != Step::Write)
        return 0;
    ++counts.writes;
    if (plan.failWriteAt != 0 && counts.writes == plan.failWriteAt)
        state.failing = true;
    if (state.failing) {
        if (!plan.sticky && counts.writes != plan.failWriteAt)
            state.failing = false;
        else
            return plan.writeError;
    }
    if (plan.fullAfterBytes >= 0) {
        const auto room = static_cast<std::uint64_t>(plan.fullAfterBytes);
        *allowed = size <= room ? size : static_cast<std::size_t>(room);
        state.plan.fullAfterBytes -= static_cast<std::int64_t>(*allowed);
    }
    return 0;
}

}  // namespace

void setFaultPlan(const FaultPlan& plan)
{
    FaultState& state = faults();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.plan = plan;
    state.counts = FaultCounts{};
    state.failing = false;
}

void clearFaultPlan() { setFaultPlan(FaultPlan{}); }

FaultCounts faultCounts()
{
    FaultState& state = faults();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.counts;
}

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

int openFile(const std::string& path, Access access, unsigned mode)
{
    int flags = O_CLOEXEC;
    switch (access) {
    case Access::Read: flags |= O_RDONLY; break;
    case Access::ReadWrite: flags |= O_RDWR; break;
    case Access::ReadWriteCreate: flags |= O_RDWR | O_CREAT; break;
    case Access::CreateTruncate: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    case Access::Folder: flags |= O_RDONLY | O_DIRECTORY; break;
    }
    if ((flags & O_CREAT) != 0) {
        const int err = enter(Step::Other);
        if (err != 0) {
            errno = err;
            return -1;
        }
    }
    int fd;
    do {
        fd = ::open(path.c_str(), flags, static_cast<mode_t>(mode));
    } while (fd < 0 && errno == EINTR);
    return fd;
}

namespace {

// Repeats a read or a write until size bytes have moved, the call moves
// nothing (the end of a file) or fails; interrupted calls are retried.
template <typename Call>
int moveAll(std::size_t size, std::size_t* moved, Call call)
{
    std::size_t total = 0;
    while (total < size) {
        const ssize_t n = call(total);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            *moved = total;
            return errno;
        }
        if (n == 0)
            break;
        total += static_cast<std::size_t>(n);
    }
    *moved = total;
    return 0;
}

// A write that moved nothing is an I/O error; one cut short by the fault
// plan's full disk is ENOSPC after what fitted was written.
int writeResult(int err, std::size_t moved, std::size_t allowed, std::size_t size)
{
    if (err != 0)
        return err;
    if (moved < allowed)
        return EIO;
    return allowed == size ? 0 : ENOSPC;
}

}  // namespace

int writeAll(int fd, const void* data, std::size_t size)
{
    std::size_t allowed = size;
    if (const int fault = enter(Step::Write, size, &allowed); fault != 0)
        return fault;
    const auto* p = static_cast<const char*>(data);
    std::size_t moved = 0;
    const int err = moveAll(allowed, &moved, [&](std::size_t done) { return ::write(fd, p + done, allowed - done); });
    return writeResult(err, moved, allowed, size);
}

int pwriteAll(int fd, const void* data, std::size_t size, std::uint64_t offset)
{
    std::size_t allowed = size;
    if (const int fault = enter(Step::Write, size, &allowed); fault != 0)
        return fault;
    const auto* p = static_cast<const char*>(data);
    std::size_t moved = 0;
    const int err = moveAll(allowed, &moved, [&](std::size_t done) {
        return ::pwrite(fd, p + done, allowed - done, static_cast<off_t>(offset + done));
    });
    return writeResult(err, moved, allowed, size);
}

int syncFile(int fd)
{
    const int fault = enter(Step::Sync);
    if (fault != 0)
        return fault;
    return ::fsync(fd) == 0 ? 0 : errno;
}

int truncateFile(int fd, std::uint64_t size)
{
    enter(Step::Other);
    return ::ftruncate(fd, static_cast<off_t>(size)) == 0 ? 0 : errno;
}

int preadUpTo(int fd, void* data, std::size_t size, std::uint64_t offset, std::size_t* got)
{
    auto* p = static_cast<char*>(data);
    return moveAll(size, got, [&](std::size_t done) {
        return ::pread(fd, p + done, size - done, static_cast<off_t>(offset + done));
    });
}

int readUpTo(int fd, void* data, std::size_t size, std::size_t* got)
{
    auto* p = static_cast<char*>(data);
    return moveAll(size, got, [&](std::size_t done) { return ::read(fd, p + done, size - done); });
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
    UniqueFd fd(openFile(path, Access::Read));
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
    UniqueFd fd(openFile(parentFolderOf(path), Access::Folder));
    if (!fd.valid())
        return errno;
    return syncFile(fd.get());
}

int removeFile(const std::string& path)
{
    enter(Step::Other);
    return ::unlink(path.c_str()) == 0 ? 0 : errno;
}

int renameFile(const std::string& from, const std::string& to)
{
    enter(Step::Other);
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

int linkFile(const std::string& from, const std::string& to)
{
    enter(Step::Other);
    return ::link(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

int setFileMode(const std::string& path, unsigned mode)
{
    return ::chmod(path.c_str(), static_cast<mode_t>(mode)) == 0 ? 0 : errno;
}

int lockWholeFile(int fd)
{
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    whole.l_start = 0;
    whole.l_len = 0;
    int rc;
    do {
        rc = ::fcntl(fd, F_OFD_SETLKW, &whole);
    } while (rc != 0 && errno == EINTR);
    return rc == 0 ? 0 : errno;
}

int makeTempFolder(const std::string& parent, const std::string& prefix, std::string* path)
{
    enter(Step::Other);
    std::string pattern = joinPath(parent, prefix + "XXXXXX");
    if (::mkdtemp(pattern.data()) == nullptr)
        return errno;
    *path = pattern;
    return 0;
}

namespace {
void fill(const struct stat& st, FileInfo* info)
{
    info->regular = S_ISREG(st.st_mode);
    info->size = static_cast<std::uint64_t>(st.st_size);
    info->mode = static_cast<unsigned>(st.st_mode & 07777);
    info->device = static_cast<std::uint64_t>(st.st_dev);
    info->inode = static_cast<std::uint64_t>(st.st_ino);
}
}  // namespace

int infoOf(const std::string& path, FileInfo* info)
{
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return errno;
    fill(st, info);
    return 0;
}

int infoOf(int fd, FileInfo* info)
{
    struct stat st {};
    if (::fstat(fd, &st) != 0)
        return errno;
    fill(st, info);
    return 0;
}

bool isRegularFile(const std::string& path)
{
    FileInfo info;
    return infoOf(path, &info) == 0 && info.regular;
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
    const int fault = enter(Step::Other);
    if (fault != 0)
        return fault;
    const int fd = ::mkostemp(buffer.data(), O_CLOEXEC);
    if (fd < 0)
        return errno;
    m_fd.reset(fd);
    m_tempPath.assign(buffer.data());
    return 0;
}

int TempFile::finish(bool sync)
{
    if (sync) {
        const int err = syncFile(m_fd.get());
        if (err != 0)
            return err;
    }
    return m_fd.close();
}

int TempFile::publish()
{
    const int err = renameFile(m_tempPath, m_finalPath);
    if (err != 0)
        return err;
    m_published = true;
    return 0;
}

int TempFile::publishNoReplace()
{
    enter(Step::Other);
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

}  // namespace fileops
