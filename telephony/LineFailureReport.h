// The failure report of a line library call: "Failed : Return Code = " +
// the return code + " Reason Code = " + the reason (ErrorCode), in a message
// box with the exclamation icon and an OK button. The return code names the
// step by the reason's range (see returnCode).
#pragma once

#include <string>

struct LineState;

class LineFailureReport {
public:
    // 310 for reasons up to 59, 320 for 60-79, 330 for 80-99, 340 for
    // 100-139, 350 for 140-159, 360 for 160-179, 370 for 180-199, 380 for
    // 200-219, 390 for 220-221, 999 from 222 on.
    static int returnCode(int reason);
    static std::string text(int reason);
    // Shows the report of reason; the button pressed.
    static int show(int reason);
    // Shows the report when the block's ErrorCode is 1 or more; true then.
    static bool showIfFailed(const LineState* state);
};
