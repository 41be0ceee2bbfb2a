#include "maker/Ek7Srch/Ek7Srch.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::size_t kLineBytes = 401;
constexpr long kDeadRecId = 99999999;

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

bool readWhole(const char* path, std::string* text)
{
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "rb"));
    if (!file)
        return false;
    char buffer[1 << 16];
    std::size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0)
        text->append(buffer, got);
    return true;
}

// The RecID and type of a line, read without copying.
bool lineHead(const char* line, long* recId, int* type)
{
    char* end = nullptr;
    *recId = std::strtol(line, &end, 10);
    if (end == line || *end != ' ')
        return false;
    *type = static_cast<int>(std::strtol(end + 1, &end, 10));
    return *end == ' ';
}

}  // namespace

bool SearchTypeMatches(int searchType, int recordType)
{
    switch (searchType) {
    case SearchLogRows::kDictation: return recordType == 0 || recordType == 5;
    case SearchLogRows::kMeeting: return recordType == 1;
    case SearchLogRows::kPhone: return recordType == 2 || recordType == 3;
    case SearchLogRows::kDiary: return recordType == 4;
    case SearchLogRows::kTranslation: return recordType >= 10 && recordType <= 16;
    case SearchLogRows::kVideo: return recordType == 9;
    default: return false;
    }
}

int SearchLog(const char* indexPath, int searchType, SearchLogRows* rows)
{
    std::string text;
    const bool read = readWhole(indexPath, &text);
    rows->reset(searchType, std::move(text));
    if (!read)
        return 0;
    const std::string& all = rows->text();
    // Whole lines only: a torn last line is not a record.
    for (std::size_t offset = 0; offset + kLineBytes <= all.size(); offset += kLineBytes) {
        long recId = 0;
        int type = 0;
        if (lineHead(all.data() + offset, &recId, &type) && recId > 0 && recId < kDeadRecId &&
            SearchTypeMatches(searchType, type))
            rows->add(static_cast<std::uint32_t>(offset));
    }
    rows->reverse();
    return static_cast<int>(rows->size());
}
