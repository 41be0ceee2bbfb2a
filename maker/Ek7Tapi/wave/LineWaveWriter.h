// A WAV file written while a call goes on: 8000 Hz 16-bit mono, the header's
// sizes put right by close(). A file that was never closed (the process
// died) still opens as a WAV of the length its header had, 0 at worst.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

class LineWaveWriter {
public:
    LineWaveWriter() = default;
    ~LineWaveWriter();
    LineWaveWriter(const LineWaveWriter&) = delete;
    LineWaveWriter& operator=(const LineWaveWriter&) = delete;

    // Creates (replaces) path. False when it cannot be created.
    bool open(const std::string& path);
    bool isOpen() const { return m_file != nullptr; }
    bool append(const std::int16_t* samples, std::size_t count);
    // Finishes the header and closes; true when everything was written.
    bool close();
    std::uint32_t samplesWritten() const { return m_samples; }

private:
    std::FILE* m_file = nullptr;
    std::uint32_t m_samples = 0;
    bool m_failed = false;
};
