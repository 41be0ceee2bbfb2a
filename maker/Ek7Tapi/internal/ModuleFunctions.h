// The provider module's functions the line library calls, bound by name.
#pragma once

#include <string>

#include "maker/TapiAbi/TapiAbi.h"

class DynamicLibrary;

struct ModuleFunctions {
    PFN_lineInitializeExA lineInitializeExA = nullptr;
    PFN_lineShutdown lineShutdown = nullptr;
    PFN_lineGetDevCapsA lineGetDevCapsA = nullptr;
    PFN_lineOpenA lineOpenA = nullptr;
    PFN_lineClose lineClose = nullptr;
    PFN_lineAnswer lineAnswer = nullptr;
    PFN_lineDrop lineDrop = nullptr;
    PFN_lineDeallocateCall lineDeallocateCall = nullptr;
    PFN_lineMakeCallA lineMakeCallA = nullptr;
    PFN_lineGetCallInfoA lineGetCallInfoA = nullptr;
    PFN_lineGetIDA lineGetIDA = nullptr;
    PFN_navoLinePlayFile navoLinePlayFile = nullptr;
    PFN_navoLineRecordFile navoLineRecordFile = nullptr;
    PFN_navoLinePauseRecord navoLinePauseRecord = nullptr;
    PFN_navoLineStopMedia navoLineStopMedia = nullptr;
    // Optional: null for a module made before it existed.
    PFN_navoLineGetLevel navoLineGetLevel = nullptr;
    PFN_navoLineUseMicrophone navoLineUseMicrophone = nullptr;
    PFN_navoLineStopPlay navoLineStopPlay = nullptr;

    // Binds every function; false (naming the first missing one) when the
    // module lacks any but the optional ones, and then none is bound.
    bool bind(const DynamicLibrary& module, std::string* missing);
};
