#include "telephony/LineFailureReport.h"

#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/Prompt.h"

int LineFailureReport::returnCode(int reason)
{
    struct Row {
        int upTo;
        int code;
    };
    static const Row kRows[] = {{59, 310},  {79, 320},  {99, 330},  {139, 340}, {159, 350},
                                {179, 360}, {199, 370}, {219, 380}, {221, 390}};
    for (const Row& row : kRows)
        if (reason <= row.upTo)
            return row.code;
    return 999;
}

std::string LineFailureReport::text(int reason)
{
    return "Failed : Return Code = " + std::to_string(returnCode(reason)) + " Reason Code = " + std::to_string(reason);
}

int LineFailureReport::show(int reason)
{
    return AfxMessageBox(text(reason), MB_OK | MB_ICONEXCLAMATION);
}

bool LineFailureReport::showIfFailed(const LineState* state)
{
    if (state == nullptr || state->ErrorCode < 1)
        return false;
    show(state->ErrorCode);
    return true;
}
