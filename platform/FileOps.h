#pragma once
// The one way Navo's own code changes files for the store workspace, the
// record files and the waves: an owned descriptor, whole reads and writes
// that survive short transfers and signals, renames, syncs, and a temporary
// file that becomes visible under its final name only when it is complete.
// Functions report errno values (0 = success); openFile sets errno.
//
// The fault hook sits here and nowhere else, so that a test can make any
// writer meet a failing write, a failing sync, a full disk or a death at its
// Nth step without the writer knowing.

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

namespace fileops {

// ---------------------------------------------------------------------------
// Faults

struct FaultPlan {
    int failWriteAt = 0;       // the Nth write (1-based) fails; 0 = never
    int writeError = ENOSPC;   // what a failing write reports
    bool sticky = false;       // and so does every write after it
    int failSyncAt = 0;        // the Nth sync fails with EIO
    int dieAt = 0;             // the process ends (_exit) at its Nth step
    // The disk is full once this many more bytes are written (-1 = never);
    // the write that crosses the line writes what fits.
    std::int64_t fullAfterBytes = -1;

    static FaultPlan diskFullAfter(std::int64_t bytes)
    {
        FaultPlan plan;
        plan.fullAfterBytes = bytes;
        return plan;
    }
};

// What the seam counted since the plan was set: writes, syncs, and steps
// (every change to the disk: a create, write, sync, rename, link, removal,
// truncation or new folder).
struct FaultCounts {
    int writes = 0;
    int syncs = 0;
    int steps = 0;
};

// The exit status of a process that died by plan.
constexpr int kDiedExitCode = 86;

void setFaultPlan(const FaultPlan& plan);
void clearFaultPlan();
FaultCounts faultCounts();

// ---------------------------------------------------------------------------
// Files

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

enum class Access {
    Read,             // an existing file
    ReadWrite,        // an existing file
    ReadWriteCreate,  // created when missing, never truncated
    CreateTruncate,   // read and write, created or emptied
    Folder,           // a folder, to sync it
};

// Opens path (new files get mode); returns -1 and sets errno on failure.
int openFile(const std::string& path, Access access, unsigned mode = 0600);

int writeAll(int fd, const void* data, std::size_t size);
int pwriteAll(int fd, const void* data, std::size_t size, std::uint64_t offset);
int syncFile(int fd);
int truncateFile(int fd, std::uint64_t size);

// Reads until size bytes or end of file; *got receives the count.
int readUpTo(int fd, void* data, std::size_t size, std::size_t* got);
// The same at an offset, leaving the file position alone.
int preadUpTo(int fd, void* data, std::size_t size, std::uint64_t offset, std::size_t* got);

// Whole-file helpers for small files.
int writeWholeFile(const std::string& path, const void* data, std::size_t size);
int readWholeFile(const std::string& path, std::string* content);

int removeFile(const std::string& path);
int renameFile(const std::string& from, const std::string& to);
// A second name for a file (EEXIST when to exists; EPERM and the like where
// the file system has no links).
int linkFile(const std::string& from, const std::string& to);
int setFileMode(const std::string& path, unsigned mode);

// Fsyncs the folder that holds path, so that a rename or link there survives
// a power loss.
int syncParentFolder(const std::string& path);

// Waits for a write lock on the whole file, held by this descriptor (not the
// process) until it is closed.
int lockWholeFile(int fd);

// A new private folder "<parent>/<prefix>XXXXXX".
int makeTempFolder(const std::string& parent, const std::string& prefix, std::string* path);

struct FileInfo {
    bool regular = false;
    std::uint64_t size = 0;
    unsigned mode = 0;  // permission bits
    // Which file it is: a file renamed into place under the same name is
    // another file.
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};
// ENOENT (or ENOTDIR) when there is nothing at path.
int infoOf(const std::string& path, FileInfo* info);
int infoOf(int fd, FileInfo* info);

bool isDiskFull(int err);
bool fileExists(const std::string& path);
bool isRegularFile(const std::string& path);

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

}  // namespace fileops
