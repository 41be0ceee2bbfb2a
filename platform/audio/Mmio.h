// RIFF files with the Windows mmio calls and contracts: open a file (or a
// block of memory, I/O procedure "MEM "), read, write, seek, and walk chunks
// with descend/ascend/create-chunk. Ascending a chunk that was created fixes
// up its size and adds the pad byte after an odd-sized chunk.
//
// Differences from Windows: offsets are 64-bit, so mmioSeek returns
// std::int64_t; mmioSetBuffer only records the size (the file below is not
// buffered in a way callers could see); files are always exclusive to the
// caller's handle only by convention.
#pragma once

#include "platform/audio/WaveTypes.h"

#include <cstdint>
#include <cstdio>  // SEEK_SET, SEEK_CUR, SEEK_END for mmioSeek

using FOURCC = DWORD;
using LONG = std::int32_t;

constexpr FOURCC mmioFOURCC(char a, char b, char c, char d)
{
    return static_cast<FOURCC>(static_cast<unsigned char>(a))
         | (static_cast<FOURCC>(static_cast<unsigned char>(b)) << 8)
         | (static_cast<FOURCC>(static_cast<unsigned char>(c)) << 16)
         | (static_cast<FOURCC>(static_cast<unsigned char>(d)) << 24);
}

inline constexpr FOURCC FOURCC_RIFF = mmioFOURCC('R', 'I', 'F', 'F');
inline constexpr FOURCC FOURCC_LIST = mmioFOURCC('L', 'I', 'S', 'T');
inline constexpr FOURCC FOURCC_MEM = mmioFOURCC('M', 'E', 'M', ' ');

// mmioOpen flags.
inline constexpr DWORD MMIO_READ = 0x00000000;
inline constexpr DWORD MMIO_WRITE = 0x00000001;
inline constexpr DWORD MMIO_READWRITE = 0x00000002;
inline constexpr DWORD MMIO_CREATE = 0x00001000;
inline constexpr DWORD MMIO_ALLOCBUF = 0x00010000;

// Descend / create-chunk flags.
inline constexpr UINT MMIO_FINDCHUNK = 0x0010;
inline constexpr UINT MMIO_FINDRIFF = 0x0020;
inline constexpr UINT MMIO_FINDLIST = 0x0040;
inline constexpr UINT MMIO_CREATERIFF = 0x0020;
inline constexpr UINT MMIO_CREATELIST = 0x0040;
inline constexpr DWORD MMIO_DIRTY = 0x10000000;

inline constexpr MMRESULT MMIOERR_FILENOTFOUND = 257;
inline constexpr MMRESULT MMIOERR_OUTOFMEMORY = 258;
inline constexpr MMRESULT MMIOERR_CANNOTOPEN = 259;
inline constexpr MMRESULT MMIOERR_CANNOTCLOSE = 260;
inline constexpr MMRESULT MMIOERR_CANNOTREAD = 261;
inline constexpr MMRESULT MMIOERR_CANNOTWRITE = 262;
inline constexpr MMRESULT MMIOERR_CANNOTSEEK = 263;
inline constexpr MMRESULT MMIOERR_CHUNKNOTFOUND = 265;

struct MMCKINFO {
    FOURCC ckid = 0;
    DWORD cksize = 0;
    FOURCC fccType = 0;
    DWORD dwDataOffset = 0;  // where the chunk's data (a RIFF's form type) starts
    DWORD dwFlags = 0;
};

// Only the fields Navo uses: a memory file gives fccIOProc = FOURCC_MEM and
// the bytes in pchBuffer/cchBuffer; wErrorRet says why an open failed.
struct MMIOINFO {
    DWORD dwFlags = 0;
    FOURCC fccIOProc = 0;
    UINT wErrorRet = 0;
    const char* pchBuffer = nullptr;
    LONG cchBuffer = 0;
};

class MmioFile;
using HMMIO = MmioFile*;

// nullptr on failure (info->wErrorRet tells why when info is given).
HMMIO mmioOpen(const char* path, MMIOINFO* info, DWORD flags);
MMRESULT mmioClose(HMMIO mmio, UINT flags);
// Bytes read (0 at the end), or -1.
LONG mmioRead(HMMIO mmio, char* buffer, LONG size);
// Bytes written, or -1.
LONG mmioWrite(HMMIO mmio, const char* data, LONG size);
// The new position, or -1.
std::int64_t mmioSeek(HMMIO mmio, std::int64_t offset, int origin);
MMRESULT mmioDescend(HMMIO mmio, MMCKINFO* chunk, const MMCKINFO* parent, UINT flags);
MMRESULT mmioAscend(HMMIO mmio, MMCKINFO* chunk, UINT flags);
MMRESULT mmioCreateChunk(HMMIO mmio, MMCKINFO* chunk, UINT flags);
MMRESULT mmioSetBuffer(HMMIO mmio, char* buffer, LONG size, UINT flags);

// The size of the file or memory block behind mmio (not a Windows call):
// lets a reader refuse a chunk that claims more bytes than there are.
std::int64_t mmioSize(HMMIO mmio);
