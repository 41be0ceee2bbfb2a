#pragma once
// One record file (a ZIP archive) open through libzip. Every entry name is
// checked before it is used as a file name, and entries are read to their end
// so that libzip verifies their CRC. An archive being made or changed is built
// by libzip in memory and written through platform/FileOps.h to a temporary
// file that replaces the original only when complete, so that its writes meet
// the same faults as every other writer's. Methods return the VX result codes
// of VXSAVE.h.

#include <zip.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vxsave {

// A member's bytes made ready for an archive ahead of it: deflated (raw
// DEFLATE) with the length and CRC of what they stand for, or kept as they
// are when deflating gains nothing. Any thread may make one.
struct PackedMember {
    std::vector<unsigned char> data;
    std::uint64_t size = 0;
    std::uint32_t crc = 0;
    bool stored = false;
};

class ZipArchive {
public:
    // Members up to this size are deflated whole in memory; a larger one is
    // deflated by libzip as it streams, so that it never sits in memory twice.
    static constexpr std::uint64_t kWholeMemberMax = 64ull * 1024 * 1024;

    static PackedMember pack(const char* bytes, std::size_t size);

    enum class Mode {
        Read,    // an existing archive, unchanged
        Modify,  // an existing archive to be changed and closed
        Create,  // a new archive, replacing any file of that name
    };

    ZipArchive() = default;
    ~ZipArchive();
    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    // 0, kVxErrRead (missing, unreadable, not a ZIP) or kVxErrDamaged.
    int open(const std::string& path, Mode mode);

    // All entry names in archive order; kVxErrDamaged when one of them is not
    // a plain file name (a zip-slip attempt or a folder entry).
    int names(std::vector<std::string>* out) const;
    // The index of the entry, or -1.
    std::int64_t find(const std::string& name) const;
    int sizeOf(std::int64_t index, std::uint64_t* size) const;

    // Writes the entry's data to fd. kVxErrDamaged for a bad CRC or bad
    // compressed data, kVxErrRead when the archive cannot be read,
    // kVxErrExtract when fd cannot be written.
    int extract(std::int64_t index, int fd) const;
    // Reads every entry to its end, so that a damaged one is found before
    // the archive is rewritten around it.
    int verify() const;

    // Adds the file at path as entry name, replacing an entry of that name.
    // The file is read now and deflated with libdeflate (libzip then copies
    // the deflated bytes as they are); one too large to hold in memory is
    // deflated by libzip as the archive is written. Data that does not shrink
    // is stored. kVxErrMissingFile when path is no file, kVxErrWrite otherwise.
    int putFile(const std::string& name, const std::string& path);
    // The same for bytes in memory, and for bytes packed already.
    int putBytes(const std::string& name, const char* bytes, std::size_t size);
    int putPacked(const std::string& name, PackedMember member);
    int remove(std::int64_t index);
    std::int64_t count() const;

    // Writes the changes; kVxErrWrite on failure (the original file then
    // stays as it was). Afterwards the archive is closed.
    int close();

private:
    int putStreamed(const std::string& name, const std::string& path);
    // The member's index, or -1 (the source freed) when it cannot be added.
    std::int64_t add(const std::string& name, zip_source_t* source);
    // The archive from memory to its file, in place of the old one.
    int writeOut();

    zip_t* m_zip = nullptr;
    // The archive in memory, for Modify and Create.
    zip_source_t* m_memory = nullptr;
    std::string m_path;
};

}  // namespace vxsave
