#include "EffectsBenchInput.h"

#include "BenchCommon.h"
#include "platform/audio/WavFileWriter.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace fxbench {

void writeSpeechLike(const std::string& path, int rate, int channels, double seconds)
{
    WAVEFORMATEX format;
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = static_cast<WORD>(channels);
    format.nSamplesPerSec = static_cast<DWORD>(rate);
    format.wBitsPerSample = 16;
    format.nBlockAlign = static_cast<WORD>(2 * channels);
    format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
    WavFileWriter writer;
    if (!writer.create(path, format))
        bench::fail("cannot create " + path);
    const double pi = 3.14159265358979323846;
    const auto frames = static_cast<std::uint64_t>(seconds * rate);
    std::uint32_t noise = 12345;
    double phase = 0;
    std::vector<char> chunk;
    for (std::uint64_t n = 0; n < frames; ++n) {
        const double t = static_cast<double>(n) / rate;
        const double pitch = 140 + 40 * std::sin(2 * pi * 0.3 * t);
        phase += pitch / rate;
        phase -= std::floor(phase);
        const double syllable = std::max(0.0, std::sin(2 * pi * 4 * t));
        noise = noise * 1664525u + 1013904223u;
        const double hiss = (static_cast<double>(noise >> 8) / 16777216.0 - 0.5) * 0.02;
        const double v = 0.3 * syllable * (2 * phase - 1) + hiss;
        const auto s = static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32767)));
        for (int c = 0; c < channels; ++c) {
            chunk.push_back(static_cast<char>(s & 0xFF));
            chunk.push_back(static_cast<char>(s >> 8));
        }
        if (chunk.size() >= (1u << 20)) {
            if (!writer.write(chunk.data(), chunk.size()))
                bench::fail("cannot write " + path);
            chunk.clear();
        }
    }
    if (!writer.write(chunk.data(), chunk.size()) || !writer.finish())
        bench::fail("cannot write " + path);
}

void allEffects(int rate, int effects[8][2])
{
    const int values[8] = {rate * 5 / 4, 24, 45, 30, 50, 19, 70, 50};
    for (int i = 0; i < 8; ++i) {
        effects[i][0] = 1;
        effects[i][1] = values[i];
    }
}

std::string soxChain()
{
    // tempo: the same 1.25 for speech; echo: one 250 ms echo at half level;
    // chorus: one voice at 20 ms, 1.5 Hz, 2.75 ms deep; overdrive 12 dB;
    // flanger swept 2.1 ms at 0.25 Hz with 50 % regeneration; tremolo at
    // 20 Hz full depth; a 1 kHz one-octave peak of +6 dB; reverb at 50 %.
    return "tempo -s 1.25 echo 1 1 250 0.5 chorus 0.6 0.9 20 0.4 1.5 2.75 -s overdrive 12 "
           "flanger 0.5 2.1 50 50 0.25 sine tremolo 20 100 equalizer 1000 1o 6 reverb 50";
}

}  // namespace fxbench
