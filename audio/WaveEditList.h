// The sound of a media-control device as a list of pieces of files: the
// wave file it was opened on and the scratch file new recordings stream to.
// Inserting, overwriting and deleting only rearrange pieces, so an edit in
// an hour of CD sound moves no sound at all and memory stays small however
// long the recording; the bytes are copied once, when the sound is saved.
#pragma once

#include <cstdint>
#include <vector>

class WaveEditList {
public:
    struct Piece {
        int source = 0;             // which file (the device's numbering)
        std::uint64_t offset = 0;   // where in that file
        std::uint64_t length = 0;   // bytes
    };

    std::uint64_t length() const { return m_length; }
    const std::vector<Piece>& pieces() const { return m_pieces; }
    void clear();

    // Puts piece at pos (clipped to the end); what was at pos moves later.
    void insert(std::uint64_t pos, const Piece& piece);
    // Removes count bytes from pos (clipped to the end).
    void erase(std::uint64_t pos, std::uint64_t count);
    // Puts piece at pos in place of as many bytes as it holds (fewer at the
    // end, where the sound grows instead).
    void overwrite(std::uint64_t pos, const Piece& piece);

    // Calls visit(source, offset, length) for each stretch of files that
    // makes up count bytes from pos, in order.
    template <typename Visit>
    void forEach(std::uint64_t pos, std::uint64_t count, Visit visit) const
    {
        std::uint64_t start = 0;
        for (const Piece& p : m_pieces) {
            const std::uint64_t end = start + p.length;
            if (count == 0)
                return;
            if (pos < end) {
                const std::uint64_t skip = pos - start;
                const std::uint64_t take = p.length - skip < count ? p.length - skip : count;
                visit(p.source, p.offset + skip, take);
                pos += take;
                count -= take;
            }
            start = end;
        }
    }

private:
    // Makes a piece boundary at pos; the index of the first piece from pos.
    std::size_t split(std::uint64_t pos);
    // Joins neighbours around index that continue each other in one file.
    void join(std::size_t index);

    std::vector<Piece> m_pieces;
    std::uint64_t m_length = 0;
};
