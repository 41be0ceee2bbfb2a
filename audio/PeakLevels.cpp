#include "audio/PeakLevels.h"

#include "audio/RecordingFlags.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

PeakLevels measurePeakLevels(const char* data, std::size_t bytes, const WAVEFORMATEX& format)
{
    PeakLevels levels;
    const std::size_t block = format.nBlockAlign;
    const int channels = format.nChannels;
    if (data == nullptr || block == 0 || channels < 1)
        return levels;
    const bool eightBit = format.wBitsPerSample == 8;
    const std::size_t sampleBytes = eightBit ? 1 : 2;
    int peak[2] = {0, 0};
    const auto* p = reinterpret_cast<const unsigned char*>(data);
    for (std::size_t frame = 0; frame + block <= bytes; frame += block) {
        for (int c = 0; c < std::min(channels, 2); ++c) {
            const unsigned char* s = p + frame + static_cast<std::size_t>(c) * sampleBytes;
            int magnitude;
            if (eightBit) {
                magnitude = std::abs(static_cast<int>(s[0]) - 128) * 256;
            } else {
                const auto value = static_cast<std::int16_t>(static_cast<std::uint16_t>(s[0] | (s[1] << 8)));
                magnitude = std::abs(static_cast<int>(value));
            }
            peak[c] = std::max(peak[c], magnitude);
        }
    }
    // -32768 would reach 100: the scale stops at 99.
    levels.left = std::min(peak[0] * 100 / 32768, 99);
    levels.right = channels >= 2 ? std::min(peak[1] * 100 / 32768, 99) : levels.left;
    return levels;
}

void updateLevelMeter(RecordingFlags& flags, const char* data, std::size_t bytes, const WAVEFORMATEX& format)
{
    if (flags.LevelMeterOn != 1 || flags.Paused != 0)
        return;
    const PeakLevels levels = measurePeakLevels(data, bytes, format);
    flags.LeftLevel = levels.left;
    flags.RightLevel = levels.right;
    flags.LevelUpdated = 1;
}
