#include "BenchCommon.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace bench {

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

bool run(const std::string& command)
{
    return std::system(command.c_str()) == 0;
}

std::string quoted(const std::string& path)
{
    std::string text = "'";
    for (char c : path) {
        if (c == '\'')
            text += "'\\''";
        else
            text += c;
    }
    return text + "'";
}

namespace {

// The value after "--name" or in "--name=value", or nullptr.
const char* rawOption(int argc, char** argv, const std::string& name)
{
    const std::string dashed = "--" + name;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == dashed && i + 1 < argc)
            return argv[i + 1];
        if (arg.compare(0, dashed.size() + 1, dashed + "=") == 0)
            return argv[i] + dashed.size() + 1;
    }
    return nullptr;
}

}  // namespace

long long option(int argc, char** argv, const std::string& name, long long fallback)
{
    const char* text = rawOption(argc, argv, name);
    if (text == nullptr)
        return fallback;
    char* end = nullptr;
    const long long value = std::strtoll(text, &end, 10);
    if (end == text || *end != '\0' || value <= 0)
        fail("--" + name + " wants a positive whole number, not \"" + text + "\"");
    return value;
}

std::string textOption(int argc, char** argv, const std::string& name, const std::string& fallback)
{
    const char* text = rawOption(argc, argv, name);
    return text == nullptr ? fallback : std::string(text);
}

bool flag(int argc, char** argv, const std::string& name)
{
    const std::string dashed = "--" + name;
    for (int i = 1; i < argc; ++i)
        if (argv[i] == dashed)
            return true;
    return false;
}

std::uint64_t freeBytes(const std::string& folder)
{
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(folder, error);
    return error ? 0 : static_cast<std::uint64_t>(space.available);
}

void flushDisk()
{
    run("sync");
}

std::string megabytes(std::uint64_t bytes)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
    return text;
}

std::string milliseconds(double seconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.1f ms", seconds * 1e3);
    return text;
}

std::string runsText(const std::vector<double>& values)
{
    std::string text;
    for (double v : values)
        text += (text.empty() ? "" : ", ") + milliseconds(v);
    return text;
}

std::string microseconds(double seconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.2f us", seconds * 1e6);
    return text;
}

bool verdict(double navo, double reference, double target)
{
    const double ratio = reference > 0 ? navo / reference : 0.0;
    const bool met = reference > 0 && ratio <= target;
    std::printf("ratio = navo / reference = %.3f (target <= %.2f): %s\n", ratio, target,
                met ? "met" : "NOT met");
    return met;
}

void fail(const std::string& message)
{
    throw Failure(message);
}

int guarded(int argc, char** argv, int (*body)(int, char**))
{
    try {
        return body(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << "\n";
        return 1;
    }
}

}  // namespace bench
