// The program's own TAPI calls, bound lazily to the provider module (the
// stand-in for TAPI32.DLL; see maker/TapiAbi/TapiAbi.h for where it is
// looked for), never linked at build time.
//
// One cached address per TAPI 2 line function, 0 until first needed. The
// first call loads the module (the load is kept; a failed load is cached as
// -1 and never retried) and looks the function up by its ANSI export name
// ("lineGetIconA"); a name the module lacks is cached as -1. Calling a
// function cached as -1 returns LINEERR_OPERATIONUNAVAIL (0x80000049)
// without calling anything. The program calls three of them: lineGetIcon,
// lineDrop and lineDeallocateCall (below).
//
// Thread-safe: the cache is guarded, so a call from any thread binds once.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "maker/TapiAbi/TapiAbi.h"
#include "platform/DynamicLibrary.h"
#include "platform/WinTypes.h"

class TapiBinding {
public:
    // Every TAPI 2 line function, in alphabetical order from lineAccept on.
    enum Function : int {
#define NAVO_TAPI_FUNCTION(id, name) id,
#include "telephony/TapiFunctions.inc"
#undef NAVO_TAPI_FUNCTION
        kFunctionCount
    };

    static constexpr std::intptr_t kMissing = -1;

    // The process's binding, loading the module the usual way.
    static TapiBinding& instance();
    // A binding of its own with another loader (tests).
    explicit TapiBinding(std::function<DynamicLibrary()> loadModule);

    static const char* exportName(Function function);

    // The function's address, binding it when needed; nullptr for -1.
    void* address(Function function);
    // The cache as it stands: 0 unbound, -1 missing, else the address.
    std::intptr_t cached(Function function) const;
    // The module's cache: 0 not tried, -1 failed, 1 loaded.
    std::intptr_t moduleState() const;

    LONG lineGetIcon(DWORD deviceId, const char* deviceClass, HICON* icon);
    LONG lineDrop(HCALL call, const char* userUserInfo, DWORD size);
    LONG lineDeallocateCall(HCALL call);

private:
    std::function<DynamicLibrary()> m_loadModule;
    mutable std::mutex m_mutex;
    DynamicLibrary m_module;
    std::intptr_t m_moduleState = 0;
    std::vector<std::intptr_t> m_addresses;
};

// The program's calls, through TapiBinding::instance().
LONG lineGetIcon(DWORD dwDeviceID, const char* lpszDeviceClass, HICON* lphIcon);
LONG lineDrop(HCALL hCall, const char* lpsUserUserInfo, DWORD dwSize);
LONG lineDeallocateCall(HCALL hCall);
