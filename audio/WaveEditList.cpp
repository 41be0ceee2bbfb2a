#include "audio/WaveEditList.h"

#include <algorithm>

void WaveEditList::clear()
{
    m_pieces.clear();
    m_length = 0;
}

std::size_t WaveEditList::split(std::uint64_t pos)
{
    std::uint64_t start = 0;
    for (std::size_t i = 0; i < m_pieces.size(); ++i) {
        if (pos == start)
            return i;
        const std::uint64_t end = start + m_pieces[i].length;
        if (pos < end) {
            Piece tail = m_pieces[i];
            const std::uint64_t head = pos - start;
            m_pieces[i].length = head;
            tail.offset += head;
            tail.length -= head;
            m_pieces.insert(m_pieces.begin() + static_cast<std::ptrdiff_t>(i) + 1, tail);
            return i + 1;
        }
        start = end;
    }
    return m_pieces.size();
}

void WaveEditList::join(std::size_t index)
{
    auto continues = [](const Piece& a, const Piece& b) {
        return a.source == b.source && a.offset + a.length == b.offset;
    };
    std::size_t i = index > 0 ? index - 1 : 0;
    while (i + 1 < m_pieces.size() && i <= index + 1) {
        if (continues(m_pieces[i], m_pieces[i + 1])) {
            m_pieces[i].length += m_pieces[i + 1].length;
            m_pieces.erase(m_pieces.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        } else {
            ++i;
        }
    }
}

void WaveEditList::insert(std::uint64_t pos, const Piece& piece)
{
    if (piece.length == 0)
        return;
    pos = std::min(pos, m_length);
    const std::size_t at = split(pos);
    m_pieces.insert(m_pieces.begin() + static_cast<std::ptrdiff_t>(at), piece);
    m_length += piece.length;
    join(at);
}

void WaveEditList::erase(std::uint64_t pos, std::uint64_t count)
{
    if (pos >= m_length || count == 0)
        return;
    count = std::min(count, m_length - pos);
    const std::size_t first = split(pos);
    const std::size_t last = split(pos + count);
    m_pieces.erase(m_pieces.begin() + static_cast<std::ptrdiff_t>(first),
                   m_pieces.begin() + static_cast<std::ptrdiff_t>(last));
    m_length -= count;
    join(first);
}

void WaveEditList::overwrite(std::uint64_t pos, const Piece& piece)
{
    erase(pos, piece.length);
    insert(pos, piece);
}
