// The line library's one object: the line state block, the bound provider
// module, the open line and the present call, and the queue that carries the
// module's reports from its threads onto the library's thread.
//
// Divisions of LineLibrary.cpp: starting and stopping (initVar, init, open,
// close), devices (listDevices, waveId), the call (answer, dial), media
// (setResource, playFile, setRecord, record, pause, stop, stopPlaying, save,
// inputLevel),
// and the reports (callback, drain, and one handler per TAPI message).
#pragma once

#include <QTemporaryDir>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "maker/Ek7Tapi/internal/ModuleFunctions.h"
#include "platform/DynamicLibrary.h"

class EventRelay;

class LineLibrary {
public:
    static LineLibrary& instance();
    ~LineLibrary();

    LineState* initVar();
    LineState* init(HINSTANCE instance);
    LineState* open(HWND window);
    LineState* close();
    LineState* listDevices(Ek7TapiDeviceList* list);
    LineState* waveId(int kind, const char* deviceClass);
    LineState* setResource(const Ek7TapiResourceModule* module, int resourceId);
    LineState* playFile(const char* path);
    LineState* setRecord(const char* bufferPath, const char* dataPath, const char* wavePath);
    LineState* record();
    LineState* pause();
    LineState* stop();
    LineState* stopPlaying();
    LineState* save();
    LineState* answer();
    LineState* dial(const char* number);
    int inputLevel();
    int useMicrophone(const char* input);
    int callSendsMicrophone() const;

    // Called by the relay on the library's thread.
    void drain();
    void clearCall(HCALL call);

private:
    struct Event {
        TAPIDWORD device;
        TAPIDWORD message;
        DWORD_PTR session;
        DWORD_PTR p1, p2, p3;
    };

    LineLibrary() = default;

    static void callback(TAPIDWORD device, TAPIDWORD message, DWORD_PTR session, DWORD_PTR p1, DWORD_PTR p2,
                         DWORD_PTR p3);
    void enqueue(const Event& event);
    void ensureRelay();
    LineState* result(std::int32_t reason);
    void post(UINT message, WPARAM wParam = 0);

    void onCallState(HCALL call, TAPIDWORD state, TAPIDWORD mode);
    void onRinging();
    void postAnswerNowWhenDue();
    void onCallInfo(HCALL call);
    void onPlayDone(HCALL call);
    void onLineClosed(LONG why);
    bool startRecording();
    void forgetCall();
    bool takeMicrophone();
    void disarmMicrophone();

    LineState m_state{};

    DynamicLibrary m_module;
    bool m_moduleTried = false;
    ModuleFunctions m_fn;
    bool m_bound = false;

    bool m_initialised = false;
    HLINEAPP m_app = 0;
    HLINE m_line = 0;
    HWND m_window = 0;
    // Reports carry the session they were made in; those of a line closed
    // since are dropped.
    DWORD_PTR m_session = 0;

    std::unique_ptr<EventRelay> m_relay;
    std::atomic<HWND> m_relayHandle{0};
    std::mutex m_queueMutex;
    std::deque<Event> m_queue;
    bool m_wakePosted = false;

    // The present call, beyond what the block shows.
    bool m_inService = true;  // the line has a dial tone (word 8 with no call)
    bool m_answerPosted = false;
    bool m_paused = false;
    bool m_recordedThisCall = false;
    bool m_playingTone = false;
    bool m_toneArmed = false;
    bool m_microphoneArmed = false;     // the next call answered or placed sends it
    bool m_callSendsMicrophone = false;  // the present call does

    std::unique_ptr<QTemporaryDir> m_toneFolder;
    std::string m_tonePath;
    std::string m_bufferPath;
    std::string m_dataPath;
    std::string m_wavePath;
};
