#pragma once
// Ek7Acm: conversion of recordings between the four recording qualities
// (and from any PCM wave a record may hold into one of them).

#include "platform/WinTypes.h"

// Writes targetPath as a PCM wave in the format of recording quality
// `number` ("RecQual": 0 mono 8000 Hz 16-bit, 1 stereo 8000 Hz 16-bit,
// 2 mono 22050 Hz 8-bit, 3 stereo 44100 Hz 16-bit; any other value as 0),
// holding the sound of sourcePath: 8-, 16-, 32-bit integer or 32-bit float
// PCM, any rate, any number of channels, or a compressed recording
// (Ek7WavComp's, decompressed first). The rate goes through libsoxr;
// channels (several averaged to mono, mono copied to both sides) and sample
// width are Navo's own code. owner is accepted for the callers' sake and
// not used: the conversion is quick and reports nothing on the way.
//
// 0 on success; 1 the source cannot be read or is no PCM wave, 2 the target
// cannot be written (no half target is left behind), 3 the resampler
// failed.
int Ek7AcmConvert(HWND owner, const char* sourcePath, const char* targetPath, int number);
