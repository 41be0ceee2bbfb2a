// Ek7WavConv: 16-bit PCM RIFF WAVE at the recording's rate and channels with libsndfile (8-bit and float recordings are widened or narrowed); title, artist and date in a LIST INFO chunk.
#pragma once

#include "maker/Ek7Conv/Ek7Conv.h"

// The library's settings record (one per library, for the converter dialog).
_Ek7Conv* Ek7WavConvInit();

// Converts the wave sourcePath into targetPath with the settings of
// Ek7WavConvInit(); progress goes to progressWindow when it is not 0.
// 0, or a code of Ek7ConvResult (greater than 0 on failure).
int WavToWav(HWND progressWindow, const char* sourcePath, const char* targetPath);
