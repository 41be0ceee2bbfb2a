#include "app/NavoApp.h"

#include "app/AppData.h"
#include "app/MainWindow.h"
#include "app/SplashDialog.h"
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
    splash.exec();
    mainWindow.DoModal();
    return FALSE;
}
