#include "audio/MonitorTake.h"

#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/WavFileWriter.h"

#include <algorithm>

MonitorTake::~MonitorTake() { stop(); }

bool MonitorTake::start(const std::string& deviceId, const WAVEFORMATEX& format)
{
    stop();
    m_format = format;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_sound.clear();
        m_firstSound = m_soundEnd = 0;
        m_heard = false;
    }
    AudioBackend* backend = AudioBackendRegistry::instance().active();
    if (backend == nullptr || format.nBlockAlign == 0 ||
        backend->openCapture(deviceId, format, m_capture) != MMSYSERR_NOERROR || !m_capture)
        return false;
    if (m_capture->start(*this) != MMSYSERR_NOERROR) {
        m_capture.reset();
        return false;
    }
    return true;
}

void MonitorTake::stop()
{
    if (m_capture) {
        m_capture->stop();
        m_capture.reset();
    }
}

bool MonitorTake::silent(const char* frame) const
{
    const char quiet = m_format.wBitsPerSample == 8 ? '\x80' : '\0';
    return std::all_of(frame, frame + m_format.nBlockAlign, [quiet](char b) { return b == quiet; });
}

void MonitorTake::deliver(const char* data, std::size_t size)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::size_t block = m_format.nBlockAlign;
    const std::size_t at = m_sound.size();
    m_sound.insert(m_sound.end(), data, data + size - size % block);
    for (std::size_t i = at; i + block <= m_sound.size(); i += block) {
        if (silent(m_sound.data() + i))
            continue;
        if (!m_heard)
            m_firstSound = i;
        m_heard = true;
        m_soundEnd = i + block;
    }
}

std::uint64_t MonitorTake::bytes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_sound.size();
}

std::uint64_t MonitorTake::quietBytes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_sound.size() - m_soundEnd;
}

bool MonitorTake::heardSound() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_heard;
}

std::vector<char> MonitorTake::sound() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto begin = m_sound.begin();
    return std::vector<char>(begin + static_cast<std::ptrdiff_t>(m_firstSound),
                             begin + static_cast<std::ptrdiff_t>(m_soundEnd));
}

std::size_t MonitorTake::soundSize() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_soundEnd - m_firstSound;
}

bool MonitorTake::writeWave(const std::string& path) const
{
    const std::vector<char> data = sound();
    WavFileWriter writer;
    return writer.create(path, m_format) && writer.write(data.data(), data.size()) && writer.finish();
}
