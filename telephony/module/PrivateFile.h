// Reading a secret (the SIP account's password) from a file that must be a
// regular file owned by the user running Navo and readable by nobody else;
// anything looser is refused rather than used.
#pragma once

#include <string>

class PrivateFile {
public:
    // The file's first line (without its line end). False, with why filled,
    // when the file is missing, not the user's own, or open to group/others.
    static bool readFirstLine(const std::string& path, std::string& line, std::string& why);
};
