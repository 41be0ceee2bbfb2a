// One open output stream of an audio backend, taking sound in the exact
// format it was opened with (a backend converts when its sound system will
// not take that format itself).
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstddef>
#include <cstdint>

class AudioPlayback {
public:
    // Where the sound comes from: the output device's queue of buffers.
    class Source {
    public:
        virtual ~Source() = default;
        // Up to size bytes of whole frames; 0 when nothing is queued.
        // Called on the backend's thread.
        virtual std::size_t pull(char* buffer, std::size_t size) = 0;
        // Reports that the first bytes pulled since start() have now been
        // heard (or written out); never goes backwards.
        virtual void played(std::uint64_t bytes) = 0;
        // Waits up to ms for queued sound; false when none came.
        virtual bool waitForData(int ms) = 0;
    };

    virtual ~AudioPlayback() = default;
    virtual MMRESULT start(Source& source) = 0;
    // Returns once no further pull() or played() call will be made.
    virtual void stop() = 0;
};
