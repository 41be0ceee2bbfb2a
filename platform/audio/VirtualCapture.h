// The virtual backend's input: sound from a WAV file (converted to the
// format asked for, then silence once the file is over), a tone
// ("tone:440", or "tone:440:0.25" for a level other than 0.5 of full
// scale), or "silence". At real-time pace it delivers 10 ms every 10 ms
// and, like a real device, drops what finds no queued buffer; at fast pace
// it delivers as fast as buffers are queued and never drops anything.
// The stream continues where it stopped when started again.
#pragma once

#include "platform/audio/AudioCapture.h"
#include "platform/audio/PcmConverter.h"
#include "platform/audio/WavFileReader.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

class VirtualCapture final : public AudioCapture {
public:
    VirtualCapture(const WAVEFORMATEX& format, std::string input, bool realTime);
    ~VirtualCapture() override;

    // Checks the input: a tone or silence always opens, a file must be a
    // readable PCM WAV file.
    MMRESULT open();
    MMRESULT start(Sink& sink) override;
    void stop() override;

private:
    void run(Sink* sink);
    void generate(char* out, std::size_t bytes);
    void fillFromFile(char* out, std::size_t bytes);

    const WAVEFORMATEX m_format;
    const std::string m_input;
    const bool m_realTime;

    double m_toneFrequency = 0;   // 0 = silence or a file
    double m_toneLevel = 0.5;
    std::uint64_t m_frame = 0;     // frames made so far, for the tone's phase
    std::unique_ptr<WavFileReader> m_file;
    std::unique_ptr<PcmConverter> m_converter;
    std::vector<char> m_pending;   // converted file sound not yet delivered
    std::size_t m_pendingStart = 0;
    bool m_fileOver = false;

    std::thread m_thread;
    std::atomic<bool> m_stop{false};
};
