// Ek7Mp3Conv: MP3 (MPEG-1/2/2.5 layer III, constant bit rate) with LAME; ID3v1 and ID3v2 tags and the encoder-delay header, so that players give back the exact length.
#pragma once

#include "maker/Ek7Conv/Ek7Conv.h"

// The library's settings record (one per library, for the converter dialog).
_Ek7Conv* Ek7Mp3ConvInit();

// Converts the wave sourcePath into targetPath with the settings of
// Ek7Mp3ConvInit(); progress goes to progressWindow when it is not 0.
// 0, or a code of Ek7ConvResult (greater than 0 on failure).
int WavToMp3(HWND progressWindow, const char* sourcePath, const char* targetPath);
