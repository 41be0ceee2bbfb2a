// RecIDs: the last one handed out is the profile value "RecID"; a recorder
// takes the next one before it records anything and writes it back at once,
// so a discarded recording leaves a gap.
//
// The profile alone cannot promise a RecID nobody has: a store opened from
// another profile (a reinstall, another log-on name, a lost NAVO.ini) or a
// profile that cannot be written would hand out numbers the store already
// holds. So the next RecID is one above the highest of the profile's counter,
// the open store's highest RecID and any this copy of Navo issued.
#pragma once

#include <string>

struct AppData;

// 99999999 marks a deleted line, so this is the last RecID there is.
inline constexpr long kLastRecId = 99999998;
// Shown when the store has used up its RecIDs; nothing is recorded.
inline constexpr const char* kRecIdsUsedUp =
    "This Navo data store has used up its record numbers (the last is 99999998), so nothing more can be "
    "recorded into it.\n\nPlease create a new data store (File, New) for your new recordings.";

struct NewRecordNames {
    long recId = 0;            // 0: the RecIDs are used up
    std::string baseName;      // DateStamp
    // Form 0: the path in the workspace; form 1: the name in the record file.
    std::string infoName[2];   // "vxs"
    std::string lineName[2];   // "vxl"
};

// The next RecID, written back to the profile as "%08d" (a write that fails
// is traced; this copy still never issues the number again). 0 when the
// range is used up: nothing is written then.
long allocateRecId(AppData& app);
// count RecIDs in a row, written back once (the last of them); the first, or
// 0 when they do not all fit (nothing is written then).
long allocateRecIds(AppData& app, long count);

// A new RecID and the work-file names of a new recording; recId 0 (and no
// names) when the range is used up.
NewRecordNames prepareNewRecording(AppData& app);
