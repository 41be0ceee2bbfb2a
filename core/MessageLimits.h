// The answer machine's limits as the profile holds them, read one way by the
// Options dialog that shows them and by the machine that obeys them.
#pragma once

class ProfileSettings;

namespace messagelimits {

// The longest message in seconds, from "MaxMessage" (missing: written as
// "180"; below 1 or not a number counts as 180, above 3600 as 3600).
int maxMessageSeconds(const ProfileSettings& profile);

// The silence that ends a message, in seconds, from "Silence" (missing:
// written as "5"): the leading whole number clamped to 2-30, so a value that
// is not a number counts as 2, the slider's lowest position.
int silenceSeconds(const ProfileSettings& profile);

}  // namespace messagelimits
