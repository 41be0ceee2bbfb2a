#include "platform/audio/WaveInDevice.h"

#include "platform/WindowMessages.h"

#include <algorithm>
#include <chrono>
#include <cstring>

std::atomic<std::uint64_t> WaveInDevice::s_totalDropped{0};

WaveInDevice::WaveInDevice(HWAVEIN handle, const WAVEFORMATEX& format, HWND window,
                           std::unique_ptr<AudioCapture> capture)
    : m_handle(handle), m_format(format), m_window(window), m_capture(std::move(capture))
{
}

WaveInDevice::~WaveInDevice()
{
    if (m_capture)
        m_capture->stop();
}

void WaveInDevice::post(UINT message, LPARAM lParam) const
{
    if (m_window != 0)
        PostMessage(m_window, message, static_cast<WPARAM>(m_handle), lParam);
}

MMRESULT WaveInDevice::prepare(WAVEHDR* header)
{
    if (header == nullptr || header->lpData == nullptr)
        return MMSYSERR_INVALPARAM;
    std::lock_guard<std::mutex> lock(m_mutex);
    header->dwFlags |= WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInDevice::unprepare(WAVEHDR* header)
{
    if (header == nullptr)
        return MMSYSERR_INVALPARAM;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (header->dwFlags & WHDR_INQUEUE)
        return WAVERR_STILLPLAYING;
    header->dwFlags &= ~WHDR_PREPARED;
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInDevice::addBuffer(WAVEHDR* header)
{
    if (header == nullptr || header->lpData == nullptr)
        return MMSYSERR_INVALPARAM;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!(header->dwFlags & WHDR_PREPARED))
            return WAVERR_UNPREPARED;
        if (header->dwFlags & WHDR_INQUEUE)
            return WAVERR_STILLPLAYING;
        header->dwFlags = (header->dwFlags & ~WHDR_DONE) | WHDR_INQUEUE;
        header->dwBytesRecorded = 0;
        m_queue.push_back(header);
    }
    m_roomCame.notify_all();
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInDevice::start()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_started)
            return MMSYSERR_NOERROR;
    }
    const MMRESULT result = m_capture->start(*this);
    if (result == MMSYSERR_NOERROR) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_started = true;
    }
    return result;
}

MMRESULT WaveInDevice::stop()
{
    m_capture->stop();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_started = false;
    if (!m_queue.empty() && m_queue.front()->dwBytesRecorded > 0)
        completeFront();
    return MMSYSERR_NOERROR;
}

MMRESULT WaveInDevice::reset()
{
    m_capture->stop();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_started = false;
    while (!m_queue.empty())
        completeFront();
    return MMSYSERR_NOERROR;
}

bool WaveInDevice::hasQueuedBuffers() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_queue.empty();
}

std::uint64_t WaveInDevice::droppedBytes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dropped;
}

std::uint64_t WaveInDevice::totalDroppedBytes() { return s_totalDropped.load(); }

void WaveInDevice::completeFront()
{
    WAVEHDR* header = m_queue.front();
    m_queue.pop_front();
    header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
    post(MM_WIM_DATA, reinterpret_cast<LPARAM>(header));
}

void WaveInDevice::deliver(const char* data, std::size_t size)
{
    const std::size_t block = m_format.nBlockAlign > 0 ? m_format.nBlockAlign : 1;
    std::lock_guard<std::mutex> lock(m_mutex);
    while (size > 0) {
        if (m_queue.empty()) {
            m_dropped += size;
            s_totalDropped += size;
            return;
        }
        WAVEHDR* header = m_queue.front();
        // Whole frames only, so a buffer never ends inside a sample.
        const std::size_t usable = header->dwBufferLength - header->dwBufferLength % block;
        const std::size_t room = usable > header->dwBytesRecorded ? usable - header->dwBytesRecorded : 0;
        const std::size_t take = std::min(room, size);
        std::memcpy(header->lpData + header->dwBytesRecorded, data, take);
        header->dwBytesRecorded += static_cast<DWORD>(take);
        data += take;
        size -= take;
        if (header->dwBytesRecorded >= usable)
            completeFront();
    }
}

std::size_t WaveInDevice::waitForRoom(int ms)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_roomCame.wait_for(lock, std::chrono::milliseconds(ms), [this] { return !m_queue.empty(); });
    const std::size_t block = m_format.nBlockAlign > 0 ? m_format.nBlockAlign : 1;
    std::size_t room = 0;
    for (const WAVEHDR* header : m_queue) {
        const std::size_t usable = header->dwBufferLength - header->dwBufferLength % block;
        room += usable > header->dwBytesRecorded ? usable - header->dwBytesRecorded : 0;
    }
    return room;
}
