#include "telephony/PhoneBook.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "maker/ZOLO/ZOLOREP1.h"
#include "maker/ZOLO/ZOLOWORD.h"
#include "platform/FileLock.h"
#include "platform/FileOps.h"

namespace {

const std::string kBlank = " ";
const std::string kStoredBlank = "\xAC";  // "¬" in the program's code page

std::string field(const char* line, int n)
{
    std::string out(std::char_traits<char>::length(line) + 1, '\0');
    out.resize(static_cast<std::size_t>(word_find(line, out.data(), n)));
    return strstrrep(out, kStoredBlank, kBlank);
}

}  // namespace

PhoneBook::PhoneBook(std::string path, std::string tempPath) : m_path(std::move(path)), m_tempPath(std::move(tempPath))
{
}

std::string PhoneBook::buildLine(const std::string& name, const std::string& number)
{
    std::string line = strstrrep(name, kBlank, kStoredBlank) + " " + strstrrep(number, kBlank, kStoredBlank) + " ";
    if (line.size() <= 99)
        line.resize(100, ' ');
    line += '\n';
    // Overlong: the first 101 characters, the line feed cut off.
    line.resize(kLineSize, ' ');
    return line;
}

std::string PhoneBook::offsetText(std::uint64_t offset)
{
    char text[32];
    std::snprintf(text, sizeof text, "%020llu", static_cast<unsigned long long>(offset));
    return text;
}

int PhoneBook::add(const std::string& name, const std::string& number) const
{
    fileops::UniqueFd file(fileops::openFile(m_path, fileops::Access::ReadWriteCreate, 0644));
    if (!file.valid())
        return kWriteError;
    fileops::FileInfo info;
    if (fileops::infoOf(file.get(), &info) != 0)
        return kWriteError;
    const std::uint64_t end = info.size;
    const std::string line = buildLine(name.substr(0, kFieldMax), number.substr(0, kFieldMax));
    // The length counts from the file's start, as it always has.
    const FileRangeLock lock(file.get(), end, end + kLineSize);
    if (fileops::pwriteAll(file.get(), line.data(), line.size(), end) != 0) {
        // Never leave half a line: every later offset would be off.
        fileops::truncateFile(file.get(), end);
        return kWriteError;
    }
    return file.close() == 0 ? 0 : kWriteError;
}

int PhoneBook::appendLines(const std::string& lines, std::uint64_t* end) const
{
    fileops::UniqueFd file(fileops::openFile(m_path, fileops::Access::ReadWriteCreate, 0644));
    fileops::FileInfo info;
    if (!file.valid() || fileops::infoOf(file.get(), &info) != 0)
        return kWriteError;
    *end = info.size;
    const FileRangeLock lock(file.get(), info.size, info.size + lines.size());
    if (fileops::pwriteAll(file.get(), lines.data(), lines.size(), info.size) != 0) {
        fileops::truncateFile(file.get(), info.size);
        return kWriteError;
    }
    return file.close() == 0 ? 0 : kWriteError;
}

bool PhoneBook::isLine(const char* line)
{
    for (std::size_t i = 0; i + 1 < kLineSize; ++i)
        if (line[i] == '\n' || line[i] == '\0')
            return false;
    return line[kLineSize - 1] != '\0';
}

int PhoneBook::edit(std::uint64_t offset, const std::string& name, const std::string& number) const
{
    fileops::UniqueFd file(fileops::openFile(m_path, fileops::Access::ReadWriteCreate, 0644));
    if (!file.valid())
        return kWriteError;
    const std::string line = buildLine(name, number);
    const FileRangeLock lock(file.get(), offset, offset + kLineSize);
    if (fileops::pwriteAll(file.get(), line.data(), line.size(), offset) != 0)
        return kWriteError;
    return file.close() == 0 ? 0 : kWriteError;
}

int PhoneBook::remove(std::uint64_t offset) const
{
    std::string content;
    if (fileops::readWholeFile(m_path, &content) != 0)
        return kWriteError;
    std::string kept;
    kept.reserve(content.size());
    for (std::uint64_t at = 0; at < content.size(); at += kLineSize)
        if (at != offset)
            kept.append(content, static_cast<std::size_t>(at), kLineSize);
    // The copy in "tempphone.vxb" first, then over the phone book; the
    // phone book itself is replaced in one step, only by a whole copy.
    if (fileops::writeWholeFile(m_tempPath, kept.data(), kept.size()) != 0) {
        fileops::removeFile(m_tempPath);
        return kWriteError;
    }
    std::string copied;
    int result = fileops::readWholeFile(m_tempPath, &copied);
    fileops::TempFile replacement;
    if (result == 0)
        result = replacement.create(fileops::parentFolderOf(m_path), fileops::baseNameOf(m_path));
    if (result == 0)
        result = fileops::writeAll(replacement.fd(), copied.data(), copied.size());
    if (result == 0)
        result = replacement.finish(true);
    if (result == 0)
        result = replacement.publish();
    fileops::removeFile(m_tempPath);
    return result == 0 ? 0 : kWriteError;
}

std::vector<PhoneBookEntry> PhoneBook::load() const
{
    fileops::UniqueFd file(fileops::openFile(m_path, fileops::Access::Read));
    if (!file.valid())
        return {};
    // The 101-byte lines of the first 5000 entries, read in one go: a read
    // per line costs more than the whole list takes to show.
    std::string bytes(kMaxEntries * kLineSize, '\0');
    std::size_t got = 0;
    if (fileops::readUpTo(file.get(), bytes.data(), bytes.size(), &got) != 0)
        return {};
    bytes.resize(got);
    return entriesOf(bytes);
}

std::vector<PhoneBookEntry> PhoneBook::entriesOf(const std::string& bytes)
{
    std::vector<PhoneBookEntry> entries;
    entries.reserve(bytes.size() / kLineSize + 1);
    char line[kLineSize + 1];
    for (std::size_t at = 0; at < bytes.size(); at += kLineSize) {
        // A torn last line still counts, as its own short read did.
        const std::size_t size = std::min(kLineSize, bytes.size() - at);
        std::memcpy(line, bytes.data() + at, size);
        line[size] = '\0';
        PhoneBookEntry entry;
        entry.name = field(line, 1);
        entry.number = field(line, 2);
        entry.offset = at;
        entries.push_back(std::move(entry));
    }
    return entries;
}
