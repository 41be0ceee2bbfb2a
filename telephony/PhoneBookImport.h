// The phone book merged from an exported phone book file (".vxb") or out of
// another data store: every incoming line is checked first (a whole number
// of 101-byte lines, each one a phone book line), then each entry whose name
// and number are not already here is appended as its line stands, in one
// write under the phone book's lock rule, until the book holds 5000 entries;
// what did not fit is counted in the report. The working copy then goes into
// the store at once; if the store refuses, the working copy is cut back to
// what it was. Results and errors as componentexchange's.
#pragma once

#include <string>

#include "store/ComponentExchange.h"

struct AppData;

namespace phonebookimport {

int importPhoneBook(const AppData& app, const std::string& bytes, const std::string& source, MergeReport* report,
                    std::string* error);
int importFromStore(const AppData& app, const std::string& storePath, MergeReport* report, std::string* error);
int importFromFile(const AppData& app, const std::string& path, MergeReport* report, std::string* error);

}  // namespace phonebookimport
