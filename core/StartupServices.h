// The seams through which start-up and shutdown reach the parts of Navo that
// live in other folders: the data store (store/), the telephone line
// (telephony/), the diary monitor, the answer machine and store compression.
//
// The main window only knows these interfaces. main() hands it the real
// implementations; a part that is not in this build yet is represented by
// InertServices, whose calls answer kNotAvailable so that the main window
// can say so instead of pretending the work was done.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class QObject;
class QWidget;
struct AppData;

// Result of a seam whose part is not in this build.
inline constexpr int kNotAvailable = -1;

class StoreService {
public:
    virtual ~StoreService() = default;
    // Workspace(mode, pattern): 1 creates TempDir, 0 clears matching files,
    // 2 clears them and removes the folder. 0 or 119.
    virtual int workspace(AppData& app, int mode, const std::string& pattern) = 0;
    // VXfilebuild(folder, name, workspace): a new, empty store. 0 or 101..106.
    virtual int buildStore(const std::string& folder, const std::string& name,
                           const std::string& workspace) = 0;
    // Extract the store named by the profile: 0, 103 or 105.
    virtual int openLastStore(AppData& app) = 0;
    // The main window's Open and New store commands; they set StoreUnusable.
    virtual void openStoreCommand(AppData& app, QWidget* owner) = 0;
    virtual void newStoreCommand(AppData& app, QWidget* owner) = 0;
    // Save the open store: 0, 103 or 106.
    virtual int save(AppData& app) = 0;
    // Delete the working copies of the component files from the workspace.
    virtual void deleteWorkingCopies(AppData& app) = 0;
    // The store's size and reclaimable space in bytes; 0 when it answers.
    virtual int storeInfo(const std::string& storePath, std::uint64_t& size,
                          std::uint64_t& reclaimable) = 0;
    // Deletes records by RecID text; the number that could not be deleted.
    virtual int deleteRecords(AppData& app, const std::vector<std::string>& recIds) = 0;
};

class LineService {
public:
    enum class StartResult {
        Started,            // status active; menu: 2003 greyed, 2004 enabled
        AlreadyMonitoring,  // nothing changed
        NoDevice,           // DeviceChosen is 0: refused without a word
        InitFailed,         // reported; status failed; menus as they were
        OpenFailed,         // 749, 751 or reported; status failed; DeviceChosen 0;
                            // menu: 2003 and 2004 greyed, 2005 unchecked and greyed
    };
    enum class IncomingChoice {
        PickedUp,         // "&Answer": open the phone recorder for the call
        ToAnswerMachine,  // "&Message" or closed: the answer machine takes this call
        CallerHungUp,     // the caller gave up first: the window closed by itself
    };

    virtual ~LineService() = default;
    // Ek7TapiInitVar: the line state block comes into being.
    virtual void initVar(AppData& app) = 0;
    // The profile names a device: remember it and mark it chosen.
    virtual void chooseDevice(long deviceId) = 0;
    virtual bool deviceChosen() const = 0;
    virtual void setRings(int rings) = 0;
    // Modem Selection: the chosen device, or -1 for none (or cancelled).
    virtual long selectModem(QWidget* owner) = 0;
    // Close an open wave device, then Ek7TapiClose.
    virtual void close(AppData& app) = 0;
    // The line's part of the status text.
    static constexpr const char* kActiveText = "Line monitoring active";
    static constexpr const char* kInactiveText = "Line monitoring inactive";
    // kActiveText or kInactiveText.
    virtual std::string statusText() const = 0;
    virtual bool monitoring() const = 0;
    virtual bool answerMachineOn() const = 0;
    // A call is connected and nobody has taken it in hand yet.
    virtual bool callWaitingForUser() const = 0;
    // The phone list's count of new answer-machine messages.
    virtual void setMessagesWaiting(int count) = 0;

    // Phone menu 2003: the line's messages go to mainWindow from now on.
    virtual StartResult startMonitoring(QObject* mainWindow) = 0;
    // Phone menu 2004.
    virtual void stopMonitoring() = 0;
    // Phone menu 2002: true when a device is chosen afterwards ("CommID" written).
    virtual bool modemSelectionCommand(QWidget* owner) = 0;
    // WM_USER+106 with the answer machine off: the incoming-call window, modal.
    virtual IncomingChoice runIncomingCall(QWidget* owner) = 0;
    // WM_USER+121: the incoming-call window, when open, shows the caller again.
    virtual void forwardCallerId() = 0;
    // WM_USER+150: an incoming-call window still open stops ringing and
    // closes, its runIncomingCall answering CallerHungUp.
    virtual void callEnded() = 0;
    // WM_USER+157 (wParam the reason): the line stopped by itself and is
    // closed; the user is told why. Nothing to do for a build without a line.
    virtual void lineClosed(int /*reason*/) {}
    // WM_USER+155 with a chosen entry: Ek7TapiDial(number); a failure is
    // reported. The call's progress shows in statusText() from then on.
    virtual void placeCall(const std::string& /*name*/, const std::string& /*number*/) {}
    // WM_USER+155 asking for the phone recorder with nothing to dial.
    virtual void noRecorderForCall() {}
    // A line message about the outgoing call (+153, +107, +108, +109, +150):
    // true when the status text changed.
    virtual bool outgoingCallMessage(unsigned /*message*/) { return false; }
};

class DiaryService {
public:
    virtual ~DiaryService() = default;
    // The start-up diary check: 0, a message code, or kNotAvailable.
    virtual int check(AppData& app) = 0;
    // Start the monitor thread at the lowest priority.
    virtual void start(AppData& app, std::uintptr_t mainWindow) = 0;
    // Stop it and wait until it has ended (shutdown, "&Diary Monitor").
    virtual void stop() {}
    // The store or its diary changed: the monitor reads the diary again.
    virtual void storeChanged(AppData& /*app*/) {}
    // WM_USER+42 as the monitor posted it, for one due entry: ask, play,
    // snooze.
    virtual void reminderDue(AppData& /*app*/, QWidget* /*owner*/, std::uintptr_t /*wParam*/,
                             std::intptr_t /*lParam*/) {}
};

class AnswerMachineService {
public:
    // What switching came to; the main window sets its Phone menu from it.
    enum class Switch {
        NotAvailable,  // no answer machine in this build: nothing changed
        Refused,       // a call is in progress: message 752, nothing changed
        NoDevice,      // no modem chosen: 2006 unchecked and greyed
        On,            // 2005 checked and greyed, 2006 unchecked and enabled
        Failed,        // monitoring could not start: 2006 checked and greyed
        Off,           // 2005 unchecked and enabled, 2006 checked and greyed
    };

    virtual ~AnswerMachineService() = default;
    // Switching on starts line monitoring (its messages go to mainWindow).
    virtual Switch switchOn(AppData& app, QObject* mainWindow) = 0;
    // Switching off leaves the line as it is.
    virtual Switch switchOff(AppData& app) = 0;
    // The incoming-call window's choice for the present call: true, the
    // machine takes this one call; false, the user picked it up.
    virtual void forThisCall(AppData& app, bool take) = 0;
    // WM_USER+120 with an offered call: the message's RecID and work files,
    // then the call is answered.
    virtual void answerCall(AppData& app) = 0;
    // WM_USER+107: the line's wave devices; the greeting when the machine
    // has the call (a greeting that cannot be played drops the call).
    virtual void callConnected(AppData& app) = 0;
    // WM_USER+150 with the machine on: when the call was present (answered),
    // stop, save and file the message; either way a machine switched on for
    // this call only goes off again. 0, or the code of the message shown.
    virtual int callEnded(AppData& app) = 0;
    // Command 2107: the sound of a filed dictation (its record file name,
    // "%08d.vxz") becomes the greeting. 0, or the code of the message shown.
    virtual int useDictationAsGreeting(AppData& app, const std::string& recordFileName) = 0;
};

class CompressionService {
public:
    virtual ~CompressionService() = default;
    // The store compression dialog, modal.
    virtual int runDialog(AppData& app, QWidget* owner) = 0;
};

class RecorderService {
public:
    virtual ~RecorderService() = default;
    // Whether this build has a recorder for a list type (1 Dictation ...).
    virtual bool hasRecorder(int listType) const = 0;
    // Runs that recorder modally for a new recording; true when a recording
    // was filed. prime: start from the previous record's details.
    virtual bool record(AppData& app, int listType, QWidget* owner, bool prime) = 0;
    // A new recording of a list type whose texts start as a template's
    // (WM_USER+30); true when one was filed.
    virtual bool recordWithTexts(AppData& /*app*/, int /*listType*/, QWidget* /*owner*/,
                                 const std::string& /*subject*/, const std::string& /*keywords*/,
                                 const std::string& /*comments*/)
    {
        return false;
    }
    // "Offline Meeting" (2168): the meeting cost timer and clock, modal.
    virtual bool hasOfflineMeeting() const { return false; }
    virtual void offlineMeeting(AppData& /*app*/, QWidget* /*owner*/) {}
};

class StudioService {
public:
    virtual ~StudioService() = default;
    // Runs the Mixing Studio modally; true when a recording made in it was
    // filed.
    virtual bool run(AppData& app, QWidget* owner) = 0;
};

class PlayerService {
public:
    virtual ~PlayerService() = default;
    // Runs the message player modally on recIds[index], Prev/Next walking
    // recIds. The number of answer-machine messages it made heard.
    virtual int play(AppData& app, const std::vector<std::string>& recIds, int index, QWidget* owner) = 0;
};

class MailService {
public:
    virtual ~MailService() = default;
    // Sends records of the open store (record file names "%08d.vxz") by
    // e-mail: the options, the copies, the compressor and the composer.
    // The result of Send files (0, 500 to 504), or -1 when the options
    // were cancelled or nothing could be taken out.
    virtual int sendRecords(AppData& app, const std::vector<std::string>& recordFileNames, QWidget* owner) = 0;
};

// The phone recorder (dialog 125, modeless), as the main window's line
// handlers reach it: opened for a call picked up, placed or already up,
// told when the call connects and ends. None: calls are not recorded.
class PhoneRecorderService {
public:
    // Its messages (posted to window()): the call has ended; an incoming
    // call picked up is to be answered and recorded there. Once it has
    // filed a call it posts kFiled to its owner, the main window, whose
    // after-call update then shows the call.
    static constexpr unsigned kCallEnded = 0x0400 + 7;
    static constexpr unsigned kRecordIncoming = 0x0400 + 11;
    static constexpr unsigned kFiled = 0x0400 + 156;
    // The state-change code for a connected call.
    static constexpr int kConnected = 7;

    virtual ~PhoneRecorderService() = default;
    virtual bool isOpen() const = 0;
    // Recording or paused in a run.
    virtual bool recording() const = 0;
    // Its window handle for PostMessage; 0 when it is not open.
    virtual std::uintptr_t window() const = 0;
    // Creates it, or brings it forward restored, with the caller's or
    // callee's name and number.
    virtual void open(AppData& app, QWidget* owner, const std::string& name, const std::string& number) = 0;
    // The line's state changed (kConnected).
    virtual void stateChange(int code) = 0;
    // The line is no longer there for it (the call ended, the line closed).
    virtual void clearLineInUse() = 0;
    // Closes it (the answer machine was switched on while it was idle).
    virtual void close() = 0;
};

class ExportService {
public:
    virtual ~ExportService() = default;
    // Exports the records recIds ("%08d") as kind, the record menu's command
    // (2115 Navo recording, 2116 WAV, 2117 MP3, 2118 WMA, 2119 OGG, 8022
    // WMV), asking for the files as "ExpPrompt" says. The files written.
    virtual int exportRecords(AppData& app, int kind, const std::vector<std::string>& recIds, QWidget* owner) = 0;
};

struct StartupServices {
    StoreService* store = nullptr;
    LineService* line = nullptr;
    DiaryService* diary = nullptr;
    AnswerMachineService* answerMachine = nullptr;
    CompressionService* compression = nullptr;
    RecorderService* recorder = nullptr;  // none: New Recording stays grey
    StudioService* studio = nullptr;      // none: the Mixing Studio item stays grey
    PlayerService* player = nullptr;      // none: Play stays grey
    MailService* mail = nullptr;          // none: Send stays grey
    PhoneRecorderService* phoneRecorder = nullptr;  // none: calls are not recorded
    ExportService* exporter = nullptr;    // none: the record exports stay grey
};
