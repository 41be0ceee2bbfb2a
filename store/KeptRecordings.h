// Recordings the store could not take (a full disk, a store that cannot be
// written) are not deleted: their work files are kept beside the store, in
// "<store name>.kept/<base name>/" (private to the user), and filed with a new
// RecID the next time the store is opened. The answer machine keeps a message
// it could not file this way; a recorder instead stays open with its sound.
#pragma once

#include <string>

struct AppData;
struct RecordingToFile;

namespace keptrecordings {

// "<ProfileDir>/<DataStoreName>.kept".
std::string folderFor(const AppData& app);

// Moves the recording's work files out of the workspace into its own folder
// there. True when they are all kept.
bool keep(const AppData& app, const RecordingToFile& recording);

struct Refiled {
    int filed = 0;  // filed now, and removed from the folder
    int left = 0;   // still kept: the store refused them again
};

// Files every kept recording into the store open in app.
Refiled fileKept(AppData& app);

}  // namespace keptrecordings
