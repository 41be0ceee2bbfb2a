// What the index keeps beside an entry's texts so that a search can find and
// narrow by it: the record-type code as a number, the start time as a
// sortable number, whether the record is a new answer-machine message, and
// the caller's name and number and the index-mark comments taken from the
// record's line. All of it follows from the entry, so an older index file is
// brought up to date by deriving it again.
#pragma once

#include <cstdint>
#include <string>

namespace ek7index {

struct DerivedFields {
    int typeCode = -1;         // field 2 as a number; -1 when it is not one
    std::int64_t startKey = 0; // "dd/mm/yyyy hh:mm:ss" as yyyymmddhhmmss; 0 when unreadable
    bool newMessage = false;   // an answer-machine message (type 2) with the new-message image (7)
    std::string names;         // UTF-8: caller name and number of phone records (fields 3 and 4)
    std::string marks;         // UTF-8: the mark comments a dictation keeps in field 7
};

// The type code and start key from the entry's texts (Windows-1252).
int typeCodeOf(const std::string& recordType);
std::int64_t startKeyOf(const std::string& startTime);

// Names, marks and the new-message flag from an index line; type and start
// from the other two texts.
DerivedFields deriveFields(const std::string& recordType, const std::string& startTime, const std::string& line);

}  // namespace ek7index
