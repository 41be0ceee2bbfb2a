// Small helpers for the audio benchmarks: peak memory, timing, running a
// reference tool, and a Qt application object for the event loop.
#pragma once

#include <QStringList>

#include <cstdint>
#include <string>

namespace audiobench {

// Peak resident memory of this process so far, in kB (VmHWM).
long peakRssKb();
// Runs program to the end; its exit code, or -1. Environment as given
// (name=value) on top of this process's.
int runTool(const QString& program, const QStringList& args, const QStringList& environment = {},
            int timeoutMs = 600000);
double seconds(std::int64_t nanoseconds);
std::int64_t nowNs();
// "name: value" lines, easy to read and to grep.
void report(const std::string& name, const std::string& value);

}  // namespace audiobench
