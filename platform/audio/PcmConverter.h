// Converts a stream of PCM from one layout to another: sample rate
// (band-limited windowed-sinc interpolation), channel count (mono is copied
// to every channel, several channels are averaged to mono, otherwise channel
// c takes input channel c modulo the input count) and sample type.
//
// The devices use it where the sound system will not give or take the exact
// format a recording asked for, so that the recording still has exactly the
// requested format; the virtual input uses it to read any PCM WAV file.
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

enum class SampleKind { UInt8, Int16, Int32, Float32 };

struct PcmLayout {
    int rate = 8000;
    int channels = 1;
    SampleKind kind = SampleKind::Int16;

    int bytesPerSample() const;
    int bytesPerFrame() const { return bytesPerSample() * channels; }
    bool operator==(const PcmLayout& o) const { return rate == o.rate && channels == o.channels && kind == o.kind; }
    bool operator!=(const PcmLayout& o) const { return !(*this == o); }
};

// 8-bit PCM is unsigned, 16-bit signed; other widths have no layout here.
PcmLayout layoutOf(const WAVEFORMATEX& format);

class PcmConverter {
public:
    PcmConverter(const PcmLayout& in, const PcmLayout& out);

    const PcmLayout& input() const { return m_in; }
    const PcmLayout& output() const { return m_out; }
    bool isIdentity() const { return m_in == m_out; }

    // Appends the converted form of size bytes to out. A trailing part frame
    // is kept for the next call. With different rates, output lags input by
    // the filter's half length until flush().
    void convert(const char* data, std::size_t size, std::vector<char>& out);
    // The end of the stream: emits what the filter still holds.
    void flush(std::vector<char>& out);

private:
    void decode(const char* frame, float* samples) const;
    void encodeFrame(const float* samples, std::vector<char>& out) const;
    void mapChannels(const float* in, float* out) const;
    void addFrames(const char* data, std::size_t frames, std::vector<char>& out);
    void produce(std::vector<char>& out, std::uint64_t limit);
    float kernel(double x) const;

    PcmLayout m_in;
    PcmLayout m_out;
    std::vector<char> m_partial;          // bytes of an incomplete input frame

    // Resampling state (unused when the rates match).
    bool m_resample = false;
    double m_cutoff = 1.0;                // relative to the input's Nyquist
    double m_halfWidth = 0;               // in input frames
    std::vector<float> m_table;           // kernel at kTableSteps per frame
    std::vector<float> m_history;         // frames of m_out.channels, interleaved
    std::uint64_t m_historyStart = 0;     // input index of m_history's first frame
    std::uint64_t m_inputFrames = 0;      // input frames seen
    std::uint64_t m_outputFrames = 0;     // output frames made
};
