#include "maker/Ek7Index/internal/IndexDatabase.h"

#include "maker/Ek7Index/Ek7Index.h"
#include "maker/SqliteKit/Sqlite.h"

#include <sqlite3.h>

namespace ek7index {

using sqlitekit::Statement;

namespace {

// "Ek7I" in the file header tells our index from any other SQLite file.
constexpr int kApplicationId = 0x456B3749;
constexpr int kSchemaVersion = 1;

// Waiting for another writer is better than failing a recording's filing.
constexpr int kBusyTimeoutMs = 5000;

const char* const kSchema = R"sql(
PRAGMA application_id = 1164654409;
PRAGMA user_version = 1;
CREATE TABLE entry(
    rec_id        INTEGER PRIMARY KEY,
    record_type   TEXT NOT NULL,
    start_time    TEXT NOT NULL,
    line_position INTEGER NOT NULL,
    reserved      INTEGER NOT NULL,
    keywords      TEXT NOT NULL,
    extra_text    TEXT NOT NULL,
    subject       TEXT NOT NULL,
    line          BLOB
);
CREATE VIRTUAL TABLE entry_search USING fts5(
    keywords, extra_text, subject,
    content = 'entry', content_rowid = 'rec_id',
    tokenize = 'unicode61 remove_diacritics 2'
);
CREATE TRIGGER entry_search_add AFTER INSERT ON entry BEGIN
    INSERT INTO entry_search(rowid, keywords, extra_text, subject)
        VALUES (new.rec_id, new.keywords, new.extra_text, new.subject);
END;
CREATE TRIGGER entry_search_del AFTER DELETE ON entry BEGIN
    INSERT INTO entry_search(entry_search, rowid, keywords, extra_text, subject)
        VALUES ('delete', old.rec_id, old.keywords, old.extra_text, old.subject);
END;
-- Only real changes of the searched text: store compression rewrites the
-- position of every entry and should not rebuild the search rows.
CREATE TRIGGER entry_search_upd AFTER UPDATE OF keywords, extra_text, subject ON entry
WHEN old.keywords IS NOT new.keywords OR old.extra_text IS NOT new.extra_text
     OR old.subject IS NOT new.subject
BEGIN
    INSERT INTO entry_search(entry_search, rowid, keywords, extra_text, subject)
        VALUES ('delete', old.rec_id, old.keywords, old.extra_text, old.subject);
    INSERT INTO entry_search(rowid, keywords, extra_text, subject)
        VALUES (new.rec_id, new.keywords, new.extra_text, new.subject);
END;
)sql";

static_assert(kApplicationId == 1164654409, "the schema text writes the same id");

// The single number a PRAGMA or query returns.
int pragmaValue(sqlite3* db, const char* sql, long long* value)
{
    Statement statement(db, sql);
    if (statement.prepareResult() != SQLITE_OK)
        return codeForSqlite(statement.prepareResult());
    const int rc = statement.step();
    if (rc != SQLITE_ROW)
        return codeForSqlite(rc);
    *value = statement.columnInt64(0);
    return kEk7IndexOk;
}

}  // namespace

int codeForSqlite(int sqliteResult)
{
    switch (sqliteResult & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return kEk7IndexOk;
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
        return kEk7IndexNotAnIndex;
    case SQLITE_CORRUPT:
        return kEk7IndexDamaged;
    case SQLITE_CANTOPEN:
        return kEk7IndexCannotOpen;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return kEk7IndexBusy;
    case SQLITE_NOMEM:
        return kEk7IndexNoMemory;
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_READONLY:
    case SQLITE_PERM:
        return kEk7IndexIoError;
    case SQLITE_TOOBIG:
        return kEk7IndexTooLong;
    case SQLITE_CONSTRAINT:
        return kEk7IndexExists;
    default:
        return kEk7IndexFailed;
    }
}

IndexDatabase::~IndexDatabase()
{
    sqlite3_close_v2(m_db);
}

int IndexDatabase::open(const char* path, Access access)
{
    const int flags = access == Access::Write ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY;
    const int rc = sqlite3_open_v2(path, &m_db, flags, nullptr);
    if (rc != SQLITE_OK)
        return rc == SQLITE_NOMEM ? kEk7IndexNoMemory : kEk7IndexCannotOpen;
    sqlite3_busy_timeout(m_db, kBusyTimeoutMs);
    return kEk7IndexOk;
}

int IndexDatabase::check(bool* empty)
{
    long long pages = 0;
    int code = pragmaValue(m_db, "PRAGMA page_count", &pages);
    if (code != kEk7IndexOk)
        return code;
    *empty = pages == 0;
    if (*empty)
        return kEk7IndexOk;

    long long applicationId = 0;
    long long version = 0;
    code = pragmaValue(m_db, "PRAGMA application_id", &applicationId);
    if (code == kEk7IndexOk)
        code = pragmaValue(m_db, "PRAGMA user_version", &version);
    if (code != kEk7IndexOk)
        return code;
    if (applicationId == 0 && version == 0) {
        // A database without a single table holds nothing to lose. Inside a
        // write transaction a 0-byte file already looks like this: SQLite has
        // set up its first page in memory.
        long long objects = 0;
        code = pragmaValue(m_db, "SELECT count(*) FROM sqlite_master", &objects);
        if (code != kEk7IndexOk)
            return code;
        *empty = objects == 0;
        return *empty ? kEk7IndexOk : kEk7IndexNotAnIndex;
    }
    if (applicationId != kApplicationId || version < 1 || version > kSchemaVersion)
        return kEk7IndexNotAnIndex;
    return kEk7IndexOk;
}

int IndexDatabase::createSchema()
{
    return exec(kSchema);
}

int IndexDatabase::exec(const char* sql)
{
    return codeForSqlite(sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr));
}

}  // namespace ek7index
