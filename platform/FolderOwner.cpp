// Folder owners by process id and a BSD lock (flock), which belongs to the
// open file: a second open in the same process does not get it either, and
// it outlives neither the process nor its forked children's copies.
#include "platform/FolderOwner.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

namespace {

std::mutex g_mutex;
std::map<std::string, int>& heldFolders()
{
    static std::map<std::string, int> folders;
    return folders;
}

bool processRuns(long pid)
{
    if (pid <= 0 || pid > 0x7FFFFFFF)
        return false;
    return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH;
}

}  // namespace

bool claimFolder(const std::string& folder, const std::string& fileName)
{
    const std::string path = folder + "/" + fileName;
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    // Locked before the id is in it: a file without an id is never stale.
    const std::string pid = std::to_string(::getpid()) + "\n";
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0 ||
        ::write(fd, pid.data(), pid.size()) != static_cast<ssize_t>(pid.size())) {
        ::close(fd);
        ::unlink(path.c_str());
        return false;
    }
    std::lock_guard<std::mutex> lock(g_mutex);
    auto& held = heldFolders();
    if (const auto old = held.find(folder); old != held.end())
        ::close(old->second);
    held[folder] = fd;
    return true;
}

void releaseFolder(const std::string& folder)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    auto& held = heldFolders();
    if (const auto it = held.find(folder); it != held.end()) {
        ::close(it->second);
        held.erase(it);
    }
}

bool isAbandonedFolder(const std::string& folder, const std::string& fileName)
{
    struct stat st {};
    if (::lstat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::geteuid())
        return false;
    const std::string path = folder + "/" + fileName;
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool abandoned = false;
    char text[32] = {};
    const ssize_t n = ::read(fd, text, sizeof text - 1);
    if (n > 0 && ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_uid == ::geteuid()) {
        char* end = nullptr;
        const long pid = std::strtol(text, &end, 10);
        const bool wellFormed = end != text && *end == '\n';
        // The lock settles it where process ids are no proof: an id reused
        // by another program, an owner in another process-id namespace.
        abandoned = wellFormed && !processRuns(pid) && ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    }
    ::close(fd);
    return abandoned;
}

void makeNewFilesPrivate()
{
    ::umask(077);
}
