// The phone book of 5000 entries (the most it loads): from opening the
// dialog to the list painted, and one type-ahead key (the list searched,
// the found name selected and scrolled to, the list painted again), each
// against the goal of 20 ms and against a reference on the same file in the
// same run: awk printing the two fields of every line (the open), and a
// grep for the first line that starts with the typed text (a key).
//
//   bench_phonebook [--entries N] [--repeats K] [--dir FOLDER]
#include <QApplication>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "core/AppData.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "telephony/PhoneBook.h"
#include "telephony/PhoneBookDialog.h"

namespace {

constexpr double kGoalSeconds = 0.020;

// Surnames spread over the alphabet so a typed name is found anywhere in
// the list, the last ones at the bottom.
std::string nameOf(int i)
{
    static const char* const kGiven[] = {"Ada", "Brian", "Clare", "Dennis", "Edith", "Frank", "Grace", "Hugh"};
    std::string surname;
    for (int n = i, letters = 0; letters < 3; ++letters, n /= 26)
        surname += static_cast<char>('a' + n % 26);
    surname[0] = static_cast<char>(surname[0] - 'a' + 'A');
    return surname + std::to_string(i) + " " + kGiven[i % 8];
}

void settle()
{
    QApplication::processEvents();  // the paint
}

int body(int argc, char** argv)
{
    const int entries = static_cast<int>(bench::option(argc, argv, "entries", 5000));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 7));
    const std::string where = bench::textOption(argc, argv, "dir", QDir::tempPath().toStdString());
    QTemporaryDir dir(QString::fromStdString(where + "/navo-bench-XXXXXX"));
    if (!dir.isValid())
        bench::fail("cannot make a temporary folder in " + where);
    const std::string path = dir.filePath(QStringLiteral("Telvarine.vxb")).toStdString();
    {
        std::string content;
        for (int i = 0; i < entries; ++i)
            content += PhoneBook::buildLine(nameOf(i), "0161 496 " + std::to_string(1000 + i));
        std::FILE* out = std::fopen(path.c_str(), "wb");
        if (out == nullptr || std::fwrite(content.data(), 1, content.size(), out) != content.size())
            bench::fail("cannot write the phone book");
        std::fclose(out);
    }
    std::printf("Phone book: %d entries\n", entries);

    AppData app;
    LineState line{};
    app.lineState = &line;

    // Open: the dialog made, loaded and shown with its first paint.
    int listed = 0;
    auto open = [&] {
        PhoneBookDialog dialog(app, path, 0);
        dialog.show();
        settle();
        listed = dialog.findChild<QTreeView*>(QStringLiteral("10110"))->model()->rowCount();
    };
    const std::string awk = "awk '{print $1, $2}' " + bench::quoted(path) + " > /dev/null";
    auto awkAll = [&] {
        if (!bench::run(awk))
            bench::fail("awk failed");
    };
    // The same dialog over an empty phone book: what the window costs by
    // itself, so the entries' own share shows.
    const std::string emptyPath = dir.filePath(QStringLiteral("empty.vxb")).toStdString();
    auto openEmpty = [&] {
        PhoneBookDialog dialog(app, emptyPath, 0);
        dialog.show();
        settle();
    };
    open();
    awkAll();
    openEmpty();
    std::vector<double> openTimes, awkTimes, emptyTimes;
    for (int i = 0; i < repeats; ++i) {
        openTimes.push_back(bench::secondsOf(open));
        awkTimes.push_back(bench::secondsOf(awkAll));
        emptyTimes.push_back(bench::secondsOf(openEmpty));
    }
    if (listed != std::min(entries, 5000))
        bench::fail("the list does not hold every entry");

    // Type-ahead: the keys of a name near the bottom, then of one at the top,
    // one key at a time, each with its paint.
    PhoneBookDialog dialog(app, path, 0);
    dialog.show();
    settle();
    auto* typed = dialog.findChild<QLineEdit*>(QStringLiteral("10109"));
    auto* list = dialog.findChild<QTreeView*>(QStringLiteral("10110"));
    const std::vector<std::string> targets = {nameOf(entries - 1), nameOf(entries / 2), nameOf(0)};
    std::vector<double> keyTimes, grepTimes;
    for (int round = 0; round < repeats; ++round) {
        for (const std::string& target : targets) {
            typed->clear();
            settle();
            // The surname: what a user types, and what grep can match (the
            // file keeps blanks as 0xAC).
            const std::string typedName = target.substr(0, target.find(' '));
            for (std::size_t keys = 1; keys <= typedName.size(); ++keys) {
                const QString text = QString::fromStdString(target.substr(0, keys));
                keyTimes.push_back(bench::secondsOf([&] {
                    typed->setText(text);
                    settle();
                }));
            }
            const QModelIndexList chosen = list->selectionModel()->selectedRows();
            if (chosen.size() != 1 || !chosen[0].data().toString().startsWith(QString::fromStdString(typedName)))
                bench::fail("type-ahead did not find " + target);
            const std::string grep = "grep -m1 -i " + bench::quoted("^" + typedName) + " " +
                                     bench::quoted(path) + " > /dev/null";
            grepTimes.push_back(bench::secondsOf([&] {
                if (!bench::run(grep))
                    bench::fail("grep failed");
            }));
        }
    }
    std::sort(keyTimes.begin(), keyTimes.end());
    const double keyMedian = bench::median(keyTimes);
    const double keyWorst = keyTimes.back();
    const double openMedian = bench::median(openTimes);

    std::printf("Open to listed (load, %d rows, first paint): %s (runs %s)\n", listed,
                bench::milliseconds(openMedian).c_str(), bench::runsText(openTimes).c_str());
    std::printf("The same dialog with no entries:             %s\n",
                bench::milliseconds(bench::median(emptyTimes)).c_str());
    std::printf("awk printing both fields of every line:      %s\n",
                bench::milliseconds(bench::median(awkTimes)).c_str());
    std::printf("ratio open / awk = %.2f (for comparison; the goal is the time)\n", openMedian / bench::median(awkTimes));
    std::printf("Type-ahead per key (search, select, paint):   median %s, worst %s over %zu keys\n",
                bench::milliseconds(keyMedian).c_str(), bench::milliseconds(keyWorst).c_str(), keyTimes.size());
    std::printf("grep -m1 for the typed start:                %s\n",
                bench::milliseconds(bench::median(grepTimes)).c_str());
    std::printf("ratio key / grep = %.2f (for comparison; the goal is the time)\n", keyMedian / bench::median(grepTimes));
    const bool met = openMedian < kGoalSeconds && keyWorst < kGoalSeconds;
    std::printf("goal: open and every key under %s: %s\n", bench::milliseconds(kGoalSeconds).c_str(),
                met ? "met" : "NOT met");
    return met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return bench::guarded(argc, argv, body);
}
