// The data store on SQLite.
//
// Layout of this file: schema and settings; error mapping and the VFS choice;
// create; open and the checks that refuse foreign or damaged files; put (the
// streamed write of members); get (the streamed, all-or-nothing extract); the
// small queries.

#include "maker/ek7vxrps/Store.h"

#include "platform/FileOps.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace rps {

using namespace fileops;

namespace {

// "VXT1" in the database header: tells our stores apart from any other
// SQLite file a user might pick.
constexpr int kApplicationId = 0x56585431;
// 1: every member whole in rps_member; 2: members in pieces (rps_piece).
constexpr int kSchemaVersion = 2;
constexpr const char* kTable = "rps_member";
constexpr const char* kPieceTable = "rps_piece";
constexpr const char* kPieceColumns = "(member INTEGER NOT NULL, seq INTEGER NOT NULL, data BLOB NOT NULL,"
                                      " PRIMARY KEY(member, seq))";
// Members move in pieces of this size, so memory use does not grow with
// the size of a recording.
constexpr std::size_t kChunk = 256 * 1024;
// Another Navo process (or the compression thread) may hold the store for a
// moment; wait rather than fail.
constexpr int kBusyTimeoutMs = 5000;

constexpr char kSqliteMagic[] = "SQLite format 3";  // 16 bytes with its NUL

std::mutex& vfsMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::string& vfsSlot()
{
    static std::string name;
    return name;
}

int codeFromErrno(int err, int ioCode, int fullCode)
{
    if (isDiskFull(err))
        return fullCode;
    if (err == ENOMEM)
        return kRpsErrNoMemory;
    return ioCode;
}

int execAll(sqlite3* db, const char* sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
}

// Reads one integer from a single-row statement such as a PRAGMA.
int queryInt(sqlite3* db, const char* sql, std::int64_t* value)
{
    Statement st;
    int rc = st.prepare(db, sql);
    if (rc != SQLITE_OK)
        return rc;
    rc = st.step();
    if (rc != SQLITE_ROW)
        return rc == SQLITE_DONE ? SQLITE_CORRUPT : rc;
    *value = sqlite3_column_int64(st.get(), 0);
    return SQLITE_OK;
}

// Whether a file starts like an SQLite database: kRpsOk, kRpsErrNotSqlite
// (short, empty or other content) or kRpsErrIoStore (cannot be read).
int checkSqliteHeader(const std::string& path)
{
    UniqueFd fd(openFile(path, Access::Read));
    if (!fd.valid())
        return kRpsErrIoStore;
    char header[16] = {};
    std::size_t got = 0;
    if (readUpTo(fd.get(), header, sizeof header, &got) != 0)
        return kRpsErrIoStore;
    if (got != sizeof header || std::memcmp(header, kSqliteMagic, sizeof header) != 0)
        return kRpsErrNotSqlite;
    return kRpsOk;
}

}  // namespace

// ---------------------------------------------------------------------------
// Error mapping and VFS choice

int codeFromSqlite(int rc)
{
    switch (rc & 0xff) {
    case SQLITE_OK:
    case SQLITE_DONE:
    case SQLITE_ROW:
        return kRpsOk;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return kRpsErrBusy;
    case SQLITE_FULL:
        return kRpsErrFullStore;
    case SQLITE_IOERR:
        return rc == SQLITE_IOERR_NOMEM ? kRpsErrNoMemory : kRpsErrIoStore;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
        return kRpsErrDamaged;
    case SQLITE_READONLY:
    case SQLITE_PERM:
        return kRpsErrReadOnly;
    case SQLITE_CANTOPEN:
        return kRpsErrIoStore;
    case SQLITE_NOMEM:
        return kRpsErrNoMemory;
    case SQLITE_TOOBIG:
        return kRpsErrTooLarge;
    default:
        return kRpsErrInternal;
    }
}

void setVfsName(const char* name)
{
    std::lock_guard<std::mutex> lock(vfsMutex());
    vfsSlot() = name == nullptr ? "" : name;
}

std::string vfsName()
{
    std::lock_guard<std::mutex> lock(vfsMutex());
    return vfsSlot();
}

int Store::sqlite(int rc) const
{
    return codeFromSqlite(rc);
}

// ---------------------------------------------------------------------------
// Create

namespace {

// Writes the schema into an empty file, which SQLite takes as a new database.
// The file keeps the 0600 mode it was made with, and so does its journal.
int initialise(const std::string& path)
{
    Connection db;
    const std::string vfs = vfsName();
    int rc = db.open(path.c_str(), vfs.empty() ? nullptr : vfs.c_str());
    if (rc != SQLITE_OK)
        return rc;
    sqlite3_busy_timeout(db.get(), kBusyTimeoutMs);
    const std::string sql =
        std::string("PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; BEGIN;")
        + "PRAGMA application_id=" + std::to_string(kApplicationId) + ";"
        + "PRAGMA user_version=" + std::to_string(kSchemaVersion) + ";"
        + "CREATE TABLE " + kTable + "(name TEXT NOT NULL UNIQUE, data BLOB NOT NULL);"
        + "CREATE TABLE " + kPieceTable + kPieceColumns + ";"
        + "COMMIT;";
    return execAll(db.get(), sql.c_str());
}

}  // namespace

int Store::create(const std::string& path)
{
    if (fileExists(path))
        return kRpsErrExists;

    // The store is built under a temporary name and linked into place when
    // complete: a crash never leaves a half-made store under the real name,
    // and link() refuses to replace a file that appeared in the meantime.
    TempFile temp;
    int err = temp.create(parentFolderOf(path), baseNameOf(path));
    if (err == 0)
        err = temp.finish(false);
    if (err != 0)
        return codeFromErrno(err, kRpsErrCannotCreate, kRpsErrFullStore);

    const int rc = initialise(temp.tempPath());
    if (rc != SQLITE_OK) {
        // A failed first transaction can leave its journal behind.
        removeFile(temp.tempPath() + "-journal");
        return codeFromSqlite(rc);
    }

    err = temp.publishNoReplace();
    if (err == EEXIST)
        return kRpsErrExists;
    if (err != 0)
        return codeFromErrno(err, kRpsErrCannotCreate, kRpsErrFullStore);
    err = syncParentFolder(path);
    return err == 0 ? kRpsOk : codeFromErrno(err, kRpsErrIoStore, kRpsErrFullStore);
}

// ---------------------------------------------------------------------------
// Open

int Store::open(const std::string& path)
{
    m_path = path;
    FileInfo st;
    const int statErr = infoOf(path, &st);
    if (statErr != 0)
        return statErr == ENOENT || statErr == ENOTDIR ? kRpsErrNoStore : kRpsErrIoStore;
    if (!st.regular)
        return kRpsErrNotSqlite;

    // A zero-length or text file would be taken by SQLite as an empty or
    // unreadable database; say plainly that it is no store. When a hot
    // journal lies beside the file, SQLite must first roll it back, and the
    // file may legitimately look odd until then.
    const bool hotJournal = fileExists(path + "-journal");
    if (!hotJournal) {
        const int code = checkSqliteHeader(path);
        if (code != kRpsOk)
            return code;
    }

    const std::string vfs = vfsName();
    int rc = m_db.open(path.c_str(), vfs.empty() ? nullptr : vfs.c_str());
    if (rc != SQLITE_OK)
        return sqlite(rc);
    sqlite3_busy_timeout(m_db.get(), kBusyTimeoutMs);
    // A foreign file could carry triggers or views; never let its schema run
    // code, and let SQLite refuse writes that would corrupt the file.
    sqlite3_db_config(m_db.get(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_db.get(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);

    rc = verifySchema(!hotJournal);
    if (rc != kRpsOk)
        return rc;
    return configure();
}

int Store::verifySchema(bool headerChecked)
{
    // The first read of page 1 also rolls back a hot journal and notices a
    // truncated file (a page count in the header beyond the end).
    std::int64_t appId = 0;
    int rc = queryInt(m_db.get(), "PRAGMA application_id", &appId);
    if (rc != SQLITE_OK) {
        if ((rc & 0xff) == SQLITE_NOTADB && !headerChecked)
            return kRpsErrNotSqlite;
        return sqlite(rc);
    }
    if (appId != kApplicationId)
        return kRpsErrForeign;

    std::int64_t version = 0;
    rc = queryInt(m_db.get(), "PRAGMA user_version", &version);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    if (version > kSchemaVersion)
        return kRpsErrNewer;

    std::int64_t tables = 0;
    std::string sql = std::string("SELECT count(*) FROM sqlite_schema WHERE type='table' AND name='")
                      + kTable + "'";
    rc = queryInt(m_db.get(), sql.c_str(), &tables);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    if (tables != 1)
        return kRpsErrForeign;
    std::int64_t pieceTables = 0;
    sql = std::string("SELECT count(*) FROM sqlite_schema WHERE type='table' AND name='") + kPieceTable + "'";
    rc = queryInt(m_db.get(), sql.c_str(), &pieceTables);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    m_hasPieces = pieceTables == 1;
    // The second format without its piece table would read as empty members.
    if (version >= 2 && !m_hasPieces)
        return kRpsErrDamaged;
    return kRpsOk;
}

int Store::configure()
{
    // DELETE keeps the store one file between calls (no -wal or -shm beside
    // it); FULL syncs at every commit so a power cut cannot tear a put.
    int rc = execAll(m_db.get(), "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL;"
                                 "PRAGMA cell_size_check=ON;");
    return sqlite(rc);
}

// ---------------------------------------------------------------------------
// Put

int Store::ensurePieceTable()
{
    // A store of the first format gains the piece table inside the write
    // that first needs it: a crash leaves it in one format or the other.
    if (m_hasPieces)
        return kRpsOk;
    const std::string sql = std::string("CREATE TABLE ") + kPieceTable + kPieceColumns + ";"
                            + "PRAGMA user_version=" + std::to_string(kSchemaVersion) + ";";
    const int rc = execAll(m_db.get(), sql.c_str());
    if (rc != SQLITE_OK)
        return sqlite(rc);
    m_hasPieces = true;
    return kRpsOk;
}

int Store::put(const std::vector<PutSource>& sources, const std::vector<std::string>& removed)
{
    for (const PutSource& source : sources) {
        if (!isPlainFileName(source.member.c_str()))
            return kRpsErrBadName;
    }
    for (const std::string& name : removed) {
        if (!isPlainFileName(name.c_str()))
            return kRpsErrBadName;
    }
    Transaction tx(m_db.get());
    int rc = tx.begin(Transaction::Kind::Write);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    int code = ensurePieceTable();
    if (code != kRpsOk)
        return code;

    std::vector<unsigned char> buffer(kPieceSize);
    for (const PutSource& source : sources) {
        code = putOne(source, buffer);
        if (code != kRpsOk)
            return code;  // the transaction rolls back: none of the members changed
    }
    code = removeMembers(removed, false);
    if (code != kRpsOk)
        return code;
    return sqlite(tx.commit());
}

int Store::putOne(const PutSource& source, std::vector<unsigned char>& buffer)
{
    UniqueFd fd(openFile(source.path, Access::Read));
    if (!fd.valid()) {
        const int err = errno;
        if (err == ENOENT || err == ENOTDIR)
            return kRpsErrSourceMissing;
        return codeFromErrno(err, kRpsErrIoSource, kRpsErrIoSource);
    }
    FileInfo st;
    if (infoOf(fd.get(), &st) != 0)
        return kRpsErrIoSource;
    if (!st.regular)
        return kRpsErrSourceNotFile;
    const std::uint64_t size = st.size;
    const int limit = sqlite3_limit(m_db.get(), SQLITE_LIMIT_LENGTH, -1);
    if (size > static_cast<std::uint64_t>(limit))
        return kRpsErrTooLarge;

    std::int64_t row = 0;
    std::uint64_t headSize = 0;
    std::uint64_t pieceBytes = 0;
    std::uint64_t pieceCount = 0;
    int code = lookupParts(source.member, &row, &headSize, &pieceBytes, &pieceCount);
    if (code == kRpsErrMemberMissing) {
        Statement insert;
        int rc = insert.prepare(m_db.get(), "INSERT INTO rps_member(name, data) VALUES(?1, x'')");
        if (rc == SQLITE_OK)
            rc = insert.bindText(1, source.member.c_str());
        if (rc == SQLITE_OK)
            rc = insert.step();
        if (rc != SQLITE_DONE)
            return sqlite(rc);
        row = sqlite3_last_insert_rowid(m_db.get());
        return writePieces(row, fd.get(), size, 0, 0, false, buffer);
    }
    if (code != kRpsOk)
        return code;

    if (headSize > 0) {
        // A member still whole from the first format moves into pieces.
        Statement clear;
        int rc = clear.prepare(m_db.get(), "UPDATE rps_member SET data=x'' WHERE rowid=?1");
        if (rc == SQLITE_OK)
            rc = clear.bindInt64(1, row);
        if (rc == SQLITE_OK)
            rc = clear.step();
        if (rc != SQLITE_DONE)
            return sqlite(rc);
        return writePieces(row, fd.get(), size, 0, pieceCount, false, buffer);
    }
    // Grown at its end only: the pieces from the one holding the old end on.
    if (source.grownFrom > 0 && source.grownFrom == pieceBytes && size >= pieceBytes)
        return writePieces(row, fd.get(), size, pieceBytes / kPieceSize, pieceCount, false, buffer);
    // Otherwise every piece is compared and only the changed ones written:
    // saving a family file with one line marked deleted writes one piece.
    return writePieces(row, fd.get(), size, 0, pieceCount, true, buffer);
}

int Store::writePieces(std::int64_t row, int fd, std::uint64_t size, std::uint64_t firstPiece,
                       std::uint64_t storedPieces, bool compare, std::vector<unsigned char>& buffer)
{
    const std::uint64_t pieces = (size + kPieceSize - 1) / kPieceSize;
    Statement read;
    Statement update;
    Statement insert;
    int rc = read.prepare(m_db.get(), "SELECT data FROM rps_piece WHERE member=?1 AND seq=?2");
    if (rc == SQLITE_OK)
        rc = update.prepare(m_db.get(), "UPDATE rps_piece SET data=?3 WHERE member=?1 AND seq=?2");
    if (rc == SQLITE_OK)
        rc = insert.prepare(m_db.get(), "INSERT INTO rps_piece(member, seq, data) VALUES(?1, ?2, ?3)");
    if (rc != SQLITE_OK)
        return sqlite(rc);

    for (std::uint64_t seq = firstPiece; seq < pieces; ++seq) {
        const std::uint64_t offset = seq * kPieceSize;
        const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(kPieceSize, size - offset));
        std::size_t got = 0;
        // A source that shrank while it was read would leave a hole in the
        // member; refuse rather than store a recording with a silent gap.
        if (preadUpTo(fd, buffer.data(), want, offset, &got) != 0 || got != want)
            return kRpsErrIoSource;
        const bool exists = seq < storedPieces;
        if (exists && compare) {
            read.reset();
            rc = read.bindInt64(1, row);
            if (rc == SQLITE_OK)
                rc = read.bindInt64(2, static_cast<std::int64_t>(seq));
            if (rc == SQLITE_OK)
                rc = read.step();
            if (rc != SQLITE_ROW)
                return sqlite(rc == SQLITE_DONE ? SQLITE_CORRUPT : rc);
            const int n = sqlite3_column_bytes(read.get(), 0);
            const void* data = sqlite3_column_blob(read.get(), 0);
            const bool same = static_cast<std::size_t>(n) == want && (n == 0 || std::memcmp(data, buffer.data(), want) == 0);
            read.reset();
            if (same)
                continue;
        }
        Statement& write = exists ? update : insert;
        write.reset();
        rc = write.bindInt64(1, row);
        if (rc == SQLITE_OK)
            rc = write.bindInt64(2, static_cast<std::int64_t>(seq));
        if (rc == SQLITE_OK)
            rc = write.bindStaticBlob(3, buffer.data(), want);
        if (rc == SQLITE_OK)
            rc = write.step();
        if (rc != SQLITE_DONE)
            return sqlite(rc);
    }
    if (storedPieces > pieces) {
        Statement trim;
        rc = trim.prepare(m_db.get(), "DELETE FROM rps_piece WHERE member=?1 AND seq>=?2");
        if (rc == SQLITE_OK)
            rc = trim.bindInt64(1, row);
        if (rc == SQLITE_OK)
            rc = trim.bindInt64(2, static_cast<std::int64_t>(pieces));
        if (rc == SQLITE_OK)
            rc = trim.step();
        if (rc != SQLITE_DONE)
            return sqlite(rc);
    }
    return kRpsOk;
}

// ---------------------------------------------------------------------------
// Get

int Store::pieceExtent(std::int64_t row, std::uint64_t* bytes, std::uint64_t* count)
{
    *bytes = 0;
    *count = 0;
    if (!m_hasPieces)
        return kRpsOk;
    // Every piece but the last is full, so the last one gives the length.
    Statement st;
    int rc = st.prepare(m_db.get(), "SELECT seq, length(data) FROM rps_piece WHERE member=?1 ORDER BY seq DESC LIMIT 1");
    if (rc == SQLITE_OK)
        rc = st.bindInt64(1, row);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    rc = st.step();
    if (rc == SQLITE_DONE)
        return kRpsOk;
    if (rc != SQLITE_ROW)
        return sqlite(rc);
    const std::int64_t seq = sqlite3_column_int64(st.get(), 0);
    const std::int64_t last = sqlite3_column_int64(st.get(), 1);
    if (seq < 0 || last <= 0 || last > static_cast<std::int64_t>(kPieceSize))
        return kRpsErrDamaged;
    *count = static_cast<std::uint64_t>(seq) + 1;
    *bytes = static_cast<std::uint64_t>(seq) * kPieceSize + static_cast<std::uint64_t>(last);
    return kRpsOk;
}

int Store::lookupParts(const std::string& name, std::int64_t* row, std::uint64_t* headSize,
                       std::uint64_t* pieceBytes, std::uint64_t* pieceCount)
{
    Statement st;
    int rc = st.prepare(m_db.get(), "SELECT rowid, length(data) FROM rps_member WHERE name=?1");
    if (rc == SQLITE_OK)
        rc = st.bindText(1, name.c_str());
    if (rc != SQLITE_OK)
        return sqlite(rc);
    rc = st.step();
    if (rc == SQLITE_DONE)
        return kRpsErrMemberMissing;
    if (rc != SQLITE_ROW)
        return sqlite(rc);
    *row = sqlite3_column_int64(st.get(), 0);
    *headSize = static_cast<std::uint64_t>(sqlite3_column_int64(st.get(), 1));
    return pieceExtent(*row, pieceBytes, pieceCount);
}

int Store::lookup(const std::string& name, std::int64_t* row, std::uint64_t* size)
{
    std::uint64_t head = 0;
    std::uint64_t pieceBytes = 0;
    std::uint64_t pieceCount = 0;
    const int code = lookupParts(name, row, &head, &pieceBytes, &pieceCount);
    *size = head + pieceBytes;
    return code;
}

int Store::copyOut(std::int64_t row, std::uint64_t headSize, std::uint64_t pieceBytes, std::uint64_t pieceCount,
                   int fd, std::vector<unsigned char>& buffer)
{
    if (headSize > 0) {
        Blob blob;
        int rc = blob.open(m_db.get(), kTable, "data", row, false);
        if (rc != SQLITE_OK)
            return sqlite(rc);
        std::uint64_t offset = 0;
        while (offset < headSize) {
            const int n = static_cast<int>(std::min<std::uint64_t>(buffer.size(), headSize - offset));
            rc = sqlite3_blob_read(blob.get(), buffer.data(), n, static_cast<int>(offset));
            if (rc != SQLITE_OK)
                return sqlite(rc);
            const int err = writeAll(fd, buffer.data(), static_cast<std::size_t>(n));
            if (err != 0)
                return codeFromErrno(err, kRpsErrIoExtract, kRpsErrFullExtract);
            offset += static_cast<std::uint64_t>(n);
        }
    }
    if (pieceCount == 0)
        return kRpsOk;
    Statement st;
    int rc = st.prepare(m_db.get(), "SELECT seq, data FROM rps_piece WHERE member=?1 ORDER BY seq");
    if (rc == SQLITE_OK)
        rc = st.bindInt64(1, row);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    std::uint64_t expected = 0;
    std::uint64_t written = 0;
    while ((rc = st.step()) == SQLITE_ROW) {
        const int n = sqlite3_column_bytes(st.get(), 1);
        const void* data = sqlite3_column_blob(st.get(), 1);
        // A missing or short piece in the middle would shift everything
        // after it: the member is damaged, not merely shorter.
        const bool last = expected + 1 == pieceCount;
        if (sqlite3_column_int64(st.get(), 0) != static_cast<std::int64_t>(expected) || n <= 0
            || (!last && static_cast<std::size_t>(n) != kPieceSize) || expected >= pieceCount)
            return kRpsErrDamaged;
        const int err = writeAll(fd, data, static_cast<std::size_t>(n));
        if (err != 0)
            return codeFromErrno(err, kRpsErrIoExtract, kRpsErrFullExtract);
        written += static_cast<std::uint64_t>(n);
        ++expected;
    }
    if (rc != SQLITE_DONE)
        return sqlite(rc);
    return expected == pieceCount && written == pieceBytes ? kRpsOk : kRpsErrDamaged;
}

int Store::get(const std::string& folder, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        if (!isPlainFileName(name.c_str()))
            return kRpsErrBadName;
    }
    // One read transaction: every member comes from the same committed state
    // even if another process puts while we extract.
    Transaction tx(m_db.get());
    int rc = tx.begin(Transaction::Kind::Read);
    if (rc != SQLITE_OK)
        return sqlite(rc);

    struct Wanted {
        std::int64_t row = 0;
        std::uint64_t head = 0;
        std::uint64_t pieceBytes = 0;
        std::uint64_t pieceCount = 0;
    };
    std::vector<Wanted> wanted(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        Wanted& w = wanted[i];
        const int code = lookupParts(names[i], &w.row, &w.head, &w.pieceBytes, &w.pieceCount);
        if (code != kRpsOk)
            return code;  // a missing member fails before any file is written
    }

    // Every member is written in full under a temporary name first; only when
    // all are complete are they renamed into place. A failure therefore
    // leaves the folder as it was. No fsync: the folder is a scratch copy and
    // the store stays the durable one.
    std::vector<TempFile> files(names.size());
    std::vector<unsigned char> buffer(kChunk);
    for (std::size_t i = 0; i < names.size(); ++i) {
        int err = files[i].create(folder, names[i]);
        if (err != 0)
            return codeFromErrno(err, kRpsErrIoExtract, kRpsErrFullExtract);
        const Wanted& w = wanted[i];
        const int code = copyOut(w.row, w.head, w.pieceBytes, w.pieceCount, files[i].fd(), buffer);
        if (code != kRpsOk)
            return code;
        err = files[i].finish(false);
        if (err != 0)
            return codeFromErrno(err, kRpsErrIoExtract, kRpsErrFullExtract);
    }
    for (TempFile& file : files) {
        const int err = file.publish();
        if (err != 0)
            return codeFromErrno(err, kRpsErrIoExtract, kRpsErrFullExtract);
    }
    return sqlite(tx.commit());
}

// ---------------------------------------------------------------------------
// Delete, info, compress and the small queries

int Store::remove(const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        if (!isPlainFileName(name.c_str()))
            return kRpsErrBadName;
    }
    Transaction tx(m_db.get());
    const int rc = tx.begin(Transaction::Kind::Write);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    const int code = removeMembers(names, true);
    return code != kRpsOk ? code : sqlite(tx.commit());
}

int Store::removeMembers(const std::vector<std::string>& names, bool mustExist)
{
    if (names.empty())
        return kRpsOk;
    Statement st;
    Statement pieces;
    int rc = st.prepare(m_db.get(), "DELETE FROM rps_member WHERE name=?1 RETURNING rowid");
    if (rc == SQLITE_OK && m_hasPieces)
        rc = pieces.prepare(m_db.get(), "DELETE FROM rps_piece WHERE member=?1");
    if (rc != SQLITE_OK)
        return sqlite(rc);
    for (const std::string& name : names) {
        st.reset();
        rc = st.bindText(1, name.c_str());
        if (rc == SQLITE_OK)
            rc = st.step();
        if (rc == SQLITE_DONE) {
            if (mustExist)
                return kRpsErrMemberMissing;
            continue;
        }
        if (rc != SQLITE_ROW)
            return sqlite(rc);
        const std::int64_t row = sqlite3_column_int64(st.get(), 0);
        rc = st.step();
        if (rc != SQLITE_DONE)
            return sqlite(rc);
        if (m_hasPieces) {
            pieces.reset();
            rc = pieces.bindInt64(1, row);
            if (rc == SQLITE_OK)
                rc = pieces.step();
            if (rc != SQLITE_DONE)
                return sqlite(rc);
        }
    }
    return kRpsOk;
}

int Store::info(_RPS_Info_4* info)
{
    std::int64_t freePages = 0;
    std::int64_t pageSize = 0;
    int rc = queryInt(m_db.get(), "PRAGMA freelist_count", &freePages);
    if (rc == SQLITE_OK)
        rc = queryInt(m_db.get(), "PRAGMA page_size", &pageSize);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    FileInfo st;
    if (infoOf(m_path, &st) != 0)
        return kRpsErrIoStore;
    info->size = st.size;
    info->reclaimable = static_cast<std::uint64_t>(freePages) * static_cast<std::uint64_t>(pageSize);
    return kRpsOk;
}

int Store::compress()
{
    return sqlite(execAll(m_db.get(), "VACUUM"));
}

int Store::exists(const std::string& name, bool* present)
{
    if (!isPlainFileName(name.c_str()))
        return kRpsErrBadName;
    std::int64_t row = 0;
    std::uint64_t size = 0;
    const int code = lookup(name, &row, &size);
    *present = code == kRpsOk;
    return code == kRpsErrMemberMissing ? kRpsOk : code;
}

int Store::memberSize(const std::string& name, std::uint64_t* size)
{
    if (!isPlainFileName(name.c_str()))
        return kRpsErrBadName;
    std::int64_t row = 0;
    return lookup(name, &row, size);
}

int Store::list(std::vector<std::string>* names)
{
    Statement st;
    int rc = st.prepare(m_db.get(), "SELECT name FROM rps_member ORDER BY name");
    if (rc != SQLITE_OK)
        return sqlite(rc);
    names->clear();
    while ((rc = st.step()) == SQLITE_ROW) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(st.get(), 0));
        names->emplace_back(text == nullptr ? "" : text);
    }
    return rc == SQLITE_DONE ? kRpsOk : sqlite(rc);
}

int Store::check()
{
    Statement st;
    int rc = st.prepare(m_db.get(), "PRAGMA integrity_check");
    if (rc != SQLITE_OK)
        return sqlite(rc);
    rc = st.step();
    if (rc != SQLITE_ROW)
        return sqlite(rc == SQLITE_DONE ? SQLITE_CORRUPT : rc);
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(st.get(), 0));
    return text != nullptr && std::strcmp(text, "ok") == 0 ? kRpsOk : kRpsErrDamaged;
}

}  // namespace rps
