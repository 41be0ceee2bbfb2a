#include "platform/audio/VirtualPlayback.h"

#include <chrono>
#include <vector>

VirtualPlayback::VirtualPlayback(const WAVEFORMATEX& format, std::string outputPath, bool realTime)
    : m_format(format), m_outputPath(std::move(outputPath)), m_realTime(realTime)
{
}

VirtualPlayback::~VirtualPlayback() { stop(); }

MMRESULT VirtualPlayback::open()
{
    if (m_outputPath.empty())
        return MMSYSERR_NOERROR;
    return m_writer.create(m_outputPath, m_format) ? MMSYSERR_NOERROR : MMSYSERR_ALLOCATED;
}

MMRESULT VirtualPlayback::start(Source& source)
{
    stop();
    m_stop = false;
    m_thread = std::thread([this, &source] { run(&source); });
    return MMSYSERR_NOERROR;
}

void VirtualPlayback::stop()
{
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
    if (m_writer.isOpen())
        m_writer.finish();
}

void VirtualPlayback::run(Source* source)
{
    using Clock = std::chrono::steady_clock;
    const std::size_t block = m_format.nBlockAlign;
    const std::size_t chunk = m_realTime ? (m_format.nSamplesPerSec / 100) * block : 64 * 1024 - (64 * 1024) % block;
    std::vector<char> buffer(chunk);
    std::uint64_t total = 0;
    bool idle = true;
    Clock::time_point next;
    while (!m_stop) {
        const std::size_t got = source->pull(buffer.data(), buffer.size());
        if (got == 0) {
            idle = true;
            source->waitForData(20);
            continue;
        }
        if (m_writer.isOpen())
            m_writer.write(buffer.data(), got);
        total += got;
        if (m_realTime) {
            if (idle)
                next = Clock::now();
            idle = false;
            next += std::chrono::microseconds(static_cast<long long>(got * 1000000ULL / m_format.nAvgBytesPerSec));
            std::this_thread::sleep_until(next);
        }
        source->played(total);
    }
}
