// What every benchmark here shares: wall-clock timing and medians, running a
// reference tool through the shell, the few command-line options, free disk
// space, and the one way each benchmark prints its verdict.
#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

// Seconds that body took on the wall clock.
template <typename Body>
double secondsOf(Body&& body)
{
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values);

// Runs a command through /bin/sh; true when it exited with 0.
bool run(const std::string& command);

// A path quoted for the shell.
std::string quoted(const std::string& path);

// "--name N" or "--name=N" from the command line, else fallback. Exits with a
// message when the value is not a positive whole number.
long long option(int argc, char** argv, const std::string& name, long long fallback);
std::string textOption(int argc, char** argv, const std::string& name, const std::string& fallback);
bool flag(int argc, char** argv, const std::string& name);

// Free bytes on the file system that holds folder (the figure df shows as
// available), or 0 when it cannot be found out.
std::uint64_t freeBytes(const std::string& folder);

// Flushes every dirty page to disk, so that one measurement does not pay for
// the writes of the set-up before it.
void flushDisk();

std::string megabytes(std::uint64_t bytes);
std::string milliseconds(double seconds);
// Each run in milliseconds, comma separated.
std::string runsText(const std::vector<double>& values);
std::string microseconds(double seconds);

// Prints "ratio = navo / reference = r (target <= t): met" or "NOT met", and
// returns whether the target was met.
bool verdict(double navo, double reference, double target);

// Throws Failure: the benchmark stops, and its temporary folder (which may
// hold gigabytes) is still removed on the way out.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};
[[noreturn]] void fail(const std::string& message);

// Runs a benchmark's body; a Failure is printed and gives exit status 1.
int guarded(int argc, char** argv, int (*body)(int, char**));

}  // namespace bench
