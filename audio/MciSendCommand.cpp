#include "audio/MciSendCommand.h"

#include "audio/MciWaveDevice.h"
#include "platform/WindowMessages.h"

#include <cctype>
#include <cstring>
#include <map>
#include <memory>

namespace {

struct DeviceTable {
    std::map<MCIDEVICEID, std::unique_ptr<MciWaveDevice>> devices;
    MCIDEVICEID last = 0;
};

DeviceTable& table()
{
    static DeviceTable t;
    return t;
}

bool isWaveAudio(const char* type)
{
    if (type == nullptr)
        return false;
    const char* expected = "waveaudio";
    for (; *type != '\0' && *expected != '\0'; ++type, ++expected) {
        if (std::tolower(static_cast<unsigned char>(*type)) != *expected)
            return false;
    }
    return *type == '\0' && *expected == '\0';
}

template <typename Parms>
Parms* parmsOf(DWORD_PTR param)
{
    return reinterpret_cast<Parms*>(param);
}

const char* errorText(MCIERROR error)
{
    switch (error) {
    case 0: return "The command was carried out.";
    case MCIERR_INVALID_DEVICE_ID: return "The device identifier is not valid: open the device first.";
    case MCIERR_UNRECOGNIZED_COMMAND: return "The device does not recognise this command.";
    case MCIERR_HARDWARE: return "The sound device failed or is missing.";
    case MCIERR_INVALID_DEVICE_NAME: return "The device type is not known: only \"waveaudio\" is available.";
    case MCIERR_OUT_OF_MEMORY: return "There is not enough memory for this command.";
    case MCIERR_MISSING_PARAMETER: return "A parameter the command needs is missing.";
    case MCIERR_UNSUPPORTED_FUNCTION: return "The device cannot carry out this function.";
    case MCIERR_FILE_NOT_FOUND: return "The file was not found.";
    case MCIERR_OUTOFRANGE: return "A position or value is out of range for this recording.";
    case MCIERR_FLAGS_NOT_COMPATIBLE: return "Flags were given that cannot be used together.";
    case MCIERR_FILE_NOT_SAVED: return "The file was not saved: check that the disk has room and the folder can be written.";
    case MCIERR_BAD_TIME_FORMAT: return "The wave device cannot use this time format (only milliseconds, samples and bytes).";
    case MCIERR_INVALID_FILE: return "The file is not a wave file the device can read (PCM, 8 or 16 bits).";
    case MCIERR_NULL_PARAMETER_BLOCK: return "The command needs a parameter block.";
    case MCIERR_NONAPPLICABLE_FUNCTION: return "The command does not apply in the device's present state.";
    case MCIERR_WAVE_OUTPUTSUNSUITABLE: return "No sound output device can play this format.";
    case MCIERR_WAVE_INPUTSUNSUITABLE: return "No sound input device can record this format.";
    case MCIERR_NO_WINDOW: return "The device could not make its notification window.";
    case MCIERR_FILE_READ: return "The file could not be read.";
    case MCIERR_FILE_WRITE: return "The file could not be written.";
    default: return nullptr;
    }
}

MCIERROR openDevice(DWORD_PTR flags, MCI_OPEN_PARMS* parms)
{
    if (parms == nullptr)
        return MCIERR_NULL_PARAMETER_BLOCK;
    if (!(flags & MCI_OPEN_TYPE))
        return MCIERR_MISSING_PARAMETER;
    if (!isWaveAudio(parms->lpstrDeviceType))
        return MCIERR_INVALID_DEVICE_NAME;
    DeviceTable& t = table();
    const MCIDEVICEID id = t.last + 1;
    auto device = std::make_unique<MciWaveDevice>(id);
    const char* element = (flags & MCI_OPEN_ELEMENT) ? parms->lpstrElementName : nullptr;
    if (MCIERROR e = device->open(element); e != 0)
        return e;
    t.last = id;
    t.devices.emplace(id, std::move(device));
    parms->wDeviceID = id;
    return 0;
}

}  // namespace

MCIERROR mciSendCommandA(MCIDEVICEID id, UINT message, DWORD_PTR flags, DWORD_PTR param)
{
    if (message == MCI_OPEN)
        return openDevice(flags, parmsOf<MCI_OPEN_PARMS>(param));
    DeviceTable& t = table();
    const auto it = t.devices.find(id);
    if (it == t.devices.end())
        return MCIERR_INVALID_DEVICE_ID;
    MciWaveDevice& device = *it->second;
    const auto f = static_cast<DWORD>(flags);
    switch (message) {
    case MCI_CLOSE: {
        device.close();
        t.devices.erase(it);
        const auto* p = parmsOf<MCI_GENERIC_PARMS>(param);
        if (p != nullptr && (f & MCI_NOTIFY))
            PostMessage(static_cast<HWND>(p->dwCallback), MM_MCINOTIFY, MCI_NOTIFY_SUCCESSFUL, static_cast<LPARAM>(id));
        return 0;
    }
    case MCI_STOP:
        return device.stop(f, parmsOf<MCI_GENERIC_PARMS>(param));
    case MCI_SEEK:
        return device.seek(f, parmsOf<MCI_SEEK_PARMS>(param));
    default:
        break;
    }
    if (param == 0)
        return MCIERR_NULL_PARAMETER_BLOCK;
    switch (message) {
    case MCI_PLAY: return device.play(f, *parmsOf<MCI_PLAY_PARMS>(param));
    case MCI_RECORD: return device.record(f, *parmsOf<MCI_RECORD_PARMS>(param));
    case MCI_SET: return device.set(f, *parmsOf<MCI_WAVE_SET_PARMS>(param));
    case MCI_STATUS: return device.status(f, *parmsOf<MCI_STATUS_PARMS>(param));
    case MCI_DELETE: return device.remove(f, *parmsOf<MCI_WAVE_DELETE_PARMS>(param));
    case MCI_SAVE: return device.save(f, *parmsOf<MCI_SAVE_PARMS>(param));
    default: return MCIERR_UNRECOGNIZED_COMMAND;
    }
}

BOOL mciGetErrorStringA(MCIERROR error, char* text, UINT size)
{
    if (text == nullptr || size == 0)
        return FALSE;
    const char* message = errorText(error);
    if (message == nullptr) {
        text[0] = '\0';
        return FALSE;
    }
    std::strncpy(text, message, size - 1);
    text[size - 1] = '\0';
    return TRUE;
}

MciWaveDevice* mciWaveDevice(MCIDEVICEID id)
{
    DeviceTable& t = table();
    const auto it = t.devices.find(id);
    return it == t.devices.end() ? nullptr : it->second.get();
}
