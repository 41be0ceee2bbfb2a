// Private profile files: parsing into lines, editing by byte ranges, and the
// replace-by-rename write. See Profile.h for the contract.
//
// The file is re-read and parsed for every call. Settings files are small and
// read a few dozen times at start-up, and no cache means no stale values when
// another Navo process (or the user's editor) changes the file.
#include "platform/Profile.h"

#include "platform/Codepage.h"
#include "platform/FileOps.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::mutex g_profileMutex;

// Windows counts Ctrl-Z (the old end-of-file mark) as a blank too.
bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f' || c == '\x1a';
}

std::string_view trim(std::string_view s)
{
    while (!s.empty() && isBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

std::string_view stripQuotes(std::string_view v)
{
    if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
        return v.substr(1, v.size() - 2);
    return v;
}

// One line of the file. Offsets are into the text the line was parsed from;
// the views point into it too, so the text must outlive the lines.
struct Line {
    enum class Kind { Blank, Comment, Section, Key };
    Kind kind = Kind::Blank;
    std::size_t begin = 0;     // first byte of the line
    std::size_t end = 0;       // end of its text, before "\r\n" or "\n"
    std::size_t next = 0;      // first byte of the following line
    std::string_view name;     // section or key name, trimmed
    std::string_view value;    // key value, trimmed
    bool hasValue = false;     // the key line has an '='
    std::size_t valueAt = 0;   // where the value starts: after '=' and the blanks after it

    bool hasEnding() const { return next > end; }
};

std::vector<Line> parseLines(const std::string& text)
{
    std::vector<Line> lines;
    std::size_t pos = 0;
    while (pos < text.size()) {
        Line line;
        line.begin = pos;
        const std::size_t nl = text.find('\n', pos);
        line.next = nl == std::string::npos ? text.size() : nl + 1;
        line.end = nl == std::string::npos ? text.size() : nl;
        if (line.end > pos && text[line.end - 1] == '\r' && nl != std::string::npos)
            --line.end;
        pos = line.next;

        const std::string_view raw(text.data() + line.begin, line.end - line.begin);
        const std::string_view content = trim(raw);
        if (content.empty()) {
            line.kind = Line::Kind::Blank;
        } else if (content.front() == ';') {
            line.kind = Line::Kind::Comment;
        } else if (content.front() == '[') {
            // "[name]"; a header missing its ']' still names a section.
            line.kind = Line::Kind::Section;
            const std::size_t close = content.find(']');
            line.name = trim(content.substr(1, close == std::string_view::npos ? close : close - 1));
        } else {
            line.kind = Line::Kind::Key;
            const std::size_t eq = raw.find('=');
            if (eq == std::string_view::npos) {
                line.name = content;
            } else {
                line.name = trim(raw.substr(0, eq));
                line.hasValue = true;
                std::size_t at = eq + 1;
                while (at < raw.size() && isBlank(raw[at]))
                    ++at;
                line.valueAt = line.begin + at;
                line.value = trim(raw.substr(eq + 1));
            }
        }
        lines.push_back(line);
    }
    return lines;
}

// Line indexes [header, end) of a section: its header and the lines up to the
// next header.
struct SectionRange {
    std::size_t header;
    std::size_t end;
};

std::size_t sectionEnd(const std::vector<Line>& lines, std::size_t header)
{
    std::size_t i = header + 1;
    while (i < lines.size() && lines[i].kind != Line::Kind::Section)
        ++i;
    return i;
}

std::optional<SectionRange> findSection(const std::vector<Line>& lines, std::string_view name)
{
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].kind == Line::Kind::Section && equalsIgnoreCaseAnsi(lines[i].name, name))
            return SectionRange{i, sectionEnd(lines, i)};
    }
    return std::nullopt;
}

bool isKeyLine(const Line& line, std::string_view key)
{
    return line.kind == Line::Kind::Key && equalsIgnoreCaseAnsi(line.name, key);
}

std::optional<std::size_t> findKey(const std::vector<Line>& lines, SectionRange range,
                                   std::string_view key)
{
    for (std::size_t i = range.header + 1; i < range.end; ++i) {
        if (isKeyLine(lines[i], key))
            return i;
    }
    return std::nullopt;
}

// The line ending of the file: that of its first line, "\n" for a file
// without any.
std::string_view lineEndingOf(const std::string& text)
{
    const std::size_t nl = text.find('\n');
    return nl != std::string::npos && nl > 0 && text[nl - 1] == '\r' ? "\r\n" : "\n";
}

enum class ReadStatus { Ok, Missing, Failed };

ReadStatus readFile(const char* path, std::string& text)
{
    text.clear();
    if (path == nullptr || *path == '\0')
        return ReadStatus::Missing;
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return errno == ENOENT || errno == ENOTDIR ? ReadStatus::Missing : ReadStatus::Failed;
    char chunk[16384];
    for (;;) {
        const ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n > 0) {
            text.append(chunk, static_cast<std::size_t>(n));
        } else if (n == 0) {
            break;
        } else if (errno != EINTR) {
            ::close(fd);
            return ReadStatus::Failed;
        }
    }
    ::close(fd);
    return ReadStatus::Ok;
}

// Replaces the file with content through a temporary file in the same folder
// and a rename, so that readers and a crash see the old or the new file whole,
// and a failure anywhere leaves the old one. Keeps the permission bits (and,
// where allowed, the owner) of the file it replaces; a symbolic link keeps
// pointing to the file, whose content changes.
bool replaceFile(const char* path, const std::string& content)
{
    std::string target = path;
    struct stat st {};
    if (::lstat(path, &st) == 0 && S_ISLNK(st.st_mode)) {
        char* resolved = ::realpath(path, nullptr);
        if (resolved == nullptr)
            return false;
        target = resolved;
        std::free(resolved);
    }
    const bool exists = ::stat(target.c_str(), &st) == 0;
    if (exists) {
        // Root may write anything: the permission bits stand for the Windows
        // read-only attribute, which holds for administrators too.
        if (!S_ISREG(st.st_mode) || (st.st_mode & 0222) == 0 || ::access(target.c_str(), W_OK) != 0)
            return false;
    }

    const std::size_t slash = target.rfind('/');
    const std::string dir = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    static unsigned long counter = 0;  // guarded by g_profileMutex
    std::string temp;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temp = dir + "." + base + "." + std::to_string(::getpid()) + "." + std::to_string(++counter);
        // A new file is its owner's alone: it names the users and their stores.
        fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0 && errno != EEXIST)
            return false;
    }
    if (fd < 0)
        return false;

    bool ok = true;
    if (exists) {
        ok = ::fchmod(fd, st.st_mode & 07777) == 0;
        if (ok && (st.st_uid != ::geteuid() || st.st_gid != ::getegid())) {
            if (::fchown(fd, st.st_uid, st.st_gid) != 0) {
                // Only root may give a file away; the file then becomes ours,
                // as any rewrite by its other users would make it.
            }
        }
    }
    ok = ok && fileops::writeAll(fd, content.data(), content.size()) == 0 && fileops::syncFile(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    ok = ok && fileops::renameFile(temp, target) == 0;
    if (!ok)
        ::unlink(temp.c_str());
    return ok;
}

DWORD copyValue(std::string_view value, char* buffer, DWORD size)
{
    const std::size_t n = std::min<std::size_t>(value.size(), size - 1);
    std::memcpy(buffer, value.data(), n);
    buffer[n] = '\0';
    return static_cast<DWORD>(n);
}

// A double-NUL-terminated list of names; cut short, it still ends with two
// NULs and the result is size-2.
DWORD copyList(const std::vector<std::string_view>& names, char* buffer, DWORD size)
{
    if (size < 2) {
        buffer[0] = '\0';
        return 0;
    }
    std::string all;
    for (const std::string_view name : names) {
        all += name;
        all += '\0';
    }
    if (all.size() + 1 <= size) {
        std::memcpy(buffer, all.data(), all.size());
        buffer[all.size()] = '\0';
        if (all.empty())
            buffer[1] = '\0';
        return static_cast<DWORD>(all.size());
    }
    std::memcpy(buffer, all.data(), size - 2);
    buffer[size - 2] = '\0';
    buffer[size - 1] = '\0';
    return size - 2;
}

// Values travel through the file on one line: a line break would start a
// line of its own choosing (another user's section, another key), so CR and LF
// are written as "%0D" and "%0A", and a '%' that would read as one of the
// three escapes as "%25". Every other '%' stays as typed, so values written
// before keep their meaning. A value that would lose blanks or quotes on the
// way back is written in double quotes, which reading removes.
int escapeAt(std::string_view text, std::size_t at)
{
    if (at + 2 >= text.size() || text[at] != '%')
        return -1;
    const char hi = text[at + 1];
    const char lo = static_cast<char>(text[at + 2] & ~0x20);  // upper case
    if (hi == '2' && text[at + 2] == '5')
        return '%';
    if (hi == '0' && lo == 'A')
        return '\n';
    if (hi == '0' && lo == 'D')
        return '\r';
    return -1;
}

std::string encodeValue(std::string_view value)
{
    std::string out;
    out.reserve(value.size() + 2);
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (c == '\n')
            out += "%0A";
        else if (c == '\r')
            out += "%0D";
        else if (c == '%' && escapeAt(value, i) >= 0)
            out += "%25";
        else
            out += c;
    }
    if (!out.empty() && (isBlank(out.front()) || isBlank(out.back()) || stripQuotes(out).size() != out.size()))
        out = '"' + out + '"';
    return out;
}

std::string decodeValue(std::string_view stored)
{
    std::string out;
    out.reserve(stored.size());
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const int c = escapeAt(stored, i);
        if (c >= 0) {
            out += static_cast<char>(c);
            i += 2;
        } else {
            out += stored[i];
        }
    }
    return out;
}

// Names are written as they are, so a name that would read back as another
// line, another section or a comment is refused.
bool writableName(std::string_view name, bool isSection)
{
    if (name.find_first_of("\r\n") != std::string_view::npos)
        return false;
    if (isSection)
        return name.find(']') == std::string_view::npos;
    const std::string_view trimmed = trim(name);
    return !trimmed.empty() && trimmed.front() != '[' && trimmed.front() != ';' &&
           name.find('=') == std::string_view::npos;
}

// The value of key in the first section called section, without quotes;
// nullopt when the section, the key or its '=' is missing.
std::optional<std::string_view> lookUp(const std::vector<Line>& lines, std::string_view section,
                                       std::string_view key)
{
    const auto range = findSection(lines, trim(section));
    if (!range)
        return std::nullopt;
    const auto at = findKey(lines, *range, trim(key));
    if (!at || !lines[*at].hasValue)
        return std::nullopt;
    return stripQuotes(lines[*at].value);
}

// The text without the lines for which drop(index) holds; nullopt when no
// line is dropped.
template <typename Drop>
std::optional<std::string> withoutLines(const std::string& text, const std::vector<Line>& lines,
                                        Drop drop)
{
    std::string out;
    bool dropped = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (drop(i))
            dropped = true;
        else
            out.append(text, lines[i].begin, lines[i].next - lines[i].begin);
    }
    if (!dropped)
        return std::nullopt;
    return out;
}

// The edited text for a write, or nullopt when nothing changes.
std::optional<std::string> edit(const std::string& text, std::string_view section, const char* key,
                                const char* value)
{
    const std::vector<Line> lines = parseLines(text);
    const std::string_view eol = lineEndingOf(text);
    section = trim(section);

    if (key == nullptr) {  // delete every section of that name
        std::vector<bool> drop(lines.size(), false);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].kind == Line::Kind::Section && equalsIgnoreCaseAnsi(lines[i].name, section)) {
                const std::size_t end = sectionEnd(lines, i);
                for (std::size_t j = i; j < end; ++j)
                    drop[j] = true;
            }
        }
        return withoutLines(text, lines, [&](std::size_t i) { return drop[i]; });
    }

    const std::string_view keyName = trim(key);
    const auto range = findSection(lines, section);
    if (value == nullptr) {  // delete the key (every line of it in the section)
        if (!range)
            return std::nullopt;
        return withoutLines(text, lines, [&](std::size_t i) {
            return i > range->header && i < range->end && isKeyLine(lines[i], keyName);
        });
    }

    std::string out;
    if (!range) {  // a new section at the end, after a blank line
        out = text;
        if (!out.empty() && out.back() != '\n')
            out += eol;
        if (!lines.empty() && lines.back().kind != Line::Kind::Blank)
            out += eol;
        out.append("[").append(section).append("]").append(eol);
        out.append(keyName).append("=").append(value).append(eol);
        return out;
    }
    if (const auto at = findKey(lines, *range, keyName)) {  // replace the value
        const Line& line = lines[*at];
        const std::size_t keep = line.hasValue ? line.valueAt : line.end;
        out.assign(text, 0, keep);
        if (!line.hasValue)
            out += '=';
        out.append(value).append(text, line.end, std::string::npos);
        return out;
    }
    // A new key after the section's last key (or its header), so that blank
    // lines and comments that lead into the next section stay where they are.
    std::size_t anchor = range->header;
    for (std::size_t i = range->header + 1; i < range->end; ++i) {
        if (lines[i].kind == Line::Kind::Key)
            anchor = i;
    }
    const Line& line = lines[anchor];
    out.assign(text, 0, line.next);
    if (!line.hasEnding())
        out += eol;
    out.append(keyName).append("=").append(value).append(eol);
    out.append(text, line.next, std::string::npos);
    return out;
}

BOOL writeLocked(const char* section, const char* key, const char* value, const char* fileName)
{
    std::string encoded;
    if (value != nullptr && key != nullptr) {
        if (!writableName(section, true) || !writableName(key, false))
            return FALSE;
        encoded = encodeValue(value);
        value = encoded.c_str();
    }
    std::string text;
    if (readFile(fileName, text) == ReadStatus::Failed)
        return FALSE;
    const auto edited = edit(text, section, key, value);
    if (!edited)
        return TRUE;
    return replaceFile(fileName, *edited) ? TRUE : FALSE;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

}  // namespace

DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue,
                               char* buffer, DWORD size, const char* fileName)
{
    if (buffer == nullptr || size == 0)
        return 0;
    std::lock_guard<std::mutex> lock(g_profileMutex);
    std::string text;
    readFile(fileName, text);  // an unreadable file reads as an empty one
    const std::vector<Line> lines = parseLines(text);

    if (section == nullptr || key == nullptr) {
        std::vector<std::string_view> names;
        if (section == nullptr) {
            for (const Line& line : lines) {
                if (line.kind == Line::Kind::Section)
                    names.push_back(line.name);
            }
        } else if (const auto range = findSection(lines, trim(section))) {
            for (std::size_t i = range->header + 1; i < range->end; ++i) {
                if (lines[i].kind == Line::Kind::Key && !lines[i].name.empty())
                    names.push_back(lines[i].name);
            }
        }
        return copyList(names, buffer, size);
    }

    if (const auto value = lookUp(lines, section, key))
        return copyValue(decodeValue(*value), buffer, size);
    std::string_view fallback = defaultValue != nullptr ? defaultValue : "";
    while (!fallback.empty() && fallback.back() == ' ')
        fallback.remove_suffix(1);
    return copyValue(fallback, buffer, size);
}

BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                const char* fileName)
{
    // All three null asks Windows to flush its cache, which reports FALSE; there
    // is no cache here.
    if (section == nullptr || fileName == nullptr || *fileName == '\0')
        return FALSE;
    std::lock_guard<std::mutex> lock(g_profileMutex);
    return writeLocked(section, key, value, fileName);
}

BOOL WritePrivateProfileStructA(const char* section, const char* key, const void* data, UINT size,
                                const char* fileName)
{
    if (section == nullptr || key == nullptr || fileName == nullptr || *fileName == '\0')
        return FALSE;
    if (data == nullptr)
        return WritePrivateProfileStringA(section, key, nullptr, fileName);
    static const char kHex[] = "0123456789ABCDEF";
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string hex;
    hex.reserve(std::size_t(size) * 2 + 2);
    unsigned sum = 0;
    for (UINT i = 0; i < size; ++i) {
        hex += kHex[bytes[i] >> 4];
        hex += kHex[bytes[i] & 0x0F];
        sum += bytes[i];
    }
    hex += kHex[(sum >> 4) & 0x0F];
    hex += kHex[sum & 0x0F];
    std::lock_guard<std::mutex> lock(g_profileMutex);
    return writeLocked(section, key, hex.c_str(), fileName);
}

BOOL GetPrivateProfileStructA(const char* section, const char* key, void* data, UINT size,
                              const char* fileName)
{
    if (section == nullptr || key == nullptr || data == nullptr)
        return FALSE;
    std::string text;
    {
        std::lock_guard<std::mutex> lock(g_profileMutex);
        readFile(fileName, text);
    }
    const std::vector<Line> lines = parseLines(text);
    const auto value = lookUp(lines, section, key);
    if (!value || value->size() != std::size_t(size) * 2 + 2)
        return FALSE;
    std::vector<unsigned char> bytes(std::size_t(size) + 1);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int hi = hexDigit((*value)[2 * i]);
        const int lo = hexDigit((*value)[2 * i + 1]);
        if (hi < 0 || lo < 0)
            return FALSE;
        bytes[i] = static_cast<unsigned char>(hi * 16 + lo);
    }
    unsigned sum = 0;
    for (UINT i = 0; i < size; ++i)
        sum += bytes[i];
    if ((sum & 0xFF) != bytes[size])
        return FALSE;
    std::memcpy(data, bytes.data(), size);
    return TRUE;
}
