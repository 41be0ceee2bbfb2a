// Date and time texts.
//
// Every text is plain ASCII digits and punctuation. Buffers are the caller's;
// the sizes below are the minimum each call writes into.
#pragma once

#include <cstdint>
#include <ctime>

// Sizes of the caller's buffers.
constexpr int kDateStampSize = 32;
constexpr int kLogDateSize = 64;
constexpr int kDurationSize = 128;

// A work-file base name from the local date and time: "yyyymmddhhmmssmmm"
// (17 digits, the last three milliseconds). Every call in the process gets a
// stamp greater than the one before, even within one millisecond or when the
// local clock goes back (summer time ending, clock corrected): the stamp then
// runs one millisecond past the last one issued until the clock catches up.
// Thread-safe. out: at least kDateStampSize bytes.
void DateStamp(char* out);

// The local date and time as shown to users: "dd/mm/yyyy hh:mm:ss".
// out: at least kLogDateSize bytes.
void LogDate(char* out);

// A duration "hh:mm:ss" from milliseconds, cut to whole seconds. Hours take
// more than two digits when they must; a negative duration is "00:00:00".
// out: at least kDurationSize bytes.
void conv_millisec(long milliseconds, char* out);

// The same form for endSeconds - startSeconds (time() values).
void CallDuration(long startSeconds, long endSeconds, char* out);

// The pure forms the calls above use, with the time given.

// The stamp of one moment: seconds since the epoch and milliseconds (a value
// outside 0..999 carries into the seconds).
void DateStampAt(std::time_t seconds, int millis, char* out);

// The stamp of the moment, kept after *lastIssued: lastIssued holds the local
// wall-clock time of the previous stamp in milliseconds (start it at
// kNoDateStampYet) and is moved on to the stamp written.
constexpr std::int64_t kNoDateStampYet = INT64_MIN;
void DateStampNext(std::time_t seconds, int millis, std::int64_t* lastIssued, char* out);

void LogDateAt(std::time_t t, char* out);
