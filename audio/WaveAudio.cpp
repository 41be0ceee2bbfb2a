#include "audio/WaveAudio.h"

#include "audio/MciSendCommand.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "platform/audio/WaveFormats.h"

#include <cstdio>
#include <cstring>

namespace {

// A failed command closes the device, as every helper does.
MCIERROR failed(MCIERROR error, MCIDEVICEID device)
{
    if (error != 0) {
        WaveAudio::errorText(error);
        mciSendCommandA(device, MCI_CLOSE, MCI_WAIT, 0);
    }
    return error;
}

DWORD_PTR windowParam(HWND window) { return static_cast<DWORD_PTR>(window); }

}  // namespace

MCIDEVICEID WaveAudio::open(const std::string& fileName)
{
    MCI_OPEN_PARMS parms;
    parms.lpstrDeviceType = "waveaudio";
    parms.lpstrElementName = fileName.c_str();
    const MCIERROR error = mciSendCommandA(0, MCI_OPEN, MCI_OPEN_TYPE | MCI_OPEN_ELEMENT | MCI_WAIT,
                                           reinterpret_cast<DWORD_PTR>(&parms));
    if (error != 0) {
        errorText(error);
        return kOpenFailed;
    }
    return parms.wDeviceID;
}

MCIERROR WaveAudio::setWaveFormat(MCIDEVICEID device, int quality, std::string* text)
{
    const WAVEFORMATEX f = waveFormatForQuality(quality);
    MCI_WAVE_SET_PARMS parms;
    parms.wFormatTag = f.wFormatTag;
    parms.nChannels = f.nChannels;
    parms.nSamplesPerSec = f.nSamplesPerSec;
    parms.nAvgBytesPerSec = f.nAvgBytesPerSec;
    parms.nBlockAlign = f.nBlockAlign;
    parms.wBitsPerSample = f.wBitsPerSample;
    const DWORD flags = MCI_WAIT | MCI_WAVE_SET_FORMATTAG | MCI_WAVE_SET_CHANNELS | MCI_WAVE_SET_SAMPLESPERSEC
                      | MCI_WAVE_SET_AVGBYTESPERSEC | MCI_WAVE_SET_BLOCKALIGN | MCI_WAVE_SET_BITSPERSAMPLE;
    const MCIERROR error = mciSendCommandA(device, MCI_SET, flags, reinterpret_cast<DWORD_PTR>(&parms));
    if (error != 0 && text != nullptr) {
        char buffer[254];
        mciGetErrorStringA(error, buffer, sizeof buffer);
        *text = buffer;
    }
    return failed(error, device);
}

MCIERROR WaveAudio::record(HWND notifyWindow, bool insert, MCIDEVICEID device)
{
    if (MCIERROR error = setTimeFormat(MCI_FORMAT_MILLISECONDS, device); error != 0)
        return error;
    MCI_RECORD_PARMS parms;
    parms.dwCallback = windowParam(notifyWindow);
    const DWORD flags = MCI_NOTIFY | (insert ? MCI_RECORD_INSERT : MCI_RECORD_OVERWRITE);
    return failed(mciSendCommandA(device, MCI_RECORD, flags, reinterpret_cast<DWORD_PTR>(&parms)), device);
}

MCIERROR WaveAudio::playFrom(HWND notifyWindow, DWORD position, MCIDEVICEID device)
{
    MCI_PLAY_PARMS parms;
    parms.dwCallback = windowParam(notifyWindow);
    parms.dwFrom = position;
    return failed(mciSendCommandA(device, MCI_PLAY, MCI_NOTIFY | MCI_FROM, reinterpret_cast<DWORD_PTR>(&parms)), device);
}

MCIERROR WaveAudio::playFromWait(DWORD position, MCIDEVICEID device)
{
    MCI_PLAY_PARMS parms;
    parms.dwFrom = position;
    return failed(mciSendCommandA(device, MCI_PLAY, MCI_FROM | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&parms)), device);
}

MCIERROR WaveAudio::playRange(HWND notifyWindow, DWORD from, DWORD to, MCIDEVICEID device)
{
    MCI_PLAY_PARMS parms;
    parms.dwCallback = windowParam(notifyWindow);
    parms.dwFrom = from;
    parms.dwTo = to;
    return failed(mciSendCommandA(device, MCI_PLAY, MCI_NOTIFY | MCI_FROM | MCI_TO, reinterpret_cast<DWORD_PTR>(&parms)), device);
}

MCIERROR WaveAudio::deleteRange(HWND notifyWindow, DWORD from, DWORD to, MCIDEVICEID device)
{
    MCI_WAVE_DELETE_PARMS parms;
    parms.dwCallback = windowParam(notifyWindow);
    parms.dwFrom = from;
    parms.dwTo = to;
    return failed(mciSendCommandA(device, MCI_DELETE, MCI_NOTIFY | MCI_FROM | MCI_TO, reinterpret_cast<DWORD_PTR>(&parms)), device);
}

MCIERROR WaveAudio::setTimeFormat(DWORD format, MCIDEVICEID device)
{
    MCI_WAVE_SET_PARMS parms;
    parms.dwTimeFormat = format;
    return failed(mciSendCommandA(device, MCI_SET, MCI_SET_TIME_FORMAT | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&parms)), device);
}

DWORD WaveAudio::timeFormatForUnit(int unit)
{
    switch (unit) {
    case 1: return MCI_FORMAT_MILLISECONDS;
    case 2: return MCI_FORMAT_MSF;
    case 3: return MCI_FORMAT_SAMPLES;
    case 4: return MCI_FORMAT_SMPTE_24;
    case 5: return MCI_FORMAT_SMPTE_25;
    case 6: return MCI_FORMAT_SMPTE_30;
    case 7: return MCI_FORMAT_SMPTE_30DROP;
    case 8: return MCI_FORMAT_TMSF;
    case 9: return MCI_SEQ_FORMAT_SONGPTR;
    default: return MCI_FORMAT_BYTES;
    }
}

DWORD WaveAudio::length(int unit, MCIDEVICEID device)
{
    if (MCIERROR error = setTimeFormat(timeFormatForUnit(unit), device); error != 0)
        return error;
    MCI_STATUS_PARMS parms;
    parms.dwItem = MCI_STATUS_LENGTH;
    if (MCIERROR error = mciSendCommandA(device, MCI_STATUS, MCI_STATUS_ITEM | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&parms)); error != 0)
        return failed(error, device);
    return static_cast<DWORD>(parms.dwReturn);
}

DWORD WaveAudio::position(MCIDEVICEID device)
{
    MCI_STATUS_PARMS parms;
    parms.dwItem = MCI_STATUS_POSITION;
    if (MCIERROR error = mciSendCommandA(device, MCI_STATUS, MCI_STATUS_ITEM | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&parms)); error != 0)
        return failed(error, device);
    return static_cast<DWORD>(parms.dwReturn);
}

DWORD WaveAudio::mode(MCIDEVICEID device)
{
    MCI_STATUS_PARMS parms;
    parms.dwItem = MCI_STATUS_MODE;
    if (MCIERROR error = mciSendCommandA(device, MCI_STATUS, MCI_STATUS_ITEM | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&parms)); error != 0)
        return failed(error, device);
    return static_cast<DWORD>(parms.dwReturn);
}

MCIERROR WaveAudio::seek(DWORD position, MCIDEVICEID device)
{
    MCI_SEEK_PARMS parms;
    parms.dwTo = position;
    return failed(mciSendCommandA(device, MCI_SEEK, MCI_TO | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&parms)), device);
}

MCIERROR WaveAudio::seekStart(MCIDEVICEID device)
{
    return failed(mciSendCommandA(device, MCI_SEEK, MCI_SEEK_TO_START | MCI_WAIT, 0), device);
}

MCIERROR WaveAudio::seekEnd(MCIDEVICEID device)
{
    return failed(mciSendCommandA(device, MCI_SEEK, MCI_SEEK_TO_END | MCI_WAIT, 0), device);
}

MCIERROR WaveAudio::stop(MCIDEVICEID device)
{
    return failed(mciSendCommandA(device, MCI_STOP, MCI_WAIT, 0), device);
}

MCIERROR WaveAudio::close(MCIDEVICEID device)
{
    const MCIERROR error = mciSendCommandA(device, MCI_CLOSE, MCI_WAIT, 0);
    if (error != 0)
        errorText(error);
    return error;
}

MCIERROR WaveAudio::save(const std::string& workspace, const std::string& target, MCIDEVICEID device)
{
    const std::string temporary = workspace + "/temp.vxw";
    MCI_SAVE_PARMS parms;
    parms.lpfilename = temporary.c_str();
    const MCIERROR error = mciSendCommandA(device, MCI_SAVE, MCI_SAVE_FILE | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&parms));
    if (error != 0) {
        // Not closed: the device still holds the only copy of new sound.
        errorText(error);
        return error;
    }
    close(device);
    // rename() replaces the target in one step, so there is never a moment
    // with neither the old nor the new file.
    const int err = fileops::renameFile(temporary, target);
    if (err != 0) {
        OutputDebugString("Cannot rename " + temporary + " to " + target + ": " + std::strerror(err) + "\n");
        return MCIERR_FILE_NOT_SAVED;
    }
    return 0;
}

void WaveAudio::errorText(MCIERROR code)
{
    char text[256];
    if (mciGetErrorStringA(code, text, sizeof text))
        OutputDebugString(std::string(text) + "\n");
    else
        OutputDebugString("Unknown MCI error\n");
}
