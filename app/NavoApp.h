// The application object: registers the program's window message, shows the
// splash screen, then runs the main window until it closes.
#pragma once

#include <string>

#include "core/StartupServices.h"
#include "platform/WinTypes.h"

struct AppData;

class NavoApp {
public:
    NavoApp(AppData& app, StartupServices services, std::string executablePath);

    // FALSE: the process ends when the main window closes.
    BOOL InitInstance();

private:
    AppData& m_app;
    StartupServices m_services;
    std::string m_executablePath;
};
