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
#include <sys/wait.h>
#include <unistd.h>

#include "FaultVfs.h"
#include "FaultSeam.h"
#include "StoreFixture.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"
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
        snapshot();
    }

    // The store, the workspace and the profile as they are now.
    void snapshot()
    {
        m_files.clear();
        m_highestRecId = app.HighestRecId;
        m_files[storePath()] = readAll(storePath());
        m_files[app.IniPath] = readAll(app.IniPath);
        for (const auto& entry : fs::directory_iterator(app.TempDir))
            if (entry.is_regular_file())
                m_files[entry.path().string()] = readAll(entry.path().string());
    }

    void restore()
    {
        for (const auto& entry : fs::directory_iterator(app.TempDir))
            if (m_files.count(entry.path().string()) == 0)
                fs::remove_all(entry.path());
        for (const auto& [path, bytes] : m_files)
            writeAll(path, bytes);
        app.HighestRecId = m_highestRecId;
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

    // Runs the writer once cleanly to learn the new state and how many
    // writes and syncs it makes, then once for every fault at each of them.
    void everyFault(const std::function<void()>& writer)
    {
        const Held before = held();
        ASSERT_TRUE(before.whole());
        int writes = 0;
        int syncs = 0;
        fileops::FaultCounts seam;
        {
            UseFaultVfs vfs(Plan{});
            faultseam::SeamPlan counting{fileops::FaultPlan{}};
            writer();
            writes = FaultVfs::instance().writes();
            syncs = FaultVfs::instance().syncs();
            seam = fileops::faultCounts();
        }
        const Held after = held();
        ASSERT_TRUE(after.whole());
        ASSERT_FALSE(after == before) << "the writer changed nothing";
        ASSERT_GT(writes, 0);
        ASSERT_GT(seam.writes, 0);

        auto check = [&] {
            const Held found = held();
            EXPECT_TRUE(found.whole()) << "half a record: " << describe(found);
            EXPECT_TRUE(found == before || found == after)
                << "neither the old nor the new state: " << describe(found) << " (old " << describe(before)
                << ", new " << describe(after) << ")";
        };
        auto attempt = [&](const Plan& plan, const fileops::FaultPlan& seamPlan, const std::string& what) {
            SCOPED_TRACE(what);
            restore();
            {
                UseFaultVfs vfs(plan);
                faultseam::SeamPlan faults(seamPlan);
                writer();
            }
            check();
        };
        for (int n = 1; n <= writes; ++n) {
            // A failing write is a full disk here; the single I/O error is
            // the store library's own test.
            Plan full;
            full.failWriteAt = n;
            full.writeError = SQLITE_FULL;
            full.sticky = true;
            attempt(full, {}, "disk full from write " + std::to_string(n));
            Plan die;
            die.crashAtWrite = n;
            attempt(die, {}, "death at write " + std::to_string(n));
        }
        for (int n = 1; n <= syncs; ++n) {
            Plan fail;
            fail.failSyncAt = n;
            attempt(fail, {}, "sync " + std::to_string(n) + " fails");
            Plan die;
            die.crashAtSync = n;
            attempt(die, {}, "death at sync " + std::to_string(n));
        }
        for (int n = 1; n <= seam.writes; ++n) {
            fileops::FaultPlan full;
            full.failWriteAt = n;
            full.sticky = true;
            attempt({}, full, "workspace disk full from write " + std::to_string(n));
        }
        for (int n = 1; n <= seam.syncs; ++n) {
            fileops::FaultPlan fail;
            fail.failSyncAt = n;
            attempt({}, fail, "workspace sync " + std::to_string(n) + " fails");
        }
        for (int n = 1; n <= seam.steps; ++n) {
            SCOPED_TRACE("death at workspace step " + std::to_string(n));
            restore();
            // The same writer on the same state takes the same steps.
            const int status = faultseam::runDyingAt(n, [&] { writer(); });
            ASSERT_TRUE(faultseam::diedAtStep(status)) << "status " << status;
            check();
        }
    }

private:
    std::map<std::string, std::string> m_files;
    long m_highestRecId = 0;
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
    everyFault([&] {
        const NewRecordNames names = prepareNewRecording(app);
        RecordingToFile rec;
        rec.recId = names.recId;
        rec.baseName = names.baseName;
        rec.waveExtension = ".vxw";
        rec.family = 'P';
        rec.fields = {indexlineRecId(names.recId), "2", "0", "", "Message from 555 0100"};
        rec.extraText = " ";
        FakeRecording source;
        RecordFiler(app).save(rec, source);
    });
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
