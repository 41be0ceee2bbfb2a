// One connection to an index file, closed when it goes out of scope, and the
// knowledge of what an index file looks like: how to tell one from any other
// file without writing to it, and its tables.
//
// Tables: "entry", one row per RecID (the rowid, so listing in RecID order is
// a walk of the table itself), and "entry_search", an FTS5 index over the
// entry's keywords, extra text, subject, caller names and mark comments with
// entry as its external content (format 2; format 1 lacked the last two and
// the derived columns, and is upgraded by the first writer).
// Triggers keep entry_search in step with every insert, delete and change of
// those three columns, so no caller can leave the two apart.
#pragma once

struct sqlite3;

namespace ek7index {

// The Ek7Index result code for an SQLite result code.
int codeForSqlite(int sqliteResult);

class IndexDatabase {
public:
    enum class Access { Read, Write };

    IndexDatabase() = default;
    ~IndexDatabase();
    IndexDatabase(const IndexDatabase&) = delete;
    IndexDatabase& operator=(const IndexDatabase&) = delete;

    // Opens an existing file; never creates one. Returns an Ek7Index code.
    int open(const char* path, Access access);

    // Whether the file is an index (*empty false) or a new one (*empty true:
    // 0 bytes, or an SQLite database without any table). Only reads.
    // Returns an Ek7Index code.
    int check(bool* empty);

    // Writes the tables into an empty file, inside the caller's transaction.
    int createSchema();

    // Whether check() found an index of an older format, and bringing it up
    // to date inside the caller's write transaction: the derived columns are
    // added and filled, the search rows rebuilt over them.
    bool needsUpgrade() const;
    int upgrade();

    // Runs SQL that returns no rows needed; returns an Ek7Index code.
    int exec(const char* sql);

    sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
    int m_version = 0;  // of the file, as check() found it
};

}  // namespace ek7index
