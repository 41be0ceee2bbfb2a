// Store compression on a real store with dead lines in two families: the
// dead lines go, every live record keeps its sound, its line and an index
// position that finds the line, search still finds it, and the store file
// shrinks. A family file that cannot be read or rewritten is logged and
// loses nothing. And with the store's disk failing or Navo dying at every
// write in turn (SQLite's writes through the fault VFS, the workspace's
// through the file seam, deaths in a forked child), the store opened
// afterwards holds either the old family files or the new ones, never a mix,
// and every live record with its sound at the place its index says.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <cstdlib>
#include <unistd.h>

#include "FaultVfs.h"
#include "FaultSeam.h"
#include "StoreFixture.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/IndexRepair.h"
#include "store/RecordDeletion.h"
#include "store/StoreCompressor.h"

namespace fs = std::filesystem;
using faultvfs::FaultVfs;
using faultvfs::Plan;
using faultvfs::UseFaultVfs;

namespace {

struct Posted {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    bool operator==(const Posted& o) const { return message == o.message && wParam == o.wParam && lParam == o.lParam; }
};

Posted status(int line, int text, int state)
{
    return {StoreCompressor::kMsgStatus, static_cast<WPARAM>(line), StoreCompressor::statusLParam(text, state)};
}

// The folders of the test on a memory file system when there is one: the
// deaths and failures are the fault layers' own, and thousands of real syncs
// would only make the test slow. Set before the fixture makes its folders.
class OnMemoryDisk {
protected:
    OnMemoryDisk()
    {
        if (const char* old = std::getenv("TMPDIR"))
            m_old = old;
        if (::access("/dev/shm", W_OK) == 0)
            ::setenv("TMPDIR", "/dev/shm", 1);
    }
    ~OnMemoryDisk()
    {
        if (m_old.empty())
            ::unsetenv("TMPDIR");
        else
            ::setenv("TMPDIR", m_old.c_str(), 1);
    }

private:
    std::string m_old;
};

}  // namespace

class StoreCompressorTest : private OnMemoryDisk, public OpenStoreFixture {
protected:
    struct Live {
        std::string line;
        std::uint32_t samples;
    };

    void SetUp() override
    {
        OpenStoreFixture::SetUp();
        FaultVfs::instance();
        std::vector<long> ids;
        for (int i = 1; i <= 6; ++i) {
            const std::uint32_t samples = 800u * static_cast<std::uint32_t>(i);
            ids.push_back(fileDictation("subject " + std::to_string(i), "kw" + std::to_string(i), samples));
            ASSERT_EQ(lastResult, 0);
            m_live[ids.back()] = {"", samples};
        }
        const long message = fileMessage(400);
        ASSERT_EQ(lastResult, 0);
        ASSERT_EQ(deleteRecords(app, {indexlineRecId(ids[1]), indexlineRecId(ids[3]), indexlineRecId(message)}), 0);
        m_live.erase(ids[1]);
        m_live.erase(ids[3]);
        for (auto& [recId, live] : m_live) {
            live.line = family::readLine(app.TempDir, indexlineRecId(recId), 0, positionOf(app.TempDir, recId));
            ASSERT_EQ(live.line.size(), indexline::kLineBytes);
        }
        m_oldDictations = readAll(app.TempDir + "/" + components::kDictation);
        m_oldPhone = readAll(app.TempDir + "/" + components::kPhone);
    }

    static long positionOf(const std::string& workspace, long recId)
    {
        std::vector<char> record(EK7_INDEX_RECORD_MAX, '\0');
        std::vector<char> field(EK7_INDEX_RECORD_MAX, '\0');
        if (!Ek7IndexRead(static_cast<std::uint32_t>(recId), (workspace + "/" + components::kIndex).c_str(),
                          record.data()))
            return -1;
        Ek7IndexField(3, record.data(), field.data());
        return std::atol(field.data());
    }

    std::vector<Posted> compress()
    {
        std::vector<Posted> posted;
        std::mutex mutex;
        StoreCompressor compressor(
            app.TempDir, app.DataStorePath, [&] { return store.save(app); },
            [&](UINT m, WPARAM w, LPARAM l) {
                std::lock_guard<std::mutex> lock(mutex);
                posted.push_back({m, w, l});
            });
        compressor.start();
        compressor.wait();
        return posted;
    }

    // Opens the store as the next start does (extract into a new folder,
    // repair the index) and checks every live record: its line at the
    // position its index gives, its sound, and that search finds it. The
    // family file must be the old one or, with dead lines gone, the new.
    // Returns whether it was the new one.
    bool checkReopened()
    {
        EXPECT_EQ(RPS_Check(storePath().c_str()), kRpsOk);
        const std::string next = root() + "/next";
        fs::remove_all(next);
        fs::create_directories(next);
        // Every member an opening extracts is there.
        const std::vector<const char*>& names = components::extracted();
        EXPECT_EQ(RPS_Get(storePath().c_str(), next.c_str(), names.data(), static_cast<int>(names.size())), kRpsOk);
        indexrepair::reconcile(next, storePath());
        const std::string dictations = readAll(next + "/" + components::kDictation);
        const bool compressed = dictations != m_oldDictations;
        if (compressed) {
            EXPECT_EQ(dictations.size(), (m_live.size() + 1) * indexline::kLineBytes);
        }
        // Each family file is the old one or the compressed one.
        const std::string phone = readAll(next + "/" + components::kPhone);
        EXPECT_TRUE(phone == m_oldPhone || phone.empty()) << phone.size();
        for (const auto& [recId, live] : m_live) {
            SCOPED_TRACE("record " + std::to_string(recId));
            const long position = positionOf(next, recId);
            EXPECT_GT(position, 0);
            EXPECT_EQ(family::readLine(next, indexlineRecId(recId), 0, position), live.line);
            // Search finds it by its words, type and date.
            const std::string words = "kw" + std::to_string(live.samples / 800);
            Ek7IndexQuery query;
            query.words = words.c_str();
            query.families = kEk7FamilyDictation;
            query.from = 20261122000000;
            query.to = 20261122235959;
            std::vector<Ek7IndexHit> hits;
            EXPECT_EQ(Ek7IndexFind((next + "/" + components::kIndex).c_str(), query, &hits, nullptr), kEk7IndexOk);
            EXPECT_EQ(hits.size(), 1u);
            if (!hits.empty()) {
                EXPECT_EQ(hits[0].recId, static_cast<std::uint32_t>(recId));
            }
            EXPECT_EQ(storedMember(recId, ".wav", next), waveBytes(live.samples));
        }
        return compressed;
    }

    std::map<long, Live> m_live;
    std::string m_oldDictations;
    std::string m_oldPhone;
};

TEST_F(StoreCompressorTest, DeadLinesGoAndEveryLiveRecordKeepsItsSoundPlaceAndSearch)
{
    _RPS_Info_4 before{};
    ASSERT_EQ(RPS_Info(storePath().c_str(), &before), kRpsOk);
    ASSERT_GT(before.reclaimable, 0u);

    const std::vector<Posted> posted = compress();
    using C = StoreCompressor;
    const std::vector<Posted> expected = {
        status(1, C::kTextMessageFolder, C::kInProgress), status(1, C::kTextMeetingFolder, C::kInProgress),
        status(1, C::kTextPhoneFolder, C::kInProgress),   status(1, C::kTextDiaryFolder, C::kInProgress),
        status(1, C::kTextComponentsDone, C::kDone),      status(2, C::kTextRemovingSpace, C::kInProgress),
        status(2, C::kTextSpaceRemoved, C::kDone),        {C::kMsgFinished, 0, 0}};
    EXPECT_EQ(posted, expected);

    // The workspace: a dead first line, then the live lines in their order;
    // the phone family held only dead lines and is empty.
    const std::string dictations = readAll(app.TempDir + "/" + components::kDictation);
    std::string wanted = dictations.substr(0, indexline::kLineBytes);
    EXPECT_EQ(wanted.compare(0, 8, indexline::kDeletedRecId), 0);
    for (const auto& [recId, live] : m_live)
        wanted += live.line;
    EXPECT_EQ(dictations, wanted);
    EXPECT_EQ(readAll(app.TempDir + "/" + components::kPhone), "");
    EXPECT_FALSE(fs::exists(app.TempDir + "/" + storecompress::kTempName));
    long expectedPosition = static_cast<long>(indexline::kLineBytes);
    for (const auto& entry : m_live) {
        EXPECT_EQ(positionOf(app.TempDir, entry.first), expectedPosition);
        expectedPosition += static_cast<long>(indexline::kLineBytes);
    }

    EXPECT_TRUE(checkReopened());
    _RPS_Info_4 after{};
    ASSERT_EQ(RPS_Info(storePath().c_str(), &after), kRpsOk);
    EXPECT_LT(after.size, before.size);
    EXPECT_EQ(after.reclaimable, 0u);

    // Filing goes on after it, behind the last live line.
    fileDictation("after", "kwafter");
    ASSERT_EQ(lastResult, 0);
    EXPECT_EQ(lastPosition, static_cast<long>((m_live.size() + 1) * indexline::kLineBytes));
}

TEST_F(StoreCompressorTest, FamilyFilesThatCannotBeReadOrRewrittenAreLoggedAndLoseNothing)
{
    const std::string index = readAll(app.TempDir + "/" + components::kIndex);
    // 126: the work file cannot be made.
    fs::create_directory(app.TempDir + "/" + storecompress::kTempName);
    EXPECT_EQ(storecompress::compressFamilyFile(app.TempDir, app.DataStorePath, components::kDictation),
              storecompress::kNoTemporaryFile);
    EXPECT_EQ(readAll(app.TempDir + "/" + components::kDictation), m_oldDictations);
    EXPECT_EQ(readAll(app.TempDir + "/" + components::kIndex), index);
    fs::remove(app.TempDir + "/" + storecompress::kTempName);

    // 112: the meeting family is gone; the other three compress.
    fs::remove(app.TempDir + "/" + components::kMeeting);
    EXPECT_EQ(storecompress::compressFamilyFile(app.TempDir, app.DataStorePath, components::kMeeting),
              storecompress::kCannotReadFamily);
    const std::vector<Posted> posted = compress();
    using C = StoreCompressor;
    ASSERT_EQ(posted.size(), 9u);
    EXPECT_EQ(posted[2], (Posted{C::kMsgErrorRow, 2, 0}));
    EXPECT_STREQ(C::errorRowText(2), "Error compressing Meetings folder");
    EXPECT_EQ(posted[5], status(1, C::kTextComponentsFailed, C::kDoneWithErrors));
    EXPECT_EQ(posted[7], status(2, C::kTextSpaceRemoved, C::kDone));
    EXPECT_TRUE(checkReopened());
}

TEST_F(StoreCompressorTest, AFaultOrDeathAtEveryWriteLeavesEveryLiveRecord)
{
    faultseam::FilesSnapshot files;
    files.take({storePath()}, app.TempDir);
    int oldStates = 0;
    int newStates = 0;
    // A full disk ends the same transactions a death does, and the store
    // library's own tests fail every write of each; here every seventh is
    // enough to meet the put, the vacuum and the save.
    faultseam::everyFault(
        [&] {
            // The worker always reaches its end and lets the dialog close.
            const std::vector<Posted> posted = compress();
            ASSERT_FALSE(posted.empty());
            EXPECT_EQ(posted.back().message, StoreCompressor::kMsgFinished);
        },
        [&] { files.restore(); }, [&] { ASSERT_TRUE(checkReopened()); },
        [&] { (checkReopened() ? newStates : oldStates)++; }, faultseam::Faults{7, false});
    // Both outcomes were met: the faults fell before and after the store
    // took the new files.
    EXPECT_GT(oldStates, 0);
    EXPECT_GT(newStates, 0);
}
