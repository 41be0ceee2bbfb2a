#include "platform/gui/Shell.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>
#include <mutex>

namespace {

constexpr int kOpened = 42;
constexpr int kNotOpened = 2;  // "file not found", as the shell would say

std::mutex g_mutex;
std::function<bool(const std::string&)> g_opener;

bool desktopOpen(const std::string& target)
{
    const QString text = QString::fromLocal8Bit(target.c_str());
    const QUrl url = QFileInfo(text).isAbsolute() ? QUrl::fromLocalFile(text) : QUrl(text);
    return url.isValid() && QDesktopServices::openUrl(url);
}

}  // namespace

int ShellExecuteOpen(const std::string& target)
{
    std::function<bool(const std::string&)> opener;
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        opener = g_opener;
    }
    const bool opened = opener ? opener(target) : desktopOpen(target);
    return opened ? kOpened : kNotOpened;
}

void setShellOpener(std::function<bool(const std::string&)> opener)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_opener = std::move(opener);
}
