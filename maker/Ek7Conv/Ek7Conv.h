// The format converters' common ground: the settings record each converter
// library hands out (Ek7Mp3ConvInit, Ek7WmaConvInit, Ek7OggConvInit,
// Ek7WavConvInit), the result codes of WavToMp3/WavToWma/WavToOgg/WavToWav,
// and the progress message they post to the progress window.
//
// A converter reads a Navo recording (any PCM or float RIFF WAVE) in blocks,
// encodes it into a file beside the target ("<target>.part") and renames
// that into place only when it is complete, so a failed or abandoned job
// never leaves a half file under the target name.
#pragma once

#include <string>
#include <vector>

#include "platform/WinTypes.h"

class Event;

enum Ek7ConvResult : int {
    kEk7ConvOk = 0,
    kEk7ConvOpenFailed = 1,    // the source cannot be opened or read
    kEk7ConvCreateFailed = 2,  // the target cannot be written
    kEk7ConvInitFailed = 3,    // the encoder refused the settings
    kEk7ConvCancelled = 4,     // an abort event was set while converting
    kEk7ConvInvalidFile = 9,   // the source is not a wave recording
};

// Posted to the progress window while converting: wParam is the share of
// the file done, 0 to 100, each value at most once.
constexpr UINT kEk7ConvProgressMessage = WM_USER + 52;

// The converter settings record. Whoever drives a converter fills it before
// the job and leaves it alone while the job runs.
struct _Ek7Conv {
    // MP3 and WMA: constant bit rate in kbit/s; 0 chooses by the
    // recording's rate and channels (Ek7ConvMp3Kbps, Ek7ConvWmaKbps).
    int kbps = 0;
    // Ogg Vorbis: variable bit rate quality, -1 to 10 (as oggenc's -q).
    float quality = 3.0f;
    // Tags, written where the format has them; empty ones are left out.
    std::string title;
    std::string artist;
    std::string date;
    // Any of these set (and left set) abandons the file being converted;
    // they are polled, never reset, between blocks.
    std::vector<Event*> abortEvents;
};

// The bit rates chosen when kbps is 0: speech at the telephone rate needs
// little, CD quality more; each within what the encoder allows at that rate.
int Ek7ConvMp3Kbps(int rate, int channels);
int Ek7ConvWmaKbps(int rate, int channels);
