// Ek7IndexFind and Ek7IndexUpgrade: the search the Search window runs, over
// the full-text rows and the derived columns of format 2.
#include "maker/Ek7Index/Ek7Index.h"

#include "maker/Ek7Index/internal/IndexDatabase.h"
#include "maker/SqliteKit/Sqlite.h"
#include "maker/ZOLO/ZOLOREP1.h"
#include "platform/Codepage.h"

#include <sqlite3.h>

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>

namespace ek7index {
int rememberCode(int code);  // Ek7Index.cpp: the thread's last error
}

using ek7index::IndexDatabase;
using ek7index::codeForSqlite;
using ek7index::rememberCode;
using sqlitekit::Statement;
using sqlitekit::Transaction;

namespace {

template <typename Body>
int guarded(Body body)
{
    try {
        return rememberCode(body());
    } catch (const std::bad_alloc&) {
        return rememberCode(kEk7IndexNoMemory);
    } catch (...) {
        return rememberCode(kEk7IndexFailed);
    }
}

int upgrade(const char* path)
{
    if (path == nullptr)
        return kEk7IndexBadArgument;
    IndexDatabase db;
    int code = db.open(path, IndexDatabase::Access::Read);
    bool empty = false;
    if (code == kEk7IndexOk)
        code = db.check(&empty);
    if (code != kEk7IndexOk || empty || !db.needsUpgrade())
        return code;
    IndexDatabase writer;
    code = writer.open(path, IndexDatabase::Access::Write);
    if (code == kEk7IndexOk)
        code = writer.exec("PRAGMA journal_mode = DELETE; PRAGMA synchronous = FULL");
    if (code != kEk7IndexOk)
        return code;
    Transaction transaction(writer.handle(), Transaction::Kind::Write);
    if (transaction.beginResult() != SQLITE_OK)
        return codeForSqlite(transaction.beginResult());
    // Looked at again under the write lock: another writer may have done it.
    code = writer.check(&empty);
    if (code == kEk7IndexOk && writer.needsUpgrade())
        code = writer.upgrade();
    return code == kEk7IndexOk ? codeForSqlite(transaction.commit()) : code;
}

// Each word quoted (punctuation and OR, NOT, NEAR are only ever text) and
// matched as a prefix.
std::string matchExpression(const char* words)
{
    std::string query;
    std::string word;
    auto flush = [&] {
        if (word.empty())
            return;
        if (!query.empty())
            query += ' ';
        query += '"' + strstrrep(utf8FromAnsi(word), "\"", "\"\"") + "\"*";
        word.clear();
    };
    for (const char* p = words; p != nullptr && *p != '\0'; ++p) {
        const char c = *p;
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\xAC')
            flush();
        else
            word += c;
    }
    flush();
    return query;
}

// The type codes of a family mask as an SQL condition on e.type_code.
std::string familyCondition(unsigned families)
{
    if (families == 0)
        return {};
    std::string codes;
    auto add = [&codes](int code) {
        if (!codes.empty())
            codes += ',';
        codes += std::to_string(code);
    };
    if (families & kEk7FamilyDictation) { add(0); add(5); }
    if (families & kEk7FamilyMeeting) add(1);
    if (families & kEk7FamilyPhone) { add(2); add(3); }
    if (families & kEk7FamilyDiary) add(4);
    if (families & kEk7FamilyVideo) add(9);
    if (families & kEk7FamilyTranslation)
        for (int code = 10; code <= 16; ++code)
            add(code);
    return codes.empty() ? std::string(" AND 0") : " AND e.type_code IN (" + codes + ")";
}

namespace fs = std::filesystem;

struct Reader {
    std::mutex mutex;
    std::string path;
    std::uintmax_t size = 0;
    fs::file_time_type changed;
    // Statements prepared on db, by their text; finalized before db closes.
    std::map<std::string, std::unique_ptr<Statement>> statements;
    std::unique_ptr<IndexDatabase> db;

    void close()
    {
        statements.clear();
        db.reset();
    }
};

// A kept statement for one use: reset when the use ends, so that no read
// transaction outlives the call and holds up a writer.
class Lease {
public:
    Lease(Reader& reader, const std::string& sql)
    {
        std::unique_ptr<Statement>& kept = reader.statements[sql];
        if (!kept || kept->prepareResult() != SQLITE_OK)
            kept = std::make_unique<Statement>(reader.db->handle(), sql.c_str());
        m_statement = kept.get();
    }
    ~Lease()
    {
        if (m_statement->prepareResult() == SQLITE_OK)
            m_statement->reset();
    }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    Statement& operator*() const { return *m_statement; }
    Statement* operator->() const { return m_statement; }

private:
    Statement* m_statement = nullptr;
};

Reader& cachedReader()
{
    static Reader reader;
    return reader;
}

int find(const char* path, const Ek7IndexQuery& query, std::vector<Ek7IndexHit>* hits, std::uint64_t* total)
{
    if (path == nullptr || hits == nullptr)
        return kEk7IndexBadArgument;
    hits->clear();
    if (total != nullptr)
        *total = 0;
    // Queries typed one after another read the same file: its connection
    // (schema parsed, pages cached) is kept while the file stays the one it
    // was, by size and time of change. A change through any other
    // connection changes both, and SQLite itself rereads what changed.
    Reader& reader = cachedReader();
    std::lock_guard<std::mutex> hold(reader.mutex);
    std::error_code error;
    const auto size = fs::file_size(path, error);
    const auto changed = error ? fs::file_time_type() : fs::last_write_time(path, error);
    const bool same = !error && reader.db && reader.path == path && reader.size == size && reader.changed == changed;
    if (!same) {
        reader.close();
        auto db = std::make_unique<IndexDatabase>();
        bool empty = false;
        int code = db->open(path, IndexDatabase::Access::Read);
        if (code == kEk7IndexOk)
            code = db->check(&empty);
        if (code == kEk7IndexOk && !empty && db->needsUpgrade()) {
            db = std::make_unique<IndexDatabase>();
            code = upgrade(path);
            if (code == kEk7IndexOk)
                code = db->open(path, IndexDatabase::Access::Read);
            if (code == kEk7IndexOk)
                code = db->check(&empty);
        }
        if (code != kEk7IndexOk || empty)
            return code;
        reader.db = std::move(db);
        reader.path = path;
        reader.size = fs::file_size(path, error);
        reader.changed = error ? fs::file_time_type() : fs::last_write_time(path, error);
        if (error)
            reader.path.clear();  // not kept: it cannot be told apart later
    }
    std::unique_ptr<IndexDatabase>& db = reader.db;
    struct Drop {
        Reader& reader;
        ~Drop()
        {
            if (reader.path.empty())
                reader.close();
        }
    } drop{reader};

    const std::string match = matchExpression(query.words);
    const bool byWords = !match.empty();
    std::string from = byWords ? " FROM entry_search JOIN entry e ON e.rec_id = entry_search.rowid"
                                 " WHERE entry_search MATCH ?1"
                               : " FROM entry e WHERE 1";
    from += familyCondition(query.families);
    if (query.from != 0)
        from += " AND e.start_key >= ?2";
    if (query.to != 0)
        from += " AND e.start_key <= ?3";
    if (query.newMessagesOnly)
        from += " AND e.new_message = 1";
    const bool relevance = byWords && query.order == Ek7IndexQuery::Relevance;
    // Words alone: the full-text table answers by itself (its own ranking
    // and count), and only the page's entries are read. Joining every match
    // to its entry first costs a lookup per match.
    const bool wordsAlone = byWords && query.families == 0 && query.from == 0 && query.to == 0 &&
                            !query.newMessagesOnly;
    std::string page;
    if (query.limit != 0)
        page = " LIMIT " + std::to_string(query.limit) + " OFFSET " + std::to_string(query.offset);
    else if (query.offset != 0)
        page = " LIMIT -1 OFFSET " + std::to_string(query.offset);
    // Ranking costs a little for every match; past rankLimit matches the
    // words are too common for a ranking to help, and newest first is the
    // order (the RecIDs, handed out in time order).
    std::uint64_t matches = 0;
    bool counted = false;
    if (wordsAlone && relevance && query.rankLimit != 0) {
        Lease count(reader, "SELECT count(*) FROM entry_search WHERE entry_search MATCH ?1");
        if (count->prepareResult() != SQLITE_OK)
            return codeForSqlite(count->prepareResult());
        count->bindText(1, match);
        const int rc = count->step();
        if (rc != SQLITE_ROW)
            return codeForSqlite(rc);
        matches = static_cast<std::uint64_t>(count->columnInt64(0));
        counted = true;
    }
    const bool tooMany = counted && matches > query.rankLimit;
    std::string sql;
    if (wordsAlone && tooMany) {
        sql = "SELECT e.rec_id, e.record_type, e.line FROM (SELECT rowid AS id FROM entry_search"
              " WHERE entry_search MATCH ?1 ORDER BY rowid DESC" + page + ") AS m JOIN entry e ON e.rec_id = m.id"
              " ORDER BY m.id DESC";
    } else if (wordsAlone && relevance) {
        // bm25() in an ordinary ORDER BY is scored once a match; the rank
        // column's own ordering looks every match up a second time.
        sql = "SELECT e.rec_id, e.record_type, e.line FROM (SELECT rowid AS id, bm25(entry_search) AS r"
              " FROM entry_search WHERE entry_search MATCH ?1 ORDER BY r, rowid DESC" + page +
              ") AS m JOIN entry e ON e.rec_id = m.id ORDER BY m.r, m.id DESC";
        from = " FROM entry_search WHERE entry_search MATCH ?1";
    } else {
        sql = "SELECT e.rec_id, e.record_type, e.line" + from +
              (relevance ? " ORDER BY bm25(entry_search), e.start_key DESC, e.rec_id DESC"
                         : " ORDER BY e.start_key DESC, e.rec_id DESC") + page;
        if (wordsAlone)
            from = " FROM entry_search WHERE entry_search MATCH ?1";
    }

    auto bind = [&](Statement& statement) {
        if (byWords)
            statement.bindText(1, match);
        if (query.from != 0)
            statement.bindInt64(2, query.from);
        if (query.to != 0)
            statement.bindInt64(3, query.to);
    };
    // The statements differ by the narrowing and the page only: a handful.
    if (reader.statements.size() > 64)
        reader.statements.clear();
    Lease select(reader, sql);
    if (select->prepareResult() != SQLITE_OK)
        return codeForSqlite(select->prepareResult());
    bind(*select);
    int rc;
    while ((rc = select->step()) == SQLITE_ROW) {
        Ek7IndexHit hit;
        hit.recId = static_cast<std::uint32_t>(select->columnInt64(0));
        hit.recordType = ansiFromUtf8(select->columnText(1));
        hit.line = select->columnBlob(2);
        hits->push_back(std::move(hit));
    }
    if (rc != SQLITE_DONE) {
        hits->clear();
        return codeForSqlite(rc);
    }
    if (total == nullptr)
        return kEk7IndexOk;
    if (counted) {
        *total = matches;
        return kEk7IndexOk;
    }
    // A short first page is the whole answer; otherwise count.
    if (query.offset == 0 && (query.limit == 0 || hits->size() < query.limit)) {
        *total = hits->size();
        return kEk7IndexOk;
    }
    Statement count(db->handle(), ("SELECT count(*)" + from).c_str());
    if (count.prepareResult() != SQLITE_OK)
        return codeForSqlite(count.prepareResult());
    bind(count);
    rc = count.step();
    if (rc != SQLITE_ROW)
        return codeForSqlite(rc);
    *total = static_cast<std::uint64_t>(count.columnInt64(0));
    return kEk7IndexOk;
}

}  // namespace

int Ek7IndexFind(const char* indexPath, const Ek7IndexQuery& query, std::vector<Ek7IndexHit>* hits,
                 std::uint64_t* total)
{
    return guarded([&] { return find(indexPath, query, hits, total); });
}

int Ek7IndexUpgrade(const char* indexPath)
{
    return guarded([&] { return upgrade(indexPath); });
}
