// The seven effects after the speed stage (echo, chorus, distortion,
// flanger, gargle, equalizer, reverb), applied in that order to blocks of
// float samples in [-1, 1]. Each keeps its state between blocks, so a
// value changed between two blocks is heard from the second one on without
// a gap.
//
// Our own DSP: the effects of the usual libraries take their parameters
// once, when a chain starts, and would lose their delay lines (the echo's
// and reverb's tails) if rebuilt for every slider move.
//
// Values 0..99 (the mappings are the static functions below):
//   echo        delay (value + 1) * 10 ms, feedback and echo level 0.5
//   chorus      sweep depth 0.5 + 0.05 * value ms around 20 ms, 1.5 Hz
//   distortion  drive 0.4 * value dB into a tanh clipper peaking at half
//               scale
//   flanger     sweep depth 0.1 + 0.04 * value ms from 0.5 ms, 0.25 Hz,
//               feedback 0.5
//   gargle      amplitude modulation by a 0..1 triangle at value + 1 Hz
//   equalizer   peaking filter at 1 kHz, one octave wide, gain
//               (value - 50) * 0.3 dB: 0 cuts 15 dB, 50 is flat, 99
//               boosts 14.7 dB
//   reverb      comb and all-pass network; room feedback
//               0.7 + 0.28 * value / 99 (short room to long hall)
#pragma once

#include <array>
#include <cstddef>
#include <memory>

constexpr int kFxPairs = 8;  // pair 0 is the speed, handled before the rack

// The pairs as one block sees them.
struct EffectSettings {
    std::array<bool, kFxPairs> on{};
    std::array<int, kFxPairs> value{};
    // True when any of the pairs 1..7 is on.
    bool anyRackEffect() const;
};

class EffectRack {
public:
    EffectRack(int rate, int channels);
    ~EffectRack();
    EffectRack(const EffectRack&) = delete;
    EffectRack& operator=(const EffectRack&) = delete;

    // Forgets every delay line, filter state and modulator phase.
    void reset();
    // samples: frames * channels, interleaved; changed in place.
    void process(float* samples, std::size_t frames, const EffectSettings& settings);

    static double echoDelayMs(int value);
    static double equalizerGainDb(int value);
    static constexpr double kEqualizerHz = 1000.0;

private:
    struct Effects;
    std::unique_ptr<Effects> m_fx;
};
