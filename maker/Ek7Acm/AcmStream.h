// A stream of PCM converted from one layout to another, piece by piece:
// decode to float, mix the channels down (average) when there are fewer out
// than in, resample with libsoxr, copy mono to every channel when there are
// more, encode with rounding and clipping. Ek7AcmConvert and Ek7Audio's
// build of extracts use it; both need it only where formats differ.
#pragma once

#include "platform/audio/PcmConverter.h"

#include <cstddef>
#include <vector>

struct soxr;

class AcmStream {
public:
    AcmStream(const PcmLayout& in, const PcmLayout& out);
    ~AcmStream();
    AcmStream(const AcmStream&) = delete;
    AcmStream& operator=(const AcmStream&) = delete;

    // False when the resampler could not be made (then nothing converts).
    bool ok() const { return m_ok; }
    // Appends the converted form of size bytes (whole frames are used; a
    // trailing part frame is kept for the next call) to out.
    bool convert(const char* data, std::size_t size, std::vector<char>& out);
    // The end of the stream: what the resampler still holds.
    bool flush(std::vector<char>& out);

private:
    bool resample(const float* frames, std::size_t count, std::vector<char>& out);
    void encode(const float* frames, std::size_t count, std::vector<char>& out) const;

    PcmLayout m_in;
    PcmLayout m_out;
    int m_mixChannels;            // channels through the resampler
    soxr* m_soxr = nullptr;
    bool m_ok = true;
    std::vector<char> m_partial;
    std::vector<float> m_mixed;
    std::vector<float> m_resampled;
};
