#pragma once
// VXSAVE: record files (".vxz", a ZIP archive of one recording's work files),
// the family files of index lines, and the building of a new data store.
//
// A record file inside a store is the member "%08d.vxz" named after the RecID
// in the first eight characters of the record's index line. A container is
// either a store (".vxt", recognised by its SQLite header) or a record file on
// disk. Member names are plain file names; a record file whose member names
// would reach outside the target folder is refused as damaged. Every file
// written here gets mode 0600. No call throws.

#include <string>
#include <utility>
#include <vector>

// Result codes; they are the program's own message numbers, so a caller can
// show any of them as it is.
constexpr int kVxOk = 0;
constexpr int kVxAbsent = 1;              // CheckForFile: the member is not there
constexpr int kVxErrBuildFiles = 101;     // the new store's component files cannot be written
constexpr int kVxErrBuildStore = 102;     // the new store cannot be created or filled
constexpr int kVxErrMissingFile = 108;    // a file to be added does not exist
constexpr int kVxErrWrite = 109;          // the record file cannot be written or stored
constexpr int kVxErrExtract = 111;        // the member cannot be taken from the container
constexpr int kVxErrRead = 112;           // the container cannot be read, or is no ZIP archive
constexpr int kVxErrDamaged = 113;        // bad CRC, bad data, or a member name that is not a plain name

// The eleven components of a data store, in the order they are extracted.
extern const char* const kVxComponents[11];

// Creates lastPath/lastFile.vxt with the eleven initial components, written to
// the workspace first and put into the store in one transaction. 0, 101 or
// 102; a half-made store is removed again.
int VXfilebuild(const char* lastPath, const char* lastFile, const char* workspace);

// Files one new recording: name1 the wave work file, name2 the "vxl" work file
// (its first 401 bytes are the index line), name3 the "vxs" work file, full
// paths; attachment a full path or "". Builds "<workspace>/%08d.vxz", appends
// the index line to the family file of the letter, and puts both into the
// store in one transaction. Returns the byte position of the line in the
// family file, never 0 on success; 0 on failure, with the family file and the
// store as they were. baseName and reserved are accepted and not needed.
unsigned VXsaveR(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char* baseName, int reserved);
unsigned VXsaveP(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char* baseName, int reserved);
unsigned VXsaveM(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char* baseName, int reserved);
unsigned VXsaveD(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char* baseName, int reserved);
unsigned VXsaveT(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char* baseName, int reserved);
unsigned VXsaveV(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char* baseName, int reserved);

// The same for any number of work files: files[0] the wave, files[1] the
// "vxl" file, then the "vxs" file, an attachment and further members (index
// marks, a picture), full paths, each going in under its own file name. So a
// recording goes into the store with everything that belongs to it in one
// transaction. letter is R, P, M, D, T or V.
unsigned VXsaveFiles(char letter, const std::vector<std::string>& files, const char* workspace,
                     const char* storePath);

// One new recording of a batch: letter and files as VXsaveFiles takes them;
// or members held in memory (name, bytes) with its index line given, and
// files (full paths) for the rest of its members.
struct VxNewRecord {
    char letter = 'R';
    std::vector<std::string> files;
    std::vector<std::pair<std::string, std::string>> members;  // put first
    std::string line;  // the 401-byte index line; "" when files[1] holds it
    unsigned position = 0;  // out: where its line starts in its family file; 0 when not filed
    int code = kVxOk;       // out: 0 when filed, 109 when not
};
// Files several new recordings in one store transaction. Each record file is
// built first; a recording whose record file cannot be built (a work file
// missing or unreadable, its RecID filed already or twice in the batch) is
// left out alone. The others' record files and their lines go
// into the store together: after a failure or a crash either all of them are
// there or none, with the family files as they were. Answers how many were
// filed.
int VXsaveBatch(std::vector<VxNewRecord>& records, const char* workspace, const char* storePath);

// Rewrites record file recordFileName inside the store after an edit: every
// member for which the workspace holds a file of the same name is replaced,
// extra (a file name in the workspace, or "") is added, the rest is kept.
// 0, 108 (extra missing), 109, 111, 112 or 113.
int VXsaveVXZ(const char* recordFileName, const char* workspace, const char* storePath, const char* extra);
// VXsaveVXZ, and in the same store transaction each file sources[i] (a full
// path) as member members[i]: a record file rewritten after an edit and the
// family file holding its changed line go in together. 0, 108, 109, 111, 112
// or 113.
int VXsaveVXZWith(const char* recordFileName, const char* workspace, const char* storePath, const char* extra,
                  const char* const* sources, const char* const* members, int count);
// The same for a video container (a ".vxv" member).
int VXsaveVXV(const char* containerFileName, const char* workspace, const char* storePath, const char* extra);

// Extracts every member of the record file on disk into workspace, all or
// nothing. 0, 112 or 113.
int VXopenVXZ(const char* recordFile, const char* workspace);

// Extracts one member of a store or record file into destFolder. 0, 111 (no
// such member, or the store refused), 112 or 113.
int ExtractFile(const char* container, const char* member, const char* destFolder);

// 0 when the member is in the container, 1 when not or unreadable.
int CheckForFile(const char* container, const char* member);

// The member's size in bytes, or -1 when absent or unreadable.
long long CheckFileSize(const char* container, const char* member);

// Removes a member from a store or a record file on disk. 0, 111 (no such
// member, or the store refused), 109, 112 or 113.
int DelFile(const char* container, const char* member);

// The member names of a store or record file, sorted. 0, 111, 112 or 113.
int VXlistMembers(const char* container, std::vector<std::string>* names);

// Adds or replaces one member of a record file on disk (audit data). 0, 108
// (source missing), 109, 112 or 113.
int VXaddMember(const char* recordFile, const char* sourcePath, const char* memberName);
