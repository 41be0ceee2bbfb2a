// Filing recordings into a real store: record files and family lines go in
// together or not at all, line positions never start at 0, and an edited
// record file is rewritten keeping what was not edited.

#include "FaultVfs.h"
#include "TestFiles.h"
#include "ZipFixtures.h"

#include "maker/VXSAVE/FamilyAppend.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/FileOps.h"
#include "maker/ek7vxrps/ek7vxrps.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>

using testfiles::TempDir;
using testfiles::readFile;
using testfiles::writeFile;

namespace {

using SaveCall = unsigned (*)(const char*, const char*, const char*, const char*, const char*, const char*,
                              const char*, int);

struct WorkFiles {
    std::string wave;
    std::string vxl;
    std::string vxs;
};

class VxRecordSaveTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(VXfilebuild(storeDir.path().c_str(), "Test", workspace.path().c_str()), kVxOk);
    }

    // The three work files of one recording, as a recorder leaves them.
    WorkFiles workFiles(const std::string& recId, const std::string& stamp)
    {
        WorkFiles files{workspace / (stamp + ".wav"), workspace / (stamp + ".vxl"), workspace / (stamp + ".vxs")};
        writeFile(files.wave, testfiles::patternBytes(testfiles::seedOf(stamp), 50000));
        writeFile(files.vxl, zipfixtures::indexLine(recId, "Subject¬of¬" + stamp));
        writeFile(files.vxs, "search fields of " + stamp);
        return files;
    }

    unsigned save(SaveCall call, const WorkFiles& files, const std::string& attachment = "")
    {
        return call(files.wave.c_str(), files.vxl.c_str(), files.vxs.c_str(), attachment.c_str(),
                    workspace.path().c_str(), store.c_str(), "20240101120000", 0);
    }

    std::string storedMember(const std::string& name)
    {
        TempDir out;
        const char* names[] = {name.c_str()};
        if (RPS_Get(store.c_str(), out.path().c_str(), names, 1) != kRpsOk)
            return "<missing>";
        return readFile(out / name);
    }

    std::map<std::string, std::string> storedRecord(const std::string& name)
    {
        TempDir out;
        const char* names[] = {name.c_str()};
        EXPECT_EQ(RPS_Get(store.c_str(), out.path().c_str(), names, 1), kRpsOk);
        return zipfixtures::readZip(out / name);
    }

    TempDir storeDir;
    TempDir workspace;
    std::string store = storeDir / "Test.vxt";
};

const std::string kDeadLine = [] {
    std::string line = "99999999";
    line.resize(400, ' ');
    return line + "\n";
}();

TEST_F(VxRecordSaveTest, FirstLinesFollowADeadLineAndTravelWithTheirRecords)
{
    const WorkFiles first = workFiles("00000012", "first");
    ASSERT_EQ(save(VXsaveR, first), 401u);
    const WorkFiles second = workFiles("00000013", "second");
    ASSERT_EQ(save(VXsaveR, second), 802u);

    const std::string family = readFile(workspace / "Telvarine.vxr");
    EXPECT_EQ(family, kDeadLine + readFile(first.vxl) + readFile(second.vxl));
    EXPECT_EQ(storedMember("Telvarine.vxr"), family);

    const auto record = storedRecord("00000012.vxz");
    ASSERT_EQ(record.size(), 3u);
    EXPECT_EQ(record.at("first.wav"), readFile(first.wave));
    EXPECT_EQ(record.at("first.vxl"), readFile(first.vxl));
    EXPECT_EQ(record.at("first.vxs"), readFile(first.vxs));
    EXPECT_EQ(storedRecord("00000013.vxz").at("second.wav"), readFile(second.wave));

    // The temporary record files are gone from the workspace.
    EXPECT_FALSE(testfiles::exists(workspace / "00000012.vxz"));
    EXPECT_FALSE(testfiles::exists(workspace / "00000013.vxz"));
}

TEST_F(VxRecordSaveTest, EachLetterAppendsToItsFamily)
{
    const std::pair<SaveCall, const char*> cases[] = {
        {VXsaveP, "Telvarine.vxp"}, {VXsaveM, "Telvarine.vxm"}, {VXsaveD, "Telvarine.vxd"},
        {VXsaveT, "Telvarine.vxr"}, {VXsaveV, "Telvarine.vxr"}};
    int recId = 20;
    std::map<std::string, unsigned> expectedNext = {
        {"Telvarine.vxp", 401}, {"Telvarine.vxm", 401}, {"Telvarine.vxd", 401}, {"Telvarine.vxr", 401}};
    for (const auto& [call, family] : cases) {
        SCOPED_TRACE(family);
        char id[16];
        std::snprintf(id, sizeof id, "%08d", recId);
        const WorkFiles files = workFiles(id, "rec" + std::to_string(recId));
        EXPECT_EQ(save(call, files), expectedNext[family]);
        expectedNext[family] += 401;
        EXPECT_EQ(storedMember(family), readFile(workspace / family));
        EXPECT_EQ(RPS_Exists(store.c_str(), (std::string(id) + ".vxz").c_str()), 0);
        ++recId;
    }
    EXPECT_EQ(readFile(workspace / "Telvarine.vxp").size(), 802u);
    EXPECT_EQ(readFile(workspace / "Telvarine.vxr").size(), 3u * 401);
}

TEST_F(VxRecordSaveTest, AttachmentGoesInUnderItsFileName)
{
    TempDir elsewhere;
    writeFile(elsewhere / "letter.txt", "Dear Sir");
    const WorkFiles files = workFiles("00000031", "withtext");
    ASSERT_EQ(save(VXsaveR, files, elsewhere / "letter.txt"), 401u);
    const auto record = storedRecord("00000031.vxz");
    ASSERT_EQ(record.size(), 4u);
    EXPECT_EQ(record.at("letter.txt"), "Dear Sir");
}

TEST_F(VxRecordSaveTest, FailedSavesChangeNothing)
{
    const WorkFiles kept = workFiles("00000001", "kept");
    ASSERT_EQ(save(VXsaveR, kept), 401u);
    const std::string familyBefore = readFile(workspace / "Telvarine.vxr");
    const std::string storeBefore = readFile(store);

    auto expectNothingChanged = [&](unsigned result, const std::string& recordName) {
        EXPECT_EQ(result, 0u);
        EXPECT_EQ(readFile(workspace / "Telvarine.vxr"), familyBefore);
        EXPECT_EQ(readFile(store), storeBefore);
        EXPECT_FALSE(testfiles::exists(store + "-journal"));
        EXPECT_FALSE(testfiles::exists(workspace / recordName));
    };

    {
        SCOPED_TRACE("short index line");
        const WorkFiles files = workFiles("00000002", "short");
        writeFile(files.vxl, zipfixtures::indexLine("00000002", "x").substr(0, 400));
        expectNothingChanged(save(VXsaveR, files), "00000002.vxz");
    }
    {
        SCOPED_TRACE("missing wave file");
        WorkFiles files = workFiles("00000003", "nowave");
        ::unlink(files.wave.c_str());
        expectNothingChanged(save(VXsaveR, files), "00000003.vxz");
    }
    {
        SCOPED_TRACE("RecID not a number, or the deleted mark");
        expectNothingChanged(save(VXsaveR, workFiles("0000000A", "letters")), "0000000A.vxz");
        expectNothingChanged(save(VXsaveR, workFiles("99999999", "dead")), "99999999.vxz");
    }
    {
        SCOPED_TRACE("attachment named like a work file");
        const WorkFiles files = workFiles("00000004", "twice");
        TempDir elsewhere;
        writeFile(elsewhere / "twice.wav", "other");
        expectNothingChanged(save(VXsaveR, files, elsewhere / "twice.wav"), "00000004.vxz");
    }
    {
        SCOPED_TRACE("store missing: not created either");
        const WorkFiles files = workFiles("00000005", "nostore");
        const std::string missing = storeDir / "Gone.vxt";
        EXPECT_EQ(VXsaveR(files.wave.c_str(), files.vxl.c_str(), files.vxs.c_str(), "", workspace.path().c_str(),
                          missing.c_str(), "", 0), 0u);
        EXPECT_FALSE(testfiles::exists(missing));
        expectNothingChanged(0, "00000005.vxz");
    }
    {
        SCOPED_TRACE("disk full while the store is written");
        const WorkFiles files = workFiles("00000006", "full");
        faultvfs::FaultVfs::instance();
        faultvfs::Plan plan;
        plan.failWriteAt = 3;
        plan.writeError = SQLITE_FULL;
        plan.sticky = true;
        unsigned result;
        {
            faultvfs::UseFaultVfs vfs(plan);
            result = save(VXsaveR, files);
        }
        expectNothingChanged(result, "00000006.vxz");
    }
    {
        SCOPED_TRACE("family file missing from the workspace: not made up");
        const WorkFiles files = workFiles("00000007", "nofamily");
        ::unlink((workspace / "Telvarine.vxm").c_str());
        expectNothingChanged(save(VXsaveM, files), "00000007.vxz");
        EXPECT_FALSE(testfiles::exists(workspace / "Telvarine.vxm"));
        EXPECT_EQ(storedMember("Telvarine.vxm"), "");
    }
    {
        SCOPED_TRACE("RecID already filed: the other recording is never replaced");
        const std::string before = storedMember("00000001.vxz");
        expectNothingChanged(save(VXsaveP, workFiles("00000001", "reused")), "00000001.vxz");
        EXPECT_EQ(storedMember("00000001.vxz"), before);
    }
    {
        SCOPED_TRACE("attachment named like a component of the store");
        const WorkFiles files = workFiles("00000009", "component");
        TempDir elsewhere;
        writeFile(elsewhere / "Telvarine.vxr", "not a family file");
        expectNothingChanged(save(VXsaveR, files, elsewhere / "Telvarine.vxr"), "00000009.vxz");
    }
    // And the store still takes the next save.
    EXPECT_EQ(save(VXsaveR, workFiles("00000008", "after")), 802u);
}

TEST_F(VxRecordSaveTest, ABatchGoesInTogetherLeavingOutAloneARecordThatCannotBeBuilt)
{
    const WorkFiles taken = workFiles("00000012", "taken");
    ASSERT_EQ(save(VXsaveR, taken), 401u);
    // A sound a third silent deflates; it must come back byte for byte.
    const WorkFiles a = workFiles("00000020", "a");
    std::string sound(30000, '\0');
    sound += testfiles::patternBytes(7, 60000);
    writeFile(a.wave, sound);
    const WorkFiles b = workFiles("00000012", "b");  // its RecID is filed already
    const WorkFiles c = workFiles("00000021", "c");
    const WorkFiles d = workFiles("00000022", "d");
    auto batchOf = [](std::initializer_list<std::pair<char, const WorkFiles*>> records) {
        std::vector<VxNewRecord> batch;
        for (const auto& [letter, files] : records) {
            VxNewRecord record;
            record.letter = letter;
            record.files = {files->wave, files->vxl, files->vxs};
            batch.push_back(record);
        }
        return batch;
    };
    std::vector<VxNewRecord> batch = batchOf({{'R', &a}, {'R', &b}, {'P', &c}, {'R', &d}});
    ASSERT_EQ(VXsaveBatch(batch, workspace.path().c_str(), store.c_str()), 3);
    EXPECT_EQ(batch[0].position, 802u);
    EXPECT_EQ(batch[1].code, kVxErrWrite);
    EXPECT_EQ(batch[1].position, 0u);
    EXPECT_EQ(batch[2].position, 401u);
    EXPECT_EQ(batch[3].position, 1203u);
    const std::string family = readFile(workspace / "Telvarine.vxr");
    EXPECT_EQ(family, kDeadLine + readFile(taken.vxl) + readFile(a.vxl) + readFile(d.vxl));
    EXPECT_EQ(storedMember("Telvarine.vxr"), family);
    EXPECT_EQ(storedMember("Telvarine.vxp"), kDeadLine + readFile(c.vxl));
    EXPECT_EQ(storedRecord("00000020.vxz").at("a.wav"), sound);
    EXPECT_EQ(storedRecord("00000022.vxz").at("d.wav"), readFile(d.wave));
    EXPECT_EQ(storedRecord("00000012.vxz").at("taken.wav"), readFile(taken.wave));
    // The deflated member was not deflated twice: the record file is smaller
    // than its sound by at least the silence.
    TempDir out;
    const char* name[] = {"00000020.vxz"};
    ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), name, 1), kRpsOk);
    EXPECT_LT(readFile(out / "00000020.vxz").size(), sound.size() - 25000);

    // A store that fails the transaction keeps none of the batch.
    const std::string storeBefore = readFile(store);
    const WorkFiles e = workFiles("00000030", "e");
    const WorkFiles f = workFiles("00000031", "f");
    batch = batchOf({{'R', &e}, {'P', &f}});
    faultvfs::FaultVfs::instance();
    faultvfs::Plan plan;
    plan.failWriteAt = 2;
    plan.sticky = true;
    {
        faultvfs::UseFaultVfs vfs(plan);
        EXPECT_EQ(VXsaveBatch(batch, workspace.path().c_str(), store.c_str()), 0);
    }
    EXPECT_EQ(batch[0].code, kVxErrWrite);
    EXPECT_EQ(batch[1].code, kVxErrWrite);
    EXPECT_EQ(readFile(workspace / "Telvarine.vxr"), family);
    EXPECT_EQ(readFile(workspace / "Telvarine.vxp"), kDeadLine + readFile(c.vxl));
    EXPECT_EQ(readFile(store), storeBefore);
    EXPECT_FALSE(testfiles::exists(workspace / "00000030.vxz"));
    EXPECT_EQ(RPS_Check(store.c_str()), kRpsOk);
}

// --- Rewriting a record file after an edit --------------------------------

TEST_F(VxRecordSaveTest, EditedRecordReplacesOnlyWhatTheWorkspaceHolds)
{
    TempDir elsewhere;
    writeFile(elsewhere / "note.txt", "old note");
    const WorkFiles files = workFiles("00000012", "edit");
    ASSERT_EQ(save(VXsaveR, files, elsewhere / "note.txt"), 401u);

    // The wave was re-recorded; the vxs is not in the workspace any more; an
    // audit file is added; a copy of the record file the program keeps in
    // the workspace must not be disturbed.
    writeFile(files.wave, "re-recorded wave");
    ::unlink(files.vxs.c_str());
    const std::string vxsBefore = storedRecord("00000012.vxz").at("edit.vxs");
    writeFile(workspace / "audit.dat", "audit");
    writeFile(workspace / "00000012.vxz", "the program's own copy");

    ASSERT_EQ(VXsaveVXZ("00000012.vxz", workspace.path().c_str(), store.c_str(), "audit.dat"), kVxOk);
    const auto record = storedRecord("00000012.vxz");
    EXPECT_EQ(record.size(), 5u);
    EXPECT_EQ(record.at("edit.wav"), "re-recorded wave");
    EXPECT_EQ(record.at("edit.vxs"), vxsBefore);
    EXPECT_EQ(record.at("edit.vxl"), readFile(files.vxl));
    EXPECT_EQ(record.at("note.txt"), "old note");
    EXPECT_EQ(record.at("audit.dat"), "audit");
    EXPECT_EQ(readFile(workspace / "00000012.vxz"), "the program's own copy");
    // No scratch folder left behind.
    for (const std::string& entry : workspace.entries())
        EXPECT_EQ(entry.rfind(".vxsave", 0), std::string::npos) << entry;
}

TEST_F(VxRecordSaveTest, EditFailuresReportAndKeepTheStore)
{
    writeFile(workspace / "garbage.vxz", "this is no zip archive at all");
    zipfixtures::writeZip(workspace / "slip.vxz", {{"ok.wav", "fine"}, {"../escape.txt", "outside"}});
    zipfixtures::writeZip(workspace / "crc.vxz", {{"data.wav", "AAAAAAAAAAAAAAAAAAAAAAAA"}});
    zipfixtures::patchBytes(workspace / "crc.vxz", "AAAAAAAAAAAA", "AAAAABAAAAAA");
    const char* names[] = {"garbage.vxz", "slip.vxz", "crc.vxz"};
    ASSERT_EQ(RPS_Put(store.c_str(), workspace.path().c_str(), names, 3), kRpsOk);
    for (const char* name : names)
        ::unlink((workspace / name).c_str());
    writeFile(workspace / "data.wav", "edited");
    const std::string before = readFile(store);

    EXPECT_EQ(VXsaveVXZ("00000099.vxz", workspace.path().c_str(), store.c_str(), ""), kVxErrExtract);
    EXPECT_EQ(VXsaveVXZ("garbage.vxz", workspace.path().c_str(), store.c_str(), ""), kVxErrRead);
    EXPECT_EQ(VXsaveVXZ("slip.vxz", workspace.path().c_str(), store.c_str(), ""), kVxErrDamaged);
    EXPECT_EQ(VXsaveVXZ("crc.vxz", workspace.path().c_str(), store.c_str(), ""), kVxErrDamaged);
    EXPECT_EQ(VXsaveVXV("crc.vxz", workspace.path().c_str(), store.c_str(), ""), kVxErrDamaged);
    EXPECT_EQ(VXsaveVXZ("../Test.vxt", workspace.path().c_str(), store.c_str(), ""), kVxErrExtract);
    EXPECT_EQ(readFile(store), before);
    EXPECT_FALSE(testfiles::exists(storeDir / "escape.txt"));
    EXPECT_FALSE(testfiles::exists(workspace / "escape.txt"));

    const WorkFiles files = workFiles("00000040", "extra");
    ASSERT_EQ(save(VXsaveR, files), 401u);
    const std::string saved = readFile(store);
    EXPECT_EQ(VXsaveVXZ("00000040.vxz", workspace.path().c_str(), store.c_str(), "not-there.txt"),
              kVxErrMissingFile);
    EXPECT_EQ(readFile(store), saved);
}

TEST_F(VxRecordSaveTest, VideoContainerIsRewrittenLikeARecord)
{
    zipfixtures::writeZip(workspace / "00000050.vxv", {{"clip.avi", "frames"}, {"clip.vxl", "line"}});
    const char* names[] = {"00000050.vxv"};
    ASSERT_EQ(RPS_Put(store.c_str(), workspace.path().c_str(), names, 1), kRpsOk);
    ::unlink((workspace / "00000050.vxv").c_str());
    writeFile(workspace / "clip.vxl", "new line");

    ASSERT_EQ(VXsaveVXV("00000050.vxv", workspace.path().c_str(), store.c_str(), ""), kVxOk);
    const auto container = storedRecord("00000050.vxv");
    EXPECT_EQ(container.at("clip.avi"), "frames");
    EXPECT_EQ(container.at("clip.vxl"), "new line");
}

}  // namespace

// Store compression renames a rewritten family file into place while it holds
// the old file's lock. An append that was waiting for that lock must land in
// the new file, not in the old one nobody reads any more.
TEST(FamilyAppendTest, AnAppendWaitingWhileTheFileIsReplacedLandsInTheNewFile)
{
    std::ifstream probe("/proc/locks");
    if (!probe)
        GTEST_SKIP() << "no /proc/locks to see the append waiting";
    TempDir dir;
    const std::string family = dir / "Telvarine.vxr";
    const std::string dead = "99999999" + std::string(392, ' ') + "\n";
    const std::string kept = "00000001" + std::string(392, ' ') + "\n";
    const std::string added = "00000002" + std::string(392, ' ') + "\n";
    testfiles::writeFile(family, dead + kept + dead);
    fileops::FileInfo old;
    ASSERT_EQ(fileops::infoOf(family, &old), 0);

    fileops::UniqueFd holder(fileops::openFile(family, fileops::Access::ReadWrite));
    ASSERT_EQ(fileops::lockWholeFile(holder.get()), 0);
    bool appended = false;
    std::uint64_t position = 0;
    std::thread appender([&] {
        vxsave::FamilyAppend append;
        appended = append.open(family) && append.append(added.c_str(), &position);
        if (appended)
            append.keep();
    });
    // Wait until the kernel lists the append as blocked on the old file.
    const std::string inode = ":" + std::to_string(old.inode) + " ";
    for (bool waiting = false; !waiting;) {
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);)
            waiting = waiting || (line.find("->") != std::string::npos && line.find(inode) != std::string::npos);
        if (!waiting)
            std::this_thread::yield();
    }
    testfiles::writeFile(dir / "templog.tmp", dead + kept);
    ASSERT_EQ(fileops::renameFile(dir / "templog.tmp", family), 0);
    holder.reset();
    appender.join();

    ASSERT_TRUE(appended);
    EXPECT_EQ(position, 802u);
    EXPECT_EQ(testfiles::readFile(family), dead + kept + added);
}
