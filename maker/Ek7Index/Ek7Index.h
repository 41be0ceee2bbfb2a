// Ek7Index: the record index of one data store ("Telvarine.vxi" in the
// temporary workspace).
//
// One entry per RecID: record type, start time, the position of the record's
// line in its family file, keywords, extra text and the record's index line;
// full-text search over keywords, extra text, subject (field 5 of the line),
// the caller's name and number and the mark comments of the line. Every call
// opens the file, does its work in one transaction and closes it again,
// because other code replaces the workspace copy between calls; only
// Ek7IndexFind keeps its reading connection between calls, for as long as
// the file stays the same one (size and time of change). A 0-byte file is a new, empty index; the first change writes its
// tables. A file that is not an index is reported and never changed.
//
// Text is Windows-1252 bytes, as everywhere in the program.
//
// The record-level calls (Add, Del, Upd, SFS, Read) return non-zero on
// success and 0 on failure; Ek7IndexLastError() then gives the reason. The
// listing calls return kEk7IndexOk or the reason. No call throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Size of the buffer Ek7IndexRead fills.
#define EK7_INDEX_RECORD_MAX 16384

enum Ek7IndexCode : int {
    kEk7IndexOk = 0,
    kEk7IndexBadArgument = 1,   // a null pointer, RecID 0 or above 99999998, or mixed batch paths
    kEk7IndexTooLong = 2,       // a text above its limit below, or a stored record too long to read
    kEk7IndexCannotOpen = 3,    // the file is missing or cannot be opened
    kEk7IndexNotAnIndex = 4,    // not SQLite, SQLite of another kind, or a newer index format
    kEk7IndexDamaged = 5,       // the file is an index but damaged (truncated, corrupt pages)
    kEk7IndexBusy = 6,          // another connection kept the file locked too long
    kEk7IndexIoError = 7,       // read or write failed: disk full, read-only file, I/O error
    kEk7IndexNotFound = 8,      // no entry with that RecID
    kEk7IndexExists = 9,        // an entry with that RecID is there already
    kEk7IndexNoMemory = 10,
    kEk7IndexVisitorFailed = 11,  // the visitor given to Ek7IndexForEach threw
    kEk7IndexFailed = 12,       // any other error SQLite reports
};

// Limits, in bytes, of the texts an entry may carry. They keep every record
// Ek7IndexRead returns within EK7_INDEX_RECORD_MAX.
constexpr std::size_t kEk7IndexRecordTypeMax = 63;
constexpr std::size_t kEk7IndexStartTimeMax = 255;  // compression passes fields 8 and 9
constexpr std::size_t kEk7IndexKeywordsMax = 4999;
constexpr std::size_t kEk7IndexExtraTextMax = 8191;
constexpr std::size_t kEk7IndexLineMax = 16384;
// The largest RecID: 99999999 in a family file marks a deleted line.
constexpr std::uint32_t kEk7IndexRecIdMax = 99999998;

// The entry the program fills; the field order is part of the contract.
struct Ek7IndexEntry {
    const char* storeLocation1;  // path of the index file ("<workspace>/Telvarine.vxi")
    const char* storeLocation2;  // path of the open data store; kept for reference, never written
    const char* workspace;       // the temporary workspace folder
    std::uint32_t recId;
    const char* recordType;      // field 2 of the line: "0", "5", "10", ...
    const char* startTime;       // field 8 of the line
    const char* keywords;        // searchable free text, up to 4,999 bytes
    const char* extraText;       // " " when there is none
    std::uint32_t linePosition;  // byte position of the record's line in its family file
    std::uint32_t reserved;      // 0 (store compression passes 1)
    const char* line;            // the record's index line, or nullptr
};

// One entry as listed by Ek7IndexForEach: the texts as stored (keywords and
// extra text with their spaces), line empty when none was stored.
struct Ek7IndexRow {
    std::uint32_t recId = 0;
    std::string recordType;
    std::string startTime;
    std::uint32_t linePosition = 0;
    std::uint32_t reserved = 0;
    std::string keywords;
    std::string extraText;
    std::string line;
};

// Adds a new entry. recordType and startTime are required; a null keywords
// is "", a null extraText " ", a null line stores none. In keywords and extra
// text "\r", "\n" and 0xAC become spaces, so that text read back with
// Ek7IndexRead can be passed in again unchanged. Fails with kEk7IndexExists
// when the RecID is present.
int Ek7IndexAdd(const Ek7IndexEntry* entry);

// Adds count entries in one transaction: all or none. Every entry must name
// the same index file. Returns non-zero on success.
int Ek7IndexAddBatch(const Ek7IndexEntry* entries, std::size_t count);

// Removes the entry of entry->recId; kEk7IndexNotFound when there is none.
int Ek7IndexDel(const Ek7IndexEntry* entry);

// Rewrites the entry of entry->recId: line position and reserved always;
// record type, start time, keywords, extra text and line where not null.
// A new line also renews the subject that search looks in.
int Ek7IndexUpd(const Ek7IndexEntry* entry);

// Ek7IndexUpd for count entries in one transaction: all or none (a missing
// RecID fails the batch). Every entry must name the same index file. Returns
// non-zero on success.
int Ek7IndexUpdBatch(const Ek7IndexEntry* entries, std::size_t count);

// Stores the entry's search fields again: keywords and extra text (where not
// null) and the subject from entry->line (or the stored line when null), and
// rewrites their full-text rows even when nothing changed.
int Ek7IndexSFS(const Ek7IndexEntry* entry);

// Reads the entry of recId from the index file storeLocation1 into buffer
// (EK7_INDEX_RECORD_MAX bytes) as one line of text,
//   "RecID type startTime linePosition reserved keywords extraText",
// fields separated by single spaces, spaces inside fields as 0xAC, the RecID
// as eight digits. On failure buffer holds "".
int Ek7IndexRead(std::uint32_t recId, const char* storeLocation1, char* buffer);

// Ek7IndexRead for count RecIDs on one connection, in one read transaction:
// (*records)[i] is the record of recIds[i], or "" when it has no entry.
// Returns kEk7IndexOk or the reason (records then all "").
int Ek7IndexReadBatch(const std::uint32_t* recIds, std::size_t count, const char* storeLocation1,
                      std::vector<std::string>* records);

// Copies field `number` (counted from 0) of a record from Ek7IndexRead, or of
// an index line, into out, as it stands (0xAC stays). Returns its length.
// out must hold at least strlen(record) + 1 bytes.
int Ek7IndexField(int number, const char* record, char* out);

// Visits every entry in RecID order; visit returns false to stop early. The
// file stays open for reading meanwhile: visit may read it but not change it.
int Ek7IndexForEach(const char* indexPath, const std::function<bool(const Ek7IndexRow&)>& visit);

// RecIDs, in order, of the entries whose keywords, extra text or subject hold
// every one of the user's words (case and accents ignored). Words are
// separated by spaces or 0xAC; punctuation is never query syntax. No words
// give no RecIDs.
int Ek7IndexSearch(const char* indexPath, const char* words, std::vector<std::uint32_t>* recIds);

int Ek7IndexCount(const char* indexPath, std::uint64_t* count);

// Every entry's RecID, in order, without reading the entries' texts.
int Ek7IndexRecIds(const char* indexPath, std::vector<std::uint32_t>* recIds);

// Makes indexPath an index: creates a missing file, writes the tables into an
// empty one, and leaves an existing index as it is.
int Ek7IndexCreate(const char* indexPath);

// The reason the last failed call on this thread failed (kEk7IndexOk after a
// success).
int Ek7IndexLastError();

// ---- Finding records (Ek7IndexFind.cpp) ----------------------------------

// Record families a search narrows to; a mask of these, 0 for all.
enum Ek7IndexFamily : unsigned {
    kEk7FamilyDictation = 1u << 0,    // types 0 and 5
    kEk7FamilyMeeting = 1u << 1,      // 1
    kEk7FamilyPhone = 1u << 2,        // 2 and 3
    kEk7FamilyDiary = 1u << 3,        // 4
    kEk7FamilyTranslation = 1u << 4,  // 10 to 16
    kEk7FamilyVideo = 1u << 5,        // 9
};

struct Ek7IndexQuery {
    // The user's words, each matched as the start of a word (so a word being
    // typed already finds); every word must match somewhere in keywords,
    // comments, subject, caller name or number, or mark comments. Empty or
    // null: no narrowing by words.
    const char* words = nullptr;
    unsigned families = 0;
    // Start times, as yyyymmddhhmmss, both ends included; 0 leaves an end open.
    std::int64_t from = 0;
    std::int64_t to = 0;
    bool newMessagesOnly = false;
    enum Order { Relevance, Newest } order = Relevance;  // without words, relevance is newest first
    std::size_t offset = 0;
    std::size_t limit = 100;  // 0: every match
    // Words alone matching more records than this come newest first even
    // when relevance is asked for: ranking them all would cost more than it
    // tells. 0: always rank.
    std::size_t rankLimit = 5000;
};

struct Ek7IndexHit {
    std::uint32_t recId = 0;
    std::string recordType;
    std::string line;  // the record's index line, "" when none was stored
};

// The page of matches the query asks for and, when total is not null, how
// many there are in all. An index of an older format is brought up to date
// first (so the file must be writable then).
int Ek7IndexFind(const char* indexPath, const Ek7IndexQuery& query, std::vector<Ek7IndexHit>* hits,
                 std::uint64_t* total);

// Brings an existing index of an older format up to date (derived columns
// and search rows rebuilt from the entries); an up-to-date or empty one is
// left as it is. Never creates a file.
int Ek7IndexUpgrade(const char* indexPath);
