#pragma once
// Record-file fixtures for tests, made and read with libzip directly so that
// they do not depend on the code under test: archives with chosen entry
// names (including hostile ones), stored entries whose bytes can be damaged,
// and a reader that returns every entry's content.

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zipfixtures {

// Writes an archive with the entries in order, stored uncompressed. Names
// are taken as given, "../x" and "/x" included.
void writeZip(const std::string& path, const std::vector<std::pair<std::string, std::string>>& entries);

// Every entry name and content, read with CRC checks; throws on any error.
std::map<std::string, std::string> readZip(const std::string& path);

// Replaces every occurrence of from with to (same length) in the file: an
// entry name stands in the local header and in the central directory.
void patchBytes(const std::string& path, const std::string& from, const std::string& to);

// A 401-byte index line: RecID, type, a subject, padded with spaces, "\n".
std::string indexLine(const std::string& recId, const std::string& subject);

}  // namespace zipfixtures
