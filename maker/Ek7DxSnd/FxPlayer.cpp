#include "maker/Ek7DxSnd/FxPlayer.h"

#include "maker/Ek7DxSnd/Ek7DxSnd.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/WavFileWriter.h"

#include <algorithm>

FxPlayer::~FxPlayer() { stop(); }

int FxPlayer::open(const std::string& path)
{
    if (!m_stream.open(path))
        return kDxErrOpen;
    m_path = path;
    const PcmLayout& layout = m_stream.layout();
    m_format.wFormatTag = WAVE_FORMAT_PCM;
    m_format.nChannels = static_cast<WORD>(layout.channels);
    m_format.nSamplesPerSec = static_cast<DWORD>(layout.rate);
    m_format.wBitsPerSample = static_cast<WORD>(layout.bytesPerSample() * 8);
    m_format.nBlockAlign = static_cast<WORD>(layout.bytesPerFrame());
    m_format.nAvgBytesPerSec = m_format.nSamplesPerSec * m_format.nBlockAlign;
    m_format.cbSize = 0;
    m_normalRate = layout.rate;
    for (int i = 0; i < kFxPairs; ++i) {
        m_on[static_cast<std::size_t>(i)] = false;
        m_value[static_cast<std::size_t>(i)] = i == 0 ? m_normalRate : 0;
    }

    AudioBackend* backend = AudioBackendRegistry::instance().active();
    if (backend == nullptr)
        return kDxErrDevice;
    const std::string device = backend->defaultOutput();
    if (device.empty() || backend->openPlayback(device, m_format, m_playback) != MMSYSERR_NOERROR || !m_playback)
        return kDxErrDevice;
    return kDxOk;
}

int FxPlayer::clampValue(int index, int value) const
{
    if (index == 0)
        return std::clamp(value, lowestRate(), highestRate());
    return std::clamp(value, 0, 99);
}

EffectSettings FxPlayer::settings() const
{
    EffectSettings s;
    for (std::size_t i = 0; i < kFxPairs; ++i) {
        s.on[i] = m_on[i].load(std::memory_order_relaxed);
        s.value[i] = m_value[i].load(std::memory_order_relaxed);
    }
    return s;
}

void FxPlayer::setEffects(const int effects[][2], int count)
{
    for (int i = 0; i < kFxPairs; ++i) {
        const bool given = effects != nullptr && i < count;
        const auto at = static_cast<std::size_t>(i);
        m_on[at] = given && effects[i][0] != 0;
        m_value[at] = given ? clampValue(i, effects[i][1]) : (i == 0 ? m_normalRate : 0);
    }
}

int FxPlayer::adjust(int index, int value)
{
    if (index < 0 || index >= kFxPairs)
        return value;
    const int used = clampValue(index, value);
    m_value[static_cast<std::size_t>(index)] = used;
    return used;
}

std::uint32_t FxPlayer::toPosn(std::uint64_t frame) const
{
    const std::uint64_t total = m_stream.totalFrames();
    if (total == 0)
        return 0;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(frame, total) * 100000 / total);
}

int FxPlayer::play(std::uint32_t start)
{
    stop();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const std::uint64_t frame = std::min<std::uint64_t>(start, 100000) * m_stream.totalFrames() / 100000;
        m_stream.restart(frame);
        m_pending.clear();
        m_pendingRead = 0;
        m_handedOut = 0;
        m_heardBytes = 0;
        m_marks.clear();
        m_heardFrame = frame;
        m_ended = false;
    }
    if (m_playback->start(*this) != MMSYSERR_NOERROR)
        return kDxErrDevice;
    m_started = true;
    return kDxOk;
}

std::uint32_t FxPlayer::position()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return toPosn(m_heardFrame);
}

void FxPlayer::setPosition(int hundredths)
{
    const std::uint64_t frame = m_stream.totalFrames() * static_cast<std::uint64_t>(std::clamp(hundredths, 0, 100)) / 100;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stream.seek(frame);
        // Sound made from the old place but not yet pulled is dropped.
        m_pending.clear();
        m_pendingRead = 0;
        while (!m_marks.empty() && m_marks.back().endByte > m_handedOut)
            m_marks.pop_back();
        m_ended = false;
        if (!m_started)
            m_heardFrame = frame;
    }
    m_wake.notify_all();
}

bool FxPlayer::isPlaying()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_started && !m_ended;
}

void FxPlayer::stop()
{
    // Not under m_mutex: the device's stop waits for its thread, which may
    // be inside pull().
    if (m_started && m_playback)
        m_playback->stop();
    m_started = false;
}

std::size_t FxPlayer::pull(char* buffer, std::size_t size)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    size -= size % std::max<std::size_t>(1, m_format.nBlockAlign);
    while (available() < size) {
        if (m_pendingRead > 0) {
            m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(m_pendingRead));
            m_pendingRead = 0;
        }
        // The pairs are read afresh for every block.
        if (!m_stream.produce(settings(), m_pending))
            break;
        m_marks.push_back(Mark{m_handedOut + available(), m_stream.sourceFrame()});
    }
    const std::size_t n = std::min(size, available());
    std::copy_n(m_pending.data() + m_pendingRead, n, buffer);
    m_pendingRead += n;
    m_handedOut += n;
    if (n == 0 && m_stream.finished() && m_heardBytes >= m_handedOut)
        m_ended = true;
    return n;
}

void FxPlayer::played(std::uint64_t bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_heardBytes = std::max(m_heardBytes, bytes);
    while (!m_marks.empty() && m_marks.front().endByte <= m_heardBytes) {
        m_heardFrame = m_marks.front().frame;
        m_marks.pop_front();
    }
    if (m_stream.finished() && available() == 0 && m_heardBytes >= m_handedOut)
        m_ended = true;
}

bool FxPlayer::waitForData(int ms)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    auto more = [this] { return available() > 0 || !m_stream.finished(); };
    if (ms <= 0)
        return more();
    return m_wake.wait_for(lock, std::chrono::milliseconds(ms), more);
}

int FxPlayer::render(const std::string& targetPath)
{
    FxStream stream;
    if (!stream.open(m_path))
        return kDxErrOpen;
    WavFileWriter writer;
    if (!writer.create(targetPath, m_format))
        return kDxErrWrite;
    std::vector<char> out;
    const std::size_t flushAt = 1 << 18;
    while (stream.produce(settings(), out)) {
        if (out.size() >= flushAt) {
            if (!writer.write(out.data(), out.size()))
                return kDxErrWrite;
            out.clear();
        }
    }
    if (!out.empty() && !writer.write(out.data(), out.size()))
        return kDxErrWrite;
    return writer.finish() ? kDxOk : kDxErrWrite;
}
