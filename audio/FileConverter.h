// The File Converter's work (dialog 151), without a window: a list of jobs
// (wave in, MP3/WMA/OGG/WAV out) and the converter thread, which is driven
// only by its four events and answers only by posted messages.
//
// The events and what the dialog's buttons do to them:
//   0 reset    set on opening and by "Re-Start": the thread zeroes the job
//              counter and posts code 0; on code 0 the first job starts.
//   1 convert  set once per job, after the job settings are written; the
//              thread converts and posts code 3 (failed, with the result)
//              and code 2 (file done); on code 2 the next job starts.
//   2 cancel   "Stop": abandons the file in progress (the converter polls
//              events 2 and 3 between blocks, so nothing is left under its
//              target name) and starts no further job; the thread posts
//              code 99 and waits again, so "Re-Start" can run the list anew.
//   3 stop     "Cancel" and closing the window: the file in progress is
//              abandoned the same way, the thread posts code 100 and ends.
//              When the last job is done the list sets it too.
// Events 2 and 3 are manual-reset, so the converter can look at them without
// taking them; the thread resets event 2 once it has posted 99.
//
// A failed wait ends the process at once, as the converter thread always
// has. It cannot happen here: WaitForMultipleObjects fails only for a bad
// list, and the list is four distinct events made in the constructor and
// destroyed only after the thread has been joined.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Event.h"
#include "platform/WinTypes.h"

class FileConverter {
public:
    // wParam: the converter's result (code 3), lParam: the code.
    static constexpr UINT kMsgConvert = WM_USER + 51;
    enum Code : int { kCounterReset = 0, kFileDone = 2, kFileFailed = 3, kCancelled = 99, kThreadStopped = 100 };
    // The converter format codes.
    enum FormatCode : int { kMp3 = 0, kWma = 1, kOgg = 2, kWav = 3, kWavToo = 4 };

    struct Job {
        std::string source;  // a wave recording
        std::string target;
        int format = kWav;
        // Tags, where the format has them.
        std::string title;
        std::string artist;
        std::string date;
    };

    enum class State { Idle, Converting, Stopping, Stopped, Finished, Closing, Closed };

    using Post = std::function<void(UINT message, WPARAM wParam, LPARAM lParam)>;

    // progressWindow receives the converters' progress (kEk7ConvProgressMessage);
    // 0 for none.
    FileConverter(std::vector<Job> jobs, Post post, HWND progressWindow = 0);
    ~FileConverter();
    FileConverter(const FileConverter&) = delete;
    FileConverter& operator=(const FileConverter&) = delete;

    // Starts the thread and sets the reset event.
    void start();
    void restart();  // "Re-Start", in the Stopped state only
    void stop();     // "Stop"
    void cancel();   // "Cancel": ends the thread

    // The dialog hands every kMsgConvert message here (UI thread). Returns
    // the converter's result when a job failed for a reason the user should
    // be told (not for an abandoned one), else 0.
    int onMessage(WPARAM wParam, LPARAM lParam);

    State state() const { return m_state; }
    int total() const { return static_cast<int>(m_jobs.size()); }
    // The job running or last run, from 1; 0 before the first.
    int current() const { return m_next; }
    int failures() const { return m_failures; }
    // Jobs that ended with their file in place, this run.
    int converted() const { return m_converted; }
    // Waits for the thread to end (after cancel() or the last job).
    void join();

    // The converter for a format code: WavToMp3, WavToWma, WavToOgg or
    // WavToWav; nullptr for any other code.
    static int (*converterFor(int format))(HWND, const char*, const char*);
    // The text shown for a converter's result: 1, 2, 3, 9 or "Unknown error".
    static const char* resultText(int result);

private:
    enum EventIndex { kReset = 0, kConvert = 1, kCancel = 2, kStop = 3 };
    void run();
    void startNext();

    // The job settings the thread reads: written by the UI thread before it
    // sets event 1 and left alone until code 2 comes back.
    struct Shared {
        std::string source;
        std::string target;
        int format = kWav;
        int counter = 0;
    };

    std::vector<Job> m_jobs;
    Post m_post;
    HWND m_progressWindow;
    std::array<std::unique_ptr<Event>, 4> m_events;
    std::vector<Event*> m_waitList;
    Shared m_shared;
    std::thread m_thread;
    State m_state = State::Idle;
    int m_next = 0;
    int m_failures = 0;
    int m_converted = 0;
    bool m_lastFailed = false;
};
