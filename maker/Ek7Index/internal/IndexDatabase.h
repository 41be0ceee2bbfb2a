// One connection to an index file, closed when it goes out of scope, and the
// knowledge of what an index file looks like: how to tell one from any other
// file without writing to it, and its tables.
//
// Tables: "entry", one row per RecID (the rowid, so listing in RecID order is
// a walk of the table itself), and "entry_search", an FTS5 index over the
// entry's keywords, extra text and subject with entry as its external content.
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

    // Runs SQL that returns no rows needed; returns an Ek7Index code.
    int exec(const char* sql);

    sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
};

}  // namespace ek7index
