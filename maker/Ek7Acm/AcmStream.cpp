#include "maker/Ek7Acm/AcmStream.h"

#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

float decodeSample(const char* p, SampleKind kind)
{
    switch (kind) {
    case SampleKind::UInt8:
        return (static_cast<float>(static_cast<unsigned char>(*p)) - 128.0f) / 128.0f;
    case SampleKind::Int16: {
        std::int16_t v;
        std::memcpy(&v, p, 2);
        return static_cast<float>(v) / 32768.0f;
    }
    case SampleKind::Int32: {
        std::int32_t v;
        std::memcpy(&v, p, 4);
        return static_cast<float>(static_cast<double>(v) / 2147483648.0);
    }
    case SampleKind::Float32: {
        float v;
        std::memcpy(&v, p, 4);
        return v;
    }
    }
    return 0.0f;
}

void encodeSample(float x, SampleKind kind, std::vector<char>& out)
{
    switch (kind) {
    case SampleKind::UInt8: {
        const long v = std::clamp(std::lrint(x * 128.0f) + 128, 0L, 255L);
        out.push_back(static_cast<char>(static_cast<unsigned char>(v)));
        break;
    }
    case SampleKind::Int16: {
        const auto v = static_cast<std::int16_t>(std::clamp(std::lrint(x * 32768.0f), -32768L, 32767L));
        const char* b = reinterpret_cast<const char*>(&v);
        out.insert(out.end(), b, b + 2);
        break;
    }
    case SampleKind::Int32: {
        const double scaled = std::clamp(static_cast<double>(x) * 2147483648.0, -2147483648.0, 2147483647.0);
        const auto v = static_cast<std::int32_t>(std::llrint(scaled));
        const char* b = reinterpret_cast<const char*>(&v);
        out.insert(out.end(), b, b + 4);
        break;
    }
    case SampleKind::Float32: {
        const char* b = reinterpret_cast<const char*>(&x);
        out.insert(out.end(), b, b + 4);
        break;
    }
    }
}

}  // namespace

AcmStream::AcmStream(const PcmLayout& in, const PcmLayout& out)
    : m_in(in), m_out(out),
      m_mixChannels(out.channels == 1 || in.channels == 1 ? 1 : out.channels)
{
    if (in.rate != out.rate) {
        soxr_error_t error = nullptr;
        // High quality: speech keeps its clarity through 8 kHz <-> 44.1 kHz.
        const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
        m_soxr = soxr_create(in.rate, out.rate, static_cast<unsigned>(m_mixChannels), &error, &io, &quality, nullptr);
        m_ok = error == nullptr && m_soxr != nullptr;
    }
}

AcmStream::~AcmStream()
{
    if (m_soxr != nullptr)
        soxr_delete(m_soxr);
}

bool AcmStream::convert(const char* data, std::size_t size, std::vector<char>& out)
{
    if (!m_ok)
        return false;
    const std::size_t frameBytes = static_cast<std::size_t>(m_in.bytesPerFrame());
    const std::size_t sampleBytes = static_cast<std::size_t>(m_in.bytesPerSample());
    // A part frame left over last time is completed first.
    std::vector<char> joined;
    if (!m_partial.empty()) {
        joined.reserve(m_partial.size() + size);
        joined.insert(joined.end(), m_partial.begin(), m_partial.end());
        joined.insert(joined.end(), data, data + size);
        m_partial.clear();
        data = joined.data();
        size = joined.size();
    }
    const std::size_t frames = size / frameBytes;
    m_partial.assign(data + frames * frameBytes, data + size);

    m_mixed.resize(frames * static_cast<std::size_t>(m_mixChannels));
    float* mixed = m_mixed.data();
    for (std::size_t f = 0; f < frames; ++f) {
        const char* frame = data + f * frameBytes;
        if (m_mixChannels == 1) {
            float sum = 0;
            const int taken = m_out.channels == 1 ? m_in.channels : 1;
            for (int c = 0; c < taken; ++c)
                sum += decodeSample(frame + static_cast<std::size_t>(c) * sampleBytes, m_in.kind);
            *mixed++ = sum / static_cast<float>(taken);
        } else {
            for (int c = 0; c < m_mixChannels; ++c)
                *mixed++ = decodeSample(frame + static_cast<std::size_t>(c % m_in.channels) * sampleBytes, m_in.kind);
        }
    }
    if (m_soxr == nullptr) {
        encode(m_mixed.data(), frames, out);
        return true;
    }
    return resample(m_mixed.data(), frames, out);
}

bool AcmStream::resample(const float* frames, std::size_t count, std::vector<char>& out)
{
    const double ratio = static_cast<double>(m_out.rate) / m_in.rate;
    const std::size_t room = static_cast<std::size_t>(static_cast<double>(count) * ratio) + 256;
    m_resampled.resize(room * static_cast<std::size_t>(m_mixChannels));
    const bool flushing = frames == nullptr;
    for (;;) {
        std::size_t used = 0;
        std::size_t made = 0;
        const soxr_error_t error = soxr_process(m_soxr, frames, count, &used, m_resampled.data(), room, &made);
        if (error != nullptr) {
            m_ok = false;
            return false;
        }
        encode(m_resampled.data(), made, out);
        if (frames != nullptr) {
            frames += used * static_cast<std::size_t>(m_mixChannels);
            count -= used;
        }
        if (flushing ? made == 0 : (count == 0 && made < room))
            return true;
    }
}

bool AcmStream::flush(std::vector<char>& out)
{
    m_partial.clear();
    if (m_soxr == nullptr)
        return m_ok;
    return m_ok && resample(nullptr, 0, out);
}

void AcmStream::encode(const float* frames, std::size_t count, std::vector<char>& out) const
{
    out.reserve(out.size() + count * static_cast<std::size_t>(m_out.bytesPerFrame()));
    for (std::size_t f = 0; f < count; ++f) {
        const float* frame = frames + f * static_cast<std::size_t>(m_mixChannels);
        for (int c = 0; c < m_out.channels; ++c)
            encodeSample(frame[c % m_mixChannels], m_out.kind, out);
    }
}
