// WAV files imported in batches: the sound comes back sample for sample from
// its deflated member, a bad file among good ones is refused alone, Stop
// files what came in, and a store that refuses a batch keeps none of it.
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "FaultVfs.h"
#include "ScriptedPrompt.h"
#include "StoreFixture.h"
#include "ToneWave.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/SoundImport.h"

namespace {

void put(std::string& s, std::uint32_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        s += static_cast<char>((v >> (8 * i)) & 0xFF);
}

// 8 kHz 16-bit mono, as "RecQual" 0 records: a third silence, then a tone
// with noise on it, different for every seed; a title tag between the
// format and the sound when one is given.
std::string speech(std::uint32_t seed, const std::string& title = "")
{
    std::string pcm;
    std::uint32_t state = seed + 1;
    for (int i = 0; i < 12000; ++i) {
        state = state * 1664525u + 1013904223u;
        const double tone = i < 4000 ? 0 : 8000 * std::sin(2 * M_PI * (300 + 50 * seed) * i / 8000.0);
        const int noise = i < 4000 ? 0 : static_cast<int>(state >> 24) - 128;
        put(pcm, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(tone) + noise)), 2);
    }
    std::string list;
    if (!title.empty()) {
        std::string name = title + '\0';
        if (name.size() % 2 != 0)
            name += '\0';
        list = "LIST";
        put(list, static_cast<std::uint32_t>(12 + name.size()), 4);
        list += "INFOINAM";
        put(list, static_cast<std::uint32_t>(name.size()), 4);
        list += name;
    }
    std::string wave = "RIFF";
    put(wave, static_cast<std::uint32_t>(36 + list.size() + pcm.size()), 4);
    wave += "WAVEfmt ";
    put(wave, 16, 4);
    put(wave, 1, 2);
    put(wave, 1, 2);
    put(wave, 8000, 4);
    put(wave, 16000, 4);
    put(wave, 2, 2);
    put(wave, 16, 2);
    wave += list + "data";
    put(wave, static_cast<std::uint32_t>(pcm.size()), 4);
    return wave + pcm;
}

std::set<std::string> workspaceFiles(const std::string& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

}  // namespace

class ImportBatchTest : public OpenStoreFixture {
protected:
    std::string path(const std::string& name) const { return root() + "/" + name; }

    // A record's subject, its record file's size and its wave, read back
    // through the store's extract (every member's CRC checked).
    struct Stored {
        std::string subject;
        std::uint64_t recordFileSize = 0;
        std::string wave;
    };
    Stored stored(long recId)
    {
        StoredRecord record = storedRecord(recId);
        return {indexline::showField(indexline::field(record.members[".vxl"], 5)), record.fileSize,
                record.members[".wav"]};
    }
};

TEST_F(ImportBatchTest, WavesComeBackSampleForSampleABadOneIsRefusedAloneAndStopFilesWhatCameIn)
{
    std::vector<std::string> paths;
    for (std::uint32_t i = 0; i < 6; ++i) {
        paths.push_back(path("take " + std::to_string(i) + ".wav"));
        writeAll(paths.back(), speech(i, i == 1 ? "Harbour meeting" : ""));
    }
    writeAll(paths[2], speech(2).substr(0, 30));  // its header torn off mid-way
    const std::set<std::string> workspaceBefore = workspaceFiles(app.TempDir);

    ScriptedPrompt prompt;  // nothing may be asked
    ImportReport report;
    {
        RecordImport records(app);
        report = SoundImport(app, records).importFiles(
            paths, kListDictation, [](std::size_t done, std::size_t total) { return done < 5 || done == total; });
    }
    EXPECT_EQ(report.imported, 4) << report.summary();
    ASSERT_EQ(report.recIds.size(), 4u);
    ASSERT_EQ(report.failed.size(), 2u) << report.summary();
    EXPECT_EQ(report.failed[0].what, paths[2]);
    EXPECT_FALSE(report.failed[0].reason.empty());
    EXPECT_NE(report.failed[1].reason.find("stopped: 1 files not imported"), std::string::npos);
    EXPECT_EQ(workspaceFiles(app.TempDir), workspaceBefore);

    const std::size_t taken[] = {0, 1, 3, 4};
    for (std::size_t i = 0; i < 4; ++i) {
        const Stored record = stored(report.recIds[i]);
        const tone::Wave source = tone::parse(readAll(paths[taken[i]]));
        const tone::Wave back = tone::parse(record.wave);
        ASSERT_TRUE(back.ok) << paths[taken[i]];
        EXPECT_EQ(back.format.rate, 8000);
        EXPECT_EQ(back.format.channels, 1);
        EXPECT_EQ(back.format.bits, 16);
        EXPECT_EQ(back.pcm, source.pcm) << paths[taken[i]];
        // Deflated: the silence and the tone take less room than they hold.
        EXPECT_LT(record.recordFileSize, record.wave.size() * 4 / 5);
        EXPECT_EQ(record.subject, taken[i] == 1 ? "Harbour meeting" : "take " + std::to_string(taken[i]));
    }

    // Imported once more, every good file is found already here.
    RecordImport again(app);
    const ImportReport second = SoundImport(app, again).importFiles(paths, kListDictation);
    EXPECT_EQ(second.imported, 1) << second.summary();  // the one Stop left out
    EXPECT_EQ(second.skipped, 4);
    ASSERT_EQ(second.failed.size(), 1u);
    EXPECT_EQ(second.failed[0].what, paths[2]);
}

TEST_F(ImportBatchTest, AStoreThatRefusesABatchKeepsNoneOfItAndReopensClean)
{
    ASSERT_EQ(fileDictation("Ours", "kettle", 5000), 1);
    ASSERT_EQ(store.save(app), 0);
    std::vector<std::string> paths;
    for (std::uint32_t i = 0; i < 3; ++i) {
        paths.push_back(path("call " + std::to_string(i) + ".wav"));
        writeAll(paths.back(), speech(10 + i));
    }
    const std::string family = components::workspacePath(app.TempDir, components::kPhone);
    const std::string familyBefore = readAll(family);
    const std::set<std::string> workspaceBefore = workspaceFiles(app.TempDir);

    ImportReport report;
    {
        faultvfs::Plan plan;
        plan.failWriteAt = 1;  // every write to the store file fails
        plan.sticky = true;
        faultvfs::UseFaultVfs faults(plan);
        RecordImport records(app);
        report = SoundImport(app, records).importFiles(paths, kListPhone);
    }
    EXPECT_EQ(report.imported, 0);
    ASSERT_EQ(report.failed.size(), 3u) << report.summary();
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(report.failed[i].what, paths[i]);
        EXPECT_NE(report.failed[i].reason.find("the data store did not take it"), std::string::npos);
    }
    EXPECT_EQ(readAll(family), familyBefore);
    EXPECT_EQ(workspaceFiles(app.TempDir), workspaceBefore);

    // The store is whole, holds only what it held, and opens again.
    ASSERT_EQ(RPS_Check(app.DataStorePath.c_str()), kRpsOk);
    std::vector<std::string> members;
    ASSERT_EQ(RPS_List(app.DataStorePath.c_str(), &members), kRpsOk);
    EXPECT_EQ(std::count_if(members.begin(), members.end(),
                            [](const std::string& name) { return name.size() == 12 && name.find(".vxz") == 8; }),
              1);
    store.deleteWorkingCopies(app);
    DataStore reopened;
    ASSERT_EQ(reopened.extract(app), 0);

    // And takes the same files once it writes again.
    RecordImport records(app);
    const ImportReport retried = SoundImport(app, records).importFiles(paths, kListPhone);
    EXPECT_EQ(retried.imported, 3) << retried.summary();
    EXPECT_EQ(tone::parse(stored(retried.recIds.at(2)).wave).pcm, tone::parse(readAll(paths[2])).pcm);
}
