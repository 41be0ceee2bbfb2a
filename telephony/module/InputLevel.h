// The caller's level as navoLineGetLevel reports it: the loudest sample (or
// frame reading) of the last few 20 ms frames, 0-32767 on the 16-bit sample
// scale. Both providers feed one of these on their own thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class RecentPeak {
public:
    // Ten 20 ms frames: a 200 ms window, as long as the answer machine's
    // look between two readings, so no stretch of sound falls between them.
    static constexpr std::size_t kFrames = 10;

    // One frame of samples.
    void addFrame(const std::int16_t* samples, std::size_t count);
    // One frame given as its peak already (clamped to 0-32767).
    void addPeak(int peak);
    // The loudest of the frames kept; 0 before any.
    int peak() const;
    void clear();

private:
    std::array<int, kFrames> m_peaks{};
    std::size_t m_next = 0;
};

// The SIP stack's receive meter (Call::getPlayVolume, documented as dBm0) as
// a peak on the 16-bit scale. Measured over PCMU with sines of peak 12000,
// 3000 and 300: it reads -4.30, -10.35 and -20.31, which is 10*log10 (not
// 20) of the RMS over 0.7 * 32768; digital silence reads -43.6 (RMS 1).
// Undone here so that a sine comes out as its own peak; other sounds come
// out near their peak, which is all a silence test needs. The meter's floor
// (-120) reads 0.
int levelFromMeter(float reading);
