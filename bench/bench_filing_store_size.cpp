// Filing one recording must cost the same whatever the store already holds:
// dictations are filed through RecordFiler::save, taking turns, into a store
// of 1,000 records and one of 100,000 (every record in the dictation family
// file, so the big store's family file is 40 MB). The ratio of the median
// filing times, big / small, should stay at or below 1.2.
//
//   bench_filing_store_size [--small N] [--big N] [--filings F] [--seconds S]
//                           [--bytes-per-record B] [--dir FOLDER]
//
// Defaults: 1,000 and 100,000 records of 1,000 bytes, 15 timed filings into
// each after one untimed, a 30-second recording (8 kHz 16-bit mono).
#include <QTemporaryDir>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "BenchStore.h"
#include "ConsolePrompt.h"
#include "NoiseRecording.h"
#include "store/DataStore.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"


namespace {

constexpr double kTarget = 1.2;

struct OpenStore {
    std::unique_ptr<BenchStore> store;
    DataStore dataStore;
    long records = 0;
};

void build(OpenStore& open, const std::string& root, const char* name, long records, std::size_t bytes)
{
    open.records = records;
    open.store = std::make_unique<BenchStore>(root, name);
    BenchStore& store = *open.store;
    const double took = bench::secondsOf([&] {
        if (!store.buildDictations(root, name, records, bytes))
            bench::fail(std::string("cannot build the ") + name + " store");
    });
    store.setLastRecId(records);
    if (open.dataStore.extract(store.app()) != 0)
        bench::fail(std::string("cannot open the ") + name + " store");
    std::printf("  %s store: %ld records, %s, built in %.1f s\n", name, records,
                bench::megabytes(store.fileSize()).c_str(), took);
}

double fileOne(OpenStore& open, NoiseRecording& source)
{
    AppData& app = open.store->app();
    const NewRecordNames names = prepareNewRecording(app);
    RecordingToFile recording;
    recording.recId = names.recId;
    recording.baseName = names.baseName;
    recording.family = 'R';
    recording.fields = {indexline::recIdText(names.recId), "0", "0", "", "Site visit notes", "", "",
                        "22/11/2026 10:00:00", "22/11/2026 10:00:30", "", "", "0"};
    recording.keywords = "site visit roof survey";
    recording.extraText = " ";
    RecordFiler filer(app);
    int result = -1;
    const double took = bench::secondsOf([&] { result = filer.save(recording, source); });
    if (result != 0)
        bench::fail("RecordFiler::save returned " + std::to_string(result));
    return took;
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_filing_store_size [--small N] [--big N] [--filings F] [--seconds S]\n"
                    "           [--bytes-per-record B] [--dir FOLDER]\n");
        return 0;
    }
    const long small = static_cast<long>(bench::option(argc, argv, "small", 1000));
    const long big = static_cast<long>(bench::option(argc, argv, "big", 100000));
    const int filings = static_cast<int>(bench::option(argc, argv, "filings", 15));
    const auto seconds = static_cast<unsigned>(bench::option(argc, argv, "seconds", 30));
    const auto bytes = static_cast<std::size_t>(bench::option(argc, argv, "bytes-per-record", 1000));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());

    ConsolePrompt prompt;
    ScopedPrompt scopedPrompt(prompt);
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();

    std::printf("bench_filing_store_size: filing %d dictations of %u s through RecordFiler::save\n", filings,
                seconds);
    OpenStore smallStore;
    OpenStore bigStore;
    build(smallStore, folder, "small", small, bytes);
    build(bigStore, folder, "big", big, bytes);

    NoiseRecording source(seconds, 20261125);
    // Taking turns, each filing starting with nothing left to write back,
    // so that both stores meet the same disk and the same machine load.
    bench::flushDisk();
    fileOne(smallStore, source);  // untimed: warms the caches
    bench::flushDisk();
    fileOne(bigStore, source);
    std::vector<double> smallTimes, bigTimes;
    for (int i = 0; i < filings; ++i) {
        bench::flushDisk();
        smallTimes.push_back(fileOne(smallStore, source));
        bench::flushDisk();
        bigTimes.push_back(fileOne(bigStore, source));
    }
    smallStore.dataStore.deleteWorkingCopies(smallStore.store->app());
    bigStore.dataStore.deleteWorkingCopies(bigStore.store->app());

    const double smallTime = bench::median(smallTimes);
    const double bigTime = bench::median(bigTimes);
    std::printf("store of %6ld records: median %s a filing  (runs: %s)\n", small,
                bench::milliseconds(smallTime).c_str(), bench::runsText(smallTimes).c_str());
    std::printf("store of %6ld records: median %s a filing  (runs: %s)\n", big, bench::milliseconds(bigTime).c_str(),
                bench::runsText(bigTimes).c_str());
    return bench::verdict(bigTime, smallTime, kTarget) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
