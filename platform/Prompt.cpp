#include "platform/Prompt.h"

#include "platform/Trace.h"

#include <atomic>

namespace {

std::atomic<Prompt*> g_installed{nullptr};
std::atomic<Prompt*> g_default{nullptr};

class UnattendedPrompt : public Prompt {
public:
    int messageBox(const std::string& text, UINT flags, const std::string& caption) override
    {
        OutputDebugString(caption + ": " + text + "\n");
        return unansweredResult(flags);
    }
    std::optional<std::string> chooseFile(const FileDialogRequest&) override { return std::nullopt; }
};

}  // namespace

std::vector<std::string> Prompt::chooseFiles(const FileDialogRequest& request)
{
    std::optional<std::string> chosen = chooseFile(request);
    return chosen ? std::vector<std::string>{*chosen} : std::vector<std::string>{};
}

int unansweredResult(UINT flags)
{
    switch (flags & MB_TYPEMASK) {
    case MB_OKCANCEL:
    case MB_YESNOCANCEL:
    case MB_RETRYCANCEL:
    case MB_CANCELTRYCONTINUE:
        return IDCANCEL;
    case MB_YESNO:
        return IDNO;
    case MB_ABORTRETRYIGNORE:
        return IDABORT;
    default:
        return IDOK;
    }
}

Prompt& currentPrompt()
{
    if (Prompt* installed = g_installed.load())
        return *installed;
    if (Prompt* fallback = g_default.load())
        return *fallback;
    static UnattendedPrompt unattended;
    return unattended;
}

void setDefaultPrompt(Prompt* prompt)
{
    g_default.store(prompt);
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
