#include "platform/audio/WaveOutDevice.h"

#include "platform/WindowMessages.h"

#include <algorithm>
#include <chrono>
#include <cstring>

WaveOutDevice::WaveOutDevice(HWAVEOUT handle, const WAVEFORMATEX& format, HWND window,
                             std::unique_ptr<AudioPlayback> playback)
    : m_handle(handle), m_format(format), m_window(window), m_playback(std::move(playback))
{
}

WaveOutDevice::~WaveOutDevice()
{
    if (m_playback)
        m_playback->stop();
}

void WaveOutDevice::post(UINT message, LPARAM lParam) const
{
    if (m_window != 0)
        PostMessage(m_window, message, static_cast<WPARAM>(m_handle), lParam);
}

MMRESULT WaveOutDevice::prepare(WAVEHDR* header)
{
    if (header == nullptr || (header->lpData == nullptr && header->dwBufferLength > 0))
        return MMSYSERR_INVALPARAM;
    std::lock_guard<std::mutex> lock(m_mutex);
    header->dwFlags |= WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT WaveOutDevice::unprepare(WAVEHDR* header)
{
    if (header == nullptr)
        return MMSYSERR_INVALPARAM;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (header->dwFlags & WHDR_INQUEUE)
        return WAVERR_STILLPLAYING;
    header->dwFlags &= ~WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT WaveOutDevice::write(WAVEHDR* header)
{
    if (header == nullptr)
        return MMSYSERR_INVALPARAM;
    bool startNow = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!(header->dwFlags & WHDR_PREPARED))
            return WAVERR_UNPREPARED;
        if (header->dwFlags & WHDR_INQUEUE)
            return WAVERR_STILLPLAYING;
        header->dwFlags = (header->dwFlags & ~WHDR_DONE) | WHDR_INQUEUE;
        const std::size_t block = m_format.nBlockAlign > 0 ? m_format.nBlockAlign : 1;
        const std::uint64_t length = header->dwBufferLength - header->dwBufferLength % block;
        m_queue.push_back(Queued{header, m_queuedEnd, m_queuedEnd + length});
        m_queuedEnd += length;
        completeHeardBuffers();  // an empty buffer behind heard ones is done at once
        startNow = !m_running;
        m_running = true;
    }
    m_dataCame.notify_all();
    if (startNow) {
        const MMRESULT result = m_playback->start(*this);
        if (result != MMSYSERR_NOERROR) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_running = false;
            return result;
        }
    }
    return MMSYSERR_NOERROR;
}

MMRESULT WaveOutDevice::reset()
{
    m_playback->stop();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_running = false;
    while (!m_queue.empty()) {
        WAVEHDR* header = m_queue.front().header;
        m_queue.pop_front();
        header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
        post(MM_WOM_DONE, reinterpret_cast<LPARAM>(header));
    }
    m_readIndex = 0;
    m_readOffset = 0;
    m_queuedEnd = 0;
    m_played = 0;
    return MMSYSERR_NOERROR;
}

bool WaveOutDevice::hasQueuedBuffers() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_queue.empty();
}

std::uint64_t WaveOutDevice::playedBytes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_played;
}

std::size_t WaveOutDevice::pull(char* buffer, std::size_t size)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::size_t done = 0;
    while (done < size && m_readIndex < m_queue.size()) {
        const Queued& q = m_queue[m_readIndex];
        const std::uint64_t bytes = q.end - q.start;
        const auto take = static_cast<std::size_t>(std::min<std::uint64_t>(bytes - m_readOffset, size - done));
        std::memcpy(buffer + done, q.header->lpData + m_readOffset, take);
        done += take;
        m_readOffset += take;
        if (m_readOffset >= bytes) {
            ++m_readIndex;
            m_readOffset = 0;
        }
    }
    return done;
}

void WaveOutDevice::played(std::uint64_t bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (bytes > m_played)
        m_played = std::min(bytes, m_queuedEnd);
    completeHeardBuffers();
}

void WaveOutDevice::completeHeardBuffers()
{
    while (!m_queue.empty()) {
        const Queued& q = m_queue.front();
        const bool pulled = m_readIndex > 0 || q.start == q.end;
        if (!pulled || q.end > m_played)
            break;
        WAVEHDR* header = q.header;
        m_queue.pop_front();
        if (m_readIndex > 0)
            --m_readIndex;
        header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
        post(MM_WOM_DONE, reinterpret_cast<LPARAM>(header));
    }
}

bool WaveOutDevice::waitForData(int ms)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_dataCame.wait_for(lock, std::chrono::milliseconds(ms),
                               [this] { return m_readIndex < m_queue.size(); });
}
