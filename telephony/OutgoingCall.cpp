#include "telephony/OutgoingCall.h"

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/WindowMessages.h"

namespace outgoingcall {

bool canDial(const LineState* line)
{
    return line != nullptr && line->Monitoring != 0 && line->DialReady != 0;
}

Choice decide(const LineState* line, const std::string& name, const std::string& number)
{
    if (name.empty() && number.empty())
        return Choice::EmptyRecorder;
    if (line != nullptr && line->CallInProgress != 0)
        return Choice::CallInProgress;
    if (line != nullptr && line->AnswerMachineOn != 0)
        return Choice::AnswerMachineOn;
    return canDial(line) ? Choice::Dial : Choice::NotMonitoring;
}

Choice choose(AppData& app, HWND owner, const std::string& name, const std::string& number)
{
    const Choice choice = decide(app.lineState, name, number);
    switch (choice) {
    case Choice::EmptyRecorder:
        PostMessage(owner, kOutgoingCallMessage, 0, 1);
        break;
    case Choice::CallInProgress:
        ShowCodedMessage(15, MB_ICONEXCLAMATION);
        break;
    case Choice::AnswerMachineOn:
        ShowCodedMessage(16, MB_ICONEXCLAMATION);
        break;
    case Choice::Dial:
        app.ChosenName = name;
        app.ChosenNumber = number;
        PostMessage(owner, kOutgoingCallMessage, 0, 0);
        break;
    case Choice::NotMonitoring:
        ShowCodedMessage(17, MB_ICONEXCLAMATION);
        break;
    }
    return choice;
}

}  // namespace outgoingcall
