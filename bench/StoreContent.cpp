#include "StoreContent.h"

#include <cstdio>
#include <fstream>
#include <map>

#include "maker/Ek7Index/Ek7Index.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace {

const char* const kWords[] = {"call",    "with",    "Hughes",  "about",  "order",   "invoice", "delivery",
                              "meeting", "notes",   "budget",  "plan",   "review",  "site",    "visit",
                              "letter",  "reply",   "draft",   "minutes", "supplier", "school", "doctor",
                              "garage",  "quote",   "Tuesday", "March",  "contract", "survey", "roof"};
constexpr unsigned kWordCount = sizeof kWords / sizeof kWords[0];

// A few words picked by the RecID, so that lines and keywords differ.
std::string words(long recId, unsigned count, unsigned salt)
{
    std::string text;
    unsigned state = static_cast<unsigned>(recId) * 2654435761u + salt;
    for (unsigned i = 0; i < count; ++i) {
        state = state * 1103515245u + 12345u;
        if (i > 0)
            text += ' ';
        text += kWords[(state >> 16) % kWordCount];
    }
    return text;
}

int typeFor(long recId, StoreContent::Mix mix)
{
    if (mix == StoreContent::Mix::DictationOnly)
        return 0;
    switch (recId % 10) {
    case 6:
    case 7: return 2;  // phone
    case 8: return 1;  // meeting
    case 9: return 4;  // diary
    default: return 0; // dictation
    }
}

std::string startTime(long recId)
{
    char text[32];
    std::snprintf(text, sizeof text, "%02ld/%02ld/2026 %02ld:%02ld:%02ld", 1 + recId % 28, 1 + recId % 12,
                  8 + recId % 10, recId % 60, (recId * 7) % 60);
    return text;
}

bool writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out.flush());
}

}  // namespace

StoreContent::StoreContent(long count, Mix mix)
{
    const long lineBytes = static_cast<long>(indexline::kLineBytes);
    std::map<std::string, long> nextPosition;
    m_records.reserve(static_cast<std::size_t>(count));
    m_lines.reserve(static_cast<std::size_t>(count));
    m_keywords.reserve(static_cast<std::size_t>(count));
    for (long recId = 1; recId <= count; ++recId) {
        Record record;
        record.recId = recId;
        record.type = typeFor(recId, mix);
        record.familyName = components::familyFileForType(record.type);
        // Position 0 of every family file is the dead line.
        long& next = nextPosition.try_emplace(record.familyName, lineBytes).first->second;
        record.position = next;
        next += lineBytes;

        char duration[kDurationSize];
        conv_millisec(1000 * (30 + recId % 900), duration);
        const std::vector<std::string> fields = {indexline::recIdText(recId), std::to_string(record.type), "0", "",
                                                 words(recId, 4, 1), "", "", startTime(recId), startTime(recId + 1),
                                                 duration, "", "0"};
        m_lines.push_back(indexline::build(fields));
        m_keywords.push_back(words(recId, 3, 2));
        m_records.push_back(std::move(record));
    }
}

bool StoreContent::writeFamilyFiles(const std::string& folder) const
{
    const std::string dead = indexline::build({indexline::kDeletedRecId});
    std::map<std::string, std::string> files;
    for (const char* name : {components::kDictation, components::kMeeting, components::kPhone, components::kDiary})
        files[name];  // a family with no records stays an empty file
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        std::string& bytes = files[m_records[i].familyName];
        if (bytes.empty())
            bytes = dead;
        bytes += m_lines[i];
    }
    for (const auto& [name, bytes] : files)
        if (!writeBytes(components::workspacePath(folder, name), bytes))
            return false;
    return true;
}

bool StoreContent::writeIndex(const std::string& folder, const std::string& storePath) const
{
    const std::string index = components::workspacePath(folder, components::kIndex);
    std::remove(index.c_str());
    if (Ek7IndexCreate(index.c_str()) != kEk7IndexOk)
        return false;
    std::vector<std::string> types;
    std::vector<std::string> starts;
    types.reserve(m_records.size());
    starts.reserve(m_records.size());
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        types.push_back(std::to_string(m_records[i].type));
        starts.push_back(indexline::field(m_lines[i], 8));
    }
    std::vector<Ek7IndexEntry> entries;
    entries.reserve(m_records.size());
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        entries.push_back(Ek7IndexEntry{index.c_str(), storePath.c_str(), folder.c_str(),
                                        static_cast<std::uint32_t>(m_records[i].recId), types[i].c_str(),
                                        starts[i].c_str(), m_keywords[i].c_str(), " ",
                                        static_cast<std::uint32_t>(m_records[i].position), 0, m_lines[i].c_str()});
    }
    return entries.empty() || Ek7IndexAddBatch(entries.data(), entries.size()) != 0;
}

bool StoreContent::writeAll(const std::string& folder, const std::string& storePath) const
{
    return writeFamilyFiles(folder) && writeIndex(folder, storePath)
           && writeBytes(components::workspacePath(folder, components::kCounterA), components::kCounterSeed)
           && writeBytes(components::workspacePath(folder, components::kCounterL), components::kCounterSeed)
           && writeBytes(components::workspacePath(folder, components::kPhoneBook), "")
           && writeBytes(components::workspacePath(folder, components::kTemplates), "");
}
