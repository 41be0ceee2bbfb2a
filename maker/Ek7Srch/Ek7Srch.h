// SearchLog: the records of one list, read from the family file of index
// lines that holds them.
#pragma once

#include "maker/Ek7Srch/SearchLogRows.h"

// Fills rows with the live lines of the family file at indexPath whose record
// type belongs to the search type (1 dictation 0 and 5, 2 meeting, 3 phone 2
// and 3, 4 diary, 5 translation 10 and up, 9 video), newest first. Returns
// the number found; 0 for a missing file (an empty list is no failure).
int SearchLog(const char* indexPath, int searchType, SearchLogRows* rows);

// Whether a record type code belongs to a search type.
bool SearchTypeMatches(int searchType, int recordType);
