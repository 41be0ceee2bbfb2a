#pragma once
// One open data store: an SQLite database with a single table of members,
// checked to be ours before anything touches it. Methods return the RPS_
// result codes of ek7vxrps.h.

#include "maker/ek7vxrps/SqliteHandles.h"
#include "maker/ek7vxrps/ek7vxrps.h"

#include <cstdint>
#include <string>
#include <vector>

namespace rps {

struct PutSource {
    std::string path;    // file to read
    std::string member;  // name inside the store
};

class Store {
public:
    static int create(const std::string& path);

    // Opens an existing store and checks that it is one.
    int open(const std::string& path);

    int put(const std::vector<PutSource>& sources);
    int get(const std::string& folder, const std::vector<std::string>& names);
    int remove(const std::vector<std::string>& names);
    int info(_RPS_Info_4* info);
    int compress();
    int exists(const std::string& name, bool* present);
    int memberSize(const std::string& name, std::uint64_t* size);
    int list(std::vector<std::string>* names);
    int check();

private:
    int verifySchema(bool headerChecked);
    int configure();
    int putOne(const PutSource& source, Statement& remove, Statement& insert,
               std::vector<unsigned char>& buffer);
    int lookup(const std::string& name, std::int64_t* row, std::uint64_t* size);
    int sqlite(int rc) const;

    Connection m_db;
    std::string m_path;
};

// Maps an SQLite result to an RPS_ code.
int codeFromSqlite(int rc);

void setVfsName(const char* name);
// The chosen VFS name, or empty for SQLite's default.
std::string vfsName();

}  // namespace rps
