// All eight effects on, a 10-minute recording processed with RenderDSound
// against the sox command line running the nearest chain (tempo, echo,
// chorus, overdrive, flanger, tremolo, equalizer, reverb) on the same file,
// both on one core. Once for an 8 kHz mono recording and once for a
// 44.1 kHz stereo one. Target: navo / sox <= 1.2. The speed stage alone
// against sox's tempo is printed too, as the like-for-like part: the other
// effects are our own and sox's are not the same algorithms.
//
//   bench_effects_render [--seconds S] [--repeats K] [--dir FOLDER]
//
// Defaults: 600 seconds, median of 3 runs each, taking turns.
#include "BenchCommon.h"
#include "EffectsBenchInput.h"
#include "maker/Ek7DxSnd/Ek7DxSnd.h"

#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr double kTarget = 1.2;

struct Times {
    std::vector<double> navo;
    std::vector<double> sox;
};

// RenderDSound with effects against sox with chain, taking turns.
Times race(const std::string& input, int rate, int channels, const std::string& folder, const int effects[8][2],
           const std::string& chain, int repeats)
{
    const std::string navoOut = folder + "/navo.wav";
    const std::string soxOut = folder + "/sox.wav";
    if (InitDSound(0, input.c_str(), nullptr, nullptr, nullptr) != kDxOk)
        bench::fail("InitDSound failed on " + input);
    SetEffects(effects, 8);
    const std::string sox = "sox -V1 " + bench::quoted(input) + " " + bench::quoted(soxOut) + " " + chain;
    Times times;
    for (int i = 0; i < repeats; ++i) {
        int result = kDxOk;
        times.navo.push_back(bench::secondsOf([&] { result = RenderDSound(navoOut.c_str()); }));
        if (result != kDxOk)
            bench::fail("RenderDSound failed: " + std::to_string(result));
        bool ok = false;
        times.sox.push_back(bench::secondsOf([&] { ok = bench::run(sox); }));
        if (!ok)
            bench::fail("sox failed: " + sox);
    }
    CleanDSound();
    // Both must have made the same length of sound, a quarter shorter than
    // the input (sox adds up to a few tenths of a second of tail).
    const double navoSeconds = static_cast<double>(std::filesystem::file_size(navoOut) - 44) / (rate * 2.0 * channels);
    const double soxSeconds = static_cast<double>(std::filesystem::file_size(soxOut) - 44) / (rate * 2.0 * channels);
    std::printf("      output: navo %.2f s, sox %.2f s\n", navoSeconds, soxSeconds);
    if (std::abs(navoSeconds - soxSeconds) > 0.01 * soxSeconds + 1.0)
        bench::fail("navo and sox made different lengths of sound");
    return times;
}

bool measure(const std::string& folder, int rate, int channels, long seconds, int repeats)
{
    const std::string input = folder + "/in-" + std::to_string(rate) + ".wav";
    fxbench::writeSpeechLike(input, rate, channels, static_cast<double>(seconds));
    std::printf("\n%d Hz, %d channel(s), 16-bit, %ld s (%s), played at 1.25 times\n", rate, channels, seconds,
                bench::megabytes(std::filesystem::file_size(input)).c_str());

    // The speed stage alone first: the library against sox's tempo, like for like.
    int speedOnly[8][2] = {{1, rate * 5 / 4}};
    const Times speed = race(input, rate, channels, folder, speedOnly, "tempo -s 1.25", repeats);
    std::printf("navo  RenderDSound, speed only: %s (runs %s)\n", bench::milliseconds(bench::median(speed.navo)).c_str(),
                bench::runsText(speed.navo).c_str());
    std::printf("ref   sox tempo -s 1.25: %s (runs %s)\n", bench::milliseconds(bench::median(speed.sox)).c_str(),
                bench::runsText(speed.sox).c_str());
    std::printf("      speed only: navo / sox = %.3f\n", bench::median(speed.navo) / bench::median(speed.sox));

    int effects[8][2];
    fxbench::allEffects(rate, effects);
    const Times all = race(input, rate, channels, folder, effects, fxbench::soxChain(), repeats);
    std::printf("navo  RenderDSound, all eight effects: %s (runs %s)\n", bench::milliseconds(bench::median(all.navo)).c_str(),
                bench::runsText(all.navo).c_str());
    std::printf("ref   sox %s: %s (runs %s)\n", fxbench::soxChain().c_str(),
                bench::milliseconds(bench::median(all.sox)).c_str(), bench::runsText(all.sox).c_str());
    std::printf("      real time / navo = %.0f times faster than real time\n",
                static_cast<double>(seconds) / bench::median(all.navo));
    return bench::verdict(bench::median(all.navo), bench::median(all.sox), kTarget);
}

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("bench_effects_render [--seconds S] [--repeats K] [--dir FOLDER]\n");
        return 0;
    }
    const long seconds = static_cast<long>(bench::option(argc, argv, "seconds", 600));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 3));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());
    // Rendering needs an open output, which may go nowhere.
    ::setenv("NAVO_AUDIO", "virtual", 1);
    ::setenv("NAVO_AUDIO_OUTPUT", "", 1);
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    std::printf("bench_effects_render: RenderDSound with all eight effects against sox's nearest chain\n");
    const bool narrow = measure(root.path().toStdString(), 8000, 1, seconds, repeats);
    const bool wide = measure(root.path().toStdString(), 44100, 2, seconds, repeats);
    return narrow && wide ? 0 : 2;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
