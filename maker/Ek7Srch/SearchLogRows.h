// The rows SearchLog found: the lines that belong to the list, newest first,
// kept without their padding one after another, each ended by "\n". Cells
// are cut from a line on demand, as the list shows them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class SearchLogRows {
public:
    // Search types: which family of record types a list shows.
    static constexpr int kDictation = 1;
    static constexpr int kMeeting = 2;
    static constexpr int kPhone = 3;
    static constexpr int kDiary = 4;
    static constexpr int kTranslation = 5;
    static constexpr int kVideo = 9;

    // The image of a new answer-machine message.
    static constexpr int kNewMessageImage = 7;

    void reset(int searchType);
    // Keeps a line (its padding is dropped).
    void add(std::string_view line);
    void reverse();

    int searchType() const { return m_searchType; }
    std::size_t size() const { return m_offsets.size(); }
    std::string_view line(std::size_t row) const;

    // Visible columns and the two hidden ones (file name, quality).
    int columnCount() const;
    int fileNameColumn() const { return columnCount() - 2; }
    int qualityColumn() const { return columnCount() - 1; }

    // A cell as the list shows it: 0xAC back to spaces.
    std::string cell(std::size_t row, int column) const;
    std::string recId(std::size_t row) const;
    // The record's recording quality; -1 when the line has none.
    int quality(std::size_t row) const;
    // The row's image: for phone records the number in field 11 (7 for a new
    // message), otherwise 0.
    int image(std::size_t row) const;

private:
    std::string field(std::size_t row, int n) const;

    int m_searchType = 0;
    std::string m_text;
    std::vector<std::uint32_t> m_offsets;
};
