// A keyword query over 100,000 records, as the Search window runs it while
// the user types (the first page of matches by relevance with their lines,
// and the count of all matches; the index connection kept from the query
// before, the first query's time printed too), against `grep -c -i -w` over the same
// searchable texts (subject, keywords, comments, caller) written one record
// a line. Both must count the same records.
//
//   bench_search [--records N] [--repeats K] [--dir FOLDER]
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "StoreContent.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace {

constexpr double kTarget = 0.1;
constexpr std::size_t kPage = 500;  // the rows the Search window shows
constexpr long kClientCodes = 1000;  // each code is in one record of this many

// The words a record is found by: a client code ("k417") that 1 in 1,000
// records carry, and a few common words.
std::string keywordsFor(long recId)
{
    return "client k" + std::to_string(recId % kClientCodes) + " follow up";
}

std::string commentsFor(long recId)
{
    return recId % 3 == 0 ? "ring back before Friday" : " ";
}

struct Timed {
    double navo = 0;
    double reference = 0;
    double first = 0;  // the first query, which opens the index
    std::uint64_t found = 0;
};

Timed measure(const std::string& index, const std::string& texts, const std::string& word, int repeats,
              long expected)
{
    Ek7IndexQuery query;
    query.words = word.c_str();
    query.limit = kPage;
    Timed timed;
    auto navo = [&] {
        std::vector<Ek7IndexHit> hits;
        if (Ek7IndexFind(index.c_str(), query, &hits, &timed.found) != kEk7IndexOk)
            bench::fail("the query failed: " + std::to_string(Ek7IndexLastError()));
        if (hits.empty() || hits.front().line.size() != indexline::kLineBytes)
            bench::fail("the first page has no lines");
    };
    const std::string counted = texts + ".count";
    const std::string grep = "grep -c -i -w " + bench::quoted(word) + " " + bench::quoted(texts) + " > " +
                             bench::quoted(counted);
    auto reference = [&] {
        if (!bench::run(grep))
            bench::fail("grep failed");
    };
    timed.first = bench::secondsOf(navo);
    reference();
    std::vector<double> navoTimes, referenceTimes;
    for (int i = 0; i < repeats; ++i) {
        navoTimes.push_back(bench::secondsOf(navo));
        referenceTimes.push_back(bench::secondsOf(reference));
    }
    timed.navo = bench::median(navoTimes);
    timed.reference = bench::median(referenceTimes);
    std::ifstream in(counted);
    long grepCount = -1;
    in >> grepCount;
    if (grepCount != static_cast<long>(timed.found) || (expected >= 0 && grepCount != expected))
        bench::fail("Navo found " + std::to_string(timed.found) + " records for \"" + word + "\", grep " +
                    std::to_string(grepCount));
    return timed;
}

int body(int argc, char** argv)
{
    const long records = static_cast<long>(bench::option(argc, argv, "records", 100000));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 7));
    const std::string where = bench::textOption(argc, argv, "--dir", QDir::tempPath().toStdString());
    QTemporaryDir dir(QString::fromStdString(where + "/navo-bench-XXXXXX"));
    if (!dir.isValid())
        bench::fail("cannot make a temporary folder in " + where);
    const std::string folder = dir.path().toStdString();

    const StoreContent content(records, StoreContent::Mix::AllFamilies);
    const std::string index = components::workspacePath(folder, components::kIndex);
    const std::string texts = folder + "/texts.txt";
    const double built = bench::secondsOf([&] {
        if (Ek7IndexCreate(index.c_str()) != kEk7IndexOk)
            bench::fail("cannot create the index");
        std::vector<std::string> types, starts, keywords, comments;
        std::ofstream out(texts, std::ios::binary);
        for (std::size_t i = 0; i < content.records().size(); ++i) {
            const long recId = content.records()[i].recId;
            types.push_back(std::to_string(content.records()[i].type));
            starts.push_back(indexline::field(content.line(i), 8));
            keywords.push_back(keywordsFor(recId));
            comments.push_back(commentsFor(recId));
            out << indexline::showField(indexline::field(content.line(i), 5)) << ' ' << keywords.back() << ' '
                << comments.back() << '\n';
        }
        std::vector<Ek7IndexEntry> entries;
        for (std::size_t i = 0; i < content.records().size(); ++i)
            entries.push_back(Ek7IndexEntry{index.c_str(), "", folder.c_str(),
                                            static_cast<std::uint32_t>(content.records()[i].recId),
                                            types[i].c_str(), starts[i].c_str(), keywords[i].c_str(),
                                            comments[i].c_str(),
                                            static_cast<std::uint32_t>(content.records()[i].position), 0,
                                            content.line(i).c_str()});
        if (Ek7IndexAddBatch(entries.data(), entries.size()) == 0)
            bench::fail("cannot fill the index: " + std::to_string(Ek7IndexLastError()));
    });
    std::printf("Index of %ld records built in %s\n", records, bench::milliseconds(built).c_str());

    // The keyword query the target is for, then two more for the picture: a
    // word in a third of the records, and a common subject word.
    const Timed keyword = measure(index, texts, "k417", repeats, records / kClientCodes);
    std::printf("\"k417\" (1 in %ld records): Navo first page + count %s (%llu found; the first query, opening"
                " the index, %s), grep -c %s\n",
                kClientCodes, bench::milliseconds(keyword.navo).c_str(), static_cast<unsigned long long>(keyword.found),
                bench::milliseconds(keyword.first).c_str(), bench::milliseconds(keyword.reference).c_str());
    for (const char* word : {"friday", "invoice"}) {
        const Timed other = measure(index, texts, word, repeats, -1);
        std::printf("\"%s\": Navo %s (%llu found), grep -c %s, ratio %.3f\n", word,
                    bench::milliseconds(other.navo).c_str(), static_cast<unsigned long long>(other.found),
                    bench::milliseconds(other.reference).c_str(), other.navo / other.reference);
    }
    return bench::verdict(keyword.navo, keyword.reference, kTarget) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, body);
}
