// The prompt while Navo runs, with one difference: once Navo has been asked
// to stop (TERM), no new question reaches the screen. Each is traced and
// answered as a box closed by Escape answers, and no file is chosen, so that
// shutdown runs to its end (the store saved when it was held) instead of
// waiting for an answer nobody will give.
#pragma once

#include "platform/Prompt.h"

class ClosingPrompt : public Prompt {
public:
    // Wraps the prompt installed now, and installs itself for its lifetime.
    ClosingPrompt();

    void close() { m_closed = true; }
    bool closed() const { return m_closed; }

    int messageBox(const std::string& text, UINT flags, const std::string& caption) override;
    std::optional<std::string> chooseFile(const FileDialogRequest& request) override;
    std::vector<std::string> chooseFiles(const FileDialogRequest& request) override;

private:
    Prompt& m_inner;
    bool m_closed = false;
    ScopedPrompt m_installed;  // last: installed once the rest is ready
};
