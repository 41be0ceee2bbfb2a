#include "telephony/module/TestLineFrames.h"

#include <cstdint>

std::string TestLineFrames::encode(char type, const std::string& payload)
{
    std::string frame;
    frame.reserve(payload.size() + 5);
    frame.push_back(type);
    const auto size = static_cast<std::uint32_t>(payload.size());
    for (int i = 0; i < 4; ++i)
        frame.push_back(static_cast<char>((size >> (8 * i)) & 0xFF));
    frame += payload;
    return frame;
}

void TestLineFrames::feed(const char* bytes, std::size_t count)
{
    if (m_read > 0 && m_read == m_buffer.size()) {
        m_buffer.clear();
        m_read = 0;
    }
    m_buffer.append(bytes, count);
}

bool TestLineFrames::next(char& type, std::string& payload)
{
    if (m_broken || m_buffer.size() - m_read < 5)
        return false;
    const auto* head = reinterpret_cast<const unsigned char*>(m_buffer.data() + m_read);
    const std::size_t size = static_cast<std::size_t>(head[1]) | static_cast<std::size_t>(head[2]) << 8 |
                             static_cast<std::size_t>(head[3]) << 16 | static_cast<std::size_t>(head[4]) << 24;
    if (size > kMaxPayload) {
        m_broken = true;
        return false;
    }
    if (m_buffer.size() - m_read < 5 + size)
        return false;
    type = static_cast<char>(head[0]);
    payload.assign(m_buffer, m_read + 5, size);
    m_read += 5 + size;
    if (m_read > 65536) {  // keep the buffer from growing without end
        m_buffer.erase(0, m_read);
        m_read = 0;
    }
    return true;
}
