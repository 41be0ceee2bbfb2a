// The far end of the test line, as navo-line plays it: a caller who rings
// Navo, or a telephone that answers when Navo calls. It speaks a WAV file
// once the call is up (after the greeting and tone have finished, or at once)
// and keeps everything Navo played to it.
#pragma once

#include <QLocalSocket>
#include <QString>

#include <cstdint>
#include <string>

#include "maker/Ek7Tapi/wave/LineWave.h"
#include "telephony/module/TestLineFrames.h"

struct CallerScript {
    int rings = 5;             // give up after this many rings (0: never)
    int ringPeriodMs = 0;      // 0: the line's own period
    std::string number = "01234567890";
    std::string name = "Test Caller";
    std::string sayPath;       // what to say, a WAV file
    std::string hearPath;      // where to keep what Navo played
    bool speakAfterTone = true;  // else speak as soon as the call is up
    int lingerMs = 300;        // stay on after speaking, before hanging up
    int holdMs = 0;            // with nothing to say: stay on this long after the tone
    int timeoutMs = 120000;
    // wait: how the phone takes Navo's call ("answer", "busy", "nodialtone")
    // and, to answer, after how many rings.
    std::string answerMode = "answer";
    int answerAfterRings = 0;
};

class TestLineCaller {
public:
    // Exit codes of navo-line.
    enum Outcome {
        kAnswered = 0,      // the call was answered (and ended by either side)
        kUsage = 1,
        kNoLine = 2,        // nobody listens: Navo is not monitoring the test line
        kBusy = 3,
        kNotAnswered = 4,
        kTimedOut = 5,
        kBadFile = 6,
        kNoDialTone = 7,    // wait --no-dial-tone: Navo's call found no dial tone
    };

    explicit TestLineCaller(QString socketPath);

    Outcome call(const CallerScript& script);
    // Waits for Navo to call, answers at once, then behaves as call() does.
    Outcome wait(const CallerScript& script);
    // Ends whatever call is up on the line.
    Outcome hangUp();
    // Prints the line's state.
    Outcome status();

private:
    bool connectLine();
    bool sendFrame(char type, const std::string& payload = {});
    // The next frame, waiting at most timeoutMs. False on timeout or when the
    // line went away (then closed is set).
    bool readFrame(char& type, std::string& payload, int timeoutMs, bool& closed);
    Outcome converse(const CallerScript& script, const LineSamples& voice, int ringsHeard);
    void keepHeard(const CallerScript& script);

    QString m_socketPath;
    QLocalSocket m_socket;
    TestLineFrames m_frames;
    LineSamples m_heard;
};
