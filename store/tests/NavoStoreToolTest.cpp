// The navo-store tool run as a user runs it, on stores filed through the real
// procedure and then damaged on purpose: its exit statuses, its messages, its
// check of every record file and its extraction of sounds.
#include <QProcess>
#include <gtest/gtest.h>

#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>

#include "StoreFixture.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace fs = std::filesystem;

namespace {

struct ToolResult {
    int status = -1;
    std::string out;
    std::string err;
};

ToolResult runTool(const QStringList& args, const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment(),
                   const QStringList& runAs = {})
{
    QProcess tool;
    tool.setProcessEnvironment(env);
    tool.start(runAs.isEmpty() ? QStringLiteral(NAVO_STORE_TOOL) : runAs.front(),
               runAs.isEmpty() ? args : runAs.mid(1) + QStringList{QStringLiteral(NAVO_STORE_TOOL)} + args);
    tool.waitForFinished(60000);
    ToolResult result;
    result.status = tool.exitStatus() == QProcess::NormalExit ? tool.exitCode() : -1;
    result.out = tool.readAllStandardOutput().toStdString();
    result.err = tool.readAllStandardError().toStdString();
    return result;
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

}  // namespace

class NavoStoreTool : public OpenStoreFixture {
protected:
    QString storeArg() const { return QString::fromStdString(storePath()); }

    std::string work() const
    {
        const std::string folder = root() + "/work";
        fs::create_directories(folder);
        return folder;
    }

    // A member of the store or of a record file, copied out to work().
    std::string takeOut(const std::string& container, const std::string& member) const
    {
        EXPECT_EQ(ExtractFile(container.c_str(), member.c_str(), work().c_str()), 0) << member;
        return work() + "/" + member;
    }

    void putBack(const std::string& path, const std::string& member) const
    {
        ASSERT_EQ(RPS_LoadFile(storePath().c_str(), path.c_str(), member.c_str()), 0) << member;
    }

    std::string waveMemberOf(const std::string& recordFile) const
    {
        std::vector<std::string> members;
        VXlistMembers(recordFile.c_str(), &members);
        for (const std::string& member : members)
            if (member.size() > 4 && member.compare(member.size() - 4, 4, ".wav") == 0)
                return member;
        return {};
    }
};

TEST_F(NavoStoreTool, SaysWhatIsWrongWithDistinctMessagesAndSmallStatuses)
{
    fileDictation("Letter");
    ASSERT_EQ(store.save(app), 0);

    const ToolResult help = runTool({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(contains(help.out, "usage: navo-store list")) << help.out;
    EXPECT_TRUE(contains(help.out, "exit status")) << help.out;
    const ToolResult bad = runTool({"list"});
    EXPECT_EQ(bad.status, 2);
    EXPECT_TRUE(contains(bad.err, "usage:"));

    const ToolResult missing = runTool({"list", QString::fromStdString(root() + "/none.vxt")});
    EXPECT_EQ(missing.status, 3);
    EXPECT_TRUE(contains(missing.err, "no such data store")) << missing.err;
    const ToolResult folder = runTool({"check", QString::fromStdString(root())});
    EXPECT_EQ(folder.status, 3);
    EXPECT_TRUE(contains(folder.err, "is a folder, not a Navo data store")) << folder.err;
    writeAll(root() + "/text.vxt", std::string(5000, 'x'));
    const ToolResult damaged = runTool({"list", QString::fromStdString(root() + "/text.vxt")});
    EXPECT_EQ(damaged.status, 7);
    EXPECT_TRUE(contains(damaged.err, "damaged or not a Navo data store")) << damaged.err;

    // No usable temporary folder: a clear message, not an abort.
    for (const std::string& tmp : {root() + "/no-such-folder", root() + "/text.vxt"}) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("TMPDIR", QString::fromStdString(tmp));
        const ToolResult noTemp = runTool({"list", storeArg()}, env);
        EXPECT_EQ(noTemp.status, 9) << tmp;
        EXPECT_TRUE(contains(noTemp.err, "cannot make a scratch folder in the temporary folder " + tmp))
            << noTemp.err;
    }

    // Permission denied: for root, run the tool as nobody.
    QStringList runAs;
    if (::geteuid() == 0) {
        if (!fs::exists("/usr/bin/setpriv"))
            ADD_FAILURE() << "setpriv is needed to test a store root cannot hand to another user";
        runAs = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    } else {
        fs::permissions(storePath(), fs::perms::none);
    }
    QProcessEnvironment asNobody = QProcessEnvironment::systemEnvironment();
    asNobody.insert("TMPDIR", "/tmp");
    const ToolResult denied = runTool({"list", storeArg()}, asNobody, runAs);
    fs::permissions(storePath(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(denied.status, 6) << denied.err;
    EXPECT_TRUE(contains(denied.err, "permission denied")) << denied.err;

    // Busy: another program holds the store's write lock (the tool waits out
    // the store's busy time first).
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(storePath().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    const ToolResult busy = runTool({"list", storeArg()});
    sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    EXPECT_EQ(busy.status, 5);
    EXPECT_TRUE(contains(busy.err, "busy")) << busy.err;
    EXPECT_FALSE(contains(busy.err, "damaged")) << busy.err;
}

TEST_F(NavoStoreTool, CheckReadsEveryRecordFileThrough)
{
    const long crc = fileDictation("Damaged archive", "words", 16000);
    const long cut = fileDictation("Cut-short wave", "words", 16000);
    const long twice = fileDictation("Two lines");
    const long last = fileDictation("Last");
    ASSERT_EQ(lastResult, 0);
    ASSERT_EQ(store.save(app), 0);
    const ToolResult sound = runTool({"check", storeArg()});
    ASSERT_EQ(sound.status, 0) << sound.out << sound.err;
    EXPECT_TRUE(contains(sound.out, "4 records; no problems found")) << sound.out;

    // Wave data damaged inside the archive: its checksum no longer matches.
    {
        const std::string recordFile = RecordFiler::recordFileName(crc);
        const std::string path = takeOut(storePath(), recordFile);
        const std::string wave = waveMemberOf(path);
        std::string zip = readAll(path);
        const std::string localHeader("PK\x03\x04", 4);
        std::size_t at = zip.find(localHeader);
        while (at != std::string::npos) {
            const auto u16 = [&](std::size_t i) {
                return static_cast<std::size_t>(static_cast<unsigned char>(zip[i])) |
                       static_cast<std::size_t>(static_cast<unsigned char>(zip[i + 1])) << 8;
            };
            const std::size_t nameLength = u16(at + 26);
            if (zip.compare(at + 30, nameLength, wave) == 0) {
                const std::size_t data = at + 30 + nameLength + u16(at + 28);
                zip[data + 8] = static_cast<char>(zip[data + 8] ^ 0x55);
                break;
            }
            at = zip.find(localHeader, at + 4);
        }
        ASSERT_NE(at, std::string::npos);
        writeAll(path, zip);
        putBack(path, recordFile);
    }
    // A wave cut short inside an archive that is itself sound.
    {
        const std::string recordFile = RecordFiler::recordFileName(cut);
        const std::string path = takeOut(storePath(), recordFile);
        const std::string wave = waveMemberOf(path);
        const std::string wavePath = takeOut(path, wave);
        fs::resize_file(wavePath, fs::file_size(wavePath) / 2);
        ASSERT_EQ(VXaddMember(path.c_str(), wavePath.c_str(), wave.c_str()), 0);
        putBack(path, recordFile);
    }
    // Two lines with one RecID, and a record file with no line.
    {
        const std::string family = takeOut(storePath(), components::kDictation);
        const std::string lines = readAll(family);
        std::string copy;
        for (std::size_t at = 0; at + indexline::kLineBytes <= lines.size(); at += indexline::kLineBytes)
            if (std::atol(lines.substr(at, 8).c_str()) == twice)
                copy = lines.substr(at, indexline::kLineBytes);
        ASSERT_FALSE(copy.empty());
        writeAll(family, lines + copy);
        putBack(family, components::kDictation);
        putBack(takeOut(storePath(), RecordFiler::recordFileName(last)), "00000099.vxz");
    }

    const ToolResult checked = runTool({"check", storeArg()});
    EXPECT_EQ(checked.status, 1);
    const std::string& out = checked.out;
    EXPECT_TRUE(contains(out, "the record file " + RecordFiler::recordFileName(crc) + " is damaged")) << out;
    EXPECT_TRUE(contains(out, "in " + RecordFiler::recordFileName(cut) + " is damaged: cut short")) << out;
    EXPECT_TRUE(contains(out, "record " + indexline::recIdText(twice) + " has 2 lines")) << out;
    EXPECT_TRUE(contains(out, "the record file 00000099.vxz has no line")) << out;
    EXPECT_FALSE(contains(out, indexline::recIdText(last) + " ")) << out;  // the sound record is no problem
    EXPECT_TRUE(contains(out, "5 records; problems found")) << out;
}

TEST_F(NavoStoreTool, ExtractFindsAMessagesSoundAndKeepsAnExistingFile)
{
    const long message = fileMessage(8000);
    ASSERT_EQ(lastResult, 0);
    ASSERT_EQ(store.save(app), 0);
    const QString out = QString::fromStdString(work());

    const ToolResult first = runTool({"extract", storeArg(), QString::number(message), out});
    ASSERT_EQ(first.status, 0) << first.err;
    const std::string path = first.out.substr(0, first.out.find('\n'));
    EXPECT_EQ(fs::path(path).extension(), ".wav");
    EXPECT_EQ(readAll(path), waveBytes(8000));

    writeAll(path, "my own file");
    const ToolResult again = runTool({"extract", storeArg(), QString::number(message), out});
    EXPECT_EQ(again.status, 8);
    EXPECT_TRUE(contains(again.err, "exists; give --force")) << again.err;
    EXPECT_EQ(readAll(path), "my own file");

    const ToolResult forced = runTool({"extract", "--force", storeArg(), QString::number(message), out});
    EXPECT_EQ(forced.status, 0) << forced.err;
    EXPECT_EQ(readAll(path), waveBytes(8000));

    const ToolResult none = runTool({"extract", storeArg(), "4242", out});
    EXPECT_EQ(none.status, 4);
    EXPECT_TRUE(contains(none.err, "no record 4242")) << none.err;
}
