#include "platform/audio/QtAudioBackend.h"

#include "platform/audio/PulseMonitors.h"
#include "platform/audio/QtCapture.h"
#include "platform/audio/QtPlayback.h"

#include <QMediaDevices>

namespace {

std::vector<AudioBackend::Device> describe(const QList<QAudioDevice>& devices)
{
    std::vector<AudioBackend::Device> list;
    for (const QAudioDevice& d : devices)
        list.push_back({d.id().toStdString(), d.description().toStdString()});
    return list;
}

bool find(const QList<QAudioDevice>& devices, const std::string& id, QAudioDevice& found)
{
    for (const QAudioDevice& d : devices) {
        if (d.id().toStdString() == id) {
            found = d;
            return true;
        }
    }
    return false;
}

}  // namespace

// Qt's inputs, then the server's monitors, which Qt leaves out (Qt's ids
// are the server's source names, so one it does list is not repeated).
std::vector<AudioBackend::Device> QtAudioBackend::inputs()
{
    std::vector<Device> list = describe(QMediaDevices::audioInputs());
    for (const pulsemonitors::Monitor& monitor : pulsemonitors::list()) {
        bool listed = false;
        for (const Device& d : list)
            listed = listed || d.id == monitor.source;
        if (!listed)
            list.push_back({monitor.source, monitor.description, true});
    }
    return list;
}

std::vector<AudioBackend::Device> QtAudioBackend::outputs() { return describe(QMediaDevices::audioOutputs()); }

std::string QtAudioBackend::defaultInput()
{
    const QAudioDevice d = QMediaDevices::defaultAudioInput();
    return d.isNull() ? std::string() : d.id().toStdString();
}

std::string QtAudioBackend::defaultOutput()
{
    const QAudioDevice d = QMediaDevices::defaultAudioOutput();
    return d.isNull() ? std::string() : d.id().toStdString();
}

MMRESULT QtAudioBackend::openCapture(const std::string& deviceId, const WAVEFORMATEX& format,
                                     std::unique_ptr<AudioCapture>& capture)
{
    QAudioDevice device;
    if (!find(QMediaDevices::audioInputs(), deviceId, device)) {
        for (const pulsemonitors::Monitor& monitor : pulsemonitors::list()) {
            if (monitor.source == deviceId) {
                capture = pulsemonitors::openCapture(deviceId, format);
                return MMSYSERR_NOERROR;
            }
        }
        return MMSYSERR_BADDEVICEID;
    }
    capture = std::make_unique<QtCapture>(device, format);
    return MMSYSERR_NOERROR;
}

MMRESULT QtAudioBackend::openPlayback(const std::string& deviceId, const WAVEFORMATEX& format,
                                      std::unique_ptr<AudioPlayback>& playback)
{
    QAudioDevice device;
    if (!find(QMediaDevices::audioOutputs(), deviceId, device))
        return MMSYSERR_BADDEVICEID;
    playback = std::make_unique<QtPlayback>(device, format);
    return MMSYSERR_NOERROR;
}
