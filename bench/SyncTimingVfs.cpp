#include "SyncTimingVfs.h"

#include <sqlite3.h>

#include <chrono>

namespace {

struct Totals {
    int syncs = 0;
    double seconds = 0.0;
};

Totals& totals()
{
    static Totals t;
    return t;
}

// Our file is this header followed by the wrapped VFS's own file.
struct TimedFile {
    sqlite3_file base;
    sqlite3_file* real;
};

sqlite3_vfs* g_real = nullptr;
sqlite3_vfs g_vfs;

sqlite3_file* real(sqlite3_file* file)
{
    return reinterpret_cast<TimedFile*>(file)->real;
}

int xClose(sqlite3_file* f) { return real(f)->pMethods->xClose(real(f)); }
int xRead(sqlite3_file* f, void* b, int n, sqlite3_int64 o) { return real(f)->pMethods->xRead(real(f), b, n, o); }
int xWrite(sqlite3_file* f, const void* b, int n, sqlite3_int64 o)
{
    return real(f)->pMethods->xWrite(real(f), b, n, o);
}
int xTruncate(sqlite3_file* f, sqlite3_int64 s) { return real(f)->pMethods->xTruncate(real(f), s); }
int xSync(sqlite3_file* f, int flags)
{
    const auto start = std::chrono::steady_clock::now();
    const int rc = real(f)->pMethods->xSync(real(f), flags);
    totals().seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ++totals().syncs;
    return rc;
}
int xFileSize(sqlite3_file* f, sqlite3_int64* s) { return real(f)->pMethods->xFileSize(real(f), s); }
int xLock(sqlite3_file* f, int l) { return real(f)->pMethods->xLock(real(f), l); }
int xUnlock(sqlite3_file* f, int l) { return real(f)->pMethods->xUnlock(real(f), l); }
int xCheckReservedLock(sqlite3_file* f, int* r) { return real(f)->pMethods->xCheckReservedLock(real(f), r); }
int xFileControl(sqlite3_file* f, int op, void* a) { return real(f)->pMethods->xFileControl(real(f), op, a); }
int xSectorSize(sqlite3_file* f) { return real(f)->pMethods->xSectorSize(real(f)); }
int xDeviceCharacteristics(sqlite3_file* f) { return real(f)->pMethods->xDeviceCharacteristics(real(f)); }
int xShmMap(sqlite3_file* f, int i, int s, int e, void volatile** p)
{
    return real(f)->pMethods->iVersion >= 2 ? real(f)->pMethods->xShmMap(real(f), i, s, e, p) : SQLITE_IOERR;
}
int xShmLock(sqlite3_file* f, int o, int n, int fl)
{
    return real(f)->pMethods->iVersion >= 2 ? real(f)->pMethods->xShmLock(real(f), o, n, fl) : SQLITE_IOERR;
}
void xShmBarrier(sqlite3_file* f)
{
    if (real(f)->pMethods->iVersion >= 2)
        real(f)->pMethods->xShmBarrier(real(f));
}
int xShmUnmap(sqlite3_file* f, int d)
{
    return real(f)->pMethods->iVersion >= 2 ? real(f)->pMethods->xShmUnmap(real(f), d) : SQLITE_OK;
}
int xFetch(sqlite3_file* f, sqlite3_int64 o, int n, void** p)
{
    if (real(f)->pMethods->iVersion >= 3)
        return real(f)->pMethods->xFetch(real(f), o, n, p);
    *p = nullptr;
    return SQLITE_OK;
}
int xUnfetch(sqlite3_file* f, sqlite3_int64 o, void* p)
{
    return real(f)->pMethods->iVersion >= 3 ? real(f)->pMethods->xUnfetch(real(f), o, p) : SQLITE_OK;
}

const sqlite3_io_methods kMethods = {3,           xClose,        xRead,   xWrite,       xTruncate,
                                     xSync,       xFileSize,     xLock,   xUnlock,      xCheckReservedLock,
                                     xFileControl, xSectorSize,  xDeviceCharacteristics, xShmMap,
                                     xShmLock,    xShmBarrier,   xShmUnmap, xFetch,     xUnfetch};

int xOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags)
{
    auto* timed = reinterpret_cast<TimedFile*>(file);
    timed->real = reinterpret_cast<sqlite3_file*>(timed + 1);
    timed->real->pMethods = nullptr;
    const int rc = g_real->xOpen(g_real, name, timed->real, flags, outFlags);
    // SQLite closes a file whose methods are set even when the open failed.
    timed->base.pMethods = timed->real->pMethods != nullptr ? &kMethods : nullptr;
    return rc;
}

}  // namespace

bool SyncTimingVfs::install()
{
    if (g_real != nullptr)
        return true;
    sqlite3_vfs* base = sqlite3_vfs_find(nullptr);
    if (base == nullptr)
        return false;
    g_real = base;
    // Every other call goes straight to the wrapped VFS's own functions.
    g_vfs = *base;
    g_vfs.pNext = nullptr;
    g_vfs.zName = "navo-bench-sync-timing";
    g_vfs.szOsFile = static_cast<int>(sizeof(TimedFile)) + base->szOsFile;
    g_vfs.xOpen = xOpen;
    return sqlite3_vfs_register(&g_vfs, 1) == SQLITE_OK;
}

void SyncTimingVfs::reset()
{
    totals() = Totals{};
}

int SyncTimingVfs::syncs()
{
    return totals().syncs;
}

double SyncTimingVfs::syncSeconds()
{
    return totals().seconds;
}
