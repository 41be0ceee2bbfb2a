// RecIDs: the last one handed out is the profile value "RecID"; a recorder
// takes the next one before it records anything and writes it back at once,
// so a discarded recording leaves a gap and no number is ever used twice.
#pragma once

#include <string>

class ProfileSettings;

struct NewRecordNames {
    long recId = 0;
    std::string baseName;      // DateStamp
    // Form 0: the path in the workspace; form 1: the name in the record file.
    std::string infoName[2];   // "vxs"
    std::string lineName[2];   // "vxl"
};

// Reads "RecID", adds 1 and writes it back as "%08d". Returns the new RecID.
long allocateRecId(const ProfileSettings& profile);

// A new RecID and the work-file names of a new recording.
NewRecordNames prepareNewRecording(const ProfileSettings& profile, const std::string& workspace);
