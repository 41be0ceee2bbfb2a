// From the splash closing to the Dictation list on screen, with 100,000
// dictations in the store against 300: the main window's whole start-up
// (profile, opening the store with its index check, the list fill) and the
// first paint of the window, offscreen. The difference big - small should
// stay within 0.3 s.
//
//   bench_startup_list [--small N] [--big N] [--repeats R] [--dir FOLDER]
//
// Defaults: 300 and 100,000 records of 200 bytes, 5 timed start-ups of each
// after one untimed, taking turns.
#include <QApplication>
#include <QTemporaryDir>
#include <QTreeView>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "BenchStore.h"
#include "ConsolePrompt.h"
#include "app/InertServices.h"
#include "app/MainWindow.h"
#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "platform/UserName.h"
#include "store/DataStoreService.h"
#include "store/IndexLine.h"


namespace {

constexpr double kTargetSeconds = 0.3;

std::string userSection()
{
    char name[256];
    DWORD size = sizeof name;
    return GetUserNameA(name, &size) && name[0] != '\0' ? std::string(name) : std::string(settings::kDefaultSection);
}

// A program folder whose profile for this user opens a store of records
// dictations at once, with no question asked on the way.
struct Installation {
    std::unique_ptr<BenchStore> store;
    std::string executable;
    long records = 0;
};

void install(Installation& inst, const std::string& root, const char* name, long records, std::size_t bytes)
{
    inst.records = records;
    inst.store = std::make_unique<BenchStore>(root, name);
    BenchStore& store = *inst.store;
    if (!store.buildDictations(root, name, records, bytes))
        bench::fail(std::string("cannot build the ") + name + " store");
    inst.executable = store.app().AppDir + "navo";

    const ProfileValues profile(store.app().IniPath, userSection());
    profile.setLastStore(store.app().ProfileDir, store.app().DataStoreName);
    profile.setRecIdCounter(indexline::recIdText(records));
    profile.setDevice(1);
    profile.setAutoMessage(false);
    std::printf("  %s: %ld dictations, store %s\n", name, records, bench::megabytes(store.fileSize()).c_str());
}

// One start-up: the window made before the splash (untimed, as Navo makes
// it then), then its start-up and first paint.
double startOnce(const Installation& inst)
{
    AppData app;
    DataStoreService store;
    InertServices inert;
    StartupServices services = inert.services();
    services.store = &store;
    MainWindow window(app, services, inst.executable);
    QTreeView* list = window.findChild<QTreeView*>(QStringLiteral("10002"));
    if (list == nullptr)
        bench::fail("the main window has no record list");
    const double took = bench::secondsOf([&] {
        window.OnInitDialog();
        window.show();
        // Paints the window and the list's first screenful.
        QApplication::processEvents();
        list->viewport()->repaint();
    });
    if (app.StoreUnusable != kStoreHealthy || list->model()->rowCount() != inst.records)
        bench::fail("the list shows " + std::to_string(list->model()->rowCount()) + " rows, not "
                    + std::to_string(inst.records));
    window.hide();
    store.deleteWorkingCopies(app);
    store.workspace(app, 2, "*.*");
    return took;
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_startup_list [--small N] [--big N] [--repeats R] [--dir FOLDER]\n");
        return 0;
    }
    const long small = static_cast<long>(bench::option(argc, argv, "small", 300));
    const long big = static_cast<long>(bench::option(argc, argv, "big", 100000));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 5));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());

    ConsolePrompt prompt;
    ScopedPrompt scopedPrompt(prompt);
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();

    std::printf("bench_startup_list: main-window start-up to the Dictation list painted\n");
    Installation smallInst;
    Installation bigInst;
    install(smallInst, folder, "small", small, 200);
    install(bigInst, folder, "big", big, 200);

    startOnce(smallInst);  // untimed: warms the caches
    startOnce(bigInst);
    std::vector<double> smallTimes, bigTimes;
    for (int i = 0; i < repeats; ++i) {
        smallTimes.push_back(startOnce(smallInst));
        bigTimes.push_back(startOnce(bigInst));
    }
    const double smallTime = bench::median(smallTimes);
    const double bigTime = bench::median(bigTimes);
    std::printf("%6ld dictations: median %s  (runs: %s)\n", small, bench::milliseconds(smallTime).c_str(),
                bench::runsText(smallTimes).c_str());
    std::printf("%6ld dictations: median %s  (runs: %s)\n", big, bench::milliseconds(bigTime).c_str(),
                bench::runsText(bigTimes).c_str());
    const double difference = bigTime - smallTime;
    const bool met = difference <= kTargetSeconds;
    std::printf("difference = %s (target <= %s): %s; ratio = %.2f\n", bench::milliseconds(difference).c_str(),
                bench::milliseconds(kTargetSeconds).c_str(), met ? "met" : "NOT met", bigTime / smallTime);
    return met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return bench::guarded(argc, argv, benchmark);
}
