// A write transaction on one connection: BEGIN IMMEDIATE on construction, so
// that a second writer waits at the start rather than failing half-way;
// rolled back on destruction unless commit() succeeded.
#pragma once

struct sqlite3;

namespace ek7index {

class Transaction {
public:
    explicit Transaction(sqlite3* db);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // The SQLite result of BEGIN.
    int beginResult() const { return m_beginResult; }

    // The SQLite result of COMMIT. On failure the transaction stays open and
    // the destructor rolls it back.
    int commit();

private:
    sqlite3* m_db;
    int m_beginResult;
    bool m_open;
};

}  // namespace ek7index
