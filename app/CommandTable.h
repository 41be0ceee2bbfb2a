// The main window's commands by number: what each does, when it may run, and
// the state its menu item and tool bar button show.
//
// Each part of Navo registers the commands it brings (add()); a command that
// nobody registered is not in this build and stays greyed whatever state the
// window asks for. The menus and the tool bar (CommandMenus) are built from
// data and only bind their actions here, so a new part adds its commands by
// registering them, without touching the window.
#pragma once

#include <functional>
#include <map>

class QAction;

class CommandTable {
public:
    using Handler = std::function<void()>;
    // An extra condition on top of the window's requested state: the record
    // menu's editor, for example, exists only for some lists.
    using Rule = std::function<bool()>;

    void add(int id, Handler handler, Rule rule = {});
    // Registered, and its rule (if any) allows it now.
    bool available(int id) const;

    // The action of a command on the menu bar, tool bar or window menu.
    void bind(int id, QAction* action);
    QAction* action(int id) const;

    // The state the window asks for; the action is enabled only when the
    // command is also available.
    void setEnabled(int id, bool enabled);
    bool requested(int id) const;
    void setChecked(int id, bool checked);
    bool checked(int id) const;

    // Runs a command unless its action is greyed; a click has already
    // toggled a checkable action, so the state the window set is put back
    // afterwards and the handler alone decides it.
    void run(int id);

private:
    // One entry per number that was bound, registered or given a state; no
    // handler means not in this build.
    struct Command {
        Handler handler;
        Rule rule;
        QAction* action = nullptr;
        bool requested = false;
        bool checked = false;
    };
    const Command* find(int id) const;

    std::map<int, Command> m_commands;
};
