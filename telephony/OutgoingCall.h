// Choosing whom to call (the phone book's OK and double-click, its Dial, the
// dialer's Dial, Redial): the tests of the line state in their order, then
// WM_USER+155 to the main window, which places the call.
#pragma once

#include <string>

#include "platform/WinTypes.h"

struct AppData;
struct LineState;

namespace outgoingcall {

// The main window's message: open the phone recorder for an outgoing call.
// lParam 0: the chosen-entry buffers hold whom to call; 1: empty texts.
inline constexpr UINT kOutgoingCallMessage = WM_USER + 155;

enum class Choice {
    EmptyRecorder,     // no name and no number: +155 with lParam 1
    CallInProgress,    // code 15
    AnswerMachineOn,   // code 16
    Dial,              // +155 with lParam 0
    NotMonitoring,     // code 17
};

// Monitoring and word 8 of LineState: the line can place a call now.
bool canDial(const LineState* line);

Choice decide(const LineState* line, const std::string& name, const std::string& number);

// decide(), then act on it: the coded message (exclamation icon), or the
// chosen-entry buffers filled and +155 posted to owner. Returns the choice.
Choice choose(AppData& app, HWND owner, const std::string& name, const std::string& number);

}  // namespace outgoingcall
