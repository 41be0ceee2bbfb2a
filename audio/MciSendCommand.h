// mciSendCommandA and mciGetErrorStringA with their Windows contracts, for
// the one device type Navo has: "waveaudio" (MciWaveDevice). Device ids
// count up from 1 and are never reused within a process. All calls belong
// on the UI thread (the devices' notifications arrive there).
//
// Commands: MCI_OPEN (MCI_OPEN_PARMS, MCI_OPEN_TYPE "waveaudio", element
// optional: none or "" opens a new recording), MCI_CLOSE, MCI_PLAY,
// MCI_RECORD, MCI_STOP, MCI_SEEK, MCI_SET (MCI_WAVE_SET_PARMS), MCI_STATUS,
// MCI_DELETE (MCI_WAVE_DELETE_PARMS), MCI_SAVE. Results are 0 or an MCIERR_
// code (MciTypes.h).
#pragma once

#include "audio/MciTypes.h"

MCIERROR mciSendCommandA(MCIDEVICEID device, UINT message, DWORD_PTR flags, DWORD_PTR param);
// TRUE with the text when error is an MCI error code, else FALSE and "".
BOOL mciGetErrorStringA(MCIERROR error, char* text, UINT size);

class MciWaveDevice;
// The open device with that id, or nullptr (not a Windows call: for tests
// and diagnostics).
MciWaveDevice* mciWaveDevice(MCIDEVICEID device);
