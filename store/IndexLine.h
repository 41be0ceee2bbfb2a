// Index lines: one record's fields as a single line of exactly 400 characters
// plus "\n". Fields are separated by one space, so a space inside a field is
// stored as 0xAC ("¬" in Windows-1252) and line breaks become spaces first;
// an empty field is two separators side by side and keeps the numbering.
#pragma once

#include <string>
#include <vector>

namespace indexline {

inline constexpr std::size_t kLength = 400;    // without the "\n"
inline constexpr std::size_t kLineBytes = 401;  // with it
inline constexpr char kSpaceMark = '\xAC';
inline constexpr const char* kDeletedRecId = "99999999";
inline constexpr int kColumns = 24;            // list columns a line is rebuilt from
inline constexpr int kReadBackFields = 14;

// "%08d".
std::string recIdText(long recId);

// A field as it is written: "\r"/"\n" to spaces, then spaces to 0xAC.
std::string cleanField(const std::string& text);
// The reverse for showing: 0xAC back to spaces.
std::string showField(const std::string& field);

// Fields cleaned and joined by single spaces, one more space, padded with
// spaces to 400 characters, then "\n". A line whose fields reach 400
// characters is not cut: it gets its one space and the "\n" only.
std::string build(const std::vector<std::string>& fields);

// Rebuilt from list columns (24 at most; missing ones are empty): joined as
// they stand, without cleaning, then padded as above.
std::string fromColumns(const std::vector<std::string>& columns);

// Fields 1..count (counted from 1) of a line, as stored.
std::vector<std::string> fields(const std::string& line, int count = kReadBackFields);

// Field n (from 1) of a line, as stored.
std::string field(const std::string& line, int n);

}  // namespace indexline
