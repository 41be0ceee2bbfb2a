// The File menu's exports and imports of the phone book, templates and
// agendas (2158, 2159, 2171; 2160-2163, 2169, 2170) and Meeting Agendas
// (2166). Each asks for its file through the prompt, runs the store's or the
// phone book's exchange functions, and reports: errors name the file and the
// reason, an import ends with what it added and skipped.
#pragma once

#include <string>

class CommandTable;
struct ImportReport;
class QWidget;
struct AppData;

namespace componentcommands {

void registerCommands(CommandTable& commands, const AppData& app, QWidget* parent);

// A whole store's import: merges the phone book, templates and agendas found
// in folder (taken out of sourceStore) into this store, each as its own
// import would, and adds what came of each to the report.
void mergeStoreComponents(const AppData& app, const std::string& sourceStore, const std::string& folder,
                          ImportReport* report);

}  // namespace componentcommands
