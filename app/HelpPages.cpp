#include "app/HelpPages.h"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTextStream>
#include <QWhatsThis>
#include <QWidget>
#include <map>

#include "app/CommandTable.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "core/ShowCodedMessage.h"
#include "platform/Prompt.h"
#include "platform/gui/Shell.h"
#include "res/StringTable.h"
#include "res/resource.h"

bool HelpPages::open(const std::string& page)
{
    // The pages are built into the program; the browser gets a copy in the
    // user's cache folder.
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/help");
    QDir().mkpath(folder);
    for (const QString& name : QDir(QStringLiteral(":/res/help")).entryList(QDir::Files)) {
        const QString target = folder + QLatin1Char('/') + name;
        QFile::remove(target);
        QFile::copy(QStringLiteral(":/res/help/") + name, target);
        QFile::setPermissions(target, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }
    const QString path = folder + QLatin1Char('/') + QString::fromStdString(page);
    return QFile::exists(path) && ShellExecuteOpen(QFile::encodeName(path).toStdString()) > 32;
}

void HelpPages::showControlHelp(QWidget* window)
{
    // Pop-up help for the four controls that have it, from the help texts.
    static const std::map<int, int> kTexts = {{IDC_RECORD_TYPES, 100}, {IDC_RECORD_LIST, 101},
                                              {IDC_PROGRESS_TEXT, 102}, {IDC_STATUS_TEXT, 103}};
    QWidget* widget = QApplication::widgetAt(QCursor::pos());
    if (!widget || !window->isAncestorOf(widget))
        widget = window->focusWidget();
    while (widget && widget != window && !kTexts.count(widget->objectName().toInt()))
        widget = widget->parentWidget();
    if (!widget || widget == window)
        return;
    QFile file(QStringLiteral(":/res/help/navohelp.txt"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    const QString key = QString::number(kTexts.at(widget->objectName().toInt())) + QLatin1Char('=');
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QString line = in.readLine();
        if (line.startsWith(key)) {
            QWhatsThis::showText(widget->mapToGlobal(widget->rect().center()), line.mid(key.size()), widget);
            return;
        }
    }
}

void HelpPages::openWebSite()
{
    if (ShellExecuteOpen(LoadString(790)) <= 32)
        ShowCodedMessage(22, MB_ICONINFORMATION);
}

void HelpPages::openInternetRepository(const AppData& app)
{
    std::string target = ProfileValues(app).internet();
    // AppDir already ends in the separator; the page name brings its own.
    if (ProfileSettings::isMissing(target))
        target = app.AppDir + "/test.htm";
    if (ShellExecuteOpen(target) <= 32)
        AfxMessageBox("Internet Repository unavailable", MB_ICONEXCLAMATION);
}

void HelpPages::registerCommands(CommandTable& commands)
{
    commands.add(ID_HELP_NAVO, [] { open("166.htm"); });
    commands.add(ID_HELP_NAVOING, [] { open("900.htm"); });
    commands.add(ID_TB_NAVOING, [] { open("900.htm"); });
    commands.add(ID_NAVO_WEB, [] { openWebSite(); });
}
