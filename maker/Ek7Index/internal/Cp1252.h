// Windows-1252 <-> UTF-8 for the text the index stores. The index keeps its
// text columns in UTF-8 so that full-text search folds case and accents of
// "é" and "É" alike; the program sees Windows-1252 bytes only. The five bytes
// Windows-1252 leaves undefined map to the C1 controls of the same number, so
// every byte string survives the round trip unchanged.
#pragma once

#include <string>

namespace ek7index {

std::string cp1252ToUtf8(const std::string& text);

// Characters Windows-1252 cannot show, and broken UTF-8, become "?".
std::string utf8ToCp1252(const std::string& text);

}  // namespace ek7index
