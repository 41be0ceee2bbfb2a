#pragma once
// Helpers for tests that work on real files: a private temporary folder, whole
// file reads and writes, and deterministic content that can be regenerated
// from a name to compare what comes back byte for byte.

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace testfiles {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    // Names of the entries in the folder, sorted (hidden ones included).
    std::vector<std::string> entries() const;

private:
    std::string m_path;
};

void writeFile(const std::string& path, const std::string& content);
std::string readFile(const std::string& path);
bool exists(const std::string& path);
mode_t modeOf(const std::string& path);

// A reproducible byte stream: the same seed always gives the same bytes.
class Pattern {
public:
    explicit Pattern(std::uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15ULL + 1) {}
    void fill(unsigned char* data, std::size_t size);

private:
    std::uint64_t m_state;
};

std::uint64_t seedOf(const std::string& name);
std::string patternBytes(std::uint64_t seed, std::size_t size);
// Writes size pattern bytes in pieces, so that huge files cost no memory.
void writePatternFile(const std::string& path, std::uint64_t seed, std::uint64_t size);
// Whether the file holds exactly size pattern bytes of that seed.
bool fileMatchesPattern(const std::string& path, std::uint64_t seed, std::uint64_t size);

}  // namespace testfiles
