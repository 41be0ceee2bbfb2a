#include "maker/Ek7Tapi/internal/ModuleFunctions.h"

#include "platform/DynamicLibrary.h"

namespace {

template <typename Function>
bool take(const DynamicLibrary& module, const char* name, Function& slot, std::string* missing)
{
    slot = module.function<Function>(name);
    if (slot == nullptr && missing != nullptr && missing->empty())
        *missing = name;
    return slot != nullptr;
}

}  // namespace

bool ModuleFunctions::bind(const DynamicLibrary& module, std::string* missing)
{
    ModuleFunctions f;
    bool ok = true;
    ok &= take(module, "lineInitializeExA", f.lineInitializeExA, missing);
    ok &= take(module, "lineShutdown", f.lineShutdown, missing);
    ok &= take(module, "lineGetDevCapsA", f.lineGetDevCapsA, missing);
    ok &= take(module, "lineOpenA", f.lineOpenA, missing);
    ok &= take(module, "lineClose", f.lineClose, missing);
    ok &= take(module, "lineAnswer", f.lineAnswer, missing);
    ok &= take(module, "lineDrop", f.lineDrop, missing);
    ok &= take(module, "lineDeallocateCall", f.lineDeallocateCall, missing);
    ok &= take(module, "lineMakeCallA", f.lineMakeCallA, missing);
    ok &= take(module, "lineGetCallInfoA", f.lineGetCallInfoA, missing);
    ok &= take(module, "lineGetIDA", f.lineGetIDA, missing);
    ok &= take(module, "navoLinePlayFile", f.navoLinePlayFile, missing);
    ok &= take(module, "navoLineRecordFile", f.navoLineRecordFile, missing);
    ok &= take(module, "navoLinePauseRecord", f.navoLinePauseRecord, missing);
    ok &= take(module, "navoLineStopMedia", f.navoLineStopMedia, missing);
    take(module, "navoLineGetLevel", f.navoLineGetLevel, nullptr);
    take(module, "navoLineUseMicrophone", f.navoLineUseMicrophone, nullptr);
    take(module, "navoLineStopPlay", f.navoLineStopPlay, nullptr);
    if (ok)
        *this = f;
    return ok;
}
