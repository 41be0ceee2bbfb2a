#include "maker/ek7vxrps/SqliteHandles.h"

namespace rps {

Connection::~Connection()
{
    sqlite3_close_v2(m_db);
}

Connection& Connection::operator=(Connection&& other) noexcept
{
    if (this != &other) {
        sqlite3_close_v2(m_db);
        m_db = other.m_db;
        other.m_db = nullptr;
    }
    return *this;
}

int Connection::open(const char* path, const char* vfs)
{
    sqlite3_close_v2(m_db);
    m_db = nullptr;
    // No SQLITE_OPEN_CREATE: only RPS_Create may bring a store into being, so
    // a mistyped path fails instead of leaving an empty database behind.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_EXRESCODE;
    const int rc = sqlite3_open_v2(path, &m_db, flags, vfs);
    if (rc != SQLITE_OK) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
    return rc;
}

int Statement::prepare(sqlite3* db, const char* sql)
{
    sqlite3_finalize(m_stmt);
    m_stmt = nullptr;
    return sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr);
}

void Statement::reset()
{
    sqlite3_reset(m_stmt);
    sqlite3_clear_bindings(m_stmt);
}

int Statement::bindText(int index, const char* text)
{
    return sqlite3_bind_text(m_stmt, index, text, -1, SQLITE_TRANSIENT);
}

int Statement::bindInt64(int index, std::int64_t value)
{
    return sqlite3_bind_int64(m_stmt, index, value);
}

int Blob::open(sqlite3* db, const char* table, const char* column, std::int64_t row, bool write)
{
    close();
    return sqlite3_blob_open(db, "main", table, column, row, write ? 1 : 0, &m_blob);
}

int Blob::close()
{
    const int rc = sqlite3_blob_close(m_blob);
    m_blob = nullptr;
    return rc;
}

}  // namespace rps
