#pragma once
// Ek7DxSnd: plays one wave file through eight sound effects that can be
// changed while the sound plays. One player per process (the calls keep a
// single current player, as the message player uses them). Output goes to
// the audio backend the rest of Navo uses (the virtual device in tests).
//
// Effects array: count pairs {on, value}. Pair 0 is the playback speed: its
// value is a playback rate in Hz, where the file's own sample rate is normal
// speed; the tempo follows rate / normal and the pitch stays. Pairs 1 to 7 are
// echo, chorus, distortion, flanger, gargle, equalizer and reverb; their
// values run from 0 to 99 and a pair with on = 0 leaves the sound untouched.
// Positions: PlayDSound's start and GetPosn's result are in 1/100000 of the
// file's length; SetPosn takes hundredths of it.

#include "platform/WinTypes.h"

#include <cstdint>

// Result codes.
constexpr int kDxOk = 0;
constexpr int kDxErrOpen = 1;     // the file cannot be read or is no PCM wave
constexpr int kDxErrDevice = 2;   // no audio output can be opened
constexpr int kDxErrState = 3;    // InitDSound has not succeeded
constexpr int kDxErrWrite = 4;    // RenderDSound cannot write its target

constexpr int kDxEffectCount = 8;

// Opens wavePath and the audio output; reports the speed range as playback
// rates in Hz. 0 on success.
int InitDSound(HWND owner, const char* wavePath, int* defaultSpeed, int* lowestSpeed,
               int* highestSpeed);
// Takes the effects to use from the next PlayDSound on; while sound plays
// they are heard from the next block (an On button switched while playing
// needs no restart). RenderDSound uses them too.
void SetEffects(const int effects[][2], int count);
// Starts (or restarts) playback at start; the effects array is taken as by
// SetEffects. Returns 0, or kDxErrState.
int PlayDSound(std::uint32_t start, const int effects[][2], int count);
// Changes one pair's value while playing; the change is heard from the next
// block on. Returns the value now in use (clamped to the pair's range).
int AdjEffects(int index, int value);
// Position of the sound being heard, in 1/100000 of the length.
std::uint32_t GetPosn();
// Moves playback to hundredths (0 start, 100 end) of the length.
void SetPosn(int hundredths);
// True while sound is being played (false once the end has been heard).
bool IsPlayingDSound();
void StopDSound();
// Releases the file, the output and the effects' state.
void CleanDSound();
// Writes the whole file, as processed by the effects now set, to targetPath
// as a wave file in the source's format; nothing is played. 0 or an error.
int RenderDSound(const char* targetPath);

// The version text of the effects engine, in the form the system's DirectX
// "Version" value has: "4.09.00.0904" (effects available) when the speed
// engine can be made, else "NO_KEY".
const char* DxEngineVersion();
