#pragma once
// The SQLite handles both SQLite users of the maker libraries (the data store
// and the record index) work with, owned so that every early return closes
// what it opened: a connection, a prepared statement, an incremental blob and
// a transaction that rolls back unless committed. Results are SQLite codes.

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace sqlitekit {

class Connection {
public:
    Connection() = default;
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    Connection(Connection&& other) noexcept : m_db(other.m_db) { other.m_db = nullptr; }
    Connection& operator=(Connection&& other) noexcept;

    // Opens an existing file read-write; never creates one.
    int open(const char* path, const char* vfs);
    sqlite3* get() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
};

class Statement {
public:
    Statement() = default;
    // Prepares sql at once; prepareResult() tells whether that worked.
    Statement(sqlite3* db, const char* sql) { prepare(db, sql); }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    int prepare(sqlite3* db, const char* sql);
    int prepareResult() const { return m_prepareResult; }
    sqlite3_stmt* get() const { return m_stmt; }

    // Indexes count from 1. Texts and blobs are copied unless said otherwise.
    int bindInt64(int index, std::int64_t value);
    int bindText(int index, const char* text);
    int bindText(int index, const std::string& text);
    int bindBlob(int index, const std::string& value);
    // The bytes must stay put until the statement is reset or stepped to its end.
    int bindStaticBlob(int index, const void* data, std::size_t size);
    int bindNull(int index);

    // SQLITE_ROW, SQLITE_DONE or an error.
    int step() { return sqlite3_step(m_stmt); }
    // Ready to run again with new bindings.
    void reset();

    std::int64_t columnInt64(int column) const;
    std::string columnText(int column) const;
    std::string columnBlob(int column) const;
    bool columnIsNull(int column) const;

private:
    sqlite3_stmt* m_stmt = nullptr;
    int m_prepareResult = SQLITE_MISUSE;
};

class Blob {
public:
    Blob() = default;
    ~Blob() { sqlite3_blob_close(m_blob); }
    Blob(const Blob&) = delete;
    Blob& operator=(const Blob&) = delete;

    int open(sqlite3* db, const char* table, const char* column, std::int64_t row, bool write);
    sqlite3_blob* get() const { return m_blob; }
    // Closing a written blob can report a deferred error, so it is checked.
    int close();

private:
    sqlite3_blob* m_blob = nullptr;
};

// One transaction. The destructor rolls back unless commit() ran, so every
// early return of a multi-step change leaves the database as it was.
class Transaction {
public:
    enum class Kind {
        Read,   // deferred: a consistent snapshot for the reads that follow
        Write,  // immediate: takes the write lock now, so a second writer
                // waits at the start rather than failing half-way
    };

    explicit Transaction(sqlite3* db) : m_db(db) {}
    // Begins at once; beginResult() tells whether that worked.
    Transaction(sqlite3* db, Kind kind) : m_db(db) { begin(kind); }
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    int begin(Kind kind);
    int beginResult() const { return m_beginResult; }
    // On failure the transaction stays open and the destructor rolls it back.
    int commit();

private:
    sqlite3* m_db;
    int m_beginResult = SQLITE_MISUSE;
    bool m_open = false;
};

}  // namespace sqlitekit
