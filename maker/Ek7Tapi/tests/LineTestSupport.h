// What the line tests share: the environment that points the library at the
// built provider module and a private test line, a window that logs the
// library's messages with the line state at the time, navo-line run as a
// separate process, and sine-wave files and their measurement.
#pragma once

#include <QObject>
#include <QProcess>
#include <QTemporaryDir>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "maker/Ek7Tapi/wave/LineWave.h"

// Sets the variables for its lifetime and puts back what was there.
class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    void set(const char* name, const std::string& value);

private:
    std::map<std::string, std::optional<std::string>> m_saved;
};

// The built module, only the test line, a socket of this test's own and a
// short ring period.
class TestLineSetup {
public:
    explicit TestLineSetup(int ringPeriodMs = 200, const std::string& providers = "test line");
    std::string path(const std::string& name) const;
    std::string socketPath() const { return path("line.sock"); }
    int ringPeriodMs() const { return m_ringPeriodMs; }
    ScopedEnvironment& environment() { return m_environment; }

    static std::string modulePath();
    static std::string navoLinePath();
    static std::string soundsFolder();

private:
    QTemporaryDir m_folder;
    ScopedEnvironment m_environment;
    int m_ringPeriodMs;
};

struct LoggedMessage {
    UINT message = 0;
    WPARAM wParam = 0;
    qint64 atMs = 0;
    LineState state{};  // the block as the window saw it on receipt
};

// A window for Ek7TapiOpen: keeps every message; onMessage runs after each
// is logged, as a main window's handler would.
class MessageLog : public QObject {
public:
    explicit MessageLog(const LineState* block);
    bool event(QEvent* event) override;

    HWND handle();
    std::function<void(const LoggedMessage&)> onMessage;

    const std::vector<LoggedMessage>& messages() const { return m_messages; }
    int count(UINT message) const;
    const LoggedMessage* first(UINT message) const;
    std::vector<UINT> sequence() const;
    // Pumps the event loop until count(message) reaches n; false on timeout.
    bool waitFor(UINT message, int n = 1, int timeoutMs = 10000);
    static void pump(int ms);

private:
    const LineState* m_block;
    std::vector<LoggedMessage> m_messages;
    qint64 m_startMs;
};

// navo-line in a process of its own.
class NavoLineProcess {
public:
    explicit NavoLineProcess(const std::string& socketPath);
    void start(const QStringList& arguments);
    // Waits for the end; the exit code, or -1 when it did not end in time.
    int finish(int timeoutMs = 20000);
    // Pumps the event loop until the output holds text; false on timeout or
    // when the process ended without saying it.
    bool waitForOutput(const QString& text, int timeoutMs = 10000);
    // The line drops: the process dies without hanging up.
    void kill();
    QString output() const { return m_output; }
    bool outputHas(const QString& text) const { return m_output.contains(text); }

private:
    QProcess m_process;
    QString m_socketPath;
    QString m_output;
};

// The program's sound resources read from res/sounds (3001 tone, 3003 ring).
class SoundFolderResources : public Ek7TapiResourceModule {
public:
    bool loadWave(int id, std::string& bytes) const override;
};

struct ToneMeasure {
    double seconds = 0;        // the whole stretch measured
    double soundSeconds = 0;   // 20 ms frames louder than the threshold
    double frequency = 0;      // from the zero crossings of the loud frames
    std::size_t firstSound = 0;  // sample where the first loud frame starts
};

// What the main window does with the answer machine on: answer at +120,
// greeting and tone at +107, stop and save at +150; each call's result kept.
struct AnswerResults {
    int answer = -1;
    int play = -1;
    int save = -1;
};
void actAsAnswerMachine(MessageLog& log, LineState* state, const TestLineSetup& setup, const std::string& greeting,
                        const std::string& vxw, AnswerResults& results);

// The SIP tests run inside the private network namespace sip_e2e.sh makes.
bool inSipTestNetwork();

// baresip, a SIP client we did not write, dials sip:navo@127.0.0.1:navoPort
// as "name" <sip:number@127.0.0.1>, sends source and hangs up after seconds.
void startBaresip(QProcess& process, const TestLineSetup& setup, const std::string& name, const std::string& number,
                  const std::string& source, int navoPort, int seconds);

class SineFiles {
public:
    static LineSamples sine(double frequency, double seconds, int amplitude = 12000);
    static bool write(const std::string& path, double frequency, double seconds, int amplitude = 12000);
    static ToneMeasure measure(const LineSamples& samples, std::size_t from = 0, std::size_t to = SIZE_MAX,
                               int threshold = 2000);
};
