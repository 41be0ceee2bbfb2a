// Record files and stores as containers: extraction that never writes
// outside its folder, damaged and foreign files refused without a crash, and
// member tests, sizes and removal on both kinds.

#include "TestFiles.h"
#include "ZipFixtures.h"

#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

using testfiles::TempDir;
using testfiles::readFile;
using testfiles::writeFile;

namespace {

class VxContainerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        zipfixtures::writeZip(record, {{"a.wav", testfiles::patternBytes(1, 70000)}, {"a.vxl", "line"}, {"empty", ""}});
        ASSERT_EQ(RPS_Create(store.c_str()), kRpsOk);
        writeFile(dir / "member.bin", "in the store");
        ASSERT_EQ(RPS_LoadFile(store.c_str(), (dir / "member.bin").c_str(), "00000001.vxz"), kRpsOk);
    }

    TempDir dir;
    TempDir workspace;
    std::string record = dir / "00000007.vxz";
    std::string store = dir / "Test.vxt";
};

TEST_F(VxContainerTest, OpenExtractsEveryMemberPrivately)
{
    ASSERT_EQ(VXopenVXZ(record.c_str(), workspace.path().c_str()), kVxOk);
    EXPECT_EQ(workspace.entries(), (std::vector<std::string>{"a.vxl", "a.wav", "empty"}));
    EXPECT_EQ(readFile(workspace / "a.wav"), testfiles::patternBytes(1, 70000));
    EXPECT_EQ(readFile(workspace / "empty"), "");
    for (const std::string& name : workspace.entries())
        EXPECT_EQ(testfiles::modeOf(workspace / name), 0600u) << name;
}

TEST_F(VxContainerTest, HostileMemberNamesAreRefusedAndNothingIsWritten)
{
    // Each archive holds a harmless member first, so a partial extraction
    // would show.
    const char* hostile[] = {"../x.txt", "../../../tmp/navo-evil", "/navo-abs.txt", "a/b.txt", "..", ".", "",
                             "dir/", "back\\slash"};
    for (const char* name : hostile) {
        SCOPED_TRACE(name);
        const std::string path = dir / "hostile.vxz";
        zipfixtures::writeZip(path, {{"fine.wav", "fine"}, {name, "payload"}});
        TempDir target;
        EXPECT_EQ(VXopenVXZ(path.c_str(), target.path().c_str()), kVxErrDamaged);
        EXPECT_EQ(ExtractFile(path.c_str(), "fine.wav", target.path().c_str()), kVxErrDamaged);
        EXPECT_EQ(ExtractFile(path.c_str(), name, target.path().c_str()), kVxErrDamaged);
        std::vector<std::string> names;
        EXPECT_EQ(VXlistMembers(path.c_str(), &names), kVxErrDamaged);
        EXPECT_TRUE(target.entries().empty());
    }
    EXPECT_FALSE(testfiles::exists(dir / "x.txt"));
    EXPECT_FALSE(testfiles::exists("/navo-abs.txt"));
    EXPECT_FALSE(testfiles::exists("/tmp/navo-evil"));
}

TEST_F(VxContainerTest, MembersNamedLikeTheWorkspacesOwnFilesAreRefused)
{
    // Opened into the workspace, they would replace a family file or the
    // greeting, which the clean-up after the record then deletes.
    for (const char* name : {"Telvarine.vxr", "Telvarine.vxi-journal", "vxgreet.wav", "xbuffer.wav"}) {
        SCOPED_TRACE(name);
        const std::string path = dir / "posing.vxz";
        zipfixtures::writeZip(path, {{"a.wav", "sound"}, {name, "payload"}});
        TempDir target;
        writeFile(target / name, "the workspace's own");
        EXPECT_EQ(VXopenVXZ(path.c_str(), target.path().c_str()), kVxErrDamaged);
        EXPECT_EQ(readFile(target / name), "the workspace's own");
        EXPECT_FALSE(testfiles::exists(target / "a.wav"));
    }
}

TEST_F(VxContainerTest, DamagedOrForeignFilesGiveCodesNotCrashes)
{
    const std::string bytes = readFile(record);
    TempDir target;
    const std::vector<std::pair<std::string, std::string>> files = {
        {"empty.vxz", ""},
        {"text.vxz", "Just some text that is not an archive.\n"},
        {"head.vxz", bytes.substr(0, bytes.size() / 2)},
        {"tail.vxz", bytes.substr(bytes.size() / 2)},
        {"nearly.vxz", bytes.substr(0, bytes.size() - 5)},
    };
    for (const auto& [name, content] : files) {
        SCOPED_TRACE(name);
        writeFile(dir / name, content);
        const int rc = VXopenVXZ((dir / name).c_str(), target.path().c_str());
        EXPECT_TRUE(rc == kVxErrRead || rc == kVxErrDamaged) << rc;
        const int extracted = ExtractFile((dir / name).c_str(), "a.wav", target.path().c_str());
        EXPECT_TRUE(extracted == kVxErrRead || extracted == kVxErrDamaged) << extracted;
        EXPECT_EQ(CheckForFile((dir / name).c_str(), "a.wav"), kVxAbsent);
        EXPECT_EQ(CheckFileSize((dir / name).c_str(), "a.wav"), -1);
        EXPECT_EQ(readFile(dir / name), content);  // refusing never rewrites
    }
    EXPECT_EQ(VXopenVXZ((dir / "missing.vxz").c_str(), target.path().c_str()), kVxErrRead);
    EXPECT_TRUE(target.entries().empty());
}

TEST_F(VxContainerTest, BadCrcIsDamageAndLeavesNoHalfFile)
{
    const std::string path = dir / "crc.vxz";
    const std::string good = testfiles::patternBytes(9, 1000);
    zipfixtures::writeZip(path, {{"first.wav", "first"}, {"second.wav", "AAAAAAAAAAAAAAAA" + good}});
    zipfixtures::patchBytes(path, "AAAAAAAAAAAAAAAA", "AAAAAAAABAAAAAAA");
    writeFile(workspace / "first.wav", "before");

    EXPECT_EQ(VXopenVXZ(path.c_str(), workspace.path().c_str()), kVxErrDamaged);
    // The good member was not put in place either: all or nothing.
    EXPECT_EQ(readFile(workspace / "first.wav"), "before");
    EXPECT_EQ(workspace.entries(), std::vector<std::string>{"first.wav"});
    EXPECT_EQ(ExtractFile(path.c_str(), "second.wav", workspace.path().c_str()), kVxErrDamaged);
    EXPECT_FALSE(testfiles::exists(workspace / "second.wav"));
}

TEST_F(VxContainerTest, MemberQueriesOnBothKinds)
{
    EXPECT_EQ(CheckForFile(record.c_str(), "a.wav"), kVxOk);
    EXPECT_EQ(CheckForFile(record.c_str(), "b.wav"), kVxAbsent);
    EXPECT_EQ(CheckFileSize(record.c_str(), "a.wav"), 70000);
    EXPECT_EQ(CheckFileSize(record.c_str(), "empty"), 0);
    EXPECT_EQ(CheckFileSize(record.c_str(), "b.wav"), -1);

    EXPECT_EQ(CheckForFile(store.c_str(), "00000001.vxz"), kVxOk);
    EXPECT_EQ(CheckForFile(store.c_str(), "00000002.vxz"), kVxAbsent);
    EXPECT_EQ(CheckFileSize(store.c_str(), "00000001.vxz"), 12);
    EXPECT_EQ(CheckFileSize(store.c_str(), "00000002.vxz"), -1);
    EXPECT_EQ(CheckForFile(store.c_str(), "../Test.vxt"), kVxAbsent);
    EXPECT_EQ(CheckForFile((dir / "missing").c_str(), "a.wav"), kVxAbsent);

    std::vector<std::string> names;
    ASSERT_EQ(VXlistMembers(record.c_str(), &names), kVxOk);
    EXPECT_EQ(names, (std::vector<std::string>{"a.vxl", "a.wav", "empty"}));
    ASSERT_EQ(VXlistMembers(store.c_str(), &names), kVxOk);
    EXPECT_EQ(names, std::vector<std::string>{"00000001.vxz"});

    // The kind is told by content: a store renamed ".vxz" is still a store.
    writeFile(dir / "renamed.vxz", readFile(store));
    EXPECT_EQ(CheckForFile((dir / "renamed.vxz").c_str(), "00000001.vxz"), kVxOk);
}

TEST_F(VxContainerTest, ExtractFromBothKinds)
{
    ASSERT_EQ(ExtractFile(record.c_str(), "a.vxl", workspace.path().c_str()), kVxOk);
    EXPECT_EQ(readFile(workspace / "a.vxl"), "line");
    ASSERT_EQ(ExtractFile(store.c_str(), "00000001.vxz", workspace.path().c_str()), kVxOk);
    EXPECT_EQ(readFile(workspace / "00000001.vxz"), "in the store");
    EXPECT_EQ(testfiles::modeOf(workspace / "a.vxl"), 0600u);

    EXPECT_EQ(ExtractFile(record.c_str(), "b.wav", workspace.path().c_str()), kVxErrExtract);
    EXPECT_EQ(ExtractFile(store.c_str(), "00000002.vxz", workspace.path().c_str()), kVxErrExtract);
    EXPECT_EQ(ExtractFile(record.c_str(), "a.vxl", (workspace / "missing").c_str()), kVxErrExtract);
    EXPECT_EQ(workspace.entries(), (std::vector<std::string>{"00000001.vxz", "a.vxl"}));
}

TEST_F(VxContainerTest, DelFileOnBothKinds)
{
    ::chmod(record.c_str(), 0640);
    ASSERT_EQ(DelFile(record.c_str(), "a.vxl"), kVxOk);
    const auto left = zipfixtures::readZip(record);
    EXPECT_EQ(left.size(), 2u);
    EXPECT_EQ(left.at("a.wav"), testfiles::patternBytes(1, 70000));
    EXPECT_EQ(testfiles::modeOf(record), 0640u);  // a changed file keeps its mode
    EXPECT_EQ(DelFile(record.c_str(), "a.vxl"), kVxErrExtract);

    // Removing the last members keeps an empty record file, not no file.
    ASSERT_EQ(DelFile(record.c_str(), "a.wav"), kVxOk);
    ASSERT_EQ(DelFile(record.c_str(), "empty"), kVxOk);
    ASSERT_TRUE(testfiles::exists(record));
    EXPECT_TRUE(zipfixtures::readZip(record).empty());

    ASSERT_EQ(DelFile(store.c_str(), "00000001.vxz"), kVxOk);
    EXPECT_EQ(RPS_Exists(store.c_str(), "00000001.vxz"), 1);
    EXPECT_EQ(DelFile(store.c_str(), "00000001.vxz"), kVxErrExtract);
    writeFile(dir / "text.vxz", "not an archive");
    EXPECT_EQ(DelFile((dir / "text.vxz").c_str(), "a"), kVxErrRead);
    EXPECT_EQ(readFile(dir / "text.vxz"), "not an archive");
}

TEST_F(VxContainerTest, AddMemberAddsOrReplaces)
{
    writeFile(dir / "audit.src", "audit v1");
    ASSERT_EQ(VXaddMember(record.c_str(), (dir / "audit.src").c_str(), "audit.dat"), kVxOk);
    writeFile(dir / "audit.src", "audit v2");
    ASSERT_EQ(VXaddMember(record.c_str(), (dir / "audit.src").c_str(), "audit.dat"), kVxOk);
    const auto entries = zipfixtures::readZip(record);
    EXPECT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries.at("audit.dat"), "audit v2");
    EXPECT_EQ(entries.at("a.vxl"), "line");

    const std::string before = readFile(record);
    EXPECT_EQ(VXaddMember(record.c_str(), (dir / "nope").c_str(), "x"), kVxErrMissingFile);
    EXPECT_EQ(VXaddMember(record.c_str(), (dir / "audit.src").c_str(), "../x"), kVxErrWrite);
    EXPECT_EQ(readFile(record), before);
}

}  // namespace
