#include "app/NavoApp.h"

#include "core/AppData.h"
#include "app/MainWindow.h"
#include "app/SplashDialog.h"
#include "platform/TerminationRequest.h"
#include "platform/WindowMessages.h"
#include "res/StringTable.h"

namespace {
constexpr std::size_t kMessageNameMax = 39;
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

    // Asked to stop: before the main window runs there is nothing to shut
    // down; afterwards it closes as if the user chose Exit.
    bool stopRequested = false;
    onTerminationRequest([&] {
        stopRequested = true;
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
