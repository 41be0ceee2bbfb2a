// The "qt" backend's input: a QAudioSource on its own thread, read as sound
// arrives. When the device will not record the format asked for (it says so,
// or opening fails), it records in the device's preferred format and
// converts (rate, channels, sample type), so the recording still has
// exactly the requested format.
#pragma once

#include "platform/audio/AudioCapture.h"
#include "platform/audio/PcmConverter.h"
#include "platform/audio/QtAudioThread.h"

#include <QAudioDevice>

#include <memory>
#include <vector>

class QAudioSource;
class QIODevice;
class QTimer;

class QtCapture final : public AudioCapture {
public:
    QtCapture(const QAudioDevice& device, const WAVEFORMATEX& format);
    ~QtCapture() override;

    MMRESULT start(Sink& sink) override;
    void stop() override;

    // Whether the last start had to convert (for tests and diagnostics).
    bool converting() const { return m_converter != nullptr; }

private:
    // These run on m_thread only.
    MMRESULT startHere(Sink* sink);
    bool openSource(const QAudioFormat& format);
    void stopHere();
    void pump();

    QtAudioThread m_thread;
    const QAudioDevice m_device;
    const WAVEFORMATEX m_format;
    QAudioSource* m_source = nullptr;
    QIODevice* m_io = nullptr;
    QTimer* m_timer = nullptr;
    std::unique_ptr<PcmConverter> m_converter;
    std::vector<char> m_converted;
    std::vector<char> m_partial;  // bytes of an incomplete frame
    Sink* m_sink = nullptr;
};
