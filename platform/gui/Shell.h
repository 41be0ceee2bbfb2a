// The shell's "open" verb: a web address or a local file opened with the
// user's program for it. Like the original call it answers a number: above
// 32 when the shell took it, 32 or less when it could not.
#pragma once

#include <functional>
#include <string>

int ShellExecuteOpen(const std::string& target);

// Tests replace the opener (it gets a URL or an absolute file path and says
// whether it was opened); nullptr restores the desktop's.
void setShellOpener(std::function<bool(const std::string&)> opener);
