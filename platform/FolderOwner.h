// Folders a running process holds for itself (Navo's temporary workspace),
// so that a later start can tell a folder left behind by a killed process
// from one in use: the owner writes its process id into a file in the folder
// and keeps that file locked; the system drops the lock when the process
// ends, however it ends.
#pragma once

#include <string>

// Records this process as the owner of folder in folder/fileName and holds
// the file locked until releaseFolder(folder) or the end of the process.
// False when the file cannot be made.
bool claimFolder(const std::string& folder, const std::string& fileName);
void releaseFolder(const std::string& folder);

// True only when folder is a folder (not a link) of this user's, names its
// owner in folder/fileName, no process of that id is running and nothing
// holds the file's lock. A folder without the file (still being set up, or
// left by an older Navo) is never abandoned.
bool isAbandonedFolder(const std::string& folder, const std::string& fileName);

// Files and folders this process creates from now on are its user's alone
// (the process's file mode mask becomes 077). It covers the writers Navo
// does not open files for itself: SQLite's journals, libzip's temporary
// copies, the C++ streams of the work files.
void makeNewFilesPrivate();
