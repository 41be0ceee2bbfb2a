#pragma once
// Owning wrappers for the three SQLite handles the store uses, so that every
// early return closes what it opened.

#include <sqlite3.h>

#include <cstdint>

namespace rps {

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
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    int prepare(sqlite3* db, const char* sql);
    sqlite3_stmt* get() const { return m_stmt; }
    int step() { return sqlite3_step(m_stmt); }
    void reset();
    int bindText(int index, const char* text);
    int bindInt64(int index, std::int64_t value);

private:
    sqlite3_stmt* m_stmt = nullptr;
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

}  // namespace rps
