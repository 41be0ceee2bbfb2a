#include "store/IndexRepair.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "maker/Ek7Index/Ek7Index.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordFiler.h"
#include "store/RecordInfo.h"

namespace fs = std::filesystem;

namespace indexrepair {
namespace {

constexpr int kStartField = 8;

struct LiveLine {
    std::uint32_t recId = 0;
    std::uint32_t position = 0;
    const char* line = nullptr;  // kLineBytes bytes inside FamilyTexts
};

// The four family files, read whole; the live lines point into them.
using FamilyTexts = std::vector<std::string>;

bool readWhole(const std::string& path, std::string* text)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file)
        return false;
    const std::streamoff size = file.tellg();
    if (size <= 0)
        return false;
    text->resize(static_cast<std::size_t>(size));
    file.seekg(0);
    return static_cast<bool>(file.read(text->data(), size));
}

// The live lines of the four family files, ordered by RecID; where a RecID
// has two lines, the later one (a re-recorded record's) counts. This runs at
// every opening, so it reads each file in one go and copies no line.
std::vector<LiveLine> liveLines(const std::string& workspace, FamilyTexts* texts)
{
    std::vector<LiveLine> lines;
    for (const char* family : {components::kDictation, components::kMeeting, components::kPhone, components::kDiary}) {
        std::string& text = texts->emplace_back();
        if (!readWhole(components::workspacePath(workspace, family), &text))
            continue;
        for (std::size_t at = 0; at + indexline::kLineBytes <= text.size(); at += indexline::kLineBytes) {
            const char* line = text.data() + at;
            std::uint32_t number = 0;
            bool digits = true;
            for (int i = 0; i < 8 && digits; ++i) {
                digits = line[i] >= '0' && line[i] <= '9';
                number = number * 10 + static_cast<std::uint32_t>(line[i] - '0');
            }
            if (!digits || number == 0 || std::memcmp(line, indexline::kDeletedRecId, 8) == 0)
                continue;
            lines.push_back({number, static_cast<std::uint32_t>(at), line});
        }
    }
    // Lines are appended in RecID order, so the sort rarely has work to do.
    const auto byRecId = [](const LiveLine& a, const LiveLine& b) { return a.recId < b.recId; };
    if (!std::is_sorted(lines.begin(), lines.end(), byRecId))
        std::stable_sort(lines.begin(), lines.end(), byRecId);
    // Keep the last of equal RecIDs.
    std::vector<LiveLine> unique;
    unique.reserve(lines.size());
    for (const LiveLine& line : lines) {
        if (!unique.empty() && unique.back().recId == line.recId)
            unique.back() = line;
        else
            unique.push_back(line);
    }
    return unique;
}

bool hasLine(const std::vector<LiveLine>& lines, std::uint32_t recId)
{
    const auto found = std::lower_bound(lines.begin(), lines.end(), recId,
                                        [](const LiveLine& line, std::uint32_t id) { return line.recId < id; });
    return found != lines.end() && found->recId == recId;
}

// The search text the record was filed with; false when it cannot be read.
bool searchText(const std::string& storePath, std::uint32_t recId, const std::string& scratch, RecordInfo* info)
{
    const std::string recordFile = RecordFiler::recordFileName(recId);
    if (ExtractFile(storePath.c_str(), recordFile.c_str(), scratch.c_str()) != 0)
        return false;
    const std::string local = scratch + "/" + recordFile;
    std::vector<std::string> members;
    bool found = false;
    if (VXlistMembers(local.c_str(), &members) == 0)
        for (const std::string& member : members)
            if (member.size() > 4 && member.compare(member.size() - 4, 4, ".vxs") == 0) {
                found = recordinfo::readFromRecordFile(local, member, scratch, info) == 0;
                break;
            }
    std::error_code ignored;
    for (const auto& item : fs::directory_iterator(scratch, ignored))
        fs::remove(item.path(), ignored);
    return found;
}

}  // namespace

Result reconcile(const std::string& workspace, const std::string& storePath)
{
    Result result;
    const std::string index = components::workspacePath(workspace, components::kIndex);
    FamilyTexts familyTexts;
    const std::vector<LiveLine> lines = liveLines(workspace, &familyTexts);
    if (!lines.empty())
        result.highestRecId = lines.back().recId;
    std::vector<std::uint32_t> indexed;
    // An index from an older Navo gets what search needs (names, marks,
    // dates) derived from its entries before anything else reads it.
    if (Ek7IndexUpgrade(index.c_str()) != kEk7IndexOk)
        OutputDebugString("The index could not be brought up to date\n");
    if (Ek7IndexRecIds(index.c_str(), &indexed) != kEk7IndexOk) {
        // Missing, damaged or not an index: not this code's to rebuild.
        result.code = Ek7IndexLastError();
        return result;
    }
    for (std::uint32_t recId : indexed)
        result.highestRecId = std::max<long>(result.highestRecId, recId);

    Ek7IndexEntry removal{};
    removal.storeLocation1 = index.c_str();
    for (std::uint32_t recId : indexed)
        if (!hasLine(lines, recId)) {
            removal.recId = recId;
            if (Ek7IndexDel(&removal) != 0)
                ++result.removed;
        }

    struct Texts {
        std::string line, type, start, keywords, extra;
    };
    std::vector<Texts> texts;
    std::vector<std::pair<std::uint32_t, const LiveLine*>> missing;
    for (const LiveLine& line : lines)
        if (!std::binary_search(indexed.begin(), indexed.end(), line.recId))
            missing.emplace_back(line.recId, &line);
    if (missing.empty())
        return result;

    const std::string scratch = workspace + "/index-repair";
    std::error_code error;
    fs::create_directories(scratch, error);
    texts.reserve(missing.size());
    for (const auto& [recId, line] : missing) {
        RecordInfo info;
        if (!searchText(storePath, recId, scratch, &info))
            ++result.withoutSearchText;
        const std::string text(line->line, indexline::kLineBytes);
        texts.push_back({text, indexline::field(text, 2), indexline::field(text, kStartField),
                         info.keywords.substr(0, kEk7IndexKeywordsMax),
                         info.extraText.empty() ? " " : info.extraText.substr(0, kEk7IndexExtraTextMax)});
    }
    fs::remove_all(scratch, error);

    std::vector<Ek7IndexEntry> entries;
    entries.reserve(missing.size());
    for (std::size_t i = 0; i < missing.size(); ++i)
        entries.push_back({index.c_str(), storePath.c_str(), workspace.c_str(), missing[i].first,
                           texts[i].type.c_str(), texts[i].start.c_str(), texts[i].keywords.c_str(),
                           texts[i].extra.c_str(), missing[i].second->position, 0, texts[i].line.c_str()});
    if (Ek7IndexAddBatch(entries.data(), entries.size()) != 0)
        result.added = static_cast<int>(entries.size());
    else
        result.code = Ek7IndexLastError();
    return result;
}

Result reconcileAndStore(const std::string& workspace, const std::string& storePath)
{
    Result result = reconcile(workspace, storePath);
    if (result.added != 0 || result.removed != 0) {
        // Stored at once, so another crash does not mean another repair.
        const char* names[] = {components::kIndex};
        if (RPS_Put(storePath.c_str(), workspace.c_str(), names, 1) != 0)
            OutputDebugString("The repaired index could not be stored yet: it goes in at the next save\n");
    }
    return result;
}

}  // namespace indexrepair
