#pragma once
// Appends index lines to a family file in the workspace and takes them back
// again unless keep() is called: a save that fails after the append leaves
// the family file byte for byte as it was. The file is write-locked while
// the append is pending, so two savers (the answer machine and a recorder)
// never interleave their lines.

#include "platform/FileOps.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace vxsave {

class FamilyAppend {
public:
    // Length of one index line: 400 characters and "\n".
    static constexpr std::size_t kLineSize = 401;

    FamilyAppend() = default;
    ~FamilyAppend();
    FamilyAppend(const FamilyAppend&) = delete;
    FamilyAppend& operator=(const FamilyAppend&) = delete;

    // Opens an existing family file and waits for its lock. false when it is
    // missing or cannot be opened: a family file is never made up here, since
    // a fresh one would replace the store's copy and lose its lines.
    bool open(const std::string& path);

    // Writes the line at the end and reports where it starts; called again,
    // the next line goes after it.
    bool append(const char* line, std::uint64_t* position);

    void keep() { m_keep = true; }
    // The file's length before the append: what the store's copy holds when
    // it is in step with the workspace.
    std::uint64_t originalSize() const { return m_originalSize; }

private:
    fileops::UniqueFd m_fd;
    std::uint64_t m_originalSize = 0;
    std::uint64_t m_size = 0;  // with the lines appended
    bool m_written = false;
    bool m_keep = false;
};

}  // namespace vxsave
