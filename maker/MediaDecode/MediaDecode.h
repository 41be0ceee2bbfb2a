#pragma once
// MediaDecode: the sound track of an audio or video file as a PCM wave, and
// what the file's tags say about it. Any container and codec the installed
// FFmpeg libraries read will do; Navo asks for WAV, MP3, WMA, OGG and WMV.
// No call throws.

#include <string>

struct MediaInfo {
    std::string title;      // the "title" tag, or ""
    std::string artist;
    std::string album;
    std::string date;       // the "date", "creation_time" or "year" tag as written, or ""
    long long durationMs = 0;  // of the container (0 when it does not say)
    bool hasVideo = false;
    bool hasSound = false;
};

enum MediaDecodeCode : int {
    kMediaOk = 0,
    kMediaNotMedia = 1,    // missing, unreadable, or not a sound or video file
    kMediaNoSound = 2,     // readable, but it has no sound track (info is filled)
    kMediaDamaged = 3,     // the sound track could not be decoded
    kMediaWriteFailed = 4, // the target cannot be written (nothing is left of it)
};

// Decodes the first sound track of sourcePath into targetPath as a 16-bit
// PCM wave at the track's own rate, in mono or stereo (more channels are
// mixed down to two). info (may be null) is filled whenever the file could
// be opened.
int MediaDecodeToWave(const char* sourcePath, const char* targetPath, MediaInfo* info);

// A short English reason for a code, for messages.
const char* MediaDecodeReason(int code);
