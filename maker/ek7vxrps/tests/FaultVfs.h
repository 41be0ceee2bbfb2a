#pragma once
// A test VFS that wraps SQLite's default one and misbehaves on request: the
// Nth write or sync fails (an I/O error, or a disk that is full from then on),
// or the process "crashes" at the Nth write or sync, after which every write,
// truncate, sync and delete is silently dropped, as if the process had died
// there. Stores are selected onto it with RPS_SetVfs(FaultVfs::kName).

#include <sqlite3.h>

namespace faultvfs {

struct Plan {
    int failWriteAt = 0;                 // 1-based; 0 = never
    int writeError = SQLITE_IOERR_WRITE; // or SQLITE_FULL
    bool sticky = false;                 // keep failing every later write too
    int failSyncAt = 0;                  // 1-based; fails with SQLITE_IOERR_FSYNC
    int crashAtWrite = 0;                // this write and all later changes are dropped
    int crashAtSync = 0;                 // this sync and all later changes are dropped
};

class FaultVfs {
public:
    static constexpr const char* kName = "navo-fault";

    // Registers the VFS once (not as the default) and returns it.
    static FaultVfs& instance();

    // Resets the counters and sets what goes wrong next.
    void arm(const Plan& plan);
    int writes() const { return m_writes; }
    int syncs() const { return m_syncs; }
    bool crashed() const { return m_crashed; }

    // Called by the file methods.
    int onWrite();
    int onSync();
    bool dropping() const { return m_crashed; }

private:
    FaultVfs();
    Plan m_plan;
    int m_writes = 0;
    int m_syncs = 0;
    bool m_crashed = false;
    bool m_failing = false;
};

// Selects the fault VFS for the store library while alive, the default after.
class UseFaultVfs {
public:
    explicit UseFaultVfs(const Plan& plan);
    ~UseFaultVfs();
    UseFaultVfs(const UseFaultVfs&) = delete;
    UseFaultVfs& operator=(const UseFaultVfs&) = delete;
};

}  // namespace faultvfs
