#include "maker/Ek7DxSnd/FxStream.h"

#include "platform/audio/WavFileReader.h"

#include <soundtouch/SoundTouch.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>

FxStream::FxStream() = default;
FxStream::~FxStream() = default;

bool FxStream::open(const std::string& path)
{
    WavFileReader reader;
    if (!reader.open(path))
        return false;
    const WAVEFORMATEX& format = reader.format();
    m_layout = reader.layout();
    if ((m_layout.kind != SampleKind::UInt8 && m_layout.kind != SampleKind::Int16) || m_layout.channels < 1 ||
        m_layout.channels > 8 || m_layout.rate < 1000 || format.nBlockAlign != m_layout.bytesPerFrame())
        return false;
    if (!m_file.open(path, DiskFile::Mode::Read))
        return false;
    m_dataOffset = reader.dataOffset();
    // A data chunk that claims more than the file holds is read as far as it goes.
    const std::uint64_t fileSize = m_file.size();
    const std::uint64_t available = fileSize > m_dataOffset ? fileSize - m_dataOffset : 0;
    m_totalFrames = std::min(reader.dataSize(), available) / static_cast<std::uint64_t>(m_layout.bytesPerFrame());
    m_blockFrames = static_cast<std::size_t>(std::max(1, m_layout.rate / 100));
    try {
        m_speed = std::make_unique<soundtouch::SoundTouch>();
        m_speed->setSampleRate(static_cast<unsigned>(m_layout.rate));
        m_speed->setChannels(static_cast<unsigned>(m_layout.channels));
        m_speed->setTempo(1.0);
    } catch (const std::exception&) {
        return false;
    }
    m_rack = std::make_unique<EffectRack>(m_layout.rate, m_layout.channels);
    restart(0);
    return true;
}

void FxStream::restart(std::uint64_t frame)
{
    seek(frame);
    if (m_rack)
        m_rack->reset();
}

void FxStream::seek(std::uint64_t frame)
{
    m_position = std::min(frame, m_totalFrames);
    if (m_speed)
        m_speed->clear();
    m_speedActive = false;
    m_inputDone = false;
    m_finished = false;
}

std::size_t FxStream::readFrames(std::size_t frames, std::vector<char>& bytes)
{
    const std::size_t frameBytes = static_cast<std::size_t>(m_layout.bytesPerFrame());
    const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(frames, m_totalFrames - m_position));
    bytes.resize(want * frameBytes);
    const std::size_t got = want == 0 ? 0 : m_file.readAt(m_dataOffset + m_position * frameBytes, bytes.data(), bytes.size());
    const std::size_t whole = got / frameBytes;
    bytes.resize(whole * frameBytes);
    m_position += whole;
    if (whole < want)
        m_totalFrames = m_position;  // the file got shorter: its end is here
    return whole;
}

void FxStream::decode(const char* bytes, std::size_t frames, float* out) const
{
    const std::size_t count = frames * static_cast<std::size_t>(m_layout.channels);
    if (m_layout.kind == SampleKind::UInt8) {
        for (std::size_t i = 0; i < count; ++i)
            out[i] = (static_cast<float>(static_cast<unsigned char>(bytes[i])) - 128.0f) / 128.0f;
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto lo = static_cast<unsigned char>(bytes[2 * i]);
        const auto hi = static_cast<unsigned char>(bytes[2 * i + 1]);
        out[i] = static_cast<float>(static_cast<std::int16_t>(static_cast<std::uint16_t>(lo | (hi << 8)))) / 32768.0f;
    }
}

void FxStream::encode(const float* samples, std::size_t frames, std::vector<char>& out) const
{
    const std::size_t count = frames * static_cast<std::size_t>(m_layout.channels);
    const std::size_t at = out.size();
    if (m_layout.kind == SampleKind::UInt8) {
        out.resize(at + count);
        for (std::size_t i = 0; i < count; ++i) {
            const long v = std::clamp(std::lrint(samples[i] * 128.0f) + 128L, 0L, 255L);
            out[at + i] = static_cast<char>(static_cast<unsigned char>(v));
        }
        return;
    }
    out.resize(at + 2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto v = static_cast<std::uint16_t>(static_cast<std::int16_t>(std::clamp(std::lrint(samples[i] * 32768.0f), -32768L, 32767L)));
        out[at + 2 * i] = static_cast<char>(v & 0xFF);
        out[at + 2 * i + 1] = static_cast<char>(v >> 8);
    }
}

bool FxStream::drainSpeedStage(const EffectSettings& settings, std::vector<char>& out)
{
    m_samples.resize(m_blockFrames * static_cast<std::size_t>(m_layout.channels));
    const unsigned got = m_speed->receiveSamples(m_samples.data(), static_cast<unsigned>(m_blockFrames));
    if (got == 0)
        return false;
    if (settings.anyRackEffect())
        m_rack->process(m_samples.data(), got, settings);
    encode(m_samples.data(), got, out);
    return true;
}

void FxStream::finishOrContinue()
{
    if (m_position < m_totalFrames)
        return;
    m_finished = !m_speedActive || (m_inputDone && m_speed->numSamples() == 0);
}

bool FxStream::produce(const EffectSettings& settings, std::vector<char>& out)
{
    if (m_finished || !m_speed)
        return false;
    const int rate = m_layout.rate;
    const bool speedOn = settings.on[0] && settings.value[0] > 0 && settings.value[0] != rate;

    if (m_speedActive) {
        if (!speedOn && !m_inputDone) {
            // Back to normal speed: hand out what the stage still holds, then
            // read the file directly again.
            m_speed->flush();
            m_inputDone = true;
        }
        if (!m_inputDone || !speedOn) {
            if (speedOn) {
                const double tempo = static_cast<double>(settings.value[0]) / rate;
                if (tempo != m_tempo) {
                    m_speed->setTempo(tempo);
                    m_tempo = tempo;
                }
            }
            // Feed the stage until it has a block, flushing it at the file's end.
            while (speedOn && !m_inputDone && m_speed->numSamples() < m_blockFrames) {
                const std::size_t got = readFrames(m_blockFrames, m_bytes);
                if (got > 0) {
                    m_samples.resize(got * static_cast<std::size_t>(m_layout.channels));
                    decode(m_bytes.data(), got, m_samples.data());
                    m_speed->putSamples(m_samples.data(), static_cast<unsigned>(got));
                }
                if (m_position >= m_totalFrames) {
                    m_speed->flush();
                    m_inputDone = true;
                }
            }
        }
        if (drainSpeedStage(settings, out)) {
            finishOrContinue();
            return true;
        }
        // The stage is empty.
        m_speed->clear();
        m_speedActive = false;
        m_inputDone = false;
        if (m_position >= m_totalFrames) {
            m_finished = true;
            return false;
        }
    }

    if (speedOn) {
        m_speedActive = true;
        m_inputDone = false;
        m_tempo = 0;  // set on the next call's way in
        return produce(settings, out);
    }

    const std::size_t got = readFrames(m_blockFrames, m_bytes);
    if (got == 0) {
        m_finished = true;
        return false;
    }
    if (settings.anyRackEffect()) {
        m_samples.resize(got * static_cast<std::size_t>(m_layout.channels));
        decode(m_bytes.data(), got, m_samples.data());
        m_rack->process(m_samples.data(), got, settings);
        encode(m_samples.data(), got, out);
    } else {
        out.insert(out.end(), m_bytes.begin(), m_bytes.end());
    }
    finishOrContinue();
    return true;
}

std::uint64_t FxStream::sourceFrame() const
{
    if (!m_speedActive)
        return m_position;
    const double held = m_speed->numUnprocessedSamples() + m_speed->numSamples() * m_tempo;
    const double frame = static_cast<double>(m_position) - held;
    return frame <= 0 ? 0 : std::min<std::uint64_t>(m_totalFrames, static_cast<std::uint64_t>(frame));
}
