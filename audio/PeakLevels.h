// Peak levels of recorded PCM for the level meters: the loudest sample of a
// buffer per channel on the meters' 0..99 scale, stored in the recording
// flags. The media-control device measures every buffer it records with it
// while a recorder has the level meter on.
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstddef>

struct RecordingFlags;

struct PeakLevels {
    int left = 0;
    int right = 0;
};

// 16-bit: |sample| x 100 / 32768; 8-bit (unsigned): |sample - 128| x 100 /
// 128; so full scale is 99 and silence 0. Channels after the second are
// ignored; mono gives both sides the same level. A trailing part frame is
// not counted.
PeakLevels measurePeakLevels(const char* data, std::size_t bytes, const WAVEFORMATEX& format);

// Stores the levels of the buffer and sets LevelUpdated, when the level
// meter is on and the recorder is not paused.
void updateLevelMeter(RecordingFlags& flags, const char* data, std::size_t bytes, const WAVEFORMATEX& format);
