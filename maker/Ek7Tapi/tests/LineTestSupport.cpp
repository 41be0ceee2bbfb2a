#include "LineTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "platform/WindowMessages.h"

ScopedEnvironment::~ScopedEnvironment()
{
    for (const auto& [name, value] : m_saved) {
        if (value)
            qputenv(name.c_str(), QByteArray::fromStdString(*value));
        else
            qunsetenv(name.c_str());
    }
}

void ScopedEnvironment::set(const char* name, const std::string& value)
{
    if (m_saved.count(name) == 0) {
        const char* old = std::getenv(name);
        m_saved[name] = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
    }
    qputenv(name, QByteArray::fromStdString(value));
}

TestLineSetup::TestLineSetup(int ringPeriodMs, const std::string& providers) : m_ringPeriodMs(ringPeriodMs)
{
    m_environment.set("NAVO_TAPI_MODULE", modulePath());
    m_environment.set("NAVO_LINE_PROVIDERS", providers);
    m_environment.set("NAVO_TEST_LINE_SOCKET", socketPath());
    m_environment.set("NAVO_RING_PERIOD_MS", std::to_string(ringPeriodMs));
    m_environment.set("NAVO_LINE_CONFIG", path("no-such-line.conf"));
    m_environment.set("NAVO_SIP_DATA_DIR", path("sip"));
}

std::string TestLineSetup::path(const std::string& name) const
{
    return m_folder.filePath(QString::fromStdString(name)).toStdString();
}

std::string TestLineSetup::modulePath()
{
    return NAVO_TEST_TAPI_MODULE;
}

std::string TestLineSetup::navoLinePath()
{
    return NAVO_TEST_NAVO_LINE;
}

std::string TestLineSetup::soundsFolder()
{
    return NAVO_TEST_SOUNDS_DIR;
}

MessageLog::MessageLog(const LineState* block) : m_block(block)
{
    QElapsedTimer clock;
    clock.start();
    m_startMs = clock.msecsSinceReference();
}

HWND MessageLog::handle()
{
    return handleOf(this);
}

bool MessageLog::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QObject::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    QElapsedTimer clock;
    clock.start();
    LoggedMessage logged;
    logged.message = message->message();
    logged.wParam = message->wParam();
    logged.atMs = clock.msecsSinceReference() - m_startMs;
    logged.state = *m_block;
    m_messages.push_back(logged);
    if (onMessage)
        onMessage(m_messages.back());
    return true;
}

int MessageLog::count(UINT message) const
{
    int n = 0;
    for (const LoggedMessage& logged : m_messages)
        n += logged.message == message ? 1 : 0;
    return n;
}

const LoggedMessage* MessageLog::first(UINT message) const
{
    for (const LoggedMessage& logged : m_messages)
        if (logged.message == message)
            return &logged;
    return nullptr;
}

std::vector<UINT> MessageLog::sequence() const
{
    std::vector<UINT> order;
    for (const LoggedMessage& logged : m_messages)
        order.push_back(logged.message);
    return order;
}

bool MessageLog::waitFor(UINT message, int n, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (count(message) < n) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

void MessageLog::pump(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
}

NavoLineProcess::NavoLineProcess(const std::string& socketPath) : m_socketPath(QString::fromStdString(socketPath))
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
}

void NavoLineProcess::start(const QStringList& arguments)
{
    m_process.start(QString::fromStdString(TestLineSetup::navoLinePath()),
                    QStringList{QStringLiteral("--socket"), m_socketPath} + arguments);
    m_process.waitForStarted(5000);
}

int NavoLineProcess::finish(int timeoutMs)
{
    // The test's own event loop must keep running meanwhile: the line's
    // messages to the library arrive through it.
    QElapsedTimer timer;
    timer.start();
    while (m_process.state() != QProcess::NotRunning && timer.elapsed() < timeoutMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        m_process.waitForFinished(5);
    }
    m_output += QString::fromLocal8Bit(m_process.readAll());
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(2000);
        return -1;
    }
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

bool NavoLineProcess::waitForOutput(const QString& text, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        m_output += QString::fromLocal8Bit(m_process.readAll());
        if (m_output.contains(text))
            return true;
        if (m_process.state() == QProcess::NotRunning || timer.elapsed() >= timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        m_process.waitForReadyRead(5);
    }
}

void NavoLineProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished(2000);
    m_output += QString::fromLocal8Bit(m_process.readAll());
}

bool SoundFolderResources::loadWave(int id, std::string& bytes) const
{
    const char* name = id == 3001 ? "tone.wav" : id == 3003 ? "ring.wav" : nullptr;
    if (name == nullptr)
        return false;
    QFile file(QString::fromStdString(TestLineSetup::soundsFolder()) + QLatin1Char('/') + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    bytes = file.readAll().toStdString();
    return true;
}

void actAsAnswerMachine(MessageLog& log, LineState* state, const TestLineSetup& setup, const std::string& greeting,
                        const std::string& vxw, AnswerResults& results)
{
    log.onMessage = [state, &setup, greeting, vxw, &results](const LoggedMessage& m) {
        static SoundFolderResources resources;
        if (m.message == kEk7MsgAnswerNow && state->CallState == 1 && state->CallHandle != 0) {
            Ek7TapiSetRecord(setup.path("xbuffer.wav").c_str(), setup.path("xdata.wav").c_str(), vxw.c_str());
            results.answer = Ek7TapiAnswer()->ErrorCode;
        } else if (m.message == kEk7MsgConnected && state->CallState == 1) {
            Ek7TapiSetResource(&resources, 3001);
            results.play = Ek7TapiPlayFile(greeting.c_str())->ErrorCode;
        } else if (m.message == kEk7MsgDisconnected && state->CallState == 1) {
            state->CallEndFlag = 1;
            Ek7TapiStop();
            results.save = Ek7TapiSave()->ErrorCode;
        }
    };
}

bool inSipTestNetwork()
{
    const char* flag = std::getenv("NAVO_SIP_NETNS");
    return flag != nullptr && std::string(flag) == "1";
}

void startBaresip(QProcess& process, const TestLineSetup& setup, const std::string& name, const std::string& number,
                  const std::string& source, int navoPort, int seconds)
{
    const std::string folder = setup.path("baresip");
    QDir().mkpath(QString::fromStdString(folder));
    std::ofstream(folder + "/accounts") << "\"" << name << "\" <sip:" << number << "@127.0.0.1>;regint=0\n";
    std::ofstream(folder + "/config")
        << "sip_listen 127.0.0.1:5090\nnet_interface 127.0.0.1\naudio_source aufile," << source
        << "\naudio_player aubridge,nil\nmodule_path /usr/lib/baresip/modules\nmodule g711.so\n"
           "module aufile.so\nmodule aubridge.so\nmodule account.so\nmodule menu.so\n";
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QStringLiteral("baresip"), {QStringLiteral("-f"), QString::fromStdString(folder),
                                              QStringLiteral("-e"),
                                              QStringLiteral("/dial sip:navo@127.0.0.1:%1").arg(navoPort),
                                              QStringLiteral("-t"), QString::number(seconds)});
}

LineSamples SineFiles::sine(double frequency, double seconds, int amplitude)
{
    const auto count = static_cast<std::size_t>(seconds * LineWave::kRate);
    LineSamples samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>(amplitude * std::sin(2 * M_PI * frequency * i / LineWave::kRate));
    return samples;
}

bool SineFiles::write(const std::string& path, double frequency, double seconds, int amplitude)
{
    return LineWave::writeFile(path, sine(frequency, seconds, amplitude), false);
}

ToneMeasure SineFiles::measure(const LineSamples& samples, std::size_t from, std::size_t to, int threshold)
{
    // Loud frames give the length; the frequency comes only from frames
    // that are loud in all four quarters, so a frame half tone and half
    // silence at either end does not pull it down.
    ToneMeasure result;
    to = std::min(to, samples.size());
    if (from >= to)
        return result;
    result.seconds = static_cast<double>(to - from) / LineWave::kRate;
    std::size_t loudFrames = 0;
    std::size_t fullFrames = 0;
    std::size_t crossings = 0;
    bool found = false;
    const std::size_t frame = LineWave::kSamplesPerFrame;
    const std::size_t quarter = frame / 4;
    for (std::size_t start = from; start + frame <= to; start += frame) {
        int loudQuarters = 0;
        for (std::size_t q = start; q < start + frame; q += quarter) {
            int peak = 0;
            for (std::size_t i = q; i < q + quarter; ++i)
                peak = std::max(peak, std::abs(static_cast<int>(samples[i])));
            loudQuarters += peak >= threshold ? 1 : 0;
        }
        if (loudQuarters == 0)
            continue;
        if (!found) {
            result.firstSound = start;
            found = true;
        }
        ++loudFrames;
        if (loudQuarters < 4)
            continue;
        ++fullFrames;
        for (std::size_t i = std::max<std::size_t>(start, 1); i < start + frame; ++i)
            crossings += (samples[i - 1] < 0) != (samples[i] < 0) ? 1 : 0;
    }
    result.soundSeconds = static_cast<double>(loudFrames * frame) / LineWave::kRate;
    if (fullFrames > 0)
        result.frequency = static_cast<double>(crossings) / 2.0 /
                           (static_cast<double>(fullFrames * frame) / LineWave::kRate);
    return result;
}
