// One prepared SQLite statement, finalized when it goes out of scope.
#pragma once

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace ek7index {

class Statement {
public:
    // Prepares sql; prepareResult() tells whether that worked.
    Statement(sqlite3* db, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    int prepareResult() const { return m_prepareResult; }

    // Binds return SQLite result codes; indexes count from 1.
    int bindInt64(int index, std::int64_t value);
    int bindText(int index, const std::string& value);
    int bindBlob(int index, const std::string& value);
    int bindNull(int index);

    // SQLITE_ROW, SQLITE_DONE or an error.
    int step();
    // Ready to run again with new bindings.
    void reset();

    std::int64_t columnInt64(int column) const;
    std::string columnText(int column) const;
    std::string columnBlob(int column) const;
    bool columnIsNull(int column) const;

private:
    sqlite3_stmt* m_stmt = nullptr;
    int m_prepareResult;
};

}  // namespace ek7index
