// The "qt" backend: the desktop's sound server (PulseAudio or PipeWire on
// Linux) through Qt Multimedia. Devices are listed and chosen by Qt's device
// ids; each stream runs on its own thread (QtCapture, QtPlayback).
//
// Qt 6.4 lists no devices, and starts no server, when it cannot reach one
// (no XDG_RUNTIME_DIR or PULSE_SERVER): the wave devices then report
// MMSYSERR_NODRIVER. Qt also never treats the server's default source as
// its default input, so recordings should choose their source by id.
#pragma once

#include "platform/audio/AudioBackend.h"

class QtAudioBackend final : public AudioBackend {
public:
    std::vector<Device> inputs() override;
    std::vector<Device> outputs() override;
    std::string defaultInput() override;
    std::string defaultOutput() override;
    MMRESULT openCapture(const std::string& deviceId, const WAVEFORMATEX& format,
                         std::unique_ptr<AudioCapture>& capture) override;
    MMRESULT openPlayback(const std::string& deviceId, const WAVEFORMATEX& format,
                          std::unique_ptr<AudioPlayback>& playback) override;
};
