// Ek7OggConv: Ogg Vorbis (variable bit rate) with libvorbisenc; TITLE, ARTIST and DATE comments.
#pragma once

#include "maker/Ek7Conv/Ek7Conv.h"

// The library's settings record (one per library, for the converter dialog).
_Ek7Conv* Ek7OggConvInit();

// Converts the wave sourcePath into targetPath with the settings of
// Ek7OggConvInit(); progress goes to progressWindow when it is not 0.
// 0, or a code of Ek7ConvResult (greater than 0 on failure).
int WavToOgg(HWND progressWindow, const char* sourcePath, const char* targetPath);
