// Time from PlayDSound to the first block reaching the virtual output (its
// WAV file growing past the header), at real-time pace, with all eight
// effects on and with all off, on a 10-minute 8 kHz recording. Reference:
// the time from starting sox with the nearest effects chain on the same
// file to its first bytes on a pipe (a process start included, so it is a
// yardstick rather than a like-for-like figure). Goal: navo under 100 ms.
//
//   bench_effects_first_sound [--seconds S] [--trials N] [--dir FOLDER]
//
// Defaults: a 600-second recording, 20 trials each, medians and maxima.
#include "BenchCommon.h"
#include "EffectsBenchInput.h"
#include "maker/Ek7DxSnd/Ek7DxSnd.h"

#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr double kGoalSeconds = 0.100;

double navoFirstSound(const std::string& input, const std::string& heard, const int effects[8][2])
{
    if (InitDSound(0, input.c_str(), nullptr, nullptr, nullptr) != kDxOk)
        bench::fail("InitDSound failed on " + input);
    const auto start = std::chrono::steady_clock::now();
    const auto deadline = start + std::chrono::seconds(5);
    if (PlayDSound(0, effects, 8) != kDxOk)
        bench::fail("PlayDSound failed");
    std::error_code error;
    while (std::filesystem::file_size(heard, error) <= 44) {
        if (std::chrono::steady_clock::now() > deadline)
            bench::fail("no sound reached the virtual output within 5 s");
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    StopDSound();
    CleanDSound();
    return seconds;
}

double soxFirstBytes(const std::string& input)
{
    QProcess sox;
    QStringList args = {QString::fromStdString(input), "-t", "raw", "-"};
    args += QString::fromStdString(fxbench::soxChain()).split(' ');
    const auto start = std::chrono::steady_clock::now();
    sox.start("sox", args);
    if (!sox.waitForReadyRead(5000))
        bench::fail("sox gave no output");
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    sox.kill();
    sox.waitForFinished();
    return seconds;
}

void print(const char* who, const std::vector<double>& runs)
{
    std::printf("%s median %s, max %s (runs %s)\n", who, bench::milliseconds(bench::median(runs)).c_str(),
                bench::milliseconds(*std::max_element(runs.begin(), runs.end())).c_str(),
                bench::runsText(runs).c_str());
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("bench_effects_first_sound [--seconds S] [--trials N] [--dir FOLDER]\n");
        return 0;
    }
    const long seconds = static_cast<long>(bench::option(argc, argv, "seconds", 600));
    const int trials = static_cast<int>(bench::option(argc, argv, "trials", 20));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();
    const std::string input = folder + "/in.wav";
    const std::string heard = folder + "/heard.wav";
    fxbench::writeSpeechLike(input, 8000, 1, static_cast<double>(seconds));
    ::setenv("NAVO_AUDIO", "virtual", 1);
    ::setenv("NAVO_AUDIO_OUTPUT", heard.c_str(), 1);
    ::setenv("NAVO_AUDIO_PACE", "realtime", 1);

    int all[8][2];
    fxbench::allEffects(8000, all);
    int none[8][2] = {{0, 8000}};
    std::vector<double> withAll, withNone, sox;
    for (int i = 0; i < trials; ++i) {
        withAll.push_back(navoFirstSound(input, heard, all));
        withNone.push_back(navoFirstSound(input, heard, none));
        sox.push_back(soxFirstBytes(input));
    }
    std::printf("bench_effects_first_sound: PlayDSound to the first block in the virtual output, %ld s 8 kHz "
                "recording, %d trials\n", seconds, trials);
    print("navo  all eight effects:", withAll);
    print("navo  effects off:      ", withNone);
    print("ref   sox first bytes:  ", sox);
    const double worst = *std::max_element(withAll.begin(), withAll.end());
    std::printf("goal: navo under %s: %s (worst run %s)\n", bench::milliseconds(kGoalSeconds).c_str(),
                worst < kGoalSeconds ? "met" : "NOT met", bench::milliseconds(worst).c_str());
    std::printf("ratio = navo / sox = %.3f (a yardstick only: sox's figure includes starting a process)\n",
                bench::median(withAll) / bench::median(sox));
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
