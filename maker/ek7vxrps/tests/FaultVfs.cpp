#include "FaultVfs.h"

#include "maker/ek7vxrps/ek7vxrps.h"

#include <cstring>
#include <stdexcept>

namespace faultvfs {

namespace {

struct FaultFile {
    sqlite3_file base;
    sqlite3_file* real;
    FaultVfs* owner;
};

sqlite3_file* realOf(sqlite3_file* file)
{
    return reinterpret_cast<FaultFile*>(file)->real;
}

FaultVfs* ownerOf(sqlite3_file* file)
{
    return reinterpret_cast<FaultFile*>(file)->owner;
}

int fileClose(sqlite3_file* file)
{
    sqlite3_file* real = realOf(file);
    const int rc = real->pMethods != nullptr ? real->pMethods->xClose(real) : SQLITE_OK;
    file->pMethods = nullptr;
    return rc;
}

int fileRead(sqlite3_file* file, void* data, int amount, sqlite3_int64 offset)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xRead(real, data, amount, offset);
}

int fileWrite(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset)
{
    const int rc = ownerOf(file)->onWrite();
    if (rc != SQLITE_OK || ownerOf(file)->dropping())
        return rc;
    sqlite3_file* real = realOf(file);
    return real->pMethods->xWrite(real, data, amount, offset);
}

int fileTruncate(sqlite3_file* file, sqlite3_int64 size)
{
    if (ownerOf(file)->dropping())
        return SQLITE_OK;
    sqlite3_file* real = realOf(file);
    return real->pMethods->xTruncate(real, size);
}

int fileSync(sqlite3_file* file, int flags)
{
    const int rc = ownerOf(file)->onSync();
    if (rc != SQLITE_OK || ownerOf(file)->dropping())
        return rc;
    sqlite3_file* real = realOf(file);
    return real->pMethods->xSync(real, flags);
}

int fileSize(sqlite3_file* file, sqlite3_int64* size)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xFileSize(real, size);
}

int fileLock(sqlite3_file* file, int level)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xLock(real, level);
}

int fileUnlock(sqlite3_file* file, int level)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xUnlock(real, level);
}

int fileCheckReserved(sqlite3_file* file, int* out)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xCheckReservedLock(real, out);
}

int fileControl(sqlite3_file* file, int op, void* arg)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xFileControl(real, op, arg);
}

int fileSectorSize(sqlite3_file* file)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xSectorSize(real);
}

int fileDeviceCharacteristics(sqlite3_file* file)
{
    sqlite3_file* real = realOf(file);
    return real->pMethods->xDeviceCharacteristics(real);
}

// Stores use rollback journals, never shared memory or memory-mapped I/O;
// refusing them keeps every byte on the counted write path.
int fileShmMap(sqlite3_file*, int, int, int, void volatile**)
{
    return SQLITE_IOERR_SHMMAP;
}

int fileShmLock(sqlite3_file*, int, int, int)
{
    return SQLITE_IOERR_SHMLOCK;
}

void fileShmBarrier(sqlite3_file*) {}

int fileShmUnmap(sqlite3_file*, int)
{
    return SQLITE_OK;
}

int fileFetch(sqlite3_file*, sqlite3_int64, int, void** out)
{
    *out = nullptr;
    return SQLITE_OK;
}

int fileUnfetch(sqlite3_file*, sqlite3_int64, void*)
{
    return SQLITE_OK;
}

const sqlite3_io_methods kMethods = {
    3,
    fileClose,
    fileRead,
    fileWrite,
    fileTruncate,
    fileSync,
    fileSize,
    fileLock,
    fileUnlock,
    fileCheckReserved,
    fileControl,
    fileSectorSize,
    fileDeviceCharacteristics,
    fileShmMap,
    fileShmLock,
    fileShmBarrier,
    fileShmUnmap,
    fileFetch,
    fileUnfetch,
};

struct VfsData {
    FaultVfs* owner;
    sqlite3_vfs* real;
};

VfsData* dataOf(sqlite3_vfs* vfs)
{
    return static_cast<VfsData*>(vfs->pAppData);
}

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

int vfsDelete(sqlite3_vfs* vfs, const char* name, int syncDir)
{
    if (dataOf(vfs)->owner->dropping())
        return SQLITE_OK;
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xDelete(real, name, syncDir);
}

int vfsAccess(sqlite3_vfs* vfs, const char* name, int flags, int* out)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xAccess(real, name, flags, out);
}

int vfsFullPathname(sqlite3_vfs* vfs, const char* name, int size, char* out)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xFullPathname(real, name, size, out);
}

int vfsRandomness(sqlite3_vfs* vfs, int size, char* out)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xRandomness(real, size, out);
}

int vfsSleep(sqlite3_vfs* vfs, int microseconds)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xSleep(real, microseconds);
}

int vfsCurrentTime(sqlite3_vfs* vfs, double* out)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xCurrentTime(real, out);
}

int vfsGetLastError(sqlite3_vfs* vfs, int size, char* out)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xGetLastError(real, size, out);
}

int vfsCurrentTimeInt64(sqlite3_vfs* vfs, sqlite3_int64* out)
{
    sqlite3_vfs* real = dataOf(vfs)->real;
    return real->xCurrentTimeInt64(real, out);
}

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
    // Loadable extensions are never used by the store.
    vfs.xDlOpen = nullptr;
    vfs.xDlError = nullptr;
    vfs.xDlSym = nullptr;
    vfs.xDlClose = nullptr;
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
