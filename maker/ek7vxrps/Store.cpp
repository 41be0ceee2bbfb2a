// The data store on SQLite.
//
// Layout of this file: schema and settings; error mapping and the VFS choice;
// create; open and the checks that refuse foreign or damaged files; put (the
// streamed write of members); get (the streamed, all-or-nothing extract); the
// small queries.

#include "maker/ek7vxrps/Store.h"

#include "maker/ek7vxrps/FileOps.h"
#include "maker/ek7vxrps/Transaction.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace rps {

namespace {

// "VXT1" in the database header: tells our stores apart from any other
// SQLite file a user might pick.
constexpr int kApplicationId = 0x56585431;
constexpr int kSchemaVersion = 1;
constexpr const char* kTable = "rps_member";
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
    UniqueFd fd(openFile(path, O_RDONLY));
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
        ::unlink((temp.tempPath() + "-journal").c_str());
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
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return errno == ENOENT || errno == ENOTDIR ? kRpsErrNoStore : kRpsErrIoStore;
    if (!S_ISREG(st.st_mode))
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
    const std::string sql = std::string("SELECT count(*) FROM sqlite_schema WHERE type='table' AND name='")
                            + kTable + "'";
    rc = queryInt(m_db.get(), sql.c_str(), &tables);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    return tables == 1 ? kRpsOk : kRpsErrForeign;
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

int Store::put(const std::vector<PutSource>& sources)
{
    for (const PutSource& source : sources) {
        if (!isPlainFileName(source.member.c_str()))
            return kRpsErrBadName;
    }
    Transaction tx(m_db.get());
    int rc = tx.begin(Transaction::Kind::Write);
    if (rc != SQLITE_OK)
        return sqlite(rc);

    Statement remove;
    Statement insert;
    rc = remove.prepare(m_db.get(), "DELETE FROM rps_member WHERE name=?1");
    if (rc == SQLITE_OK)
        rc = insert.prepare(m_db.get(), "INSERT INTO rps_member(name, data) VALUES(?1, zeroblob(?2))");
    if (rc != SQLITE_OK)
        return sqlite(rc);

    std::vector<unsigned char> buffer(kChunk);
    for (const PutSource& source : sources) {
        const int code = putOne(source, remove, insert, buffer);
        if (code != kRpsOk)
            return code;  // the transaction rolls back: none of the members changed
    }
    return sqlite(tx.commit());
}

int Store::putOne(const PutSource& source, Statement& remove, Statement& insert,
                  std::vector<unsigned char>& buffer)
{
    UniqueFd fd(openFile(source.path, O_RDONLY));
    if (!fd.valid()) {
        const int err = errno;
        if (err == ENOENT || err == ENOTDIR)
            return kRpsErrSourceMissing;
        return codeFromErrno(err, kRpsErrIoSource, kRpsErrIoSource);
    }
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0)
        return kRpsErrIoSource;
    if (!S_ISREG(st.st_mode))
        return kRpsErrSourceNotFile;
    const auto size = static_cast<std::uint64_t>(st.st_size);
    const int limit = sqlite3_limit(m_db.get(), SQLITE_LIMIT_LENGTH, -1);
    if (size > static_cast<std::uint64_t>(limit))
        return kRpsErrTooLarge;

    remove.reset();
    int rc = remove.bindText(1, source.member.c_str());
    if (rc == SQLITE_OK)
        rc = remove.step();
    if (rc != SQLITE_DONE)
        return sqlite(rc);

    // The row is made with a zero-filled blob of the final size and then
    // filled piece by piece: SQLite never needs the whole member in memory.
    insert.reset();
    rc = insert.bindText(1, source.member.c_str());
    if (rc == SQLITE_OK)
        rc = insert.bindInt64(2, static_cast<std::int64_t>(size));
    if (rc == SQLITE_OK)
        rc = insert.step();
    if (rc != SQLITE_DONE)
        return sqlite(rc);
    const std::int64_t row = sqlite3_last_insert_rowid(m_db.get());
    if (size == 0)
        return kRpsOk;

    Blob blob;
    rc = blob.open(m_db.get(), kTable, "data", row, true);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    std::uint64_t offset = 0;
    while (offset < size) {
        const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), size - offset));
        std::size_t got = 0;
        const int err = readUpTo(fd.get(), buffer.data(), want, &got);
        // A source that shrank while it was read would leave zeros in the
        // member; refuse rather than store a recording with a silent hole.
        if (err != 0 || got != want)
            return kRpsErrIoSource;
        rc = sqlite3_blob_write(blob.get(), buffer.data(), static_cast<int>(got), static_cast<int>(offset));
        if (rc != SQLITE_OK)
            return sqlite(rc);
        offset += got;
    }
    return sqlite(blob.close());
}

// ---------------------------------------------------------------------------
// Get

int Store::lookup(const std::string& name, std::int64_t* row, std::uint64_t* size)
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
    *size = static_cast<std::uint64_t>(sqlite3_column_int64(st.get(), 1));
    return kRpsOk;
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
        std::uint64_t size = 0;
    };
    std::vector<Wanted> wanted(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        const int code = lookup(names[i], &wanted[i].row, &wanted[i].size);
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
        if (wanted[i].size > 0) {
            Blob blob;
            rc = blob.open(m_db.get(), kTable, "data", wanted[i].row, false);
            if (rc != SQLITE_OK)
                return sqlite(rc);
            std::uint64_t offset = 0;
            while (offset < wanted[i].size) {
                const int n = static_cast<int>(std::min<std::uint64_t>(buffer.size(), wanted[i].size - offset));
                rc = sqlite3_blob_read(blob.get(), buffer.data(), n, static_cast<int>(offset));
                if (rc != SQLITE_OK)
                    return sqlite(rc);
                err = writeAll(files[i].fd(), buffer.data(), static_cast<std::size_t>(n));
                if (err != 0)
                    return codeFromErrno(err, kRpsErrIoExtract, kRpsErrFullExtract);
                offset += static_cast<std::uint64_t>(n);
            }
        }
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
    int rc = tx.begin(Transaction::Kind::Write);
    if (rc != SQLITE_OK)
        return sqlite(rc);
    Statement st;
    rc = st.prepare(m_db.get(), "DELETE FROM rps_member WHERE name=?1");
    if (rc != SQLITE_OK)
        return sqlite(rc);
    for (const std::string& name : names) {
        st.reset();
        rc = st.bindText(1, name.c_str());
        if (rc == SQLITE_OK)
            rc = st.step();
        if (rc != SQLITE_DONE)
            return sqlite(rc);
        if (sqlite3_changes(m_db.get()) == 0)
            return kRpsErrMemberMissing;
    }
    return sqlite(tx.commit());
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
    struct stat st {};
    if (::stat(m_path.c_str(), &st) != 0)
        return kRpsErrIoStore;
    info->size = static_cast<std::uint64_t>(st.st_size);
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
