// The prompt the benchmarks install: there is nobody to answer, so a message
// box is printed (it only ever means that something failed) and answered OK,
// and a file chooser is cancelled.
#pragma once

#include "platform/Prompt.h"

class ConsolePrompt : public Prompt {
public:
    int messageBox(const std::string& text, UINT flags, const std::string& caption) override;
    std::optional<std::string> chooseFile(const FileDialogRequest& request) override;
};
