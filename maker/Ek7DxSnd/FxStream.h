// The effected sound of one wave file, made a block (10 ms of output) at a
// time: the file's frames, the speed stage (SoundTouch: tempo changed, pitch
// kept), then the EffectRack, encoded back into the file's own format.
// With every pair off and the speed normal the file's bytes are handed on
// untouched. Used by the player's pull and by the offline render; not
// thread-safe (the player holds its lock around it).
#pragma once

#include "maker/Ek7DxSnd/EffectRack.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/PcmConverter.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace soundtouch {
class SoundTouch;
}

class FxStream {
public:
    FxStream();
    ~FxStream();
    FxStream(const FxStream&) = delete;
    FxStream& operator=(const FxStream&) = delete;

    // Reads the wave's header; false for anything but 8- or 16-bit PCM.
    bool open(const std::string& path);
    const PcmLayout& layout() const { return m_layout; }
    std::uint64_t totalFrames() const { return m_totalFrames; }

    // Starts again at frame with every effect's state cleared.
    void restart(std::uint64_t frame);
    // Moves to frame keeping the effects' tails (a seek while playing).
    void seek(std::uint64_t frame);

    // Appends the next block to out, made with settings; false (nothing
    // appended) once the end has been produced.
    bool produce(const EffectSettings& settings, std::vector<char>& out);
    // True once everything has been produced.
    bool finished() const { return m_finished; }
    // The file frame the sound produced so far has reached.
    std::uint64_t sourceFrame() const;

private:
    std::size_t readFrames(std::size_t frames, std::vector<char>& bytes);
    void decode(const char* bytes, std::size_t frames, float* out) const;
    void encode(const float* samples, std::size_t frames, std::vector<char>& out) const;
    bool drainSpeedStage(const EffectSettings& settings, std::vector<char>& out);
    void finishOrContinue();

    DiskFile m_file;
    PcmLayout m_layout;
    std::uint64_t m_dataOffset = 0;
    std::uint64_t m_totalFrames = 0;
    std::uint64_t m_position = 0;  // next file frame to read
    std::size_t m_blockFrames = 80;

    std::unique_ptr<soundtouch::SoundTouch> m_speed;
    bool m_speedActive = false;  // the speed stage holds or may hold sound
    bool m_inputDone = false;    // the speed stage was flushed at the file's end
    double m_tempo = 1.0;
    bool m_finished = false;

    std::unique_ptr<EffectRack> m_rack;
    std::vector<char> m_bytes;
    std::vector<float> m_samples;
};
