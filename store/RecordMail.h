// Sending recordings by e-mail, the parts without a window: taking the
// record files out of the store, locking the copies, the subject, body and
// size texts, and the hand-over to the simple mail interface with its
// result codes. Texts are Windows-1252 bytes ("Navo\x99" is "Navo™").
#pragma once

#include <string>
#include <vector>

namespace recordmail {

inline constexpr int kSent = 0;
inline constexpr int kCancelled = 500;              // shown (string 657)
inline constexpr int kFailed = 501;                 // shown (string 658)
inline constexpr int kNoMemory = 502;               // returned, never shown
inline constexpr int kAttachmentNotFound = 503;     // returned, never shown
inline constexpr int kAttachmentOpenFailure = 504;  // returned, never shown

// The total size of the files: " 1.00 MB", "400.00 KB" ("%5.2f", a space,
// then GB, MB, KB or bytes, the largest unit that gives 1 or more). A file
// that cannot be opened counts 0.
std::string sizeText(const std::vector<std::string>& paths);

// "[Enter your subject heading here] (Navo Recording :- 400.00 KB)".
std::string subjectText(const std::string& sizeText);

// The whole body: the kind line (video when the first file's extension is
// "VXV", in any case), the number of messages, how to play them and where
// to find out more.
std::string bodyText(const std::vector<std::string>& paths);

// Send files: the composer with the subject, the body and the files
// attached. 0, 500 (cancelled in the composer), 501 (no composer, or it
// failed), 502, 503 (a file is missing) or 504 (a file cannot be read).
int sendFiles(const std::vector<std::string>& paths);

// Takes the record files (names "%08d.vxz") out of the store into folder
// with RPS_Get and makes them writable. 0 and their full paths, or
// 111 when they could not be taken out (then no path is given).
int extractRecords(const std::string& storePath, const std::string& folder,
                   const std::vector<std::string>& names, std::vector<std::string>* paths);

// Marks a record file on disk as locked (its "vxs" info says so, with who
// locked it and when); workFolder receives the info file while it is
// written. 0, 128 (not written) or 129 (the info could not be read).
int lockRecord(const std::string& recordFile, const std::string& workFolder);

}  // namespace recordmail
