// The sound server's monitors of its outputs, which Qt Multimedia does not
// list: a PulseAudio (or PipeWire-Pulse) source whose monitor_of_sink is
// set. Listing asks the server through libpulse's introspection; capturing
// records from the monitor by its source name with libpulse's own stream,
// so recording "what is heard" goes through the same AudioCapture seam as
// every other input.
#pragma once

#include "platform/audio/AudioCapture.h"
#include "platform/audio/WaveTypes.h"

#include <memory>
#include <string>
#include <vector>

namespace pulsemonitors {

struct Monitor {
    std::string source;       // the server's source name, e.g. "speaker.monitor"
    std::string description;  // what the server shows the user
};

// The monitors the server has now; empty when no server answers (nothing
// is started to find one).
std::vector<Monitor> list();

// A capture from the monitor source in exactly format (8-bit unsigned or
// 16-bit PCM; the server converts). Its start() fails with
// MMSYSERR_ALLOCATED when the server or the source is gone.
std::unique_ptr<AudioCapture> openCapture(const std::string& source, const WAVEFORMATEX& format);

}  // namespace pulsemonitors
