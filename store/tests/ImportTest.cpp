// Importing another data store and record files: colliding RecIDs, a second
// import of the same store, damaged input, and search over what came in.
#include <gtest/gtest.h>

#include "ScriptedPrompt.h"
#include "StoreFixture.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/RecordImport.h"
#include "store/RecordSearch.h"

namespace {

// Another Navo's store: its own profile, workspace and RecIDs from 1.
struct OtherStore {
    AppData app;
    DataStore store;

    OtherStore(const std::string& root)
    {
        app.AppDir = root + "/";
        app.IniPath = root + "/NAVO.ini";
        app.ProfileSection = "other";
        app.ProfileDir = root + "/Profiles/other";
        app.DataStoreName = "Other";
        std::filesystem::create_directories(app.ProfileDir);
        EXPECT_EQ(workspace::Workspace(app, workspace::kCreate, "*.*"), 0);
        EXPECT_EQ(VXfilebuild(app.ProfileDir.c_str(), "Other", app.TempDir.c_str()), 0);
        app.DataStorePath = app.ProfileDir + "/Other.vxt";
        EXPECT_EQ(store.extract(app), 0);
    }
    ~OtherStore() { workspace::Workspace(app, workspace::kRemove, "*.*"); }

    long file(const std::string& subject, const std::string& keywords, std::uint32_t samples, char family = 'R',
              const std::string& type = "0")
    {
        const NewRecordNames names = prepareNewRecording(app);
        RecordingToFile rec;
        rec.recId = names.recId;
        rec.baseName = names.baseName;
        rec.family = family;
        rec.fields = {indexline::recIdText(names.recId), type, "0", "", subject, "", "", "22/11/2026 10:00:00",
                      "22/11/2026 10:01:00", "", "", "0"};
        rec.keywords = keywords;
        rec.extraText = " ";
        FakeRecording source(samples);
        EXPECT_EQ(RecordFiler(app).save(rec, source), 0);
        return names.recId;
    }
    void close()
    {
        EXPECT_EQ(store.save(app), 0);
        store.deleteWorkingCopies(app);
    }
};

}  // namespace

class ImportTest : public OpenStoreFixture {
protected:
    // The subject and the wave of a record, read back from the store file.
    std::pair<std::string, std::string> record(long recId, int type = 0)
    {
        const long position = lineAt(recId, type);
        const std::string line = family::readLine(app.TempDir, indexline::recIdText(recId), type, position);
        const std::string recordFile = RecordFiler::recordFileName(recId);
        const std::string folder = root() + "/check-" + std::to_string(recId);
        std::filesystem::create_directories(folder);
        EXPECT_EQ(ExtractFile(app.DataStorePath.c_str(), recordFile.c_str(), folder.c_str()), 0);
        EXPECT_EQ(VXopenVXZ((folder + "/" + recordFile).c_str(), folder.c_str()), 0);
        std::string wave;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".wav")
                wave = readAll(entry.path().string());
        std::filesystem::remove_all(folder);
        return {indexline::showField(indexline::field(line, 5)), wave};
    }
    // The position of a RecID's line in the dictation or phone family file.
    long lineAt(long recId, int type)
    {
        const std::string text =
            readAll(components::workspacePath(app.TempDir, components::familyFileForType(type)));
        for (std::size_t at = 0; at + indexline::kLineBytes <= text.size(); at += indexline::kLineBytes)
            if (text.compare(at, 8, indexline::recIdText(recId)) == 0)
                return static_cast<long>(at);
        return -1;
    }
    void reopen()
    {
        ASSERT_EQ(store.save(app), 0);
        store.deleteWorkingCopies(app);
        DataStore again;
        ASSERT_EQ(again.extract(app), 0);
    }
};

TEST_F(ImportTest, CollidingRecIdsKeepBothSetsWholeAndASecondImportAddsNothing)
{
    OtherStore other(root() + "/other");
    ASSERT_EQ(other.file("Their first", "harbour", 4000), 1);
    ASSERT_EQ(other.file("Their call", "lighthouse", 6000, 'P', "3"), 2);
    // A record that is already here, sound and texts, is not taken twice.
    ASSERT_EQ(other.file("Same as ours", "shared", 9000), 3);
    other.close();

    ASSERT_EQ(fileDictation("Our first", "kettle", 5000), 1);
    ASSERT_EQ(fileDictation("Same as ours", "shared", 9000), 2);

    RecordImport import(app);
    std::vector<std::size_t> seen;
    const ImportReport report = import.importStore(other.app.DataStorePath, [&](std::size_t done, std::size_t total) {
        seen.push_back(done * 10 + total);
        return true;
    });
    ASSERT_FALSE(report.refused()) << report.refusal;
    EXPECT_EQ(report.imported, 2);
    EXPECT_EQ(report.skipped, 1);
    EXPECT_TRUE(report.failed.empty()) << report.summary();
    EXPECT_EQ(report.recIds, (std::vector<long>{3, 4}));
    EXPECT_EQ(seen, (std::vector<std::size_t>{3, 13, 23, 33}));

    reopen();
    EXPECT_EQ(record(1), std::make_pair(std::string("Our first"), waveBytes(5000)));
    EXPECT_EQ(record(2), std::make_pair(std::string("Same as ours"), waveBytes(9000)));
    EXPECT_EQ(record(3), std::make_pair(std::string("Their first"), waveBytes(4000)));
    EXPECT_EQ(record(4, 3).second, waveBytes(6000));
    // The source store is as it was.
    EXPECT_EQ(RPS_Exists(other.app.DataStorePath.c_str(), "00000004.vxz"), 1);

    // Found by search, by a word of its keywords and of its subject.
    const SearchAnswer byKeyword = RecordSearch(app.TempDir).run({"lighthouse"});
    ASSERT_EQ(byKeyword.rows.size(), 1u);
    EXPECT_EQ(byKeyword.rows.recId(0), "00000004");
    const SearchAnswer bySubject = RecordSearch(app.TempDir).run({"their"});
    EXPECT_EQ(bySubject.rows.size(), 2u);

    const ImportReport again = RecordImport(app).importStore(other.app.DataStorePath);
    EXPECT_EQ(again.imported, 0);
    EXPECT_EQ(again.skipped, 3);
    EXPECT_EQ(lineAt(5, 0), -1);
    EXPECT_EQ(lineAt(5, 3), -1);
}

TEST_F(ImportTest, DamagedInputIsRefusedByNameAndTheStoreIsUnchanged)
{
    OtherStore other(root() + "/other");
    other.file("Good", "fine", 4000);
    other.file("Bad", "broken", 7000);
    other.close();
    fileDictation("Ours", "kettle", 5000);
    ASSERT_EQ(store.save(app), 0);

    // A record file of the store whose compressed sound was damaged.
    const std::string members = root() + "/members";
    std::filesystem::create_directories(members);
    ASSERT_EQ(ExtractFile(other.app.DataStorePath.c_str(), "00000002.vxz", members.c_str()), 0);
    const std::string good = members + "/good.vxz";
    std::filesystem::copy_file(members + "/00000002.vxz", good);
    std::string bytes = readAll(members + "/00000002.vxz");
    for (std::size_t i = 200; i < 260; ++i)
        bytes[i] = static_cast<char>(bytes[i] ^ 0x5A);
    writeAll(members + "/00000002.vxz", bytes);
    ASSERT_EQ(RPS_LoadFile(other.app.DataStorePath.c_str(), (members + "/00000002.vxz").c_str(), "00000002.vxz"), 0);
    // And a store file that is no store at all.
    const std::string notAStore = root() + "/notes.vxt";
    writeAll(notAStore, std::string(5000, 'x'));

    const std::string familyBefore = readAll(components::workspacePath(app.TempDir, components::kDictation));

    ScriptedPrompt prompt;  // nothing may be asked
    ImportReport report = RecordImport(app).importStore(other.app.DataStorePath);
    EXPECT_NE(report.refusal.find(other.app.DataStorePath), std::string::npos) << report.refusal;
    EXPECT_NE(report.refusal.find("00000002.vxz"), std::string::npos) << report.refusal;
    EXPECT_EQ(report.imported, 0);
    report = RecordImport(app).importStore(notAStore);
    EXPECT_NE(report.refusal.find("notes.vxt cannot be imported: not a data store"), std::string::npos)
        << report.refusal;
    EXPECT_EQ(profile().read("RecID"), "00000001");
    EXPECT_EQ(readAll(components::workspacePath(app.TempDir, components::kDictation)), familyBefore);

    // Record files one by one: the damaged one is refused by name, the good
    // one still comes in.
    report = RecordImport(app).importRecordFiles({members + "/00000002.vxz", good});
    ASSERT_EQ(report.failed.size(), 1u);
    EXPECT_EQ(report.failed[0].what, members + "/00000002.vxz");
    EXPECT_NE(report.failed[0].reason.find("Error 11"), std::string::npos) << report.failed[0].reason;
    EXPECT_EQ(report.imported, 1);
    EXPECT_EQ(record(report.recIds.at(0)).second, waveBytes(7000));

    const std::string familyAfter = readAll(components::workspacePath(app.TempDir, components::kDictation));
    EXPECT_EQ(familyAfter.substr(0, familyBefore.size()), familyBefore);
    EXPECT_EQ(familyAfter.size(), familyBefore.size() + indexline::kLineBytes);
}

TEST_F(ImportTest, ARefusedStoreLeavesTheStoreFileByteForByte)
{
    OtherStore other(root() + "/other");
    other.file("Good", "fine", 4000);
    other.close();
    ASSERT_EQ(RPS_Delete(other.app.DataStorePath.c_str(), std::vector<const char*>{"00000001.vxz"}.data(), 1), 0);
    fileDictation("Ours", "kettle", 5000);
    ASSERT_EQ(store.save(app), 0);
    const std::string storeBefore = readAll(app.DataStorePath);
    const std::string workspaceFamily = readAll(components::workspacePath(app.TempDir, components::kDictation));

    const ImportReport report = RecordImport(app).importStore(other.app.DataStorePath);
    EXPECT_NE(report.refusal.find("00000001.vxz"), std::string::npos) << report.refusal;
    EXPECT_EQ(readAll(app.DataStorePath), storeBefore);
    EXPECT_EQ(readAll(components::workspacePath(app.TempDir, components::kDictation)), workspaceFamily);
    EXPECT_EQ(profile().read("RecID"), "00000001");
}
