// Compressing a data store whose family files are half dead lines: Navo's
// compression (the four family files rewritten through "templog.tmp", every
// surviving line's new position told to the index, the store taking the new
// files, RPS_Compress, Save) against the same work done by tools: awk
// dropping the dead lines from the four family files and `sqlite3 FILE
// VACUUM` on a copy of the same store, in the same run. Target: at most 2.
//
//   bench_compress_store [--records N] [--bytes-per-record B] [--repeats R] [--dir FOLDER]
//
// Defaults: 100,000 records in all four families (every second one deleted:
// its line marked dead, its index entry and record file gone), 2,000 bytes a
// record file, 3 timed runs of each, each on a fresh copy of the store.
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "BenchStore.h"
#include "ConsolePrompt.h"
#include "StoreContent.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/DataStore.h"
#include "store/IndexLine.h"
#include "store/RecordFiler.h"
#include "store/StoreCompressor.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 2.0;

const char* const kFamilies[] = {components::kDictation, components::kMeeting, components::kPhone,
                                 components::kDiary};

bool isDead(long recId)
{
    return recId % 2 == 0;
}

// The deletions as Navo leaves them: dead marks in the family files, no
// index entry and no record file.
void deleteHalf(const StoreContent& content, const std::string& components, const std::string& store)
{
    for (const StoreContent::Record& record : content.records()) {
        if (!isDead(record.recId))
            continue;
        std::FILE* file = std::fopen((components + "/" + record.familyName).c_str(), "r+b");
        if (file == nullptr || std::fseek(file, record.position, SEEK_SET) != 0 ||
            std::fwrite(indexline::kDeletedRecId, 1, 8, file) != 8)
            bench::fail("cannot mark a line dead");
        std::fclose(file);
    }
    sqlite3* db = nullptr;
    const std::string index = components + "/" + components::kIndex;
    if (sqlite3_open(index.c_str(), &db) != SQLITE_OK ||
        sqlite3_exec(db, "DELETE FROM entry WHERE rec_id % 2 = 0", nullptr, nullptr, nullptr) != SQLITE_OK)
        bench::fail("cannot remove the deleted records' index entries");
    sqlite3_close(db);
    (void)store;
}

void removeDeadRecordFiles(const StoreContent& content, const std::string& store)
{
    std::vector<std::string> names;
    for (const StoreContent::Record& record : content.records())
        if (isDead(record.recId))
            names.push_back(RecordFiler::recordFileName(record.recId));
    std::vector<const char*> pointers;
    for (const std::string& name : names)
        pointers.push_back(name.c_str());
    if (RPS_Delete(store.c_str(), pointers.data(), static_cast<int>(pointers.size())) != 0)
        bench::fail("cannot remove the deleted records' files");
}

void copyFile(const std::string& from, const std::string& to)
{
    std::error_code error;
    fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
    if (error)
        bench::fail("cannot copy " + from + ": " + error.message());
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_compress_store [--records N] [--bytes-per-record B] [--repeats R] [--dir FOLDER]\n");
        return 0;
    }
    const long records = static_cast<long>(bench::option(argc, argv, "records", 100000));
    const auto bytes = static_cast<std::size_t>(bench::option(argc, argv, "bytes-per-record", 2000));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 3));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());

    ConsolePrompt prompt;
    ScopedPrompt scopedPrompt(prompt);
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();

    std::printf("bench_compress_store: %ld records in four families, every second one deleted, %zu bytes a record\n",
                records, bytes);
    BenchStore navo(folder, "navo");
    const std::string componentsDir = folder + "/components";
    const std::string scratch = folder + "/scratch";
    fs::create_directories(componentsDir);
    fs::create_directories(scratch);
    const StoreContent content(records, StoreContent::Mix::AllFamilies);
    double built = bench::secondsOf([&] {
        if (!navo.ready() || !content.writeAll(componentsDir, navo.storePath()) || !navo.create())
            bench::fail("cannot build the store");
        deleteHalf(content, componentsDir, navo.storePath());
        if (!navo.putComponents(componentsDir) ||
            !navo.putRecordings(1, records, bytes, scratch, 1000, [](long) {}))
            bench::fail("cannot fill the store");
        removeDeadRecordFiles(content, navo.storePath());
    });
    navo.setLastRecId(records);
    fs::remove_all(scratch);
    const std::string pristine = folder + "/pristine.vxt";
    copyFile(navo.storePath(), pristine);
    _RPS_Info_4 info{};
    RPS_Info(pristine.c_str(), &info);
    std::printf("  built in %s: store %s, %s reclaimable\n", bench::milliseconds(built).c_str(),
                bench::megabytes(info.size).c_str(), bench::megabytes(info.reclaimable).c_str());

    const std::string reference = folder + "/reference";
    fs::create_directories(reference);
    std::vector<double> navoRuns;
    std::vector<double> referenceRuns;
    std::uint64_t navoSize = 0;
    std::uint64_t referenceSize = 0;
    for (int run = 0; run < repeats; ++run) {
        // Navo: open the store as at start-up (untimed), then compress it.
        copyFile(pristine, navo.storePath());
        {
            DataStore store;
            if (store.extract(navo.app()) != 0)
                bench::fail("cannot open the store");
            bench::flushDisk();
            std::vector<UINT> rows;
            StoreCompressor compressor(
                navo.app().TempDir, navo.app().DataStorePath, [&] { return store.save(navo.app()); },
                [&](UINT message, WPARAM wParam, LPARAM) {
                    if (message == StoreCompressor::kMsgErrorRow)
                        rows.push_back(static_cast<UINT>(wParam));
                });
            navoRuns.push_back(bench::secondsOf([&] {
                compressor.start();
                compressor.wait();
            }));
            if (!rows.empty())
                bench::fail("compression logged error row " + std::to_string(rows.front()));
            store.deleteWorkingCopies(navo.app());
        }
        navoSize = navo.fileSize();

        // The tools: the same family files and a copy of the same store.
        const std::string copy = reference + "/copy.vxt";
        copyFile(pristine, copy);
        std::vector<const char*> names(std::begin(kFamilies), std::end(kFamilies));
        if (RPS_Get(copy.c_str(), reference.c_str(), names.data(), static_cast<int>(names.size())) != 0)
            bench::fail("cannot extract the family files for the reference");
        bench::flushDisk();
        std::string command;
        for (const char* family : kFamilies) {
            const std::string path = reference + "/" + family;
            command += "awk 'substr($0, 1, 8) + 0 < 99999999' " + bench::quoted(path) + " > " +
                       bench::quoted(path + ".out") + " && ";
        }
        command += "sqlite3 " + bench::quoted(copy) + " VACUUM";
        referenceRuns.push_back(bench::secondsOf([&] {
            if (!bench::run(command))
                bench::fail("the reference failed: " + command);
        }));
        referenceSize = static_cast<std::uint64_t>(fs::file_size(copy));
    }

    std::printf("  navo      %s   (runs: %s)   store after: %s\n", bench::milliseconds(bench::median(navoRuns)).c_str(),
                bench::runsText(navoRuns).c_str(), bench::megabytes(navoSize).c_str());
    std::printf("  reference %s   (runs: %s)   store after: %s   (awk over the four family files + sqlite3 VACUUM)\n",
                bench::milliseconds(bench::median(referenceRuns)).c_str(), bench::runsText(referenceRuns).c_str(),
                bench::megabytes(referenceSize).c_str());
    return bench::verdict(bench::median(navoRuns), bench::median(referenceRuns), kTarget) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
