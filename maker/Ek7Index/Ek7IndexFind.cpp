// Ek7IndexFind and Ek7IndexUpgrade: the search the Search window runs, over
// the full-text rows and the derived columns of format 2.
#include "maker/Ek7Index/Ek7Index.h"

#include "maker/Ek7Index/internal/IndexDatabase.h"
#include "maker/SqliteKit/Sqlite.h"
#include "maker/ZOLO/ZOLOREP1.h"
#include "platform/Codepage.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

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

// The relevance of a match, lower first as with bm25: bm25's saturated term
// frequency and rarity of each word, without its document-length part.
// bm25 reads every match's column sizes from a table of their own (a
// lookup a match, most of a query's time); the searched texts are short,
// and how often and how many of the words occur tells more than the length.
struct PhraseRarity {
    std::vector<double> idf;
};

int countHit(const Fts5ExtensionApi*, Fts5Context*, void* hits)
{
    ++*static_cast<sqlite3_int64*>(hits);
    return SQLITE_OK;
}

void navoRank(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* context, int, sqlite3_value**)
{
    constexpr double k1 = 1.2;
    const int phrases = api->xPhraseCount(fts);
    auto* rarity = static_cast<PhraseRarity*>(api->xGetAuxdata(fts, 0));
    if (rarity == nullptr) {
        // Once a query. One word weighs the same in every match: no need to
        // count its matches.
        auto made = std::make_unique<PhraseRarity>();
        made->idf.assign(static_cast<std::size_t>(phrases), 1.0);
        sqlite3_int64 rows = 0;
        int rc = phrases > 1 ? api->xRowCount(fts, &rows) : SQLITE_OK;
        for (int i = 0; phrases > 1 && i < phrases && rc == SQLITE_OK; ++i) {
            sqlite3_int64 hits = 0;
            rc = api->xQueryPhrase(fts, i, &hits, countHit);
            const double idf = std::log((rows - hits + 0.5) / (hits + 0.5));
            made->idf[static_cast<std::size_t>(i)] = idf > 1e-6 ? idf : 1e-6;
        }
        if (rc == SQLITE_OK)
            rc = api->xSetAuxdata(fts, made.get(), [](void* p) { delete static_cast<PhraseRarity*>(p); });
        if (rc != SQLITE_OK) {
            sqlite3_result_error_code(context, rc);
            return;
        }
        rarity = made.release();
    }
    int instances = 0;
    int rc = api->xInstCount(fts, &instances);
    double frequencies[16] = {};
    std::vector<double> more;
    double* frequency = frequencies;
    if (phrases > 16) {
        more.assign(static_cast<std::size_t>(phrases), 0.0);
        frequency = more.data();
    }
    for (int i = 0; i < instances && rc == SQLITE_OK; ++i) {
        int phrase = 0, column = 0, offset = 0;
        rc = api->xInst(fts, i, &phrase, &column, &offset);
        if (rc == SQLITE_OK && phrase >= 0 && phrase < phrases)
            frequency[phrase] += 1.0;
    }
    if (rc != SQLITE_OK) {
        sqlite3_result_error_code(context, rc);
        return;
    }
    double score = 0;
    for (int i = 0; i < phrases; ++i)
        score += rarity->idf[static_cast<std::size_t>(i)] * frequency[i] * (k1 + 1.0) / (frequency[i] + k1);
    sqlite3_result_double(context, -score);
}

// Makes navo_rank() known to a connection's full-text tables.
int addRanking(sqlite3* db)
{
    fts5_api* fts = nullptr;
    Statement lookup(db, "SELECT fts5(?1)");
    if (lookup.prepareResult() != SQLITE_OK)
        return codeForSqlite(lookup.prepareResult());
    sqlite3_bind_pointer(lookup.get(), 1, &fts, "fts5_api_ptr", nullptr);
    const int rc = lookup.step();
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
        return codeForSqlite(rc);
    if (fts == nullptr || fts->iVersion < 2)
        return kEk7IndexFailed;
    return codeForSqlite(fts->xCreateFunction(fts, "navo_rank", nullptr, navoRank, nullptr));
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
        if (code == kEk7IndexOk && !empty)
            code = addRanking(db->handle());
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
    // One read transaction for the query's statements: each would otherwise
    // take and drop the file's lock and read its header again.
    Transaction snapshot(db->handle(), Transaction::Kind::Read);
    if (snapshot.beginResult() != SQLITE_OK)
        return codeForSqlite(snapshot.beginResult());

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
    // Words alone: the full-text table answers by itself (the count, and
    // the ranking or the newest page), and only the page's entries are read.
    // Joining every match to its entry first costs a lookup per match.
    const bool wordsAlone = byWords && query.families == 0 && query.from == 0 && query.to == 0 &&
                            !query.newMessagesOnly;
    std::string page;
    if (query.limit != 0)
        page = " LIMIT " + std::to_string(query.limit) + " OFFSET " + std::to_string(query.offset);
    else if (query.offset != 0)
        page = " LIMIT -1 OFFSET " + std::to_string(query.offset);
    // The statements differ by the narrowing and the page only: a handful.
    if (reader.statements.size() > 64)
        reader.statements.clear();
    // Ranking costs a little for every match; past rankLimit matches the
    // words are too common for a ranking to help, and newest first is the
    // order (the RecIDs, handed out in time order).
    std::uint64_t matches = 0;
    bool tooMany = false;
    if (wordsAlone && relevance && query.rankLimit != 0) {
        // Counted first: stepping through every match of a common word costs
        // more than counting it and reading the newest page.
        {
            Lease count(reader, "SELECT count(*) FROM entry_search WHERE entry_search MATCH ?1");
            if (count->prepareResult() != SQLITE_OK)
                return codeForSqlite(count->prepareResult());
            count->bindText(1, match);
            const int rc = count->step();
            if (rc != SQLITE_ROW)
                return codeForSqlite(rc);
            matches = static_cast<std::uint64_t>(count->columnInt64(0));
        }
        tooMany = matches > query.rankLimit;
    }
    if (wordsAlone && relevance && !tooMany) {
        // Ranked here, and only the page's entries read: a few matches cost
        // a few lookups.
        std::vector<std::pair<double, std::int64_t>> ranked;
        ranked.reserve(static_cast<std::size_t>(matches));
        {
            Lease rank(reader, "SELECT rowid, navo_rank(entry_search) FROM entry_search WHERE entry_search MATCH ?1");
            if (rank->prepareResult() != SQLITE_OK)
                return codeForSqlite(rank->prepareResult());
            rank->bindText(1, match);
            int rc;
            while ((rc = rank->step()) == SQLITE_ROW)
                ranked.emplace_back(sqlite3_column_double(rank->get(), 1), rank->columnInt64(0));
            if (rc != SQLITE_DONE)
                return codeForSqlite(rc);
        }
        const std::size_t first = std::min(query.offset, ranked.size());
        const std::size_t last = query.limit == 0 ? ranked.size() : std::min(ranked.size(), first + query.limit);
        auto better = [](const std::pair<double, std::int64_t>& a, const std::pair<double, std::int64_t>& b) {
            return a.first != b.first ? a.first < b.first : a.second > b.second;
        };
        if (last == ranked.size())
            std::sort(ranked.begin(), ranked.end(), better);
        else
            std::partial_sort(ranked.begin(), ranked.begin() + static_cast<std::ptrdiff_t>(last), ranked.end(),
                              better);
        hits->reserve(last - first);
        Lease entry(reader, "SELECT record_type, line FROM entry WHERE rec_id = ?1");
        if (entry->prepareResult() != SQLITE_OK)
            return codeForSqlite(entry->prepareResult());
        for (std::size_t i = first; i < last; ++i) {
            entry->reset();
            entry->bindInt64(1, ranked[i].second);
            const int rc = entry->step();
            if (rc == SQLITE_DONE)
                continue;  // search rows without an entry are not shown
            if (rc != SQLITE_ROW) {
                hits->clear();
                return codeForSqlite(rc);
            }
            Ek7IndexHit hit;
            hit.recId = static_cast<std::uint32_t>(ranked[i].second);
            hit.recordType = ansiFromUtf8(entry->columnText(0));
            hit.line = entry->columnBlob(1);
            hits->push_back(std::move(hit));
        }
        if (total != nullptr)
            *total = ranked.size();
        return kEk7IndexOk;
    }
    std::string sql;
    if (tooMany) {
        sql = "SELECT e.rec_id, e.record_type, e.line FROM (SELECT rowid AS id FROM entry_search"
              " WHERE entry_search MATCH ?1 ORDER BY rowid DESC" + page + ") AS m JOIN entry e ON e.rec_id = m.id"
              " ORDER BY m.id DESC";
    } else {
        sql = "SELECT e.rec_id, e.record_type, e.line" + from +
              (relevance ? " ORDER BY navo_rank(entry_search), e.start_key DESC, e.rec_id DESC"
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
    if (tooMany) {
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
