#include "maker/Ek7Index/internal/Transaction.h"

#include <sqlite3.h>

namespace ek7index {

Transaction::Transaction(sqlite3* db)
    : m_db(db)
    , m_beginResult(sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr))
    , m_open(m_beginResult == SQLITE_OK)
{
}

Transaction::~Transaction()
{
    // SQLite may already have rolled back after an I/O error; then there is
    // nothing left to end.
    if (m_open && !sqlite3_get_autocommit(m_db))
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
}

int Transaction::commit()
{
    if (!m_open)
        return SQLITE_MISUSE;
    const int rc = sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr);
    if (rc == SQLITE_OK)
        m_open = false;
    return rc;
}

}  // namespace ek7index
