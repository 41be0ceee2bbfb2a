// Family files: the index lines of one family of record types, 401 bytes
// each, one after another, found by byte position. These read a line, put a
// re-recorded record's new line in place of its old one, and mark a deleted
// record's line dead.
#pragma once

#include <string>

namespace family {

inline constexpr const char* kLost = "LOST";
inline constexpr const char* kBad = "BAD";

// The line at position in the family file of the type, when it carries the
// RecID; "LOST" when it does not (or the file is shorter); "BAD" for a type
// with no family file.
std::string readLine(const std::string& workspace, const std::string& recIdText, int recordType,
                     long position);

// Replacing a record's line after it was re-recorded or edited: the line
// from lineFile replaces the line with the same RecID in the family file, and
// the rewritten record file and the family file go into the store in one
// transaction. Returns the position the line was written at; 0 is failure, so a
// line at position 0 cannot be replaced this way (new family files begin with
// a dead line, and store compression keeps one there, so no live line stands
// at 0).
long replaceRecordLine(const std::string& recordFileName, const std::string& workspace,
                       const std::string& storePath, const std::string& extra,
                       const std::string& familyName, const std::string& lineFile);

// Marks the line of recId at position dead ("99999999" in its RecID field) so
// that store compression drops it. False when the line is not there, or when
// it could not be marked (*failed then says so: the record must stay).
bool markDeleted(const std::string& familyPath, const std::string& recIdText, long position,
                 bool* failed = nullptr);

}  // namespace family
