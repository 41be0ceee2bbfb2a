// Ek7WavComp: the recording compressor. Ek7WavComp makes an Ogg Opus file of
// a wave recording, Ek7WavDeComp a wave of an Ogg Opus file. Each returns one
// of the codes below and, when progressWindow is not 0, posts it to that
// window as kEk7WavCompResultMessage with the code in lParam. A job that
// fails leaves nothing under the target name (the file is written beside it
// and renamed into place when complete).
#pragma once

#include "platform/WinTypes.h"

enum Ek7WavCompResult : int {
    kEk7WavCompOpenFailed = 1,    // the source cannot be opened or read
    kEk7WavCompCreateFailed = 2,  // the target cannot be written
    kEk7WavCompInitFailed = 3,    // the codec refused the settings
    kEk7WavCompFinished = 5,      // done
    kEk7WavCompInvalidFile = 9,   // the source is not a recording of the kind expected
};

// The compressor dialog's messages are WM_USER+201, +202 and +204; the
// library's result fills the gap.
constexpr UINT kEk7WavCompResultMessage = WM_USER + 203;

// Speech settings: Opus at this many bits a second for each channel.
constexpr int kEk7WavCompBitsPerChannel = 16000;

// Nothing to set up; kept for the callers that call it before their jobs. 0.
int Ek7WavCompInit();

int Ek7WavComp(HWND progressWindow, const char* sourcePath, const char* targetPath);
int Ek7WavDeComp(HWND progressWindow, const char* sourcePath, const char* targetPath);

// Whether path holds what Ek7WavComp makes (an Ogg Opus stream), as opposed
// to a wave: a compressed recording's sound keeps its work-file name.
bool Ek7WavIsComp(const char* path);
