// Opening (Extract) and saving a data store must not cost more because the
// store holds many recordings: both move only the components (family files,
// index, counters, phone book, templates), never a record file. So a store of
// 100,000 records with about 2 GB of recordings is timed against a store with
// the very same components and about 2 MB of recordings, in the same run; the
// ratio big / small should stay at or below 1.2.
//
//   bench_store_open_save [--records N] [--bytes-per-record B]
//                         [--small-bytes-per-record b] [--repeats R] [--dir FOLDER]
//
// Defaults: 100,000 records, 20,000 bytes (big) and 20 bytes (small) a
// record, 5 timed runs of each after one untimed run, the system's temporary
// folder (TMPDIR). It refuses to start without twice the recordings plus
// 1 GB free on that disk (5 GB at full size).
#include <QTemporaryDir>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "BenchStore.h"
#include "ConsolePrompt.h"
#include "StoreContent.h"
#include "store/ComponentFiles.h"
#include "store/DataStore.h"
#include "store/Workspace.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 1.2;
constexpr std::uint64_t kGB = 1000ull * 1000 * 1000;

struct Cycle {
    double open = 0;
    double save = 0;
};

// One open and one save of the store, as Navo does when it starts and when
// it files a change; the working copies go again afterwards, untimed.
Cycle openAndSave(BenchStore& store)
{
    Cycle cycle;
    DataStore dataStore;
    int opened = -1;
    int saved = -1;
    cycle.open = bench::secondsOf([&] { opened = dataStore.extract(store.app()); });
    if (opened != 0)
        bench::fail("Extract failed with " + std::to_string(opened));
    // Only the components may come out of the store.
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(store.app().TempDir)) {
        // The owner file names the process holding the workspace; it is no component.
        if (entry.path().filename() != workspace::kOwnerFile)
            ++files;
    }
    if (files != components::extracted().size())
        bench::fail("the workspace holds " + std::to_string(files) + " files after Extract, not "
                    + std::to_string(components::extracted().size()));
    cycle.save = bench::secondsOf([&] { saved = dataStore.save(store.app()); });
    if (saved != 0)
        bench::fail("Save failed with " + std::to_string(saved));
    dataStore.deleteWorkingCopies(store.app());
    return cycle;
}

void buildStore(BenchStore& store, const std::string& components, long records, std::size_t bytes,
                const std::string& scratch, const char* label)
{
    if (!store.ready() || !store.create() || !store.putComponents(components))
        bench::fail(std::string("cannot build the ") + label + " store");
    fs::create_directories(scratch);
    std::printf("  %s store: recordings put:", label);
    long shown = 0;
    const bool ok = store.putRecordings(1, records, bytes, scratch, 1000, [&](long done) {
        for (; shown < 10 && done * 10 >= (shown + 1) * records; ++shown)
            std::printf(" %ld%%", (shown + 1) * 10);
        std::fflush(stdout);
    });
    std::printf("\n");
    if (!ok)
        bench::fail(std::string("cannot put the recordings into the ") + label + " store");
    store.setLastRecId(records);
}

void printRuns(const char* label, const std::vector<Cycle>& cycles)
{
    std::vector<double> open, save, total;
    std::string all;
    for (const Cycle& c : cycles) {
        open.push_back(c.open);
        save.push_back(c.save);
        total.push_back(c.open + c.save);
        all += (all.empty() ? "" : ", ") + bench::milliseconds(c.open + c.save);
    }
    std::printf("  %-6s open %s + save %s = %s   (median of each; totals: %s)\n", label,
                bench::milliseconds(bench::median(open)).c_str(), bench::milliseconds(bench::median(save)).c_str(),
                bench::milliseconds(bench::median(total)).c_str(), all.c_str());
}

double medianTotal(const std::vector<Cycle>& cycles)
{
    std::vector<double> total;
    for (const Cycle& c : cycles)
        total.push_back(c.open + c.save);
    return bench::median(total);
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_store_open_save [--records N] [--bytes-per-record B]\n"
                    "           [--small-bytes-per-record b] [--repeats R] [--dir FOLDER]\n");
        return 0;
    }
    const long records = static_cast<long>(bench::option(argc, argv, "records", 100000));
    const auto bigBytes = static_cast<std::size_t>(bench::option(argc, argv, "bytes-per-record", 20000));
    const auto smallBytes = static_cast<std::size_t>(bench::option(argc, argv, "small-bytes-per-record", 20));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 5));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());  // the stores' workspaces go there too

    ConsolePrompt prompt;
    ScopedPrompt scopedPrompt(prompt);

    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();

    // The big store, its components in the workspace and in the small store,
    // and room for the journal of a save: twice the recordings and 1 GB.
    const std::uint64_t recordingBytes = static_cast<std::uint64_t>(records) * bigBytes;
    const std::uint64_t needed = 2 * recordingBytes + kGB;
    const std::uint64_t available = bench::freeBytes(folder);
    std::printf("bench_store_open_save: open (DataStore::extract) + save (DataStore::save)\n");
    std::printf("  in %s: %.1f GB free, %.1f GB needed\n", folder.c_str(), static_cast<double>(available) / kGB,
                static_cast<double>(needed) / kGB);
    if (available < needed) {
        std::fprintf(stderr,
                     "error: not enough free disk space in %s: %.1f GB free, %.1f GB needed.\n"
                     "Free some space, point --dir at a larger disk, or run smaller "
                     "(--records, --bytes-per-record).\n",
                     folder.c_str(), static_cast<double>(available) / kGB, static_cast<double>(needed) / kGB);
        return 1;
    }

    std::printf("building: %ld records; big store %s of recordings (%zu bytes each), small store %s (%zu each)\n",
                records, bench::megabytes(recordingBytes).c_str(), bigBytes,
                bench::megabytes(static_cast<std::uint64_t>(records) * smallBytes).c_str(), smallBytes);
    BenchStore big(folder, "big");
    BenchStore small(folder, "small");
    const std::string components = folder + "/components";
    fs::create_directories(components);
    const double contentTime = bench::secondsOf([&] {
        const StoreContent content(records, StoreContent::Mix::AllFamilies);
        if (!content.writeAll(components, big.storePath()))
            bench::fail("cannot write the components");
    });
    std::uint64_t familyBytes = 0;
    for (const char* name : {components::kDictation, components::kMeeting, components::kPhone, components::kDiary})
        familyBytes += fs::file_size(components::workspacePath(components, name));
    const std::uint64_t indexBytes = fs::file_size(components::workspacePath(components, components::kIndex));
    const double smallTime = bench::secondsOf(
        [&] { buildStore(small, components, records, smallBytes, folder + "/scratch-small", "small"); });
    const double bigTime =
        bench::secondsOf([&] { buildStore(big, components, records, bigBytes, folder + "/scratch-big", "big"); });
    fs::remove_all(components);
    const double syncTime = bench::secondsOf(bench::flushDisk);
    std::printf("building took %.1f s: components %.1f s (family files %s, index %s, the same in both stores), "
                "small store %.1f s, big store %.1f s, sync %.1f s\n",
                contentTime + smallTime + bigTime + syncTime, contentTime, bench::megabytes(familyBytes).c_str(),
                bench::megabytes(indexBytes).c_str(), smallTime, bigTime, syncTime);

    const std::uint64_t bigBefore = big.fileSize();
    const std::uint64_t smallBefore = small.fileSize();
    std::printf("store files: big %s, small %s\n", bench::megabytes(bigBefore).c_str(),
                bench::megabytes(smallBefore).c_str());

    // One untimed cycle each, so both start from a store their own save has
    // written and from a warm cache; then the timed ones, taking turns.
    openAndSave(small);
    openAndSave(big);
    bench::flushDisk();
    std::vector<Cycle> bigRuns;
    std::vector<Cycle> smallRuns;
    for (int i = 0; i < repeats; ++i) {
        if (i % 2 == 0) {
            bigRuns.push_back(openAndSave(big));
            bench::flushDisk();
            smallRuns.push_back(openAndSave(small));
        } else {
            smallRuns.push_back(openAndSave(small));
            bench::flushDisk();
            bigRuns.push_back(openAndSave(big));
        }
        bench::flushDisk();
    }

    std::printf("runs: %d timed cycles of each store, medians:\n", repeats);
    printRuns("big", bigRuns);
    printRuns("small", smallRuns);
    std::printf("store files after the runs: big %s (was %s), small %s (was %s)\n",
                bench::megabytes(big.fileSize()).c_str(), bench::megabytes(bigBefore).c_str(),
                bench::megabytes(small.fileSize()).c_str(), bench::megabytes(smallBefore).c_str());
    std::printf("navo = big store %s, reference = small store %s (open + save)\n",
                bench::milliseconds(medianTotal(bigRuns)).c_str(), bench::milliseconds(medianTotal(smallRuns)).c_str());
    bench::verdict(medianTotal(bigRuns), medianTotal(smallRuns), kTarget);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
