// One data store as Navo runs it, for a benchmark: a profile with its INI
// file, a temporary workspace and the store file, all under a folder of the
// benchmark's own. The store is filled in bulk: components from a folder,
// and recordings put a thousand at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/AppData.h"

class BenchStore {
public:
    // Lays out root/name/ as the program folder with NAVO.ini and the profile
    // "bench", and makes the workspace. The store is not built yet.
    BenchStore(const std::string& root, const std::string& name);
    // Removes the workspace; the store file stays for the caller's folder to
    // take away.
    ~BenchStore();
    BenchStore(const BenchStore&) = delete;
    BenchStore& operator=(const BenchStore&) = delete;

    bool ready() const { return m_ready; }
    AppData& app() { return m_app; }
    std::string storePath() const;
    std::uint64_t fileSize() const;

    // A new, empty store, as start-up builds one.
    bool create();
    // The nine components a Save puts, taken from folder, in one put.
    bool putComponents(const std::string& folder);
    // Record files "%08d.vxz" for RecIDs first..first+count-1, bytes each,
    // made in scratch and put batch at a time: the same files are renamed to
    // the next names between puts, so they are written to disk only once.
    // progress(done) is called after each put.
    bool putRecordings(long first, long count, std::size_t bytes, const std::string& scratch, long batch,
                       const std::function<void(long)>& progress);
    // A new store of records dictations, bytes each, with its components
    // (made in root/name-components and root/name-scratch, removed after).
    bool buildDictations(const std::string& root, const std::string& name, long records, std::size_t bytes);
    // The last RecID handed out, as the profile keeps it.
    void setLastRecId(long recId);

private:
    AppData m_app;
    bool m_ready = false;
};
