// The 16x16 icons lineGetIconA hands out, drawn once in code.
#pragma once

#include "maker/TapiAbi/TapiAbi.h"

class ProviderIcons {
public:
    // A round badge of the colour (0xAARRGGBB) with a white telephone
    // handset across it; the test line's adds a notch under the handset.
    static const NAVOICON* sipLine();
    static const NAVOICON* testLine();
};
