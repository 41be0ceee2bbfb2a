#include "maker/Ek7Srch/SearchLogRows.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr char kSpaceMark = '\xAC';

// Field n (from 1) of a line, separators counted one by one.
std::string_view fieldOf(std::string_view line, int n)
{
    std::size_t start = 0;
    for (int i = 1; i < n; ++i) {
        const std::size_t space = line.find(' ', start);
        if (space == std::string_view::npos)
            return {};
        start = space + 1;
    }
    std::size_t end = line.find(' ', start);
    if (end == std::string_view::npos)
        end = line.size();
    std::string_view field = line.substr(start, end - start);
    while (!field.empty() && (field.back() == '\n' || field.back() == '\r'))
        field.remove_suffix(1);
    return field;
}

std::string shown(std::string_view field)
{
    std::string text(field);
    std::replace(text.begin(), text.end(), kSpaceMark, ' ');
    return text;
}

// "dd/mm/yyyy¬hh:mm:ss" as date and time.
std::string_view datePart(std::string_view stamp, bool time)
{
    const std::size_t mark = stamp.find(kSpaceMark);
    if (mark == std::string_view::npos)
        return time ? std::string_view() : stamp;
    return time ? stamp.substr(mark + 1) : stamp.substr(0, mark);
}

}  // namespace

void SearchLogRows::reset(int searchType)
{
    m_searchType = searchType;
    m_text.clear();
    m_offsets.clear();
}

void SearchLogRows::add(std::string_view line)
{
    while (!line.empty() && (line.back() == ' ' || line.back() == '\n' || line.back() == '\r'))
        line.remove_suffix(1);
    m_offsets.push_back(static_cast<std::uint32_t>(m_text.size()));
    m_text.append(line);
    m_text.push_back('\n');
}

void SearchLogRows::reverse()
{
    std::reverse(m_offsets.begin(), m_offsets.end());
}

std::string_view SearchLogRows::line(std::size_t row) const
{
    const std::size_t start = m_offsets[row];
    const std::size_t end = m_text.find('\n', start);
    return std::string_view(m_text).substr(start, end - start);
}

int SearchLogRows::columnCount() const
{
    return m_searchType == kPhone ? 8 : 7;
}

std::string SearchLogRows::field(std::size_t row, int n) const
{
    return std::string(fieldOf(line(row), n));
}

std::string SearchLogRows::recId(std::size_t row) const
{
    return field(row, 1);
}

int SearchLogRows::quality(std::size_t row) const
{
    const std::string_view value = fieldOf(line(row), 12);
    return value.empty() ? -1 : std::atoi(std::string(value).c_str());
}

int SearchLogRows::image(std::size_t row) const
{
    if (m_searchType != kPhone)
        return 0;
    return std::atoi(std::string(fieldOf(line(row), 11)).c_str());
}

std::string SearchLogRows::cell(std::size_t row, int column) const
{
    const std::string_view l = line(row);
    if (column == fileNameColumn())
        return std::string(fieldOf(l, 1)) + ".vxz";
    if (column == qualityColumn())
        return std::string(fieldOf(l, 12));
    if (m_searchType == kPhone) {
        // Answer-machine messages keep the caller's number in field 5, calls
        // recorded by hand in field 4; both keep the name in field 3.
        const bool message = fieldOf(l, 2) == "2";
        switch (column) {
        case 0: return shown(fieldOf(l, 1));
        case 1: return shown(fieldOf(l, message ? 5 : 4));
        case 2: return shown(fieldOf(l, 3));
        case 3: return shown(datePart(fieldOf(l, 8), false));
        case 4: return shown(datePart(fieldOf(l, 8), true));
        case 5: return shown(fieldOf(l, 10));
        default: return {};
        }
    }
    if (m_searchType == kDiary) {
        switch (column) {
        case 0: return shown(fieldOf(l, 1));
        case 1: return shown(fieldOf(l, 5));
        case 2: return shown(fieldOf(l, 3));
        case 3: return shown(fieldOf(l, 4));
        case 4: return shown(fieldOf(l, 10));
        default: return {};
        }
    }
    switch (column) {
    case 0: return shown(fieldOf(l, 1));
    case 1: return shown(fieldOf(l, 5));
    case 2: return shown(datePart(fieldOf(l, 8), false));
    case 3: return shown(datePart(fieldOf(l, 8), true));
    case 4: return shown(fieldOf(l, 10));
    default: return {};
    }
}
