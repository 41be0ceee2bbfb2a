#include "maker/VXSAVE/ZipArchive.h"

#include "maker/VXSAVE/VXSAVE.h"
#include "platform/FileOps.h"

#include <libdeflate.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace vxsave {

namespace {

constexpr std::size_t kChunk = 256 * 1024;
// Recordings are large and part noise, part silence: the fastest level gets
// most of what there is to get.
constexpr int kDeflateLevel = 1;

struct CompressorFree {
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

// One compressor per thread, made once: making one costs more than
// deflating a short recording.
libdeflate_compressor* compressor()
{
    thread_local std::unique_ptr<libdeflate_compressor, CompressorFree> made(
        libdeflate_alloc_compressor(kDeflateLevel));
    return made.get();
}

// A member's data already deflated. libzip sees a source that is already
// compressed by the entry's method and copies it as it is instead of
// compressing again.
struct Deflated {
    PackedMember member;
    std::size_t offset = 0;  // read position
};

zip_int64_t deflatedSource(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command)
{
    auto* source = static_cast<Deflated*>(state);
    PackedMember* member = &source->member;
    std::size_t& offset = source->offset;
    switch (command) {
    case ZIP_SOURCE_OPEN:
        offset = 0;
        return 0;
    case ZIP_SOURCE_READ: {
        const std::size_t left = member->data.size() - offset;
        const std::size_t n = length < left ? static_cast<std::size_t>(length) : left;
        std::memcpy(data, member->data.data() + offset, n);
        offset += n;
        return static_cast<zip_int64_t>(n);
    }
    case ZIP_SOURCE_CLOSE:
        return 0;
    case ZIP_SOURCE_STAT: {
        if (length < sizeof(zip_stat_t))
            return -1;
        auto* st = static_cast<zip_stat_t*>(data);
        zip_stat_init(st);
        st->valid = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_CRC
                    | ZIP_STAT_ENCRYPTION_METHOD;
        st->size = member->size;
        st->comp_size = member->data.size();
        st->comp_method = ZIP_CM_DEFLATE;
        st->crc = member->crc;
        st->encryption_method = ZIP_EM_NONE;
        return sizeof(zip_stat_t);
    }
    case ZIP_SOURCE_ERROR:
        if (length < 2 * sizeof(int))
            return -1;
        static_cast<int*>(data)[0] = ZIP_ER_INTERNAL;
        static_cast<int*>(data)[1] = 0;
        return 2 * sizeof(int);
    case ZIP_SOURCE_FREE:
        delete source;
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                              ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
    default:
        return -1;
    }
}

// Damage in the data (as opposed to a file that cannot be read at all).
bool isDamage(int zipError)
{
    switch (zipError) {
    case ZIP_ER_CRC:
    case ZIP_ER_INCONS:
    case ZIP_ER_ZLIB:
    case ZIP_ER_COMPRESSED_DATA:
    case ZIP_ER_COMPNOTSUPP:
    case ZIP_ER_ENCRNOTSUPP:
    case ZIP_ER_NOPASSWD:
    case ZIP_ER_WRONGPASSWD:
    case ZIP_ER_EOF:
        return true;
    default:
        return false;
    }
}

int codeFromZipError(int zipError)
{
    return isDamage(zipError) ? kVxErrDamaged : kVxErrRead;
}

// Closes a zip_file_t on every path.
class EntryReader {
public:
    explicit EntryReader(zip_file_t* file) : m_file(file) {}
    ~EntryReader()
    {
        if (m_file != nullptr)
            zip_fclose(m_file);
    }
    EntryReader(const EntryReader&) = delete;
    EntryReader& operator=(const EntryReader&) = delete;
    zip_file_t* get() const { return m_file; }

private:
    zip_file_t* m_file;
};

}  // namespace

ZipArchive::~ZipArchive()
{
    // Unwritten changes are dropped; the file on disk stays as it was.
    if (m_zip != nullptr)
        zip_discard(m_zip);
    if (m_memory != nullptr)
        zip_source_free(m_memory);
}

int ZipArchive::open(const std::string& path, Mode mode)
{
    m_path = path;
    int flags = 0;
    switch (mode) {
    case Mode::Read:
        flags = ZIP_RDONLY | ZIP_CHECKCONS;
        break;
    case Mode::Modify:
        flags = ZIP_CHECKCONS;
        break;
    case Mode::Create:
        flags = ZIP_CREATE | ZIP_TRUNCATE;
        break;
    }
    // libzip would open a folder or a device and fail later in odd ways.
    if (mode != Mode::Create && !fileops::isRegularFile(path))
        return kVxErrRead;
    int error = 0;
    if (mode == Mode::Read) {
        m_zip = zip_open(path.c_str(), flags, &error);
        return m_zip == nullptr ? codeFromZipError(error) : kVxOk;
    }
    std::string original;
    if (mode == Mode::Modify && fileops::readWholeFile(path, &original) != 0)
        return kVxErrRead;
    // libzip takes the bytes over (and frees them when it writes its new
    // archive), so they are handed over in memory of its own kind.
    void* bytes = original.empty() ? nullptr : std::malloc(original.size());
    if (!original.empty() && bytes == nullptr)
        return kVxErrRead;
    if (bytes != nullptr)
        std::memcpy(bytes, original.data(), original.size());
    zip_error_t sourceError;
    zip_error_init(&sourceError);
    m_memory = zip_source_buffer_create(bytes, original.size(), 1, &sourceError);
    zip_error_fini(&sourceError);
    if (m_memory == nullptr) {
        std::free(bytes);
        return mode == Mode::Create ? kVxErrWrite : kVxErrRead;
    }
    // Kept past zip_close, which writes the new archive into it.
    zip_source_keep(m_memory);
    zip_error_init(&sourceError);
    m_zip = zip_open_from_source(m_memory, flags, &sourceError);
    error = zip_error_code_zip(&sourceError);
    zip_error_fini(&sourceError);
    if (m_zip == nullptr)
        return mode == Mode::Create ? kVxErrWrite : codeFromZipError(error);
    return kVxOk;
}

std::int64_t ZipArchive::count() const
{
    return zip_get_num_entries(m_zip, 0);
}

int ZipArchive::names(std::vector<std::string>* out) const
{
    out->clear();
    const std::int64_t n = count();
    for (std::int64_t i = 0; i < n; ++i) {
        const char* name = zip_get_name(m_zip, static_cast<zip_uint64_t>(i), 0);
        if (name == nullptr)
            return kVxErrDamaged;
        // An entry called "../x", "/x" or "a/b" would be written outside the
        // workspace (or into a folder we never made): the archive is refused
        // as a whole before anything is extracted.
        if (!fileops::isPlainFileName(name))
            return kVxErrDamaged;
        out->emplace_back(name);
    }
    return kVxOk;
}

std::int64_t ZipArchive::find(const std::string& name) const
{
    return zip_name_locate(m_zip, name.c_str(), 0);
}

int ZipArchive::sizeOf(std::int64_t index, std::uint64_t* size) const
{
    zip_stat_t st;
    zip_stat_init(&st);
    if (zip_stat_index(m_zip, static_cast<zip_uint64_t>(index), 0, &st) != 0 || (st.valid & ZIP_STAT_SIZE) == 0)
        return kVxErrRead;
    *size = st.size;
    return kVxOk;
}

int ZipArchive::extract(std::int64_t index, int fd) const
{
    EntryReader entry(zip_fopen_index(m_zip, static_cast<zip_uint64_t>(index), 0));
    if (entry.get() == nullptr)
        return codeFromZipError(zip_error_code_zip(zip_get_error(m_zip)));
    std::vector<char> buffer(kChunk);
    for (;;) {
        // libzip checks the CRC when the last byte has been read, and then
        // fails this read with ZIP_ER_CRC.
        const zip_int64_t n = zip_fread(entry.get(), buffer.data(), buffer.size());
        if (n < 0)
            return codeFromZipError(zip_error_code_zip(zip_file_get_error(entry.get())));
        if (n == 0)
            return kVxOk;
        if (fd >= 0 && fileops::writeAll(fd, buffer.data(), static_cast<std::size_t>(n)) != 0)
            return kVxErrExtract;
    }
}

int ZipArchive::verify() const
{
    const std::int64_t n = count();
    for (std::int64_t i = 0; i < n; ++i) {
        const int code = extract(i, -1);
        if (code != kVxOk)
            return code;
    }
    return kVxOk;
}

int ZipArchive::putFile(const std::string& name, const std::string& path)
{
    fileops::FileInfo info;
    if (fileops::infoOf(path, &info) != 0 || !info.regular)
        return kVxErrMissingFile;
    if (info.size > kWholeMemberMax)
        return putStreamed(name, path);
    std::string bytes;
    if (fileops::readWholeFile(path, &bytes) != 0)
        return kVxErrWrite;
    return putBytes(name, bytes.data(), bytes.size());
}

std::int64_t ZipArchive::add(const std::string& name, zip_source_t* source)
{
    if (source == nullptr)
        return -1;
    const zip_int64_t index = zip_file_add(m_zip, name.c_str(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8);
    if (index < 0)
        zip_source_free(source);
    return index;
}

int ZipArchive::putStreamed(const std::string& name, const std::string& path)
{
    // Length 0: the file to its end, as it is when the archive is written.
    const std::int64_t index = add(name, zip_source_file(m_zip, path.c_str(), 0, 0));
    if (index < 0)
        return kVxErrWrite;
    if (zip_set_file_compression(m_zip, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, kDeflateLevel) != 0)
        return kVxErrWrite;
    return kVxOk;
}

PackedMember ZipArchive::pack(const char* bytes, std::size_t size)
{
    PackedMember member;
    member.size = size;
    member.crc = static_cast<std::uint32_t>(libdeflate_crc32(0, bytes, size));
    libdeflate_compressor* deflater = compressor();
    std::size_t packed = 0;
    if (deflater != nullptr && size != 0) {
        member.data.resize(libdeflate_deflate_compress_bound(deflater, size));
        packed = libdeflate_deflate_compress(deflater, bytes, size, member.data.data(), member.data.size());
    }
    if (packed == 0 || packed >= size) {
        // Nothing to gain (noise, or nothing at all): kept as it is.
        member.data.assign(bytes, bytes + size);
        member.stored = true;
    } else {
        member.data.resize(packed);
        member.data.shrink_to_fit();
    }
    return member;
}

int ZipArchive::putBytes(const std::string& name, const char* bytes, std::size_t size)
{
    return putPacked(name, pack(bytes, size));
}

int ZipArchive::putPacked(const std::string& name, PackedMember member)
{
    zip_source_t* source = nullptr;
    const bool stored = member.stored;
    if (stored) {
        const std::size_t size = member.data.size();
        void* copy = size == 0 ? nullptr : std::malloc(size);
        if (size != 0 && copy == nullptr)
            return kVxErrWrite;
        if (copy != nullptr)
            std::memcpy(copy, member.data.data(), size);
        source = zip_source_buffer(m_zip, copy, size, 1);
        if (source == nullptr)
            std::free(copy);
    } else {
        auto deflated = std::make_unique<Deflated>();
        deflated->member = std::move(member);
        source = zip_source_function(m_zip, deflatedSource, deflated.get());
        if (source != nullptr)
            deflated.release();  // the source frees it
    }
    const std::int64_t index = add(name, source);
    if (index < 0)
        return kVxErrWrite;
    if (stored && zip_set_file_compression(m_zip, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0) != 0)
        return kVxErrWrite;
    return kVxOk;
}

int ZipArchive::remove(std::int64_t index)
{
    return zip_delete(m_zip, static_cast<zip_uint64_t>(index)) == 0 ? kVxOk : kVxErrWrite;
}

int ZipArchive::close()
{
    if (m_memory == nullptr) {
        if (zip_close(m_zip) != 0)
            return kVxErrWrite;
        m_zip = nullptr;
        return kVxOk;
    }
    // An archive left with no entries is removed, as libzip does with files
    // (deleted entries still count until the archive is written).
    bool empty = true;
    for (std::int64_t i = 0; empty && i < count(); ++i)
        empty = zip_get_name(m_zip, static_cast<zip_uint64_t>(i), 0) == nullptr;
    if (empty) {
        zip_discard(m_zip);
        m_zip = nullptr;
        const int err = fileops::removeFile(m_path);
        return err == 0 || err == ENOENT ? kVxOk : kVxErrWrite;
    }
    if (zip_close(m_zip) != 0)
        return kVxErrWrite;  // the destructor discards; the old file is untouched
    m_zip = nullptr;
    return writeOut();
}

int ZipArchive::writeOut()
{
    // A changed file keeps its permissions; a new one is private.
    fileops::FileInfo old;
    const unsigned mode = fileops::infoOf(m_path, &old) == 0 ? (old.mode & 0777) : 0600;
    fileops::TempFile file;
    if (file.create(fileops::parentFolderOf(m_path), fileops::baseNameOf(m_path)) != 0)
        return kVxErrWrite;
    if (zip_source_open(m_memory) != 0)
        return kVxErrWrite;
    std::vector<char> buffer(kChunk);
    int code = kVxOk;
    for (;;) {
        const zip_int64_t n = zip_source_read(m_memory, buffer.data(), buffer.size());
        if (n < 0)
            code = kVxErrWrite;
        if (n <= 0)
            break;
        if (fileops::writeAll(file.fd(), buffer.data(), static_cast<std::size_t>(n)) != 0) {
            code = kVxErrWrite;
            break;
        }
    }
    zip_source_close(m_memory);
    if (code == kVxOk && (file.finish(false) != 0 || fileops::setFileMode(file.tempPath(), mode) != 0
                          || file.publish() != 0))
        code = kVxErrWrite;
    return code;
}

}  // namespace vxsave
