#include "telephony/module/InputLevel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr int kFullScale = 32767;
constexpr double kMeterReference = 0.7 * 32768;  // RMS that reads 0
constexpr float kMeterFloor = -120.0f;           // the meter's "nothing at all"

}  // namespace

void RecentPeak::addFrame(const std::int16_t* samples, std::size_t count)
{
    int peak = 0;
    for (std::size_t i = 0; i < count; ++i)
        peak = std::max(peak, std::abs(static_cast<int>(samples[i])));  // -32768 gives 32768: clamped below
    addPeak(peak);
}

void RecentPeak::addPeak(int peak)
{
    m_peaks[m_next] = std::clamp(peak, 0, kFullScale);
    m_next = (m_next + 1) % kFrames;
}

int RecentPeak::peak() const
{
    return *std::max_element(m_peaks.begin(), m_peaks.end());
}

void RecentPeak::clear()
{
    m_peaks.fill(0);
    m_next = 0;
}

int levelFromMeter(float reading)
{
    if (!(reading > kMeterFloor))  // NaN too
        return 0;
    const double rms = kMeterReference * std::pow(10.0, reading / 10.0);
    const double peak = rms * std::sqrt(2.0);
    return static_cast<int>(std::lround(std::min(peak, static_cast<double>(kFullScale))));
}
