#include "maker/SqliteKit/Sqlite.h"

namespace sqlitekit {

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
    // No SQLITE_OPEN_CREATE: a mistyped path fails instead of leaving an
    // empty database behind.
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
    m_prepareResult = sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr);
    if (m_prepareResult == SQLITE_OK && m_stmt == nullptr)
        m_prepareResult = SQLITE_MISUSE;  // empty SQL: never meant
    return m_prepareResult;
}

void Statement::reset()
{
    sqlite3_reset(m_stmt);
    sqlite3_clear_bindings(m_stmt);
}

int Statement::bindInt64(int index, std::int64_t value)
{
    return sqlite3_bind_int64(m_stmt, index, value);
}

int Statement::bindText(int index, const char* text)
{
    return sqlite3_bind_text(m_stmt, index, text, -1, SQLITE_TRANSIENT);
}

int Statement::bindText(int index, const std::string& text)
{
    return sqlite3_bind_text64(m_stmt, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

int Statement::bindBlob(int index, const std::string& value)
{
    return sqlite3_bind_blob64(m_stmt, index, value.data(), value.size(), SQLITE_TRANSIENT);
}

int Statement::bindStaticBlob(int index, const void* data, std::size_t size)
{
    return sqlite3_bind_blob64(m_stmt, index, data, size, SQLITE_STATIC);
}

int Statement::bindNull(int index)
{
    return sqlite3_bind_null(m_stmt, index);
}

std::int64_t Statement::columnInt64(int column) const
{
    return sqlite3_column_int64(m_stmt, column);
}

std::string Statement::columnText(int column) const
{
    const auto* text = sqlite3_column_text(m_stmt, column);
    const int size = sqlite3_column_bytes(m_stmt, column);
    return text != nullptr ? std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size))
                           : std::string();
}

std::string Statement::columnBlob(int column) const
{
    const void* data = sqlite3_column_blob(m_stmt, column);
    const int size = sqlite3_column_bytes(m_stmt, column);
    return data != nullptr ? std::string(static_cast<const char*>(data), static_cast<std::size_t>(size))
                           : std::string();
}

bool Statement::columnIsNull(int column) const
{
    return sqlite3_column_type(m_stmt, column) == SQLITE_NULL;
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

Transaction::~Transaction()
{
    // After an I/O error or a full disk SQLite may already have rolled back
    // on its own; a second ROLLBACK would only report "no transaction".
    if (m_open && sqlite3_get_autocommit(m_db) == 0)
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
}

int Transaction::begin(Kind kind)
{
    const char* sql = kind == Kind::Write ? "BEGIN IMMEDIATE" : "BEGIN";
    m_beginResult = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    m_open = m_beginResult == SQLITE_OK;
    return m_beginResult;
}

int Transaction::commit()
{
    if (!m_open)
        return SQLITE_MISUSE;
    const int rc = sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr);
    // A busy COMMIT keeps the transaction open; the destructor rolls it back.
    if (rc == SQLITE_OK)
        m_open = false;
    return rc;
}

}  // namespace sqlitekit
