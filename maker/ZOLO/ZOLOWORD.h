// word_find: the field reader for index lines and phone book lines.
#pragma once

// Copies field n (counted from 1) of line into out and returns its length.
// Fields are separated by one space each and counted one by one, so two
// spaces side by side hold an empty field between them. The line ends at its
// first "\n" (a "\r" just before it goes too) or at its end; the line end is
// never part of a field. n < 1, a field beyond the last, or a null line give
// "". out must hold at least strlen(line) + 1 bytes; a null out returns 0.
int word_find(const char* line, char* out, int n);
