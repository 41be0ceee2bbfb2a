// What a wave engine's owner may hear about its devices. Six operations in
// this order; the engine calls all but OnWaveOutDone (a finished playback
// stops the engine's player instead, see VXWave::WindowProc). Every
// operation does nothing unless overridden, and a null sink is simply not
// called.
#pragma once

class WaveEventSink {
public:
    virtual ~WaveEventSink() = default;
    virtual void OnWaveOutOpen() {}
    virtual void OnWaveOutDone() {}  // never called by VXWave
    virtual void OnWaveOutClose() {}
    virtual void OnWaveInOpen() {}
    virtual void OnWaveInData() {}
    virtual void OnWaveInClose() {}
};
