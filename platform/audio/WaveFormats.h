// The recording formats by quality number, and WAVEFORMATEX in its file form.
//
//   quality  channels  rate   bits
//      0        1      8000    16
//      1        2      8000    16
//      2        1     22050     8   (unsigned samples, as every 8-bit PCM)
//      3        2     44100    16
//   anything else behaves as 0.
//
// All are PCM with block align = bits x channels / 8, average bytes per
// second = block align x rate, and no extra bytes.
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstddef>

WAVEFORMATEX waveFormatForQuality(int quality);

// PCM with 1 to 8 channels, 8 or 16 bits, 1000 to 192000 samples a second,
// and block align and byte rate that agree with them: what the devices and
// the media-control device accept.
bool isSupportedPcm(const WAVEFORMATEX& format);

// Little-endian, the 16 bytes of the PCM fields followed by cbSize
// (out must hold kWaveFormatExFileSize bytes).
void writeWaveFormatEx(const WAVEFORMATEX& format, unsigned char* out);

// Reads a "fmt " chunk of size bytes: at least the 16 bytes of the PCM
// fields; cbSize is read when present, else 0. False when size < 16.
bool readWaveFormatEx(const unsigned char* data, std::size_t size, WAVEFORMATEX& format);

bool operator==(const WAVEFORMATEX& a, const WAVEFORMATEX& b);
inline bool operator!=(const WAVEFORMATEX& a, const WAVEFORMATEX& b) { return !(a == b); }
