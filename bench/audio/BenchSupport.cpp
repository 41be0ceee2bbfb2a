#include "BenchSupport.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace audiobench {

long peakRssKb()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            std::istringstream in(line.substr(6));
            long kb = 0;
            in >> kb;
            return kb;
        }
    }
    return -1;
}

int runTool(const QString& program, const QStringList& args, const QStringList& environment, int timeoutMs)
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& pair : environment)
        env.insert(pair.section('=', 0, 0), pair.section('=', 1));
    p.setProcessEnvironment(env);
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.setStandardOutputFile(QProcess::nullDevice());
    p.start(program, args);
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        return -1;
    }
    return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
}

std::int64_t nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double seconds(std::int64_t ns) { return static_cast<double>(ns) / 1e9; }

void report(const std::string& name, const std::string& value)
{
    std::printf("%-44s %s\n", (name + ":").c_str(), value.c_str());
    std::fflush(stdout);
}

}  // namespace audiobench
