// The application object: registers the program's window message, shows the
// splash screen, then runs the main window until it closes.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "core/StartupServices.h"
#include "platform/WinTypes.h"

struct AppData;

class NavoApp {
public:
    NavoApp(AppData& app, StartupServices services, std::string executablePath);

    // "--version" and "--help" are answered on out before any window system,
    // profile or store is touched: the exit status, or nullopt to start.
    // Other arguments are left to Qt ("-platform", ...), as they always were.
    static std::optional<int> answerCommandLine(int argc, const char* const* argv, std::ostream& out);

    // FALSE: the process ends when the main window closes.
    BOOL InitInstance();

private:
    AppData& m_app;
    StartupServices m_services;
    std::string m_executablePath;
};
