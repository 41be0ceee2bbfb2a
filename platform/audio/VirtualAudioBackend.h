// The "virtual" backend, for tests, demonstrations and machines without
// sound: one input (a WAV file, a tone or silence) and one output (a WAV
// file, or nowhere), at real-time or fast pace.
//
// Without fixed options it reads the environment at every open:
//   NAVO_AUDIO_INPUT   a WAV file path, "tone:FREQ[:LEVEL]" or "silence"
//                      (default "tone:440")
//   NAVO_AUDIO_OUTPUT  a WAV file path (default: sound goes nowhere)
//   NAVO_AUDIO_PACE    "realtime" (default) or "fast"
#pragma once

#include "platform/audio/AudioBackend.h"

#include <optional>
#include <string>

class VirtualAudioBackend final : public AudioBackend {
public:
    struct Options {
        std::string input = "tone:440";
        std::string output;
        bool realTime = true;
    };

    VirtualAudioBackend() = default;
    explicit VirtualAudioBackend(Options fixed) : m_fixed(std::move(fixed)) {}

    static Options fromEnvironment();

    std::vector<Device> inputs() override;
    std::vector<Device> outputs() override;
    std::string defaultInput() override;
    std::string defaultOutput() override;
    MMRESULT openCapture(const std::string& deviceId, const WAVEFORMATEX& format,
                         std::unique_ptr<AudioCapture>& capture) override;
    MMRESULT openPlayback(const std::string& deviceId, const WAVEFORMATEX& format,
                          std::unique_ptr<AudioPlayback>& playback) override;

    static constexpr const char* kInputId = "virtual-in";
    static constexpr const char* kOutputId = "virtual-out";

private:
    Options options() const { return m_fixed ? *m_fixed : fromEnvironment(); }

    std::optional<Options> m_fixed;
};
