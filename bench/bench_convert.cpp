// The format converters against the reference encoders: WavToMp3, WavToOgg
// and WavToWma on a 10-minute recording of speech-like noise against
// `lame`, `oggenc` and `ffmpeg` with the same settings (the same constant
// bit rate for MP3 and WMA, the same quality for Vorbis), on the same file
// in the same run. Each format prints both times, both sizes and its ratio;
// target: at most 1.05 each.
//
//   bench_convert [--seconds S] [--repeats R] [--quality Q] [--dir FOLDER]
//   Q is the recording quality (0 the telephone's 8 kHz mono, the default,
//   to 3 CD quality, 44.1 kHz stereo).
#include <QTemporaryDir>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchCommon.h"
#include "NoiseRecording.h"
#include "maker/Ek7Acm/Ek7Acm.h"
#include "maker/Ek7Conv/Ek7Mp3Conv.h"
#include "maker/Ek7Conv/Ek7OggConv.h"
#include "maker/Ek7Conv/Ek7WmaConv.h"

namespace fs = std::filesystem;

namespace {

constexpr double kTarget = 1.05;

struct Case {
    const char* name;
    int (*convert)(HWND, const char*, const char*);
    std::string reference;  // the command line, with the settings the converter uses
    std::string extension;
};

int benchmark(int argc, char** argv)
{
    if (bench::flag(argc, argv, "help")) {
        std::printf("usage: bench_convert [--seconds S] [--repeats R] [--quality Q] [--dir FOLDER]\n");
        return 0;
    }
    const auto seconds = static_cast<unsigned>(bench::option(argc, argv, "seconds", 600));
    const int repeats = static_cast<int>(bench::option(argc, argv, "repeats", 3));
    const int quality = static_cast<int>(bench::option(argc, argv, "quality", 0) % 4);
    const std::string dir = bench::textOption(argc, argv, "dir", "");
    if (!dir.empty())
        qputenv("TMPDIR", dir.c_str());
    QTemporaryDir root;
    if (!root.isValid())
        bench::fail("cannot make a temporary folder");
    const std::string folder = root.path().toStdString();
    const std::string speech = folder + "/speech.wav";
    NoiseRecording recording(seconds, 7);
    if (!recording.writeWave(speech))
        bench::fail("cannot write the recording");
    const std::string wave = folder + "/recording.wav";
    if (Ek7AcmConvert(0, speech.c_str(), wave.c_str(), quality) != 0)
        bench::fail("cannot convert the recording to quality " + std::to_string(quality));
    static const int kRates[4] = {8000, 8000, 22050, 44100};
    static const int kChannels[4] = {1, 2, 1, 2};
    const int rate = kRates[quality];
    const int channels = kChannels[quality];
    std::printf("bench_convert: %u s at %d Hz, %d channel(s) (%s), %d runs each\n", seconds, rate, channels,
                bench::megabytes(fs::file_size(wave)).c_str(), repeats);

    const std::string in = bench::quoted(wave);
    const int mp3Kbps = Ek7ConvMp3Kbps(rate, channels);
    const int wmaKbps = Ek7ConvWmaKbps(rate, channels);
    const float oggQuality = Ek7OggConvInit()->quality;
    char oggQ[16];
    std::snprintf(oggQ, sizeof oggQ, "%g", static_cast<double>(oggQuality));
    const std::vector<Case> cases = {
        {"MP3", WavToMp3,
         "lame --quiet --cbr -b " + std::to_string(mp3Kbps) + " -q 3 " + in + " " + bench::quoted(folder + "/ref.mp3"),
         "mp3"},
        {"OGG", WavToOgg, "oggenc --quiet -q " + std::string(oggQ) + " -o " + bench::quoted(folder + "/ref.ogg") + " " + in,
         "ogg"},
        {"WMA", WavToWma,
         "ffmpeg -nostdin -v error -y -i " + in + " -c:a wmav2 -b:a " + std::to_string(wmaKbps) + "k " +
             bench::quoted(folder + "/ref.wma"),
         "wma"},
    };
    bool allMet = true;
    for (const Case& c : cases) {
        const std::string navoOut = folder + "/navo." + c.extension;
        std::vector<double> navoRuns;
        std::vector<double> refRuns;
        for (int run = 0; run < repeats; ++run) {
            navoRuns.push_back(bench::secondsOf([&] {
                if (c.convert(0, wave.c_str(), navoOut.c_str()) != 0)
                    bench::fail(std::string(c.name) + " conversion failed");
            }));
            refRuns.push_back(bench::secondsOf([&] {
                if (!bench::run(c.reference))
                    bench::fail("the reference failed: " + c.reference);
            }));
        }
        const auto navoSize = static_cast<unsigned long long>(fs::file_size(navoOut));
        const auto refSize = static_cast<unsigned long long>(fs::file_size(folder + "/ref." + c.extension));
        std::printf("%s: %s\n", c.name, c.reference.c_str());
        std::printf("  navo        %s   (runs: %s)   %llu bytes\n", bench::milliseconds(bench::median(navoRuns)).c_str(),
                    bench::runsText(navoRuns).c_str(), navoSize);
        std::printf("  reference   %s   (runs: %s)   %llu bytes\n", bench::milliseconds(bench::median(refRuns)).c_str(),
                    bench::runsText(refRuns).c_str(), refSize);
        allMet = bench::verdict(bench::median(navoRuns), bench::median(refRuns), kTarget) && allMet;
    }
    return allMet ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::guarded(argc, argv, benchmark);
}
