// Navo's help: the built-in help pages opened in the user's browser, the
// pop-up help of the main window's controls (F1), the web site and the
// Internet Repository. Registers the Help menu's commands.
#pragma once

#include <string>

class CommandTable;
class QWidget;
struct AppData;

class HelpPages {
public:
    // The help page of a name ("166.htm") opened in the user's browser.
    static bool open(const std::string& page);
    // F1 over one of the window's four controls that have pop-up help.
    static void showControlHelp(QWidget* window);
    // "Navo on the Web"; message 22 when no browser takes it.
    static void openWebSite();
    // The profile's "Internet" page, else test.htm beside the program.
    static void openInternetRepository(const AppData& app);

    // Navo Help, Navoing! (menu and tool bar) and Navo on the Web.
    static void registerCommands(CommandTable& commands);
};
