#include "maker/Ek7Index/internal/IndexDatabase.h"

#include "maker/Ek7Index/Ek7Index.h"
#include "maker/Ek7Index/internal/DerivedFields.h"
#include "maker/SqliteKit/Sqlite.h"
#include "platform/Codepage.h"

#include <sqlite3.h>

namespace ek7index {

using sqlitekit::Statement;

namespace {

// "Ek7I" in the file header tells our index from any other SQLite file.
constexpr int kApplicationId = 0x456B3749;
constexpr int kSchemaVersion = 2;

// Waiting for another writer is better than failing a recording's filing.
constexpr int kBusyTimeoutMs = 5000;

// The full-text rows and their triggers, shared by a new file and an
// upgraded one.
const char* const kSearchSchema = R"sql(
CREATE VIRTUAL TABLE entry_search USING fts5(
    keywords, extra_text, subject, names, marks,
    content = 'entry', content_rowid = 'rec_id',
    tokenize = 'unicode61 remove_diacritics 2', prefix = '2 3'
);
CREATE TRIGGER entry_search_add AFTER INSERT ON entry BEGIN
    INSERT INTO entry_search(rowid, keywords, extra_text, subject, names, marks)
        VALUES (new.rec_id, new.keywords, new.extra_text, new.subject, new.names, new.marks);
END;
CREATE TRIGGER entry_search_del AFTER DELETE ON entry BEGIN
    INSERT INTO entry_search(entry_search, rowid, keywords, extra_text, subject, names, marks)
        VALUES ('delete', old.rec_id, old.keywords, old.extra_text, old.subject, old.names, old.marks);
END;
-- Only real changes of the searched text: store compression rewrites the
-- position of every entry and should not rebuild the search rows.
CREATE TRIGGER entry_search_upd AFTER UPDATE OF keywords, extra_text, subject, names, marks ON entry
WHEN old.keywords IS NOT new.keywords OR old.extra_text IS NOT new.extra_text
     OR old.subject IS NOT new.subject OR old.names IS NOT new.names OR old.marks IS NOT new.marks
BEGIN
    INSERT INTO entry_search(entry_search, rowid, keywords, extra_text, subject, names, marks)
        VALUES ('delete', old.rec_id, old.keywords, old.extra_text, old.subject, old.names, old.marks);
    INSERT INTO entry_search(rowid, keywords, extra_text, subject, names, marks)
        VALUES (new.rec_id, new.keywords, new.extra_text, new.subject, new.names, new.marks);
END;
CREATE INDEX entry_by_start ON entry(start_key);
PRAGMA user_version = 2;
)sql";

const char* const kSchema = R"sql(
PRAGMA application_id = 1164654409;
CREATE TABLE entry(
    rec_id        INTEGER PRIMARY KEY,
    record_type   TEXT NOT NULL,
    start_time    TEXT NOT NULL,
    line_position INTEGER NOT NULL,
    reserved      INTEGER NOT NULL,
    keywords      TEXT NOT NULL,
    extra_text    TEXT NOT NULL,
    subject       TEXT NOT NULL,
    line          BLOB,
    type_code     INTEGER NOT NULL DEFAULT -1,
    start_key     INTEGER NOT NULL DEFAULT 0,
    new_message   INTEGER NOT NULL DEFAULT 0,
    names         TEXT NOT NULL DEFAULT '',
    marks         TEXT NOT NULL DEFAULT ''
);
)sql";

// Version 1 had no derived columns and searched keywords, extra text and
// subject only; its search rows go and are rebuilt over the new columns.
const char* const kUpgradeFrom1 = R"sql(
ALTER TABLE entry ADD COLUMN type_code INTEGER NOT NULL DEFAULT -1;
ALTER TABLE entry ADD COLUMN start_key INTEGER NOT NULL DEFAULT 0;
ALTER TABLE entry ADD COLUMN new_message INTEGER NOT NULL DEFAULT 0;
ALTER TABLE entry ADD COLUMN names TEXT NOT NULL DEFAULT '';
ALTER TABLE entry ADD COLUMN marks TEXT NOT NULL DEFAULT '';
DROP TRIGGER IF EXISTS entry_search_add;
DROP TRIGGER IF EXISTS entry_search_del;
DROP TRIGGER IF EXISTS entry_search_upd;
DROP TABLE IF EXISTS entry_search;
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
    // A connection is only ever used by one thread at a time (the kept
    // search connection under its own lock): SQLite's own locking of every
    // call would only cost.
    const int flags = (access == Access::Write ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY) | SQLITE_OPEN_NOMUTEX;
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
    m_version = static_cast<int>(version);
    return kEk7IndexOk;
}

int IndexDatabase::createSchema()
{
    int code = exec(kSchema);
    if (code == kEk7IndexOk)
        code = exec(kSearchSchema);
    if (code == kEk7IndexOk)
        m_version = kSchemaVersion;
    return code;
}

bool IndexDatabase::needsUpgrade() const
{
    return m_version > 0 && m_version < kSchemaVersion;
}

int IndexDatabase::upgrade()
{
    if (!needsUpgrade())
        return kEk7IndexOk;
    int code = exec(kUpgradeFrom1);
    if (code != kEk7IndexOk)
        return code;
    // The derived columns of every entry, from what it already holds.
    Statement rows(m_db, "SELECT rec_id, record_type, start_time, line FROM entry");
    Statement update(m_db,
                     "UPDATE entry SET type_code = ?2, start_key = ?3, new_message = ?4, names = ?5, marks = ?6"
                     " WHERE rec_id = ?1");
    if (rows.prepareResult() != SQLITE_OK)
        return codeForSqlite(rows.prepareResult());
    if (update.prepareResult() != SQLITE_OK)
        return codeForSqlite(update.prepareResult());
    int rc;
    while ((rc = rows.step()) == SQLITE_ROW) {
        const DerivedFields derived = deriveFields(ansiFromUtf8(rows.columnText(1)),
                                                   ansiFromUtf8(rows.columnText(2)), rows.columnBlob(3));
        update.reset();
        update.bindInt64(1, rows.columnInt64(0));
        update.bindInt64(2, derived.typeCode);
        update.bindInt64(3, derived.startKey);
        update.bindInt64(4, derived.newMessage ? 1 : 0);
        update.bindText(5, derived.names);
        update.bindText(6, derived.marks);
        const int done = update.step();
        if (done != SQLITE_DONE)
            return codeForSqlite(done);
    }
    if (rc != SQLITE_DONE)
        return codeForSqlite(rc);
    code = exec(kSearchSchema);
    if (code == kEk7IndexOk)
        code = exec("INSERT INTO entry_search(entry_search) VALUES ('rebuild')");
    if (code == kEk7IndexOk)
        m_version = kSchemaVersion;
    return code;
}

int IndexDatabase::exec(const char* sql)
{
    return codeForSqlite(sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr));
}

}  // namespace ek7index
