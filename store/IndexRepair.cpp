#include "store/IndexRepair.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
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
    std::uint32_t position = 0;
    std::string line;
};

// RecID -> its live line, over the four family files.
std::map<std::uint32_t, LiveLine> liveLines(const std::string& workspace)
{
    std::map<std::uint32_t, LiveLine> lines;
    for (const char* family : {components::kDictation, components::kMeeting, components::kPhone, components::kDiary}) {
        std::ifstream file(components::workspacePath(workspace, family), std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        for (std::size_t at = 0; at + indexline::kLineBytes <= text.size(); at += indexline::kLineBytes) {
            const std::string recId = text.substr(at, 8);
            if (recId == indexline::kDeletedRecId ||
                !std::all_of(recId.begin(), recId.end(), [](char c) { return c >= '0' && c <= '9'; }))
                continue;
            const auto number = static_cast<std::uint32_t>(std::strtoul(recId.c_str(), nullptr, 10));
            if (number != 0)
                lines[number] = {static_cast<std::uint32_t>(at), text.substr(at, indexline::kLineBytes)};
        }
    }
    return lines;
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
    const std::map<std::uint32_t, LiveLine> lines = liveLines(workspace);
    if (!lines.empty())
        result.highestRecId = lines.rbegin()->first;
    std::vector<std::uint32_t> indexed;
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
        if (lines.find(recId) == lines.end()) {
            removal.recId = recId;
            if (Ek7IndexDel(&removal) != 0)
                ++result.removed;
        }

    struct Texts {
        std::string type, start, keywords, extra;
    };
    std::vector<Texts> texts;
    std::vector<std::pair<std::uint32_t, const LiveLine*>> missing;
    for (const auto& [recId, line] : lines)
        if (!std::binary_search(indexed.begin(), indexed.end(), recId))
            missing.emplace_back(recId, &line);
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
        texts.push_back({indexline::field(line->line, 2), indexline::field(line->line, kStartField),
                         info.keywords.substr(0, kEk7IndexKeywordsMax),
                         info.extraText.empty() ? " " : info.extraText.substr(0, kEk7IndexExtraTextMax)});
    }
    fs::remove_all(scratch, error);

    std::vector<Ek7IndexEntry> entries;
    entries.reserve(missing.size());
    for (std::size_t i = 0; i < missing.size(); ++i)
        entries.push_back({index.c_str(), storePath.c_str(), workspace.c_str(), missing[i].first,
                           texts[i].type.c_str(), texts[i].start.c_str(), texts[i].keywords.c_str(),
                           texts[i].extra.c_str(), missing[i].second->position, 0, missing[i].second->line.c_str()});
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
