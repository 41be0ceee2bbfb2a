#include "store/Workspace.h"

#include <filesystem>
#include <system_error>

#include "core/AppData.h"
#include "platform/FolderOwner.h"
#include "platform/TempName.h"
#include "platform/Trace.h"

namespace fs = std::filesystem;

namespace workspace {

namespace {

bool matches(const std::string& pattern, const std::string& name)
{
    if (pattern == "*.*" || pattern == "*")
        return true;
    // Only "*" and "?" occur in the patterns Navo uses.
    std::size_t p = 0, n = 0, star = std::string::npos, mark = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            mark = n;
        } else if (star != std::string::npos) {
            p = star + 1;
            n = ++mark;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

constexpr char kPrefix[] = "Telvarine";

// "Telvarine" and the 4 to 8 hex digits of a temporary name.
bool isWorkspaceName(const std::string& name)
{
    const std::size_t prefix = sizeof kPrefix - 1;
    if (name.compare(0, prefix, kPrefix) != 0 || name.size() < prefix + 4 || name.size() > prefix + 8)
        return false;
    return name.find_first_not_of("0123456789ABCDEF", prefix) == std::string::npos;
}

// Workspaces of this user's Navo processes that were killed: nothing else
// ever removes them, and they hold copies of the index, the family files and
// the greeting.
void removeAbandoned(const fs::path& tempFolder)
{
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(tempFolder, error)) {
        const std::string name = entry.path().filename().string();
        if (isWorkspaceName(name) && isAbandonedFolder(entry.path().string(), kOwnerFile)) {
            OutputDebugString("Removing the workspace of a Navo that ended without it: " + entry.path().string() +
                              "\n");
            fs::remove_all(entry.path(), error);
        }
    }
}

}  // namespace

void deleteMatching(const std::string& folder, const std::string& pattern)
{
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_directory(error) && name != kOwnerFile && matches(pattern, name))
            fs::remove(entry.path(), error);
    }
}

int Workspace(AppData& app, int mode, const std::string& pattern)
{
    if (mode == kCreate) {
        makeNewFilesPrivate();
        const std::string folder = uniqueTempName(kPrefix);
        removeAbandoned(fs::path(folder).parent_path());
        std::error_code error;
        fs::remove(folder, error);  // only an empty leftover of the same name
        if (!fs::create_directory(folder, error)) {
            OutputDebugString("Workspace could not be created: " + folder + "\n");
            return kCannotCreate;
        }
        fs::permissions(folder, fs::perms::owner_all, fs::perm_options::replace, error);
        if (!claimFolder(folder, kOwnerFile)) {
            OutputDebugString("Workspace could not be claimed: " + folder + "\n");
            fs::remove_all(folder, error);
            return kCannotCreate;
        }
        app.TempDir = folder;
    }
    if (app.TempDir.empty())
        return 0;
    deleteMatching(app.TempDir, pattern);
    if (mode == kRemove) {
        std::error_code error;
        releaseFolder(app.TempDir);
        fs::remove(fs::path(app.TempDir) / kOwnerFile, error);
        fs::remove(app.TempDir, error);
    }
    return 0;
}

}  // namespace workspace
