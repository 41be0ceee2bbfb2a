#include "app/NavoApp.h"

#include "core/AppData.h"
#include "app/ClosingPrompt.h"
#include "app/MainWindow.h"
#include "app/SplashDialog.h"
#include "platform/TerminationRequest.h"
#include "platform/WindowMessages.h"
#include "res/StringTable.h"

#include <cstring>
#include <ostream>

#ifndef NAVO_VERSION
#define NAVO_VERSION "0.1.0"
#endif

namespace {

constexpr std::size_t kMessageNameMax = 39;

const char* const kUsage =
    "Usage: navo [--help | --version]\n"
    "Navo records, files, finds and replays dictations, meetings, phone calls,\n"
    "answer-machine messages and diary entries.\n"
    "\n"
    "Navo keeps its settings (NAVO.ini) and each user's data stores (Profiles/)\n"
    "in the folder of the navo program; run the navo in that folder.\n"
    "\n"
    "  --help     show this text and exit\n"
    "  --version  show the version and exit\n";

}  // namespace

std::optional<int> NavoApp::answerCommandLine(int argc, const char* const* argv, std::ostream& out)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            out << "navo " NAVO_VERSION "\n";
            return 0;
        }
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            out << kUsage;
            return 0;
        }
    }
    return std::nullopt;
}

NavoApp::NavoApp(AppData& app, StartupServices services, std::string executablePath)
    : m_app(app), m_services(services), m_executablePath(std::move(executablePath))
{
}

BOOL NavoApp::InitInstance()
{
    const std::string name = LoadString(800).substr(0, kMessageNameMax);
    m_app.WordMessage = RegisterWindowMessageA(name.c_str());

    MainWindow mainWindow(m_app, m_services, m_executablePath);
    SplashDialog splash;
    ClosingPrompt prompt;

    // Asked to stop: before the main window runs there is nothing to shut
    // down; afterwards it closes as if the user chose Exit, and whatever it
    // would still ask (a failed save, a question on screen) gets no answer
    // from anybody, so it is asked of nobody.
    bool stopRequested = false;
    onTerminationRequest([&] {
        stopRequested = true;
        prompt.close();
        if (splash.isVisible())
            splash.reject();
        else
            mainWindow.requestStop();
    });

    splash.exec();
    if (!stopRequested)
        mainWindow.DoModal();
    onTerminationRequest(nullptr);
    return FALSE;
}
