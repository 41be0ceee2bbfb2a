#include "PulseServer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <vector>

namespace {

QProcessEnvironment serverEnvironment(const QString& dir)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", dir);
    env.insert("HOME", dir);  // the cookie and state stay in the private folder
    env.remove("PULSE_SERVER");
    return env;
}

bool run(const QString& program, const QStringList& args, const QString& dir, int timeoutMs, QString* output = nullptr)
{
    QProcess p;
    p.setProcessEnvironment(serverEnvironment(dir));
    p.start(program, args);
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        return false;
    }
    if (output != nullptr)
        *output = QString::fromLocal8Bit(p.readAllStandardOutput() + p.readAllStandardError());
    return p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

}  // namespace

PulseServer::~PulseServer() { stop(); }

bool PulseServer::start(int rate)
{
    m_rate = rate;
    if (QStandardPaths::findExecutable("pulseaudio").isEmpty()) {
        m_why = "pulseaudio is not installed";
        return false;
    }
    QTemporaryDir temporary(QDir::tempPath() + "/navo-pulse-XXXXXX");
    temporary.setAutoRemove(false);
    m_dir = temporary.path().toStdString();
    const QString dir = temporary.path();
    QFile::setPermissions(dir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    QFile config(dir + "/navo.pa");
    config.open(QIODevice::WriteOnly);
    config.write("load-module module-native-protocol-unix\n");
    config.write(QString("load-module module-pipe-source source_name=virtmic file=%1/virtmic.fifo format=s16le rate=%2 channels=1\n")
                     .arg(dir).arg(rate).toUtf8());
    config.write("load-module module-null-sink sink_name=speaker\n");
    config.write("load-module module-remap-source master=speaker.monitor source_name=speakermon\n");
    config.write("set-default-sink speaker\n");
    config.close();

    QString output;
    const bool started = run("pulseaudio",
                             {"-n", "-F", dir + "/navo.pa", "-D", "--exit-idle-time=-1", "--disallow-exit",
                              "--log-target=file:" + dir + "/pulse.log"},
                             dir, 10000, &output);
    if (!started) {
        QFile log(dir + "/pulse.log");
        log.open(QIODevice::ReadOnly);
        m_why = "pulseaudio did not start: " + output.toStdString() + log.readAll().toStdString();
        return false;
    }
    for (int i = 0; i < 100 && !run("pactl", {"info"}, dir, 2000); ++i)
        QThread::msleep(50);
    if (!run("pactl", {"info"}, dir, 2000)) {
        m_why = "pulseaudio started but does not answer";
        return false;
    }
    QFile pid(dir + "/pulse/pid");
    if (pid.open(QIODevice::ReadOnly))
        m_pid = pid.readAll().trimmed().toLongLong();
    qputenv("XDG_RUNTIME_DIR", dir.toLocal8Bit());
    qunsetenv("PULSE_SERVER");
    return true;
}

bool PulseServer::loadModule(const std::string& arguments)
{
    return command("load-module " + arguments);
}

bool PulseServer::command(const std::string& arguments)
{
    return run("pactl", QString::fromStdString(arguments).split(' ', Qt::SkipEmptyParts), QString::fromStdString(m_dir),
               5000);
}

void PulseServer::feedTone(double frequency, double level)
{
    stopFeeding();
    // A writer blocked on a server that went away gets EPIPE, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    m_feeding = true;
    const std::string fifo = m_dir + "/virtmic.fifo";
    const int rate = m_rate;
    m_writer = std::thread([this, fifo, frequency, level, rate] {
        std::FILE* out = std::fopen(fifo.c_str(), "wb");
        if (out == nullptr)
            return;
        std::setvbuf(out, nullptr, _IONBF, 0);
        const int frames = rate / 50;  // 20 ms
        std::vector<std::int16_t> chunk(static_cast<std::size_t>(frames));
        std::uint64_t n = 0;
        auto next = std::chrono::steady_clock::now();
        while (m_feeding) {
            for (auto& s : chunk) {
                const double cycles = std::fmod(static_cast<double>(n++) * frequency / rate, 1.0);
                s = static_cast<std::int16_t>(std::lrint(level * 32767 * std::sin(2 * 3.14159265358979323846 * cycles)));
            }
            if (std::fwrite(chunk.data(), 2, chunk.size(), out) != chunk.size())
                break;
            m_fed += chunk.size() * 2;
            next += std::chrono::milliseconds(20);
            std::this_thread::sleep_until(next);
        }
        std::fclose(out);
    });
}

void PulseServer::stopFeeding()
{
    m_feeding = false;
    if (m_writer.joinable())
        m_writer.join();
}

void PulseServer::stop()
{
    m_feeding = false;
    if (m_pid > 0) {
        QProcess::execute("kill", {QString::number(m_pid)});
        for (int i = 0; i < 100 && QFile::exists(QString::fromStdString(m_dir) + "/pulse/pid"); ++i)
            QThread::msleep(20);
        m_pid = 0;
    }
    if (m_writer.joinable())
        m_writer.join();
    if (!m_dir.empty())
        QDir(QString::fromStdString(m_dir)).removeRecursively();
    m_dir.clear();
}
