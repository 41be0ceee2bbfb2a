// The "qt" backend's output: a QAudioSink on its own thread, fed every
// 10 ms with what fits. A buffer counts as heard when the sink's processed
// time has passed its end (the sink reports idle while some 130 ms are
// still queued in the server, so idle alone would cut the tail). Converts
// like QtCapture when the device will not take the format.
#pragma once

#include "platform/audio/AudioPlayback.h"
#include "platform/audio/PcmConverter.h"
#include "platform/audio/QtAudioThread.h"

#include <QAudioDevice>

#include <cstdint>
#include <memory>
#include <vector>

class QAudioSink;
class QIODevice;
class QTimer;

class QtPlayback final : public AudioPlayback {
public:
    QtPlayback(const QAudioDevice& device, const WAVEFORMATEX& format);
    ~QtPlayback() override;

    MMRESULT start(Source& source) override;
    void stop() override;

private:
    MMRESULT startHere(Source* source);
    bool openSink(const QAudioFormat& format);
    void stopHere();
    void feed();

    QtAudioThread m_thread;
    const QAudioDevice m_device;
    const WAVEFORMATEX m_format;
    QAudioSink* m_sink = nullptr;
    QIODevice* m_io = nullptr;
    QTimer* m_timer = nullptr;
    std::unique_ptr<PcmConverter> m_converter;
    std::vector<char> m_waiting;       // converted sound the sink had no room for
    std::uint64_t m_pulled = 0;        // source bytes taken
    std::uint64_t m_sinkBytes = 0;     // bytes given to the sink
    std::int64_t m_lastProcessed = -1;
    int m_stalledTicks = 0;
    Source* m_source = nullptr;
};
