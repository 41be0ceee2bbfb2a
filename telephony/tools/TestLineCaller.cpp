#include "telephony/tools/TestLineCaller.h"

#include <QElapsedTimer>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kLoud = 500;             // a frame with a sample above this is sound
constexpr int kSilenceAfterTone = 15;  // frames (300 ms) of quiet that end the greeting

void say(const std::string& text)
{
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

}  // namespace

TestLineCaller::TestLineCaller(QString socketPath) : m_socketPath(std::move(socketPath)) {}

bool TestLineCaller::connectLine()
{
    m_socket.connectToServer(m_socketPath);
    if (m_socket.waitForConnected(2000))
        return true;
    std::fprintf(stderr, "navo-line: no test line at %s (is Navo monitoring the test line?)\n",
                 m_socketPath.toLocal8Bit().constData());
    return false;
}

bool TestLineCaller::sendFrame(char type, const std::string& payload)
{
    const std::string frame = TestLineFrames::encode(type, payload);
    if (m_socket.write(frame.data(), static_cast<qint64>(frame.size())) != static_cast<qint64>(frame.size()))
        return false;
    while (m_socket.bytesToWrite() > 0)
        if (!m_socket.waitForBytesWritten(2000))
            return false;
    return true;
}

bool TestLineCaller::readFrame(char& type, std::string& payload, int timeoutMs, bool& closed)
{
    closed = false;
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        if (m_frames.next(type, payload))
            return true;
        if (m_frames.broken() || m_socket.state() != QLocalSocket::ConnectedState) {
            closed = true;
            return false;
        }
        const qint64 left = timeoutMs - timer.elapsed();
        if (left <= 0)
            return false;
        if (m_socket.bytesAvailable() == 0 && !m_socket.waitForReadyRead(static_cast<int>(left))) {
            if (m_socket.state() != QLocalSocket::ConnectedState)
                closed = true;
            if (closed || timer.elapsed() >= timeoutMs)
                return false;
        }
        const QByteArray bytes = m_socket.readAll();
        m_frames.feed(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
}

void TestLineCaller::keepHeard(const CallerScript& script)
{
    char line[64];
    std::snprintf(line, sizeof line, "heard %.3f s", static_cast<double>(m_heard.size()) / LineWave::kRate);
    say(line);
    if (!script.hearPath.empty() && !LineWave::writeFile(script.hearPath, m_heard, false))
        std::fprintf(stderr, "navo-line: cannot write %s\n", script.hearPath.c_str());
}

TestLineCaller::Outcome TestLineCaller::call(const CallerScript& script)
{
    LineSamples voice;
    std::string why;
    if (!script.sayPath.empty() && !LineWave::readFile(script.sayPath, voice, &why)) {
        std::fprintf(stderr, "navo-line: %s: %s\n", script.sayPath.c_str(), why.c_str());
        return kBadFile;
    }
    if (!connectLine())
        return kNoLine;
    sendFrame('C', std::to_string(script.rings) + "\t" + std::to_string(script.ringPeriodMs) + "\t" +
                       script.number + "\t" + script.name);
    QElapsedTimer timer;
    timer.start();
    int rings = 0;
    for (;;) {
        char type = 0;
        std::string payload;
        bool closed = false;
        const int left = script.timeoutMs - static_cast<int>(timer.elapsed());
        if (left <= 0 || !readFrame(type, payload, left, closed)) {
            say(closed ? "the line went away" : "timed out");
            return closed ? kNoLine : kTimedOut;
        }
        switch (type) {
        case 'R':
            rings = std::atoi(payload.c_str());
            say("ring " + payload);
            break;
        case 'B':
            say("busy");
            return kBusy;
        case 'N':
            say("not answered after " + std::to_string(rings) + " rings");
            return kNotAnswered;
        case 'E':
            std::fprintf(stderr, "navo-line: the line says: %s\n", payload.c_str());
            return kUsage;
        case 'K':
            say("answered after " + std::to_string(rings) + " rings");
            return converse(script, voice, rings);
        default:
            break;
        }
    }
}

TestLineCaller::Outcome TestLineCaller::wait(const CallerScript& script)
{
    LineSamples voice;
    std::string why;
    if (!script.sayPath.empty() && !LineWave::readFile(script.sayPath, voice, &why)) {
        std::fprintf(stderr, "navo-line: %s: %s\n", script.sayPath.c_str(), why.c_str());
        return kBadFile;
    }
    if (!connectLine())
        return kNoLine;
    sendFrame('W', script.answerMode + "\t" + std::to_string(script.answerAfterRings));
    char type = 0;
    std::string payload;
    bool closed = false;
    while (readFrame(type, payload, script.timeoutMs, closed)) {
        switch (type) {
        case 'w':
            // Said only now: whoever waits for this line may dial at once.
            say("waiting for a call");
            break;
        case 'I':
            say("Navo calls " + payload);
            return converse(script, voice, 0);
        case 'B':
            say("Navo calls " + payload + ": busy");
            return kBusy;
        case 'T':
            say("Navo found no dial tone calling " + payload);
            return kNoDialTone;
        case 'D':
            say("Navo hung up before the answer");
            return kNotAnswered;
        case 'E':
            std::fprintf(stderr, "navo-line: the line says: %s\n", payload.c_str());
            return kUsage;
        default:
            break;
        }
    }
    say(closed ? "the line went away" : "timed out");
    return closed ? kNoLine : kTimedOut;
}

TestLineCaller::Outcome TestLineCaller::converse(const CallerScript& script, const LineSamples& voice, int)
{
    QElapsedTimer timer;
    timer.start();
    bool heardSound = false;
    int quietFrames = 0;
    bool spoken = false;
    qint64 hangUpAt = -1;

    auto speak = [&] {
        spoken = true;
        std::string bytes;
        bytes.reserve(voice.size() * 2);
        for (std::int16_t s : voice) {
            const auto v = static_cast<std::uint16_t>(s);
            bytes.push_back(static_cast<char>(v & 0xFF));
            bytes.push_back(static_cast<char>(v >> 8));
        }
        if (!bytes.empty())
            sendFrame('A', bytes);
        const qint64 speaking = static_cast<qint64>(voice.size()) * 1000 / LineWave::kRate;
        hangUpAt = timer.elapsed() + speaking + script.lingerMs + (voice.empty() ? script.holdMs : 0);
        say(voice.empty() ? "saying nothing" : "speaking");
    };
    if (!script.speakAfterTone)
        speak();

    for (;;) {
        if (hangUpAt >= 0 && timer.elapsed() >= hangUpAt) {
            sendFrame('H');
            say("hung up");
            keepHeard(script);
            return kAnswered;
        }
        if (timer.elapsed() > script.timeoutMs) {
            say("timed out");
            keepHeard(script);
            return kTimedOut;
        }
        char type = 0;
        std::string payload;
        bool closed = false;
        if (!readFrame(type, payload, 20, closed)) {
            if (closed) {
                say("the line went away");
                keepHeard(script);
                return kAnswered;
            }
            continue;
        }
        if (type == 'D') {
            say("Navo hung up");
            keepHeard(script);
            return kAnswered;
        }
        if (type != 'A')
            continue;
        const auto* bytes = reinterpret_cast<const unsigned char*>(payload.data());
        bool loud = false;
        for (std::size_t i = 0; i + 1 < payload.size(); i += 2) {
            const auto sample = static_cast<std::int16_t>(bytes[i] | bytes[i + 1] << 8);
            m_heard.push_back(sample);
            loud = loud || sample > kLoud || sample < -kLoud;
        }
        if (spoken)
            continue;
        if (loud) {
            heardSound = true;
            quietFrames = 0;
        } else if (heardSound && ++quietFrames >= kSilenceAfterTone) {
            speak();
        }
    }
}

TestLineCaller::Outcome TestLineCaller::hangUp()
{
    if (!connectLine())
        return kNoLine;
    sendFrame('X');
    m_socket.waitForDisconnected(2000);
    say("hung up");
    return kAnswered;
}

TestLineCaller::Outcome TestLineCaller::status()
{
    if (!connectLine())
        return kNoLine;
    sendFrame('S');
    char type = 0;
    std::string payload;
    bool closed = false;
    if (readFrame(type, payload, 2000, closed) && type == 'S') {
        say(payload);
        return kAnswered;
    }
    return kNoLine;
}
