// A recorder stand-in that hands RecordFiler a wave of speech-like noise
// (8 kHz, 16-bit, mono): low-passed noise in syllable-long bursts with
// pauses, so the record file's compression meets what a real voice gives it
// rather than a constant or a ramp. The samples are made once, up front, so
// that filing pays only for writing the file.
#pragma once

#include <cstdint>
#include <string>

#include "store/RecordFiler.h"

class NoiseRecording : public RecordingSource {
public:
    NoiseRecording(unsigned seconds, std::uint32_t seed);

    bool fastForward() override { return true; }
    long lengthMs() override { return static_cast<long>(m_samples / 8); }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override;

    std::size_t waveBytes() const { return m_wave.size(); }
    // How long the last writeWave took.
    double lastWriteSeconds() const { return m_lastWrite; }

private:
    std::uint32_t m_samples;
    std::string m_wave;
    double m_lastWrite = 0.0;
};
