// A layer over SQLite's default file system that times every file sync, so
// the filing benchmark can say how much of Navo's time goes into waiting for
// the disk. It is made the default, so the store and the index both go
// through it; it changes nothing else and forwards every other call.
#pragma once

class SyncTimingVfs {
public:
    // Registers the layer as SQLite's default (once; later calls do nothing).
    // False when SQLite has no default to wrap.
    static bool install();
    static void reset();
    static int syncs();
    static double syncSeconds();
};
