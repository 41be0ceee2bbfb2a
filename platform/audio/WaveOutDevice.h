// An open output device: the queue of buffers (WAVEHDR) the owner has
// written, played in order by the backend's thread. Each buffer comes back
// as an MM_WOM_DONE message posted to the callback window once its last
// byte has been heard, so a caller that closes at the last MM_WOM_DONE does
// not cut the tail. Position is the number of bytes heard since the device
// was opened or last reset.
//
// Made and used only through WaveApi.h.
#pragma once

#include "platform/audio/AudioPlayback.h"
#include "platform/audio/WaveTypes.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

class WaveOutDevice final : public AudioPlayback::Source {
public:
    WaveOutDevice(HWAVEOUT handle, const WAVEFORMATEX& format, HWND window,
                  std::unique_ptr<AudioPlayback> playback);
    ~WaveOutDevice() override;
    WaveOutDevice(const WaveOutDevice&) = delete;
    WaveOutDevice& operator=(const WaveOutDevice&) = delete;

    MMRESULT prepare(WAVEHDR* header);
    MMRESULT unprepare(WAVEHDR* header);
    MMRESULT write(WAVEHDR* header);
    MMRESULT reset();
    bool hasQueuedBuffers() const;
    std::uint64_t playedBytes() const;
    const WAVEFORMATEX& format() const { return m_format; }
    void post(UINT message, LPARAM lParam) const;

    // AudioPlayback::Source, on the backend's thread.
    std::size_t pull(char* buffer, std::size_t size) override;
    void played(std::uint64_t bytes) override;
    bool waitForData(int ms) override;

private:
    struct Queued {
        WAVEHDR* header;
        std::uint64_t start;  // stream offset of its first byte
        std::uint64_t end;    // stream offset just after its last byte
    };
    void completeHeardBuffers();  // with m_mutex held

    const HWAVEOUT m_handle;
    const WAVEFORMATEX m_format;
    const HWND m_window;
    std::unique_ptr<AudioPlayback> m_playback;

    mutable std::mutex m_mutex;
    std::condition_variable m_dataCame;
    std::deque<Queued> m_queue;
    std::size_t m_readIndex = 0;      // queue entry pull() reads from
    std::uint64_t m_readOffset = 0;   // bytes of it already pulled
    std::uint64_t m_queuedEnd = 0;
    std::uint64_t m_played = 0;
    bool m_running = false;
};
