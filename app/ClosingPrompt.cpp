#include "app/ClosingPrompt.h"

#include "platform/Trace.h"
#include "platform/gui/QtPrompt.h"

ClosingPrompt::ClosingPrompt() : m_inner(currentPrompt()), m_installed(*this) {}

int ClosingPrompt::closedAnswer(UINT flags)
{
    const MessageBoxLayout layout = messageBoxLayout(flags);
    if (layout.escapeButton != 0)
        return layout.escapeButton;
    return (flags & MB_TYPEMASK) == MB_YESNO ? IDNO : IDABORT;
}

int ClosingPrompt::messageBox(const std::string& text, UINT flags, const std::string& caption)
{
    if (!m_closed)
        return m_inner.messageBox(text, flags, caption);
    OutputDebugString("Stopping, not asked: " + text + "\n");
    return closedAnswer(flags);
}

std::optional<std::string> ClosingPrompt::chooseFile(const FileDialogRequest& request)
{
    if (!m_closed)
        return m_inner.chooseFile(request);
    OutputDebugString("Stopping, no file chosen: " + request.title + "\n");
    return std::nullopt;
}
