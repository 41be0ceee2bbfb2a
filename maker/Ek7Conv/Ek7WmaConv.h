// Ek7WmaConv: WMA version 2 in an ASF file with FFmpeg's libavcodec and libavformat; title and author in the content description, the date as WM/Year.
#pragma once

#include "maker/Ek7Conv/Ek7Conv.h"

// The library's settings record (one per library, for the converter dialog).
_Ek7Conv* Ek7WmaConvInit();

// Converts the wave sourcePath into targetPath with the settings of
// Ek7WmaConvInit(); progress goes to progressWindow when it is not 0.
// 0, or a code of Ek7ConvResult (greater than 0 on failure).
int WavToWma(HWND progressWindow, const char* sourcePath, const char* targetPath);
