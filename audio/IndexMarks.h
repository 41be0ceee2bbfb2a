// Index marks of a recording: rows of comment, time and a one-character flag,
// kept in the marks work file as fixed 61-byte records ("time comment flag",
// spaces in the comment as 0xAC, padded to 60 characters plus one space).
#pragma once

#include <string>
#include <vector>

struct IndexMark {
    std::string comment;  // at most 49 characters
    std::string time;     // at most 8 characters, "hh:mm:ss"
    std::string flag;     // one character: "0", "1", "2"
};

namespace indexmarks {

inline constexpr std::size_t kRecordBytes = 61;
inline constexpr std::size_t kCommentMax = 49;
inline constexpr std::size_t kTimeMax = 8;
inline constexpr std::size_t kJoinedMax = 5000;
// The marks work file of a recording is its base name with this extension,
// inside the record file too.
inline constexpr const char* kFileExtension = ".vxk";

// One mark's 61 bytes.
std::string record(const IndexMark& mark);

// Writes the marks anew (an empty list leaves an empty file). False when the
// file cannot be written.
bool save(const std::string& path, const std::vector<IndexMark>& marks);

// Reads the marks back: an empty flag becomes "0", and a mark flagged "1"
// whose comment is "insert end" becomes "2". A missing file has no marks.
std::vector<IndexMark> load(const std::string& path);

// The comments joined by single spaces, at most 5000 characters: the text
// that goes into the record.
std::string joinedComments(const std::vector<IndexMark>& marks);

}  // namespace indexmarks
