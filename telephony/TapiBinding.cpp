#include "telephony/TapiBinding.h"

#include "maker/Ek7Tapi/TapiModuleLoader.h"
#include "platform/Trace.h"

namespace {

const char* const kExportNames[] = {
#define NAVO_TAPI_FUNCTION(id, name) name,
#include "telephony/TapiFunctions.inc"
#undef NAVO_TAPI_FUNCTION
};
static_assert(sizeof kExportNames / sizeof kExportNames[0] == TapiBinding::kFunctionCount,
              "one export name per function");

}  // namespace

TapiBinding& TapiBinding::instance()
{
    static TapiBinding binding([] { return TapiModuleLoader::load(); });
    return binding;
}

TapiBinding::TapiBinding(std::function<DynamicLibrary()> loadModule)
    : m_loadModule(std::move(loadModule)), m_addresses(kFunctionCount, 0)
{
}

const char* TapiBinding::exportName(Function function)
{
    return function >= 0 && function < kFunctionCount ? kExportNames[function] : "";
}

void* TapiBinding::address(Function function)
{
    if (function < 0 || function >= kFunctionCount)
        return nullptr;
    std::lock_guard<std::mutex> lock(m_mutex);
    std::intptr_t& slot = m_addresses[static_cast<std::size_t>(function)];
    if (slot == 0) {
        if (m_moduleState == 0) {
            m_module = m_loadModule();
            m_moduleState = m_module.isLoaded() ? 1 : kMissing;
            if (m_moduleState == kMissing)
                OutputDebugString("TAPI module not loaded: telephony is not available\n");
        }
        void* found = m_moduleState == 1 ? m_module.symbol(kExportNames[function]) : nullptr;
        slot = found != nullptr ? reinterpret_cast<std::intptr_t>(found) : kMissing;
    }
    return slot == kMissing ? nullptr : reinterpret_cast<void*>(slot);
}

std::intptr_t TapiBinding::cached(Function function) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return function >= 0 && function < kFunctionCount ? m_addresses[static_cast<std::size_t>(function)] : kMissing;
}

std::intptr_t TapiBinding::moduleState() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_moduleState;
}

LONG TapiBinding::lineGetIcon(DWORD deviceId, const char* deviceClass, HICON* icon)
{
    const auto function = reinterpret_cast<PFN_lineGetIconA>(address(kLineGetIcon));
    return function != nullptr ? function(deviceId, deviceClass, icon) : LINEERR_OPERATIONUNAVAIL;
}

LONG TapiBinding::lineDrop(HCALL call, const char* userUserInfo, DWORD size)
{
    const auto function = reinterpret_cast<PFN_lineDrop>(address(kLineDrop));
    return function != nullptr ? function(call, userUserInfo, size) : LINEERR_OPERATIONUNAVAIL;
}

LONG TapiBinding::lineDeallocateCall(HCALL call)
{
    const auto function = reinterpret_cast<PFN_lineDeallocateCall>(address(kLineDeallocateCall));
    return function != nullptr ? function(call) : LINEERR_OPERATIONUNAVAIL;
}

LONG lineGetIcon(DWORD dwDeviceID, const char* lpszDeviceClass, HICON* lphIcon)
{
    return TapiBinding::instance().lineGetIcon(dwDeviceID, lpszDeviceClass, lphIcon);
}

LONG lineDrop(HCALL hCall, const char* lpsUserUserInfo, DWORD dwSize)
{
    return TapiBinding::instance().lineDrop(hCall, lpsUserUserInfo, dwSize);
}

LONG lineDeallocateCall(HCALL hCall)
{
    return TapiBinding::instance().lineDeallocateCall(hCall);
}
