#include "platform/audio/QtAudioFormats.h"

QAudioFormat toQtFormat(const WAVEFORMATEX& format)
{
    QAudioFormat q;
    q.setSampleRate(static_cast<int>(format.nSamplesPerSec));
    q.setChannelCount(format.nChannels);
    q.setSampleFormat(format.wBitsPerSample == 8 ? QAudioFormat::UInt8 : QAudioFormat::Int16);
    return q;
}

bool toPcmLayout(const QAudioFormat& format, PcmLayout& layout)
{
    layout.rate = format.sampleRate();
    layout.channels = format.channelCount();
    switch (format.sampleFormat()) {
    case QAudioFormat::UInt8: layout.kind = SampleKind::UInt8; break;
    case QAudioFormat::Int16: layout.kind = SampleKind::Int16; break;
    case QAudioFormat::Int32: layout.kind = SampleKind::Int32; break;
    case QAudioFormat::Float: layout.kind = SampleKind::Float32; break;
    default: return false;
    }
    return layout.rate > 0 && layout.channels > 0;
}
