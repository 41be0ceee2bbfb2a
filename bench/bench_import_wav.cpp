// Importing WAV files (File, Import, WAV File...): SoundImport decoding each
// file, converting it to the recording quality and filing it as a new
// record (in batches, one store transaction with its syncs each), timed
// against the least a person could do to keep the same files and find them
// by name: `cp` of the files into a folder plus `sqlite3` inserting their
// names, one insert (one transaction, synced as sqlite3 does by default) per
// file. Target: at most 3 times the reference.
//
//   bench_import_wav [--files N] [--seconds S] [--repeats R] [--dir FOLDER]
//
// Defaults: 1,000 files of 10 s each (8 kHz 16-bit mono speech-like noise,
// "RecQual" 0, so the conversion is a copy), 3 timed runs, each into a fresh
// store and a fresh folder, the system's temporary folder.
#include <QTemporaryDir>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "BenchStore.h"
#include "ConsolePrompt.h"
#include "core/AppData.h"
#include "store/DataStore.h"
#include "store/RecordImport.h"
#include "store/SoundImport.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 3.0;

void put(std::string& s, std::uint32_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        s += static_cast<char>((v >> (8 * i)) & 0xFF);
}

// A 8 kHz 16-bit mono wave of noise shaped like speech (bursts and pauses),
// different for every seed.
void writeWave(const std::string& path, unsigned seconds, std::uint32_t seed)
{
    const std::uint32_t samples = seconds * 8000;
    std::string w = "RIFF";
    put(w, 36 + samples * 2, 4);
    w += "WAVEfmt ";
    put(w, 16, 4);
    put(w, 1, 2);
    put(w, 1, 2);
    put(w, 8000, 4);
    put(w, 16000, 4);
    put(w, 2, 2);
    put(w, 16, 2);
    w += "data";
    put(w, samples * 2, 4);
    std::uint32_t state = seed * 2654435761u + 1;
    for (std::uint32_t i = 0; i < samples; ++i) {
        state = state * 1664525u + 1013904223u;
        const bool talking = (i / 2400 + seed) % 3 != 0;
        const int value = talking ? static_cast<int>(state >> 20) - 2048 : 0;
        put(w, static_cast<std::uint16_t>(static_cast<std::int16_t>(value * 4)), 2);
    }
    std::ofstream(path, std::ios::binary) << w;
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_import_wav [--files N] [--seconds S] [--repeats R] [--dir FOLDER]\n");
        return 0;
    }
    const long files = static_cast<long>(bench::option(argc, argv, "files", 1000));
    const auto seconds = static_cast<unsigned>(bench::option(argc, argv, "seconds", 10));
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
    const std::string sources = folder + "/wav";
    fs::create_directories(sources);
    std::vector<std::string> paths;
    std::string names;
    std::string inserts = "CREATE TABLE files(name TEXT);\n";
    std::uint64_t bytes = 0;
    for (long i = 0; i < files; ++i) {
        const std::string name = "take " + std::to_string(i + 1) + ".wav";
        paths.push_back(sources + "/" + name);
        writeWave(paths.back(), seconds, static_cast<std::uint32_t>(i));
        bytes += fs::file_size(paths.back());
        inserts += "INSERT INTO files VALUES('" + name + "');\n";
    }
    const std::string insertFile = folder + "/inserts.sql";
    std::ofstream(insertFile) << inserts;
    std::printf("bench_import_wav: %ld WAV files of %u s (8 kHz 16-bit mono, %s in all) imported as dictations\n",
                files, seconds, bench::megabytes(bytes).c_str());

    std::vector<double> navo;
    std::vector<double> reference;
    for (int run = 0; run < repeats; ++run) {
        // Navo: a fresh store each run, opened as start-up opens it.
        const std::string name = "store" + std::to_string(run);
        double seconds = 0;
        {
            BenchStore store(folder, name);
            if (!store.ready() || !store.create())
                bench::fail("cannot build the store");
            DataStore dataStore;
            if (dataStore.extract(store.app()) != 0)
                bench::fail("cannot open the store");
            bench::flushDisk();
            ImportReport report;
            seconds = bench::secondsOf([&] {
                RecordImport records(store.app());
                report = SoundImport(store.app(), records).importFiles(paths, kListDictation);
            });
            if (report.imported != files)
                bench::fail("the import did not take every file:\n" + report.summary());
            dataStore.deleteWorkingCopies(store.app());
        }
        fs::remove_all(folder + "/" + name);
        navo.push_back(seconds);

        // The reference: the same files copied, their names inserted.
        const std::string dest = folder + "/copy" + std::to_string(run);
        fs::create_directories(dest);
        bench::flushDisk();
        const double copy = bench::secondsOf([&] {
            if (!bench::run("cp " + bench::quoted(sources) + "/*.wav " + bench::quoted(dest) + "/ && sqlite3 "
                            + bench::quoted(dest + "/names.db") + " < " + bench::quoted(insertFile)))
                bench::fail("cp or sqlite3 failed (is sqlite3 installed?)");
        });
        fs::remove_all(dest);
        reference.push_back(copy);
    }

    const double n = bench::median(navo);
    const double r = bench::median(reference);
    std::printf("  Navo (SoundImport::importFiles): %s (runs %s), %.2f ms a file\n", bench::milliseconds(n).c_str(),
                bench::runsText(navo).c_str(), 1000.0 * n / static_cast<double>(files));
    std::printf("  reference (cp + sqlite3 inserts): %s (runs %s)\n", bench::milliseconds(r).c_str(),
                bench::runsText(reference).c_str());
    bench::verdict(n, r, kTarget);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
