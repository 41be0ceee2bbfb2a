// The sound device a recorder dialog works through: one recording that is
// recorded into, played, cut, positioned and saved. Times are milliseconds.
// WaveAudioDevice is the real one (the "waveaudio" media-control device);
// tests may put in another.
//
// As with the device underneath, a command that fails closes the device:
// isOpen() then answers false and nothing more can be done with the sound.
#pragma once

#include "audio/MciTypes.h"

#include <string>

class RecorderDevice {
public:
    virtual ~RecorderDevice() = default;

    // Opens the wave file at path, or a new, empty recording for "". False
    // when it cannot be opened.
    virtual bool open(const std::string& path) = 0;
    virtual bool isOpen() const = 0;
    virtual void close() = 0;

    // The recording format of a quality number (0..3). On failure why gets
    // the device's reason.
    virtual MCIERROR setRecordFormat(int quality, std::string* why) = 0;
    // Starts recording at the position, inserting or overwriting; runs until
    // stop().
    virtual MCIERROR record(bool insert) = 0;
    // Starts playing from..to; the owner is told when it ends.
    virtual MCIERROR play(DWORD from, DWORD to) = 0;
    virtual MCIERROR stop() = 0;
    // Removes from..to.
    virtual MCIERROR cut(DWORD from, DWORD to) = 0;
    virtual MCIERROR seek(DWORD position) = 0;
    virtual MCIERROR seekStart() = 0;
    virtual MCIERROR seekEnd() = 0;
    virtual DWORD length() = 0;
    virtual DWORD position() = 0;
    // Writes the recording to target through a temporary file in workspace,
    // and closes the device. A failed save leaves it open with its sound.
    virtual MCIERROR save(const std::string& workspace, const std::string& target) = 0;
};
