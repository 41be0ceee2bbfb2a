#include "platform/audio/VirtualCapture.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr double kTwoPi = 6.28318530717958647692;

}  // namespace

VirtualCapture::VirtualCapture(const WAVEFORMATEX& format, std::string input, bool realTime)
    : m_format(format), m_input(std::move(input)), m_realTime(realTime)
{
}

VirtualCapture::~VirtualCapture() { stop(); }

MMRESULT VirtualCapture::open()
{
    if (m_input == "silence")
        return MMSYSERR_NOERROR;
    if (m_input.rfind("tone:", 0) == 0) {
        char* end = nullptr;
        m_toneFrequency = std::strtod(m_input.c_str() + 5, &end);
        if (end != nullptr && *end == ':')
            m_toneLevel = std::strtod(end + 1, nullptr);
        if (!(m_toneFrequency > 0) || !(m_toneLevel >= 0 && m_toneLevel <= 1))
            return MMSYSERR_ALLOCATED;
        return MMSYSERR_NOERROR;
    }
    m_file = std::make_unique<WavFileReader>();
    if (!m_file->open(m_input))
        return MMSYSERR_ALLOCATED;
    m_converter = std::make_unique<PcmConverter>(m_file->layout(), layoutOf(m_format));
    return MMSYSERR_NOERROR;
}

MMRESULT VirtualCapture::start(Sink& sink)
{
    stop();
    m_stop = false;
    m_thread = std::thread([this, &sink] { run(&sink); });
    return MMSYSERR_NOERROR;
}

void VirtualCapture::stop()
{
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
}

void VirtualCapture::run(Sink* sink)
{
    const std::size_t block = m_format.nBlockAlign;
    std::vector<char> chunk;
    if (m_realTime) {
        using Clock = std::chrono::steady_clock;
        const std::size_t bytes = (m_format.nSamplesPerSec / 100) * block;  // 10 ms
        const auto period = std::chrono::microseconds(1000000LL * static_cast<long long>(bytes / block) / m_format.nSamplesPerSec);
        chunk.resize(bytes);
        auto next = Clock::now() + period;
        while (!m_stop) {
            std::this_thread::sleep_until(next);
            // Behind schedule (a busy machine) means several chunks at once:
            // real time is kept in total.
            while (!m_stop && Clock::now() >= next) {
                generate(chunk.data(), bytes);
                sink->deliver(chunk.data(), bytes);
                next += period;
            }
        }
        return;
    }
    chunk.resize(64 * 1024);
    while (!m_stop) {
        std::size_t room = sink->waitForRoom(20);
        room = std::min(room, chunk.size());
        room -= room % block;
        if (room == 0)
            continue;
        generate(chunk.data(), room);
        sink->deliver(chunk.data(), room);
    }
}

void VirtualCapture::generate(char* out, std::size_t bytes)
{
    const std::size_t block = m_format.nBlockAlign;
    const std::size_t frames = bytes / block;
    const bool eightBit = m_format.wBitsPerSample == 8;
    if (m_file) {
        fillFromFile(out, bytes);
        m_frame += frames;
        return;
    }
    if (m_toneFrequency <= 0) {
        std::memset(out, eightBit ? 0x80 : 0, bytes);
        m_frame += frames;
        return;
    }
    for (std::size_t f = 0; f < frames; ++f, ++m_frame) {
        const double cycles = std::fmod(static_cast<double>(m_frame) * m_toneFrequency / m_format.nSamplesPerSec, 1.0);
        const double v = m_toneLevel * std::sin(kTwoPi * cycles);
        char* frame = out + f * block;
        for (int c = 0; c < m_format.nChannels; ++c) {
            if (eightBit) {
                frame[c] = static_cast<char>(std::lrint(v * 127.0) + 128);
            } else {
                const long s = std::lrint(v * 32767.0);
                frame[2 * c] = static_cast<char>(s & 0xFF);
                frame[2 * c + 1] = static_cast<char>((s >> 8) & 0xFF);
            }
        }
    }
}

void VirtualCapture::fillFromFile(char* out, std::size_t bytes)
{
    std::size_t done = 0;
    std::vector<char> raw(32 * 1024);
    while (done < bytes) {
        if (m_pendingStart < m_pending.size()) {
            const std::size_t take = std::min(bytes - done, m_pending.size() - m_pendingStart);
            std::memcpy(out + done, m_pending.data() + m_pendingStart, take);
            done += take;
            m_pendingStart += take;
            continue;
        }
        m_pending.clear();
        m_pendingStart = 0;
        if (m_fileOver) {
            std::memset(out + done, m_format.wBitsPerSample == 8 ? 0x80 : 0, bytes - done);
            return;
        }
        const std::size_t got = m_file->read(raw.data(), raw.size());
        if (got > 0) {
            m_converter->convert(raw.data(), got, m_pending);
        } else {
            m_converter->flush(m_pending);
            m_fileOver = true;
        }
    }
}
