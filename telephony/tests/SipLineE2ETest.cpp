// The SIP line end to end: SIP clients we did not write (linphonec, baresip)
// call Navo's SIP line over loopback. Runs inside a private network
// namespace (sip_e2e.sh) where only 127.0.0.1 exists, so nothing leaves the
// machine and no port is shared with anything else.
//
// Navo's side is the line library with the answer machine's handlers, as in
// the test-line tests: answer at +120, greeting and tone at +107, save at
// +150.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QElapsedTimer>
#include <QCryptographicHash>
#include <QHostAddress>
#include <QMap>
#include <QUdpSocket>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>

#include "LineTestSupport.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "core/AppData.h"
#include "telephony/ModemTester.h"
#include "telephony/TelephonyService.h"

namespace {

constexpr int kNavoPort = 5070;
constexpr int kRingPeriodMs = 400;
constexpr int kRegistrarPort = 5090;

void writeText(const std::string& path, const std::string& text)
{
    std::ofstream out(path);
    out << text;
}

// Runs the test's event loop until done() or timeoutMs; done() at the end.
bool pumpUntil(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < timeoutMs)
        MessageLog::pump(10);
    return done();
}

// Waits until process has ended, with the event loop running.
bool pumpUntilEnded(QProcess& process, int timeoutMs)
{
    return pumpUntil([&] { return process.state() == QProcess::NotRunning || process.waitForFinished(5); }, timeoutMs);
}

// linphonec driven through its standard input.
class LinphoneCaller {
public:
    LinphoneCaller(const TestLineSetup& setup, const std::string& name, const std::string& number, int sipPort,
                   int rtpPort)
    {
        const std::string home = setup.path("linphonec-" + number);
        QDir().mkpath(QString::fromStdString(home + "/.local/share/linphone"));
        m_config = home + "/linphonerc";
        writeText(m_config, "[sip]\nsip_port=" + std::to_string(sipPort) +
                                "\nsip_tcp_port=0\nsip_tls_port=0\ncontact=\"" + name + "\" <sip:" + number +
                                "@127.0.0.1>\n"
                                "[rtp]\naudio_rtp_port=" + std::to_string(rtpPort) + "-" + std::to_string(rtpPort + 10) +
                                "\nbind_address=127.0.0.1\n"
                                "[video]\ncapture=0\ndisplay=0\nautomatically_initiate=0\n");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), QString::fromStdString(home));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral("linphonec"), {QStringLiteral("-c"), QString::fromStdString(m_config)});
    }

    ~LinphoneCaller()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(3000);
        }
    }

    // Calls Navo's line, playing and recording files; commands go first.
    bool callNavo(const std::vector<std::string>& commands = {})
    {
        if (!m_process.waitForStarted(5000))
            return false;
        command("soundcard use files");
        for (const std::string& line : commands)
            command(line);
        command("call sip:navo@127.0.0.1:" + std::to_string(kNavoPort));
        return true;
    }
    void command(const std::string& line)
    {
        m_process.write((line + "\n").c_str());
        m_process.waitForBytesWritten(1000);
    }
    bool quit()
    {
        command("quit");
        return pumpUntilEnded(m_process, 10000);
    }
    QString output()
    {
        collect();
        return m_output;
    }

private:
    void collect() { m_output += QString::fromLocal8Bit(m_process.readAll()); }

    std::string m_config;
    QProcess m_process;
    QString m_output;
};

// The SIP line on this test's ports, inside sip_e2e.sh's network namespace;
// open() opens it logging its messages.
class SipLine : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!inSipTestNetwork())
            GTEST_SKIP() << "needs a private network namespace: run it through ctest (sip_e2e.sh)";
        setup.environment().set("NAVO_SIP_PORT", std::to_string(kNavoPort));
        setup.environment().set("NAVO_SIP_RTP_PORTS", "7078-7098");
    }
    void TearDown() override
    {
        if (state != nullptr)
            Ek7TapiClose();
    }

    // The account ada at the scripted registrar, its password in a private
    // file (none without one).
    void useAccount(const std::string& password = {})
    {
        setup.environment().set("NAVO_SIP_USER", "ada");
        setup.environment().set("NAVO_SIP_DOMAIN", "127.0.0.1:" + std::to_string(kRegistrarPort));
        if (password.empty())
            return;
        const std::string file = setup.path("password");
        writeText(file, password + "\n");
        QFile::setPermissions(QString::fromStdString(file), QFile::ReadOwner | QFile::WriteOwner);
        setup.environment().set("NAVO_SIP_PASSWORD_FILE", file);
    }

    void open(const std::function<void(LineState&)>& before = {})
    {
        state = Ek7TapiInitVar();
        log = std::make_unique<MessageLog>(state);
        state->DeviceId = 0;
        if (before)
            before(*state);
        ASSERT_EQ(Ek7TapiInit(0)->ErrorCode, kEk7Ok);
        ASSERT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7Ok);
    }

    TestLineSetup setup{kRingPeriodMs, "SIP line"};
    LineState* state = nullptr;
    std::unique_ptr<MessageLog> log;
};

// The line open with the answer machine's handlers: two rings, then the
// greeting and tone, the message saved to vxw.
class SipLineCall : public SipLine {
protected:
    void SetUp() override
    {
        SipLine::SetUp();
        if (IsSkipped())
            return;
        // No sound server for these calls, wherever the tests run.
        setup.environment().set("PULSE_SERVER", "unix:" + setup.path("no-pulse-server"));
        ASSERT_TRUE(SineFiles::write(greeting, 400, 0.5));
        open([](LineState& line) {
            line.Rings = 2;
            line.AnswerMachineOn = 1;
        });
        actAsAnswerMachine(*log, state, setup, greeting, vxw, results);
    }

    const std::string greeting = setup.path("greeting.wav");
    const std::string vxw = setup.path("message.vxw");
    AnswerResults results;
};

TEST_F(SipLineCall, LinphoneCallerIsAnsweredAfterTheRingsHearsTheGreetingAndIsRecorded)
{
    // The caller waits out greeting and tone in silence, then says 600 Hz for
    // a second (the file player loops, so the test hangs up before it comes
    // round again).
    const std::string voice = setup.path("voice.wav");
    LineSamples said = SineFiles::sine(0, 1.8, 0);
    const LineSamples tone = SineFiles::sine(600, 1.0);
    said.insert(said.end(), tone.begin(), tone.end());
    said.resize(said.size() + 8000 * 2, 0);
    ASSERT_TRUE(LineWave::writeFile(voice, said, false));
    const std::string heard = setup.path("heard.wav");

    LinphoneCaller caller(setup, "Grace Hopper", "01614960000", 5080, 7200);
    ASSERT_TRUE(caller.callNavo({"play " + voice, "record " + heard}));

    ASSERT_TRUE(log->waitFor(kEk7MsgConnected, 1, 15000)) << caller.output().toStdString();
    const qint64 connectedAt = log->first(kEk7MsgConnected)->atMs;
    MessageLog::pump(3200);
    caller.command("terminate");
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle, 1, 10000)) << caller.output().toStdString();
    EXPECT_TRUE(caller.quit()) << caller.output().toStdString();
    // The caller heard ringing (180) until Navo answered.
    const QString callerSaw = caller.output();
    const auto ringing = callerSaw.indexOf(QStringLiteral("ringing."));
    ASSERT_GE(ringing, 0) << callerSaw.toStdString();
    EXPECT_LT(ringing, callerSaw.indexOf(QStringLiteral("connected."))) << callerSaw.toStdString();

    // Rings, caller identity and the answer.
    const LoggedMessage* callerId = log->first(kEk7MsgCallerId);
    ASSERT_NE(callerId, nullptr);
    EXPECT_STREQ(callerId->state.CallerNumber, "01614960000");
    EXPECT_STREQ(callerId->state.CallerName, "Grace Hopper");
    EXPECT_EQ(log->count(kEk7MsgRing), 2);
    EXPECT_EQ(log->count(kEk7MsgAnswerNow), 1);
    EXPECT_EQ(results.answer, kEk7Ok);
    EXPECT_EQ(results.play, kEk7Ok);
    EXPECT_EQ(results.save, kEk7Ok);
    const LoggedMessage* offered = log->first(kEk7MsgOffered);
    const LoggedMessage* answerNow = log->first(kEk7MsgAnswerNow);
    ASSERT_NE(offered, nullptr);
    ASSERT_NE(answerNow, nullptr);
    EXPECT_NEAR(answerNow->atMs - offered->atMs, 2 * kRingPeriodMs, 120);
    std::printf("[ measured ] offered -> answer now %lld ms (2 rings of %d ms); answer now -> connected %lld ms\n",
                static_cast<long long>(answerNow->atMs - offered->atMs), kRingPeriodMs,
                static_cast<long long>(connectedAt - answerNow->atMs));
    EXPECT_LT(connectedAt - answerNow->atMs, 1000);

    // What the caller heard: the greeting, then the tone.
    LineSamples played;
    ASSERT_TRUE(LineWave::readFile(heard, played)) << heard;
    const std::size_t start = SineFiles::measure(played).firstSound;
    const ToneMeasure greetingHeard = SineFiles::measure(played, start, start + 4000);
    EXPECT_NEAR(greetingHeard.frequency, 400, 15);
    EXPECT_NEAR(greetingHeard.soundSeconds, 0.5, 0.1);
    const ToneMeasure toneHeard = SineFiles::measure(played, start + 4400, start + 4400 + 8000);
    EXPECT_NEAR(toneHeard.frequency, 1000, 25);
    EXPECT_NEAR(toneHeard.soundSeconds, 0.6, 0.1);

    // The message: only the caller's second of 600 Hz, at 8 kHz.
    int rate = 0, channels = 0, bits = 0;
    ASSERT_TRUE(LineWave::probe(vxw, rate, channels, bits));
    EXPECT_EQ(rate, 8000);
    EXPECT_EQ(channels, 1);
    EXPECT_EQ(bits, 16);
    LineSamples message;
    ASSERT_TRUE(LineWave::readFile(vxw, message));
    const ToneMeasure kept = SineFiles::measure(message);
    EXPECT_NEAR(kept.frequency, 600, 15);
    EXPECT_NEAR(kept.soundSeconds, 1.0, 0.1);
    std::printf("[ measured ] caller heard %.0f Hz for %.2f s then %.0f Hz for %.2f s; message %.0f Hz for %.2f s "
                "of %.2f s\n",
                greetingHeard.frequency, greetingHeard.soundSeconds, toneHeard.frequency, toneHeard.soundSeconds,
                kept.frequency, kept.soundSeconds, kept.seconds);
}

TEST_F(SipLineCall, ASecondCallerDuringACallIsRefusedBusy)
{
    LinphoneCaller first(setup, "First", "100", 5080, 7200);
    ASSERT_TRUE(first.callNavo());
    ASSERT_TRUE(log->waitFor(kEk7MsgConnected, 1, 15000)) << first.output().toStdString();

    // baresip: a different SIP stack altogether.
    QProcess second;
    startBaresip(second, setup, "Second", "200", greeting, kNavoPort, 2);
    ASSERT_TRUE(second.waitForStarted(5000));
    pumpUntilEnded(second, 15000);
    const QString said = QString::fromLocal8Bit(second.readAll());
    EXPECT_TRUE(said.contains(QStringLiteral("486"))) << said.toStdString();
    EXPECT_EQ(log->count(kEk7MsgOffered), 1);
    EXPECT_EQ(state->Connected, 1);  // the first call goes on
    EXPECT_STREQ(state->CallerNumber, "100");

    first.command("terminate");
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle, 1, 10000));
    EXPECT_TRUE(first.quit());
}

TEST_F(SipLineCall, CallerWhoGivesUpBeforeTheRingsEndsTheCallUnanswered)
{
    LinphoneCaller caller(setup, "Impatient", "300", 5080, 7200);
    ASSERT_TRUE(caller.callNavo());
    ASSERT_TRUE(log->waitFor(kEk7MsgRing, 1, 15000)) << caller.output().toStdString();
    caller.command("terminate");
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle, 1, 10000)) << caller.output().toStdString();
    MessageLog::pump(2 * kRingPeriodMs);
    EXPECT_EQ(log->count(kEk7MsgAnswerNow), 0);
    EXPECT_EQ(log->count(kEk7MsgConnected), 0);
    EXPECT_EQ(log->count(kEk7MsgDisconnected), 1);
    EXPECT_EQ(log->first(kEk7MsgDisconnected)->state.CallState, 0);
    EXPECT_TRUE(caller.quit());
}

// baresip waiting for calls on 127.0.0.1:port, answering at once and saying
// source; ready once it has said so.
class BaresipCallee {
public:
    BaresipCallee(const TestLineSetup& setup, const std::string& user, int port, const std::string& source)
    {
        const std::string folder = setup.path("callee-" + user);
        QDir().mkpath(QString::fromStdString(folder));
        std::ofstream(folder + "/accounts") << "<sip:" << user << "@127.0.0.1:" << port
                                            << ">;regint=0;answermode=auto\n";
        std::ofstream(folder + "/config")
            << "sip_listen 127.0.0.1:" << port << "\nnet_interface 127.0.0.1\naudio_source aufile," << source
            << "\naudio_player aubridge,nil\nrtp_ports 7300-7320\nmodule_path /usr/lib/baresip/modules\n"
               "module g711.so\nmodule aufile.so\nmodule aubridge.so\nmodule account.so\nmodule menu.so\n";
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.setStandardInputFile(QProcess::nullDevice());
        m_process.start(QStringLiteral("baresip"), {QStringLiteral("-f"), QString::fromStdString(folder),
                                                    QStringLiteral("-t"), QStringLiteral("30")});
    }
    ~BaresipCallee()
    {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
    bool waitForOutput(const QString& text, int timeoutMs)
    {
        return pumpUntil(
            [&] {
                m_output += QString::fromLocal8Bit(m_process.readAll());
                return m_output.contains(text) || m_process.state() == QProcess::NotRunning;
            },
            timeoutMs) && m_output.contains(text);
    }
    std::string output() { return (m_output + QString::fromLocal8Bit(m_process.readAll())).toStdString(); }

private:
    QProcess m_process;
    QString m_output;
};

// Navo calls a phone directly (no account): the far end answers at once,
// Navo sees +154, +111 and +107, and what the far end says is recorded.
// The microphone is asked for, but with no sound server the call goes on
// files as before.
TEST_F(SipLineCall, NavoDialsBaresipWhichAnswersAndIsHeard)
{
    const std::string said = setup.path("callee-says.wav");
    ASSERT_TRUE(SineFiles::write(said, 700, 3.0));
    BaresipCallee phone(setup, "200", 5092, said);
    ASSERT_TRUE(phone.waitForOutput(QStringLiteral("baresip is ready"), 10000)) << phone.output();
    const std::string buffer = setup.path("out-buffer.wav");
    const std::string heard = setup.path("out-heard.wav");
    log->onMessage = [&](const LoggedMessage& m) {
        if (m.message == kEk7MsgConnected && state->CallState == 2) {
            Ek7TapiSetRecord(buffer.c_str(), setup.path("out-data.wav").c_str(), heard.c_str());
            results.answer = Ek7TapiRecord()->ErrorCode;
        }
    };
    EXPECT_EQ(Ek7TapiUseMicrophone(""), 0);
    EXPECT_EQ(Ek7TapiDial("200@127.0.0.1:5092")->ErrorCode, kEk7Ok);
    EXPECT_EQ(Ek7TapiCallSendsMicrophone(), 0);
    EXPECT_EQ(state->CallState, 2);
    ASSERT_TRUE(log->waitFor(kEk7MsgConnected, 1, 10000)) << phone.output();
    EXPECT_EQ(results.answer, kEk7Ok);
    ASSERT_TRUE(log->waitFor(kEk7MsgRecording, 1, 2000));
    // What is recorded is a stretch of the far end's speech: its length is
    // the point, not a wait for anything to settle.
    MessageLog::pump(1200);
    Ek7TapiStop();
    EXPECT_EQ(Ek7TapiSave()->ErrorCode, kEk7Ok);
    const std::vector<UINT> order = log->sequence();
    ASSERT_GE(order.size(), 3u);
    EXPECT_EQ(order[0], kEk7MsgDialStarted);
    EXPECT_EQ(order[1], kEk7MsgDialling);
    EXPECT_EQ(log->count(kEk7MsgConnected), 1);
    EXPECT_EQ(log->first(kEk7MsgConnected)->state.Connected, 1);
    LineSamples recorded;
    ASSERT_TRUE(LineWave::readFile(heard, recorded));
    const ToneMeasure far = SineFiles::measure(recorded);
    EXPECT_NEAR(far.frequency, 700, 15);
    EXPECT_GT(far.soundSeconds, 0.6);
}

TEST_F(SipLineCall, DialWithoutADomainNeedsAFullAddress)
{
    EXPECT_EQ(Ek7TapiDial("0800123")->ErrorCode, kEk7DialFailed);
    EXPECT_EQ(state->CallHandle, 0u);
    EXPECT_EQ(log->count(kEk7MsgDialStarted), 0);
}

// A registrar on loopback. With a password it checks the account for real:
// a REGISTER without credentials is challenged (401, MD5 digest), one whose
// digest answer matches the password is accepted (200), any other is
// challenged again, which a stack takes as a wrong password. Without one it
// answers every REGISTER with one final status (0: never answers): 403, or
// 408 (no answer from further on).
class ScriptedRegistrar {
public:
    static constexpr int kPort = kRegistrarPort;

    explicit ScriptedRegistrar(int status, QByteArray password = {}) : m_status(status), m_password(password)
    {
        m_bound = m_socket.bind(QHostAddress(QStringLiteral("127.0.0.1")), kPort);
        QObject::connect(&m_socket, &QUdpSocket::readyRead, [this] { answer(); });
    }
    bool bound() const { return m_bound; }
    int registers() const { return m_registers; }

private:
    void answer()
    {
        while (m_socket.hasPendingDatagrams()) {
            QHostAddress from;
            quint16 port = 0;
            QByteArray request(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
            m_socket.readDatagram(request.data(), request.size(), &from, &port);
            if (!request.startsWith("REGISTER "))
                continue;
            ++m_registers;
            const int status = m_password.isEmpty() ? m_status : (rightDigest(request) ? 200 : 401);
            if (status == 0)
                continue;  // a registrar that keeps the caller waiting
            QByteArray reply = "SIP/2.0 " + QByteArray::number(status) +
                               (status == 200   ? " OK"
                                : status == 401 ? " Unauthorized"
                                : status == 403 ? " Forbidden"
                                                : " Request Timeout") +
                               "\r\n";
            for (const QByteArray& line : request.split('\n')) {
                const QByteArray header = line.trimmed();
                const QByteArray name = header.left(header.indexOf(':')).trimmed().toLower();
                if (name == "via" || name == "from" || name == "call-id" || name == "cseq")
                    reply += header + "\r\n";
                else if (name == "to")
                    reply += header + ";tag=registrar\r\n";
                else if (name == "contact" && status == 200)
                    reply += header + ";expires=3600\r\n";
            }
            if (status == 200)
                ++m_accepted;
            if (status == 401) {
                m_nonce = QByteArray::number(m_registers);
                reply += "WWW-Authenticate: Digest realm=\"navo-test\", nonce=\"" + m_nonce + "\", algorithm=MD5\r\n";
            }
            reply += "Content-Length: 0\r\n\r\n";
            m_socket.writeDatagram(reply, from, port);
        }
    }

    static QByteArray md5(const QByteArray& text)
    {
        return QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
    }

    // The request's Authorization answers the last challenge with this
    // password (RFC 2617 without qop, as challenged).
    bool rightDigest(const QByteArray& request) const
    {
        QByteArray credentials;
        for (const QByteArray& line : request.split('\n'))
            if (line.trimmed().toLower().startsWith("authorization:"))
                credentials = line.trimmed().mid(14).trimmed();
        if (!credentials.startsWith("Digest "))
            return false;
        QMap<QByteArray, QByteArray> fields;
        for (const QByteArray& part : credentials.mid(7).split(',')) {
            const int equals = part.indexOf('=');
            if (equals > 0)
                fields[part.left(equals).trimmed().toLower()] = part.mid(equals + 1).trimmed().replace("\"", "");
        }
        if (m_nonce.isEmpty() || fields.value("nonce") != m_nonce)
            return false;
        const QByteArray ha1 = md5(fields.value("username") + ":navo-test:" + m_password);
        const QByteArray ha2 = md5("REGISTER:" + fields.value("uri"));
        return fields.value("response") == md5(ha1 + ":" + fields.value("nonce") + ":" + ha2);
    }

public:
    int accepted() const { return m_accepted; }

private:
    int m_status;
    QByteArray m_password;
    QByteArray m_nonce;  // of the last challenge
    QUdpSocket m_socket;
    bool m_bound = false;
    int m_registers = 0;
    int m_accepted = 0;
};

struct Refusal {
    int status;
    std::int32_t reason;
};

class SipRegistration : public SipLine, public ::testing::WithParamInterface<Refusal> {};

// The account's registration fails after the line has opened: the line
// closes by itself and says why, and it can be opened again.
TEST_P(SipRegistration, AFailedRegistrationClosesTheLineWithItsReason)
{
    useAccount("not-the-password");
    // 401: a registrar that knows the account's real password, which is not
    // the one in the file.
    ScriptedRegistrar registrar(GetParam().status, GetParam().status == 401 ? "s3cret" : QByteArray());
    ASSERT_TRUE(registrar.bound());
    open();
    ASSERT_TRUE(log->waitFor(kEk7MsgLineClosed, 1, 10000));
    EXPECT_EQ(log->first(kEk7MsgLineClosed)->wParam, static_cast<WPARAM>(GetParam().reason));
    EXPECT_EQ(state->Monitoring, 0);
    EXPECT_EQ(state->DialReady, 0);
    EXPECT_GE(registrar.registers(), 1);
    // Closed in the module too: the line is free to be opened again.
    EXPECT_EQ(Ek7TapiOpen(log->handle())->ErrorCode, kEk7Ok);
}

// Until the registrar accepts the account the line has no dial tone: word 8
// stays 0, and a number dialled through the account reports +109 and never
// leaves; once the answer is due it would come, not before.
TEST_F(SipLine, AnAccountNotYetRegisteredHasNoDialTone)
{
    useAccount();
    ScriptedRegistrar registrar(0);
    ASSERT_TRUE(registrar.bound());
    open();
    EXPECT_EQ(Ek7TapiDial("0800 123")->ErrorCode, kEk7Ok);
    ASSERT_TRUE(log->waitFor(kEk7MsgIdle, 1, 5000));
    std::vector<UINT> call;
    for (UINT message : log->sequence())
        if (message != kEk7MsgServiceChanged)
            call.push_back(message);
    EXPECT_EQ(call, (std::vector<UINT>{kEk7MsgDialStarted, kEk7MsgNoDialTone, kEk7MsgDisconnected, kEk7MsgIdle}));
    // The line said it has no dial tone for now, as soon as it opened.
    ASSERT_EQ(log->count(kEk7MsgServiceChanged), 1);
    EXPECT_EQ(log->first(kEk7MsgServiceChanged)->wParam, 0u);
    MessageLog::pump(30);
    EXPECT_EQ(state->CallHandle, 0u);
    EXPECT_EQ(state->DialReady, 0);
    EXPECT_EQ(state->Monitoring, 1);
}

// The registrar checks the password and accepts the account: the line says it
// can call now.
TEST_F(SipLine, AnAcceptedAccountGivesTheDialTone)
{
    useAccount("s3cret");
    ScriptedRegistrar registrar(200, "s3cret");
    ASSERT_TRUE(registrar.bound());
    AppData app;
    app.IniPath = setup.path("NAVO.ini");
    app.ProfileSection = "Tester";
    TelephonyService service;
    service.initVar(app);
    service.chooseDevice(0);
    MessageLog serviceLog(app.lineState);
    ASSERT_EQ(service.startMonitoring(&serviceLog), TelephonyService::StartResult::Started);
    EXPECT_EQ(app.lineState->DialReady, 0);
    EXPECT_EQ(service.statusText(), "Line monitoring active : ada@127.0.0.1:5090 registering...");
    ASSERT_TRUE(serviceLog.waitFor(kEk7MsgServiceChanged, 2, 10000));
    EXPECT_EQ(serviceLog.messages()[0].wParam, 0u);
    const LoggedMessage& registered = serviceLog.messages().back();
    EXPECT_EQ(registered.message, kEk7MsgServiceChanged);
    EXPECT_EQ(registered.wParam, 1u);
    EXPECT_EQ(registered.state.DialReady, 1);
    EXPECT_EQ(service.statusText(), "Line monitoring active : ada@127.0.0.1:5090 registered");
    EXPECT_EQ(serviceLog.count(kEk7MsgLineClosed), 0);
    // Accepted only once the stack had answered the challenge with the password.
    EXPECT_GE(registrar.accepted(), 1);
    EXPECT_GE(registrar.registers(), 2);
    service.close(app);
}

// A SIP request written by hand, sent from a socket of the test's own.
class RawSipPeer {
public:
    explicit RawSipPeer(const QString& address) : m_address(address)
    {
        m_bound = m_socket.bind(QHostAddress(address), 0);
    }
    bool bound() const { return m_bound; }
    void send(const QByteArray& datagram)
    {
        m_socket.writeDatagram(datagram, QHostAddress(QStringLiteral("127.0.0.1")), kNavoPort);
    }
    QByteArray invite(int n) const
    {
        const QByteArray host = m_address.toLatin1();
        const QByteArray port = QByteArray::number(m_socket.localPort());
        const QByteArray tag = QByteArray::number(n);
        const QByteArray sdp = "v=0\r\no=raw 1 1 IN IP4 " + host + "\r\ns=-\r\nc=IN IP4 " + host +
                               "\r\nt=0 0\r\nm=audio 7400 RTP/AVP 0\r\na=rtpmap:0 PCMU/8000\r\n";
        return "INVITE sip:navo@127.0.0.1:" + QByteArray::number(kNavoPort) + " SIP/2.0\r\n"
               "Via: SIP/2.0/UDP " + host + ":" + port + ";branch=z9hG4bKraw" + tag + ";rport\r\n"
               "Max-Forwards: 70\r\n"
               "From: \"Raw\" <sip:raw@" + host + ">;tag=raw" + tag + "\r\n"
               "To: <sip:navo@127.0.0.1>\r\n"
               "Call-ID: raw" + tag + "@" + host + "\r\n"
               "CSeq: 1 INVITE\r\n"
               "Contact: <sip:raw@" + host + ":" + port + ">\r\n"
               "Content-Type: application/sdp\r\n"
               "Content-Length: " + QByteArray::number(sdp.size()) + "\r\n\r\n" + sdp;
    }
    // The first final or ringing status the line answers with ("180",
    // "403", ...), or empty after timeoutMs.
    QByteArray answer(int timeoutMs)
    {
        QByteArray status;
        pumpUntil(
            [&] {
                while (status.isEmpty() && m_socket.hasPendingDatagrams()) {
                    QByteArray reply(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
                    m_socket.readDatagram(reply.data(), reply.size());
                    if (reply.startsWith("SIP/2.0 ") && reply.mid(8, 3) != "100")
                        status = reply.mid(8, 3);
                }
                return !status.isEmpty();
            },
            timeoutMs);
        return status;
    }

private:
    QString m_address;
    QUdpSocket m_socket;
    bool m_bound = false;
};

using SipDirectLine = SipLine;

// A second address on loopback stands for another machine.
bool addOtherAddress()
{
    QProcess ip;
    ip.start(QStringLiteral("ip"), {QStringLiteral("addr"), QStringLiteral("replace"), QStringLiteral("10.77.0.1/32"),
                                    QStringLiteral("dev"), QStringLiteral("lo")});
    ip.waitForFinished(5000);
    return ip.exitStatus() == QProcess::NormalExit && ip.exitCode() == 0;
}

TEST_F(SipDirectLine, WithoutAnAccountOnlyThisMachineMayCall)
{
    ASSERT_TRUE(addOtherAddress());
    open();
    RawSipPeer stranger(QStringLiteral("10.77.0.1"));
    ASSERT_TRUE(stranger.bound());
    stranger.send(stranger.invite(1));
    EXPECT_EQ(stranger.answer(5000), "403");
    EXPECT_EQ(log->count(kEk7MsgOffered), 0);

    RawSipPeer local(QStringLiteral("127.0.0.1"));
    ASSERT_TRUE(local.bound());
    local.send(local.invite(2));
    EXPECT_EQ(local.answer(5000), "180");
    ASSERT_TRUE(log->waitFor(kEk7MsgOffered, 1, 2000));
    EXPECT_STREQ(log->first(kEk7MsgOffered)->state.CallerNumber, "raw");
}

TEST_F(SipDirectLine, CallsFromElsewhereAreTakenWhenAllowed)
{
    ASSERT_TRUE(addOtherAddress());
    setup.environment().set("NAVO_SIP_ALLOW_REMOTE", "1");
    open();
    RawSipPeer stranger(QStringLiteral("10.77.0.1"));
    ASSERT_TRUE(stranger.bound());
    stranger.send(stranger.invite(3));
    EXPECT_EQ(stranger.answer(5000), "180");
    EXPECT_TRUE(log->waitFor(kEk7MsgOffered, 1, 2000));
}

// 64 KB of junk with no line end, then a short bad request from the same
// sender: the stack would glue the two and spend seconds looking for a
// message in them. The line drops such datagrams before the stack sees
// them, so a caller right behind is answered as promptly as ever.
TEST_F(SipDirectLine, JunkDatagramsDoNotHoldUpACaller)
{
    open();
    RawSipPeer attacker(QStringLiteral("127.0.0.1"));
    RawSipPeer caller(QStringLiteral("127.0.0.1"));
    ASSERT_TRUE(attacker.bound());
    ASSERT_TRUE(caller.bound());
    attacker.send(QByteArray(65000, 'X'));
    attacker.send("OPTIONS nonsense\r\n\r\n");
    QElapsedTimer sent;
    sent.start();
    caller.send(caller.invite(4));
    EXPECT_EQ(caller.answer(10000), "180");
    const qint64 answeredMs = sent.elapsed();
    std::printf("[ measured ] INVITE behind 64 KB of junk answered (180) after %lld ms\n",
                static_cast<long long>(answeredMs));
    EXPECT_LT(answeredMs, 1000);
    ASSERT_TRUE(log->waitFor(kEk7MsgOffered, 1, 2000));
    EXPECT_EQ(log->count(kEk7MsgOffered), 1);
}

// The modem tester on the SIP line against baresip, which answers at once:
// every step passes, over each transport the line can use.
class SipModemTester : public SipLine, public ::testing::WithParamInterface<std::string> {};

TEST_P(SipModemTester, BaresipAnswersAndEveryStepPasses)
{
    setup.environment().set("NAVO_SIP_TRANSPORT", GetParam());
    const std::string greeting = setup.path("vxgreet.wav");
    ASSERT_TRUE(SineFiles::write(greeting, 400, 0.6));
    const std::string said = setup.path("callee-says.wav");
    ASSERT_TRUE(SineFiles::write(said, 700, 3.0));
    BaresipCallee phone(setup, "300", 5092, said);
    ASSERT_TRUE(phone.waitForOutput(QStringLiteral("baresip is ready"), 10000)) << phone.output();

    LineState* line = Ek7TapiInitVar();
    line->DeviceId = 0;
    ModemTester tester(line, greeting, setup.path(""));
    MessageLog testerLog(line);
    testerLog.onMessage = [&](const LoggedMessage& m) { tester.message(m.message); };
    tester.open("Navo SIP line");
    tester.start("sip:300@127.0.0.1:5092;transport=" + GetParam(), testerLog.handle());
    ASSERT_TRUE(testerLog.waitFor(kEk7MsgIdle, 1, 15000)) << tester.log() << phone.output();
    tester.stop();
    EXPECT_EQ(tester.log(),
              "Navo SIP line selected for testing\r\n\r\n"
              "Line initialization : Passed\r\n"
              "Line opened : Passed\r\n"
              "Dialing...\r\n"
              "Dialing : Passed\r\n"
              "Connected : Passed\r\n"
              "Wave-out open : Passed\r\n"
              "Start Play sound : Passed\r\n"
              "Record sound start : Passed\r\n"
              "Recording...\r\n"
              "Record sound stop : Passed\r\n"
              "Record sound save : Passed\r\n"
              "Disconnected : Passed\r\n"
              "Idle : Passed\r\n"
              "Line shutdown : Passed\r\n"
              "================================\r\n\r\n")
        << phone.output();
    EXPECT_EQ(line->Monitoring, 0);
}

INSTANTIATE_TEST_SUITE_P(Transports, SipModemTester, ::testing::Values("udp", "tcp"));

INSTANTIATE_TEST_SUITE_P(Registrar, SipRegistration,
                         ::testing::Values(Refusal{401, kEk7RegistrationRefused}, Refusal{403, kEk7RegistrationRefused},
                                           Refusal{408, kEk7RegistrarUnreachable}),
                         [](const ::testing::TestParamInfo<Refusal>& info) {
                             return "Answers" + std::to_string(info.param.status);
                         });

}  // namespace
