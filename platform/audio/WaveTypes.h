// The Windows multimedia types, messages, flags and result codes that the
// wave devices (WaveApi.h) and the RIFF file functions (Mmio.h) use, with
// their Windows values. Nothing here includes an operating-system header.
//
// Two deliberate differences from Windows: HWAVEIN and HWAVEOUT are serial
// numbers that are never reused within a process (so a message that arrives
// after its device was closed can always be told apart from one of a newer
// device), and WAVEFORMATEX is kept with natural alignment; its 18-byte file
// form is written and read by WaveFormats.h, never by copying the struct.
#pragma once

#include "platform/WinTypes.h"

#include <cstddef>
#include <cstdint>

using WORD = std::uint16_t;
using DWORD_PTR = std::uintptr_t;
using MMRESULT = UINT;
using HWAVEIN = std::uintptr_t;   // 0 = none
using HWAVEOUT = std::uintptr_t;  // 0 = none

// Device numbers: WAVE_MAPPER is "the recording source chosen by the user"
// for input and the default output for output.
inline constexpr UINT WAVE_MAPPER = 0xFFFFFFFFu;

inline constexpr WORD WAVE_FORMAT_PCM = 1;

// waveInOpen / waveOutOpen flags.
inline constexpr DWORD WAVE_FORMAT_QUERY = 0x00000001;
inline constexpr DWORD CALLBACK_TYPEMASK = 0x00070000;
inline constexpr DWORD CALLBACK_NULL = 0x00000000;
inline constexpr DWORD CALLBACK_WINDOW = 0x00010000;

// Messages posted to a device's callback window: wParam is the device
// handle, lParam the WAVEHDR* for the DATA and DONE messages, else 0.
inline constexpr UINT MM_WOM_OPEN = 0x3BB;
inline constexpr UINT MM_WOM_CLOSE = 0x3BC;
inline constexpr UINT MM_WOM_DONE = 0x3BD;
inline constexpr UINT MM_WIM_OPEN = 0x3BE;
inline constexpr UINT MM_WIM_CLOSE = 0x3BF;
inline constexpr UINT MM_WIM_DATA = 0x3C0;

// WAVEHDR::dwFlags.
inline constexpr DWORD WHDR_DONE = 0x01;
inline constexpr DWORD WHDR_PREPARED = 0x02;
inline constexpr DWORD WHDR_BEGINLOOP = 0x04;
inline constexpr DWORD WHDR_ENDLOOP = 0x08;
inline constexpr DWORD WHDR_INQUEUE = 0x10;

// Results.
inline constexpr MMRESULT MMSYSERR_NOERROR = 0;
inline constexpr MMRESULT MMSYSERR_ERROR = 1;
inline constexpr MMRESULT MMSYSERR_BADDEVICEID = 2;
inline constexpr MMRESULT MMSYSERR_NOTENABLED = 3;
inline constexpr MMRESULT MMSYSERR_ALLOCATED = 4;
inline constexpr MMRESULT MMSYSERR_INVALHANDLE = 5;
inline constexpr MMRESULT MMSYSERR_NODRIVER = 6;
inline constexpr MMRESULT MMSYSERR_NOMEM = 7;
inline constexpr MMRESULT MMSYSERR_NOTSUPPORTED = 8;
inline constexpr MMRESULT MMSYSERR_INVALFLAG = 10;
inline constexpr MMRESULT MMSYSERR_INVALPARAM = 11;
inline constexpr MMRESULT WAVERR_BADFORMAT = 32;
inline constexpr MMRESULT WAVERR_STILLPLAYING = 33;
inline constexpr MMRESULT WAVERR_UNPREPARED = 34;

inline constexpr UINT MAXERRORLENGTH = 256;

struct WAVEFORMATEX {
    WORD wFormatTag = 0;
    WORD nChannels = 0;
    DWORD nSamplesPerSec = 0;
    DWORD nAvgBytesPerSec = 0;
    WORD nBlockAlign = 0;
    WORD wBitsPerSample = 0;
    WORD cbSize = 0;
};

// The size of WAVEFORMATEX in a file ("fmt " chunk of a recording).
inline constexpr std::size_t kWaveFormatExFileSize = 18;

struct WAVEHDR {
    char* lpData = nullptr;
    DWORD dwBufferLength = 0;
    DWORD dwBytesRecorded = 0;
    DWORD_PTR dwUser = 0;
    DWORD dwFlags = 0;
    DWORD dwLoops = 0;
    WAVEHDR* lpNext = nullptr;
    DWORD_PTR reserved = 0;
};

// waveOutGetPosition.
inline constexpr UINT TIME_MS = 0x0001;
inline constexpr UINT TIME_SAMPLES = 0x0002;
inline constexpr UINT TIME_BYTES = 0x0004;

struct MMTIME {
    UINT wType = TIME_BYTES;
    union {
        DWORD ms;
        DWORD sample;
        DWORD cb;
    } u{};
};
