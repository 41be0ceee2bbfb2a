// strstrrep: replace every occurrence of one text by another.
#pragma once

#include <string>

// Replaces every occurrence of from by to in text, in place, scanning left to
// right without overlaps, and returns the number of replacements. When to is
// longer than from, text must have room for the longer result. An empty or
// null from replaces nothing. Returns -1, text unchanged, when the working
// copy needed for a growing replacement cannot be allocated.
int strstrrep(char* text, const char* from, const char* to);

// The same on a string object.
std::string strstrrep(std::string text, const std::string& from, const std::string& to);
