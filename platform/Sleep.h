// Sleep(milliseconds) as Windows has it: 0 gives up the rest of the time slice.
#pragma once

#include "platform/WinTypes.h"

void Sleep(DWORD milliseconds);
