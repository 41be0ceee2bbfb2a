// Trace output and capture; see Trace.h.
#include "platform/Trace.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

std::mutex g_traceMutex;
std::vector<TraceCapture*> g_captures;  // guarded by g_traceMutex

bool traceToStderr()
{
    static const bool enabled = [] {
        const char* value = std::getenv("NAVO_TRACE");
        return value != nullptr && std::strcmp(value, "1") == 0;
    }();
    return enabled;
}

}  // namespace

void OutputDebugString(const char* text)
{
    if (text == nullptr || *text == '\0')
        return;
    const bool toStderr = traceToStderr();
    std::lock_guard<std::mutex> lock(g_traceMutex);
    if (toStderr) {
        std::fputs(text, stderr);
        std::fflush(stderr);
    }
    for (TraceCapture* capture : g_captures)
        capture->m_text.append(text);
}

void OutputDebugString(const std::string& text)
{
    OutputDebugString(text.c_str());
}

TraceCapture::TraceCapture()
{
    std::lock_guard<std::mutex> lock(g_traceMutex);
    g_captures.push_back(this);
}

TraceCapture::~TraceCapture()
{
    std::lock_guard<std::mutex> lock(g_traceMutex);
    g_captures.erase(std::find(g_captures.begin(), g_captures.end(), this));
}

std::string TraceCapture::text() const
{
    std::lock_guard<std::mutex> lock(g_traceMutex);
    return m_text;
}

std::vector<std::string> TraceCapture::lines() const
{
    const std::string all = text();
    std::vector<std::string> result;
    std::size_t start = 0;
    while (start < all.size()) {
        const std::size_t nl = all.find('\n', start);
        if (nl == std::string::npos) {
            result.push_back(all.substr(start));
            break;
        }
        result.push_back(all.substr(start, nl - start));
        start = nl + 1;
    }
    return result;
}

bool TraceCapture::contains(std::string_view part) const
{
    return text().find(part) != std::string::npos;
}
