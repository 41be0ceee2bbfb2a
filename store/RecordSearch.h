// Finding records: the words, record types, dates and new-message choice of
// the Search window turned into one query on the store's index, answered as
// list rows the record lists already know how to show. A plain class, safe
// to run off the UI thread (each run opens the index file by itself).
#pragma once

#include <cstdint>
#include <string>

#include "maker/Ek7Srch/SearchLogRows.h"

struct SearchRequest {
    std::string words;       // Windows-1252, as typed
    unsigned families = 0;   // Ek7IndexFamily bits; 0 = every type
    int fromDay = 0;         // yyyymmdd, 0 = open
    int toDay = 0;           // yyyymmdd, 0 = open; the whole day counts
    bool newMessagesOnly = false;
    bool newestFirst = false;  // otherwise by relevance (newest first without words)
    std::size_t limit = 500;   // rows shown; the total counts every match
};

struct SearchAnswer {
    int code = 0;              // 0, or the Ek7Index reason the index could not be read
    SearchLogRows rows;        // in the order asked for
    std::uint64_t total = 0;   // every match, beyond the rows shown
    int listType = 1;          // the list whose columns the rows are shown with
    bool unranked = false;     // relevance was asked for, but the words were too common to rank
};

class RecordSearch {
public:
    // workspace: the open store's temporary workspace (the index lives there).
    explicit RecordSearch(std::string workspace);

    SearchAnswer run(const SearchRequest& request) const;

    // The list (1 Dictation ... 6 Video) whose columns suit a choice of
    // families: the family's own for one, the Dictation list's for a mix.
    static int listTypeFor(unsigned families);
    // The search type SearchLogRows lays out columns by, for a list type.
    static int searchTypeFor(int listType);

private:
    std::string m_index;
};
