// Handle tables and argument checks; the devices do the work.
#include "platform/audio/WaveApi.h"

#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/WaveFormats.h"
#include "platform/audio/WaveInDevice.h"
#include "platform/audio/WaveOutDevice.h"

#include <cstring>
#include <map>
#include <memory>
#include <mutex>

namespace {

template <typename Device>
struct Table {
    std::mutex mutex;
    std::map<std::uintptr_t, std::shared_ptr<Device>> devices;
    std::uintptr_t last = 0;

    std::shared_ptr<Device> find(std::uintptr_t handle)
    {
        std::lock_guard<std::mutex> lock(mutex);
        const auto it = devices.find(handle);
        return it == devices.end() ? nullptr : it->second;
    }
};

Table<WaveInDevice>& inputs()
{
    static Table<WaveInDevice> table;
    return table;
}

Table<WaveOutDevice>& outputs()
{
    static Table<WaveOutDevice> table;
    return table;
}

MMRESULT checkOpen(const WAVEFORMATEX* format, DWORD flags)
{
    if (format == nullptr)
        return MMSYSERR_INVALPARAM;
    const DWORD callbackType = flags & CALLBACK_TYPEMASK;
    if (callbackType != CALLBACK_NULL && callbackType != CALLBACK_WINDOW)
        return MMSYSERR_INVALFLAG;
    return isSupportedPcm(*format) ? MMSYSERR_NOERROR : WAVERR_BADFORMAT;
}

HWND callbackWindow(DWORD_PTR callback, DWORD flags)
{
    return (flags & CALLBACK_TYPEMASK) == CALLBACK_WINDOW ? static_cast<HWND>(callback) : 0;
}

const char* errorText(MMRESULT error)
{
    switch (error) {
    case MMSYSERR_NOERROR: return "The sound operation completed.";
    case MMSYSERR_ERROR: return "The sound device reported an unspecified error.";
    case MMSYSERR_BADDEVICEID: return "The sound device number is out of range.";
    case MMSYSERR_NOTENABLED: return "The sound driver is not enabled.";
    case MMSYSERR_ALLOCATED: return "The sound device is in use or could not be opened.";
    case MMSYSERR_INVALHANDLE: return "The sound device handle is not valid.";
    case MMSYSERR_NODRIVER: return "No sound device is available.";
    case MMSYSERR_NOMEM: return "There is not enough memory for this sound operation.";
    case MMSYSERR_NOTSUPPORTED: return "The sound device does not support this operation.";
    case MMSYSERR_INVALFLAG: return "An invalid flag was given to the sound device.";
    case MMSYSERR_INVALPARAM: return "An invalid parameter was given to the sound device.";
    case WAVERR_BADFORMAT: return "The sound format is not supported and cannot be converted.";
    case WAVERR_STILLPLAYING: return "The sound device still holds buffers; reset it first.";
    case WAVERR_UNPREPARED: return "The sound buffer was not prepared.";
    default: return nullptr;
    }
}

MMRESULT copyErrorText(MMRESULT error, char* text, UINT size)
{
    const char* message = errorText(error);
    if (text == nullptr || size == 0)
        return MMSYSERR_INVALPARAM;
    if (message == nullptr) {
        text[0] = '\0';
        return MMSYSERR_BADERRNUM;
    }
    std::strncpy(text, message, size - 1);
    text[size - 1] = '\0';
    return MMSYSERR_NOERROR;
}

// The device id for a device number; empty with *error set when none.
std::string resolveDevice(bool input, UINT deviceId, MMRESULT* error)
{
    AudioBackendRegistry& registry = AudioBackendRegistry::instance();
    AudioBackend* backend = registry.active();
    if (backend == nullptr) {
        *error = MMSYSERR_NODRIVER;
        return {};
    }
    const auto devices = input ? backend->inputs() : backend->outputs();
    if (devices.empty()) {
        *error = MMSYSERR_NODRIVER;
        return {};
    }
    if (deviceId == WAVE_MAPPER) {
        const std::string id = input ? registry.recordingSourceId() : backend->defaultOutput();
        if (!id.empty())
            return id;
        return devices.front().id;
    }
    if (deviceId >= devices.size()) {
        *error = MMSYSERR_BADDEVICEID;
        return {};
    }
    return devices[deviceId].id;
}

}  // namespace

UINT waveInGetNumDevs()
{
    AudioBackend* backend = AudioBackendRegistry::instance().active();
    return backend == nullptr ? 0 : static_cast<UINT>(backend->inputs().size());
}

MMRESULT waveInOpen(HWAVEIN* handle, UINT deviceId, const WAVEFORMATEX* format,
                    DWORD_PTR callback, DWORD_PTR, DWORD flags)
{
    if (MMRESULT e = checkOpen(format, flags); e != MMSYSERR_NOERROR)
        return e;
    MMRESULT error = MMSYSERR_NOERROR;
    const std::string id = resolveDevice(true, deviceId, &error);
    if (id.empty())
        return error;
    if (flags & WAVE_FORMAT_QUERY)
        return MMSYSERR_NOERROR;
    if (handle == nullptr)
        return MMSYSERR_INVALPARAM;
    std::unique_ptr<AudioCapture> capture;
    if (MMRESULT e = AudioBackendRegistry::instance().active()->openCapture(id, *format, capture); e != MMSYSERR_NOERROR)
        return e;
    auto& table = inputs();
    std::shared_ptr<WaveInDevice> device;
    {
        std::lock_guard<std::mutex> lock(table.mutex);
        const HWAVEIN h = ++table.last;
        device = std::make_shared<WaveInDevice>(h, *format, callbackWindow(callback, flags), std::move(capture));
        table.devices.emplace(h, device);
        *handle = h;
    }
    device->post(MM_WIM_OPEN, 0);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInClose(HWAVEIN handle)
{
    auto& table = inputs();
    const auto device = table.find(handle);
    if (!device)
        return MMSYSERR_INVALHANDLE;
    if (device->hasQueuedBuffers())
        return WAVERR_STILLPLAYING;
    device->stop();
    {
        std::lock_guard<std::mutex> lock(table.mutex);
        table.devices.erase(handle);
    }
    device->post(MM_WIM_CLOSE, 0);
    return MMSYSERR_NOERROR;
}

MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT)
{
    const auto device = inputs().find(handle);
    return device ? device->prepare(header) : MMSYSERR_INVALHANDLE;
}

MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT)
{
    const auto device = inputs().find(handle);
    return device ? device->unprepare(header) : MMSYSERR_INVALHANDLE;
}

MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT)
{
    const auto device = inputs().find(handle);
    return device ? device->addBuffer(header) : MMSYSERR_INVALHANDLE;
}

MMRESULT waveInStart(HWAVEIN handle)
{
    const auto device = inputs().find(handle);
    return device ? device->start() : MMSYSERR_INVALHANDLE;
}

MMRESULT waveInStop(HWAVEIN handle)
{
    const auto device = inputs().find(handle);
    return device ? device->stop() : MMSYSERR_INVALHANDLE;
}

MMRESULT waveInReset(HWAVEIN handle)
{
    const auto device = inputs().find(handle);
    return device ? device->reset() : MMSYSERR_INVALHANDLE;
}

MMRESULT waveInGetErrorText(MMRESULT error, char* text, UINT size) { return copyErrorText(error, text, size); }

std::uint64_t waveInDroppedBytes(HWAVEIN handle)
{
    const auto device = inputs().find(handle);
    return device ? device->droppedBytes() : 0;
}

std::uint64_t waveInTotalDroppedBytes() { return WaveInDevice::totalDroppedBytes(); }

UINT waveOutGetNumDevs()
{
    AudioBackend* backend = AudioBackendRegistry::instance().active();
    return backend == nullptr ? 0 : static_cast<UINT>(backend->outputs().size());
}

MMRESULT waveOutOpen(HWAVEOUT* handle, UINT deviceId, const WAVEFORMATEX* format,
                     DWORD_PTR callback, DWORD_PTR, DWORD flags)
{
    if (MMRESULT e = checkOpen(format, flags); e != MMSYSERR_NOERROR)
        return e;
    MMRESULT error = MMSYSERR_NOERROR;
    const std::string id = resolveDevice(false, deviceId, &error);
    if (id.empty())
        return error;
    if (flags & WAVE_FORMAT_QUERY)
        return MMSYSERR_NOERROR;
    if (handle == nullptr)
        return MMSYSERR_INVALPARAM;
    std::unique_ptr<AudioPlayback> playback;
    if (MMRESULT e = AudioBackendRegistry::instance().active()->openPlayback(id, *format, playback); e != MMSYSERR_NOERROR)
        return e;
    auto& table = outputs();
    std::shared_ptr<WaveOutDevice> device;
    {
        std::lock_guard<std::mutex> lock(table.mutex);
        const HWAVEOUT h = ++table.last;
        device = std::make_shared<WaveOutDevice>(h, *format, callbackWindow(callback, flags), std::move(playback));
        table.devices.emplace(h, device);
        *handle = h;
    }
    device->post(MM_WOM_OPEN, 0);
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutClose(HWAVEOUT handle)
{
    auto& table = outputs();
    const auto device = table.find(handle);
    if (!device)
        return MMSYSERR_INVALHANDLE;
    if (device->hasQueuedBuffers())
        return WAVERR_STILLPLAYING;
    {
        std::lock_guard<std::mutex> lock(table.mutex);
        table.devices.erase(handle);
    }
    device->post(MM_WOM_CLOSE, 0);
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutPrepareHeader(HWAVEOUT handle, WAVEHDR* header, UINT)
{
    const auto device = outputs().find(handle);
    return device ? device->prepare(header) : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutUnprepareHeader(HWAVEOUT handle, WAVEHDR* header, UINT)
{
    const auto device = outputs().find(handle);
    return device ? device->unprepare(header) : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutWrite(HWAVEOUT handle, WAVEHDR* header, UINT)
{
    const auto device = outputs().find(handle);
    return device ? device->write(header) : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutReset(HWAVEOUT handle)
{
    const auto device = outputs().find(handle);
    return device ? device->reset() : MMSYSERR_INVALHANDLE;
}

MMRESULT waveOutGetPosition(HWAVEOUT handle, MMTIME* time, UINT)
{
    const auto device = outputs().find(handle);
    if (!device)
        return MMSYSERR_INVALHANDLE;
    if (time == nullptr)
        return MMSYSERR_INVALPARAM;
    const std::uint64_t bytes = device->playedBytes();
    const WAVEFORMATEX& format = device->format();
    switch (time->wType) {
    case TIME_SAMPLES:
        time->u.sample = static_cast<DWORD>(bytes / format.nBlockAlign);
        break;
    case TIME_MS:
        time->u.ms = static_cast<DWORD>(bytes * 1000 / format.nAvgBytesPerSec);
        break;
    default:  // as Windows does, answer in a type it has
        time->wType = TIME_BYTES;
        time->u.cb = static_cast<DWORD>(bytes);
        break;
    }
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutGetErrorText(MMRESULT error, char* text, UINT size) { return copyErrorText(error, text, size); }
