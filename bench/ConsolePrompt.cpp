#include "ConsolePrompt.h"

#include <iostream>

int ConsolePrompt::messageBox(const std::string& text, UINT, const std::string& caption)
{
    std::cerr << "[" << caption << "] " << text << "\n";
    return IDOK;
}

std::optional<std::string> ConsolePrompt::chooseFile(const FileDialogRequest&)
{
    return std::nullopt;
}
