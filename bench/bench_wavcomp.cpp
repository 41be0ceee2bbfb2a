// The recording compressor against the reference Opus encoder: Ek7WavComp on
// a 10-minute 8 kHz 16-bit mono recording of speech-like noise against
// `opusenc --bitrate 16 --speech` on the same file in the same run, both
// timed and both files' sizes printed. Target: time at most 1.05 times
// opusenc's, size within 5% of it.
//
//   bench_wavcomp [--seconds S] [--repeats R] [--dir FOLDER]
#include <QTemporaryDir>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "NoiseRecording.h"
#include "maker/Ek7WavComp/Ek7WavComp.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 1.05;

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_wavcomp [--seconds S] [--repeats R] [--dir FOLDER]\n");
        return 0;
    }
    const auto seconds = static_cast<unsigned>(bench::option(argc, argv, "seconds", 600));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 3));
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();
    const std::string wave = folder + "/speech.wav";
    NoiseRecording recording(seconds, 7);
    if (!recording.writeWave(wave))
        bench::fail("cannot write the recording");
    std::printf("bench_wavcomp: %u s of 8 kHz 16-bit mono (%s), %d runs each\n", seconds,
                bench::megabytes(recording.waveBytes()).c_str(), repeats);

    const std::string navoOut = folder + "/navo.opus";
    const std::string refOut = folder + "/ref.opus";
    const std::string command = "opusenc --quiet --bitrate " + std::to_string(kEk7WavCompBitsPerChannel / 1000) +
                                " --speech " + bench::quoted(wave) + " " + bench::quoted(refOut);
    std::vector<double> navoRuns;
    std::vector<double> refRuns;
    for (int run = 0; run < repeats; ++run) {
        navoRuns.push_back(bench::secondsOf([&] {
            if (Ek7WavComp(0, wave.c_str(), navoOut.c_str()) != kEk7WavCompFinished)
                bench::fail("Ek7WavComp failed");
        }));
        refRuns.push_back(bench::secondsOf([&] {
            if (!bench::run(command))
                bench::fail("the reference failed: " + command);
        }));
    }
    const auto navoSize = static_cast<std::uint64_t>(fs::file_size(navoOut));
    const auto refSize = static_cast<std::uint64_t>(fs::file_size(refOut));
    std::printf("  navo      %s   (runs: %s)   %llu bytes\n", bench::milliseconds(bench::median(navoRuns)).c_str(),
                bench::runsText(navoRuns).c_str(), static_cast<unsigned long long>(navoSize));
    std::printf("  opusenc   %s   (runs: %s)   %llu bytes\n", bench::milliseconds(bench::median(refRuns)).c_str(),
                bench::runsText(refRuns).c_str(), static_cast<unsigned long long>(refSize));
    std::printf("size ratio = navo / opusenc = %.3f\n", static_cast<double>(navoSize) / static_cast<double>(refSize));
    return bench::verdict(bench::median(navoRuns), bench::median(refRuns), kTarget) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
