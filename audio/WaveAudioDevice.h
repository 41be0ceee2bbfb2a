// RecorderDevice on Navo's "waveaudio" media-control device, through the
// WaveAudio helpers. Play and record post MM_MCINOTIFY to the window given
// at construction when they end.
#pragma once

#include "audio/RecorderDevice.h"
#include "audio/WaveAudio.h"
#include "platform/WinTypes.h"

class WaveAudioDevice : public RecorderDevice {
public:
    explicit WaveAudioDevice(HWND notifyWindow);
    ~WaveAudioDevice() override;
    WaveAudioDevice(const WaveAudioDevice&) = delete;
    WaveAudioDevice& operator=(const WaveAudioDevice&) = delete;

    bool open(const std::string& path) override;
    bool isOpen() const override;
    void close() override;
    MCIERROR setRecordFormat(int quality, std::string* why) override;
    MCIERROR record(bool insert) override;
    MCIERROR play(DWORD from, DWORD to) override;
    MCIERROR stop() override;
    MCIERROR cut(DWORD from, DWORD to) override;
    MCIERROR seek(DWORD position) override;
    MCIERROR seekStart() override;
    MCIERROR seekEnd() override;
    DWORD length() override;
    DWORD position() override;
    MCIERROR save(const std::string& workspace, const std::string& target) override;

    MCIDEVICEID id() const { return m_device; }

private:
    // A failed helper has closed the device already.
    MCIERROR checked(MCIERROR error);
    // True (and the device forgotten) when a helper closed it.
    bool closedByError();

    HWND m_notify;
    MCIDEVICEID m_device = WaveAudio::kOpenFailed;
};
