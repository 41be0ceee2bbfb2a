#include "audio/WaveAudioDevice.h"

#include "audio/MciSendCommand.h"

WaveAudioDevice::WaveAudioDevice(HWND notifyWindow) : m_notify(notifyWindow) {}

WaveAudioDevice::~WaveAudioDevice() { close(); }

bool WaveAudioDevice::open(const std::string& path)
{
    close();
    m_device = WaveAudio::open(path);
    if (m_device == WaveAudio::kOpenFailed)
        return false;
    if (WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, m_device) != 0) {
        m_device = WaveAudio::kOpenFailed;
        return false;
    }
    return true;
}

bool WaveAudioDevice::isOpen() const { return m_device != WaveAudio::kOpenFailed; }

void WaveAudioDevice::close()
{
    if (isOpen())
        WaveAudio::close(m_device);
    m_device = WaveAudio::kOpenFailed;
}

bool WaveAudioDevice::closedByError()
{
    if (mciWaveDevice(m_device) != nullptr)
        return false;
    m_device = WaveAudio::kOpenFailed;
    return true;
}

MCIERROR WaveAudioDevice::checked(MCIERROR error)
{
    if (error != 0)
        m_device = WaveAudio::kOpenFailed;
    return error;
}

MCIERROR WaveAudioDevice::setRecordFormat(int quality, std::string* why)
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::setWaveFormat(m_device, quality, why));
}

MCIERROR WaveAudioDevice::record(bool insert)
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::record(m_notify, insert, m_device));
}

MCIERROR WaveAudioDevice::play(DWORD from, DWORD to)
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::playRange(m_notify, from, to, m_device));
}

MCIERROR WaveAudioDevice::stop()
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::stop(m_device));
}

MCIERROR WaveAudioDevice::cut(DWORD from, DWORD to)
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::deleteRange(m_notify, from, to, m_device));
}

MCIERROR WaveAudioDevice::seek(DWORD position)
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::seek(position, m_device));
}

MCIERROR WaveAudioDevice::seekStart()
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::seekStart(m_device));
}

MCIERROR WaveAudioDevice::seekEnd()
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    return checked(WaveAudio::seekEnd(m_device));
}

// Status answers share their value with the error codes; the helpers close
// the device on an error, which is how one is told from a length.
DWORD WaveAudioDevice::length()
{
    if (!isOpen())
        return 0;
    const DWORD value = WaveAudio::length(1, m_device);
    return closedByError() ? 0 : value;
}

DWORD WaveAudioDevice::position()
{
    if (!isOpen())
        return 0;
    const DWORD value = WaveAudio::position(m_device);
    return closedByError() ? 0 : value;
}

MCIERROR WaveAudioDevice::save(const std::string& workspace, const std::string& target)
{
    if (!isOpen())
        return MCIERR_INVALID_DEVICE_ID;
    const MCIERROR error = WaveAudio::save(workspace, target, m_device);
    // Saved, the helper closed the device; a failed save may leave it open.
    closedByError();
    return error;
}
