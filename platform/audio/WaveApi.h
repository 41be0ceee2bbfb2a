// The waveIn / waveOut functions with their Windows contracts, over the
// active audio backend (AudioBackendRegistry). Device WAVE_MAPPER is the
// recording source the user chose (RecordingSource.h) for input and the
// backend's default device for output; other numbers index the backend's
// device lists.
//
// Notifications: with CALLBACK_WINDOW, MM_WIM_OPEN/DATA/CLOSE and
// MM_WOM_OPEN/DONE/CLOSE are posted (platform/WindowMessages.h) to the
// window given as dwCallback, wParam = the device handle, lParam = the
// WAVEHDR* for DATA and DONE. They arrive in order on the window's thread.
// Buffers are filled and played on the backend's own threads, so a busy UI
// thread delays the messages but loses no sound while queued buffers last.
// With CALLBACK_NULL nothing is posted; the owner polls the position.
//
// waveInReset / waveOutReset hand back every queued buffer at once (marked
// done, a partly filled input buffer with its bytes), so on return the
// caller owns all its headers again. Only CALLBACK_NULL and CALLBACK_WINDOW
// are supported (others give MMSYSERR_INVALFLAG).
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstdint>

inline constexpr MMRESULT MMSYSERR_BADERRNUM = 9;

UINT waveInGetNumDevs();
MMRESULT waveInOpen(HWAVEIN* handle, UINT deviceId, const WAVEFORMATEX* format,
                    DWORD_PTR callback, DWORD_PTR instance, DWORD flags);
MMRESULT waveInClose(HWAVEIN handle);
MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size);
MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size);
MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT size);
MMRESULT waveInStart(HWAVEIN handle);
MMRESULT waveInStop(HWAVEIN handle);
MMRESULT waveInReset(HWAVEIN handle);
MMRESULT waveInGetErrorText(MMRESULT error, char* text, UINT size);

UINT waveOutGetNumDevs();
MMRESULT waveOutOpen(HWAVEOUT* handle, UINT deviceId, const WAVEFORMATEX* format,
                     DWORD_PTR callback, DWORD_PTR instance, DWORD flags);
MMRESULT waveOutClose(HWAVEOUT handle);
MMRESULT waveOutPrepareHeader(HWAVEOUT handle, WAVEHDR* header, UINT size);
MMRESULT waveOutUnprepareHeader(HWAVEOUT handle, WAVEHDR* header, UINT size);
MMRESULT waveOutWrite(HWAVEOUT handle, WAVEHDR* header, UINT size);
MMRESULT waveOutReset(HWAVEOUT handle);
MMRESULT waveOutGetPosition(HWAVEOUT handle, MMTIME* time, UINT size);
MMRESULT waveOutGetErrorText(MMRESULT error, char* text, UINT size);

// Not Windows calls: sound an input device had to drop because no buffer
// was queued, for one device and for the whole process.
std::uint64_t waveInDroppedBytes(HWAVEIN handle);
std::uint64_t waveInTotalDroppedBytes();
