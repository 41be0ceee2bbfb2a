// The telephony provider module as its callers see it: a shared object that
// stands where Windows has TAPI32.DLL, loaded at run time, with C linkage and
// the ANSI names of the TAPI 2 line functions Navo needs.
//
// What differs from TAPI, on purpose:
// - Requests complete before the function returns: 0 is success, a LINEERR_
//   value is the failure. No request identifiers, no LINE_REPLY.
// - Structures keep the TAPI member names but only the members Navo reads,
//   at fixed sizes; dwTotalSize must be set to sizeof the structure.
// - Audio over a call goes through functions of Navo's own (navoLine*)
//   instead of wave devices opened with an identifier from lineGetID; media
//   events come back as LINE_DEVSPECIFIC with a NAVO_MEDIA_ code.
// - An icon handle points at 16x16 ARGB pixels owned by the module.
//
// Line events reach the LINECALLBACK given to lineInitializeExA on one of the
// module's own threads, never on the caller's; the callback must not call
// back into the module and should return quickly.
//
// Devices: one per line provider the module is configured to offer (see
// telephony/module/LineOptions.h), device 0 first.
#pragma once

#include <cstdint>

using LONG = std::int32_t;
using TAPIDWORD = std::uint32_t;  // DWORD, without depending on platform/ here
using DWORD_PTR = std::uintptr_t;
using HLINEAPP = std::uint32_t;
using HLINE = std::uint32_t;
using HCALL = std::uint32_t;
using HINSTANCE = std::uintptr_t;

struct NAVOICON {
    TAPIDWORD dwWidth;
    TAPIDWORD dwHeight;
    const TAPIDWORD* lpPixels;  // dwWidth * dwHeight ARGB values, row by row
};
using HICON = const NAVOICON*;

using LINECALLBACK = void (*)(TAPIDWORD hDevice, TAPIDWORD dwMessage, DWORD_PTR dwCallbackInstance,
                              DWORD_PTR dwParam1, DWORD_PTR dwParam2, DWORD_PTR dwParam3);

// Results (TAPI's values).
inline constexpr LONG LINEERR_BADDEVICEID = static_cast<LONG>(0x80000002u);
inline constexpr LONG LINEERR_INVALAPPHANDLE = static_cast<LONG>(0x80000015u);
inline constexpr LONG LINEERR_INVALCALLHANDLE = static_cast<LONG>(0x80000018u);
inline constexpr LONG LINEERR_INVALCALLSTATE = static_cast<LONG>(0x8000001Cu);
inline constexpr LONG LINEERR_INVALLINEHANDLE = static_cast<LONG>(0x8000002Bu);
inline constexpr LONG LINEERR_INVALMEDIAMODE = static_cast<LONG>(0x8000002Fu);
inline constexpr LONG LINEERR_INVALPARAM = static_cast<LONG>(0x80000032u);
inline constexpr LONG LINEERR_INVALPOINTER = static_cast<LONG>(0x80000035u);
inline constexpr LONG LINEERR_NODEVICE = static_cast<LONG>(0x80000043u);
inline constexpr LONG LINEERR_OPERATIONFAILED = static_cast<LONG>(0x80000048u);
inline constexpr LONG LINEERR_OPERATIONUNAVAIL = static_cast<LONG>(0x80000049u);
inline constexpr LONG LINEERR_RESOURCEUNAVAIL = static_cast<LONG>(0x8000004Bu);
inline constexpr LONG LINEERR_STRUCTURETOOSMALL = static_cast<LONG>(0x8000004Du);
inline constexpr LONG LINEERR_UNINITIALIZED = static_cast<LONG>(0x80000050u);
inline constexpr LONG LINEERR_INVALADDRESS = static_cast<LONG>(0x80000029u);
inline constexpr LONG LINEERR_CALLUNAVAIL = static_cast<LONG>(0x80000005u);

// Failures of Navo's own, where TAPI has no result that says what went wrong
// (lineOpenA; and dwParam1 of LINE_CLOSE, see below). LINEERR_RESOURCEUNAVAIL
// from lineOpenA means the line is in use by another program (for the SIP
// line: its UDP port is taken).
inline constexpr LONG NAVOERR_LINESETTINGS = static_cast<LONG>(0x80010001u);        // incomplete or invalid settings
inline constexpr LONG NAVOERR_PASSWORDFILE = static_cast<LONG>(0x80010002u);        // missing, unreadable or not private
inline constexpr LONG NAVOERR_REGISTRATIONREFUSED = static_cast<LONG>(0x80010003u);  // the registrar refused the account
inline constexpr LONG NAVOERR_REGISTRARUNREACHABLE = static_cast<LONG>(0x80010004u); // no answer from the registrar

// Line messages.
inline constexpr TAPIDWORD LINE_CALLINFO = 1;
inline constexpr TAPIDWORD LINE_CALLSTATE = 2;
inline constexpr TAPIDWORD LINE_CLOSE = 3;  // the line stopped by itself: dwParam1 a NAVOERR_ value, or 0
                                            // when the provider cannot tell; the line is still to be closed
inline constexpr TAPIDWORD LINE_DEVSPECIFIC = 4;
inline constexpr TAPIDWORD LINE_LINEDEVSTATE = 8;

// LINE_CALLSTATE: dwParam1 the state, dwParam2 the disconnect mode.
inline constexpr TAPIDWORD LINECALLSTATE_IDLE = 0x1;
inline constexpr TAPIDWORD LINECALLSTATE_OFFERING = 0x2;
inline constexpr TAPIDWORD LINECALLSTATE_DIALING = 0x10;
inline constexpr TAPIDWORD LINECALLSTATE_RINGBACK = 0x20;
inline constexpr TAPIDWORD LINECALLSTATE_BUSY = 0x40;
inline constexpr TAPIDWORD LINECALLSTATE_CONNECTED = 0x100;
inline constexpr TAPIDWORD LINECALLSTATE_PROCEEDING = 0x200;
inline constexpr TAPIDWORD LINECALLSTATE_DISCONNECTED = 0x4000;

inline constexpr TAPIDWORD LINEDISCONNECTMODE_NORMAL = 0x1;
inline constexpr TAPIDWORD LINEDISCONNECTMODE_REJECT = 0x4;
inline constexpr TAPIDWORD LINEDISCONNECTMODE_BUSY = 0x20;
inline constexpr TAPIDWORD LINEDISCONNECTMODE_NOANSWER = 0x40;
inline constexpr TAPIDWORD LINEDISCONNECTMODE_UNREACHABLE = 0x100;
inline constexpr TAPIDWORD LINEDISCONNECTMODE_NODIALTONE = 0x1000;

// LINE_LINEDEVSTATE: dwParam1 LINEDEVSTATE_RINGING, dwParam3 the provider's
// count of rings for the offered call (1 for the first ring heard).
inline constexpr TAPIDWORD LINEDEVSTATE_RINGING = 0x2;
// LINE_LINEDEVSTATE: the line can place calls again (INSERVICE), or cannot
// for now (OUTOFSERVICE: a SIP account not registered yet). A line opens in
// service unless its provider says otherwise.
inline constexpr TAPIDWORD LINEDEVSTATE_INSERVICE = 0x20;
inline constexpr TAPIDWORD LINEDEVSTATE_OUTOFSERVICE = 0x40;

// LINE_CALLINFO: dwParam1 LINECALLINFOSTATE_CALLERID when the caller's
// identity is known; read it with lineGetCallInfoA.
inline constexpr TAPIDWORD LINECALLINFOSTATE_CALLERID = 0x8000;

// LINE_DEVSPECIFIC on a call (hDevice is the HCALL): dwParam1 one of these.
inline constexpr TAPIDWORD NAVO_MEDIA_PLAYDONE = 1;  // navoLinePlayFile reached the file's end

inline constexpr TAPIDWORD LINEMEDIAMODE_INTERACTIVEVOICE = 0x4;
inline constexpr TAPIDWORD LINEMEDIAMODE_AUTOMATEDVOICE = 0x8;
inline constexpr TAPIDWORD LINECALLPRIVILEGE_OWNER = 0x4;
inline constexpr TAPIDWORD LINECALLSELECT_CALL = 0x4;
inline constexpr TAPIDWORD TAPI_CURRENT_VERSION = 0x00020000;

struct LINEDEVCAPS {
    TAPIDWORD dwTotalSize;
    TAPIDWORD dwMediaModes;
    TAPIDWORD dwMaxNumActiveCalls;
    char szLineName[128];
    char szProviderName[64];
};

struct LINECALLINFO {
    TAPIDWORD dwTotalSize;
    TAPIDWORD dwCallerIDFlags;  // non-zero when szCallerIDNumber or szCallerIDName is known
    TAPIDWORD dwOrigin;         // 1 outbound, 4 inbound
    char szCallerIDNumber[80];
    char szCallerIDName[80];
};

struct VARSTRING {
    TAPIDWORD dwTotalSize;
    TAPIDWORD dwDeviceID;  // lineGetID's answer for "wave/in" and "wave/out"
};

// The module's exports, as pointer types for dlsym.
extern "C" {
using PFN_lineInitializeExA = LONG (*)(HLINEAPP* lphLineApp, HINSTANCE hInstance, LINECALLBACK lpfnCallback,
                                       const char* lpszFriendlyAppName, TAPIDWORD* lpdwNumDevs,
                                       TAPIDWORD* lpdwAPIVersion, void* lpLineInitializeExParams);
using PFN_lineShutdown = LONG (*)(HLINEAPP hLineApp);
using PFN_lineNegotiateAPIVersion = LONG (*)(HLINEAPP hLineApp, TAPIDWORD dwDeviceID, TAPIDWORD dwAPILowVersion,
                                             TAPIDWORD dwAPIHighVersion, TAPIDWORD* lpdwAPIVersion,
                                             void* lpExtensionID);
using PFN_lineGetDevCapsA = LONG (*)(HLINEAPP hLineApp, TAPIDWORD dwDeviceID, TAPIDWORD dwAPIVersion,
                                     TAPIDWORD dwExtVersion, LINEDEVCAPS* lpLineDevCaps);
using PFN_lineOpenA = LONG (*)(HLINEAPP hLineApp, TAPIDWORD dwDeviceID, HLINE* lphLine, TAPIDWORD dwAPIVersion,
                               TAPIDWORD dwExtVersion, DWORD_PTR dwCallbackInstance, TAPIDWORD dwPrivileges,
                               TAPIDWORD dwMediaModes, void* lpCallParams);
using PFN_lineClose = LONG (*)(HLINE hLine);
using PFN_lineAnswer = LONG (*)(HCALL hCall, const char* lpsUserUserInfo, TAPIDWORD dwSize);
using PFN_lineDrop = LONG (*)(HCALL hCall, const char* lpsUserUserInfo, TAPIDWORD dwSize);
using PFN_lineDeallocateCall = LONG (*)(HCALL hCall);
using PFN_lineMakeCallA = LONG (*)(HLINE hLine, HCALL* lphCall, const char* lpszDestAddress,
                                   TAPIDWORD dwCountryCode, void* lpCallParams);
using PFN_lineGetCallInfoA = LONG (*)(HCALL hCall, LINECALLINFO* lpCallInfo);
using PFN_lineGetIconA = LONG (*)(TAPIDWORD dwDeviceID, const char* lpszDeviceClass, HICON* lphIcon);
using PFN_lineGetIDA = LONG (*)(HLINE hLine, TAPIDWORD dwAddressID, HCALL hCall, TAPIDWORD dwSelect,
                                VARSTRING* lpDeviceID, const char* lpszDeviceClass);
// Navo's media functions. Play starts at once and reports NAVO_MEDIA_PLAYDONE
// at the end (not after navoLineStopMedia). Record writes what the caller says
// as an 8000 Hz 16-bit mono WAV file, replacing the file; the file is complete
// once navoLineStopMedia returns or the call has reached DISCONNECTED.
using PFN_navoLinePlayFile = LONG (*)(HCALL hCall, const char* lpszPath);
using PFN_navoLineRecordFile = LONG (*)(HCALL hCall, const char* lpszPath);
using PFN_navoLinePauseRecord = LONG (*)(HCALL hCall, TAPIDWORD dwPause);
using PFN_navoLineStopMedia = LONG (*)(HCALL hCall);
// How loud the caller is: the peak of what was heard over the last 200 ms or
// so, 0 (silence) to 32767 (full scale), linear on the 16-bit sample scale.
// LINEERR_INVALCALLSTATE unless the call is being recorded (and not paused).
// Added after the other four: a module may lack it.
using PFN_navoLineGetLevel = LONG (*)(HCALL hCall, TAPIDWORD* lpdwLevel);
// Whether the next call answered or placed on the line sends the user's
// microphone to the far end: lpszInput names the sound server's input ("" for
// its default); nullptr sends files only (a greeting, silence). Taken by that
// one call, then off again. 0 when it will be sent; LINEERR_OPERATIONUNAVAIL
// when the line cannot capture (no sound server) and sends files only.
// Added later still: a module may lack it.
using PFN_navoLineUseMicrophone = LONG (*)(HLINE hLine, const char* lpszInput);
// Stops only what navoLinePlayFile plays (no NAVO_MEDIA_PLAYDONE follows); a
// recording of the call goes on untouched. 0 also when nothing plays.
// Added later still: a module may lack it.
using PFN_navoLineStopPlay = LONG (*)(HCALL hCall);
}

// The module's file name, and where the line library and the program look
// for it, first match wins:
//  1. the environment variable NAVO_TAPI_MODULE: a path; set but empty means
//     "no telephony" (every lookup fails as for a missing module);
//  2. beside the running executable (navo installs it there);
//  3. the bare name, through the dynamic loader's search path.
inline constexpr const char* kTapiModuleFileName = "libnavotapi.so";
inline constexpr const char* kTapiModuleVariable = "NAVO_TAPI_MODULE";
