// The mmio calls over a DiskFile or a read-only block of memory.
#include "platform/audio/Mmio.h"

#include "platform/audio/DiskFile.h"

#include <algorithm>
#include <cstring>
#include <memory>

class MmioFile {
public:
    DiskFile file;
    const char* memory = nullptr;  // a memory file when set
    std::int64_t memorySize = 0;
    std::int64_t memoryPos = 0;
    LONG bufferSize = 0;

    bool isMemory() const { return memory != nullptr; }

    std::int64_t size() const { return isMemory() ? memorySize : static_cast<std::int64_t>(file.size()); }
    std::int64_t tell() const { return isMemory() ? memoryPos : static_cast<std::int64_t>(file.tell()); }

    LONG read(char* out, LONG n)
    {
        if (n < 0)
            return -1;
        if (isMemory()) {
            const std::int64_t take = std::max<std::int64_t>(0, std::min<std::int64_t>(n, memorySize - memoryPos));
            std::memcpy(out, memory + memoryPos, static_cast<std::size_t>(take));
            memoryPos += take;
            return static_cast<LONG>(take);
        }
        return static_cast<LONG>(file.read(out, static_cast<std::size_t>(n)));
    }

    LONG write(const char* in, LONG n)
    {
        if (n < 0 || isMemory())
            return -1;
        return file.write(in, static_cast<std::size_t>(n)) ? n : -1;
    }

    bool seekTo(std::int64_t pos)
    {
        if (pos < 0)
            return false;
        if (isMemory()) {
            memoryPos = std::min(pos, memorySize);
            return memoryPos == pos;
        }
        return file.seek(static_cast<std::uint64_t>(pos));
    }
};

namespace {

void putLe32(char* p, DWORD v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

DWORD getLe32(const char* p)
{
    DWORD v = 0;
    for (int i = 3; i >= 0; --i)
        v = (v << 8) | static_cast<unsigned char>(p[i]);
    return v;
}

}  // namespace

HMMIO mmioOpen(const char* path, MMIOINFO* info, DWORD flags)
{
    auto setError = [info](UINT e) {
        if (info != nullptr)
            info->wErrorRet = e;
    };
    auto mmio = std::make_unique<MmioFile>();
    if (info != nullptr && info->fccIOProc == FOURCC_MEM) {
        if (info->pchBuffer == nullptr || info->cchBuffer < 0) {
            setError(MMIOERR_CANNOTOPEN);
            return nullptr;
        }
        mmio->memory = info->pchBuffer;
        mmio->memorySize = info->cchBuffer;
        setError(0);
        return mmio.release();
    }
    if (path == nullptr) {
        setError(MMIOERR_CANNOTOPEN);
        return nullptr;
    }
    DiskFile::Mode mode = DiskFile::Mode::Read;
    if (flags & MMIO_CREATE)
        mode = DiskFile::Mode::CreateAlways;
    else if (flags & (MMIO_WRITE | MMIO_READWRITE))
        mode = DiskFile::Mode::ReadWrite;
    if (!mmio->file.open(path, mode)) {
        setError(mode == DiskFile::Mode::CreateAlways ? MMIOERR_CANNOTOPEN : MMIOERR_FILENOTFOUND);
        return nullptr;
    }
    setError(0);
    return mmio.release();
}

MMRESULT mmioClose(HMMIO mmio, UINT)
{
    delete mmio;
    return MMSYSERR_NOERROR;
}

LONG mmioRead(HMMIO mmio, char* buffer, LONG size)
{
    return mmio == nullptr ? -1 : mmio->read(buffer, size);
}

LONG mmioWrite(HMMIO mmio, const char* data, LONG size)
{
    return mmio == nullptr ? -1 : mmio->write(data, size);
}

std::int64_t mmioSeek(HMMIO mmio, std::int64_t offset, int origin)
{
    if (mmio == nullptr)
        return -1;
    std::int64_t base = 0;
    if (origin == SEEK_CUR)
        base = mmio->tell();
    else if (origin == SEEK_END)
        base = mmio->size();
    return mmio->seekTo(base + offset) ? base + offset : -1;
}

std::int64_t mmioSize(HMMIO mmio) { return mmio == nullptr ? -1 : mmio->size(); }

MMRESULT mmioDescend(HMMIO mmio, MMCKINFO* chunk, const MMCKINFO* parent, UINT flags)
{
    if (mmio == nullptr || chunk == nullptr)
        return MMSYSERR_INVALPARAM;
    const std::int64_t end = parent != nullptr
        ? static_cast<std::int64_t>(parent->dwDataOffset) + parent->cksize
        : mmio->size();
    for (;;) {
        const std::int64_t pos = mmio->tell();
        if (pos + 8 > end)
            return MMIOERR_CHUNKNOTFOUND;
        char head[8];
        if (mmio->read(head, 8) != 8)
            return MMIOERR_CHUNKNOTFOUND;
        const FOURCC id = getLe32(head);
        const DWORD size = getLe32(head + 4);
        FOURCC type = 0;
        if (id == FOURCC_RIFF || id == FOURCC_LIST) {
            char t[4];
            if (mmio->read(t, 4) != 4)
                return MMIOERR_CHUNKNOTFOUND;
            type = getLe32(t);
        }
        bool match = true;
        if (flags & MMIO_FINDCHUNK)
            match = id == chunk->ckid;
        else if (flags & MMIO_FINDRIFF)
            match = id == FOURCC_RIFF && type == chunk->fccType;
        else if (flags & MMIO_FINDLIST)
            match = id == FOURCC_LIST && type == chunk->fccType;
        if (match) {
            chunk->ckid = id;
            chunk->cksize = size;
            chunk->fccType = type;
            chunk->dwDataOffset = static_cast<DWORD>(pos + 8);
            chunk->dwFlags = 0;
            return MMSYSERR_NOERROR;
        }
        const std::int64_t next = pos + 8 + size + (size & 1);
        if (next > end || !mmio->seekTo(next))
            return MMIOERR_CHUNKNOTFOUND;
    }
}

MMRESULT mmioAscend(HMMIO mmio, MMCKINFO* chunk, UINT)
{
    if (mmio == nullptr || chunk == nullptr)
        return MMSYSERR_INVALPARAM;
    if (chunk->dwFlags & MMIO_DIRTY) {
        const std::int64_t pos = mmio->tell();
        const auto size = static_cast<DWORD>(pos - chunk->dwDataOffset);
        if (size != chunk->cksize) {
            char v[4];
            putLe32(v, size);
            if (!mmio->seekTo(static_cast<std::int64_t>(chunk->dwDataOffset) - 4))
                return MMIOERR_CANNOTSEEK;
            if (mmio->write(v, 4) != 4)
                return MMIOERR_CANNOTWRITE;
            chunk->cksize = size;
            if (!mmio->seekTo(pos))
                return MMIOERR_CANNOTSEEK;
        }
        if (size & 1) {
            const char pad = 0;
            if (mmio->write(&pad, 1) != 1)
                return MMIOERR_CANNOTWRITE;
        }
        chunk->dwFlags &= ~MMIO_DIRTY;
    }
    const std::int64_t next = static_cast<std::int64_t>(chunk->dwDataOffset) + chunk->cksize + (chunk->cksize & 1);
    // A read chunk may claim more than the file holds; stop at the end then.
    if (!mmio->seekTo(std::min(next, mmio->size())))
        return MMIOERR_CANNOTSEEK;
    return MMSYSERR_NOERROR;
}

MMRESULT mmioCreateChunk(HMMIO mmio, MMCKINFO* chunk, UINT flags)
{
    if (mmio == nullptr || chunk == nullptr)
        return MMSYSERR_INVALPARAM;
    if (flags & MMIO_CREATERIFF)
        chunk->ckid = FOURCC_RIFF;
    else if (flags & MMIO_CREATELIST)
        chunk->ckid = FOURCC_LIST;
    const std::int64_t pos = mmio->tell();
    char head[12];
    putLe32(head, chunk->ckid);
    putLe32(head + 4, chunk->cksize);
    LONG length = 8;
    if (chunk->ckid == FOURCC_RIFF || chunk->ckid == FOURCC_LIST) {
        putLe32(head + 8, chunk->fccType);
        length = 12;
    }
    if (mmio->write(head, length) != length)
        return MMIOERR_CANNOTWRITE;
    chunk->dwDataOffset = static_cast<DWORD>(pos + 8);
    chunk->dwFlags = MMIO_DIRTY;
    return MMSYSERR_NOERROR;
}

MMRESULT mmioSetBuffer(HMMIO mmio, char*, LONG size, UINT)
{
    if (mmio == nullptr || size < 0)
        return MMSYSERR_INVALPARAM;
    mmio->bufferSize = size;
    return MMSYSERR_NOERROR;
}
