// The data store as start-up and shutdown reach it.
#pragma once

#include "core/StartupServices.h"
#include "store/DataStore.h"

class DataStoreService : public StoreService {
public:
    int workspace(AppData& app, int mode, const std::string& pattern) override;
    int buildStore(const std::string& folder, const std::string& name, const std::string& workspace) override;
    int openLastStore(AppData& app) override;
    void openStoreCommand(AppData& app, QWidget* owner) override;
    void newStoreCommand(AppData& app, QWidget* owner) override;
    int save(AppData& app) override;
    void deleteWorkingCopies(AppData& app) override;
    int storeInfo(const std::string& storePath, std::uint64_t& size, std::uint64_t& reclaimable) override;
    int deleteRecords(AppData& app, const std::vector<std::string>& recIds) override;

    DataStore& store() { return m_store; }

private:
    DataStore m_store;
};
