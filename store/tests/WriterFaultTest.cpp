// Every writer of records, run again and again with the store's disk failing
// or the process dying at its Nth write or sync, both under SQLite (the fault
// VFS) and in the file seam that writes the workspace and the record files
// (where a death is a real one, in a forked child): afterwards the store must
// open, every live line must have its
// record file and every record file its live line, the record files must
// read, and the whole must be the state before or the state after, record
// files member for member. So a filing, a message, a filing with extra
// members, an edit and a deletion leave the old state or the new one, never
// half.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "FaultVfs.h"
#include "FaultSeam.h"
#include "StoreFixture.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordDeletion.h"
#include "store/RecordEditor.h"

namespace fs = std::filesystem;
using faultvfs::FaultVfs;
using faultvfs::Plan;
using faultvfs::UseFaultVfs;

namespace {

// What the store holds: the live lines and the record files, by RecID.
struct Held {
    std::map<long, std::string> lines;
    // Each record file's members by extension with their sizes (its bytes
    // and member names carry the time of filing, which differs from one run
    // to the next).
    std::map<long, std::string> records;
    bool operator==(const Held& other) const { return lines == other.lines && records == other.records; }
    // Every live line has its record file and every record file its line.
    bool whole() const
    {
        std::set<long> filed, lined;
        for (const auto& record : records)
            filed.insert(record.first);
        for (const auto& line : lines)
            lined.insert(line.first);
        return filed == lined;
    }
};

std::string describe(const Held& held)
{
    std::string text = "lines";
    for (const auto& line : held.lines)
        text += " " + std::to_string(line.first);
    text += ", records";
    for (const auto& [id, members] : held.records)
        text += " " + std::to_string(id) + " (" + members + ")";
    return text;
}

}  // namespace

class WriterFaultTest : public OpenStoreFixture {
protected:
    void SetUp() override
    {
        OpenStoreFixture::SetUp();
        FaultVfs::instance();
        fileDictation("first");
        ASSERT_EQ(lastResult, 0);
        fileDictation("second");
        ASSERT_EQ(lastResult, 0);
    }

    // Opens the store as the next start would and checks that it is whole.
    Held held()
    {
        Held result;
        EXPECT_EQ(RPS_Check(storePath().c_str()), kRpsOk);
        std::vector<std::string> members;
        EXPECT_EQ(RPS_List(storePath().c_str(), &members), kRpsOk);
        const std::string check = root() + "/check";
        fs::remove_all(check);
        fs::create_directories(check);
        for (const std::string& member : members) {
            if (member.size() == 12 && member.compare(8, 4, ".vxz") == 0) {
                // The record file itself reads, every member of it.
                EXPECT_EQ(ExtractFile(storePath().c_str(), member.c_str(), check.c_str()), 0) << member;
                std::vector<std::string> inside;
                EXPECT_EQ(VXlistMembers((check + "/" + member).c_str(), &inside), 0) << member;
                EXPECT_GE(inside.size(), 3u) << member;
                std::string members;
                for (const std::string& name : inside)
                    members += name.substr(name.rfind('.')) + ":" + std::to_string(CheckFileSize((check + "/" + member).c_str(), name.c_str()))
                               + " ";
                result.records[std::atol(member.c_str())] = members;
            }
        }
        for (const char* family : {components::kDictation, components::kPhone}) {
            EXPECT_EQ(ExtractFile(storePath().c_str(), family, check.c_str()), 0);
            const std::string text = readAll(check + "/" + family);
            EXPECT_EQ(text.size() % indexline::kLineBytes, 0u) << family;
            for (std::size_t at = 0; at + indexline::kLineBytes <= text.size(); at += indexline::kLineBytes)
                if (text.compare(at, 8, indexline::kDeletedRecId) != 0)
                    result.lines[std::atol(text.substr(at, 8).c_str())] = text.substr(at, indexline::kLineBytes);
        }
        return result;
    }

    // The writer once cleanly to learn the new state, then once for every
    // fault: each leaves the old state or the new one, whole.
    void everyFault(const std::function<void()>& writer)
    {
        faultseam::FilesSnapshot files;
        files.take({storePath(), app.IniPath}, app.TempDir);
        const long highestRecId = app.HighestRecId;
        const Held before = held();
        ASSERT_TRUE(before.whole());
        Held after;
        faultseam::everyFault(
            writer,
            [&] {
                files.restore();
                app.HighestRecId = highestRecId;
            },
            [&] {
                after = held();
                ASSERT_TRUE(after.whole());
                ASSERT_FALSE(after == before) << "the writer changed nothing";
            },
            [&] {
                const Held found = held();
                EXPECT_TRUE(found.whole()) << "half a record: " << describe(found);
                EXPECT_TRUE(found == before || found == after)
                    << "neither the old nor the new state: " << describe(found) << " (old " << describe(before)
                    << ", new " << describe(after) << ")";
            });
    }
};

TEST_F(WriterFaultTest, FilingADictation)
{
    everyFault([&] { fileDictation("third"); });
}

TEST_F(WriterFaultTest, FilingADictationWithItsMarks)
{
    everyFault([&] {
        const NewRecordNames names = prepareNewRecording(app);
        const std::string marks = names.baseName + ".vxi";
        writeAll(app.TempDir + "/" + marks, "index marks");
        RecordingToFile rec;
        rec.recId = names.recId;
        rec.baseName = names.baseName;
        rec.fields = {indexlineRecId(names.recId), "0", "0", "", "with marks"};
        rec.keywords = "marks";
        rec.extraText = " ";
        rec.extraMembers = {marks};
        FakeRecording source;
        RecordFiler(app).save(rec, source);
    });
}

TEST_F(WriterFaultTest, FilingAnAnswerMachineMessage)
{
    everyFault([&] { fileMessage(); });
}

TEST_F(WriterFaultTest, DeletingRecords)
{
    everyFault([&] { deleteRecords(app, {indexlineRecId(1), indexlineRecId(2)}); });
}

TEST_F(WriterFaultTest, EditingARecord)
{
    everyFault([&] {
        RecordEditor editor(app);
        EditableRecord record;
        if (editor.load(indexlineRecId(2), &record) == 0)
            editor.save(record, "A new subject", "and comments");
    });
}
