// The input of the effects benchmarks: a speech-like recording (a buzz of
// slowly gliding pitch, shaped into syllables, over a little noise) in one
// of the recording formats, and the one effects setting both benchmarks use
// with the sox chain nearest to it.
#pragma once

#include <string>

namespace fxbench {

// Writes seconds of sound at rate (8000, 22050 or 44100) with channels (1 or
// 2), 16-bit. Fails the benchmark when the file cannot be written.
void writeSpeechLike(const std::string& path, int rate, int channels, double seconds);

// All eight pairs on: speed rate * 1.25, echo 24 (250 ms), chorus 45,
// distortion 30 (12 dB), flanger 50, gargle 19 (20 Hz), equalizer 70
// (+6 dB at 1 kHz), reverb 50.
void allEffects(int rate, int effects[8][2]);
// The sox effects doing the nearest thing, in the same order.
std::string soxChain();

}  // namespace fxbench
