#include "platform/audio/PcmConverter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int kTableSteps = 64;   // kernel samples per input frame
constexpr double kHalfTaps = 16;  // zero crossings each side at full band
constexpr double kPi = 3.14159265358979323846;

float clampUnit(float v) { return std::max(-1.0f, std::min(1.0f, v)); }

}  // namespace

int PcmLayout::bytesPerSample() const
{
    switch (kind) {
    case SampleKind::UInt8: return 1;
    case SampleKind::Int16: return 2;
    case SampleKind::Int32: return 4;
    case SampleKind::Float32: return 4;
    }
    return 2;
}

PcmLayout layoutOf(const WAVEFORMATEX& f)
{
    PcmLayout l;
    l.rate = static_cast<int>(f.nSamplesPerSec);
    l.channels = f.nChannels;
    l.kind = f.wBitsPerSample == 8 ? SampleKind::UInt8 : SampleKind::Int16;
    return l;
}

PcmConverter::PcmConverter(const PcmLayout& in, const PcmLayout& out) : m_in(in), m_out(out)
{
    m_resample = in.rate != out.rate;
    if (!m_resample)
        return;
    // Below the lower of the two Nyquist frequencies, with a little room for
    // the filter's transition band.
    m_cutoff = std::min(1.0, static_cast<double>(out.rate) / in.rate) * 0.94;
    m_halfWidth = kHalfTaps / m_cutoff;
    const auto entries = static_cast<std::size_t>(std::ceil(m_halfWidth * kTableSteps)) + 2;
    m_table.resize(entries);
    for (std::size_t i = 0; i < entries; ++i) {
        const double x = static_cast<double>(i) / kTableSteps;
        const double u = x / m_halfWidth;
        if (u >= 1.0) {
            m_table[i] = 0;
            continue;
        }
        const double t = m_cutoff * x;
        const double sinc = t == 0 ? 1.0 : std::sin(kPi * t) / (kPi * t);
        const double window = 0.42 + 0.5 * std::cos(kPi * u) + 0.08 * std::cos(2 * kPi * u);
        m_table[i] = static_cast<float>(m_cutoff * sinc * window);
    }
}

float PcmConverter::kernel(double x) const
{
    const double pos = std::fabs(x) * kTableSteps;
    const auto i = static_cast<std::size_t>(pos);
    if (i + 1 >= m_table.size())
        return 0;
    const float f = static_cast<float>(pos - static_cast<double>(i));
    return m_table[i] + (m_table[i + 1] - m_table[i]) * f;
}

void PcmConverter::decode(const char* frame, float* s) const
{
    const auto* b = reinterpret_cast<const unsigned char*>(frame);
    for (int c = 0; c < m_in.channels; ++c) {
        switch (m_in.kind) {
        case SampleKind::UInt8:
            s[c] = (static_cast<int>(b[c]) - 128) / 128.0f;
            break;
        case SampleKind::Int16: {
            const auto v = static_cast<std::int16_t>(b[2 * c] | (b[2 * c + 1] << 8));
            s[c] = v / 32768.0f;
            break;
        }
        case SampleKind::Int32: {
            std::int32_t v;
            std::memcpy(&v, b + 4 * c, 4);
            s[c] = static_cast<float>(v / 2147483648.0);
            break;
        }
        case SampleKind::Float32:
            std::memcpy(&s[c], b + 4 * c, 4);
            break;
        }
    }
}

void PcmConverter::mapChannels(const float* in, float* out) const
{
    if (m_out.channels == 1 && m_in.channels > 1) {
        float sum = 0;
        for (int c = 0; c < m_in.channels; ++c)
            sum += in[c];
        out[0] = sum / static_cast<float>(m_in.channels);
        return;
    }
    for (int c = 0; c < m_out.channels; ++c)
        out[c] = in[c % m_in.channels];
}

void PcmConverter::encodeFrame(const float* s, std::vector<char>& out) const
{
    for (int c = 0; c < m_out.channels; ++c) {
        const float v = clampUnit(s[c]);
        switch (m_out.kind) {
        case SampleKind::UInt8: {
            const long q = std::lrint(v * 128.0f) + 128;
            out.push_back(static_cast<char>(std::max(0L, std::min(255L, q))));
            break;
        }
        case SampleKind::Int16: {
            const long q = std::max(-32768L, std::min(32767L, std::lrint(v * 32768.0f)));
            out.push_back(static_cast<char>(q & 0xFF));
            out.push_back(static_cast<char>((q >> 8) & 0xFF));
            break;
        }
        case SampleKind::Int32: {
            const auto q = static_cast<std::int32_t>(std::max(-2147483648.0, std::min(2147483647.0, std::round(v * 2147483648.0))));
            const char* p = reinterpret_cast<const char*>(&q);
            out.insert(out.end(), p, p + 4);
            break;
        }
        case SampleKind::Float32: {
            const char* p = reinterpret_cast<const char*>(&s[c]);
            out.insert(out.end(), p, p + 4);
            break;
        }
        }
    }
}

void PcmConverter::convert(const char* data, std::size_t size, std::vector<char>& out)
{
    const auto frameBytes = static_cast<std::size_t>(m_in.bytesPerFrame());
    if (isIdentity()) {
        out.insert(out.end(), data, data + size);
        return;
    }
    if (!m_partial.empty()) {
        const std::size_t need = std::min(frameBytes - m_partial.size(), size);
        m_partial.insert(m_partial.end(), data, data + need);
        data += need;
        size -= need;
        if (m_partial.size() < frameBytes)
            return;
        addFrames(m_partial.data(), 1, out);
        m_partial.clear();
    }
    const std::size_t frames = size / frameBytes;
    addFrames(data, frames, out);
    m_partial.assign(data + frames * frameBytes, data + size);
}

void PcmConverter::addFrames(const char* data, std::size_t frames, std::vector<char>& out)
{
    const auto frameBytes = static_cast<std::size_t>(m_in.bytesPerFrame());
    std::vector<float> in(static_cast<std::size_t>(m_in.channels));
    std::vector<float> mapped(static_cast<std::size_t>(m_out.channels));
    for (std::size_t f = 0; f < frames; ++f) {
        decode(data + f * frameBytes, in.data());
        mapChannels(in.data(), mapped.data());
        if (m_resample)
            m_history.insert(m_history.end(), mapped.begin(), mapped.end());
        else
            encodeFrame(mapped.data(), out);
    }
    if (m_resample) {
        m_inputFrames += frames;
        produce(out, m_inputFrames);
    }
}

// Makes every output frame whose filter window lies inside the input seen so
// far (the last input index needed must be below limit).
void PcmConverter::produce(std::vector<char>& out, std::uint64_t limit)
{
    const auto channels = static_cast<std::size_t>(m_out.channels);
    const auto reach = static_cast<std::uint64_t>(std::ceil(m_halfWidth));
    const std::uint64_t historyEnd = m_historyStart + m_history.size() / channels;
    std::vector<float> acc(channels);
    for (;;) {
        const std::uint64_t num = m_outputFrames * static_cast<std::uint64_t>(m_in.rate);
        const std::uint64_t centre = num / static_cast<std::uint64_t>(m_out.rate);
        const double frac = static_cast<double>(num % static_cast<std::uint64_t>(m_out.rate)) / m_out.rate;
        if (centre + reach >= limit || centre + reach >= historyEnd)
            break;
        std::fill(acc.begin(), acc.end(), 0.0f);
        const std::uint64_t first = centre >= reach ? centre - reach + 1 : 0;
        for (std::uint64_t k = std::max(first, m_historyStart); k <= centre + reach; ++k) {
            const float w = kernel(static_cast<double>(centre) + frac - static_cast<double>(k));
            const float* frame = &m_history[(k - m_historyStart) * channels];
            for (std::size_t c = 0; c < channels; ++c)
                acc[c] += frame[c] * w;
        }
        encodeFrame(acc.data(), out);
        ++m_outputFrames;
    }
    // Forget input no later output can reach.
    const std::uint64_t nextCentre = m_outputFrames * static_cast<std::uint64_t>(m_in.rate) / static_cast<std::uint64_t>(m_out.rate);
    const std::uint64_t keepFrom = nextCentre > reach ? nextCentre - reach : 0;
    if (keepFrom > m_historyStart) {
        const std::uint64_t drop = std::min<std::uint64_t>(keepFrom - m_historyStart, m_history.size() / channels);
        m_history.erase(m_history.begin(), m_history.begin() + static_cast<std::ptrdiff_t>(drop * channels));
        m_historyStart += drop;
    }
}

void PcmConverter::flush(std::vector<char>& out)
{
    m_partial.clear();
    if (!m_resample)
        return;
    // Zeros after the end let the last frames' windows close; output stops
    // where the input ended.
    const auto reach = static_cast<std::size_t>(std::ceil(m_halfWidth)) + 1;
    m_history.insert(m_history.end(), reach * static_cast<std::size_t>(m_out.channels), 0.0f);
    const std::uint64_t wanted = (m_inputFrames * static_cast<std::uint64_t>(m_out.rate) + m_in.rate - 1) / static_cast<std::uint64_t>(m_in.rate);
    const std::uint64_t historyEnd = m_historyStart + m_history.size() / static_cast<std::size_t>(m_out.channels);
    produce(out, historyEnd);
    // produce() may go beyond the real end into the zero padding; trim.
    if (m_outputFrames > wanted) {
        const auto extra = (m_outputFrames - wanted) * static_cast<std::uint64_t>(m_out.bytesPerFrame());
        out.resize(out.size() - static_cast<std::size_t>(std::min<std::uint64_t>(extra, out.size())));
        m_outputFrames = wanted;
    }
}
