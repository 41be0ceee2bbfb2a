// Navo's media-control device for "waveaudio": one open recording that can
// be recorded into (inserting or overwriting at the position), played (all
// or a stretch), cut (delete a stretch), positioned and saved as a wave
// file. Commands reach it through mciSendCommandA (MciSendCommand.h); the
// recorders use the helpers in WaveAudio.h.
//
// Storage: the sound is a list of pieces (WaveEditList) of the wave file
// the device was opened on and of a scratch file in the temporary folder
// that every recording streams to, so memory stays small and flat however
// long the recording, and an insert or a cut moves no sound. MCI_SAVE writes
// the pieces out once, into a file beside the target that is renamed over
// it only when complete: a failed save (a full disk) changes no file and
// the device keeps its sound.
//
// Time formats: milliseconds (the default), bytes and samples; the others
// are refused with MCIERR_BAD_TIME_FORMAT, as wave devices do. Positions
// always fall on whole sample frames.
//
// Notifications: play and record run on after the command returns; with
// MCI_NOTIFY, MM_MCINOTIFY is posted to the window in dwCallback when they
// end: MCI_NOTIFY_SUCCESSFUL when play reaches its end or record reaches its
// "to", MCI_NOTIFY_ABORTED when stop, seek, delete, save or close ends them,
// MCI_NOTIFY_SUPERSEDED when a new play or record does, MCI_NOTIFY_FAILURE
// when the device or the disk fails (what was recorded until then stays).
// Other commands given MCI_NOTIFY post MCI_NOTIFY_SUCCESSFUL when done.
// lParam is the device id. Messages arrive on the UI thread.
//
// Record: without MCI_FROM from the current position, without MCI_TO until
// stopped; MCI_RECORD_INSERT (also the default) moves the sound after the
// position later, MCI_RECORD_OVERWRITE replaces it as far as the new sound
// reaches. Status position and length follow the recording as it goes,
// in steps of 50 ms. MCI_WAIT is accepted only with MCI_TO. While a
// recorder has the level meter on, every recorded buffer's peak levels go
// to the recording flags (PeakLevels.h).
//
// Play: from MCI_FROM (else the position) to MCI_TO (else the end); with
// MCI_WAIT it returns when done. Status position follows the sound heard.
// When play ends the position is where it stopped.
//
// Delete: from MCI_FROM (else the position) to MCI_TO (else the end); the
// position goes to the start of the cut.
#pragma once

#include "platform/CallbackWindow.h"
#include "audio/MciTypes.h"
#include "audio/WaveEditList.h"
#include "platform/WindowCallback.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/WaveTypes.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

class MciWaveDevice : public WindowCallback {
public:
    explicit MciWaveDevice(MCIDEVICEID id);
    ~MciWaveDevice() override;
    MciWaveDevice(const MciWaveDevice&) = delete;
    MciWaveDevice& operator=(const MciWaveDevice&) = delete;

    // An empty or null element opens a new, empty recording in the quality 0
    // format.
    MCIERROR open(const char* element);
    MCIERROR close();

    MCIERROR play(DWORD flags, const MCI_PLAY_PARMS& parms);
    MCIERROR record(DWORD flags, const MCI_RECORD_PARMS& parms);
    MCIERROR stop(DWORD flags, const MCI_GENERIC_PARMS* parms);
    MCIERROR seek(DWORD flags, const MCI_SEEK_PARMS* parms);
    MCIERROR set(DWORD flags, const MCI_WAVE_SET_PARMS& parms);
    MCIERROR status(DWORD flags, MCI_STATUS_PARMS& parms);
    MCIERROR remove(DWORD flags, const MCI_WAVE_DELETE_PARMS& parms);
    MCIERROR save(DWORD flags, const MCI_SAVE_PARMS& parms);

    LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;

    // In bytes, whatever the time format (for tests and diagnostics).
    std::uint64_t lengthBytes() const { return m_sound.length(); }
    std::uint64_t positionBytes() const;
    const WAVEFORMATEX& format() const { return m_format; }
    std::size_t pieceCount() const { return m_sound.pieces().size(); }
    MCIDEVICEID id() const { return m_id; }

private:
    enum class Mode { Stopped, Playing, Recording };
    enum Source : int { kOriginal = 0, kScratch = 1 };

    MCIERROR toBytes(DWORD value, std::uint64_t& bytes) const;
    DWORD fromBytes(std::uint64_t bytes) const;
    void notifyDone(DWORD flags, DWORD_PTR callback);
    void endActive(WPARAM notifyCode);
    void postNotify(WPARAM code);

    MCIERROR startRecording(DWORD flags, std::uint64_t to);
    void recorded(WAVEHDR* header);
    bool appendRecorded(const WAVEHDR* header);
    void finishRecording(WPARAM notifyCode, bool keepQueued);

    MCIERROR startPlaying(std::uint64_t from, std::uint64_t to, bool wait);
    bool queuePlayback(WAVEHDR* header);
    void playbackDone(WAVEHDR* header);
    void finishPlaying(WPARAM notifyCode);
    std::uint64_t heardBytes() const;
    bool readSound(std::uint64_t pos, char* out, std::size_t size) const;

    MCIERROR writeWave(const std::string& path) const;

    const MCIDEVICEID m_id;
    WAVEFORMATEX m_format;
    DWORD m_timeFormat = MCI_FORMAT_MILLISECONDS;
    UINT m_inputDevice;
    WaveEditList m_sound;
    DiskFile m_original;
    DiskFile m_scratch;
    std::uint64_t m_scratchEnd = 0;
    std::uint64_t m_position = 0;
    Mode m_mode = Mode::Stopped;
    std::unique_ptr<CallbackWindow> m_window;

    // The running play or record's notification.
    HWND m_notifyWindow = 0;
    bool m_notifyPending = false;

    // Recording.
    HWAVEIN m_waveIn = 0;
    std::vector<std::unique_ptr<WAVEHDR>> m_inHeaders;
    std::vector<std::unique_ptr<char[]>> m_inBuffers;
    std::deque<WAVEHDR*> m_inQueue;   // in the order the device returns them
    bool m_insert = true;
    std::uint64_t m_recordPos = 0;
    std::uint64_t m_recordLeft = 0;   // bytes until MCI_TO; UINT64_MAX without

    // Playing.
    HWAVEOUT m_waveOut = 0;
    std::vector<std::unique_ptr<WAVEHDR>> m_outHeaders;
    std::vector<std::unique_ptr<char[]>> m_outBuffers;
    struct Queued {
        WAVEHDR* header;
        std::uint64_t streamEnd;      // bytes heard when this buffer is done
    };
    std::deque<Queued> m_outQueue;
    std::uint64_t m_playStart = 0;
    std::uint64_t m_playNext = 0;     // next byte of sound to queue
    std::uint64_t m_playTo = 0;
    std::uint64_t m_streamQueued = 0;
};
