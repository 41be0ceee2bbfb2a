// The module's exported functions: C linkage, TAPI's ANSI names, default
// visibility (everything else in the module is hidden). Each one only calls
// into LineModule, never another export, so nothing here can be interposed
// by a symbol of the same name in the program.
#include "maker/TapiAbi/TapiAbi.h"
#include "telephony/module/LineModule.h"

#define NAVO_EXPORT extern "C" __attribute__((visibility("default")))

NAVO_EXPORT LONG lineInitializeExA(HLINEAPP* lphLineApp, HINSTANCE, LINECALLBACK lpfnCallback, const char*,
                                   TAPIDWORD* lpdwNumDevs, TAPIDWORD* lpdwAPIVersion, void*)
{
    return LineModule::instance().initialize(lphLineApp, lpfnCallback, lpdwNumDevs, lpdwAPIVersion);
}

NAVO_EXPORT LONG lineShutdown(HLINEAPP hLineApp)
{
    return LineModule::instance().shutdown(hLineApp);
}

NAVO_EXPORT LONG lineNegotiateAPIVersion(HLINEAPP hLineApp, TAPIDWORD dwDeviceID, TAPIDWORD, TAPIDWORD dwAPIHighVersion,
                                         TAPIDWORD* lpdwAPIVersion, void*)
{
    return LineModule::instance().negotiate(hLineApp, dwDeviceID, dwAPIHighVersion, lpdwAPIVersion);
}

NAVO_EXPORT LONG lineGetDevCapsA(HLINEAPP hLineApp, TAPIDWORD dwDeviceID, TAPIDWORD, TAPIDWORD,
                                 LINEDEVCAPS* lpLineDevCaps)
{
    return LineModule::instance().devCaps(hLineApp, dwDeviceID, lpLineDevCaps);
}

NAVO_EXPORT LONG lineOpenA(HLINEAPP hLineApp, TAPIDWORD dwDeviceID, HLINE* lphLine, TAPIDWORD, TAPIDWORD,
                           DWORD_PTR dwCallbackInstance, TAPIDWORD, TAPIDWORD dwMediaModes, void*)
{
    return LineModule::instance().open(hLineApp, dwDeviceID, lphLine, dwCallbackInstance, dwMediaModes);
}

NAVO_EXPORT LONG lineClose(HLINE hLine)
{
    return LineModule::instance().close(hLine);
}

NAVO_EXPORT LONG lineAnswer(HCALL hCall, const char*, TAPIDWORD)
{
    return LineModule::instance().answer(hCall);
}

NAVO_EXPORT LONG lineDrop(HCALL hCall, const char*, TAPIDWORD)
{
    return LineModule::instance().drop(hCall);
}

NAVO_EXPORT LONG lineDeallocateCall(HCALL hCall)
{
    return LineModule::instance().deallocate(hCall);
}

NAVO_EXPORT LONG lineMakeCallA(HLINE hLine, HCALL* lphCall, const char* lpszDestAddress, TAPIDWORD, void*)
{
    return LineModule::instance().makeCall(hLine, lphCall, lpszDestAddress);
}

NAVO_EXPORT LONG lineGetCallInfoA(HCALL hCall, LINECALLINFO* lpCallInfo)
{
    return LineModule::instance().callInfo(hCall, lpCallInfo);
}

NAVO_EXPORT LONG lineGetIconA(TAPIDWORD dwDeviceID, const char* lpszDeviceClass, HICON* lphIcon)
{
    return LineModule::instance().icon(dwDeviceID, lpszDeviceClass, lphIcon);
}

NAVO_EXPORT LONG lineGetIDA(HLINE hLine, TAPIDWORD, HCALL hCall, TAPIDWORD, VARSTRING* lpDeviceID,
                            const char* lpszDeviceClass)
{
    return LineModule::instance().waveId(hLine, hCall, lpszDeviceClass, lpDeviceID);
}

NAVO_EXPORT LONG navoLinePlayFile(HCALL hCall, const char* lpszPath)
{
    return LineModule::instance().playFile(hCall, lpszPath);
}

NAVO_EXPORT LONG navoLineRecordFile(HCALL hCall, const char* lpszPath)
{
    return LineModule::instance().recordFile(hCall, lpszPath);
}

NAVO_EXPORT LONG navoLinePauseRecord(HCALL hCall, TAPIDWORD dwPause)
{
    return LineModule::instance().pauseRecord(hCall, dwPause != 0);
}

NAVO_EXPORT LONG navoLineStopMedia(HCALL hCall)
{
    return LineModule::instance().stopMedia(hCall);
}

NAVO_EXPORT LONG navoLineStopPlay(HCALL hCall)
{
    return LineModule::instance().stopPlay(hCall);
}

NAVO_EXPORT LONG navoLineGetLevel(HCALL hCall, TAPIDWORD* lpdwLevel)
{
    return LineModule::instance().inputLevel(hCall, lpdwLevel);
}

NAVO_EXPORT LONG navoLineUseMicrophone(HLINE hLine, const char* lpszInput)
{
    return LineModule::instance().useMicrophone(hLine, lpszInput);
}
