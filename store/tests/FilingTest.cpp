// Filing recordings through the real procedure into a real store, filing
// them again, audit data, and deletion.
#include <gtest/gtest.h>

#include <algorithm>

#include "ScriptedPrompt.h"
#include "StoreFixture.h"
#include "core/SettingsKeys.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/Trace.h"
#include "res/MessageCatalogue.h"
#include "store/ComponentFiles.h"
#include "store/DataStore.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/RecordDeletion.h"
#include "store/RecordInfo.h"

class FilingTest : public OpenStoreFixture {
protected:
    std::string ws(const std::string& name) const { return components::workspacePath(app.TempDir, name); }
    std::string indexPath() const { return ws(components::kIndex); }
};

TEST_F(FilingTest, RecIdsAreNeverReusedWhateverTheProfileSaysAndEndAt99999998)
{
    EXPECT_EQ(allocateRecId(app), 1);
    EXPECT_EQ(profile().read(settings::kRecID), "00000001");
    profile().write(settings::kRecID, "41");
    const NewRecordNames names = prepareNewRecording(app);
    EXPECT_EQ(names.recId, 42);
    EXPECT_EQ(profile().read(settings::kRecID), "00000042");
    EXPECT_EQ(names.lineName[1], names.baseName + ".vxl");
    EXPECT_EQ(names.infoName[0], app.TempDir + "/" + names.baseName + ".vxs");
    // A recording discarded now leaves 42 unused; the next is 43.
    EXPECT_EQ(allocateRecId(app), 43);

    // A profile whose counter went back (a reinstall, another log-on name)
    // or that cannot be written still never repeats a number.
    profile().write(settings::kRecID, "1");
    EXPECT_EQ(allocateRecId(app), 44);
    const std::string ini = app.IniPath;
    app.IniPath = root() + "/no-such-folder/NAVO.ini";
    EXPECT_EQ(allocateRecId(app), 45);
    EXPECT_EQ(allocateRecId(app), 46);
    app.IniPath = ini;

    // The last RecID there is; after it nothing, and nothing written.
    profile().write(settings::kRecID, "99999997");
    EXPECT_EQ(allocateRecId(app), 99999998);
    EXPECT_EQ(prepareNewRecording(app).recId, 0);
    EXPECT_EQ(profile().read(settings::kRecID), "99999998");
}

TEST_F(FilingTest, AStoreOpenedFromANewProfileKeepsItsRecords)
{
    const long first = fileDictation("The first dictation");
    ASSERT_EQ(lastResult, 0);
    ASSERT_EQ(store.save(app), 0);
    store.deleteWorkingCopies(app);

    // Another profile, or NAVO.ini lost: the counter starts again at 0.
    std::filesystem::remove(app.IniPath);
    app.HighestRecId = 0;
    DataStore reopened;
    ASSERT_EQ(reopened.extract(app), 0);
    const long second = fileDictation("After a reinstall");
    ASSERT_EQ(lastResult, 0);
    EXPECT_GT(second, first);
    EXPECT_EQ(indexline::showField(indexline::field(
                  family::readLine(app.TempDir, indexline::recIdText(first), 0, 401), 5)),
              "The first dictation");
    EXPECT_EQ(RPS_Exists(app.DataStorePath.c_str(), RecordFiler::recordFileName(first).c_str()), 0);
}

TEST_F(FilingTest, ANewDictationReachesFamilyFileIndexAndStore)
{
    TraceCapture trace;
    const long first = fileDictation("Call the bank", "bank\r\nmortgage");
    ASSERT_EQ(lastResult, 0);
    EXPECT_EQ(lastPosition, 401);  // behind the family file's dead first line
    const long second = fileDictation("Second note");
    ASSERT_EQ(lastResult, 0);
    EXPECT_EQ(lastPosition, 802);

    const std::string line = family::readLine(app.TempDir, indexline::recIdText(first), 0, 401);
    ASSERT_EQ(line.size(), 401u);
    EXPECT_EQ(indexline::showField(indexline::field(line, 5)), "Call the bank");
    EXPECT_EQ(indexline::field(line, 10), "00:00:01");
    EXPECT_EQ(lastColumns.size(), 14u);
    EXPECT_EQ(lastColumns[0], indexline::recIdText(second));

    char record[EK7_INDEX_RECORD_MAX];
    ASSERT_NE(Ek7IndexRead(static_cast<std::uint32_t>(first), indexPath().c_str(), record), 0);
    char position[64];
    Ek7IndexField(3, record, position);
    EXPECT_EQ(std::atol(position), 401);
    std::vector<std::uint32_t> found;
    ASSERT_EQ(Ek7IndexSearch(indexPath().c_str(), "mortgage", &found), 0);
    EXPECT_EQ(found, (std::vector<std::uint32_t>{static_cast<std::uint32_t>(first)}));

    // The record file in the store carries the sound, the line and the audit.
    const std::string recordFile = RecordFiler::recordFileName(first);
    ASSERT_EQ(ExtractFile(storePath().c_str(), recordFile.c_str(), root().c_str()), 0);
    std::vector<std::string> members;
    ASSERT_EQ(VXlistMembers((root() + "/" + recordFile).c_str(), &members), 0);
    EXPECT_EQ(members.size(), 3u);
    RecordInfo info;
    const auto vxs = std::find_if(members.begin(), members.end(),
                                  [](const std::string& m) { return m.size() > 4 && m.substr(m.size() - 4) == ".vxs"; });
    ASSERT_NE(vxs, members.end());
    ASSERT_EQ(recordinfo::readFromRecordFile(root() + "/" + recordFile, *vxs, root(), &info), 0);
    EXPECT_EQ(info.keywords, "bank  mortgage");
    EXPECT_FALSE(info.created.empty());
    EXPECT_TRUE(info.original);

    // The work files (named by their date stamp) are gone; the trace shows
    // the steps in order.
    for (const auto& entry : std::filesystem::directory_iterator(app.TempDir))
        EXPECT_FALSE(std::isdigit(static_cast<unsigned char>(entry.path().filename().string()[0])))
            << entry.path();
    const std::string text = trace.text();
    std::size_t at = 0;
    for (const char* step : {"Saving SFS", "Saved SFS", "About to fast forward", "Fast forward OK", "Saving WAV file",
                             "WAV file saved", "Saving Navo file to repository", "Navo file saved to repository",
                             "Updating Index", "Index updated", "Saving done closing dialog"}) {
        at = text.find(step, at);
        ASSERT_NE(at, std::string::npos) << step;
    }
}

TEST_F(FilingTest, FailuresShowTheirMessageAndKeepTheWorkFiles)
{
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    const NewRecordNames names = prepareNewRecording(app);
    RecordingToFile rec;
    rec.recId = names.recId;
    rec.baseName = names.baseName;
    rec.fields = {indexline::recIdText(names.recId), "0", "0", "", "No sound"};
    FakeRecording silent(8000, /*writes=*/false);
    RecordFiler filer(app);
    EXPECT_EQ(filer.save(rec, silent), 108);
    EXPECT_EQ(prompt.messages().at(0).text, "Cannot save recording - Missing file : Error 108");
    EXPECT_EQ(prompt.messages().at(0).flags, MB_ICONEXCLAMATION);

    // The store has gone: the record file cannot be saved, and nothing of
    // the recording is thrown away.
    prompt.answerMessage(IDOK);
    const std::string familyBefore = readAll(ws(components::kDictation));
    const std::string storeWas = app.DataStorePath;
    app.DataStorePath = root() + "/gone.vxt";
    const long recId = fileDictation("Nowhere to go");
    EXPECT_EQ(lastResult, 109);
    EXPECT_EQ(prompt.messages().at(1).text, MessageTextFor(109));
    EXPECT_EQ(readAll(ws(components::kDictation)), familyBefore);
    char record[EK7_INDEX_RECORD_MAX];
    EXPECT_EQ(Ek7IndexRead(static_cast<std::uint32_t>(recId), indexPath().c_str(), record), 0);
    const auto wave = std::find_if(std::filesystem::directory_iterator(app.TempDir),
                                   std::filesystem::directory_iterator(), [](const auto& entry) {
                                       return entry.path().extension() == ".wav";
                                   });
    EXPECT_NE(wave, std::filesystem::directory_iterator());
    app.DataStorePath = storeWas;
}

TEST_F(FilingTest, AReRecordedRecordReplacesItsLineInPlace)
{
    const long recId = fileDictation("Draft");
    ASSERT_EQ(lastResult, 0);
    fileDictation("Another");
    const std::string familyBefore = readAll(ws(components::kDictation));

    // Re-recording opens the record file into the workspace first.
    const std::string recordFile = RecordFiler::recordFileName(recId);
    ASSERT_EQ(ExtractFile(storePath().c_str(), recordFile.c_str(), app.TempDir.c_str()), 0);
    std::vector<std::string> members;
    ASSERT_EQ(VXlistMembers(ws(recordFile).c_str(), &members), 0);
    ASSERT_EQ(VXopenVXZ(ws(recordFile).c_str(), app.TempDir.c_str()), 0);
    std::string baseName = members[0].substr(0, members[0].rfind('.'));

    RecordingToFile rec;
    rec.recId = recId;
    rec.baseName = baseName;
    rec.reRecorded = true;
    rec.recordFileName = recordFile;
    rec.fields = {indexline::recIdText(recId), "0", "0", "", "Final version", "", "", "22/11/2026 11:00:00",
                  "22/11/2026 11:02:00", "", "", "0"};
    rec.keywords = "final";
    FakeRecording longer(16000);
    RecordFiler filer(app);
    ASSERT_EQ(filer.save(rec, longer), 0);
    EXPECT_EQ(filer.linePosition(), 401);

    const std::string familyAfter = readAll(ws(components::kDictation));
    ASSERT_EQ(familyAfter.size(), familyBefore.size());
    const std::string line = family::readLine(app.TempDir, indexline::recIdText(recId), 0, 401);
    EXPECT_EQ(indexline::showField(indexline::field(line, 5)), "Final version");
    EXPECT_EQ(familyAfter.substr(802), familyBefore.substr(802));  // the other record untouched
    std::vector<std::uint32_t> found;
    Ek7IndexSearch(indexPath().c_str(), "final", &found);
    EXPECT_EQ(found.size(), 1u);
    // The store's record file now holds the longer sound.
    std::filesystem::remove(ws(recordFile));
    ASSERT_EQ(ExtractFile(storePath().c_str(), recordFile.c_str(), root().c_str()), 0);
    EXPECT_EQ(CheckFileSize((root() + "/" + recordFile).c_str(), (baseName + ".wav").c_str()),
              static_cast<long long>(waveBytes(16000).size()));
}

TEST_F(FilingTest, DeletionMarksTheLineDropsTheIndexEntryAndTheRecordFile)
{
    const long keep = fileDictation("Keep");
    const long drop = fileDictation("Drop");
    EXPECT_EQ(deleteRecords(app, {indexline::recIdText(drop)}), 0);
    EXPECT_EQ(family::readLine(app.TempDir, indexline::recIdText(drop), 0, 802), "LOST");
    EXPECT_EQ(readAll(ws(components::kDictation)).substr(802, 8), "99999999");
    char record[EK7_INDEX_RECORD_MAX];
    EXPECT_EQ(Ek7IndexRead(static_cast<std::uint32_t>(drop), indexPath().c_str(), record), 0);
    EXPECT_NE(Ek7IndexRead(static_cast<std::uint32_t>(keep), indexPath().c_str(), record), 0);
    EXPECT_NE(CheckForFile(storePath().c_str(), RecordFiler::recordFileName(drop).c_str()), 0);
    EXPECT_EQ(CheckForFile(storePath().c_str(), RecordFiler::recordFileName(keep).c_str()), 0);
    // Deleting it again, or a record that never was, fails.
    EXPECT_EQ(deleteRecords(app, {indexline::recIdText(drop), "00000999"}), 2);
}

TEST(RecordInfo, LockAndOriginalShowInTheDescription)
{
    RecordInfo info;
    info.keywords = "a\nb";
    info.created = "22/11/2026 10:00:00";
    info.saved = info.created;
    info.user = "ann";
    info.locked = true;
    info.original = false;
    RecordInfo back;
    ASSERT_TRUE(RecordInfo::parse(info.serialize(), &back));
    EXPECT_EQ(back.keywords, "a b");
    EXPECT_TRUE(back.locked);
    EXPECT_FALSE(back.original);
    EXPECT_NE(recordinfo::describe(back).find("*** Warning : Not an original recording ***"), std::string::npos);
    EXPECT_FALSE(RecordInfo::parse("garbage\n", &back));
    EXPECT_EQ(MessageTextFor(recordinfo::kLocked), "The record is locked and cannot be edited : Info 006");
    EXPECT_EQ(MessageTextFor(recordinfo::kNoAudit), "Navo file does not contain audit information : Info 130");
}

// A crash loses only the index's changes since the last save: on the next
// open the index is rebuilt from the records, which were stored at once.
TEST_F(FilingTest, ReopeningAfterACrashRebuildsTheIndexFromTheStoredRecords)
{
    const long kept = fileDictation("Kept note", "alpha");
    const long gone = fileDictation("Gone before the crash", "beta");
    const long gonePosition = lastPosition;
    ASSERT_EQ(store.save(app), 0);
    // Its line marked dead and stored, but the index that still lists it was not.
    ASSERT_TRUE(family::markDeleted(ws(components::kDictation), indexline::recIdText(gone), gonePosition));
    const char* familyFile[] = {components::kDictation};
    ASSERT_EQ(RPS_Put(app.DataStorePath.c_str(), app.TempDir.c_str(), familyFile, 1), 0);
    const long filedLater = fileDictation("Filed after the save", "gamma\r\ndelta");
    ASSERT_EQ(lastResult, 0);
    const long filedPosition = lastPosition;

    // The crash: the workspace goes without a save; the store is reopened.
    store.deleteWorkingCopies(app);
    DataStore reopened;
    TraceCapture trace;
    ASSERT_EQ(reopened.extract(app), 0);
    EXPECT_NE(trace.text().find("Index repaired: 1 entries rebuilt, 1 removed"), std::string::npos) << trace.text();

    std::vector<std::uint32_t> ids;
    ASSERT_EQ(Ek7IndexRecIds(indexPath().c_str(), &ids), kEk7IndexOk);
    EXPECT_EQ(ids, (std::vector<std::uint32_t>{static_cast<std::uint32_t>(kept),
                                                static_cast<std::uint32_t>(filedLater)}));
    // Searchable by its own search text and by its subject, with its line's place.
    std::vector<std::uint32_t> found;
    ASSERT_EQ(Ek7IndexSearch(indexPath().c_str(), "delta", &found), kEk7IndexOk);
    EXPECT_EQ(found, (std::vector<std::uint32_t>{static_cast<std::uint32_t>(filedLater)}));
    ASSERT_EQ(Ek7IndexSearch(indexPath().c_str(), "Filed after", &found), kEk7IndexOk);
    EXPECT_EQ(found, (std::vector<std::uint32_t>{static_cast<std::uint32_t>(filedLater)}));
    char record[EK7_INDEX_RECORD_MAX];
    ASSERT_NE(Ek7IndexRead(static_cast<std::uint32_t>(filedLater), indexPath().c_str(), record), 0);
    char position[64];
    Ek7IndexField(3, record, position);
    EXPECT_EQ(std::atol(position), filedPosition);

    // A store whose index agrees is left as it is; no scratch files remain.
    reopened.deleteWorkingCopies(app);
    TraceCapture quiet;
    ASSERT_EQ(reopened.extract(app), 0);
    EXPECT_EQ(quiet.text().find("Index repaired"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(app.TempDir + "/index-repair"));
}

TEST_F(FilingTest, ARecordWhoseFileIsUnreadableIsStillIndexedByItsLine)
{
    ASSERT_EQ(store.save(app), 0);
    const long recId = fileDictation("Subject survives", "lost words");
    ASSERT_EQ(lastResult, 0);
    store.deleteWorkingCopies(app);
    const std::string recordFile = RecordFiler::recordFileName(recId);
    const char* names[] = {recordFile.c_str()};
    ASSERT_EQ(RPS_Delete(app.DataStorePath.c_str(), names, 1), 0);

    ASSERT_EQ(store.extract(app), 0);
    std::vector<std::uint32_t> found;
    ASSERT_EQ(Ek7IndexSearch(indexPath().c_str(), "Subject survives", &found), kEk7IndexOk);
    EXPECT_EQ(found, (std::vector<std::uint32_t>{static_cast<std::uint32_t>(recId)}));
    ASSERT_EQ(Ek7IndexSearch(indexPath().c_str(), "lost", &found), kEk7IndexOk);
    EXPECT_TRUE(found.empty());
}
