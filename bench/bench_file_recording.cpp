// Filing a 10-minute recording (8 kHz 16-bit mono, about 9.6 MB of wave)
// through RecordFiler::save into a store that already holds records, timed
// against what a careful person would do by hand with the same three work
// files: zip them and copy the archive into a folder. Target: at most 1.5
// times the reference.
//
//   bench_file_recording [--seconds S] [--records N] [--bytes-per-record B]
//                        [--repeats R] [--dir FOLDER]
//
// Defaults: 600 s of recording, a store of 1,000 records of 20,000 bytes,
// 5 timed filings after one untimed, the system's temporary folder.
//
// The store syncs its file at every commit, so that a power cut cannot tear
// a filing; cp does not sync. The time Navo spends in those syncs is measured
// (every SQLite sync goes through a timing layer) and printed, and so is the
// reference with a sync of the copied archive added.
#include <QTemporaryDir>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "BenchStore.h"
#include "ConsolePrompt.h"
#include "NoiseRecording.h"
#include "StoreContent.h"
#include "SyncTimingVfs.h"
#include "core/ProfileSettings.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "store/DataStore.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 1.5;

struct Filing {
    double total = 0;
    double wave = 0;   // writing the wave work file, inside total
    double syncs = 0;  // inside SQLite's syncs, inside total
    int syncCount = 0;
    long recId = 0;
};

Filing fileOne(BenchStore& store, NoiseRecording& source)
{
    AppData& app = store.app();
    const NewRecordNames names = prepareNewRecording(app);
    RecordingToFile recording;
    recording.recId = names.recId;
    recording.baseName = names.baseName;
    recording.family = 'R';
    recording.fields = {indexline::recIdText(names.recId), "0", "0", "", "Site visit notes", "", "",
                        "22/11/2026 10:00:00", "22/11/2026 10:10:00", "", "", "0"};
    recording.keywords = "site visit roof survey";
    recording.extraText = " ";

    RecordFiler filer(app);
    Filing filing;
    filing.recId = names.recId;
    int result = -1;
    SyncTimingVfs::reset();
    filing.total = bench::secondsOf([&] { result = filer.save(recording, source); });
    filing.syncs = SyncTimingVfs::syncSeconds();
    filing.syncCount = SyncTimingVfs::syncs();
    filing.wave = source.lastWriteSeconds();
    if (result != 0)
        bench::fail("RecordFiler::save returned " + std::to_string(result));
    return filing;
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_file_recording [--seconds S] [--records N] [--bytes-per-record B]\n"
                    "           [--repeats R] [--dir FOLDER]\n");
        return 0;
    }
    const auto seconds = static_cast<unsigned>(bench::option(argc, argv, "seconds", 600));
    const long records = static_cast<long>(bench::option(argc, argv, "records", 1000));
    const auto bytes = static_cast<std::size_t>(bench::option(argc, argv, "bytes-per-record", 20000));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 5));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());

    if (!SyncTimingVfs::install())
        bench::fail("cannot install the sync-timing layer");
    ConsolePrompt prompt;
    ScopedPrompt scopedPrompt(prompt);
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();

    // The store, with its components extracted into the workspace as Navo
    // has them while it runs.
    BenchStore store(folder, "store");
    const std::string components = folder + "/components";
    const std::string scratch = folder + "/scratch";
    fs::create_directories(components);
    fs::create_directories(scratch);
    const StoreContent content(records, StoreContent::Mix::AllFamilies);
    if (!store.ready() || !content.writeAll(components, store.storePath()) || !store.create()
        || !store.putComponents(components) || !store.putRecordings(1, records, bytes, scratch, 1000, [](long) {}))
        bench::fail("cannot build the store");
    store.setLastRecId(records);
    fs::remove_all(components);
    DataStore dataStore;
    if (dataStore.extract(store.app()) != 0)
        bench::fail("cannot open the store");

    NoiseRecording source(seconds, 20261122);
    std::printf("bench_file_recording: filing a %u s recording (8 kHz 16-bit mono, wave %zu bytes) through "
                "RecordFiler::save\n  into a store of %ld records (%s)\n",
                seconds, source.waveBytes(), records, bench::megabytes(store.fileSize()).c_str());

    // Navo. Each timed step starts with nothing left to write back, so no
    // one pays for the writes of the step before.
    bench::flushDisk();
    const Filing first = fileOne(store, source);  // untimed: warms the cache
    std::vector<double> navo, wave, syncs;
    int syncCount = 0;
    for (int i = 0; i < repeats; ++i) {
        bench::flushDisk();
        const Filing filing = fileOne(store, source);
        navo.push_back(filing.total);
        wave.push_back(filing.wave);
        syncs.push_back(filing.syncs);
        syncCount = filing.syncCount;
    }

    // The reference works on the very three work files Navo filed: they are
    // taken back out of the first record file.
    const std::string work = folder + "/work";
    const std::string dest = folder + "/dest";
    fs::create_directories(work);
    fs::create_directories(dest);
    const std::string recordName = RecordFiler::recordFileName(first.recId);
    if (ExtractFile(store.app().DataStorePath.c_str(), recordName.c_str(), scratch.c_str()) != 0
        || VXopenVXZ((scratch + "/" + recordName).c_str(), work.c_str()) != 0)
        bench::fail("cannot take the work files back out of the record file");
    std::string files;
    std::uint64_t workBytes = 0;
    for (const auto& entry : fs::directory_iterator(work)) {
        files += " " + bench::quoted(entry.path().filename().string());
        workBytes += entry.file_size();
    }
    const std::uint64_t recordBytes = fs::file_size(scratch + "/" + recordName);

    // Level 1, the level Navo's record files use: the same work for both.
    const std::string zipped = folder + "/ref.zip";
    const std::string zipAndCopy = "cd " + bench::quoted(work) + " && zip -q -1 -X " + bench::quoted(zipped) + files
                                   + " && cp " + bench::quoted(zipped) + " " + bench::quoted(dest + "/");
    const std::string synced = zipAndCopy + " && sync " + bench::quoted(dest + "/ref.zip");
    auto reference = [&](const std::string& command) {
        fs::remove(zipped);
        fs::remove(dest + "/ref.zip");
        bench::flushDisk();
        double took = 0;
        bool ok = false;
        took = bench::secondsOf([&] { ok = bench::run(command); });
        if (!ok)
            bench::fail("the reference command failed: " + command);
        return took;
    };
    reference(zipAndCopy);  // untimed, as for Navo
    std::vector<double> plain, withSync;
    for (int i = 0; i < repeats; ++i) {
        plain.push_back(reference(zipAndCopy));
        withSync.push_back(reference(synced));
    }
    const std::uint64_t zipBytes = fs::file_size(zipped);
    dataStore.deleteWorkingCopies(store.app());

    const double navoTime = bench::median(navo);
    const double refTime = bench::median(plain);
    const double syncTime = bench::median(syncs);
    const double refSynced = bench::median(withSync);
    std::printf("work files: %s; Navo's record file %s, the reference's zip %s\n",
                bench::megabytes(workBytes).c_str(), bench::megabytes(recordBytes).c_str(),
                bench::megabytes(zipBytes).c_str());
    std::printf("navo      RecordFiler::save          median %s  (runs: %s)\n", bench::milliseconds(navoTime).c_str(),
                bench::runsText(navo).c_str());
    std::printf("            of which writing the wave  median %s\n", bench::milliseconds(bench::median(wave)).c_str());
    std::printf("            of which SQLite syncs      median %s in %d syncs (%.0f%% of the filing)\n",
                bench::milliseconds(syncTime).c_str(), syncCount, 100.0 * syncTime / navoTime);
    std::printf("reference zip -1 + cp                median %s  (runs: %s)\n", bench::milliseconds(refTime).c_str(),
                bench::runsText(plain).c_str());
    std::printf("reference zip -1 + cp + sync copy    median %s  (runs: %s)\n",
                bench::milliseconds(refSynced).c_str(), bench::runsText(withSync).c_str());
    const double gap = navoTime - refTime;
    if (gap > 0)
        std::printf("fsync: Navo's syncs are %.0f%% of its time and %.0f%% of its lead over zip + cp; "
                    "they %s. Without them Navo would take about %s (ratio %.3f); "
                    "against the synced reference the ratio is %.3f\n",
                    100.0 * syncTime / navoTime, 100.0 * syncTime / gap,
                    syncTime >= gap / 2 ? "dominate the difference" : "do not dominate the difference",
                    bench::milliseconds(navoTime - syncTime).c_str(), (navoTime - syncTime) / refTime,
                    navoTime / refSynced);
    else
        std::printf("fsync: Navo's syncs are %.0f%% of its time, and Navo is not slower than zip + cp even with "
                    "them; against the synced reference the ratio is %.3f\n",
                    100.0 * syncTime / navoTime, navoTime / refSynced);
    bench::verdict(navoTime, refTime, kTarget);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
