#include "NoiseRecording.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <random>

#include "BenchCommon.h"

namespace {

void put16(std::string& s, std::uint16_t v)
{
    s += static_cast<char>(v & 0xFF);
    s += static_cast<char>(v >> 8);
}

void put32(std::string& s, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        s += static_cast<char>((v >> (8 * i)) & 0xFF);
}

}  // namespace

NoiseRecording::NoiseRecording(unsigned seconds, std::uint32_t seed) : m_samples(seconds * 8000u)
{
    m_wave = "RIFF";
    put32(m_wave, 36 + m_samples * 2);
    m_wave += "WAVEfmt ";
    put32(m_wave, 16);
    put16(m_wave, 1);      // PCM
    put16(m_wave, 1);      // mono
    put32(m_wave, 8000);
    put32(m_wave, 16000);
    put16(m_wave, 2);
    put16(m_wave, 16);
    m_wave += "data";
    put32(m_wave, m_samples * 2);
    m_wave.reserve(m_wave.size() + m_samples * 2);

    std::mt19937 random(seed);
    std::normal_distribution<double> noise(0.0, 1.0);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    double filtered = 0.0;
    double level = 0.0;
    double target = 0.0;
    std::uint32_t untilChange = 0;
    for (std::uint32_t i = 0; i < m_samples; ++i) {
        // A new syllable (or pause) every 80 to 330 ms.
        if (untilChange == 0) {
            untilChange = 640 + static_cast<std::uint32_t>(uniform(random) * 2000);
            target = uniform(random) < 0.25 ? 0.02 : 0.2 + 0.8 * uniform(random);
        }
        --untilChange;
        level += (target - level) * 0.002;
        filtered += (noise(random) - filtered) * 0.35;  // voice-band low-pass
        const double value = std::clamp(filtered * level * 9000.0, -32768.0, 32767.0);
        put16(m_wave, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(value))));
    }
}

bool NoiseRecording::writeWave(const std::string& path)
{
    bool ok = false;
    m_lastWrite = bench::secondsOf([&] {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(m_wave.data(), static_cast<std::streamsize>(m_wave.size()));
        ok = static_cast<bool>(out.flush());
    });
    return ok;
}
