// The phone book file "Telvarine.vxb": fixed lines of 101 bytes in the order
// they were added, each "name number" padded with spaces to 100 characters
// and a line feed, blanks inside a name or number stored as 0xAC. An entry
// is known only by the byte offset of its line.
//
// Kept as the file has always been written: a name and number longer than
// 98 characters together give a line of the first 101 characters of the
// joined text, with no line feed; appends lock the range from the end with a
// length counted from the file's start (end + 101), as the index-line append
// does; a delete goes through "tempphone.vxb" in the working folder.
//
// Unlike the old writer, a failed write loses nothing: an append that fails
// is cut back off, and a delete replaces the file only once the copy is
// whole. Every write goes through platform/FileOps (its fault seam).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct PhoneBookEntry {
    std::string name;    // blanks restored
    std::string number;
    std::uint64_t offset = 0;  // of its line in the file
};

class PhoneBook {
public:
    static constexpr std::size_t kLineSize = 101;
    static constexpr std::size_t kMaxEntries = 5000;
    static constexpr std::size_t kFieldMax = 50;    // name and number, each
    static constexpr int kWriteError = 120;         // "Error writing to Phone Book ..."
    static constexpr const char* kFileName = "Telvarine.vxb";
    static constexpr const char* kTempName = "tempphone.vxb";

    // path: the phone book file; tempPath: the delete's copy (by default the
    // plain name in the working folder).
    explicit PhoneBook(std::string path, std::string tempPath = kTempName);

    // The 101 bytes written for an entry (name and number as given).
    static std::string buildLine(const std::string& name, const std::string& number);
    // The hidden column's text for an offset ("%020d").
    static std::string offsetText(std::uint64_t offset);

    // Adds an entry at the end (name and number cut to 50 characters).
    // 0, or kWriteError when the file cannot be opened or written.
    int add(const std::string& name, const std::string& number) const;
    // Rewrites the line at offset. 0 or kWriteError.
    int edit(std::uint64_t offset, const std::string& name, const std::string& number) const;
    // Removes the line at offset; later lines move down by 101 bytes.
    // 0 or kWriteError (the file is then as it was).
    int remove(std::uint64_t offset) const;
    // Up to kMaxEntries entries from the start; a missing file is empty.
    std::vector<PhoneBookEntry> load() const;

    // The entries of a phone book's bytes, offsets counted from their start.
    static std::vector<PhoneBookEntry> entriesOf(const std::string& bytes);
    // Whether 101 bytes can be a line this file holds: no line feed or NUL
    // before the last byte, and no NUL there.
    static bool isLine(const char* line);
    // Appends whole lines at the end in one write, under the add's lock
    // rule (length end + their size). 0, or kWriteError with the file as it
    // was; *end receives the offset of the first.
    int appendLines(const std::string& lines, std::uint64_t* end) const;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::string m_tempPath;
};
