#include "maker/Ek7Index/internal/Statement.h"

#include <sqlite3.h>

namespace ek7index {

Statement::Statement(sqlite3* db, const char* sql)
    : m_prepareResult(sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr))
{
    if (m_prepareResult == SQLITE_OK && m_stmt == nullptr)
        m_prepareResult = SQLITE_MISUSE;  // empty SQL: never meant
}

Statement::~Statement()
{
    sqlite3_finalize(m_stmt);
}

int Statement::bindInt64(int index, std::int64_t value)
{
    return sqlite3_bind_int64(m_stmt, index, value);
}

int Statement::bindText(int index, const std::string& value)
{
    return sqlite3_bind_text64(m_stmt, index, value.data(), value.size(), SQLITE_TRANSIENT,
                               SQLITE_UTF8);
}

int Statement::bindBlob(int index, const std::string& value)
{
    return sqlite3_bind_blob64(m_stmt, index, value.data(), value.size(), SQLITE_TRANSIENT);
}

int Statement::bindNull(int index)
{
    return sqlite3_bind_null(m_stmt, index);
}

int Statement::step()
{
    return sqlite3_step(m_stmt);
}

void Statement::reset()
{
    sqlite3_reset(m_stmt);
    sqlite3_clear_bindings(m_stmt);
}

std::int64_t Statement::columnInt64(int column) const
{
    return sqlite3_column_int64(m_stmt, column);
}

std::string Statement::columnText(int column) const
{
    const auto* text = sqlite3_column_text(m_stmt, column);
    const int size = sqlite3_column_bytes(m_stmt, column);
    return text != nullptr ? std::string(reinterpret_cast<const char*>(text), size) : std::string();
}

std::string Statement::columnBlob(int column) const
{
    const void* data = sqlite3_column_blob(m_stmt, column);
    const int size = sqlite3_column_bytes(m_stmt, column);
    return data != nullptr ? std::string(static_cast<const char*>(data), size) : std::string();
}

bool Statement::columnIsNull(int column) const
{
    return sqlite3_column_type(m_stmt, column) == SQLITE_NULL;
}

}  // namespace ek7index
