// VXWave: Navo's wave engine. It records 16- or 8-bit PCM from the chosen
// recording source into a raw "buffer" file through a ring of 50 device
// buffers, measures the input level for the recorders' level meters, joins
// the runs of one recording into a raw "data" file, and writes that as a
// RIFF "WAVE" file. It also holds a one-shot player and a wave-file reader
// (from a file or a "wave" resource).
//
// There is one engine for the application: theWaveEngine(). Everything runs
// on the UI thread: the devices fill buffers on their own threads and post
// MM_WIM_DATA / MM_WOM_DONE to the engine's hidden callback window, whose
// WindowProc does the work below, in the order the buffers were queued.
// With 50 buffers of 200 ms the device has ten seconds of slack while the
// UI thread is busy.
//
// A recorder uses it like this (the meeting and diary recorders):
//
//   VXWave& wave = theWaveEngine();
//   RecordingFlags& flags = theRecordingFlags();
//   wave.RawRecordPath = workspace + "/buffer.wav";     // when the dialog opens
//   wave.RawDataPath = workspace + "/data.wav";
//   wave.WavePath = recordWaveFile;
//   // Record (or resume after a stop):
//   wave.DiscardInput = 0; flags.Paused = 0;
//   if (wave.StartRecord(5, recordingQuality)) flags.LevelMeterOn = 1;
//   else { show wave.LastError; wave.Free(); }
//   // Pause / resume inside a run: toggle flags.Paused only.
//   // Stop a run:
//   wave.DiscardInput = 1; wave.Stop(0);
//   if (flags.LevelMeterOn) wave.Append();   // 220 / 221 on failure
//   flags.LevelMeterOn = 0;
//   // Save: SaveWaveFile() (0, or 99 on failure: keep the raw files then),
//   // Free(), delete the raw record and raw data files.
//
// A level meter polls flags.LevelUpdated (RecordingFlags.h) on a timer,
// shows flags.LeftLevel / flags.RightLevel (0..99) and clears it.
//
// Saved file: "RIFF", size, "WAVE", "fmt " (18) + WAVEFORMATEX, "fact" (4)
// + 0, "data" + PCM (a pad byte after odd-sized sound).
//
// Stricter than its bare contract, so that bad input gives a clear error
// and loses nothing:
// - StartRecord fails ("Record: Failed to create recording file\n" + the
//   system's reason) when the raw record file cannot be created.
// - A write to the raw record file that fails (a full disk) is traced
//   ("WriteFile() -- Failed to write recorded data\n"), left out of the byte
//   count and kept in LastError; what was written before stays.
// - Append that cannot write the whole run takes the partial copy back out
//   of the raw data file and returns 221, so the run can be appended again.
// - SaveWaveFile that fails removes its partial wave file; the raw data
//   file is untouched. Every file it opened is closed.
// - Messages of a device that is no longer the engine's, and headers that
//   are not the engine's, are ignored; re-queued buffers never claim more
//   than their allocation (divisors above 5).
// - LoadFile/LoadResource refuse a "fmt " chunk under 16 bytes, any chunk
//   that claims more bytes than the file holds, and an empty "data" chunk
//   (after tracing "Data chunk actually has no data\n").
// - Free first resets and closes any device still open, without writing.
//
// Sizes and counts are 32-bit, as in a RIFF file: a run of more than 4 GB
// (some 6.7 hours at CD quality) records, but cannot be saved as one wave
// file (SaveWaveFile gives 99).
#pragma once

#include "platform/CallbackWindow.h"
#include "audio/RecordingFlags.h"
#include "audio/WaveEventSink.h"
#include "audio/WaveResources.h"
#include "platform/WindowCallback.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/Mmio.h"
#include "platform/audio/WaveTypes.h"

#include <cstdint>
#include <memory>
#include <string>

class VXWave : public WindowCallback {
public:
    static constexpr int kSlots = 50;
    static constexpr DWORD kStopKeepBuffers = 305;

    // The engine reads and writes the recording flags in flags (the
    // application's by default; tests give their own).
    explicit VXWave(WaveEventSink* sink, RecordingFlags& flags = theRecordingFlags());
    ~VXWave() override;
    VXWave(const VXWave&) = delete;
    VXWave& operator=(const VXWave&) = delete;

    // When non-zero, buffers the device hands back are ignored (no write, no
    // re-queue). Recorders set it to 1 just before stopping, 0 just before
    // starting.
    int DiscardInput = 0;
    // The text of StartRecord's last failure, for the recorder's message box.
    std::string LastError;
    // Receives the PCM of the current run ("buffer" file).
    std::string RawRecordPath;
    // Target of SaveWaveFile.
    std::string WavePath;
    // The PCM of all runs of one recording ("data" file), grown by Append.
    std::string RawDataPath;

    // Opens the recording source in the format of quality (RecordingQuality
    // 0..3, anything else as 0), queues 50 buffers of average bytes per
    // second / divisor (the program passes 5: 200 ms) and starts. 1, or 0
    // with LastError set (the device's own reason appended where it has one).
    int StartRecord(int divisor, int quality);
    // Stops the player if it plays, else the recording: the partly filled
    // buffer is written, the raw record file closed and dataSize() set.
    // With code 305 the buffers are neither unprepared, written nor freed.
    // Always 1; a call made while stopping returns at once.
    int Stop(DWORD code);
    int Stop();
    // Adds the raw record file to the end of the raw data file in 32768-byte
    // pieces. 0; 220 when the raw record file cannot be opened; 221 when the
    // raw data file cannot be opened or written.
    int Append();
    // Writes the raw data file as the wave file WavePath. 0 on success and
    // when the last run recorded nothing (nothing is written then); 99 on
    // any failure.
    int SaveWaveFile();
    // Releases format, loaded sound, all buffers and the callback window. 1.
    int Free();
    // Reads a wave file (or a "wave" resource: a MAKEINTRESOURCE number or a
    // name such as "tone.wav"; module 0 is the program) for Play. 1 or 0.
    int LoadFile(const char* path);
    int LoadResource(HMODULE module, const char* name);
    // Plays the loaded sound once on the default output; the player stops
    // itself when it is done. 1 when playback started.
    int Play();
    // Writes a header for the current format and sound size, then the
    // contents of "temprec.wav" in the current folder, in 4096-byte pieces
    // each under a byte-range lock. 1, or 0 with a trace.
    int WriteWaveFile(const char* path);

    // The callback window's message handler.
    LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;

    // State, for recorders and tests.
    DWORD dataSize() const { return m_DataSize; }
    DWORD bytesWritten() const { return m_BytesWritten; }
    DWORD formatSize() const { return m_FormatSize; }
    WAVEFORMATEX format() const;
    bool hasData() const { return m_HasData != 0; }
    bool isRecording() const { return m_WaveIn != 0; }
    bool isPlaying() const { return m_WaveOut != 0; }
    unsigned currentSlot() const { return m_CurrentSlot; }
    HWAVEIN waveInHandle() const { return m_WaveIn; }
    HWND callbackWindow() const { return m_CallbackWindow ? m_CallbackWindow->handle() : 0; }
    const char* waveData() const { return m_WaveData.get(); }

protected:
    // Called after MM_WOM_DONE stopped the player; does nothing here.
    virtual void OnPlaybackDone() {}

private:
    void bufferReturned(WPARAM device, WAVEHDR* header);
    void measureLevels(const WAVEHDR* header);
    bool ensureCallbackWindow();
    void freeFormat();
    void freeRecordBuffers();
    int readWave(HMMIO mmio);
    bool writeRecorded(const WAVEHDR* header);

    WaveEventSink* m_Sink;
    std::unique_ptr<WAVEHDR> m_RecordHeaders[kSlots];
    std::unique_ptr<WAVEHDR> m_PlaybackHeader;
    std::unique_ptr<char[]> m_RecordBuffers[kSlots];
    std::unique_ptr<char[]> m_WaveData;
    DWORD m_DataSize = 0;
    DWORD m_BytesWritten = 0;
    std::unique_ptr<unsigned char[]> m_Format;
    DWORD m_FormatSize = 0;
    HWAVEIN m_WaveIn = 0;
    HWAVEOUT m_WaveOut = 0;
    int m_Stopping = 0;
    std::unique_ptr<CallbackWindow> m_CallbackWindow;
    int m_HasData = 0;
    unsigned m_CurrentSlot = 0;
    DiskFile m_RawRecordFile;

    RecordingFlags& m_Flags;
    DWORD m_BufferSize = 0;  // bytes allocated per ring slot
};

// The application's one engine: made (with no event sink) at the first
// call, which also registers the callback window class as start-up does;
// destroyed when the application object goes.
VXWave& theWaveEngine();
