// Where the test line listens for navo-line: NAVO_TEST_LINE_SOCKET, else
// $XDG_RUNTIME_DIR/navo-test-line.sock, else $TMPDIR (or /tmp) +
// "/navo-test-line-" + $USER + ".sock". Header-only so that the module and
// the tool agree without sharing code.
#pragma once

#include <cstdlib>
#include <string>

inline std::string testLineSocketPath()
{
    auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value != nullptr ? value : "");
    };
    if (!variable("NAVO_TEST_LINE_SOCKET").empty())
        return variable("NAVO_TEST_LINE_SOCKET");
    if (!variable("XDG_RUNTIME_DIR").empty())
        return variable("XDG_RUNTIME_DIR") + "/navo-test-line.sock";
    const std::string folder = variable("TMPDIR").empty() ? std::string("/tmp") : variable("TMPDIR");
    const std::string user = variable("USER").empty() ? std::string("navo") : variable("USER");
    return folder + "/navo-test-line-" + user + ".sock";
}
