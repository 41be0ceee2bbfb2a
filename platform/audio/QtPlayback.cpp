#include "platform/audio/QtPlayback.h"

#include "platform/audio/QtAudioFormats.h"

#include <QAudioSink>
#include <QIODevice>
#include <QTimer>

#include <algorithm>

QtPlayback::QtPlayback(const QAudioDevice& device, const WAVEFORMATEX& format)
    : m_device(device), m_format(format)
{
}

QtPlayback::~QtPlayback() { stop(); }

MMRESULT QtPlayback::start(Source& source)
{
    MMRESULT result = MMSYSERR_NOERROR;
    m_thread.call([&] { result = startHere(&source); });
    return result;
}

void QtPlayback::stop()
{
    m_thread.call([this] { stopHere(); });
}

bool QtPlayback::openSink(const QAudioFormat& format)
{
    m_sink = new QAudioSink(m_device, format, m_thread.context());
    m_sink->setBufferSize(format.bytesForDuration(200000));
    m_io = m_sink->start();
    if (m_io != nullptr && m_sink->error() == QAudio::NoError)
        return true;
    delete m_sink;
    m_sink = nullptr;
    m_io = nullptr;
    return false;
}

MMRESULT QtPlayback::startHere(Source* source)
{
    stopHere();
    m_source = source;
    const QAudioFormat wanted = toQtFormat(m_format);
    if (!(m_device.isFormatSupported(wanted) && openSink(wanted))) {
        const QAudioFormat preferred = m_device.preferredFormat();
        PcmLayout to;
        if (!toPcmLayout(preferred, to))
            return WAVERR_BADFORMAT;
        if (!openSink(preferred))
            return MMSYSERR_ALLOCATED;
        m_converter = std::make_unique<PcmConverter>(layoutOf(m_format), to);
    }
    m_timer = new QTimer(m_thread.context());
    m_timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(m_timer, &QTimer::timeout, m_thread.context(), [this] { feed(); });
    m_timer->start(10);
    feed();
    return MMSYSERR_NOERROR;
}

void QtPlayback::feed()
{
    if (m_sink == nullptr || m_source == nullptr)
        return;
    // Give the sink what fits, converting on the way when needed.
    qint64 room = m_sink->bytesFree();
    std::vector<char> chunk;
    while (room > 0) {
        if (m_waiting.empty()) {
            const std::size_t block = m_format.nBlockAlign;
            std::size_t want = static_cast<std::size_t>(room);
            if (m_converter)
                want = std::max<std::size_t>(block, want / 2);
            want -= want % block;
            if (want == 0)
                break;
            chunk.resize(want);
            const std::size_t got = m_source->pull(chunk.data(), want);
            if (got == 0)
                break;
            m_pulled += got;
            if (m_converter)
                m_converter->convert(chunk.data(), got, m_waiting);
            else
                m_waiting.assign(chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(got));
            if (m_waiting.empty())
                continue;
        }
        const qint64 written = m_io->write(m_waiting.data(), std::min<qint64>(room, static_cast<qint64>(m_waiting.size())));
        if (written <= 0)
            break;
        m_sinkBytes += static_cast<std::uint64_t>(written);
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + written);
        room -= written;
    }

    // What has been heard, in the source's bytes.
    const qint64 processed = m_sink->processedUSecs();
    const auto heard = static_cast<std::uint64_t>(processed) * m_format.nAvgBytesPerSec / 1000000;
    std::uint64_t report = std::min(heard - heard % m_format.nBlockAlign, m_pulled);
    // Everything taken has been written and the sink has stopped moving:
    // the converter's last few frames and rounding must not hold the end.
    const bool drained = m_waiting.empty() && !m_source->waitForData(0);
    m_stalledTicks = processed == m_lastProcessed ? m_stalledTicks + 1 : 0;
    m_lastProcessed = processed;
    const std::uint64_t writtenUs = m_sinkBytes * 1000000ULL / static_cast<std::uint64_t>(m_sink->format().bytesPerFrame() * m_sink->format().sampleRate());
    if (drained && (static_cast<std::uint64_t>(processed) + 5000 >= writtenUs || m_stalledTicks > 50))
        report = m_pulled;
    m_source->played(report);
}

void QtPlayback::stopHere()
{
    // The sink's destructor runs the event loop: the feeding timer must be
    // gone first.
    delete m_timer;
    m_timer = nullptr;
    if (m_sink != nullptr) {
        QAudioSink* sink = m_sink;
        m_sink = nullptr;
        m_io = nullptr;
        sink->stop();
        delete sink;
    }
    m_converter.reset();
    m_waiting.clear();
    m_pulled = 0;
    m_sinkBytes = 0;
    m_lastProcessed = -1;
    m_stalledTicks = 0;
    m_source = nullptr;
}
