#include "TestFiles.h"

#include <stdlib.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testfiles {

TempDir::TempDir()
{
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && base[0] != '\0' ? base : "/tmp") + "/navo-test-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (::mkdtemp(buffer.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    m_path = buffer.data();
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::vector<std::string> TempDir::entries() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void writeFile(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out)
        throw std::runtime_error("cannot write " + path);
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return "<missing>";
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool exists(const std::string& path)
{
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

mode_t modeOf(const std::string& path)
{
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return 0;
    return st.st_mode & 07777;
}

void Pattern::fill(unsigned char* data, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i) {
        // xorshift64*: fast and good enough to make every byte matter.
        m_state ^= m_state >> 12;
        m_state ^= m_state << 25;
        m_state ^= m_state >> 27;
        data[i] = static_cast<unsigned char>((m_state * 0x2545F4914F6CDD1DULL) >> 56);
    }
}

std::uint64_t seedOf(const std::string& name)
{
    std::uint64_t hash = 1469598103934665603ULL;
    for (unsigned char c : name) {
        hash ^= c;
        hash *= 1099511628211ULL;
    }
    return hash;
}

std::string patternBytes(std::uint64_t seed, std::size_t size)
{
    std::string bytes(size, '\0');
    Pattern(seed).fill(reinterpret_cast<unsigned char*>(bytes.data()), size);
    return bytes;
}

void writePatternFile(const std::string& path, std::uint64_t seed, std::uint64_t size)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    Pattern pattern(seed);
    std::vector<unsigned char> chunk(1 << 20);
    while (size > 0) {
        const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), size));
        pattern.fill(chunk.data(), n);
        out.write(reinterpret_cast<const char*>(chunk.data()), static_cast<std::streamsize>(n));
        size -= n;
    }
    if (!out)
        throw std::runtime_error("cannot write " + path);
}

bool fileMatchesPattern(const std::string& path, std::uint64_t seed, std::uint64_t size)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    Pattern pattern(seed);
    std::vector<unsigned char> expected(1 << 20);
    std::vector<char> actual(1 << 20);
    while (size > 0) {
        const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(expected.size(), size));
        pattern.fill(expected.data(), n);
        in.read(actual.data(), static_cast<std::streamsize>(n));
        if (static_cast<std::size_t>(in.gcount()) != n || std::memcmp(actual.data(), expected.data(), n) != 0)
            return false;
        size -= n;
    }
    return in.peek() == std::ifstream::traits_type::eof();
}

}  // namespace testfiles
