#include "FaultVfs.h"

#include "maker/ek7vxrps/ek7vxrps.h"

#include <stdexcept>

namespace faultvfs {

namespace {

struct FaultFile {
    sqlite3_file base;
    sqlite3_file* real;
    FaultVfs* owner;
};

sqlite3_file* realOf(sqlite3_file* file) { return reinterpret_cast<FaultFile*>(file)->real; }
FaultVfs* ownerOf(sqlite3_file* file) { return reinterpret_cast<FaultFile*>(file)->owner; }

int fileClose(sqlite3_file* file)
{
    sqlite3_file* real = realOf(file);
    const int rc = real->pMethods != nullptr ? real->pMethods->xClose(real) : SQLITE_OK;
    file->pMethods = nullptr;
    return rc;
}

// The real file's method, called on the real file.
template <typename Method, typename... Args>
auto passOn(sqlite3_file* file, Method sqlite3_io_methods::*method, Args... args)
{
    sqlite3_file* real = realOf(file);
    return (real->pMethods->*method)(real, args...);
}

int fileRead(sqlite3_file* f, void* data, int amount, sqlite3_int64 offset)
{
    return passOn(f, &sqlite3_io_methods::xRead, data, amount, offset);
}

int fileWrite(sqlite3_file* f, const void* data, int amount, sqlite3_int64 offset)
{
    const int rc = ownerOf(f)->onWrite();
    if (rc != SQLITE_OK || ownerOf(f)->dropping())
        return rc;
    return passOn(f, &sqlite3_io_methods::xWrite, data, amount, offset);
}

int fileTruncate(sqlite3_file* f, sqlite3_int64 size)
{
    return ownerOf(f)->dropping() ? SQLITE_OK : passOn(f, &sqlite3_io_methods::xTruncate, size);
}

int fileSync(sqlite3_file* f, int flags)
{
    const int rc = ownerOf(f)->onSync();
    if (rc != SQLITE_OK || ownerOf(f)->dropping())
        return rc;
    return passOn(f, &sqlite3_io_methods::xSync, flags);
}

int fileSize(sqlite3_file* f, sqlite3_int64* size) { return passOn(f, &sqlite3_io_methods::xFileSize, size); }
int fileLock(sqlite3_file* f, int level) { return passOn(f, &sqlite3_io_methods::xLock, level); }
int fileUnlock(sqlite3_file* f, int level) { return passOn(f, &sqlite3_io_methods::xUnlock, level); }
int fileCheckReserved(sqlite3_file* f, int* out) { return passOn(f, &sqlite3_io_methods::xCheckReservedLock, out); }
int fileControl(sqlite3_file* f, int op, void* arg) { return passOn(f, &sqlite3_io_methods::xFileControl, op, arg); }
int fileSectorSize(sqlite3_file* f) { return passOn(f, &sqlite3_io_methods::xSectorSize); }
int fileDeviceCharacteristics(sqlite3_file* f) { return passOn(f, &sqlite3_io_methods::xDeviceCharacteristics); }

// Stores use rollback journals, never shared memory or memory-mapped I/O;
// refusing them keeps every byte on the counted write path.
int fileShmMap(sqlite3_file*, int, int, int, void volatile**) { return SQLITE_IOERR_SHMMAP; }
int fileShmLock(sqlite3_file*, int, int, int) { return SQLITE_IOERR_SHMLOCK; }
void fileShmBarrier(sqlite3_file*) {}
int fileShmUnmap(sqlite3_file*, int) { return SQLITE_OK; }
int fileFetch(sqlite3_file*, sqlite3_int64, int, void** out)
{
    *out = nullptr;
    return SQLITE_OK;
}
int fileUnfetch(sqlite3_file*, sqlite3_int64, void*) { return SQLITE_OK; }

const sqlite3_io_methods kMethods = {
    3, fileClose, fileRead, fileWrite, fileTruncate, fileSync, fileSize, fileLock, fileUnlock, fileCheckReserved,
    fileControl, fileSectorSize, fileDeviceCharacteristics, fileShmMap, fileShmLock, fileShmBarrier, fileShmUnmap,
    fileFetch, fileUnfetch,
};

struct VfsData {
    FaultVfs* owner;
    sqlite3_vfs* real;
};

VfsData* dataOf(sqlite3_vfs* vfs) { return static_cast<VfsData*>(vfs->pAppData); }

int vfsOpen(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    auto* wrapper = reinterpret_cast<FaultFile*>(file);
    wrapper->real = reinterpret_cast<sqlite3_file*>(wrapper + 1);
    wrapper->owner = dataOf(vfs)->owner;
    sqlite3_vfs* real = dataOf(vfs)->real;
    const int rc = real->xOpen(real, name, wrapper->real, flags, outFlags);
    file->pMethods = rc == SQLITE_OK ? &kMethods : nullptr;
    return rc;
}

// The real VFS's method, called on the real VFS.
template <typename Method, typename... Args>
auto passOn(sqlite3_vfs* vfs, Method sqlite3_vfs::*method, Args... args)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return (real->*method)(real, args...);
}

int vfsDelete(sqlite3_vfs* vfs, const char* name, int syncDir)
{
    return dataOf(vfs)->owner->dropping() ? SQLITE_OK : passOn(vfs, &sqlite3_vfs::xDelete, name, syncDir);
}

int vfsAccess(sqlite3_vfs* v, const char* name, int flags, int* out)
{
    return passOn(v, &sqlite3_vfs::xAccess, name, flags, out);
}
int vfsFullPathname(sqlite3_vfs* v, const char* name, int size, char* out)
{
    return passOn(v, &sqlite3_vfs::xFullPathname, name, size, out);
}
int vfsRandomness(sqlite3_vfs* v, int size, char* out) { return passOn(v, &sqlite3_vfs::xRandomness, size, out); }
int vfsSleep(sqlite3_vfs* v, int microseconds) { return passOn(v, &sqlite3_vfs::xSleep, microseconds); }
int vfsCurrentTime(sqlite3_vfs* v, double* out) { return passOn(v, &sqlite3_vfs::xCurrentTime, out); }
int vfsGetLastError(sqlite3_vfs* v, int size, char* out) { return passOn(v, &sqlite3_vfs::xGetLastError, size, out); }
int vfsCurrentTimeInt64(sqlite3_vfs* v, sqlite3_int64* out) { return passOn(v, &sqlite3_vfs::xCurrentTimeInt64, out); }

}  // namespace

FaultVfs& FaultVfs::instance()
{
    static FaultVfs vfs;
    return vfs;
}

FaultVfs::FaultVfs()
{
    sqlite3_vfs* real = sqlite3_vfs_find(nullptr);
    if (real == nullptr)
        throw std::runtime_error("no default VFS");
    static VfsData data{this, real};
    static sqlite3_vfs vfs{};
    vfs.iVersion = 2;
    vfs.szOsFile = static_cast<int>(sizeof(FaultFile)) + real->szOsFile;
    vfs.mxPathname = real->mxPathname;
    vfs.zName = kName;
    vfs.pAppData = &data;
    vfs.xOpen = vfsOpen;
    vfs.xDelete = vfsDelete;
    vfs.xAccess = vfsAccess;
    vfs.xFullPathname = vfsFullPathname;
    // Loadable extensions are never used by the store: xDl* stay null.
    vfs.xRandomness = vfsRandomness;
    vfs.xSleep = vfsSleep;
    vfs.xCurrentTime = vfsCurrentTime;
    vfs.xGetLastError = vfsGetLastError;
    vfs.xCurrentTimeInt64 = vfsCurrentTimeInt64;
    if (sqlite3_vfs_register(&vfs, 0) != SQLITE_OK)
        throw std::runtime_error("cannot register the fault VFS");
}

void FaultVfs::arm(const Plan& plan)
{
    m_plan = plan;
    m_writes = 0;
    m_syncs = 0;
    m_crashed = false;
    m_failing = false;
}

int FaultVfs::onWrite()
{
    ++m_writes;
    if (m_crashed)
        return SQLITE_OK;
    if (m_plan.crashAtWrite != 0 && m_writes == m_plan.crashAtWrite) {
        m_crashed = true;
        return SQLITE_OK;
    }
    if (m_failing || (m_plan.failWriteAt != 0 && m_writes == m_plan.failWriteAt)) {
        m_failing = m_plan.sticky;
        return m_plan.writeError;
    }
    return SQLITE_OK;
}

int FaultVfs::onSync()
{
    ++m_syncs;
    if (m_crashed)
        return SQLITE_OK;
    if (m_plan.crashAtSync != 0 && m_syncs == m_plan.crashAtSync) {
        m_crashed = true;
        return SQLITE_OK;
    }
    if (m_plan.failSyncAt != 0 && m_syncs == m_plan.failSyncAt)
        return SQLITE_IOERR_FSYNC;
    return SQLITE_OK;
}

UseFaultVfs::UseFaultVfs(const Plan& plan)
{
    FaultVfs::instance().arm(plan);
    RPS_SetVfs(FaultVfs::kName);
}

UseFaultVfs::~UseFaultVfs()
{
    RPS_SetVfs(nullptr);
}

}  // namespace faultvfs
