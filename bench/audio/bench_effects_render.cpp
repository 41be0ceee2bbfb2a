// All eight effects on, a 10-minute recording processed with RenderDSound
// against the sox command line running the nearest chain (tempo, echo,
// chorus, overdrive, flanger, tremolo, equalizer, reverb) on the same file,
// both on one core. Once for an 8 kHz mono recording and once for a
// 44.1 kHz stereo one. Target: navo / sox <= 1.2.
//
//   bench_effects_render [--seconds S] [--repeats K] [--dir FOLDER]
//
// Defaults: 600 seconds, median of 3 runs each, taking turns.
#include "BenchCommon.h"
#include "EffectsBenchInput.h"
#include "maker/Ek7DxSnd/Ek7DxSnd.h"

#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr double kTarget = 1.2;

bool measure(const std::string& folder, int rate, int channels, long seconds, int repeats)
{
    const std::string input = folder + "/in-" + std::to_string(rate) + ".wav";
    const std::string navoOut = folder + "/navo.wav";
    const std::string soxOut = folder + "/sox.wav";
    fxbench::writeSpeechLike(input, rate, channels, static_cast<double>(seconds));

    int effects[8][2];
    fxbench::allEffects(rate, effects);
    if (InitDSound(0, input.c_str(), nullptr, nullptr, nullptr) != kDxOk)
        bench::fail("InitDSound failed on " + input);
    SetEffects(effects, 8);
    const std::string sox = "sox -V1 " + bench::quoted(input) + " " + bench::quoted(soxOut) + " " + fxbench::soxChain();

    std::vector<double> navo;
    std::vector<double> reference;
    for (int i = 0; i < repeats; ++i) {
        int result = kDxOk;
        navo.push_back(bench::secondsOf([&] { result = RenderDSound(navoOut.c_str()); }));
        if (result != kDxOk)
            bench::fail("RenderDSound failed: " + std::to_string(result));
        bool ok = false;
        reference.push_back(bench::secondsOf([&] { ok = bench::run(sox); }));
        if (!ok)
            bench::fail("sox failed: " + sox);
    }
    CleanDSound();

    const double lengthNavo = static_cast<double>(std::filesystem::file_size(navoOut) - 44) / (2.0 * channels * rate);
    const double lengthSox = static_cast<double>(std::filesystem::file_size(soxOut) - 44) / (2.0 * channels * rate);
    std::printf("\n%d Hz, %d channel(s), 16-bit, %ld s (%s); output %.1f s (navo), %.1f s (sox)\n", rate, channels,
                seconds, bench::megabytes(std::filesystem::file_size(input)).c_str(), lengthNavo, lengthSox);
    std::printf("navo  RenderDSound, all eight effects: %s (runs %s)\n", bench::milliseconds(bench::median(navo)).c_str(),
                bench::runsText(navo).c_str());
    std::printf("ref   sox %s: %s (runs %s)\n", fxbench::soxChain().c_str(),
                bench::milliseconds(bench::median(reference)).c_str(), bench::runsText(reference).c_str());
    std::printf("      real time / navo = %.0f times faster than real time\n",
                static_cast<double>(seconds) / bench::median(navo));
    return bench::verdict(bench::median(navo), bench::median(reference), kTarget);
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
