// The one writer loop every converter runs: it opens the recording, hands
// its samples to a format's Encoder block by block, posts progress, polls
// the abort events, and puts the finished file in place under the target
// name. An Encoder only knows its format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "maker/Ek7Conv/Ek7Conv.h"

namespace ek7conv {

struct SourceFormat {
    int rate = 0;
    int channels = 0;
    std::int64_t frames = 0;
};

class Encoder {
public:
    virtual ~Encoder() = default;
    // Creates the file at path for a recording of this format; 0 or a code.
    virtual int begin(const SourceFormat& format, const std::string& path, const _Ek7Conv& settings) = 0;
    // Interleaved 16-bit samples, frames of them; 0 or a code.
    virtual int encode(const std::int16_t* samples, std::size_t frames) = 0;
    // Flushes and closes the file; 0 or a code. Called once begin succeeded,
    // also after a failure (with failed true), to release what it holds.
    virtual int end(bool failed) = 0;
};

// Runs the whole job; the result is what the converter function returns.
int convert(HWND progressWindow, const char* sourcePath, const char* targetPath, Encoder& encoder,
            const _Ek7Conv& settings);

}  // namespace ek7conv
