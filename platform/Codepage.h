// Windows-1252, the 8-bit code page of all of Navo's own text.
//
// The program keeps its text as bytes in std::string, exactly as the Windows
// program did ("£" is the one byte 0xA3, "¬" is 0xAC), so that files, index
// lines and lengths keep their byte layout. Only at the edge to Qt (labels,
// dialogs) is text converted to QString, with these functions. The
// conversion is Navo's own table, not the system's locale or QStringConverter,
// so it is the same on every machine.
#pragma once

#include <QString>

#include <string>
#include <string_view>

// Each byte becomes one character. 0x00-0x7F and 0xA0-0xFF are the same
// code points (ASCII and Latin-1); 0x80-0x9F are the Windows-1252 letters and
// signs ("€" 0x80, "™" 0x99, ...); the five bytes Windows-1252 leaves
// undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) become U+0081 etc.
QString fromAnsi(std::string_view bytes);

// The reverse of fromAnsi. A character with no Windows-1252 byte (and each
// code point outside the Basic Multilingual Plane) becomes one '?'.
std::string toAnsi(const QString& text);

// A UTF-8 string (a literal in Navo's UTF-8 source, a name from the system,
// text the index stores) as Windows-1252 bytes: ansiFromUtf8("£") == "\xA3".
// Characters without a byte become one '?' each, and so does each byte of
// broken UTF-8.
std::string ansiFromUtf8(std::string_view utf8);

// Windows-1252 bytes as UTF-8, by the same table as fromAnsi, so that every
// byte string comes back unchanged through ansiFromUtf8.
std::string utf8FromAnsi(std::string_view bytes);

// Case folding of Windows-1252 bytes the way Windows compares names without
// regard to case: ASCII letters, the Latin-1 letters (but not × and ÷) and
// the pairs Š/š, Œ/œ, Ž/ž, Ÿ/ÿ. Returns the lower-case byte.
char foldAnsi(char byte);

// Windows-1252 names equal but for case (profile sections and keys, window
// message names).
bool equalsIgnoreCaseAnsi(std::string_view a, std::string_view b);
