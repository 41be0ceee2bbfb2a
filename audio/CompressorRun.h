// What the compressor dialog does with its record files, without a window:
// for each record file (".vxz") in turn it takes the sound out into the
// working folder, has the worker thread convert and compress it (or
// decompress it), and puts the result back into the record file in place
// of the sound it came from. The dialog feeds it the messages its window
// receives and shows what it says.
//
// A compressed sound (Ogg Opus, Ek7WavComp's output) replaces the wave
// member under the same name, and decompression puts the wave back: the
// player, exports and greetings find a record's sound by its name and tell
// a compressed one by its content (Ek7WavIsComp). Converting alone
// replaces the wave member with its Navo Voice form the same way. A record
// file changes only by whole members (the archive is rewritten beside
// itself and renamed into place), so it is never left half made.
//
// The buttons, and what they do to the worker's events:
//   Stop      sets event 2: the file under way is finished, then the worker
//             ends; the files not yet begun stay as they are.
//   Re-Start  starts a new worker and sets event 0 for the next file.
//   Cancel    sets event 2 like Stop and closes the dialog once the worker
//             has ended (at once when it already has).
// When the last file is done the dialog sets event 2 and closes itself once
// the worker has said it stopped.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "audio/RecordingCompressor.h"

class CompressorRun {
public:
    struct Options {
        bool convert = false;
        bool compress = false;
        bool decompress = false;
    };
    enum class State { Idle, Working, Stopping, Stopped, Cancelling, Finishing, Closed };

    // The text shown for a result code (an error box), nullptr for 5.
    static const char* resultText(int code);

    using ShowError = std::function<void(const std::string& text)>;

    // window: where the worker posts (the dialog's handle); workFolder: the
    // folder the sounds are taken into (it must exist).
    CompressorRun(HWND window, std::vector<std::string> recordFiles, Options options, std::string workFolder,
                  ShowError showError, DWORD pauseMs = 1000);
    ~CompressorRun();

    void start();
    // A message the window received; false when it is not the compressor's.
    bool handle(UINT message, WPARAM wParam, LPARAM lParam);
    void stop();
    void restart();
    void cancel();

    State state() const { return m_state; }
    bool cancelled() const { return m_cancelled; }
    int fileCount() const { return static_cast<int>(m_files.size()); }
    int filesDone() const { return m_done; }
    // "Compressing file 2 of 3", "Converting file 1 of 3".
    std::string progressText() const;
    int filePercent() const { return m_filePercent; }
    int overallPercent() const;
    // The result of each file finished so far, in order (5 when it went in).
    const std::vector<int>& results() const { return m_results; }

private:
    void beginFile();
    int prepare();
    int putBack();
    void finishFile(int result);
    void clearWork();

    std::vector<std::string> m_files;
    Options m_options;
    std::string m_workFolder;
    ShowError m_showError;
    RecordingCompressor m_worker;
    State m_state = State::Idle;
    bool m_cancelled = false;
    int m_current = 0;  // index of the file under way
    int m_done = 0;
    int m_filePercent = 0;
    bool m_converting = false;
    std::vector<int> m_results;
    // The file under way.
    std::string m_soundMember;
    std::string m_source;
    std::string m_target;
    std::string m_targetMember;
};
