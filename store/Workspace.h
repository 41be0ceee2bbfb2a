// The temporary workspace: the private folder where a store's components and
// a recording's work files live while Navo runs.
//   mode 1: make a new folder (TempDir) and clear it;
//   mode 0: delete the files matching the pattern;
//   mode 2: delete them, then remove the folder.
#pragma once

#include <string>

struct AppData;

namespace workspace {

inline constexpr int kCreate = 1;
inline constexpr int kClear = 0;
inline constexpr int kRemove = 2;
inline constexpr int kCannotCreate = 119;

// The file in the workspace that names the process holding it; the patterns
// of modes 0 and 2 never delete it, mode 2 removes it with the folder.
inline constexpr char kOwnerFile[] = "Telvarine.owner";

// 0, or 119 when the folder cannot be made. The folder and every file the
// process makes from then on are readable by their owner only: they hold
// private recordings. Creating a workspace first removes this user's
// workspaces whose Navo ended without removing them (killed, crashed).
int Workspace(AppData& app, int mode, const std::string& pattern);

// Files of folder whose names match a Windows wildcard ("*.*" matches every
// file, with or without a dot).
void deleteMatching(const std::string& folder, const std::string& pattern);

}  // namespace workspace
