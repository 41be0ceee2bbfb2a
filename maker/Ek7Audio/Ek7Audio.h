#pragma once
// Ek7Audio: whole-file work on PCM wave files for the player and the mixing
// studio. Results: 0 on success, greater than 0 on failure.

// Writes the sound of wavePath backwards (frame by frame, channels kept in
// order) to reversedPath, in the same format.
int ReversePlay(const char* wavePath, const char* reversedPath);

// Appends the stretch [fromMs, toMs) of the wave at wavePath to the raw
// intermediate file datPath (created when missing), as PCM in the format of
// recording quality recQual (0..3, as "RecQual"; another value as 0);
// a wave in another format is converted on the way. A "to" past the end
// stops at the end. 1 the wave cannot be read, 2 a bad range (negative, empty,
// or starting at or after the end), 3 the intermediate file cannot be
// written: then it keeps exactly what it held before.
int BuildWavesX(const char* datPath, const char* wavePath, long fromMs, long toMs, int recQual);

// Writes wavPath as a wave file in the format of recQual whose sound is the
// intermediate file datPath. 1 datPath cannot be read (or is too large for a
// wave file), 2 wavPath cannot be written; on failure no wave file is left
// at wavPath.
int CreateWaveX(const char* wavPath, const char* datPath, int recQual);
