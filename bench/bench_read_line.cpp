// Reading a record's line by its position (family::readLine) must take the
// same short time however long the family file is: a seek and one read of
// 401 bytes. 100,000 random reads from a family file of 100,000 lines are
// timed against dd reading the same lines (bs=401 skip=N count=1); the
// target is at most 2 times dd's time per read. The same reads from a file
// of 10,000 lines show whether the time per read depends on the length.
//
//   bench_read_line [--lines N] [--small-lines n] [--reads R] [--dd-sample S]
//                   [--repeats K] [--dir FOLDER]
//
// Defaults: 100,000 and 10,000 lines, 100,000 reads, dd on 2,000 of the same
// positions (one process a read, so dd is timed on a sample and its time per
// read scaled from that), 5 timed passes for Navo and 3 for dd.
#include <QTemporaryDir>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "StoreContent.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 2.0;

struct Read {
    std::string recId;
    long position = 0;
};

// A workspace holding one dictation family file of `lines` lines: the dead
// line first, then lines - 1 records.
struct FamilyFixture {
    std::string folder;
    StoreContent content;
    std::vector<Read> reads;

    FamilyFixture(const std::string& where, long lines, long count, std::uint32_t seed)
        : folder(where), content(lines - 1, StoreContent::Mix::DictationOnly)
    {
        fs::create_directories(folder);
        if (!content.writeFamilyFiles(folder))
            bench::fail("cannot write the family file in " + folder);
        std::mt19937 random(seed);
        std::uniform_int_distribution<std::size_t> pick(0, content.records().size() - 1);
        reads.reserve(static_cast<std::size_t>(count));
        for (long i = 0; i < count; ++i) {
            const StoreContent::Record& record = content.records()[pick(random)];
            reads.push_back({indexline::recIdText(record.recId), record.position});
        }
        // The reads must find their lines, or the timing would be of failures.
        const StoreContent::Record& last = content.records().back();
        if (family::readLine(folder, indexline::recIdText(last.recId), 0, last.position)
            != content.line(content.records().size() - 1))
            bench::fail("readLine does not give back the line written");
    }

    std::string path() const { return components::workspacePath(folder, components::kDictation); }
};

// Seconds for one pass over the first `count` reads; every read must hit.
double navoPass(const FamilyFixture& fixture, std::size_t count)
{
    std::size_t found = 0;
    const double took = bench::secondsOf([&] {
        for (std::size_t i = 0; i < count; ++i) {
            const Read& read = fixture.reads[i];
            if (family::readLine(fixture.folder, read.recId, 0, read.position).size() == indexline::kLineBytes)
                ++found;
        }
    });
    if (found != count)
        bench::fail(std::to_string(count - found) + " reads did not find their line");
    return took;
}

double navoPerRead(const FamilyFixture& fixture, std::size_t count, int repeats)
{
    navoPass(fixture, count);  // untimed: the file into the cache
    std::vector<double> passes;
    for (int i = 0; i < repeats; ++i)
        passes.push_back(navoPass(fixture, count));
    return bench::median(passes) / static_cast<double>(count);
}

std::string readAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_read_line [--lines N] [--small-lines n] [--reads R] [--dd-sample S]\n"
                    "           [--repeats K] [--dir FOLDER]\n");
        return 0;
    }
    const long lines = static_cast<long>(bench::option(argc, argv, "lines", 100000));
    const long smallLines = static_cast<long>(bench::option(argc, argv, "small-lines", 10000));
    const long reads = static_cast<long>(bench::option(argc, argv, "reads", 100000));
    const auto sample = static_cast<std::size_t>(std::min<long long>(bench::option(argc, argv, "dd-sample", 2000), reads));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 5));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());
    if (lines < 2 || smallLines < 2)
        bench::fail("a family file needs at least 2 lines (the dead line and a record)");

    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();
    const FamilyFixture big(folder + "/big", lines, reads, 1);
    const FamilyFixture small(folder + "/small", smallLines, reads, 2);

    std::printf("bench_read_line: %ld random reads by position with family::readLine\n", reads);
    const double navoBig = navoPerRead(big, big.reads.size(), repeats);
    const double navoSmall = navoPerRead(small, small.reads.size(), repeats);
    const double navoSample = navoPerRead(big, sample, repeats);

    // dd, one process a read, on the first `sample` of the same positions.
    const std::string script = folder + "/dd.sh";
    {
        std::ofstream out(script);
        for (std::size_t i = 0; i < sample; ++i)
            out << "dd if=" << bench::quoted(big.path()) << " of=/dev/null bs=" << indexline::kLineBytes
                << " skip=" << big.reads[i].position / static_cast<long>(indexline::kLineBytes)
                << " count=1 status=none\n";
    }
    // dd must read the very line readLine gives.
    const Read& check = big.reads.front();
    const std::string checked = folder + "/dd-check";
    if (!bench::run("dd if=" + bench::quoted(big.path()) + " of=" + bench::quoted(checked) + " bs="
                    + std::to_string(indexline::kLineBytes) + " skip="
                    + std::to_string(check.position / static_cast<long>(indexline::kLineBytes))
                    + " count=1 status=none")
        || readAll(checked) != family::readLine(big.folder, check.recId, 0, check.position))
        bench::fail("dd does not read the line readLine reads");
    std::vector<double> ddPasses;
    for (int i = 0; i < 3; ++i) {
        bool ok = false;
        ddPasses.push_back(bench::secondsOf([&] { ok = bench::run("sh " + bench::quoted(script)); }));
        if (!ok)
            bench::fail("dd failed");
    }
    const double ddPerRead = bench::median(ddPasses) / static_cast<double>(sample);

    std::printf("family files: %ld lines (%s) and %ld lines (%s)\n", lines,
                bench::megabytes(fs::file_size(big.path())).c_str(), smallLines,
                bench::megabytes(fs::file_size(small.path())).c_str());
    std::printf("navo  readLine, %7ld-line file: %s a read (median of %d passes of %ld reads)\n", lines,
                bench::microseconds(navoBig).c_str(), repeats, reads);
    std::printf("navo  readLine, %7ld-line file: %s a read (median of %d passes of %ld reads)\n", smallLines,
                bench::microseconds(navoSmall).c_str(), repeats, reads);
    std::printf("      per read, %ld lines / %ld lines = %.3f (1 means the time does not grow with the file)\n",
                lines, smallLines, navoBig / navoSmall);
    std::printf("navo  readLine, %7ld-line file, first %zu positions only: %s a read\n", lines, sample,
                bench::microseconds(navoSample).c_str());
    std::printf("ref   dd, one process a read, timed on %zu of the %ld positions and scaled per read: %s a read "
                "(median of 3 passes: %s for %zu reads)\n",
                sample, reads, bench::microseconds(ddPerRead).c_str(),
                bench::milliseconds(bench::median(ddPasses)).c_str(), sample);
    bench::verdict(navoBig, ddPerRead, kTarget);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
