#include "maker/ek7vxrps/Transaction.h"

namespace rps {

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
    const int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    m_open = rc == SQLITE_OK;
    return rc;
}

int Transaction::commit()
{
    const int rc = sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr);
    // A busy COMMIT keeps the transaction open; the destructor rolls it back.
    if (rc == SQLITE_OK)
        m_open = false;
    return rc;
}

}  // namespace rps
