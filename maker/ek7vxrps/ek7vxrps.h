#pragma once
// ek7vxrps: the ".vxt" data store, one file of named members (name -> bytes).
//
// Every call opens the store, does its work in one SQLite transaction and
// closes it again, so a store is never held open between calls and a crash at
// any moment leaves either the old or the new content. Member names are plain
// file names (no folders). All paths are native byte strings.
//
// Every call returns 0 on success or one of the codes below; none throws.

#include <cstdint>
#include <string>
#include <vector>

struct _RPS_Info_4 {
    std::uint64_t size;         // size of the store file in bytes
    std::uint64_t reclaimable;  // bytes RPS_Compress would give back (free pages)
};

// Result codes. The hundreds are the class, the units the reason, so a caller
// that only cares whether the disk is full tests rpsErrorClass(code).
constexpr int kRpsOk = 0;

// The store file itself.
constexpr int kRpsClassStoreFile = 1000;
constexpr int kRpsErrNoStore = 1001;      // no file at the store path
constexpr int kRpsErrExists = 1002;       // RPS_Create: a file of that name exists
constexpr int kRpsErrCannotCreate = 1003; // RPS_Create: folder missing or not writable

// The file is not a usable store; nothing in it was changed.
constexpr int kRpsClassNotStore = 1100;
constexpr int kRpsErrNotSqlite = 1101;    // not a database at all (text, empty, directory)
constexpr int kRpsErrForeign = 1102;      // a database, but not a data store
constexpr int kRpsErrDamaged = 1103;      // a data store, but damaged or truncated
constexpr int kRpsErrNewer = 1104;        // a data store of a later format

// Input/output failures other than a full disk.
constexpr int kRpsClassIo = 1200;
constexpr int kRpsErrIoStore = 1201;      // reading or writing the store failed
constexpr int kRpsErrIoSource = 1202;     // reading a source file failed (or it changed meanwhile)
constexpr int kRpsErrIoExtract = 1203;    // creating or writing an extracted file failed
constexpr int kRpsErrReadOnly = 1204;     // the store cannot be written

// The disk (or quota) is full.
constexpr int kRpsClassDiskFull = 1300;
constexpr int kRpsErrFullStore = 1301;    // while writing the store
constexpr int kRpsErrFullExtract = 1302;  // while writing an extracted file

// Members.
constexpr int kRpsClassMember = 1400;
constexpr int kRpsErrMemberMissing = 1401; // a named member is not in the store
constexpr int kRpsErrBadName = 1402;       // not a plain file name ("", ".", "..", "a/b")
constexpr int kRpsErrTooLarge = 1403;      // larger than one member may be (about 1 GB)

// Source files of a put.
constexpr int kRpsClassSource = 1500;
constexpr int kRpsErrSourceMissing = 1501; // no such source file
constexpr int kRpsErrSourceNotFile = 1502; // the source is a folder or a device

// Another process holds the store.
constexpr int kRpsClassBusy = 1600;
constexpr int kRpsErrBusy = 1601;          // still locked after the busy timeout

// Everything else.
constexpr int kRpsClassOther = 1700;
constexpr int kRpsErrInvalidArgument = 1701; // null pointer or negative count
constexpr int kRpsErrNoMemory = 1702;
constexpr int kRpsErrInternal = 1799;

constexpr int rpsErrorClass(int code)
{
    return code - code % 100;
}

// A short English description of a code, for traces.
const char* rpsErrorText(int code);

// Creates a new, empty store. Fails with kRpsErrExists if the file exists.
int RPS_Create(const char* storePath);

// Copies folder/name into the store for each name, replacing members of the
// same name (only the pieces that differ from the stored member are written).
// All or nothing: after a failure or a crash the store holds all of them or
// none. A missing source file fails the put and changes nothing.
int RPS_Put(const char* storePath, const char* folder, const char* const* names, int count);

// RPS_Put for files that have only grown at their end since the store last
// took or gave them (a family file after one more line): grownFrom[i] is the
// length member i had then, and only the pieces from there on are written, so
// the cost does not grow with the member. A member whose stored length is not
// grownFrom[i] (or a 0 there) is compared piece by piece and the changed
// pieces written, so a wrong hint costs time, never content. All or nothing,
// as RPS_Put.
int RPS_PutGrown(const char* storePath, const char* folder, const char* const* names,
                 const std::uint64_t* grownFrom, int count);

// RPS_PutGrown and the removal of the members named in removed (those that
// are there) in one transaction: a deletion that marks a line dead and drops
// the record file is never half done.
int RPS_Update(const char* storePath, const char* folder, const char* const* names, const std::uint64_t* grownFrom,
               int count, const char* const* removed, int removedCount);

// Extracts the named members into folder. A missing member fails before any
// file is written; a failed get never leaves a half-written file.
int RPS_Get(const char* storePath, const char* folder, const char* const* names, int count);

int RPS_Info(const char* storePath, _RPS_Info_4* info);

// Removes the named members in one transaction; a missing one fails the call
// and removes nothing.
int RPS_Delete(const char* storePath, const char* const* names, int count);

// Gives the free space inside the store back to the file system.
int RPS_Compress(const char* storePath);

// Puts one file from any path under the given member name.
int RPS_LoadFile(const char* storePath, const char* sourcePath, const char* memberName);

// 0 when the member is present, 1 when it is absent, otherwise a failure code.
int RPS_Exists(const char* storePath, const char* memberName);

// The same for several members with one opening of the store: present[i]
// is whether names[i] is there. 0, or a failure code (present is then empty).
int RPS_ExistEach(const char* storePath, const char* const* names, int count, std::vector<bool>* present);

int RPS_MemberSize(const char* storePath, const char* memberName, std::uint64_t* size);

// All member names in byte order.
int RPS_List(const char* storePath, std::vector<std::string>* names);

// 0 when the store passes SQLite's full integrity check.
int RPS_Check(const char* storePath);

// Chooses the SQLite VFS stores are opened with (nullptr: the default). Tests
// register a VFS that fails chosen writes or syncs and select it here.
void RPS_SetVfs(const char* vfsName);
