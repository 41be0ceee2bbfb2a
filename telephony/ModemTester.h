// What the modem tester (dialog 150) does, without the window: open the line
// chosen in Modem Selection, dial a number, play the greeting into the call
// when it connects, record, and log every step as "Passed" or "Failed".
//
// The line library's messages go to the window whose handle start() is
// given (the dialog); it hands each one to message(). The dial-tone box is
// asked for by posting kDialToneBox to that same window, so that it comes
// after the message that caused it, as a separate step.
//
// The recording the test makes is written under recordFolder (given) and is
// of no further use; the greeting is the answer machine's.
#pragma once

#include <string>

#include "maker/Ek7Tapi/Ek7Tapi.h"

class ModemTester {
public:
    // Posted by the tester to its own window after "no dial tone".
    static constexpr UINT kDialToneBox = WM_USER + 132;
    static constexpr const char* kClosingLine = "================================\r\n\r\n";

    struct Buttons {
        bool start = true;
        bool stop = false;
        bool cancel = true;
    };

    ModemTester(LineState*& line, std::string greetingPath, std::string recordFolder);

    // Opening: flags cleared, Stop greyed, the device named in the log.
    void open(const std::string& deviceDescription);
    // "Start" with the number typed; window receives the line's messages.
    void start(const std::string& number, HWND window);
    // "Stop".
    void stop();
    // A message posted to the tester's window; false for one it does not know.
    bool message(UINT message);
    // The window goes away (Cancel, or closed by its frame): a line the
    // tester opened is closed, a call in progress dropped.
    void close();

    const std::string& log() const { return m_log; }
    const Buttons& buttons() const { return m_buttons; }
    bool callActive() const { return m_callActive; }

private:
    void append(const std::string& text);
    void finishStart();
    void connected();
    void playDone();
    void disconnected();
    void saveRecording();

    LineState*& m_line;
    std::string m_greetingPath;
    std::string m_recordFolder;
    std::string m_log;
    Buttons m_buttons;
    HWND m_window = 0;
    bool m_callActive = false;
    bool m_stopRequested = false;
    bool m_recording = false;
    bool m_playing = false;
    bool m_lineOpen = false;  // opened by the tester and not closed since
};
