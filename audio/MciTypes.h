// The media-control (MCI) commands, flags, parameter blocks, notification
// codes and error codes that Navo's "waveaudio" device understands, with
// their Windows values.
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstdint>

using MCIERROR = DWORD;
using MCIDEVICEID = UINT;

// Commands.
inline constexpr UINT MCI_OPEN = 0x0803;
inline constexpr UINT MCI_CLOSE = 0x0804;
inline constexpr UINT MCI_PLAY = 0x0806;
inline constexpr UINT MCI_SEEK = 0x0807;
inline constexpr UINT MCI_STOP = 0x0808;
inline constexpr UINT MCI_SET = 0x080D;
inline constexpr UINT MCI_RECORD = 0x080F;
inline constexpr UINT MCI_SAVE = 0x0813;
inline constexpr UINT MCI_STATUS = 0x0814;
inline constexpr UINT MCI_DELETE = 0x0856;

// Flags common to all commands.
inline constexpr DWORD MCI_NOTIFY = 0x00000001;
inline constexpr DWORD MCI_WAIT = 0x00000002;
inline constexpr DWORD MCI_FROM = 0x00000004;
inline constexpr DWORD MCI_TO = 0x00000008;

inline constexpr DWORD MCI_OPEN_ELEMENT = 0x00000200;
inline constexpr DWORD MCI_OPEN_TYPE = 0x00002000;
inline constexpr DWORD MCI_SEEK_TO_START = 0x00000100;
inline constexpr DWORD MCI_SEEK_TO_END = 0x00000200;
inline constexpr DWORD MCI_RECORD_INSERT = 0x00000100;
inline constexpr DWORD MCI_RECORD_OVERWRITE = 0x00000200;
inline constexpr DWORD MCI_SAVE_FILE = 0x00000100;
inline constexpr DWORD MCI_STATUS_ITEM = 0x00000100;
inline constexpr DWORD MCI_SET_TIME_FORMAT = 0x00000400;
inline constexpr DWORD MCI_WAVE_INPUT = 0x00400000;
inline constexpr DWORD MCI_WAVE_SET_FORMATTAG = 0x00010000;
inline constexpr DWORD MCI_WAVE_SET_CHANNELS = 0x00020000;
inline constexpr DWORD MCI_WAVE_SET_SAMPLESPERSEC = 0x00040000;
inline constexpr DWORD MCI_WAVE_SET_AVGBYTESPERSEC = 0x00080000;
inline constexpr DWORD MCI_WAVE_SET_BLOCKALIGN = 0x00100000;
inline constexpr DWORD MCI_WAVE_SET_BITSPERSAMPLE = 0x00200000;

// Status items.
inline constexpr DWORD MCI_STATUS_LENGTH = 0x00000001;
inline constexpr DWORD MCI_STATUS_POSITION = 0x00000002;
inline constexpr DWORD MCI_STATUS_MODE = 0x00000004;
inline constexpr DWORD MCI_STATUS_TIME_FORMAT = 0x00000006;
inline constexpr DWORD MCI_STATUS_READY = 0x00000007;

// Modes (MCI_STATUS_MODE).
inline constexpr DWORD MCI_MODE_STOP = 525;
inline constexpr DWORD MCI_MODE_PLAY = 526;
inline constexpr DWORD MCI_MODE_RECORD = 527;

// Time formats.
inline constexpr DWORD MCI_FORMAT_MILLISECONDS = 0;
inline constexpr DWORD MCI_FORMAT_HMS = 1;
inline constexpr DWORD MCI_FORMAT_MSF = 2;
inline constexpr DWORD MCI_FORMAT_FRAMES = 3;
inline constexpr DWORD MCI_FORMAT_SMPTE_24 = 4;
inline constexpr DWORD MCI_FORMAT_SMPTE_25 = 5;
inline constexpr DWORD MCI_FORMAT_SMPTE_30 = 6;
inline constexpr DWORD MCI_FORMAT_SMPTE_30DROP = 7;
inline constexpr DWORD MCI_FORMAT_BYTES = 8;
inline constexpr DWORD MCI_FORMAT_SAMPLES = 9;
inline constexpr DWORD MCI_FORMAT_TMSF = 10;
inline constexpr DWORD MCI_SEQ_FORMAT_SONGPTR = 0x4001;

// Notification: MM_MCINOTIFY posted to the callback window, wParam one of
// the MCI_NOTIFY_ codes, lParam the device id.
inline constexpr UINT MM_MCINOTIFY = 0x03B9;
inline constexpr WPARAM MCI_NOTIFY_SUCCESSFUL = 0x0001;
inline constexpr WPARAM MCI_NOTIFY_SUPERSEDED = 0x0002;
inline constexpr WPARAM MCI_NOTIFY_ABORTED = 0x0004;
inline constexpr WPARAM MCI_NOTIFY_FAILURE = 0x0008;

// Errors.
inline constexpr MCIERROR MCIERR_INVALID_DEVICE_ID = 257;
inline constexpr MCIERROR MCIERR_UNRECOGNIZED_COMMAND = 261;
inline constexpr MCIERROR MCIERR_HARDWARE = 262;
inline constexpr MCIERROR MCIERR_INVALID_DEVICE_NAME = 263;
inline constexpr MCIERROR MCIERR_OUT_OF_MEMORY = 264;
inline constexpr MCIERROR MCIERR_MISSING_PARAMETER = 273;
inline constexpr MCIERROR MCIERR_UNSUPPORTED_FUNCTION = 274;
inline constexpr MCIERROR MCIERR_FILE_NOT_FOUND = 275;
inline constexpr MCIERROR MCIERR_OUTOFRANGE = 282;
inline constexpr MCIERROR MCIERR_FLAGS_NOT_COMPATIBLE = 284;
inline constexpr MCIERROR MCIERR_FILE_NOT_SAVED = 286;
inline constexpr MCIERROR MCIERR_BAD_TIME_FORMAT = 293;
inline constexpr MCIERROR MCIERR_INVALID_FILE = 296;
inline constexpr MCIERROR MCIERR_NULL_PARAMETER_BLOCK = 297;
inline constexpr MCIERROR MCIERR_NONAPPLICABLE_FUNCTION = 302;
inline constexpr MCIERROR MCIERR_WAVE_INPUTSUNSUITABLE = 328;
inline constexpr MCIERROR MCIERR_WAVE_OUTPUTSUNSUITABLE = 326;
inline constexpr MCIERROR MCIERR_NO_WINDOW = 346;
inline constexpr MCIERROR MCIERR_FILE_READ = 348;
inline constexpr MCIERROR MCIERR_FILE_WRITE = 349;

// Parameter blocks. dwCallback carries the notify window (an HWND).
struct MCI_GENERIC_PARMS {
    DWORD_PTR dwCallback = 0;
};

struct MCI_OPEN_PARMS {
    DWORD_PTR dwCallback = 0;
    MCIDEVICEID wDeviceID = 0;
    const char* lpstrDeviceType = nullptr;
    const char* lpstrElementName = nullptr;
    const char* lpstrAlias = nullptr;
};

struct MCI_PLAY_PARMS {
    DWORD_PTR dwCallback = 0;
    DWORD dwFrom = 0;
    DWORD dwTo = 0;
};

struct MCI_RECORD_PARMS {
    DWORD_PTR dwCallback = 0;
    DWORD dwFrom = 0;
    DWORD dwTo = 0;
};

struct MCI_SEEK_PARMS {
    DWORD_PTR dwCallback = 0;
    DWORD dwTo = 0;
};

struct MCI_STATUS_PARMS {
    DWORD_PTR dwCallback = 0;
    DWORD_PTR dwReturn = 0;
    DWORD dwItem = 0;
    DWORD dwTrack = 0;
};

struct MCI_SAVE_PARMS {
    DWORD_PTR dwCallback = 0;
    const char* lpfilename = nullptr;
};

struct MCI_WAVE_DELETE_PARMS {
    DWORD_PTR dwCallback = 0;
    DWORD dwFrom = 0;
    DWORD dwTo = 0;
};

struct MCI_WAVE_SET_PARMS {
    DWORD_PTR dwCallback = 0;
    DWORD dwTimeFormat = 0;
    DWORD dwAudio = 0;
    UINT wInput = 0;
    UINT wOutput = 0;
    WORD wFormatTag = 0;
    WORD wReserved2 = 0;
    WORD nChannels = 0;
    WORD wReserved3 = 0;
    DWORD nSamplesPerSec = 0;
    DWORD nAvgBytesPerSec = 0;
    WORD nBlockAlign = 0;
    WORD wReserved4 = 0;
    WORD wBitsPerSample = 0;
    WORD wReserved5 = 0;
};
