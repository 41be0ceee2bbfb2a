#pragma once
// Ek7Audio: whole-file work on PCM wave files for the player and the mixing
// studio. Results: 0 on success, greater than 0 on failure.

// Writes the sound of wavePath backwards (frame by frame, channels kept in
// order) to reversedPath, in the same format.
int ReversePlay(const char* wavePath, const char* reversedPath);
