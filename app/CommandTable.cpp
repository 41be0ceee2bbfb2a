#include "app/CommandTable.h"

#include <QAction>
#include <QPointer>

const CommandTable::Command* CommandTable::find(int id) const
{
    const auto found = m_commands.find(id);
    return found == m_commands.end() ? nullptr : &found->second;
}

void CommandTable::add(int id, Handler handler, Rule rule)
{
    Command& command = m_commands[id];
    command.handler = std::move(handler);
    command.rule = std::move(rule);
    // A command registered after its item was built un-greys at once.
    setEnabled(id, command.requested);
}

bool CommandTable::available(int id) const
{
    const Command* command = find(id);
    return command != nullptr && command->handler && (!command->rule || command->rule());
}

void CommandTable::bind(int id, QAction* action)
{
    m_commands[id].action = action;
}

QAction* CommandTable::action(int id) const
{
    const Command* command = find(id);
    return command == nullptr ? nullptr : command->action;
}

void CommandTable::setEnabled(int id, bool enabled)
{
    Command& command = m_commands[id];
    command.requested = enabled;
    if (command.action != nullptr)
        command.action->setEnabled(enabled && available(id));
}

bool CommandTable::requested(int id) const
{
    const Command* command = find(id);
    return command != nullptr && command->requested;
}

void CommandTable::setChecked(int id, bool checked)
{
    Command& command = m_commands[id];
    command.checked = checked;
    if (command.action != nullptr)
        command.action->setChecked(checked);
}

bool CommandTable::checked(int id) const
{
    const Command* command = find(id);
    return command != nullptr && command->checked;
}

void CommandTable::run(int id)
{
    const Command* command = find(id);
    if (command == nullptr || !command->handler)
        return;
    const QPointer<QAction> item = command->action;
    if (item && !item->isEnabled())
        return;
    // Copied: a handler may register commands and move the table's entries.
    const Handler handler = command->handler;
    handler();
    if (item && item->isCheckable())
        item->setChecked(checked(id));
}
