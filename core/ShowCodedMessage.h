// Program messages by code: the text comes from the message catalogue and is
// shown through the prompt, so tests answer it. Returns the button pressed.
#pragma once

#include "platform/WinTypes.h"

int ShowCodedMessage(int code, UINT flags);
