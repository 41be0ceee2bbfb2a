#include "maker/Ek7Tapi/wave/LineWaveWriter.h"

#include "maker/Ek7Tapi/wave/LineWave.h"

namespace {

void put32(unsigned char* p, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>((v >> (8 * i)) & 0xFF);
}

// The plain 44-byte header; sizes are filled in as the file grows.
void header(unsigned char* h, std::uint32_t dataBytes)
{
    const unsigned char fixed[44] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ',
                                     16,  0,   0,   0,   1, 0, 1, 0, 0,   0,   0,   0,   0,   0,   0,   0,
                                     2,   0,   16,  0,   'd', 'a', 't', 'a', 0, 0, 0, 0};
    for (int i = 0; i < 44; ++i)
        h[i] = fixed[i];
    put32(h + 4, 36 + dataBytes);
    put32(h + 24, LineWave::kRate);
    put32(h + 28, LineWave::kRate * 2);
    put32(h + 40, dataBytes);
}

}  // namespace

LineWaveWriter::~LineWaveWriter()
{
    close();
}

bool LineWaveWriter::open(const std::string& path)
{
    close();
    m_file = std::fopen(path.c_str(), "wb");
    m_samples = 0;
    m_failed = false;
    if (m_file == nullptr)
        return false;
    unsigned char h[44];
    header(h, 0);
    m_failed = std::fwrite(h, 1, sizeof h, m_file) != sizeof h;
    return !m_failed;
}

bool LineWaveWriter::append(const std::int16_t* samples, std::size_t count)
{
    if (m_file == nullptr)
        return false;
    unsigned char bytes[2 * LineWave::kSamplesPerFrame];
    while (count > 0) {
        const std::size_t chunk = count < LineWave::kSamplesPerFrame ? count : LineWave::kSamplesPerFrame;
        for (std::size_t i = 0; i < chunk; ++i) {
            const auto v = static_cast<std::uint16_t>(samples[i]);
            bytes[2 * i] = static_cast<unsigned char>(v & 0xFF);
            bytes[2 * i + 1] = static_cast<unsigned char>(v >> 8);
        }
        if (std::fwrite(bytes, 2, chunk, m_file) != chunk)
            m_failed = true;
        m_samples += static_cast<std::uint32_t>(chunk);
        samples += chunk;
        count -= chunk;
    }
    return !m_failed;
}

bool LineWaveWriter::close()
{
    if (m_file == nullptr)
        return !m_failed;
    unsigned char h[44];
    header(h, m_samples * 2);
    if (std::fseek(m_file, 0, SEEK_SET) != 0 || std::fwrite(h, 1, sizeof h, m_file) != sizeof h)
        m_failed = true;
    if (std::fclose(m_file) != 0)
        m_failed = true;
    m_file = nullptr;
    return !m_failed;
}
