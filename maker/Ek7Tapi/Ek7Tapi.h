// Ek7Tapi: the voice-modem line library. One line state block (LineState),
// a pointer to which every call returns; line events posted as window
// messages to the window given to Ek7TapiOpen.
//
// Threading: call every function from one thread, the one the windows live on
// (the UI thread), after a QCoreApplication exists. The provider module
// reports on threads of its own; the library moves those reports onto the
// calling thread through its own posted messages, updates the block there and
// only then posts the window messages below, so a handler always finds the
// block already saying what its message announces. Nothing else writes the
// block, so it needs no lock.
//
// Results: each call stores 0 in ErrorCode on success, or one of the reason
// codes below (1 or more) on failure, and returns the block.
//
// Window messages (wParam and lParam 0 unless stated), in the order a call
// produces them:
//   WM_USER+106 kEk7MsgOffered     an incoming call is offered (CallState 1,
//                                  CallHandle set, CallInProgress 1)
//   WM_USER+121 kEk7MsgCallerId    CallerIdValid 1, CallerNumber/CallerName set
//   WM_USER+105 kEk7MsgRing        a ring was heard; wParam = RingCount
//   WM_USER+120 kEk7MsgAnswerNow   RingCount reached Rings with AnswerMachineOn
//                                  set (once per call, never after
//                                  Ek7TapiAnswer; with Rings 0 or less right
//                                  after +106). With the machine off no ring
//                                  asks for an answer.
//   WM_USER+107 kEk7MsgConnected   the call is connected (after Ek7TapiAnswer,
//                                  or the far end answered Ek7TapiDial)
//   WM_USER+110 kEk7MsgRecording   recording from the line has started
//   WM_USER+131 kEk7MsgPlayDone    the file given to Ek7TapiPlayFile (and the
//                                  tone after it) has been played
//   WM_USER+150 kEk7MsgDisconnected  the call ended (either side); playing and
//                                  recording have stopped and the recording is
//                                  complete on disk. CallState, CallHandle and
//                                  the caller texts still describe the call;
//                                  but an incoming call that was never answered
//                                  comes with CallState 0 (nothing to file).
//   WM_USER+151 kEk7MsgIdle        the call is idle. Once this message has been
//                                  handled the library clears CallState,
//                                  CallHandle and CallInProgress and frees the
//                                  call (lineDeallocateCall here is allowed
//                                  but not needed).
//   WM_USER+157 kEk7MsgLineClosed  the line stopped by itself (a SIP registrar
//                                  refused the account or stopped answering,
//                                  the network went): it is closed already,
//                                  Monitoring 0; wParam the reason (60-79).
//   WM_USER+158 kEk7MsgServiceChanged  the line can place calls now (wParam 1:
//                                  a SIP registrar accepted the account) or
//                                  no longer can (0); word 8 says it already.
// Outgoing calls (Ek7TapiDial): +154 kEk7MsgDialStarted once the call exists,
// +111 dialling, +152 proceeding, +153 ringing at the far end, +108 busy,
// +109 no dial tone, then +107 or +150/+151 as above.
//
// Recording on the answer-machine path: after Ek7TapiSetRecord and
// Ek7TapiAnswer, Ek7TapiPlayFile plays the greeting, then the tone set by
// Ek7TapiSetResource, then starts recording the caller by itself (+110)
// and posts +131. Ek7TapiSave writes the recording as an 8000 Hz 16-bit mono
// WAV file ("fmt ", "fact", "data") to the wave path of Ek7TapiSetRecord.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "maker/TapiAbi/TapiAbi.h"
#include "platform/WinTypes.h"

// The line state block. The words marked "word n" are read by position by
// other code (32-bit words counted from 0); keep them where they are.
struct LineState {
    std::int32_t DeviceChosen;        // word 0
    std::int32_t CallEndFlag;         // word 1
    std::int32_t RingCount;           // word 2: rings heard for the present call
    std::int32_t Connected;           // word 3: 1 while the present call is connected
    std::int32_t AnswerMachineOn;     // word 4
    std::int32_t CallAnsweredByUser;  // word 5
    std::int32_t Playing;             // word 6: 1 while a file plays into the call
    std::int32_t Recording;           // word 7: 1 while the caller is recorded (paused too)
    // word 8: 1 when the line can place a call now: it is open, no call is
    // present (from offered or dialled until idle), and it has a dial tone
    // (a SIP line with an account: the registrar has accepted it; without
    // an account, direct calls to an address always can). Ek7TapiDial does
    // not require it: dialling without it reports what a modem would (+109).
    std::int32_t DialReady;
    std::int32_t CallInProgress;      // word 9: from offered or dialled until idle
    std::int32_t WaveOutId;           // word 10: Ek7TapiGetWaveID's answer for "wave/out"
    std::int32_t WaveInId;            // word 11: ... and for "wave/in"
    std::int32_t Monitoring;          // word 12: the line is open
    HCALL CallHandle;                 // 0 when there is no call
    std::int32_t DeviceId;
    std::int32_t DeviceCount;         // valid after Ek7TapiInit
    std::int32_t Rings;               // rings before kEk7MsgAnswerNow
    std::int32_t MessagesWaiting;
    std::int32_t ErrorCode;           // 0, or a reason code below
    std::int32_t CallState;           // 1 incoming call present, 2 outgoing call, 0 none
    std::int32_t CallerIdValid;
    char CallerNumber[80];
    char CallerName[80];
};

static_assert(sizeof(HCALL) == 4, "CallHandle is one 32-bit word");
static_assert(offsetof(LineState, AnswerMachineOn) == 4 * 4, "AnswerMachineOn is word 4");
static_assert(offsetof(LineState, DialReady) == 8 * 4, "the dial-out word is word 8");
static_assert(offsetof(LineState, CallInProgress) == 9 * 4, "CallInProgress is word 9");
static_assert(offsetof(LineState, Monitoring) == 12 * 4, "Monitoring is word 12");
static_assert(offsetof(LineState, CallerName) == offsetof(LineState, CallerNumber) + 80,
              "CallerName follows CallerNumber directly");

// Reason codes in ErrorCode. They are grouped so that the program's failure
// report (return code 310 for 1-59, 320 for 60-79, ...) names the step.
enum Ek7TapiReason : std::int32_t {
    kEk7Ok = 0,
    // 1-59: loading the module, starting, choosing the device.
    kEk7NoModule = 1,          // the provider module cannot be loaded
    kEk7NoFunction = 2,        // the module lacks a function the library needs
    kEk7InitFailed = 3,        // lineInitializeExA refused
    kEk7NotInitialised = 5,    // Ek7TapiInit has not run (or Ek7TapiClose ran since)
    kEk7DeviceUnusable = 42,   // the device carries no voice: it cannot be used with Navo
    kEk7DeviceMissing = 49,    // DeviceId names no device of this system
    // 60-79: opening the line, and the line stopping by itself.
    kEk7OpenFailed = 60,       // the provider could not open the line, and cannot say why
    kEk7LineInUse = 61,        // another program holds the line (a SIP line's UDP port)
    kEk7LineSettings = 62,     // the line's settings are incomplete or invalid (half an account)
    kEk7DeviceGone = 63,       // the provider no longer has the device
    kEk7PasswordFile = 64,     // the account's password file is missing, unreadable or readable by others
    kEk7RegistrationRefused = 65,   // the registrar refused the account (user or password wrong)
    kEk7RegistrarUnreachable = 66,  // the registrar did not answer
    // 80-99: listing devices.
    kEk7ListFailed = 80,       // no list given, or the library is not started
    kEk7DevCapsFailed = 81,
    // 100-139: call control.
    kEk7NoOfferedCall = 100,   // Ek7TapiAnswer without an offered call
    kEk7AnswerFailed = 101,
    kEk7LineNotOpen = 110,     // Ek7TapiDial without Ek7TapiOpen
    kEk7DialFailed = 111,
    kEk7LineBusy = 112,        // a call is already present
    kEk7NoNumber = 113,
    // 140-159: wave devices.
    kEk7NoWaveDevice = 140,
    kEk7BadWaveClass = 141,
    kEk7WaveIdFailed = 142,
    // 160-179: playing.
    kEk7NoCallToPlay = 160,
    kEk7PlayFileMissing = 161,
    kEk7PlayFailed = 162,
    kEk7StopPlayFailed = 163,  // the line cannot stop playing without stopping its recording
    // 180-199: recording.
    kEk7NoCallToRecord = 180,
    kEk7NoRecordPaths = 181,
    kEk7RecordFailed = 182,
    kEk7NotRecording = 183,
    // 200-219: saving.
    kEk7NothingRecorded = 200,
    kEk7SaveFailed = 201,
    // 220-221: resources.
    kEk7NoResource = 220,
    // 222 and above: anything else.
    kEk7Internal = 222,
};

// Window messages (WM_USER + n).
inline constexpr UINT kEk7MsgRing = WM_USER + 105;
inline constexpr UINT kEk7MsgOffered = WM_USER + 106;
inline constexpr UINT kEk7MsgConnected = WM_USER + 107;
inline constexpr UINT kEk7MsgBusy = WM_USER + 108;
inline constexpr UINT kEk7MsgNoDialTone = WM_USER + 109;
inline constexpr UINT kEk7MsgRecording = WM_USER + 110;
inline constexpr UINT kEk7MsgDialling = WM_USER + 111;
inline constexpr UINT kEk7MsgAnswerNow = WM_USER + 120;
inline constexpr UINT kEk7MsgCallerId = WM_USER + 121;
inline constexpr UINT kEk7MsgPlayDone = WM_USER + 131;
inline constexpr UINT kEk7MsgDisconnected = WM_USER + 150;
inline constexpr UINT kEk7MsgIdle = WM_USER + 151;
inline constexpr UINT kEk7MsgProceeding = WM_USER + 152;
inline constexpr UINT kEk7MsgRingBack = WM_USER + 153;
inline constexpr UINT kEk7MsgDialStarted = WM_USER + 154;
inline constexpr UINT kEk7MsgLineClosed = WM_USER + 157;
inline constexpr UINT kEk7MsgServiceChanged = WM_USER + 158;

// The list control Ek7TapiListDev fills.
class Ek7TapiDeviceList {
public:
    virtual ~Ek7TapiDeviceList() = default;
    // Appends a row: column 0 the device number as decimal text, column 1
    // its description.
    virtual void insertRow(const std::string& number, const std::string& description) = 0;
};

// Where the program keeps its WAVE resources (Windows: the resource module).
class Ek7TapiResourceModule {
public:
    virtual ~Ek7TapiResourceModule() = default;
    // The bytes of WAVE resource id (a whole WAV file); false when missing.
    virtual bool loadWave(int id, std::string& bytes) const = 0;
};

// The block comes into being zeroed, with Rings 3. Called once at start-up;
// a second call closes an open line first.
LineState* Ek7TapiInitVar();
// Loads the provider module (once per process) and starts it; DeviceCount
// is set. Called again while started, it changes nothing and succeeds.
LineState* Ek7TapiInit(HINSTANCE instance);
// Opens device DeviceId for incoming calls; events go to window from now on.
// Monitoring and DialReady become 1.
LineState* Ek7TapiOpen(HWND window);
// Drops a present call, closes the line and stops the module's work.
// Monitoring becomes 0; the block's call members are cleared. Never fails.
LineState* Ek7TapiClose();
// One row per device into list (needs Ek7TapiInit).
LineState* Ek7TapiListDev(Ek7TapiDeviceList* list);
// Asks the line for its wave device ("wave/out" or "wave/in"); the first
// argument is passed through and not otherwise used.
LineState* Ek7TapiGetWaveID(int kind, const char* deviceClass);
// The tone played after the next Ek7TapiPlayFile: WAVE resource id of module
// (the program passes TelephonyService::resources() and 3001).
LineState* Ek7TapiSetResource(const Ek7TapiResourceModule* module, int resourceId);
// Plays a WAV file into the connected call; +131 when done (see above).
LineState* Ek7TapiPlayFile(const char* path);
// Where the next recording goes: the line's live recording (buffer), a data
// file this library does not use (kept for the program's naming), and the
// WAV file Ek7TapiSave writes.
LineState* Ek7TapiSetRecord(const char* bufferPath, const char* dataPath, const char* wavePath);
// Starts recording the caller at once (+110).
LineState* Ek7TapiRecord();
// Pauses the recording, or resumes it when paused.
LineState* Ek7TapiPause();
// Stops playing and recording. Succeeds when there is nothing to stop.
LineState* Ek7TapiStop();
// Stops only what Ek7TapiPlayFile plays (and the tone armed after it):
// Playing becomes 0, no +131 follows, and a recording of the call goes on
// (Recording stays as it was). Succeeds when nothing plays. On failure
// (kEk7StopPlayFailed) the file plays on and the block is unchanged.
LineState* Ek7TapiStopPlaying();
// Writes the recording to the wave path of Ek7TapiSetRecord.
LineState* Ek7TapiSave();
// Answers the offered call; +107 follows.
LineState* Ek7TapiAnswer();
// Places a call to number on the open line.
LineState* Ek7TapiDial(const char* number);
// The next Ek7TapiAnswer or Ek7TapiDial sends the user's microphone to the
// far end: input is the sound server's description of it, "" for its first
// input; nullptr sends only what is played (a greeting, else silence). One
// call only. 1 when it will be sent, 0 when the line cannot (no sound
// server, a line without sound of its own). Leaves ErrorCode alone.
int Ek7TapiUseMicrophone(const char* input);
// 1 when the present call sends the microphone: the line's recording of it
// then holds both sides as they were heard.
int Ek7TapiCallSendsMicrophone();
// How loud the caller has been over the last 200 ms or so while recorded:
// the peak, 0 (silence) to 32767 (full scale) on the 16-bit sample scale.
// -1 when unknown: no call, not recording, paused, or a module that cannot
// measure. Unlike the others it leaves ErrorCode alone.
int Ek7TapiInputLevel();
