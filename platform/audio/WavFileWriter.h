// Writes a PCM WAV file as sound arrives: a 44-byte header (RIFF, "fmt "
// of 16 bytes, "data") whose sizes finish() brings up to date. RAII: the
// destructor finishes the file.
#pragma once

#include "platform/audio/DiskFile.h"
#include "platform/audio/WaveTypes.h"

#include <cstdint>
#include <string>

class WavFileWriter {
public:
    WavFileWriter() = default;
    ~WavFileWriter();
    WavFileWriter(const WavFileWriter&) = delete;
    WavFileWriter& operator=(const WavFileWriter&) = delete;

    bool create(const std::string& path, const WAVEFORMATEX& format);
    bool write(const char* data, std::size_t size);
    // Writes the sizes into the header; more sound may follow.
    bool finish();
    bool isOpen() const { return m_file.isOpen(); }
    std::uint64_t dataSize() const { return m_dataSize; }

private:
    DiskFile m_file;
    std::uint64_t m_dataSize = 0;
};
