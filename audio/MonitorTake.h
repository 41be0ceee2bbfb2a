// What the sound output plays, taken from a monitor input (a sound
// server's monitor of the output) while the message player plays the
// effected sound: the sound in memory and how much quiet has come since the
// last sound, so that the player can end the take on bytes heard rather
// than on a clock. The monitor hears exact silence while nothing plays; the
// take is what lies between its first and last frame that is not silent.
#pragma once

#include "platform/audio/AudioCapture.h"
#include "platform/audio/WaveTypes.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class MonitorTake final : public AudioCapture::Sink {
public:
    MonitorTake() = default;
    ~MonitorTake() override;
    MonitorTake(const MonitorTake&) = delete;
    MonitorTake& operator=(const MonitorTake&) = delete;

    // Records the active backend's input deviceId in format; false when it
    // will not open or start.
    bool start(const std::string& deviceId, const WAVEFORMATEX& format);
    void stop();

    const WAVEFORMATEX& format() const { return m_format; }
    std::uint64_t bytes() const;
    // Bytes since the end of the last frame that was not silent (all of
    // them when there was none).
    std::uint64_t quietBytes() const;
    bool heardSound() const;
    // From the first to the end of the last frame that was not silent.
    std::vector<char> sound() const;
    std::size_t soundSize() const;
    // Writes sound() as a wave file.
    bool writeWave(const std::string& path) const;

    void deliver(const char* data, std::size_t size) override;
    // The monitor keeps real time and never asks.
    std::size_t waitForRoom(int) override { return 0; }

private:
    bool silent(const char* frame) const;

    WAVEFORMATEX m_format{};
    std::unique_ptr<AudioCapture> m_capture;
    mutable std::mutex m_mutex;  // the capture delivers on its own thread
    std::vector<char> m_sound;
    std::size_t m_firstSound = 0;  // byte offsets into m_sound
    std::size_t m_soundEnd = 0;
    bool m_heard = false;
};
