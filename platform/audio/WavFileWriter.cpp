#include "platform/audio/WavFileWriter.h"

#include "platform/audio/WaveFormats.h"

#include <cstring>

namespace {

void put32(unsigned char* p, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>((v >> (8 * i)) & 0xFF);
}

}  // namespace

WavFileWriter::~WavFileWriter() { finish(); }

bool WavFileWriter::create(const std::string& path, const WAVEFORMATEX& format)
{
    if (!m_file.open(path, DiskFile::Mode::CreateAlways))
        return false;
    unsigned char head[44] = {};
    std::memcpy(head, "RIFF", 4);
    put32(head + 4, 36);
    std::memcpy(head + 8, "WAVEfmt ", 8);
    put32(head + 16, 16);
    unsigned char fmt[kWaveFormatExFileSize];
    writeWaveFormatEx(format, fmt);
    std::memcpy(head + 20, fmt, 16);
    std::memcpy(head + 36, "data", 4);
    m_dataSize = 0;
    return m_file.write(head, sizeof head);
}

bool WavFileWriter::write(const char* data, std::size_t size)
{
    if (!m_file.isOpen() || !m_file.write(data, size))
        return false;
    m_dataSize += size;
    return true;
}

bool WavFileWriter::finish()
{
    if (!m_file.isOpen())
        return false;
    const std::uint64_t end = m_file.tell();
    unsigned char v[4];
    put32(v, static_cast<std::uint32_t>(36 + m_dataSize));
    bool ok = m_file.seek(4) && m_file.write(v, 4);
    put32(v, static_cast<std::uint32_t>(m_dataSize));
    ok = ok && m_file.seek(40) && m_file.write(v, 4);
    return m_file.seek(end) && ok;
}
