#include "app/ClosingPrompt.h"

#include "platform/Trace.h"

ClosingPrompt::ClosingPrompt() : m_inner(currentPrompt()), m_installed(*this) {}

int ClosingPrompt::messageBox(const std::string& text, UINT flags, const std::string& caption)
{
    if (!m_closed)
        return m_inner.messageBox(text, flags, caption);
    OutputDebugString("Stopping, not asked: " + text + "\n");
    return unansweredResult(flags);
}

std::optional<std::string> ClosingPrompt::chooseFile(const FileDialogRequest& request)
{
    if (!m_closed)
        return m_inner.chooseFile(request);
    OutputDebugString("Stopping, no file chosen: " + request.title + "\n");
    return std::nullopt;
}

std::vector<std::string> ClosingPrompt::chooseFiles(const FileDialogRequest& request)
{
    if (!m_closed)
        return m_inner.chooseFiles(request);
    OutputDebugString("Stopping, no file chosen: " + request.title + "\n");
    return {};
}
