// The index goes into the data store only at Save, while a record's file and
// its family line are stored the moment it is filed or deleted. After a crash
// the stored index can therefore lag behind the family files: records filed
// since the last save have no entry (search misses them) and records deleted
// since then still have one. Opening a store brings the index back in line:
// an entry is rebuilt for every live line without one, from the line and the
// record's own search text, and entries without a live line are removed.
#pragma once

#include <string>

namespace indexrepair {

struct Result {
    int code = 0;     // 0, or the Ek7Index code of an index that cannot be read (left alone)
    int added = 0;    // entries rebuilt
    int removed = 0;  // entries of records that are no longer there
    int withoutSearchText = 0;  // rebuilt from the line alone: the record's search text was unreadable
    long highestRecId = 0;      // the highest RecID of a live line or an index entry
};

// workspace holds the extracted family files and index; storePath is the open
// store the record files are read from.
Result reconcile(const std::string& workspace, const std::string& storePath);
// The same, then the changed index is put into the store.
Result reconcileAndStore(const std::string& workspace, const std::string& storePath);

}  // namespace indexrepair
