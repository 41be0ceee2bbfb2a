// The components of a store that holds a given number of records, as Navo
// leaves them after filing each: the four family files (each opening with the
// dead line a new family file gets), the record index with one entry per
// record, the two counters, and an empty phone book and template file.
//
// Filing 100,000 recordings one by one would take hours; here the lines are
// built with the same IndexLine code and the index is filled in one batch,
// which gives the same bytes and the same entries.
#pragma once

#include <string>
#include <vector>

class StoreContent {
public:
    enum class Mix {
        AllFamilies,    // dictation, phone, meeting and diary records, 6:2:1:1
        DictationOnly,  // every record in the dictation family file
    };

    struct Record {
        long recId = 0;
        int type = 0;
        std::string familyName;
        long position = 0;  // of its line in the family file
    };

    // Records 1..count; the lines are made here, nothing is written yet.
    StoreContent(long count, Mix mix);

    const std::vector<Record>& records() const { return m_records; }
    const std::string& line(std::size_t index) const { return m_lines[index]; }

    // The four family files in folder.
    bool writeFamilyFiles(const std::string& folder) const;
    // "Telvarine.vxi" in folder, one entry per record. storePath is only
    // recorded in the entries, never written.
    bool writeIndex(const std::string& folder, const std::string& storePath) const;
    // The family files, the index, the counters, the phone book and the
    // templates: the nine components a Save puts.
    bool writeAll(const std::string& folder, const std::string& storePath) const;

private:
    std::vector<Record> m_records;
    std::vector<std::string> m_lines;
    std::vector<std::string> m_keywords;
};
