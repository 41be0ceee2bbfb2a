// navo-demo-store FOLDER [COUNT] [--greeting WAV] [--delete-every N]: prepares
// a portable Navo folder whose profile for the current user opens a data store
// holding COUNT records of each type (default 200), filed through the real
// filing procedure, with WAV as the answer machine's greeting when given, and
// with every Nth record deleted again (dead lines for store compression). Used by the
// end-to-end tests, the call benchmark and for looking at a full main window.
#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "RecordFactory.h"
#include "core/AppData.h"
#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/UserName.h"
#include "store/ComponentFiles.h"
#include "store/DataStore.h"
#include "store/IndexLine.h"
#include "store/RecordDeletion.h"
#include "store/Workspace.h"

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    std::vector<std::string> positional;
    std::string greeting;
    long deleteEvery = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--greeting" && i + 1 < argc)
            greeting = std::filesystem::absolute(argv[++i]).string();
        else if (argument == "--delete-every" && i + 1 < argc)
            deleteEvery = std::atol(argv[++i]);
        else
            positional.push_back(argument);
    }
    if (positional.empty() || positional.size() > 2) {
        std::fprintf(stderr, "usage: navo-demo-store FOLDER [COUNT] [--greeting WAV] [--delete-every N]\n");
        return 2;
    }
    const std::string folder = std::filesystem::absolute(positional[0]).string();
    const int count = positional.size() > 1 ? std::atoi(positional[1].c_str()) : 200;

    char user[256];
    DWORD size = sizeof user;
    AppData app;
    app.AppDir = folder + "/";
    app.IniPath = app.AppDir + "NAVO.ini";
    app.ProfileSection = GetUserNameA(user, &size) ? user : "Default";
    app.ProfileDir = app.AppDir + "Profiles/" + app.ProfileSection;
    app.DataStoreName = "NAVO";
    std::filesystem::create_directories(app.ProfileDir);
    if (workspace::Workspace(app, workspace::kCreate, "*.*") != 0)
        return 1;
    DataStore store;
    if (VXfilebuild(app.ProfileDir.c_str(), app.DataStoreName.c_str(), app.TempDir.c_str()) != 0 ||
        store.extract(app) != 0) {
        std::fprintf(stderr, "navo-demo-store: cannot build a store in %s\n", app.ProfileDir.c_str());
        return 1;
    }
    const ProfileSettings profile(app.IniPath, app.ProfileSection);
    profile.write(settings::kLastPath, app.ProfileDir);
    profile.write(settings::kLastFile, app.DataStoreName);
    profile.write(settings::kCommID, settings::kNoDevice);

    static const char* const kSubjects[] = {"Letter to the bank", "Minutes of the project review",
                                            "Ideas for the garden", "Reply to Mr Jones", "Shopping list",
                                            "Notes from the lecture", "Quarterly figures", "Call the plumber"};
    static const char* const kNames[] = {"Ann Smith", "Bob Clarke", "Carol White", "David Brown", "Eve Green"};
    RecordFactory records(app, 8000 * 3);
    long filed = 0;
    for (int i = 0; i < count; ++i) {
        const std::string subject = std::string(kSubjects[i % 8]) + " " + std::to_string(i + 1);
        records.dictation(subject, i % 4);
        records.meeting("Meeting: " + subject, i % 4);
        records.message(kNames[i % 5], "01632 " + std::to_string(960000 + i), i % 7 == 0);
        records.phoneCall(kNames[(i + 2) % 5], "020 7946 " + std::to_string(1000 + i), i % 4);
        records.diary(std::to_string(1 + i % 28) + "/12/2026", std::to_string(8 + i % 10) + ":30",
                      "Reminder: " + subject);
        records.translation("Translation " + std::to_string(i + 1), 11 + i % 6);
        records.video("Clip " + std::to_string(i + 1));
        if (records.lastResult() != 0) {
            std::fprintf(stderr, "navo-demo-store: filing failed (%d)\n", records.lastResult());
            return 1;
        }
        filed += 7;
    }
    if (deleteEvery > 0) {
        std::vector<std::string> doomed;
        for (long recId = deleteEvery; recId <= filed; recId += deleteEvery)
            doomed.push_back(indexline::recIdText(recId));
        if (deleteRecords(app, doomed) != 0) {
            std::fprintf(stderr, "navo-demo-store: deleting records failed\n");
            return 1;
        }
    }
    if (!greeting.empty()) {
        // The greeting is a component file: the copy in the workspace goes
        // into the store at the save below.
        std::error_code error;
        std::filesystem::copy_file(greeting, components::workspacePath(app.TempDir, components::kGreeting),
                                   std::filesystem::copy_options::overwrite_existing, error);
        if (error) {
            std::fprintf(stderr, "navo-demo-store: cannot use %s as the greeting: %s\n", greeting.c_str(),
                         error.message().c_str());
            return 1;
        }
    }
    const int saved = store.save(app);
    store.deleteWorkingCopies(app);
    workspace::Workspace(app, workspace::kRemove, "*.*");
    std::printf("%s: %d records of each type in %s/NAVO.vxt\n", saved == 0 ? "ok" : "save failed", count,
                app.ProfileDir.c_str());
    return saved == 0 ? 0 : 1;
}
