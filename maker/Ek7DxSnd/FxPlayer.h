// One open effects player: the wave file's FxStream and an output stream of
// the active audio backend, which pulls the effected sound block by block
// on its own thread. The effect pairs are atomics read once per block, so
// AdjEffects never waits for the sound thread and is heard from the next
// block the device pulls. Everything else the sound thread touches is kept
// under one lock.
//
// Position: each block remembers the file frame it reached; when the
// device reports bytes heard, the frame of the last block fully heard is
// the position.
#pragma once

#include "maker/Ek7DxSnd/EffectRack.h"
#include "maker/Ek7DxSnd/FxStream.h"
#include "platform/audio/AudioPlayback.h"
#include "platform/audio/WaveTypes.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class FxPlayer final : public AudioPlayback::Source {
public:
    FxPlayer() = default;
    ~FxPlayer() override;
    FxPlayer(const FxPlayer&) = delete;
    FxPlayer& operator=(const FxPlayer&) = delete;

    // kDxOk, kDxErrOpen or kDxErrDevice.
    int open(const std::string& path);
    int normalRate() const { return m_normalRate; }
    int lowestRate() const { return m_normalRate / 2; }
    int highestRate() const { return m_normalRate * 2; }

    void setEffects(const int effects[][2], int count);
    // kDxOk or kDxErrDevice.
    int play(std::uint32_t start);
    int adjust(int index, int value);
    std::uint32_t position();
    void setPosition(int hundredths);
    bool isPlaying();
    void stop();
    int render(const std::string& targetPath);

    // AudioPlayback::Source, on the backend's thread.
    std::size_t pull(char* buffer, std::size_t size) override;
    void played(std::uint64_t bytes) override;
    bool waitForData(int ms) override;

private:
    EffectSettings settings() const;
    std::size_t available() const { return m_pending.size() - m_pendingRead; }
    int clampValue(int index, int value) const;
    std::uint32_t toPosn(std::uint64_t frame) const;

    std::string m_path;
    WAVEFORMATEX m_format;
    int m_normalRate = 8000;
    std::unique_ptr<AudioPlayback> m_playback;
    bool m_started = false;  // the device is pulling (only the caller's thread)

    std::array<std::atomic<bool>, kFxPairs> m_on{};
    std::array<std::atomic<int>, kFxPairs> m_value{};

    struct Mark {
        std::uint64_t endByte;  // bytes handed out up to this block's end
        std::uint64_t frame;    // file frame reached there
    };

    std::mutex m_mutex;  // guards everything below
    std::condition_variable m_wake;
    FxStream m_stream;
    std::vector<char> m_pending;  // produced but not yet pulled
    std::size_t m_pendingRead = 0;
    std::uint64_t m_handedOut = 0;  // bytes pulled since play()
    std::deque<Mark> m_marks;
    std::uint64_t m_heardBytes = 0;
    std::uint64_t m_heardFrame = 0;
    bool m_ended = false;  // everything produced has been heard
};
