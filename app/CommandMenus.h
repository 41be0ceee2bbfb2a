// The main window's menu bar, tool bar and record menu, built from layout
// tables. Every item is bound to its command in a CommandTable and runs
// through it, so a part that registers its command there needs no change
// here; a new item needs only a line in a table.
#pragma once

#include <map>
#include <memory>

#include "res/resource.h"

class CommandTable;
class QMenu;
class QMenuBar;
class QToolBar;
class QWidget;

namespace commandmenus {

// The Internet Repository has no command number of its own; it is
// registered under this one, which no resource uses.
inline constexpr int kInternetRepository = -1;

// The record exports, as the record menus offer them.
inline constexpr int kRecordExports[] = {ID_RECORD_EXPORT_NAVO, ID_RECORD_EXPORT_WAV, ID_RECORD_EXPORT_MP3,
                                         ID_RECORD_EXPORT_WMA,  ID_RECORD_EXPORT_OGG, ID_RECORD_EXPORT_WMV};

// Builds the File, Phone, Tools and Help menus into bar; every item starts
// enabled as far as the window is concerned.
void buildMenuBar(QMenuBar* bar, CommandTable& commands);
// The five buttons of the tool bar.
void buildToolBar(QToolBar* bar, CommandTable& commands);
// The record menu for a selection: states maps each command to whether the
// selection allows it; an item is enabled when it does and the command is
// available. Its actions are the menu's own, not bound in the table.
std::unique_ptr<QMenu> buildRecordMenu(QWidget* parent, CommandTable& commands,
                                       const std::map<int, bool>& states);

}  // namespace commandmenus
