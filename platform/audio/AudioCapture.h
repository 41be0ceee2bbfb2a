// One open input stream of an audio backend, already set to the exact
// format that was asked for (a backend converts when its sound system will
// not deliver that format itself).
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstddef>

class AudioCapture {
public:
    // Where the sound goes: the input device's ring of buffers.
    class Sink {
    public:
        virtual ~Sink() = default;
        // Called on the backend's own thread, in order, with whole frames.
        // Sound that finds no free buffer is dropped and counted, as a
        // device does when nobody gives it buffers.
        virtual void deliver(const char* data, std::size_t size) = 0;
        // For sources that need not keep real time: waits up to ms for a
        // free buffer and returns the bytes the queued buffers can still
        // take (0 when none came). Delivering no more than that loses nothing.
        virtual std::size_t waitForRoom(int ms) = 0;
    };

    virtual ~AudioCapture() = default;
    // Starts delivering to sink from the backend's thread.
    virtual MMRESULT start(Sink& sink) = 0;
    // Returns once no further deliver() call will be made. Safe to call
    // when not started.
    virtual void stop() = 0;
};
