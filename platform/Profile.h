// Private profile (INI) files with the Windows semantics Navo's settings rely
// on: "NAVO.ini" keeps one section per user and every setting as a string.
//
// Names: section and key names are compared without regard to case (ASCII and
// Windows-1252 letters) and with surrounding blanks ignored; the first
// section of a name and the first key of a name in it are the ones read.
// Values are bytes (Windows-1252: "£" is the one byte 0xA3), trimmed of
// surrounding blanks; a value in matching double or single quotes is returned
// without them. Lines starting with ';' are comments. A line with no '=' is a
// key without a value: it reads as missing.
//
// Writes edit the file in place: only the key's line changes and every other
// byte (sections, keys, comments, blank lines, "\r\n" or "\n" endings) stays.
// A new key goes after the last key of its section, a new section at the end
// of the file. Each write replaces the file through a temporary file in the
// same folder, so a failed write (missing folder, read-only file, full disk)
// returns FALSE and leaves the old file as it was. The file's permission bits
// are kept; a new file is readable and writable by its owner only (0600). A
// file without any write permission bit counts as read-only, even for root,
// as the Windows read-only attribute does.
//
// Every value reads back as it was written, whatever it holds: a line break
// is stored as "%0A" or "%0D" (and a '%' that would read as one of those as
// "%25"), and a value with surrounding blanks or quotes is stored in double
// quotes. A section name holding ']' or a line break, or a key name holding
// '=' or a line break or starting with '[' or ';', would read back as other
// lines: such writes return FALSE and change nothing.
//
// All functions are thread-safe (one process-wide lock); nothing is cached,
// so another process's changes are seen at the next call.
#pragma once

#include "platform/WinTypes.h"

// The value of key in section, else defaultValue (nullptr = "", trailing
// blanks removed), copied into buffer with at most size-1 bytes and a NUL.
// Returns the number of bytes copied without the NUL (size-1 when cut short).
// section == nullptr: the names of all sections; key == nullptr: the names of
// all keys of section; each name NUL-terminated and the list ending with a
// second NUL. A list cut short ends with two NULs and returns size-2.
DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue,
                               char* buffer, DWORD size, const char* fileName);

// Sets key in section to value (creating the file, the section or the key as
// needed). value == nullptr deletes the key; key == nullptr deletes the whole
// section. Deleting what is not there succeeds without touching the file.
BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                const char* fileName);

// Stores size bytes of data as upper-case hex, two digits a byte, followed by
// the checksum byte (the sum of the bytes modulo 256) as two more digits.
// data == nullptr deletes the key.
BOOL WritePrivateProfileStructA(const char* section, const char* key, const void* data, UINT size,
                                const char* fileName);

// Reads back what WritePrivateProfileStructA stored. FALSE (and data left
// alone) when the key is missing, its length is not size*2+2 hex digits or
// the checksum does not match.
BOOL GetPrivateProfileStructA(const char* section, const char* key, void* data, UINT size,
                              const char* fileName);
