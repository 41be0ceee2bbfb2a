#pragma once
// One SQLite transaction. The destructor rolls back unless commit() ran, so
// every early return of a multi-step change leaves the store as it was.

#include <sqlite3.h>

namespace rps {

class Transaction {
public:
    enum class Kind {
        Read,   // deferred: a consistent snapshot for the reads that follow
        Write,  // immediate: takes the write lock now, waiting out the busy timeout
    };

    explicit Transaction(sqlite3* db) : m_db(db) {}
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    int begin(Kind kind);
    int commit();

private:
    sqlite3* m_db;
    bool m_open = false;
};

}  // namespace rps
