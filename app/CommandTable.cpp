#include "app/CommandTable.h"

#include <QAction>
#include <QPointer>

void CommandTable::add(int id, Handler handler, Rule rule)
{
    m_commands[id] = Command{std::move(handler), std::move(rule)};
    // A command registered after its item was built un-greys at once.
    setEnabled(id, requested(id));
}

bool CommandTable::available(int id) const
{
    const auto found = m_commands.find(id);
    return found != m_commands.end() && (!found->second.rule || found->second.rule());
}

void CommandTable::bind(int id, QAction* action)
{
    m_actions[id] = action;
}

QAction* CommandTable::action(int id) const
{
    const auto found = m_actions.find(id);
    return found == m_actions.end() ? nullptr : found->second;
}

void CommandTable::setEnabled(int id, bool enabled)
{
    m_requested[id] = enabled;
    if (QAction* item = action(id))
        item->setEnabled(enabled && available(id));
}

bool CommandTable::requested(int id) const
{
    const auto found = m_requested.find(id);
    return found != m_requested.end() && found->second;
}

void CommandTable::setChecked(int id, bool checked)
{
    m_checked[id] = checked;
    if (QAction* item = action(id))
        item->setChecked(checked);
}

bool CommandTable::checked(int id) const
{
    const auto found = m_checked.find(id);
    return found != m_checked.end() && found->second;
}

void CommandTable::run(int id)
{
    const QPointer<QAction> item = action(id);
    if (item && !item->isEnabled())
        return;
    const auto found = m_commands.find(id);
    if (found == m_commands.end())
        return;
    // Copied: a handler may register commands and move the table's entries.
    const Handler handler = found->second.handler;
    handler();
    if (item && item->isCheckable())
        item->setChecked(checked(id));
}
