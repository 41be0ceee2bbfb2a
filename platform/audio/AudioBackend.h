// A sound system Navo can record from and play to, registered by name in
// AudioBackendRegistry ("qt": the desktop's sound server through Qt
// Multimedia; "virtual": WAV files and generated tones). The wave device
// functions (WaveApi.h) open streams through the active backend.
#pragma once

#include "platform/audio/AudioCapture.h"
#include "platform/audio/AudioPlayback.h"
#include "platform/audio/WaveTypes.h"

#include <memory>
#include <string>
#include <vector>

class AudioBackend {
public:
    struct Device {
        std::string id;    // stable name the backend knows it by
        std::string name;  // what the user is shown
        bool monitor = false;  // an input that hears what an output plays
    };

    virtual ~AudioBackend() = default;

    virtual std::vector<Device> inputs() = 0;
    virtual std::vector<Device> outputs() = 0;
    // Ids of the devices used when nothing was chosen; empty when none.
    virtual std::string defaultInput() = 0;
    virtual std::string defaultOutput() = 0;

    // Opens a stream for the device with that id in exactly format (already
    // checked with isSupportedPcm). MMSYSERR_BADDEVICEID for an unknown id,
    // WAVERR_BADFORMAT when the format can be neither had nor converted to,
    // MMSYSERR_ALLOCATED when the device will not open.
    virtual MMRESULT openCapture(const std::string& deviceId, const WAVEFORMATEX& format,
                                 std::unique_ptr<AudioCapture>& capture) = 0;
    virtual MMRESULT openPlayback(const std::string& deviceId, const WAVEFORMATEX& format,
                                  std::unique_ptr<AudioPlayback>& playback) = 0;
};
