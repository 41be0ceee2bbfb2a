// The open store: Extract, Save, New and Open, the lock against a second
// Navo, and damaged stores. Real store files on disk.
#include <gtest/gtest.h>

#include "ScriptedPrompt.h"
#include "StoreFixture.h"
#include "core/SettingsKeys.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "res/MessageCatalogue.h"
#include "store/ComponentFiles.h"
#include "store/DataStore.h"

class DataStoreTest : public StoreFixture {
protected:
    DataStore store;
    std::string ws(const char* name) const { return components::workspacePath(app.TempDir, name); }
};

TEST_F(DataStoreTest, ExtractBringsOutElevenComponentsOfAPrivateStore)
{
    buildStore();
    workspace::Workspace(app, workspace::kClear, "*.*");
    ASSERT_EQ(store.extract(app), 0);
    for (const char* name : components::extracted())
        EXPECT_TRUE(std::filesystem::exists(ws(name))) << name;
    EXPECT_EQ(readAll(ws(components::kCounterA)), "999999999");
    EXPECT_EQ(readAll(ws(components::kGreeting)).substr(0, 4), "RIFF");
    EXPECT_EQ(app.DataStorePath, storePath());
    EXPECT_EQ(fileMode(storePath()), 0600u);
    EXPECT_EQ(fileMode(ws(components::kDictation)), 0600u);
}

TEST_F(DataStoreTest, OlderStoreWithoutCountersGetsThemSeeded)
{
    buildStore();
    const char* counters[] = {components::kCounterA, components::kCounterL};
    ASSERT_EQ(RPS_Delete(storePath().c_str(), counters, 2), 0);
    ASSERT_NE(CheckForFile(storePath().c_str(), components::kCounterL), 0);
    workspace::Workspace(app, workspace::kClear, "*.*");
    ASSERT_EQ(store.extract(app), 0);
    EXPECT_EQ(CheckForFile(storePath().c_str(), components::kCounterA), 0);
    EXPECT_EQ(CheckForFile(storePath().c_str(), components::kCounterL), 0);
    EXPECT_EQ(readAll(ws(components::kCounterL)), "999999999");
}

TEST_F(DataStoreTest, MissingOrDamagedStoresAreRefusedWithTheirCodes)
{
    EXPECT_EQ(store.extract(app), DataStore::kNotAccessible);
    writeAll(storePath(), "this is not a data store at all");
    EXPECT_EQ(store.extract(app), DataStore::kExtractFailed);
    EXPECT_EQ(readAll(storePath()), "this is not a data store at all");  // left as it was
    EXPECT_EQ(VXfilebuild(app.ProfileDir.c_str(), app.DataStoreName.c_str(), app.TempDir.c_str()), 102);
    std::filesystem::remove(storePath());
    buildStore();
    std::filesystem::resize_file(storePath(), 3000);  // cut short
    EXPECT_EQ(store.extract(app), DataStore::kExtractFailed);
}

TEST_F(DataStoreTest, SavePrecedence)
{
    buildStore();
    ASSERT_EQ(store.extract(app), 0);
    writeAll(ws(components::kPhoneBook), "phone book lines");
    std::filesystem::remove(ws(components::kTemplates));
    EXPECT_EQ(store.save(app), 0);  // the missing one is not reported while others exist
    ASSERT_EQ(ExtractFile(storePath().c_str(), components::kPhoneBook, root().c_str()), 0);
    EXPECT_EQ(readAll(root() + "/" + components::kPhoneBook), "phone book lines");

    workspace::Workspace(app, workspace::kClear, "*.*");
    EXPECT_EQ(store.save(app), DataStore::kIncomplete);

    ASSERT_EQ(store.extract(app), 0);
    store.deleteWorkingCopies(app);
    std::filesystem::remove(storePath());
    ASSERT_EQ(store.extract(app), DataStore::kNotAccessible);
    writeAll(ws(components::kIndex), "");
    writeAll(storePath(), "garbage");
    EXPECT_EQ(store.save(app), DataStore::kExtractFailed);
}

TEST_F(DataStoreTest, ASecondNavoCannotOpenAnOpenStore)
{
    buildStore();
    ASSERT_EQ(store.extract(app), 0);
    AppData second;
    copyPaths(second, app);
    ASSERT_EQ(workspace::Workspace(second, workspace::kCreate, "*.*"), 0);
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    DataStore other;
    EXPECT_EQ(other.extract(second), DataStore::kNotAccessible);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_NE(prompt.messages()[0].text.find("already open in another copy of Navo"), std::string::npos);
    store.deleteWorkingCopies(app);  // the first one closes
    EXPECT_EQ(other.extract(second), 0);
    other.deleteWorkingCopies(second);
    workspace::Workspace(second, workspace::kRemove, "*.*");
}

TEST_F(DataStoreTest, NewStoreAsksAgainForATakenNameThenOpensTheNewStore)
{
    buildStore();
    ASSERT_EQ(store.extract(app), 0);
    const std::string next = root() + "/Work.vxt";
    ScriptedPrompt prompt;
    prompt.answerFile(storePath());  // taken
    prompt.answerMessage(IDOK);
    prompt.answerFile(next);
    store.newStoreCommand(app, nullptr);

    ASSERT_EQ(prompt.fileRequests().size(), 2u);
    EXPECT_FALSE(prompt.fileRequests()[0].open);
    EXPECT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(app.StoreUnusable, kStoreHealthy);
    EXPECT_EQ(app.DataStorePath, next);
    EXPECT_EQ(profile().read(settings::kLastPath), root());
    EXPECT_EQ(profile().read(settings::kLastFile), "Work");
    EXPECT_TRUE(std::filesystem::exists(ws(components::kDictation)));
}

// A cancelled choice leaves the store held open; another store is opened
// only after the current one is saved; a damaged one leaves none held, and a
// cancel then leaves none.
TEST_F(DataStoreTest, OpenAndNewStoreSaveTheCurrentOneAndSetTheStoreState)
{
    buildStore();
    ASSERT_EQ(store.extract(app), 0);
    ScriptedPrompt prompt;
    prompt.answerFile(std::nullopt);
    store.newStoreCommand(app, nullptr);
    prompt.answerFile(std::nullopt);
    store.openStoreCommand(app, nullptr);
    EXPECT_EQ(app.StoreUnusable, kStoreHealthy);
    writeAll(ws(components::kTemplates), "my templates");
    const std::string first = storePath();

    AppData other;
    copyPaths(other, app);
    other.DataStoreName = "Other";
    const std::string otherWorkspace = root() + "/other";
    std::filesystem::create_directory(otherWorkspace);
    ASSERT_EQ(VXfilebuild(other.ProfileDir.c_str(), "Other", otherWorkspace.c_str()), 0);
    prompt.answerFile(other.ProfileDir + "/Other.vxt");
    store.openStoreCommand(app, nullptr);
    EXPECT_EQ(app.StoreUnusable, kStoreHealthy);
    EXPECT_EQ(app.DataStoreName, "Other");
    ASSERT_EQ(ExtractFile(first.c_str(), components::kTemplates, root().c_str()), 0);
    EXPECT_EQ(readAll(root() + "/" + components::kTemplates), "my templates");
    EXPECT_EQ(readAll(ws(components::kTemplates)), "");

    const std::string garbage = root() + "/Broken.vxt";
    writeAll(garbage, "not a store");
    prompt.answerFile(garbage);
    prompt.answerMessage(IDOK);
    store.openStoreCommand(app, nullptr);
    EXPECT_EQ(app.StoreUnusable, kStoreFailed);
    EXPECT_TRUE(prompt.fileRequests().back().fileMustExist);
    EXPECT_EQ(prompt.messages().back().text, MessageTextFor(103));
    // With no store held, a cancel leaves none.
    prompt.answerFile(std::nullopt);
    store.newStoreCommand(app, nullptr);
    EXPECT_EQ(app.StoreUnusable, kStoreCancelled);
}
