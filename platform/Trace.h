// Diagnostic traces: Navo's short lines such as "Saving SFS\n" and
// "Index updated\n", which the Windows program sent to the debugger.
//
// They go to standard error when the environment variable NAVO_TRACE is "1"
// (read once, at the first trace), and to every TraceCapture alive at the
// time, so tests can check that a step ran. Texts are written as given; most
// end in "\n".
#pragma once

#include <string>
#include <string_view>
#include <vector>

void OutputDebugString(const char* text);
void OutputDebugString(const std::string& text);

// Collects everything traced, by any thread, while it lives. Captures may
// nest (each sees what was traced during its own life) and may be read while
// tracing goes on.
class TraceCapture {
public:
    TraceCapture();
    ~TraceCapture();
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // All traced text split at "\n" (without it); text after the last "\n"
    // counts as a line too. Traces without "\n" therefore join the next one,
    // as they do in a debugger's output.
    std::vector<std::string> lines() const;
    // All traced text, concatenated.
    std::string text() const;
    bool contains(std::string_view part) const;

private:
    friend void OutputDebugString(const char* text);
    std::string m_text;  // guarded by the trace mutex
};
