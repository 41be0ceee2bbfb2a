#include "platform/audio/QtCapture.h"

#include "platform/audio/QtAudioFormats.h"

#include <QAudioSource>
#include <QIODevice>
#include <QTimer>

QtCapture::QtCapture(const QAudioDevice& device, const WAVEFORMATEX& format)
    : m_device(device), m_format(format)
{
}

QtCapture::~QtCapture() { stop(); }

MMRESULT QtCapture::start(Sink& sink)
{
    MMRESULT result = MMSYSERR_NOERROR;
    m_thread.call([&] { result = startHere(&sink); });
    return result;
}

void QtCapture::stop()
{
    m_thread.call([this] { stopHere(); });
}

bool QtCapture::openSource(const QAudioFormat& format)
{
    m_source = new QAudioSource(m_device, format, m_thread.context());
    // 50 ms of server-side buffering: positions stay close to real time.
    m_source->setBufferSize(format.bytesForDuration(50000));
    m_io = m_source->start();
    if (m_io != nullptr && m_source->error() == QAudio::NoError)
        return true;
    delete m_source;
    m_source = nullptr;
    m_io = nullptr;
    return false;
}

MMRESULT QtCapture::startHere(Sink* sink)
{
    stopHere();
    m_sink = sink;
    const QAudioFormat wanted = toQtFormat(m_format);
    bool direct = m_device.isFormatSupported(wanted) && openSource(wanted);
    if (!direct) {
        const QAudioFormat preferred = m_device.preferredFormat();
        PcmLayout from;
        if (!toPcmLayout(preferred, from))
            return WAVERR_BADFORMAT;
        if (!openSource(preferred))
            return MMSYSERR_ALLOCATED;
        m_converter = std::make_unique<PcmConverter>(from, layoutOf(m_format));
    }
    QObject::connect(m_io, &QIODevice::readyRead, m_thread.context(), [this] { pump(); });
    // Some servers signal rarely; a short poll keeps the buffers flowing.
    m_timer = new QTimer(m_thread.context());
    m_timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(m_timer, &QTimer::timeout, m_thread.context(), [this] { pump(); });
    m_timer->start(10);
    return MMSYSERR_NOERROR;
}

void QtCapture::pump()
{
    if (m_io == nullptr || m_sink == nullptr)
        return;
    const QByteArray data = m_io->readAll();
    if (data.isEmpty())
        return;
    const char* bytes = data.constData();
    std::size_t size = static_cast<std::size_t>(data.size());
    if (m_converter) {
        m_converted.clear();
        m_converter->convert(bytes, size, m_converted);
        bytes = m_converted.data();
        size = m_converted.size();
    }
    // Whole frames only.
    const std::size_t block = m_format.nBlockAlign;
    m_partial.insert(m_partial.end(), bytes, bytes + size);
    const std::size_t whole = m_partial.size() - m_partial.size() % block;
    if (whole > 0) {
        m_sink->deliver(m_partial.data(), whole);
        m_partial.erase(m_partial.begin(), m_partial.begin() + static_cast<std::ptrdiff_t>(whole));
    }
}

void QtCapture::stopHere()
{
    // The source's destructor runs the event loop: nothing may reach it
    // through the timer or readyRead once it is going.
    delete m_timer;
    m_timer = nullptr;
    if (m_source != nullptr) {
        pump();
        QObject::disconnect(m_io, nullptr, m_thread.context(), nullptr);
        QAudioSource* source = m_source;
        m_source = nullptr;
        m_io = nullptr;
        source->stop();
        delete source;
    }
    m_converter.reset();
    m_partial.clear();
    m_sink = nullptr;
}
