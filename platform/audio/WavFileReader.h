// Reads the sound of a PCM WAV file in order: the "fmt " and "data" chunks
// of a RIFF "WAVE" file, 8-, 16- or 32-bit integer or 32-bit float
// samples (plain or "extensible" format). A data chunk that claims more
// bytes than the file holds is read as far as the file goes.
#pragma once

#include "platform/audio/DiskFile.h"
#include "platform/audio/PcmConverter.h"
#include "platform/audio/WaveTypes.h"

#include <cstdint>
#include <string>

class WavFileReader {
public:
    // False with error() saying why.
    bool open(const std::string& path);

    const WAVEFORMATEX& format() const { return m_format; }
    PcmLayout layout() const { return m_layout; }
    std::uint64_t dataOffset() const { return m_dataOffset; }
    std::uint64_t dataSize() const { return m_dataSize; }
    const std::string& error() const { return m_error; }

    // The next bytes of the data chunk; 0 at its end.
    std::size_t read(char* buffer, std::size_t size);

private:
    bool fail(const std::string& why);

    DiskFile m_file;
    WAVEFORMATEX m_format;
    PcmLayout m_layout;
    std::uint64_t m_dataOffset = 0;
    std::uint64_t m_dataSize = 0;
    std::uint64_t m_read = 0;
    std::string m_error;
};
