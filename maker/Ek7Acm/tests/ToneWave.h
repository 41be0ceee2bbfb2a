// Tone waves written and measured here byte by byte, independently of the
// code under test, for the Ek7Acm and Ek7Audio tests.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace tone {

struct Format {
    int rate;
    int channels;
    int bits;
};

// The four recording qualities, in order.
inline const Format kQualities[4] = {{8000, 1, 16}, {8000, 2, 16}, {22050, 1, 8}, {44100, 2, 16}};

inline void put(std::string& s, std::uint32_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        s += static_cast<char>((v >> (8 * i)) & 0xFF);
}

// A sine of freq Hz and amplitude amp (0..1) for ms milliseconds, the same in
// every channel.
inline void write(const std::string& path, const Format& f, double freq, long ms, double amp = 0.5)
{
    const long frames = ms * f.rate / 1000;
    const int bytes = f.bits / 8;
    std::string data;
    for (long i = 0; i < frames; ++i) {
        const double x = amp * std::sin(2 * M_PI * freq * static_cast<double>(i) / f.rate);
        for (int c = 0; c < f.channels; ++c) {
            if (bytes == 1)
                data += static_cast<char>(static_cast<unsigned char>(std::lround(x * 127) + 128));
            else
                put(data, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(x * 32767))), 2);
        }
    }
    std::string w = "RIFF";
    put(w, static_cast<std::uint32_t>(36 + data.size()), 4);
    w += "WAVEfmt ";
    put(w, 16, 4);
    put(w, 1, 2);
    put(w, static_cast<std::uint32_t>(f.channels), 2);
    put(w, static_cast<std::uint32_t>(f.rate), 4);
    put(w, static_cast<std::uint32_t>(f.rate * f.channels * bytes), 4);
    put(w, static_cast<std::uint32_t>(f.channels * bytes), 2);
    put(w, static_cast<std::uint32_t>(f.bits), 2);
    w += "data";
    put(w, static_cast<std::uint32_t>(data.size()), 4);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << w << data;
}

inline std::string readAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::uint32_t get(const std::string& s, std::size_t at, int bytes)
{
    std::uint32_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v |= static_cast<std::uint32_t>(static_cast<unsigned char>(s[at + static_cast<std::size_t>(i)])) << (8 * i);
    return v;
}

// One channel of raw PCM as samples in -1..1.
inline std::vector<double> channel(const std::string& pcm, const Format& f, int which)
{
    const int bytes = f.bits / 8;
    const std::size_t frame = static_cast<std::size_t>(bytes * f.channels);
    std::vector<double> x;
    for (std::size_t at = 0; at + frame <= pcm.size(); at += frame) {
        const std::size_t p = at + static_cast<std::size_t>(which * bytes);
        if (bytes == 1)
            x.push_back((static_cast<unsigned char>(pcm[p]) - 128) / 128.0);
        else
            x.push_back(static_cast<std::int16_t>(get(pcm, p, 2)) / 32768.0);
    }
    return x;
}

struct Wave {
    Format format{0, 0, 0};
    std::string pcm;
    bool ok = false;
};

// A canonical wave file: its "fmt " fields and its "data" bytes.
inline Wave parse(const std::string& file)
{
    Wave w;
    if (file.size() < 12 || file.compare(0, 4, "RIFF") != 0 || file.compare(8, 4, "WAVE") != 0)
        return w;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::string id = file.substr(at, 4);
        const std::uint32_t size = get(file, at + 4, 4);
        if (id == "fmt ") {
            w.format = {static_cast<int>(get(file, at + 12, 4)), static_cast<int>(get(file, at + 10, 2)),
                        static_cast<int>(get(file, at + 22, 2))};
        } else if (id == "data") {
            w.pcm = file.substr(at + 8, size);
            w.ok = w.format.rate > 0;
            return w;
        }
        at += 8 + size + (size & 1);
    }
    return w;
}

// The strongest frequency between lo and hi Hz, in steps of 1 Hz (Goertzel).
inline double peakFrequency(const std::vector<double>& x, int rate, double lo, double hi)
{
    double best = lo, bestPower = -1;
    for (double f = lo; f <= hi; f += 1.0) {
        const double k = 2 * std::cos(2 * M_PI * f / rate);
        double s1 = 0, s2 = 0;
        for (double v : x) {
            const double s = v + k * s1 - s2;
            s2 = s1;
            s1 = s;
        }
        const double power = s1 * s1 + s2 * s2 - k * s1 * s2;
        if (power > bestPower) {
            bestPower = power;
            best = f;
        }
    }
    return best;
}

inline double rms(const std::vector<double>& x)
{
    double sum = 0;
    for (double v : x)
        sum += v * v;
    return x.empty() ? 0 : std::sqrt(sum / static_cast<double>(x.size()));
}

inline std::vector<double> slice(const std::vector<double>& x, std::size_t from, std::size_t to)
{
    return std::vector<double>(x.begin() + static_cast<long>(from), x.begin() + static_cast<long>(to));
}

}  // namespace tone
