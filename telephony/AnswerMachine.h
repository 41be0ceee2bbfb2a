// The answer machine: answers calls on the monitored line after the "Rings"
// count, plays the greeting and the tone, lets the line library record the
// caller and, when the call ends, files the message as an "Answer Machine
// Message" record. LineController, which the main window hands its line
// messages, calls it (see AnswerMachineService in core/StartupServices.h for
// which message calls what); it drives the line through TelephonyService and
// Ek7Tapi.
//
// Message length: the line library has no length limit of its own, so the
// machine ends a recording that has gone on for "MaxMessage" seconds (default
// 180) by dropping the call; the line then reports the end of the call as
// for a caller who hangs up, and the message is filed in the same way. It
// ends the call the same way once the caller has been silent for "Silence"
// seconds while recorded, judged from the line's input level. A line that
// cannot tell its level (an older provider module) is never taken for
// silent: there the length limit is what ends a silent caller's call.
#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <string>

#include "core/ProfileValues.h"
#include "core/StartupServices.h"
#include "telephony/AnswerMachineMessage.h"

class TelephonyService;
struct LineState;

class AnswerMachine : public AnswerMachineService {
public:
    // A caller whose recent peak stays below this is silent: 1 % of full
    // scale. A silent line reads 0 (test line) or about 1 (SIP, the meter's
    // floor); speech peaks run to thousands.
    static constexpr int kSilenceLevel = 328;
    // The tone after the greeting: the program's WAVE resource.
    static constexpr int kToneResource = 3001;

    explicit AnswerMachine(TelephonyService& line);
    ~AnswerMachine() override;
    AnswerMachine(const AnswerMachine&) = delete;
    AnswerMachine& operator=(const AnswerMachine&) = delete;

    Switch switchOn(AppData& app, QObject* mainWindow) override;
    Switch switchOff(AppData& app) override;
    void forThisCall(AppData& app, bool take) override;
    void answerCall(AppData& app) override;
    void callConnected(AppData& app) override;
    int callEnded(AppData& app) override;
    int useDictationAsGreeting(AppData& app, const std::string& recordFileName) override;

    // The switch is on for the present call only.
    bool forThisCallOnly() const { return m_forThisCallOnly; }
    // The message being answered, if any.
    const AnswerMachineMessage& message() const { return m_message; }

private:
    LineState* state() const;
    void playGreeting(AppData& app);
    void watchLength();
    void stopWatching();

    TelephonyService& m_line;
    bool m_forThisCallOnly = false;
    // Each of these is said once a session, not at every call.
    bool m_toldNoRecId = false;
    bool m_toldKept = false;
    static const char* const kMessageKept;
    AnswerMachineMessage m_message;
    QTimer m_lengthWatch;
    QElapsedTimer m_recordingFor;
    QElapsedTimer m_silentFor;  // invalid while the caller is heard
    int m_maxSeconds = ProfileValues::kMaxMessage.missing;
    int m_silenceSeconds = ProfileValues::kSilence.missing;
};
