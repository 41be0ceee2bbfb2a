// The index-line work file ("vxl"): a recording's own copy of its index line,
// which travels inside its record file. Two ways to write it.
#pragma once

#include <string>
#include <vector>

namespace indexlinefile {

// Rebuilds the line from the record's list columns and writes its 401 bytes
// at the start of the file (created if absent; a longer file keeps its tail).
// 1 on success, 0 when the file cannot be opened or written.
int rewriteFromColumns(const std::string& path, const std::vector<std::string>& columns);

// Appends the line at the end of the file under a byte-range lock. The lock
// starts at the end offset and is (end offset + 401) long: the length counts
// the offset too, so for a new file it covers exactly the line. 1 or 0.
int appendLocked(const std::string& path, const std::string& line);

// The lock's (offset, length) for a file whose current size is endOffset.
std::pair<long long, long long> appendLockRange(long long endOffset);

}  // namespace indexlinefile
