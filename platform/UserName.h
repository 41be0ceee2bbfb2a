// The log-on name of the user running Navo (the name of the user's profile).
#pragma once

#include "platform/WinTypes.h"

// Copies the name of the process owner (from the user database, else $USER
// or $LOGNAME), in Windows-1252, with a NUL into buffer. *size is the size of
// buffer; on success it becomes the length including the NUL. When buffer is
// too small: FALSE, *size = the size needed. FALSE when no name is known.
BOOL GetUserNameA(char* buffer, DWORD* size);
