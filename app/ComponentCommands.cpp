#include "app/ComponentCommands.h"

#include <filesystem>
#include <functional>
#include <string>

#include "app/AgendasDialog.h"
#include "app/CommandTable.h"
#include "core/AppData.h"
#include "platform/Prompt.h"
#include "res/resource.h"
#include "store/ComponentExchange.h"
#include "store/ComponentFiles.h"
#include "store/RecordImport.h"
#include "telephony/PhoneBookImport.h"

namespace componentcommands {
namespace {

using Import = std::function<int(const AppData&, const std::string&, MergeReport*, std::string*)>;

// One component's exchange: what it is called and its file type.
struct Kind {
    const char* what;       // "Phone Book"
    const char* component;  // its member name
    const char* ext;        // "vxb"
    Import fromStore;
    Import fromFile;
};

const Kind kPhoneBook{"Phone Book", components::kPhoneBook, "vxb", phonebookimport::importFromStore,
                     phonebookimport::importFromFile};
const Kind kTemplates{"Templates", components::kTemplates, "vxc", componentexchange::importTemplatesFromStore,
                      componentexchange::importTemplatesFromFile};
const Kind kAgendas{"Meeting Agendas", components::kCounterA, "vxa", componentexchange::importAgendasFromStore,
                    componentexchange::importAgendasFromFile};

std::string filterOf(const Kind& kind)
{
    return std::string("Navo ") + kind.what + " (*." + kind.ext + ")|*." + kind.ext + "|All Files (*.*)|*.*||";
}

void exportTo(const AppData& app, const Kind& kind)
{
    FileDialogRequest request;
    request.open = false;
    request.title = std::string("Export ") + kind.what;
    request.filter = filterOf(kind);
    request.defaultExt = kind.ext;
    request.overwritePrompt = true;
    const std::optional<std::string> path = currentPrompt().chooseFile(request);
    if (!path)
        return;
    std::string error;
    if (!componentexchange::exportComponent(app, kind.component, *path, &error))
        AfxMessageBox(std::string(kind.what) + " not exported.\n" + error, MB_ICONEXCLAMATION);
}

void importFrom(const AppData& app, const Kind& kind, bool fromStore)
{
    FileDialogRequest request;
    request.open = true;
    request.title = std::string("Import ") + kind.what + (fromStore ? " from a Data Store" : "");
    request.filter = fromStore ? "Navo Files (*.vxt)|*.vxt||" : filterOf(kind);
    request.fileMustExist = true;
    const std::optional<std::string> path = currentPrompt().chooseFile(request);
    if (!path)
        return;
    MergeReport report;
    std::string error;
    const int result = (fromStore ? kind.fromStore : kind.fromFile)(app, *path, &report, &error);
    if (result != componentexchange::kImported) {
        AfxMessageBox(std::string(kind.what) + " not imported; nothing was changed.\n" + error, MB_ICONEXCLAMATION);
        return;
    }
    AfxMessageBox(std::string(kind.what) + " imported from " + *path + ":\n" + componentexchange::reportText(report),
                  MB_ICONINFORMATION);
}

}  // namespace

void mergeStoreComponents(const AppData& app, const std::string& sourceStore, const std::string& folder,
                          ImportReport* report)
{
    for (const Kind* kind : {&kPhoneBook, &kTemplates, &kAgendas}) {
        const std::string path = folder + "/" + kind->component;
        std::error_code missing;
        if (!std::filesystem::exists(path, missing))
            continue;
        MergeReport merged;
        std::string error;
        if (kind->fromFile(app, path, &merged, &error) == componentexchange::kImported)
            report->notes.push_back(std::string(kind->what) + ": " + componentexchange::reportText(merged));
        else
            report->failed.push_back({std::string(kind->component) + " in " + sourceStore, error});
    }
}

void registerCommands(CommandTable& commands, const AppData& app, QWidget* parent)
{
    const auto storeOpen = [&app] { return app.StoreUnusable == kStoreHealthy; };
    const AppData* a = &app;
    commands.add(ID_EXPORT_PHONE_BOOK, [a] { exportTo(*a, kPhoneBook); }, storeOpen);
    commands.add(ID_EXPORT_TEMPLATES, [a] { exportTo(*a, kTemplates); }, storeOpen);
    commands.add(ID_EXPORT_AGENDAS, [a] { exportTo(*a, kAgendas); }, storeOpen);
    commands.add(ID_IMPORT_PHONE_BOOK_STORE, [a] { importFrom(*a, kPhoneBook, true); }, storeOpen);
    commands.add(ID_IMPORT_PHONE_BOOK_FILE, [a] { importFrom(*a, kPhoneBook, false); }, storeOpen);
    commands.add(ID_IMPORT_TEMPLATES_STORE, [a] { importFrom(*a, kTemplates, true); }, storeOpen);
    commands.add(ID_IMPORT_TEMPLATES_FILE, [a] { importFrom(*a, kTemplates, false); }, storeOpen);
    commands.add(ID_IMPORT_AGENDAS_STORE, [a] { importFrom(*a, kAgendas, true); }, storeOpen);
    commands.add(ID_IMPORT_AGENDAS_FILE, [a] { importFrom(*a, kAgendas, false); }, storeOpen);
    commands.add(ID_AGENDAS, [a, parent] {
        AgendasDialog dialog(*a, parent);
        dialog.exec();
    }, storeOpen);
}

}  // namespace componentcommands
