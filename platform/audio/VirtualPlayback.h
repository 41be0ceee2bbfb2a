// The virtual backend's output: sound goes to a WAV file (created when the
// device opens, its header brought up to date whenever playing stops) or
// nowhere. At real-time pace a buffer is "heard" when its duration has
// passed since it began; at fast pace as soon as it is written.
#pragma once

#include "platform/audio/AudioPlayback.h"
#include "platform/audio/WavFileWriter.h"

#include <atomic>
#include <string>
#include <thread>

class VirtualPlayback final : public AudioPlayback {
public:
    VirtualPlayback(const WAVEFORMATEX& format, std::string outputPath, bool realTime);
    ~VirtualPlayback() override;

    // Creates the output file when there is one.
    MMRESULT open();
    MMRESULT start(Source& source) override;
    void stop() override;

private:
    void run(Source* source);

    const WAVEFORMATEX m_format;
    const std::string m_outputPath;
    const bool m_realTime;
    WavFileWriter m_writer;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
};
