#include "store/StoreCompressor.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "maker/Ek7Index/Ek7Index.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace storecompress {
namespace {

constexpr std::uint32_t kDeadFrom = 99999999;
constexpr std::size_t kReadBlock = indexline::kLineBytes * 2048;
constexpr std::size_t kWriteBlock = 256 * 1024;
constexpr int kStartField = 8;
constexpr int kEndField = 9;
constexpr int kKeywordsField = 5;  // of an Ek7IndexRead record, from 0

// Field 1 as a number; 0 when it is not one (such a line is kept as it is
// and has no index entry to move).
std::uint32_t recIdOf(const char* line)
{
    const char* end = static_cast<const char*>(std::memchr(line, ' ', indexline::kLineBytes));
    const std::size_t length = end == nullptr ? indexline::kLineBytes : static_cast<std::size_t>(end - line);
    if (length == 0 || length > 10)
        return 0;
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (line[i] < '0' || line[i] > '9')
            return 0;
        number = number * 10 + static_cast<std::uint64_t>(line[i] - '0');
    }
    return number >= kDeadFrom ? kDeadFrom : static_cast<std::uint32_t>(number);
}

// The dead line a new family file starts with: no live line stands at
// position 0, which the callers that file and replace lines take for
// failure. A rewritten file keeps one when it had one and keeps any line.
std::string guardLine()
{
    std::string line(indexline::kLineBytes, ' ');
    std::memcpy(line.data(), indexline::kDeletedRecId, 8);
    line.back() = '\n';
    return line;
}

struct Moved {
    std::uint32_t recId;
    std::uint32_t oldPosition;
    std::uint32_t newPosition;
    std::string line;
};

// The index entries that tell the new (or, to undo, the old) positions.
class IndexMoves {
public:
    IndexMoves(const std::string& workspace, const std::string& storePath)
        : m_index(components::workspacePath(workspace, components::kIndex)), m_store(storePath),
          m_workspace(workspace)
    {
    }

    // Reads each record's index data; a line whose record has no entry is
    // left for the repair at the next opening, which rebuilds it from the
    // line at its new place. False when the index cannot be read.
    bool prepare(const std::vector<Moved>& moved)
    {
        std::vector<std::uint32_t> recIds;
        recIds.reserve(moved.size());
        for (const Moved& line : moved)
            recIds.push_back(line.recId);
        // Ek7IndexRead for each line, on one connection.
        std::vector<std::string> records;
        if (Ek7IndexReadBatch(recIds.data(), recIds.size(), m_index.c_str(), &records) != kEk7IndexOk)
            return false;
        std::vector<char> field(EK7_INDEX_RECORD_MAX, '\0');
        m_texts.reserve(moved.size());
        for (std::size_t i = 0; i < moved.size(); ++i) {
            const Moved& line = moved[i];
            if (records[i].empty()) {
                OutputDebugString("No index entry to move for " + indexline::recIdText(line.recId) + "\n");
                continue;
            }
            Ek7IndexField(kKeywordsField, records[i].c_str(), field.data());
            std::string start = indexline::field(line.line, kStartField) + " " + indexline::field(line.line, kEndField);
            if (start.size() > kEk7IndexStartTimeMax)
                start.resize(kEk7IndexStartTimeMax);
            m_texts.push_back({indexline::field(line.line, 2), std::move(start), field.data()});
            m_lines.push_back(&line);
        }
        return true;
    }

    bool apply(bool toNew)
    {
        if (m_lines.empty())
            return true;
        std::vector<Ek7IndexEntry> entries;
        entries.reserve(m_lines.size());
        for (std::size_t i = 0; i < m_lines.size(); ++i)
            entries.push_back({m_index.c_str(), m_store.c_str(), m_workspace.c_str(), m_lines[i]->recId,
                               m_texts[i].type.c_str(), m_texts[i].start.c_str(), m_texts[i].keywords.c_str(),
                               nullptr, toNew ? m_lines[i]->newPosition : m_lines[i]->oldPosition, 1, nullptr});
        return Ek7IndexUpdBatch(entries.data(), entries.size()) != 0;
    }

private:
    struct Texts {
        std::string type, start, keywords;
    };
    std::string m_index;
    std::string m_store;
    std::string m_workspace;
    std::vector<Texts> m_texts;
    std::vector<const Moved*> m_lines;
};

}  // namespace

int compressFamilyFile(const std::string& workspace, const std::string& storePath, const std::string& familyName,
                       FamilyCounts* counts)
{
    const std::string familyPath = components::workspacePath(workspace, familyName);
    const std::string tempPath = components::workspacePath(workspace, kTempName);
    // Held until the rewrite is in place: an append waits for it.
    fileops::UniqueFd family(fileops::openFile(familyPath, fileops::Access::ReadWrite));
    if (!family.valid() || fileops::lockWholeFile(family.get()) != 0)
        return kCannotReadFamily;
    fileops::UniqueFd temp(fileops::openFile(tempPath, fileops::Access::CreateTruncate));
    if (!temp.valid())
        return kNoTemporaryFile;
    const auto fail = [&](int code) {
        temp.reset();
        fileops::removeFile(tempPath);
        return code;
    };

    FamilyCounts counted;
    std::vector<Moved> moved;
    std::string pending;
    std::string block(kReadBlock, '\0');
    std::string carry;  // a line split between two reads
    std::uint64_t read = 0;
    std::uint64_t written = 0;
    bool guardPending = false;
    for (;;) {
        std::size_t got = 0;
        if (fileops::readUpTo(family.get(), block.data(), block.size(), &got) != 0)
            return fail(kCannotReadFamily);
        if (got == 0)
            break;
        carry.append(block, 0, got);
        std::size_t at = 0;
        for (; at + indexline::kLineBytes <= carry.size(); at += indexline::kLineBytes) {
            const char* line = carry.data() + at;
            const std::uint32_t recId = recIdOf(line);
            if (recId == kDeadFrom) {
                guardPending = guardPending || read == 0;
                ++counted.dropped;
            } else {
                if (guardPending) {
                    pending += guardLine();
                    written += indexline::kLineBytes;
                    guardPending = false;
                }
                if (recId != 0)
                    moved.push_back({recId, static_cast<std::uint32_t>(read), static_cast<std::uint32_t>(written),
                                     std::string(line, indexline::kLineBytes)});
                pending.append(line, indexline::kLineBytes);
                written += indexline::kLineBytes;
                ++counted.kept;
            }
            read += indexline::kLineBytes;
            if (pending.size() >= kWriteBlock) {
                if (fileops::writeAll(temp.get(), pending.data(), pending.size()) != 0)
                    return fail(kNoTemporaryFile);
                pending.clear();
            }
        }
        carry.erase(0, at);
    }
    // A piece of a line at the end cannot be read as a record; it is kept
    // as it is rather than lost.
    if (!carry.empty()) {
        OutputDebugString("Family file " + familyName + " ends in part of a line; kept\n");
        pending += carry;
    }
    if (fileops::writeAll(temp.get(), pending.data(), pending.size()) != 0 || temp.close() != 0)
        return fail(kNoTemporaryFile);

    IndexMoves index(workspace, storePath);
    if (!index.prepare(moved) || !index.apply(true))
        return fail(kIndexNotUpdated);
    if (fileops::renameFile(tempPath, familyPath) != 0) {
        // The index must point into the file that stays.
        if (!index.apply(false))
            OutputDebugString("Index positions of " + familyName + " could not be put back\n");
        return fail(kNoTemporaryFile);
    }
    if (counts != nullptr)
        *counts = counted;
    return 0;
}

}  // namespace storecompress

namespace {

constexpr const char* kStatusTexts[StoreCompressor::kTextCount] = {
    "Compress components",
    "Remove unwanted space from data store",
    "Compressing your Message folder",
    "Compressing your Meeting folder",
    "Compressing your Phone folder",
    "Compressing your Diary folder",
    "Components have now been compressed",
    "1 or more components failed to be compressed - Check Error Log",
    "Removing unwanted space from your data store",
    "Unwanted space has been removed from your data store",
};

constexpr const char* kErrorRows[] = {
    "Error compressing Message folder",
    "Error compressing Meetings folder",
    "Error compressing Phone folder",
    "Error compressing Diary folder",
    "Error removing wasted space from Data Store",
};

constexpr int kSpaceRow = 5;

// The family files of steps 1 to 4.
const char* const kFamilies[] = {components::kDictation, components::kMeeting, components::kPhone,
                                 components::kDiary};

}  // namespace

const char* StoreCompressor::statusText(int text)
{
    return text >= 0 && text < kTextCount ? kStatusTexts[text] : "";
}

const char* StoreCompressor::errorRowText(int row)
{
    return row >= 1 && row <= kSpaceRow ? kErrorRows[row - 1] : "";
}

StoreCompressor::StoreCompressor(std::string workspace, std::string storePath, Save save, Post post)
    : m_workspace(std::move(workspace)), m_storePath(std::move(storePath)), m_save(std::move(save)),
      m_post(std::move(post))
{
    for (auto& event : m_events)
        event = std::make_unique<Event>(true, false);
}

StoreCompressor::~StoreCompressor()
{
    wait();
}

void StoreCompressor::start()
{
    if (m_thread.joinable())
        return;
    m_thread = std::thread([this] { run(); });
    m_events[0]->set();
}

void StoreCompressor::wait()
{
    if (m_thread.joinable())
        m_thread.join();
}

void StoreCompressor::run()
{
    for (int number = 1; number <= kSteps; ++number) {
        // The events are the workers's only schedule: a step starts when
        // the one before has ended, never earlier.
        m_events[number - 1]->wait(INFINITE);
        m_events[number - 1]->reset();
        step(number);
        m_events[number]->set();
    }
}

void StoreCompressor::status(int line, int text, int state)
{
    m_post(kMsgStatus, static_cast<WPARAM>(line), statusLParam(text, state));
}

void StoreCompressor::failed(int row)
{
    for (int already : m_failedRows)
        if (already == row)
            return;
    m_failedRows.push_back(row);
    m_post(kMsgErrorRow, static_cast<WPARAM>(row), 0);
}

int StoreCompressor::putCompressedFamilies()
{
    std::vector<const char*> names;
    for (const std::string& name : m_compressed)
        names.push_back(name.c_str());
    names.push_back(components::kIndex);
    return RPS_Put(m_storePath.c_str(), m_workspace.c_str(), names.data(), static_cast<int>(names.size()));
}

void StoreCompressor::step(int number)
{
    if (number <= 4) {
        status(1, kTextMessageFolder + number - 1, kInProgress);
        storecompress::FamilyCounts counts;
        const int result = storecompress::compressFamilyFile(m_workspace, m_storePath, kFamilies[number - 1], &counts);
        if (result > 0) {
            OutputDebugString(std::string("Compressing ") + kFamilies[number - 1] + " failed : Error " +
                              std::to_string(result) + "\n");
            failed(number);
        } else {
            m_compressed.push_back(kFamilies[number - 1]);
            OutputDebugString(std::string("Compressed ") + kFamilies[number - 1] + ": " + std::to_string(counts.kept) +
                              " lines kept, " + std::to_string(counts.dropped) + " dropped\n");
        }
        return;
    }
    if (number == 5) {
        if (m_failedRows.empty())
            status(1, kTextComponentsDone, kDone);
        else
            status(1, kTextComponentsFailed, kDoneWithErrors);
        status(2, kTextRemovingSpace, kInProgress);
        // The store takes the new family files and index in one put before
        // the vacuum, so that the old lines' space is free to give back.
        const int put = putCompressedFamilies();
        if (put != 0) {
            OutputDebugString(std::string("Compressed components not stored: ") + rpsErrorText(put) + "\n");
            failed(kSpaceRow);
        }
        const int vacuum = RPS_Compress(m_storePath.c_str());
        if (vacuum != 0) {
            OutputDebugString(std::string("RPS_Compress: ") + rpsErrorText(vacuum) + "\n");
            failed(kSpaceRow);
        }
        return;
    }
    if (number == 6) {
        m_saveResult = m_save ? m_save() : 0;
        if (m_saveResult != 0)
            failed(kSpaceRow);
        bool spaceFailed = false;
        for (int row : m_failedRows)
            spaceFailed = spaceFailed || row == kSpaceRow;
        status(2, kTextSpaceRemoved, spaceFailed ? kDoneWithErrors : kDone);
        return;
    }
    // 7: the work file goes (a failed rewrite has already removed it; this
    // is for one left by an earlier Navo that died), then the dialog closes.
    fileops::removeFile(components::workspacePath(m_workspace, storecompress::kTempName));
    m_post(kMsgFinished, static_cast<WPARAM>(m_saveResult), 0);
}
