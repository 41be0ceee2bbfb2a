#include "store/DataStoreService.h"

#include "core/AppData.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/RecordDeletion.h"
#include "store/Workspace.h"

namespace {
constexpr int kCannotCreateFiles = 101;
}

int DataStoreService::workspace(AppData& app, int mode, const std::string& pattern)
{
    return workspace::Workspace(app, mode, pattern);
}

int DataStoreService::buildStore(const std::string& folder, const std::string& name, const std::string& ws)
{
    // Without a workspace there is nowhere to build the components.
    if (ws.empty())
        return kCannotCreateFiles;
    return VXfilebuild(folder.c_str(), name.c_str(), ws.c_str());
}

int DataStoreService::openLastStore(AppData& app)
{
    if (app.TempDir.empty())
        return DataStore::kExtractFailed;
    const int result = m_store.extract(app);
    if (result != 0)
        app.StoreUnusable = kStoreFailed;
    return result;
}

void DataStoreService::openStoreCommand(AppData& app, QWidget* owner)
{
    m_store.openStoreCommand(app, owner);
}

void DataStoreService::newStoreCommand(AppData& app, QWidget* owner)
{
    m_store.newStoreCommand(app, owner);
}

int DataStoreService::save(AppData& app)
{
    return m_store.save(app);
}

void DataStoreService::deleteWorkingCopies(AppData& app)
{
    m_store.deleteWorkingCopies(app);
}

int DataStoreService::storeInfo(const std::string& storePath, std::uint64_t& size, std::uint64_t& reclaimable)
{
    _RPS_Info_4 info{};
    const int result = RPS_Info(storePath.c_str(), &info);
    size = info.size;
    reclaimable = info.reclaimable;
    return result;
}

int DataStoreService::deleteRecords(AppData& app, const std::vector<std::string>& recIds)
{
    return ::deleteRecords(app, recIds);
}
