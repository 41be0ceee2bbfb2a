#include "platform/audio/WavFileReader.h"

#include "platform/audio/Mmio.h"
#include "platform/audio/WaveFormats.h"

#include <algorithm>
#include <vector>

namespace {

constexpr WORD kFormatFloat = 3;
constexpr WORD kFormatExtensible = 0xFFFE;

struct MmioCloser {
    HMMIO mmio;
    ~MmioCloser()
    {
        if (mmio != nullptr)
            mmioClose(mmio, 0);
    }
};

}  // namespace

bool WavFileReader::fail(const std::string& why)
{
    m_error = why;
    m_file.close();
    return false;
}

bool WavFileReader::open(const std::string& path)
{
    m_error.clear();
    m_read = 0;
    MmioCloser mmio{mmioOpen(path.c_str(), nullptr, MMIO_READ)};
    if (mmio.mmio == nullptr)
        return fail("cannot open " + path);
    MMCKINFO riff;
    riff.fccType = mmioFOURCC('W', 'A', 'V', 'E');
    if (mmioDescend(mmio.mmio, &riff, nullptr, MMIO_FINDRIFF) != MMSYSERR_NOERROR)
        return fail(path + " is not a RIFF WAVE file");
    MMCKINFO chunk;
    chunk.ckid = mmioFOURCC('f', 'm', 't', ' ');
    if (mmioDescend(mmio.mmio, &chunk, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        return fail(path + " has no \"fmt \" chunk");
    if (chunk.cksize < 16 || chunk.cksize > 1024)
        return fail(path + " has a \"fmt \" chunk of a wrong size");
    std::vector<unsigned char> fmt(chunk.cksize);
    if (mmioRead(mmio.mmio, reinterpret_cast<char*>(fmt.data()), static_cast<LONG>(fmt.size())) != static_cast<LONG>(fmt.size()))
        return fail(path + " ends inside its \"fmt \" chunk");
    readWaveFormatEx(fmt.data(), fmt.size(), m_format);
    WORD tag = m_format.wFormatTag;
    if (tag == kFormatExtensible && fmt.size() >= 26)
        tag = static_cast<WORD>(fmt[24] | (fmt[25] << 8));  // first two bytes of the sub-format
    m_layout.rate = static_cast<int>(m_format.nSamplesPerSec);
    m_layout.channels = m_format.nChannels;
    if (tag == WAVE_FORMAT_PCM && m_format.wBitsPerSample == 8)
        m_layout.kind = SampleKind::UInt8;
    else if (tag == WAVE_FORMAT_PCM && m_format.wBitsPerSample == 16)
        m_layout.kind = SampleKind::Int16;
    else if (tag == WAVE_FORMAT_PCM && m_format.wBitsPerSample == 32)
        m_layout.kind = SampleKind::Int32;
    else if (tag == kFormatFloat && m_format.wBitsPerSample == 32)
        m_layout.kind = SampleKind::Float32;
    else
        return fail(path + " is not 8-, 16- or 32-bit PCM");
    if (m_layout.channels < 1 || m_layout.rate < 1
        || m_format.nBlockAlign != m_layout.bytesPerFrame())
        return fail(path + " has an inconsistent format");
    mmioAscend(mmio.mmio, &chunk, 0);
    chunk.ckid = mmioFOURCC('d', 'a', 't', 'a');
    if (mmioDescend(mmio.mmio, &chunk, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        return fail(path + " has no \"data\" chunk");
    m_dataOffset = chunk.dwDataOffset;
    const auto fileSize = static_cast<std::uint64_t>(mmioSize(mmio.mmio));
    const std::uint64_t available = fileSize > m_dataOffset ? fileSize - m_dataOffset : 0;
    m_dataSize = std::min<std::uint64_t>(chunk.cksize, available);
    m_dataSize -= m_dataSize % m_format.nBlockAlign;
    if (!m_file.open(path, DiskFile::Mode::Read))
        return fail("cannot open " + path);
    return true;
}

std::size_t WavFileReader::read(char* buffer, std::size_t size)
{
    const auto take = static_cast<std::size_t>(std::min<std::uint64_t>(size, m_dataSize - m_read));
    const std::size_t got = m_file.readAt(m_dataOffset + m_read, buffer, take);
    m_read += got;
    return got;
}
