// The message player's effects player: the Ek7DxSnd calls behind an
// interface, so that the player works the same whether this build links the
// effects library (makeEffectsEngine gives the one that calls it) or not
// (nullptr: effects are unavailable and the player plays through the
// "waveaudio" device only). Tests put in their own to watch the calls.
#pragma once

#include "platform/WinTypes.h"

#include <cstdint>
#include <memory>
#include <string>

class EffectsEngine {
public:

    virtual ~EffectsEngine() = default;
    // InitDSound: 0 on success; the speed range in playback rates.
    virtual int init(HWND owner, const std::string& wavePath, int* defaultSpeed, int* lowestSpeed,
                     int* highestSpeed) = 0;
    virtual void setEffects(const int effects[][2], int count) = 0;
    // PlayDSound; start in 1/100000 of the length.
    virtual int play(std::uint32_t start, const int effects[][2], int count) = 0;
    // AdjEffects: the value now in use.
    virtual int adjust(int index, int value) = 0;
    // GetPosn, in 1/100000 of the length.
    virtual std::uint32_t position() = 0;
    // SetPosn, in hundredths of the length.
    virtual void setPosition(int hundredths) = 0;
    virtual bool playing() = 0;
    virtual void stop() = 0;
    virtual void clean() = 0;
    // RenderDSound: the whole file through the effects now set, to target.
    virtual int render(const std::string& targetPath) = 0;
};

// The engine of this build, or nullptr when it has none.
std::unique_ptr<EffectsEngine> makeEffectsEngine();
