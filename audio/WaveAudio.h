// The media-control helpers for the "waveaudio" device that the recorders
// and players use: each sends the commands listed to mciSendCommandA. Every
// operation that fails closes the device and returns the MCI error code
// (its text traced); 0 means success. Arguments keep their order: the
// notify window first, the device last.
//
// A dictation recorder, in outline:
//
//   MCIDEVICEID dev = WaveAudio::open("");               // new; 999999 on failure
//   std::string why;
//   if (WaveAudio::setWaveFormat(dev, quality, &why) != 0) ... "Unable to set format for recording"
//   WaveAudio::seek(cutTo, dev);
//   WaveAudio::record(handleOf(this), insertChecked, dev);   // runs until stopped
//   ... monitor loop: WaveAudio::position(dev), WaveAudio::length(1, dev) ...
//   WaveAudio::stop(dev);
//   WaveAudio::playRange(handleOf(this), cutFrom, cutTo, dev);
//   WaveAudio::deleteRange(handleOf(this), cutFrom, cutTo, dev);   // Cut
//   WaveAudio::seekEnd(dev);
//   WaveAudio::save(workspace, recordWavePath, dev);      // closes the device
//
// The dialog receives MM_MCINOTIFY (wParam MCI_NOTIFY_SUCCESSFUL when play
// reached its end, MCI_NOTIFY_ABORTED when stopped, MCI_NOTIFY_SUPERSEDED,
// MCI_NOTIFY_FAILURE; lParam the device id) as a WindowMessageEvent posted
// to the window whose handle it passed (platform/WindowMessages.h).
#pragma once

#include "audio/MciTypes.h"
#include "platform/WinTypes.h"

#include <string>

class WaveAudio {
public:
    static constexpr MCIDEVICEID kOpenFailed = 999999;

    // open with device type "waveaudio" and element fileName, wait. An empty
    // name opens a new, empty recording. The device id, or 999999.
    static MCIDEVICEID open(const std::string& fileName);
    // set with format tag, channels, samples per second, average bytes per
    // second, block alignment and bits per sample of quality (RecordingQuality
    // 0..3, else as 0), wait. On failure errorText gets the MCI error text
    // (at most 254 characters).
    static MCIERROR setWaveFormat(MCIDEVICEID device, int quality, std::string* errorText = nullptr);
    // set time format milliseconds (wait), then record with notify,
    // inserting at the position (insert) or overwriting from it.
    static MCIERROR record(HWND notifyWindow, bool insert, MCIDEVICEID device);
    // play with notify from position (to the end).
    static MCIERROR playFrom(HWND notifyWindow, DWORD position, MCIDEVICEID device);
    // play from position (to the end), wait: returns when it has played.
    static MCIERROR playFromWait(DWORD position, MCIDEVICEID device);
    // play with notify, from and to.
    static MCIERROR playRange(HWND notifyWindow, DWORD from, DWORD to, MCIDEVICEID device);
    // delete with notify, from and to.
    static MCIERROR deleteRange(HWND notifyWindow, DWORD from, DWORD to, MCIDEVICEID device);
    // set time format (an MCI_FORMAT_ value), wait.
    static MCIERROR setTimeFormat(DWORD format, MCIDEVICEID device);
    // set time format for unit, then status length. Units: 1 milliseconds,
    // 2 minute-second-frame, 3 samples, 4 to 7 the SMPTE formats, 8
    // track-minute-second-frame, 9 song pointer, any other bytes. A wave
    // device has only milliseconds, samples and bytes: the others fail with
    // MCIERR_BAD_TIME_FORMAT. The length, or the error code.
    static DWORD length(int unit, MCIDEVICEID device);
    // status position, wait: in the current time format, or the error code.
    static DWORD position(MCIDEVICEID device);
    // seek to position / to the start / to the end, wait.
    static MCIERROR seek(DWORD position, MCIDEVICEID device);
    static MCIERROR seekStart(MCIDEVICEID device);
    static MCIERROR seekEnd(MCIDEVICEID device);
    // stop, wait: ends recording or playing.
    static MCIERROR stop(MCIDEVICEID device);
    // status mode: MCI_MODE_STOP, MCI_MODE_PLAY or MCI_MODE_RECORD, or the
    // error code.
    static DWORD mode(MCIDEVICEID device);
    static MCIERROR close(MCIDEVICEID device);
    // save with wait to "temp.vxw" in workspace, close the device, then put
    // that file in place of target. A failed save leaves the device open
    // with its sound (so nothing is lost and the save can be tried again)
    // and target as it was.
    static MCIERROR save(const std::string& workspace, const std::string& target, MCIDEVICEID device);
    // Traces the MCI error text of code, or "Unknown MCI error\n".
    static void errorText(MCIERROR code);

    // The MCI time format for a length unit.
    static DWORD timeFormatForUnit(int unit);
};
