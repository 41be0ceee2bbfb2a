// The compressor's worker thread: it sleeps on its three events and does
// what the one that woke it asks, reporting to the progress window only by
// posted messages. The window writes the job before it sets event 0 and
// leaves it alone until the job's result message has come.
//
//   event 0  one job: convert the source to "ek7acm.wav" first (stage 2),
//            compress into the target (stage 3), or decompress the source
//            into the target; the result arrives as kMsgResult
//   event 1  sleep, then post kMsgTick
//   event 2  sleep, post kMsgStopped and end
//
// The library posts the result of a compression or decompression itself. A
// job that only converts, or whose conversion fails, gets its result from
// the worker in the same message: 5 when converted, else the converter's
// code (1 source unreadable, 2 target not written, 3 resampler refused),
// which mean the same as the library's.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "maker/Ek7WavComp/Ek7WavComp.h"
#include "platform/Event.h"
#include "platform/WinTypes.h"

struct CompressorJob {
    std::string source;
    std::string target;
    bool convertFirst = false;
    bool compress = false;
    bool decompress = false;
};

class RecordingCompressor {
public:
    static constexpr UINT kMsgStage = WM_USER + 201;  // wParam 2 converting, 3 compressing
    static constexpr UINT kMsgTick = WM_USER + 202;
    static constexpr UINT kMsgResult = kEk7WavCompResultMessage;  // lParam the result code
    static constexpr UINT kMsgStopped = WM_USER + 204;
    static constexpr WPARAM kStageConverting = 2;
    static constexpr WPARAM kStageCompressing = 3;
    enum EventNumber { kEventJob = 0, kEventTick = 1, kEventStop = 2 };
    // The quality a recording is converted to first: Navo Voice.
    static constexpr int kConvertQuality = 0;
    static constexpr const char* kConvertedName = "ek7acm.wav";

    // workFolder holds "ek7acm.wav"; pauseMs is the sleep before a tick and
    // before the stop message (1000 in the dialog).
    RecordingCompressor(HWND window, std::string workFolder, DWORD pauseMs = 1000);
    // Stops the thread when it still runs and waits for it.
    ~RecordingCompressor();
    RecordingCompressor(const RecordingCompressor&) = delete;
    RecordingCompressor& operator=(const RecordingCompressor&) = delete;

    void start();
    // Only while no job runs.
    void setJob(const CompressorJob& job) { m_job = job; }
    void signal(EventNumber event);
    // Whether the thread has been started and not yet joined.
    bool started() const { return m_thread.joinable(); }
    // Waits for the thread after it posted kMsgStopped.
    void join();
    // Sets event 2 and waits for the thread (the job under way ends first).
    void stopAndJoin();

    std::string convertedPath() const;

    // One wait for any of events. A failed wait cannot come from the
    // worker's own list (three distinct events, none null); should one ever
    // fail, the trace "Wait error: %d\n" is written and the process ends at
    // once with exit code 0, as the program always did.
    static int waitForAny(const std::vector<Event*>& events);

private:
    void run();
    void doJob();

    HWND m_window;
    std::string m_workFolder;
    DWORD m_pauseMs;
    CompressorJob m_job;
    Event m_events[3];
    std::thread m_thread;
};
