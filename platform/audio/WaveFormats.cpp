#include "platform/audio/WaveFormats.h"

namespace {

WAVEFORMATEX pcm(WORD channels, DWORD rate, WORD bits)
{
    WAVEFORMATEX f;
    f.wFormatTag = WAVE_FORMAT_PCM;
    f.nChannels = channels;
    f.nSamplesPerSec = rate;
    f.wBitsPerSample = bits;
    f.nBlockAlign = static_cast<WORD>(bits * channels / 8);
    f.nAvgBytesPerSec = f.nBlockAlign * rate;
    f.cbSize = 0;
    return f;
}

void put16(unsigned char* p, unsigned v)
{
    p[0] = static_cast<unsigned char>(v & 0xFF);
    p[1] = static_cast<unsigned char>((v >> 8) & 0xFF);
}

void put32(unsigned char* p, DWORD v)
{
    put16(p, v & 0xFFFF);
    put16(p + 2, v >> 16);
}

WORD get16(const unsigned char* p) { return static_cast<WORD>(p[0] | (p[1] << 8)); }
DWORD get32(const unsigned char* p) { return get16(p) | (static_cast<DWORD>(get16(p + 2)) << 16); }

}  // namespace

WAVEFORMATEX waveFormatForQuality(int quality)
{
    switch (quality) {
    case 1: return pcm(2, 8000, 16);
    case 2: return pcm(1, 22050, 8);
    case 3: return pcm(2, 44100, 16);
    default: return pcm(1, 8000, 16);
    }
}

bool isSupportedPcm(const WAVEFORMATEX& f)
{
    if (f.wFormatTag != WAVE_FORMAT_PCM)
        return false;
    if (f.nChannels < 1 || f.nChannels > 8)
        return false;
    if (f.wBitsPerSample != 8 && f.wBitsPerSample != 16)
        return false;
    if (f.nSamplesPerSec < 1000 || f.nSamplesPerSec > 192000)
        return false;
    return f.nBlockAlign == f.wBitsPerSample * f.nChannels / 8
        && f.nAvgBytesPerSec == static_cast<DWORD>(f.nBlockAlign) * f.nSamplesPerSec;
}

void writeWaveFormatEx(const WAVEFORMATEX& f, unsigned char* out)
{
    put16(out, f.wFormatTag);
    put16(out + 2, f.nChannels);
    put32(out + 4, f.nSamplesPerSec);
    put32(out + 8, f.nAvgBytesPerSec);
    put16(out + 12, f.nBlockAlign);
    put16(out + 14, f.wBitsPerSample);
    put16(out + 16, f.cbSize);
}

bool readWaveFormatEx(const unsigned char* d, std::size_t size, WAVEFORMATEX& f)
{
    if (size < 16)
        return false;
    f.wFormatTag = get16(d);
    f.nChannels = get16(d + 2);
    f.nSamplesPerSec = get32(d + 4);
    f.nAvgBytesPerSec = get32(d + 8);
    f.nBlockAlign = get16(d + 12);
    f.wBitsPerSample = get16(d + 14);
    f.cbSize = size >= 18 ? get16(d + 16) : 0;
    return true;
}

bool operator==(const WAVEFORMATEX& a, const WAVEFORMATEX& b)
{
    return a.wFormatTag == b.wFormatTag && a.nChannels == b.nChannels
        && a.nSamplesPerSec == b.nSamplesPerSec && a.nAvgBytesPerSec == b.nAvgBytesPerSec
        && a.nBlockAlign == b.nBlockAlign && a.wBitsPerSample == b.wBitsPerSample
        && a.cbSize == b.cbSize;
}
