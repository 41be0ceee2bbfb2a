#include "platform/audio/VirtualAudioBackend.h"

#include "platform/audio/VirtualCapture.h"
#include "platform/audio/VirtualPlayback.h"

#include <cstdlib>

VirtualAudioBackend::Options VirtualAudioBackend::fromEnvironment()
{
    Options options;
    if (const char* input = std::getenv("NAVO_AUDIO_INPUT"); input != nullptr && *input != '\0')
        options.input = input;
    if (const char* output = std::getenv("NAVO_AUDIO_OUTPUT"); output != nullptr)
        options.output = output;
    if (const char* pace = std::getenv("NAVO_AUDIO_PACE"); pace != nullptr)
        options.realTime = std::string(pace) != "fast";
    return options;
}

std::vector<AudioBackend::Device> VirtualAudioBackend::inputs()
{
    return {Device{kInputId, "Virtual input (" + options().input + ")"}};
}

std::vector<AudioBackend::Device> VirtualAudioBackend::outputs()
{
    const std::string output = options().output;
    return {Device{kOutputId, "Virtual output (" + (output.empty() ? std::string("nowhere") : output) + ")"}};
}

std::string VirtualAudioBackend::defaultInput() { return kInputId; }
std::string VirtualAudioBackend::defaultOutput() { return kOutputId; }

MMRESULT VirtualAudioBackend::openCapture(const std::string& deviceId, const WAVEFORMATEX& format,
                                          std::unique_ptr<AudioCapture>& capture)
{
    if (deviceId != kInputId)
        return MMSYSERR_BADDEVICEID;
    const Options o = options();
    auto virtualCapture = std::make_unique<VirtualCapture>(format, o.input, o.realTime);
    if (MMRESULT e = virtualCapture->open(); e != MMSYSERR_NOERROR)
        return e;
    capture = std::move(virtualCapture);
    return MMSYSERR_NOERROR;
}

MMRESULT VirtualAudioBackend::openPlayback(const std::string& deviceId, const WAVEFORMATEX& format,
                                           std::unique_ptr<AudioPlayback>& playback)
{
    if (deviceId != kOutputId)
        return MMSYSERR_BADDEVICEID;
    const Options o = options();
    auto virtualPlayback = std::make_unique<VirtualPlayback>(format, o.output, o.realTime);
    if (MMRESULT e = virtualPlayback->open(); e != MMSYSERR_NOERROR)
        return e;
    playback = std::move(virtualPlayback);
    return MMSYSERR_NOERROR;
}
