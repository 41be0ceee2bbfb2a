// The sound of a telephone line as Navo handles it: 8000 samples a second,
// 16-bit, one channel. Reading a WAV file brings any PCM WAV (8 or 16 bits,
// one or two channels, any rate) to that form; writing makes the program's
// own WAV layout ("fmt " of 18 bytes, "fact" of 4 bytes holding 0, "data").
//
// Plain C++ without Qt, so that the provider module and navo-line share it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using LineSamples = std::vector<std::int16_t>;

class LineWave {
public:
    static constexpr int kRate = 8000;
    static constexpr int kSamplesPerFrame = 160;  // 20 ms

    // A WAV file (or its bytes) as line samples. False, with a reason, for
    // anything that is not PCM WAV.
    static bool readFile(const std::string& path, LineSamples& samples, std::string* error = nullptr);
    static bool readBytes(const std::string& bytes, LineSamples& samples, std::string* error = nullptr);
    // The file's own rate, channel count and bits, without converting.
    static bool probe(const std::string& path, int& rate, int& channels, int& bits);

    // Writes samples as a WAV file, replacing it. withFact: the program's
    // layout with the "fact" chunk; without: the plain 16-byte "fmt " form.
    static bool writeFile(const std::string& path, const LineSamples& samples, bool withFact = true);

    // Linear-interpolation resampling of one channel; good enough for speech
    // on a telephone line.
    static LineSamples resample(const LineSamples& in, int fromRate, int toRate);
};
