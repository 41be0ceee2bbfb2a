// The module's TAPI side: one application, the line devices (one per
// configured provider), the open lines with their provider objects, and the
// table of calls with their callers' identities. The exported C functions
// (TapiExports.cpp) are thin calls into this object.
//
// Locking: one mutex guards the tables. It is never held while a provider
// works or while the application's callback runs, so a provider's thread
// reporting an event can never wait on a request that waits on it.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "telephony/module/LineOptions.h"
#include "telephony/module/LineProvider.h"

struct ProviderEntry;

class LineModule {
public:
    static LineModule& instance();

    LONG initialize(HLINEAPP* app, LINECALLBACK callback, TAPIDWORD* devices, TAPIDWORD* version);
    LONG shutdown(HLINEAPP app);
    LONG negotiate(HLINEAPP app, TAPIDWORD device, TAPIDWORD high, TAPIDWORD* version);
    LONG devCaps(HLINEAPP app, TAPIDWORD device, LINEDEVCAPS* caps);
    LONG open(HLINEAPP app, TAPIDWORD device, HLINE* line, DWORD_PTR callbackInstance, TAPIDWORD mediaModes);
    LONG close(HLINE line);
    LONG answer(HCALL call);
    LONG drop(HCALL call);
    LONG deallocate(HCALL call);
    LONG makeCall(HLINE line, HCALL* call, const char* number);
    LONG callInfo(HCALL call, LINECALLINFO* info);
    LONG icon(TAPIDWORD device, const char* deviceClass, HICON* icon);
    LONG waveId(HLINE line, HCALL call, const char* deviceClass, VARSTRING* id);
    LONG playFile(HCALL call, const char* path);
    LONG recordFile(HCALL call, const char* path);
    LONG pauseRecord(HCALL call, bool pause);
    LONG stopMedia(HCALL call);
    LONG stopPlay(HCALL call);
    LONG inputLevel(HCALL call, TAPIDWORD* level);
    LONG useMicrophone(HLINE line, const char* input);

private:
    class Sink;
    struct OpenLine {
        TAPIDWORD device = 0;
        std::unique_ptr<Sink> sink;
        std::shared_ptr<LineProvider> provider;  // last: goes first, while its sink is still there
    };
    struct CallEntry {
        HLINE line = 0;
        bool incoming = true;
        TAPIDWORD state = 0;
        std::string number;
        std::string name;
    };

    LineModule() = default;
    // At exit: every line closed (provider threads stopped) while the
    // tables their reports touch still exist.
    ~LineModule();
    void loadDevices();  // with m_mutex held
    std::shared_ptr<LineProvider> providerOf(HCALL call);
    std::shared_ptr<LineProvider> providerOfLine(HLINE line);
    void report(TAPIDWORD device, TAPIDWORD message, DWORD_PTR instance, DWORD_PTR p1, DWORD_PTR p2 = 0,
                DWORD_PTR p3 = 0);

    std::mutex m_mutex;
    bool m_devicesLoaded = false;
    LineOptions m_options;
    std::vector<const ProviderEntry*> m_devices;
    HLINEAPP m_app = 0;
    HLINEAPP m_lastApp = 0;
    LINECALLBACK m_callback = nullptr;
    HLINE m_lastLine = 0;
    std::map<HLINE, OpenLine> m_lines;
    std::map<HCALL, CallEntry> m_calls;
    std::atomic<HCALL> m_lastCall{0x1000};
};
