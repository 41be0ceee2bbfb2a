// A file on disk for the audio code: raw recording files, the media-control
// device's scratch file, RIFF files (through Mmio.h). RAII: the destructor
// closes it.
//
// Writes are all or nothing when they append: a write at the end of the file
// that fails (a full disk, a quota) is taken back, so the file keeps exactly
// the bytes that callers were told were written.
//
// Every change goes through platform/FileOps.h, so the seam's fault plan (a
// disk full after so many bytes, a failing Nth write) reaches the waves too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class DiskFile {
public:
    enum class Mode {
        Read,         // existing file, read only
        ReadWrite,    // existing file, read and write, position 0
        OpenAlways,   // read and write, created when missing, position 0
        CreateAlways, // read and write, created or truncated
    };

    DiskFile() = default;
    ~DiskFile();
    DiskFile(DiskFile&& other) noexcept;
    DiskFile& operator=(DiskFile&& other) noexcept;
    DiskFile(const DiskFile&) = delete;
    DiskFile& operator=(const DiskFile&) = delete;

    bool open(const std::string& path, Mode mode);
    // A new empty file in folder (the system's temporary folder when empty)
    // that has no name: it disappears when closed, or if the process dies.
    bool openAnonymous(const std::string& folder = std::string());
    void close();
    bool isOpen() const { return m_fd >= 0; }

    // At the current position; fewer bytes at the end of the file, 0 on error.
    std::size_t read(void* buffer, std::size_t size);
    std::size_t readAt(std::uint64_t offset, void* buffer, std::size_t size) const;
    // At the current position; false when not every byte could be written.
    bool write(const void* data, std::size_t size);

    bool seek(std::uint64_t offset);
    bool seekToEnd();
    std::uint64_t tell() const;
    std::uint64_t size() const;
    bool truncate(std::uint64_t size);
    // Puts what was written on the disk itself.
    bool sync();

    // The system's text for the last failure of this file ("No space left on
    // device").
    const std::string& errorText() const { return m_errorText; }
    // For byte-range locks (platform/FileLock.h).
    int descriptor() const { return m_fd; }

private:
    void fail(int error);

    int m_fd = -1;
    std::string m_errorText;
};
