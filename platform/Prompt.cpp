#include "platform/Prompt.h"

#include "platform/QtPrompt.h"

#include <atomic>

namespace {

std::atomic<Prompt*> g_installed{nullptr};

}  // namespace

Prompt& currentPrompt()
{
    if (Prompt* installed = g_installed.load())
        return *installed;
    static QtPrompt qtPrompt;
    return qtPrompt;
}

void setPrompt(Prompt* prompt)
{
    g_installed.store(prompt);
}

ScopedPrompt::ScopedPrompt(Prompt& prompt) : m_previous(g_installed.exchange(&prompt))
{
}

ScopedPrompt::~ScopedPrompt()
{
    g_installed.store(m_previous);
}

int AfxMessageBox(const std::string& text, UINT flags)
{
    return currentPrompt().messageBox(text, flags, "Navo");
}
