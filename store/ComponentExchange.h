// Export and import of the phone book, templates and agendas components.
//
// An export is the open store's working copy of the component, written as it
// is. An import reads the same component either from an exported file or out
// of another data store (".vxt"), checks all of it first, then merges: what
// is already here with the same content is skipped, the rest is added. Bad
// input (not a store, no such member, a malformed file) is refused with the
// file and the reason and changes nothing; nor does a store that cannot take
// the result. The phone book's merge lives beside the phone book
// (telephony/PhoneBookImport.h); these are the shared parts and the
// templates' and agendas' merges.
#pragma once

#include <string>

struct AppData;

// What an import did, for the report at its end.
struct MergeReport {
    int added = 0;
    int skipped = 0;   // already here, same content
    int renamed = 0;   // of the added: their name was taken by something else
    int leftOut = 0;   // did not fit (the phone book's 5000)
};

namespace componentexchange {

// Results of the imports.
inline constexpr int kImported = 0;
inline constexpr int kBadSource = 1;    // unreadable, not a store, or malformed
inline constexpr int kNoMember = 2;     // a store without that component
inline constexpr int kNotWritten = 3;   // this store could not take it

// Writes the open store's working copy of component (a missing one as its
// empty form) to path, replacing a file there only once the copy is whole.
// True, or false with "<path>: <reason>" in *error.
bool exportComponent(const AppData& app, const char* component, const std::string& path, std::string* error);

// The bytes of component out of another store, or of a file. kImported, or
// kBadSource / kNoMember with "<path>: <reason>" in *error.
int readFromStore(const std::string& storePath, const char* component, std::string* bytes, std::string* error);
int readFromFile(const std::string& path, std::string* bytes, std::string* error);

// Replaces the working copy of component with bytes and puts it into the
// store at once; when the store refuses, the old working copy is put back.
// 0, or 109 with nothing changed.
int replaceComponent(const AppData& app, const char* component, const std::string& bytes);

// Templates and agendas merged from an exported file or from another store
// (source: its path, named in errors). An incoming item with the name of a
// different one here is added as "<name> (2)", "(3)" and so on. The result
// code as above; *error names the source and the reason.
int importTemplates(const AppData& app, const std::string& bytes, const std::string& source, MergeReport* report,
                    std::string* error);
int importTemplatesFromStore(const AppData& app, const std::string& storePath, MergeReport* report,
                             std::string* error);
int importTemplatesFromFile(const AppData& app, const std::string& path, MergeReport* report, std::string* error);

int importAgendas(const AppData& app, const std::string& bytes, const std::string& source, MergeReport* report,
                  std::string* error);
int importAgendasFromStore(const AppData& app, const std::string& storePath, MergeReport* report,
                           std::string* error);
int importAgendasFromFile(const AppData& app, const std::string& path, MergeReport* report, std::string* error);

// "3 added, 2 already here" and the rest, for the report box.
std::string reportText(const MergeReport& report);

}  // namespace componentexchange
