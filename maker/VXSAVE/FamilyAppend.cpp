#include "maker/VXSAVE/FamilyAppend.h"

#include <cerrno>
#include <cstring>

namespace vxsave {

FamilyAppend::~FamilyAppend()
{
    if (m_written && !m_keep) {
        // ftruncate can only fail here for reasons that also made the save
        // fail (an I/O error); there is nothing better to do than try.
        const int ignored = fileops::truncateFile(m_fd.get(), m_originalSize);
        (void)ignored;
    }
    // Closing the descriptor releases the lock.
}

bool FamilyAppend::open(const std::string& path)
{
    // Store compression renames a rewritten family file into place while it
    // holds the old one's lock; a lock won on the old file is a lock on lines
    // nobody reads any more, so the name is opened again.
    for (;;) {
        m_fd.reset(fileops::openFile(path, fileops::Access::ReadWrite));
        if (!m_fd.valid())
            return false;
        if (fileops::lockWholeFile(m_fd.get()) != 0)
            return false;
        fileops::FileInfo info;
        fileops::FileInfo named;
        if (fileops::infoOf(m_fd.get(), &info) != 0 || !info.regular)
            return false;
        if (fileops::infoOf(path, &named) != 0)
            return false;
        if (named.device == info.device && named.inode == info.inode) {
            m_originalSize = info.size;
            m_size = info.size;
            return true;
        }
    }
}

bool FamilyAppend::append(const char* line, std::uint64_t* position)
{
    std::uint64_t at = m_size;
    m_written = true;
    if (at == 0) {
        // A caller treats a returned position of 0 as failure, yet the first
        // line of an empty family file would sit at byte 0. So an empty file
        // first gets one dead line (RecID 99999999, the deleted-record mark,
        // the rest blank): no live record ever stands at position 0, the
        // position returned on success is never 0, and replacing a line,
        // which also takes 0 to mean failure, stays consistent. Compression
        // drops the dead line like any other deleted record.
        char dead[kLineSize];
        std::memset(dead, ' ', sizeof dead);
        std::memcpy(dead, "99999999", 8);
        dead[kLineSize - 1] = '\n';
        if (fileops::pwriteAll(m_fd.get(), dead, sizeof dead, 0) != 0)
            return false;
        at = kLineSize;
    }
    if (fileops::pwriteAll(m_fd.get(), line, kLineSize, at) != 0)
        return false;
    m_size = at + kLineSize;
    *position = at;
    return true;
}

}  // namespace vxsave
