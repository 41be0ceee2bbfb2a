// The Ek7Index calls. Divisions: result and guard helpers; turning an entry
// into the values stored; opening a file to read or to write; the record
// calls (Add, Del, Upd, SFS, Read, Field); the listing calls.
#include "maker/Ek7Index/Ek7Index.h"

#include "maker/Ek7Index/internal/DerivedFields.h"
#include "maker/Ek7Index/internal/IndexDatabase.h"
#include "maker/SqliteKit/Sqlite.h"
#include "maker/ZOLO/ZOLOREP1.h"
#include "maker/ZOLO/ZOLOWORD.h"
#include "platform/Codepage.h"

#include <sqlite3.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

using namespace ek7index;
using sqlitekit::Statement;
using sqlitekit::Transaction;

namespace {

// ---- Results -------------------------------------------------------------

thread_local int t_lastError = kEk7IndexOk;

int remember(int code)
{
    t_lastError = code;
    return code;
}

}  // namespace

namespace ek7index {
int rememberCode(int code)
{
    return remember(code);
}
}  // namespace ek7index

namespace {

// Runs the body of a call, turning any exception into a code: nothing may
// leave the library as an exception.
template <typename Body>
int guarded(Body body)
{
    try {
        return remember(body());
    } catch (const std::bad_alloc&) {
        return remember(kEk7IndexNoMemory);
    } catch (...) {
        return remember(kEk7IndexFailed);
    }
}

// The record calls answer non-zero for success.
int asFlag(int code)
{
    return code == kEk7IndexOk ? 1 : 0;
}

// ---- Values stored -------------------------------------------------------

constexpr char kSeparatorReplacement = '\xAC';

// Keywords and extra text are stored with plain spaces: line breaks cannot
// stay in a one-line record, and 0xAC is what Ek7IndexRead puts for a space,
// so text read back and passed in again must not change.
std::string cleanFreeText(const char* text)
{
    std::string out(text);
    for (char& c : out) {
        if (c == '\r' || c == '\n' || c == kSeparatorReplacement)
            c = ' ';
    }
    return out;
}

// The subject search looks in: field 5 of the index line, spaces restored.
std::string subjectOf(const std::string& line)
{
    std::string field(line.size() + 1, '\0');
    field.resize(static_cast<std::size_t>(word_find(line.c_str(), &field[0], 5)));
    return strstrrep(field, std::string(1, kSeparatorReplacement), " ");
}

// The texts of an entry as stored: UTF-8 text columns, the line as bytes.
// A missing text has `has...` false.
struct StoredText {
    bool hasType = false;
    bool hasStartTime = false;
    bool hasKeywords = false;
    bool hasExtraText = false;
    bool hasLine = false;
    std::string type;
    std::string startTime;
    std::string keywords;
    std::string extraText;
    std::string line;
    std::string subject;
    DerivedFields derived;  // type and start where given, the rest where a line is
};

bool validRecId(std::uint32_t recId)
{
    return recId >= 1 && recId <= kEk7IndexRecIdMax;
}

int prepareText(const Ek7IndexEntry& entry, StoredText* out)
{
    if (entry.recordType != nullptr) {
        if (std::strlen(entry.recordType) > kEk7IndexRecordTypeMax)
            return kEk7IndexTooLong;
        out->hasType = true;
        out->type = utf8FromAnsi(entry.recordType);
    }
    if (entry.startTime != nullptr) {
        if (std::strlen(entry.startTime) > kEk7IndexStartTimeMax)
            return kEk7IndexTooLong;
        out->hasStartTime = true;
        out->startTime = utf8FromAnsi(entry.startTime);
    }
    if (entry.keywords != nullptr) {
        if (std::strlen(entry.keywords) > kEk7IndexKeywordsMax)
            return kEk7IndexTooLong;
        out->hasKeywords = true;
        out->keywords = utf8FromAnsi(cleanFreeText(entry.keywords));
    }
    if (entry.extraText != nullptr) {
        if (std::strlen(entry.extraText) > kEk7IndexExtraTextMax)
            return kEk7IndexTooLong;
        out->hasExtraText = true;
        out->extraText = utf8FromAnsi(cleanFreeText(entry.extraText));
    }
    if (entry.line != nullptr) {
        if (std::strlen(entry.line) > kEk7IndexLineMax)
            return kEk7IndexTooLong;
        out->hasLine = true;
        out->line = entry.line;
        out->subject = utf8FromAnsi(subjectOf(out->line));
    }
    // Without a type the line's own (field 2) decides which texts are names.
    std::string lineType;
    if (!out->hasType && out->hasLine) {
        lineType.assign(out->line.size() + 1, '\0');
        lineType.resize(static_cast<std::size_t>(word_find(out->line.c_str(), &lineType[0], 2)));
    }
    out->derived = deriveFields(out->hasType ? entry.recordType : lineType,
                                out->hasStartTime ? entry.startTime : "", out->line);
    return kEk7IndexOk;
}

// ---- Opening -------------------------------------------------------------

// A connection with a write transaction open on an index that has its tables.
class Writer {
public:
    int open(const char* path)
    {
        if (path == nullptr)
            return kEk7IndexBadArgument;
        int code = m_db.open(path, IndexDatabase::Access::Write);
        bool empty = false;
        // Look before touching anything: on a file that is not an index even
        // the journal-mode setting must not run.
        if (code == kEk7IndexOk)
            code = m_db.check(&empty);
        if (code == kEk7IndexOk)
            // The file is the workspace's working copy: a crash of Navo still
            // leaves it whole (the journal rolls back), and after a crash of
            // the system the next start takes the copy saved in the store and
            // rebuilds what is missing from the lines. Syncing every change
            // only made each filing wait for the disk twice.
            code = m_db.exec("PRAGMA journal_mode = DELETE; PRAGMA synchronous = OFF");
        if (code != kEk7IndexOk)
            return code;
        m_transaction = std::make_unique<Transaction>(m_db.handle(), Transaction::Kind::Write);
        if (m_transaction->beginResult() != SQLITE_OK)
            return codeForSqlite(m_transaction->beginResult());
        // Again under the write lock: another writer may have created the
        // tables in the meantime.
        code = m_db.check(&empty);
        if (code == kEk7IndexOk && empty)
            code = m_db.createSchema();
        else if (code == kEk7IndexOk && m_db.needsUpgrade())
            code = m_db.upgrade();
        return code;
    }

    int commit() { return codeForSqlite(m_transaction->commit()); }
    int exec(const char* sql) { return m_db.exec(sql); }
    sqlite3* db() const { return m_db.handle(); }

private:
    IndexDatabase m_db;  // declared first: closed after the transaction ends
    std::unique_ptr<Transaction> m_transaction;
};

// A read-only connection. *empty: the file is a new index without tables,
// which reads as an index with no entries.
int openForRead(IndexDatabase& db, const char* path, bool* empty)
{
    if (path == nullptr)
        return kEk7IndexBadArgument;
    const int code = db.open(path, IndexDatabase::Access::Read);
    return code == kEk7IndexOk ? db.check(empty) : code;
}

// Runs a statement to its end; SQLITE_DONE is success.
int runToEnd(Statement& statement)
{
    const int rc = statement.step();
    return rc == SQLITE_DONE ? kEk7IndexOk : codeForSqlite(rc);
}

// A statement that fails to prepare against an index that passed the header
// check has lost its tables: not an index of ours.
int prepareCode(const Statement& statement)
{
    const int rc = statement.prepareResult();
    if (rc == SQLITE_OK)
        return kEk7IndexOk;
    return (rc & 0xFF) == SQLITE_ERROR ? kEk7IndexNotAnIndex : codeForSqlite(rc);
}

// ---- Record calls --------------------------------------------------------

// Batches of fewer entries never merge the search rows.
constexpr std::size_t kMergeBatch = 1000;

const char* const kInsertSql =
    "INSERT INTO entry(rec_id, record_type, start_time, line_position, reserved,"
    " keywords, extra_text, subject, line, type_code, start_key, new_message, names, marks)"
    " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14)";

// Binds the derived columns at first..first+4: type code and start key
// where the entry gives them, the line's texts where it gives a line; NULL
// keeps the stored value in the update statements.
void bindDerived(Statement& statement, int first, const StoredText& text)
{
    if (text.hasType)
        statement.bindInt64(first, text.derived.typeCode);
    else
        statement.bindNull(first);
    if (text.hasStartTime)
        statement.bindInt64(first + 1, text.derived.startKey);
    else
        statement.bindNull(first + 1);
    if (text.hasLine) {
        statement.bindInt64(first + 2, text.derived.newMessage ? 1 : 0);
        statement.bindText(first + 3, text.derived.names);
        statement.bindText(first + 4, text.derived.marks);
    } else {
        for (int i = 2; i < 5; ++i)
            statement.bindNull(first + i);
    }
}

int insertEntry(Statement& insert, const Ek7IndexEntry& entry)
{
    if (!validRecId(entry.recId))
        return kEk7IndexBadArgument;
    if (entry.recordType == nullptr || entry.startTime == nullptr)
        return kEk7IndexBadArgument;
    StoredText text;
    const int code = prepareText(entry, &text);
    if (code != kEk7IndexOk)
        return code;

    insert.reset();
    insert.bindInt64(1, entry.recId);
    insert.bindText(2, text.type);
    insert.bindText(3, text.startTime);
    insert.bindInt64(4, entry.linePosition);
    insert.bindInt64(5, entry.reserved);
    insert.bindText(6, text.hasKeywords ? text.keywords : std::string());
    insert.bindText(7, text.hasExtraText ? text.extraText : std::string(" "));
    insert.bindText(8, text.subject);
    if (text.hasLine)
        insert.bindBlob(9, text.line);
    else
        insert.bindNull(9);
    bindDerived(insert, 10, text);
    if (!text.hasLine) {
        insert.bindInt64(12, 0);
        insert.bindText(13, std::string());
        insert.bindText(14, std::string());
    }
    const int rc = insert.step();
    if ((rc & 0xFF) == SQLITE_CONSTRAINT)
        return kEk7IndexExists;
    return rc == SQLITE_DONE ? kEk7IndexOk : codeForSqlite(rc);
}

int addEntries(const Ek7IndexEntry* entries, std::size_t count)
{
    if (entries == nullptr || count == 0)
        return kEk7IndexBadArgument;
    const char* path = entries[0].storeLocation1;
    for (std::size_t i = 0; i < count; ++i) {
        if (path == nullptr || entries[i].storeLocation1 == nullptr ||
            std::strcmp(entries[i].storeLocation1, path) != 0)
            return kEk7IndexBadArgument;
    }
    Writer writer;
    int code = writer.open(path);
    if (code != kEk7IndexOk)
        return code;
    Statement insert(writer.db(), kInsertSql);
    code = prepareCode(insert);
    for (std::size_t i = 0; code == kEk7IndexOk && i < count; ++i)
        code = insertEntry(insert, entries[i]);
    // A batch that is most of the index (a rebuild, an import into a young
    // store) leaves its search rows in many pieces, each of which every
    // search then looks into: merged into one they answer fastest. Only then,
    // so the merging costs at most about as much as the batches together.
    if (code == kEk7IndexOk && count >= kMergeBatch) {
        long long entriesNow = 0;
        Statement size(writer.db(), "SELECT count(*) FROM entry");
        code = prepareCode(size);
        if (code == kEk7IndexOk && size.step() == SQLITE_ROW)
            entriesNow = size.columnInt64(0);
        if (code == kEk7IndexOk && entriesNow <= 2 * static_cast<long long>(count))
            code = writer.exec("INSERT INTO entry_search(entry_search) VALUES ('optimize')");
    }
    return code == kEk7IndexOk ? writer.commit() : code;
}

int deleteEntry(const Ek7IndexEntry* entry)
{
    if (entry == nullptr || !validRecId(entry->recId))
        return kEk7IndexBadArgument;
    Writer writer;
    int code = writer.open(entry->storeLocation1);
    if (code != kEk7IndexOk)
        return code;
    Statement remove(writer.db(), "DELETE FROM entry WHERE rec_id = ?1");
    code = prepareCode(remove);
    if (code != kEk7IndexOk)
        return code;
    remove.bindInt64(1, entry->recId);
    code = runToEnd(remove);
    if (code == kEk7IndexOk && sqlite3_changes(writer.db()) == 0)
        code = kEk7IndexNotFound;
    return code == kEk7IndexOk ? writer.commit() : code;
}

// Binds a text that may be missing: NULL keeps the stored value through
// coalesce() in the statements below.
void bindOptional(Statement& statement, int index, bool has, const std::string& value)
{
    if (has)
        statement.bindText(index, value);
    else
        statement.bindNull(index);
}

const char* const kUpdateSql =
    "UPDATE entry SET record_type = coalesce(?2, record_type),"
    " start_time = coalesce(?3, start_time), line_position = ?4, reserved = ?5,"
    " keywords = coalesce(?6, keywords), extra_text = coalesce(?7, extra_text),"
    " subject = coalesce(?8, subject), line = coalesce(?9, line),"
    " type_code = coalesce(?10, type_code), start_key = coalesce(?11, start_key),"
    " new_message = coalesce(?12, new_message), names = coalesce(?13, names),"
    " marks = coalesce(?14, marks)"
    " WHERE rec_id = ?1";

int updateOne(sqlite3* db, Statement& update, const Ek7IndexEntry& entry)
{
    if (!validRecId(entry.recId))
        return kEk7IndexBadArgument;
    StoredText text;
    int code = prepareText(entry, &text);
    if (code != kEk7IndexOk)
        return code;
    update.reset();
    update.bindInt64(1, entry.recId);
    bindOptional(update, 2, text.hasType, text.type);
    bindOptional(update, 3, text.hasStartTime, text.startTime);
    update.bindInt64(4, entry.linePosition);
    update.bindInt64(5, entry.reserved);
    bindOptional(update, 6, text.hasKeywords, text.keywords);
    bindOptional(update, 7, text.hasExtraText, text.extraText);
    bindOptional(update, 8, text.hasLine, text.subject);
    if (text.hasLine)
        update.bindBlob(9, text.line);
    else
        update.bindNull(9);
    bindDerived(update, 10, text);
    code = runToEnd(update);
    if (code == kEk7IndexOk && sqlite3_changes(db) == 0)
        code = kEk7IndexNotFound;
    return code;
}

int updateEntries(const Ek7IndexEntry* entries, std::size_t count)
{
    if (entries == nullptr || count == 0)
        return kEk7IndexBadArgument;
    const char* path = entries[0].storeLocation1;
    for (std::size_t i = 0; i < count; ++i) {
        if (path == nullptr || entries[i].storeLocation1 == nullptr ||
            std::strcmp(entries[i].storeLocation1, path) != 0 || !validRecId(entries[i].recId))
            return kEk7IndexBadArgument;
        // Bad arguments are refused before the file is touched.
        StoredText text;
        const int checked = prepareText(entries[i], &text);
        if (checked != kEk7IndexOk)
            return checked;
    }
    Writer writer;
    int code = writer.open(path);
    if (code != kEk7IndexOk)
        return code;
    Statement update(writer.db(), kUpdateSql);
    code = prepareCode(update);
    for (std::size_t i = 0; code == kEk7IndexOk && i < count; ++i)
        code = updateOne(writer.db(), update, entries[i]);
    return code == kEk7IndexOk ? writer.commit() : code;
}

int storeSearchFields(const Ek7IndexEntry* entry)
{
    if (entry == nullptr || !validRecId(entry->recId))
        return kEk7IndexBadArgument;
    StoredText text;
    int code = prepareText(*entry, &text);
    if (code != kEk7IndexOk)
        return code;
    Writer writer;
    code = writer.open(entry->storeLocation1);
    if (code != kEk7IndexOk)
        return code;

    Statement current(writer.db(), "SELECT subject, line, record_type, start_time FROM entry WHERE rec_id = ?1");
    code = prepareCode(current);
    if (code != kEk7IndexOk)
        return code;
    current.bindInt64(1, entry->recId);
    int rc = current.step();
    if (rc == SQLITE_DONE)
        return kEk7IndexNotFound;
    if (rc != SQLITE_ROW)
        return codeForSqlite(rc);
    if (!text.hasLine && !current.columnIsNull(1)) {
        text.hasLine = true;  // the subject again from the stored line
        text.subject = utf8FromAnsi(subjectOf(current.columnBlob(1)));
        text.line = current.columnBlob(1);
        text.derived = deriveFields(ansiFromUtf8(current.columnText(2)), ansiFromUtf8(current.columnText(3)),
                                    text.line);
    }

    // The change itself (the trigger renews the search row if the text
    // differs), then the search row written again from what is stored now.
    Statement update(writer.db(),
                     "UPDATE entry SET keywords = coalesce(?2, keywords),"
                     " extra_text = coalesce(?3, extra_text), subject = coalesce(?4, subject),"
                     " line = coalesce(?5, line), new_message = coalesce(?6, new_message),"
                     " names = coalesce(?7, names), marks = coalesce(?8, marks) WHERE rec_id = ?1");
    Statement renew(writer.db(),
                    "INSERT INTO entry_search(entry_search, rowid, keywords, extra_text, subject, names, marks)"
                    " SELECT 'delete', rec_id, keywords, extra_text, subject, names, marks FROM entry"
                    " WHERE rec_id = ?1");
    Statement reinsert(writer.db(),
                       "INSERT INTO entry_search(rowid, keywords, extra_text, subject, names, marks)"
                       " SELECT rec_id, keywords, extra_text, subject, names, marks FROM entry"
                       " WHERE rec_id = ?1");
    code = prepareCode(update);
    if (code == kEk7IndexOk)
        code = prepareCode(renew);
    if (code == kEk7IndexOk)
        code = prepareCode(reinsert);
    if (code != kEk7IndexOk)
        return code;
    update.bindInt64(1, entry->recId);
    bindOptional(update, 2, text.hasKeywords, text.keywords);
    bindOptional(update, 3, text.hasExtraText, text.extraText);
    bindOptional(update, 4, text.hasLine, text.subject);
    if (text.hasLine) {
        update.bindBlob(5, text.line);
        update.bindInt64(6, text.derived.newMessage ? 1 : 0);
        update.bindText(7, text.derived.names);
        update.bindText(8, text.derived.marks);
    } else {
        for (int i = 5; i <= 8; ++i)
            update.bindNull(i);
    }
    renew.bindInt64(1, entry->recId);
    reinsert.bindInt64(1, entry->recId);
    code = runToEnd(update);
    if (code == kEk7IndexOk)
        code = runToEnd(renew);
    if (code == kEk7IndexOk)
        code = runToEnd(reinsert);
    return code == kEk7IndexOk ? writer.commit() : code;
}

// A field of the read record: spaces (and any line break) as 0xAC.
std::string asRecordField(std::string text)
{
    for (char& c : text) {
        if (c == ' ' || c == '\r' || c == '\n')
            c = kSeparatorReplacement;
    }
    return text;
}

const char* const kReadSql =
    "SELECT record_type, start_time, line_position, reserved, keywords, extra_text"
    " FROM entry WHERE rec_id = ?1";

// The record of recId as Ek7IndexRead gives it, from a prepared kReadSql.
int formatRecord(Statement& select, std::uint32_t recId, std::string* record)
{
    select.reset();
    select.bindInt64(1, recId);
    const int rc = select.step();
    if (rc == SQLITE_DONE)
        return kEk7IndexNotFound;
    if (rc != SQLITE_ROW)
        return codeForSqlite(rc);

    char number[32];
    std::snprintf(number, sizeof number, "%08u", static_cast<unsigned>(recId));
    *record = number;
    *record += ' ';
    *record += asRecordField(ansiFromUtf8(select.columnText(0)));
    *record += ' ';
    *record += asRecordField(ansiFromUtf8(select.columnText(1)));
    std::snprintf(number, sizeof number, " %u %u ",
                  static_cast<unsigned>(select.columnInt64(2)),
                  static_cast<unsigned>(select.columnInt64(3)));
    *record += number;
    *record += asRecordField(ansiFromUtf8(select.columnText(4)));
    *record += ' ';
    *record += asRecordField(ansiFromUtf8(select.columnText(5)));
    // Within the limits an entry cannot outgrow the buffer; a file written
    // elsewhere might.
    if (record->size() >= EK7_INDEX_RECORD_MAX)
        return kEk7IndexTooLong;
    return kEk7IndexOk;
}

int readRecord(std::uint32_t recId, const char* path, char* buffer)
{
    if (buffer == nullptr)
        return kEk7IndexBadArgument;
    buffer[0] = '\0';
    if (!validRecId(recId))
        return kEk7IndexBadArgument;
    IndexDatabase db;
    bool empty = false;
    int code = openForRead(db, path, &empty);
    if (code != kEk7IndexOk)
        return code;
    if (empty)
        return kEk7IndexNotFound;
    Statement select(db.handle(), kReadSql);
    code = prepareCode(select);
    if (code != kEk7IndexOk)
        return code;
    std::string record;
    code = formatRecord(select, recId, &record);
    if (code != kEk7IndexOk)
        return code;
    std::memcpy(buffer, record.c_str(), record.size() + 1);
    return kEk7IndexOk;
}

int readRecords(const std::uint32_t* recIds, std::size_t count, const char* path, std::vector<std::string>* records)
{
    if (records == nullptr || (count > 0 && recIds == nullptr))
        return kEk7IndexBadArgument;
    records->assign(count, std::string());
    for (std::size_t i = 0; i < count; ++i)
        if (!validRecId(recIds[i]))
            return kEk7IndexBadArgument;
    IndexDatabase db;
    bool empty = false;
    int code = openForRead(db, path, &empty);
    if (code != kEk7IndexOk || empty)
        return code;
    // One read transaction: the records come from one state of the file.
    Transaction read(db.handle(), Transaction::Kind::Read);
    if (read.beginResult() != SQLITE_OK)
        return codeForSqlite(read.beginResult());
    Statement select(db.handle(), kReadSql);
    code = prepareCode(select);
    for (std::size_t i = 0; code == kEk7IndexOk && i < count; ++i) {
        code = formatRecord(select, recIds[i], &(*records)[i]);
        if (code == kEk7IndexNotFound) {
            (*records)[i].clear();
            code = kEk7IndexOk;
        }
    }
    if (code != kEk7IndexOk)
        records->assign(count, std::string());
    return code;
}

// ---- Listing calls -------------------------------------------------------

int forEach(const char* path, const std::function<bool(const Ek7IndexRow&)>& visit)
{
    if (!visit)
        return kEk7IndexBadArgument;
    IndexDatabase db;
    bool empty = false;
    int code = openForRead(db, path, &empty);
    if (code != kEk7IndexOk || empty)
        return code;
    Statement select(db.handle(),
                     "SELECT rec_id, record_type, start_time, line_position, reserved, keywords,"
                     " extra_text, line FROM entry ORDER BY rec_id");
    code = prepareCode(select);
    if (code != kEk7IndexOk)
        return code;
    Ek7IndexRow row;
    for (;;) {
        const int rc = select.step();
        if (rc == SQLITE_DONE)
            return kEk7IndexOk;
        if (rc != SQLITE_ROW)
            return codeForSqlite(rc);
        row.recId = static_cast<std::uint32_t>(select.columnInt64(0));
        row.recordType = ansiFromUtf8(select.columnText(1));
        row.startTime = ansiFromUtf8(select.columnText(2));
        row.linePosition = static_cast<std::uint32_t>(select.columnInt64(3));
        row.reserved = static_cast<std::uint32_t>(select.columnInt64(4));
        row.keywords = ansiFromUtf8(select.columnText(5));
        row.extraText = ansiFromUtf8(select.columnText(6));
        row.line = select.columnBlob(7);
        bool more = false;
        try {
            more = visit(row);
        } catch (...) {
            return kEk7IndexVisitorFailed;
        }
        if (!more)
            return kEk7IndexOk;
    }
}

// The user's words as an FTS5 query: each word a quoted string, so that
// punctuation and words like OR or NOT are only ever text. Adjacent quoted
// strings must all match.
std::string searchQuery(const char* words)
{
    std::string query;
    std::string word;
    auto flush = [&] {
        if (word.empty())
            return;
        if (!query.empty())
            query += ' ';
        query += '"';
        query += strstrrep(utf8FromAnsi(word), "\"", "\"\"");
        query += '"';
        word.clear();
    };
    for (const char* p = words; *p != '\0'; ++p) {
        const char c = *p;
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == kSeparatorReplacement)
            flush();
        else
            word += c;
    }
    flush();
    return query;
}

int search(const char* path, const char* words, std::vector<std::uint32_t>* recIds)
{
    if (words == nullptr || recIds == nullptr)
        return kEk7IndexBadArgument;
    recIds->clear();
    IndexDatabase db;
    bool empty = false;
    int code = openForRead(db, path, &empty);
    if (code != kEk7IndexOk || empty)
        return code;
    const std::string query = searchQuery(words);
    if (query.empty())
        return kEk7IndexOk;
    Statement select(db.handle(),
                     "SELECT rowid FROM entry_search WHERE entry_search MATCH ?1 ORDER BY rowid");
    code = prepareCode(select);
    if (code != kEk7IndexOk)
        return code;
    select.bindText(1, query);
    for (;;) {
        const int rc = select.step();
        if (rc == SQLITE_DONE)
            return kEk7IndexOk;
        if (rc != SQLITE_ROW) {
            recIds->clear();
            return codeForSqlite(rc);
        }
        recIds->push_back(static_cast<std::uint32_t>(select.columnInt64(0)));
    }
}

int countEntries(const char* path, std::uint64_t* result)
{
    if (result == nullptr)
        return kEk7IndexBadArgument;
    *result = 0;
    IndexDatabase db;
    bool empty = false;
    int code = openForRead(db, path, &empty);
    if (code != kEk7IndexOk || empty)
        return code;
    Statement select(db.handle(), "SELECT count(*) FROM entry");
    code = prepareCode(select);
    if (code != kEk7IndexOk)
        return code;
    const int rc = select.step();
    if (rc != SQLITE_ROW)
        return codeForSqlite(rc);
    *result = static_cast<std::uint64_t>(select.columnInt64(0));
    return kEk7IndexOk;
}

int listRecIds(const char* path, std::vector<std::uint32_t>* result)
{
    if (result == nullptr)
        return kEk7IndexBadArgument;
    result->clear();
    IndexDatabase db;
    bool empty = false;
    int code = openForRead(db, path, &empty);
    if (code != kEk7IndexOk || empty)
        return code;
    Statement select(db.handle(), "SELECT rec_id FROM entry ORDER BY rec_id");
    code = prepareCode(select);
    if (code != kEk7IndexOk)
        return code;
    int rc;
    while ((rc = select.step()) == SQLITE_ROW)
        result->push_back(static_cast<std::uint32_t>(select.columnInt64(0)));
    return rc == SQLITE_DONE ? kEk7IndexOk : codeForSqlite(rc);
}

int create(const char* path)
{
    if (path == nullptr)
        return kEk7IndexBadArgument;
    // Append mode creates a missing file and never changes an existing one.
    if (std::FILE* file = std::fopen(path, "ab"))
        std::fclose(file);
    Writer writer;
    const int code = writer.open(path);
    return code == kEk7IndexOk ? writer.commit() : code;
}

}  // namespace

int Ek7IndexAdd(const Ek7IndexEntry* entry)
{
    return asFlag(guarded([&] { return entry != nullptr ? addEntries(entry, 1) : kEk7IndexBadArgument; }));
}

int Ek7IndexAddBatch(const Ek7IndexEntry* entries, std::size_t count)
{
    return asFlag(guarded([&] { return addEntries(entries, count); }));
}

int Ek7IndexDel(const Ek7IndexEntry* entry)
{
    return asFlag(guarded([&] { return deleteEntry(entry); }));
}

int Ek7IndexUpd(const Ek7IndexEntry* entry)
{
    return asFlag(guarded([&] { return entry != nullptr ? updateEntries(entry, 1) : kEk7IndexBadArgument; }));
}

int Ek7IndexUpdBatch(const Ek7IndexEntry* entries, std::size_t count)
{
    return asFlag(guarded([&] { return updateEntries(entries, count); }));
}

int Ek7IndexSFS(const Ek7IndexEntry* entry)
{
    return asFlag(guarded([&] { return storeSearchFields(entry); }));
}

int Ek7IndexRead(std::uint32_t recId, const char* storeLocation1, char* buffer)
{
    return asFlag(guarded([&] { return readRecord(recId, storeLocation1, buffer); }));
}

int Ek7IndexReadBatch(const std::uint32_t* recIds, std::size_t count, const char* storeLocation1,
                      std::vector<std::string>* records)
{
    return guarded([&] { return readRecords(recIds, count, storeLocation1, records); });
}

int Ek7IndexField(int number, const char* record, char* out)
{
    if (out == nullptr)
        return 0;
    if (number < 0 || number == INT_MAX) {
        out[0] = '\0';
        return 0;
    }
    return word_find(record, out, number + 1);
}

int Ek7IndexForEach(const char* indexPath, const std::function<bool(const Ek7IndexRow&)>& visit)
{
    return guarded([&] { return forEach(indexPath, visit); });
}

int Ek7IndexSearch(const char* indexPath, const char* words, std::vector<std::uint32_t>* recIds)
{
    return guarded([&] { return search(indexPath, words, recIds); });
}

int Ek7IndexCount(const char* indexPath, std::uint64_t* count)
{
    return guarded([&] { return countEntries(indexPath, count); });
}

int Ek7IndexRecIds(const char* indexPath, std::vector<std::uint32_t>* recIds)
{
    return guarded([&] { return listRecIds(indexPath, recIds); });
}

int Ek7IndexCreate(const char* indexPath)
{
    return guarded([&] { return create(indexPath); });
}

int Ek7IndexLastError()
{
    return t_lastError;
}
