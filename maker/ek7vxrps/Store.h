#pragma once
// One open data store: an SQLite database of named members, checked to be
// ours before anything touches it. Methods return the RPS_ result codes of
// ek7vxrps.h.
//
// A member's content is its "head" (the data column of rps_member) followed
// by its pieces (rps_piece, kPieceSize bytes each except the last). Members
// are written in pieces, so that a file which grew at its end (a family file
// after one more line) costs the store one or two pieces, not the whole
// member; stores of the first format hold every member whole in its head and
// are read as they are.

#include "maker/SqliteKit/Sqlite.h"
#include "maker/ek7vxrps/ek7vxrps.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rps {

using sqlitekit::Blob;
using sqlitekit::Connection;
using sqlitekit::Statement;
using sqlitekit::Transaction;

struct PutSource {
    std::string path;    // file to read
    std::string member;  // name inside the store
    // The member already holds the file's first grownFrom bytes (0: nothing
    // known). Honoured only when the member's stored length is exactly that.
    std::uint64_t grownFrom = 0;
};

constexpr std::size_t kPieceSize = 32 * 1024;

class Store {
public:
    static int create(const std::string& path);

    // Opens an existing store and checks that it is one.
    int open(const std::string& path);

    // Puts the sources and removes the members named in removed that are
    // there, in one transaction.
    int put(const std::vector<PutSource>& sources, const std::vector<std::string>& removed = {});
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
    int ensurePieceTable();
    int removeMembers(const std::vector<std::string>& names, bool mustExist);
    int putOne(const PutSource& source, std::vector<unsigned char>& buffer);
    int writePieces(std::int64_t row, int fd, std::uint64_t size, std::uint64_t firstPiece,
                    std::uint64_t storedPieces, bool compare, std::vector<unsigned char>& buffer);
    int lookup(const std::string& name, std::int64_t* row, std::uint64_t* size);
    int lookupParts(const std::string& name, std::int64_t* row, std::uint64_t* headSize,
                    std::uint64_t* pieceBytes, std::uint64_t* pieceCount);
    int pieceExtent(std::int64_t row, std::uint64_t* bytes, std::uint64_t* count);
    int copyOut(std::int64_t row, std::uint64_t headSize, std::uint64_t pieceBytes, std::uint64_t pieceCount,
                int fd, std::vector<unsigned char>& buffer);
    int sqlite(int rc) const;

    Connection m_db;
    std::string m_path;
    bool m_hasPieces = false;  // the store has the piece table (second format)
};

// Maps an SQLite result to an RPS_ code.
int codeFromSqlite(int rc);

void setVfsName(const char* name);
// The chosen VFS name, or empty for SQLite's default.
std::string vfsName();

}  // namespace rps
