#include "store/DataStore.h"

#include <filesystem>
#include <fstream>

#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "core/ShowCodedMessage.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileLock.h"
#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/WaitCursor.h"
#include "store/ComponentFiles.h"
#include "store/IndexRepair.h"
#include "store/KeptRecordings.h"
#include "store/Workspace.h"

namespace fs = std::filesystem;

namespace {

// Far beyond any byte the store's database engine locks for itself.
constexpr std::uint64_t kLockOffset = 0x7FFFFFFF0000ull;
constexpr std::uint64_t kLockLength = 1;

constexpr const char* kFilter = "Navo Files (*.vxt)|*.vxt||";
constexpr const char* kNameTaken =
    "You already have an Navo data store with that name.\n\nPlease use a name that does not exist";

bool seedCounter(const AppData& app, const std::string& store, const char* name)
{
    if (CheckForFile(store.c_str(), name) == 0)
        return true;
    std::ofstream(components::workspacePath(app.TempDir, name), std::ios::binary | std::ios::trunc)
        << components::kCounterSeed;
    const char* names[] = {name};
    return RPS_Put(store.c_str(), app.TempDir.c_str(), names, 1) == 0;
}

// "/a/b/Name.vxt" → "/a/b" and "Name".
void splitStorePath(const std::string& path, std::string* folder, std::string* name)
{
    const std::size_t slash = path.rfind('/');
    *folder = slash == std::string::npos ? std::string(".") : path.substr(0, slash);
    const std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = file.rfind('.');
    *name = dot == std::string::npos ? file : file.substr(0, dot);
}

}  // namespace

DataStore::DataStore() = default;

DataStore::~DataStore()
{
    releaseLock();
}

std::string DataStore::storePath(const AppData& app)
{
    return app.ProfileDir + "/" + app.DataStoreName + ".vxt";
}

bool DataStore::lockStore(const std::string& path)
{
    releaseLock();
    m_lockFile = std::fopen(path.c_str(), "r+b");
    if (!m_lockFile)
        return false;
    m_lock = std::make_unique<FileRangeLock>(m_lockFile, kLockOffset, kLockLength);
    if (m_lock->ok())
        return true;
    releaseLock();
    AfxMessageBox("This Navo data store is already open in another copy of Navo:\n" + path +
                      "\n\nClose it there first, or choose another data store.",
                  MB_ICONEXCLAMATION);
    return false;
}

void DataStore::releaseLock()
{
    m_lock.reset();
    if (m_lockFile)
        std::fclose(m_lockFile);
    m_lockFile = nullptr;
}

int DataStore::extract(AppData& app)
{
    const std::string store = storePath(app);
    std::error_code error;
    if (!fs::is_regular_file(store, error) || !lockStore(store))
        return kNotAccessible;

    if (!seedCounter(app, store, components::kCounterA) || !seedCounter(app, store, components::kCounterL)) {
        releaseLock();
        return kExtractFailed;
    }
    const std::vector<const char*>& names = components::extracted();
    if (RPS_Get(store.c_str(), app.TempDir.c_str(), names.data(), static_cast<int>(names.size())) != 0) {
        releaseLock();
        return kExtractFailed;
    }
    app.DataStorePath = store;
    // Before anything searches it, an index the last session could not save
    // is brought in line with the records.
    const indexrepair::Result repair = indexrepair::reconcileAndStore(app.TempDir, store);
    app.HighestRecId = repair.highestRecId;
    // Recordings the store could not take last time come in now.
    const keptrecordings::Refiled refiled = keptrecordings::fileKept(app);
    if (refiled.filed > 0)
        AfxMessageBox(std::to_string(refiled.filed) +
                          (refiled.filed == 1 ? " recording that could not be filed earlier has"
                                              : " recordings that could not be filed earlier have") +
                          " now been filed in this data store (they were kept in " +
                          keptrecordings::folderFor(app) + ").",
                      MB_ICONINFORMATION);
    if (repair.added != 0 || repair.removed != 0)
        OutputDebugString("Index repaired: " + std::to_string(repair.added) + " entries rebuilt, " +
                          std::to_string(repair.removed) + " removed\n");
    return 0;
}

int DataStore::save(AppData& app)
{
    int result = 0;
    std::vector<const char*> present;
    std::error_code error;
    for (const char* name : components::saved()) {
        if (fs::exists(components::workspacePath(app.TempDir, name), error))
            present.push_back(name);
        else
            result = kIncomplete;
    }
    // A put replaces a 106: missing components are reported only when none
    // is there at all.
    if (!present.empty()) {
        const int put = RPS_Put(storePath(app).c_str(), app.TempDir.c_str(), present.data(),
                                static_cast<int>(present.size()));
        result = put == 0 ? 0 : (rpsErrorClass(put) == kRpsClassDiskFull ? kSaveFailed : kExtractFailed);
    }
    return result;
}

void DataStore::deleteWorkingCopies(AppData& app)
{
    std::error_code error;
    for (const char* name : components::extracted())
        fs::remove(components::workspacePath(app.TempDir, name), error);
    releaseLock();
}

void DataStore::useStoreAt(AppData& app, const std::string& path)
{
    splitStorePath(path, &app.ProfileDir, &app.DataStoreName);
}

bool DataStore::afterExtract(AppData& app, int result)
{
    if (result != 0) {
        app.StoreUnusable = kStoreFailed;
        ShowCodedMessage(result, MB_ICONEXCLAMATION);
        return false;
    }
    ProfileValues(app).setLastStore(app.ProfileDir, app.DataStoreName);
    app.StoreUnusable = kStoreHealthy;
    return true;
}

void DataStore::cancelled(AppData& app) const
{
    // Choosing no other store leaves the one this copy holds open and in
    // use; only without one is there no store to save.
    if (!holdsLock())
        app.StoreUnusable = kStoreCancelled;
}

void DataStore::newStoreCommand(AppData& app, QWidget*)
{
    FileDialogRequest request;
    request.open = false;
    request.title = "New Navo Data Store";
    request.filter = kFilter;
    request.defaultExt = ".vxt";
    request.hideReadOnly = true;
    std::optional<std::string> chosen;
    for (;;) {
        chosen = currentPrompt().chooseFile(request);
        if (!chosen) {
            cancelled(app);
            return;
        }
        std::error_code error;
        if (!fs::exists(*chosen, error))
            break;
        AfxMessageBox(kNameTaken, MB_ICONINFORMATION);
    }

    WaitCursor wait;
    if (holdsLock())
        save(app);
    workspace::Workspace(app, workspace::kClear, "*.*");
    releaseLock();
    useStoreAt(app, *chosen);
    std::error_code error;
    if (!app.AppDir.empty())
        fs::current_path(app.AppDir, error);
    const int built = VXfilebuild(app.ProfileDir.c_str(), app.DataStoreName.c_str(), app.TempDir.c_str());
    if (built > 0) {
        app.StoreUnusable = kStoreFailed;
        ShowCodedMessage(built, MB_ICONEXCLAMATION);
        return;
    }
    afterExtract(app, extract(app));
}

void DataStore::openStoreCommand(AppData& app, QWidget*)
{
    FileDialogRequest request;
    request.open = true;
    request.title = "Open Navo Data Store";
    request.filter = kFilter;
    request.fileMustExist = true;
    request.hideReadOnly = true;
    const std::optional<std::string> chosen = currentPrompt().chooseFile(request);
    if (!chosen) {
        cancelled(app);
        return;
    }

    WaitCursor wait;
    if (holdsLock())
        save(app);
    std::error_code error;
    for (const char* name : components::droppedOnOpen())
        fs::remove(components::workspacePath(app.TempDir, name), error);
    releaseLock();
    useStoreAt(app, *chosen);
    afterExtract(app, extract(app));
}
