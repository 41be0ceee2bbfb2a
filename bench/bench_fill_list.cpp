// Filling the Dictation list of 100,000 records must be quicker than awk
// printing fields 1 and 5 of the same family file. Navo's fill is the main
// window's: SearchLog over the family file, the rows handed to the list's
// model, and the cells of the first screenful taken for display.
//
//   bench_fill_list [--records N] [--repeats K] [--dir FOLDER]
#include <QApplication>
#include <QTemporaryDir>

#include <filesystem>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "StoreContent.h"
#include "core/AppData.h"
#include "app/RecordListModel.h"
#include "maker/Ek7Srch/Ek7Srch.h"
#include "store/ComponentFiles.h"

namespace {

constexpr double kTarget = 1.0;
constexpr int kScreenRows = 40;

int body(int argc, char** argv)
{
    const long records = static_cast<long>(bench::option(argc, argv, "records", 100000));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 5));
    const std::string where = bench::textOption(argc, argv, "--dir", QDir::tempPath().toStdString());
    QTemporaryDir dir(QString::fromStdString(where + "/navo-bench-XXXXXX"));
    if (!dir.isValid())
        bench::fail("cannot make a temporary folder in " + where);
    const std::string folder = dir.path().toStdString();

    StoreContent content(records, StoreContent::Mix::DictationOnly);
    if (!content.writeFamilyFiles(folder))
        bench::fail("cannot write the family file");
    const std::string family = components::workspacePath(folder, components::kDictation);
    std::printf("Family file: %ld records, %s\n", records,
                bench::megabytes(std::filesystem::file_size(family)).c_str());

    RecordListModel model;
    std::size_t shown = 0;
    auto navo = [&] {
        SearchLogRows rows;
        const int found = SearchLog(family.c_str(), SearchLogRows::kDictation, &rows);
        model.setRows(std::move(rows), kListDictation);
        for (int row = 0; row < kScreenRows && row < found; ++row)
            for (int column = 0; column < model.columnCount(); ++column)
                shown += model.data(model.index(row, column), Qt::DisplayRole).toString().size();
    };
    const std::string awk = "awk '{print $1, $5}' " + bench::quoted(family) + " > /dev/null";
    auto reference = [&] {
        if (!bench::run(awk))
            bench::fail("awk failed");
    };

    navo();
    reference();
    std::vector<double> navoTimes, referenceTimes;
    for (int i = 0; i < repeats; ++i) {
        navoTimes.push_back(bench::secondsOf(navo));
        referenceTimes.push_back(bench::secondsOf(reference));
    }
    const double navoTime = bench::median(navoTimes);
    const double referenceTime = bench::median(referenceTimes);
    std::printf("Navo fill (SearchLog + model + first %d rows): %s (%zu rows listed)\n", kScreenRows,
                bench::milliseconds(navoTime).c_str(), static_cast<std::size_t>(model.rowCount()));
    std::printf("awk printing fields 1 and 5:                   %s\n", bench::milliseconds(referenceTime).c_str());
    if (static_cast<long>(model.rowCount()) != records || shown == 0)
        bench::fail("the list does not hold every record");
    return bench::verdict(navoTime, referenceTime, kTarget) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return bench::guarded(argc, argv, body);
}
