// A recording's "vxs" work file: its search text and its audit data (who made
// it and when, whether it is the original, whether it is locked). It goes
// into the record file with the sound, so both travel with the recording.
#pragma once

#include <string>

struct RecordInfo {
    std::string keywords;
    std::string extraText;
    std::string created;   // LogDate text of the first save
    std::string saved;     // LogDate text of the latest save
    std::string user;      // log-on name of whoever saved it
    bool original = true;
    bool locked = false;

    // Text form, one "Key=value" per line; values never hold line breaks.
    std::string serialize() const;
    // False when the text is not a record info file at all.
    static bool parse(const std::string& text, RecordInfo* info);
    bool hasAudit() const { return !created.empty(); }
};

namespace recordinfo {

// Codes of the audit messages.
inline constexpr int kLocked = 6;            // the record is locked and cannot be edited
inline constexpr int kLockedForMerge = 7;    // locked records stay off the merge list
inline constexpr int kAuditWriteFailed = 128;
inline constexpr int kAuditReadFailed = 129;
inline constexpr int kNoAudit = 130;
inline constexpr const char* kNotOriginalWarning = "*** Warning : Not an original recording ***";

// Stamps a save: created once, saved now, and who saved it.
void stamp(RecordInfo* info);

int writeFile(const std::string& path, const RecordInfo& info);   // 0 or 128
int readFile(const std::string& path, RecordInfo* info);          // 0, 129 or 130

// The info inside a record file (.vxz on disk), member memberName; the
// workspace receives the extracted copy. 0, 129 or 130.
int readFromRecordFile(const std::string& recordFile, const std::string& memberName,
                       const std::string& workspace, RecordInfo* info);
// Stamps a save (created once, saved every time, the user) and writes the
// member back into the record file. 0 or 128.
int updateInRecordFile(const std::string& recordFile, const std::string& memberName,
                       const std::string& workspace, RecordInfo info);

// The text shown for a record's audit: who, when, and the warning line when
// it is not the original.
std::string describe(const RecordInfo& info);

}  // namespace recordinfo
