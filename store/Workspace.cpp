#include "store/Workspace.h"

#include <filesystem>
#include <system_error>

#include "core/AppData.h"
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

}  // namespace

void deleteMatching(const std::string& folder, const std::string& pattern)
{
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (!entry.is_directory(error) && matches(pattern, entry.path().filename().string()))
            fs::remove(entry.path(), error);
    }
}

int Workspace(AppData& app, int mode, const std::string& pattern)
{
    if (mode == kCreate) {
        const std::string folder = uniqueTempName("Telvarine");
        std::error_code error;
        fs::remove(folder, error);  // only an empty leftover of the same name
        if (!fs::create_directory(folder, error)) {
            OutputDebugString("Workspace could not be created: " + folder + "\n");
            return kCannotCreate;
        }
        fs::permissions(folder, fs::perms::owner_all, fs::perm_options::replace, error);
        app.TempDir = folder;
    }
    if (app.TempDir.empty())
        return 0;
    deleteMatching(app.TempDir, pattern);
    if (mode == kRemove) {
        std::error_code error;
        fs::remove(app.TempDir, error);
    }
    return 0;
}

}  // namespace workspace
