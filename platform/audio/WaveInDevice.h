// An open input device: the queue of buffers (WAVEHDR) the owner has added,
// filled in order by the backend's thread, each handed back WHOLE (full, or
// partly filled by waveInStop/waveInReset) as an MM_WIM_DATA message posted
// to the callback window. Posted messages are delivered in order on the
// thread the window lives on (the UI thread), so buffers come back in the
// order they were added even when that thread is busy for a while; sound
// arriving while no buffer is queued is dropped and counted.
//
// Made and used only through WaveApi.h.
#pragma once

#include "platform/audio/AudioCapture.h"
#include "platform/audio/WaveTypes.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

class WaveInDevice final : public AudioCapture::Sink {
public:
    WaveInDevice(HWAVEIN handle, const WAVEFORMATEX& format, HWND window,
                 std::unique_ptr<AudioCapture> capture);
    ~WaveInDevice() override;
    WaveInDevice(const WaveInDevice&) = delete;
    WaveInDevice& operator=(const WaveInDevice&) = delete;

    MMRESULT prepare(WAVEHDR* header);
    MMRESULT unprepare(WAVEHDR* header);
    MMRESULT addBuffer(WAVEHDR* header);
    MMRESULT start();
    MMRESULT stop();
    MMRESULT reset();
    bool hasQueuedBuffers() const;
    void post(UINT message, LPARAM lParam) const;

    std::uint64_t droppedBytes() const;
    static std::uint64_t totalDroppedBytes();

    // AudioCapture::Sink, on the backend's thread.
    void deliver(const char* data, std::size_t size) override;
    std::size_t waitForRoom(int ms) override;

private:
    void completeFront();  // with m_mutex held

    const HWAVEIN m_handle;
    const WAVEFORMATEX m_format;
    const HWND m_window;
    std::unique_ptr<AudioCapture> m_capture;

    mutable std::mutex m_mutex;
    std::condition_variable m_roomCame;
    std::deque<WAVEHDR*> m_queue;
    bool m_started = false;
    std::uint64_t m_dropped = 0;

    static std::atomic<std::uint64_t> s_totalDropped;
};
