// The open data store: Extract when it opens, Save when a record changes or
// Navo closes, and the New and Open store commands. The store's components
// are worked on as copies in the workspace; the store file itself is held
// under a lock while it is open, so a second Navo cannot open it and write
// over the first one's work.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

struct AppData;
class FileRangeLock;
class QWidget;

class DataStore {
public:
    static constexpr int kExtractFailed = 103;
    static constexpr int kNotAccessible = 105;
    static constexpr int kIncomplete = 106;
    static constexpr int kSaveFailed = 107;

    DataStore();
    ~DataStore();
    DataStore(const DataStore&) = delete;
    DataStore& operator=(const DataStore&) = delete;

    // LastPath + "/" + LastFile + ".vxt" (the profile folder and store name
    // of the application data block).
    static std::string storePath(const AppData& app);

    // Extract (open the current store): 0, 103 or 105. Seeds missing
    // counter components first; on success DataStorePath is the store.
    int extract(AppData& app);
    // Save: the nine components that exist go into the store in one put.
    // 0; 106 when none exists; 103 when the put fails (107 for a full disk,
    // the store keeping its old content).
    int save(AppData& app);
    // Close's last step: the component copies leave the workspace and the
    // store is no longer held.
    void deleteWorkingCopies(AppData& app);

    // The main window's New and Open store commands. They leave the store
    // state flag at 0 (a store is open), 1 (the user cancelled with no store
    // held) or 2 (failed, shown to the user). The store held before is saved
    // first whenever this copy holds it.
    void newStoreCommand(AppData& app, QWidget* owner);
    void openStoreCommand(AppData& app, QWidget* owner);

    bool holdsLock() const { return m_lock != nullptr; }

private:
    bool lockStore(const std::string& path);
    void releaseLock();
    void useStoreAt(AppData& app, const std::string& path);
    bool afterExtract(AppData& app, int result);
    void cancelled(AppData& app) const;

    std::FILE* m_lockFile = nullptr;
    std::unique_ptr<FileRangeLock> m_lock;
};
