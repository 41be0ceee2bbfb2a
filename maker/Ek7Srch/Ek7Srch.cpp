#include "maker/Ek7Srch/Ek7Srch.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kLineBytes = 401;
constexpr long kDeadRecId = 99999999;
constexpr std::size_t kLinesPerRead = 2048;

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

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
    rows->reset(searchType);
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(indexPath, "rb"));
    if (!file)
        return 0;
    // Whole lines a read, into one buffer used again and again: a long list
    // costs one pass over the file, and only the lines kept are copied.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    std::vector<char> buffer(kLineBytes * kLinesPerRead + 1);
    std::size_t got;
    while ((got = std::fread(buffer.data(), 1, kLineBytes * kLinesPerRead, file.get())) > 0) {
        buffer[got] = '\0';
        // A torn last line is not a record.
        for (std::size_t offset = 0; offset + kLineBytes <= got; offset += kLineBytes) {
            long recId = 0;
            int type = 0;
            if (lineHead(buffer.data() + offset, &recId, &type) && recId > 0 && recId < kDeadRecId &&
                SearchTypeMatches(searchType, type))
                rows->add(std::string_view(buffer.data() + offset, kLineBytes));
        }
        if (got % kLineBytes != 0)
            break;
    }
    rows->reverse();
    return static_cast<int>(rows->size());
}
