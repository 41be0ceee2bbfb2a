// Finding and loading the telephony provider module, in the order given in
// maker/TapiAbi/TapiAbi.h. Both the line library and the program's own TAPI binding use
// it, so both reach the same loaded module and the same lines and calls.
#pragma once

#include <string>
#include <vector>

#include "platform/DynamicLibrary.h"

class TapiModuleLoader {
public:
    // The paths tried, in order; empty when telephony is switched off.
    static std::vector<std::string> candidates();
    // The first candidate that loads (kept loaded for the process: the module
    // runs threads of its own). Not loaded, with why() filled, when none does.
    static DynamicLibrary load(std::string* why = nullptr);
};
