#include "telephony/module/SipLineProvider.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include <linphone++/linphone.hh>

#include "maker/Ek7Tapi/wave/LineWave.h"
#include "telephony/module/DatagramGuard.h"
#include "telephony/module/PrivateFile.h"
#include "telephony/module/ProviderIcons.h"
#include "telephony/module/ProviderRegistry.h"

namespace {

constexpr std::chrono::milliseconds kIterate{20};

void warn(const std::string& text)
{
    std::fprintf(stderr, "navotapi: SIP line: %s\n", text.c_str());
}

// The SIP stack binds its port with SO_REUSEADDR, so a port another program
// holds would be shared without a word and calls would go astray. A plain
// bind of our own finds out first.
bool portFree(int port, bool udp)
{
    const int probe = ::socket(AF_INET, (udp ? SOCK_DGRAM : SOCK_STREAM) | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return true;  // cannot tell: let the stack try
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    const bool free = ::bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(probe);
    return free;
}

// Whether an address text names this machine's loopback.
bool loopbackAddress(std::string host)
{
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    if (host.rfind("::ffff:", 0) == 0)
        host = host.substr(7);
    return host.rfind("127.", 0) == 0 || host == "::1";
}

// The address an incoming request really came from, by its top Via: the
// stack marks "received" there whenever the sender's address differs from
// the one the Via names. Both must be loopback: a sender that names itself
// in its Via could otherwise bring a "received" of its own choosing.
bool fromLoopback(const std::shared_ptr<linphone::Call>& call)
{
    const auto params = call->getRemoteParams();
    const std::string via = params ? params->getCustomHeader("Via") : std::string();
    // "SIP/2.0/UDP host[:port];param;received=addr;..."
    const auto space = via.find(' ');
    if (space == std::string::npos)
        return false;
    std::string sentBy = via.substr(space + 1, via.find_first_of(";,", space + 1) - space - 1);
    if (!sentBy.empty() && sentBy.front() == '[')
        sentBy = sentBy.substr(0, sentBy.find(']') + 1);
    else if (sentBy.find(':') != std::string::npos && sentBy.find(':') == sentBy.rfind(':'))
        sentBy = sentBy.substr(0, sentBy.find(':'));
    if (!loopbackAddress(sentBy))
        return false;
    const auto received = via.find(";received=");
    if (received == std::string::npos)
        return true;
    const auto start = received + 10;
    return loopbackAddress(via.substr(start, via.find_first_of(";, ", start) - start));
}

}  // namespace

class SipLineProvider::CoreWatcher : public linphone::CoreListener {
public:
    explicit CoreWatcher(SipLineProvider& provider) : m_provider(provider) {}
    void onCallStateChanged(const std::shared_ptr<linphone::Core>&, const std::shared_ptr<linphone::Call>& call,
                            linphone::Call::State state, const std::string&) override
    {
        m_provider.onCallState(call, static_cast<int>(state));
    }
    void onAccountRegistrationStateChanged(const std::shared_ptr<linphone::Core>&,
                                           const std::shared_ptr<linphone::Account>& account,
                                           linphone::RegistrationState state, const std::string&) override
    {
        m_provider.onRegistration(static_cast<int>(state), account ? static_cast<int>(account->getError()) : 0);
    }

private:
    SipLineProvider& m_provider;
};

class SipLineProvider::PlayerWatcher : public linphone::PlayerListener {
public:
    explicit PlayerWatcher(SipLineProvider& provider) : m_provider(provider) {}
    void onEofReached(const std::shared_ptr<linphone::Player>&) override { m_provider.onPlayerEnd(); }

private:
    SipLineProvider& m_provider;
};

void SipLineProvider::registerProvider(ProviderRegistry& registry)
{
    registry.add(ProviderEntry{
        kName, "Navo SIP line (calls over the Internet)",
        LINEMEDIAMODE_INTERACTIVEVOICE | LINEMEDIAMODE_AUTOMATEDVOICE, ProviderIcons::sipLine(),
        [](const LineOptions& options) { return std::unique_ptr<LineProvider>(new SipLineProvider(options)); }});
}

SipLineProvider::SipLineProvider(const LineOptions& options) : m_options(options) {}

SipLineProvider::~SipLineProvider()
{
    close();
}

LONG SipLineProvider::open(LineEvents& events)
{
    const std::string& transport = m_options.sipTransport;
    if (transport != "udp" && transport != "tcp" && transport != "tls") {
        warn("sip_transport is \"" + transport + "\": it must be udp, tcp or tls");
        return NAVOERR_LINESETTINGS;
    }
    if (m_options.sipPort > 0 && !portFree(m_options.sipPort, transport == "udp")) {
        warn((transport == "udp" ? "UDP port " : "TCP port ") + std::to_string(m_options.sipPort) +
             " is in use by another program");
        return LINEERR_RESOURCEUNAVAIL;
    }
    m_events = &events;
    m_thread.start(kIterate, [this] { setUp(); }, [this] { tick(); });
    // setUp has run once the first request gets through.
    const LONG result = m_thread.call<LONG>([this] { return m_openResult; }, LINEERR_OPERATIONFAILED);
    if (result != 0)
        close();
    return result;
}

void SipLineProvider::close()
{
    m_thread.stop([this] { tearDown(); });
}

// ---- on the provider's thread

void SipLineProvider::setUp()
{
    std::error_code ignored;
    std::filesystem::create_directories(m_options.sipDataDir, ignored);
    ::chmod(m_options.sipDataDir.c_str(), 0700);  // call recordings are kept there for a moment

    linphone::LoggingService::get()->setLogLevel(linphone::LogLevel::Warning);
    auto factory = linphone::Factory::get();
    factory->setDataDir(m_options.sipDataDir + "/");  // the trailing "/" is required
    factory->setConfigDir(m_options.sipDataDir + "/");
    m_core = factory->createCore("", "", nullptr);
    if (!m_core) {
        warn("the SIP stack cannot be created");
        m_openResult = LINEERR_OPERATIONFAILED;
        return;
    }

    // No sound card: the stack reads and writes files only, and never rings
    // a loudspeaker of its own.
    m_core->setUseFiles(true);
    m_core->setPlayFile("");
    m_core->setRecordFile("");
    m_core->setRing("");
    m_core->setRingback("");
    m_core->enableEchoCancellation(false);
    m_core->enableVideoCapture(false);
    m_core->enableVideoDisplay(false);
    auto video = factory->createVideoActivationPolicy();
    video->setAutomaticallyInitiate(false);
    video->setAutomaticallyAccept(false);
    m_core->setVideoActivationPolicy(video);
    // Navo decides when a call is answered or given up, not the stack.
    m_core->setIncTimeout(3600);
    m_core->setUserAgent("Navo", "0.1");
    // No call history database: Navo files every call itself, and the
    // stack's SQLite history synced the disk three times as each call was
    // made, before the INVITE left (2-28 ms, a median of 10 ms per dial).
    m_core->getConfig()->setString("storage", "call_logs_db_uri", "null");

    // One transport, the one the settings name; the others stay shut.
    auto transports = factory->createTransports();
    transports->setUdpPort(m_options.sipTransport == "udp" ? m_options.sipPort : 0);
    transports->setTcpPort(m_options.sipTransport == "tcp" ? m_options.sipPort : 0);
    transports->setTlsPort(m_options.sipTransport == "tls" ? m_options.sipPort : 0);
    transports->setDtlsPort(0);
    m_core->setTransports(transports);
    m_core->setAudioPortRange(m_options.rtpPortMin, m_options.rtpPortMax);

    // 8 kHz codecs only: the recording is then at the line's own rate.
    for (const auto& payload : m_core->getAudioPayloadTypes()) {
        const std::string mime = payload->getMimeType();
        payload->enable(mime == "PCMU" || mime == "PCMA");
    }

    if (!m_options.sipStunServer.empty()) {
        // The address the far end sees, asked of a STUN server, for calls
        // and the account alike.
        auto nat = m_core->createNatPolicy();
        nat->setStunServer(m_options.sipStunServer);
        nat->enableStun(true);
        m_core->setNatPolicy(nat);
    }

    if (const LONG account = addAccount(); account != 0) {
        m_core.reset();
        m_openResult = account;
        return;
    }

    m_coreWatcher = std::make_shared<CoreWatcher>(*this);
    m_playerWatcher = std::make_shared<PlayerWatcher>(*this);
    m_core->addListener(m_coreWatcher);
    if (m_core->start() != 0) {
        warn("the SIP stack does not start");
        m_core->removeListener(m_coreWatcher);
        m_core.reset();
        m_openResult = LINEERR_OPERATIONFAILED;
        return;
    }
    if (m_hasAccount)
        m_events->inService(false);  // until the registrar accepts the account
    const auto used = m_core->getTransportsUsed();
    if (m_options.sipTransport == "udp") {
        const int port = used ? used->getUdpPort() : -1;
        std::fprintf(stderr, "navotapi: SIP line listening on UDP port %d\n", port);
        if (DatagramGuard::guardPort(port) == 0)
            warn("the UDP port cannot be guarded against junk datagrams");
    } else {
        std::fprintf(stderr, "navotapi: SIP line listening on %s port %d\n", m_options.sipTransport.c_str(),
                     used ? (m_options.sipTransport == "tcp" ? used->getTcpPort() : used->getTlsPort()) : -1);
    }
    m_openResult = 0;
}

LONG SipLineProvider::addAccount()
{
    if (m_options.sipUser.empty() && m_options.sipDomain.empty())
        return 0;  // direct calls only
    if (m_options.sipUser.empty() || m_options.sipDomain.empty()) {
        warn("an account needs both sip_user and sip_domain");
        return NAVOERR_LINESETTINGS;
    }
    std::string password;
    if (!m_options.sipPasswordFile.empty()) {
        std::string why;
        if (!PrivateFile::readFirstLine(m_options.sipPasswordFile, password, why)) {
            warn(why);
            return NAVOERR_PASSWORDFILE;
        }
    }
    auto factory = linphone::Factory::get();
    const auto identity = factory->createAddress("sip:" + m_options.sipUser + "@" + m_options.sipDomain);
    // The registrar, also the outbound proxy every call goes through, is the
    // domain unless the settings name another host.
    const bool ownRegistrar = !m_options.sipRegistrar.empty();
    std::string serverUri = ownRegistrar ? m_options.sipRegistrar : m_options.sipDomain;
    if (serverUri.rfind("sip:", 0) != 0 && serverUri.rfind("sips:", 0) != 0)
        serverUri = "sip:" + serverUri;
    if (m_options.sipTransport != "udp" && serverUri.find(";transport=") == std::string::npos)
        serverUri += ";transport=" + m_options.sipTransport;
    const auto server = factory->createAddress(serverUri);
    if (!identity || !server) {
        warn("sip_user, sip_domain or sip_registrar is not valid in a SIP address");
        return NAVOERR_LINESETTINGS;
    }
    if (!password.empty())
        m_core->addAuthInfo(
            factory->createAuthInfo(m_options.sipUser, m_options.sipAuthUser, password, "", "", m_options.sipDomain));
    auto params = m_core->createAccountParams();
    params->setIdentityAddress(identity);
    params->setServerAddress(server);
    params->enableOutboundProxy(ownRegistrar);
    params->enableRegister(true);
    auto account = m_core->createAccount(params);
    if (!account || m_core->addAccount(account) != 0) {
        warn("the account cannot be added");
        return NAVOERR_LINESETTINGS;
    }
    m_core->setDefaultAccount(account);
    m_hasAccount = true;
    return 0;
}

void SipLineProvider::tick()
{
    if (!m_core)
        return;
    m_core->iterate();
    // Handled here rather than inside the player's own callback, where
    // closing the player would pull the ground from under it.
    if (m_playerEnded.exchange(false)) {
        if (m_playing) {
            stopPlayer();
            m_events->playDone(m_handle);
        }
    }
    if (m_forgetCalls && !m_call) {
        // Navo files every call itself; the stack's history of them would
        // only grow, in memory and in its database, call after call.
        m_forgetCalls = false;
        m_core->clearCallLogs();
    }
    if (m_call && m_incoming && !m_connected) {
        const auto waited = Clock::now() - m_offeredAt;
        const std::chrono::milliseconds period(m_options.ringPeriodMs);
        while (m_call && waited >= period * (m_rings + 1)) {
            ++m_rings;
            m_events->ringing(m_rings);
        }
        // The next ring is told on time, not up to a tick late.
        m_thread.tickBy(m_offeredAt + period * (m_rings + 1));
    }
    sampleLevel();
}

void SipLineProvider::sampleLevel()
{
    if (!m_call || !m_recording || m_paused)
        return;
    // One reading per frame time: requests bring extra ticks, which would
    // otherwise shorten the window.
    const auto now = Clock::now();
    if (now - m_levelSampledAt < kIterate)
        return;
    m_levelSampledAt = now;
    m_heardLevel.addPeak(levelFromMeter(m_call->getPlayVolume()));
}

void SipLineProvider::tearDown()
{
    if (!m_core)
        return;
    m_closing = true;  // Navo is not told of a call that ends because the line closes
    if (const auto call = m_call) {
        stopPlayer();
        if (m_recording && !m_paused)
            call->stopRecording();
        m_recording = false;
        call->terminate();
    }
    m_call.reset();
    m_handle = 0;
    m_core->removeListener(m_coreWatcher);
    m_core->stop();
    m_core.reset();
    if (!m_callRecordFile.empty())
        std::remove(m_callRecordFile.c_str());
}

void SipLineProvider::onCallState(const std::shared_ptr<linphone::Call>& call, int stateNumber)
{
    using State = linphone::Call::State;
    const auto state = static_cast<State>(stateNumber);
    if (state == State::IncomingReceived) {
        if (!m_hasAccount && !m_options.sipAllowRemote && !fromLoopback(call)) {
            // Without an account nobody has been given this line's address:
            // a direct call from another machine is a stranger's.
            const auto from = call->getRemoteAddress();
            warn("a direct call from " + (from ? from->asStringUriOnly() : std::string("?")) +
                 " from another machine is refused (sip_allow_remote is off)");
            call->decline(linphone::Reason::Forbidden);  // 403
            return;
        }
        if (m_call || m_lineLost) {
            call->decline(linphone::Reason::Busy);  // 486 Busy Here
            return;
        }
        m_call = call;
        m_incoming = true;
        m_connected = false;
        m_rings = 0;
        m_offeredAt = Clock::now();
        m_handle = m_events->newCall(true);
        const auto from = call->getRemoteAddress();
        m_events->offered(m_handle, from ? from->getUsername() : "", from ? from->getDisplayName() : "");
        return;
    }
    if (call != m_call)
        return;
    switch (state) {
    case State::OutgoingProgress:
        m_events->callState(m_handle, LINECALLSTATE_PROCEEDING);
        break;
    case State::OutgoingRinging:
        m_events->callState(m_handle, LINECALLSTATE_RINGBACK);
        break;
    case State::StreamsRunning:
        if (!m_connected) {
            m_connected = true;
            m_events->callState(m_handle, LINECALLSTATE_CONNECTED);
        }
        break;
    case State::End:
    case State::Error: {
        const auto reason = call->getReason();
        finishCall(reason == linphone::Reason::Busy ? LINEDISCONNECTMODE_BUSY
                   : reason == linphone::Reason::Declined ? LINEDISCONNECTMODE_REJECT
                                                          : LINEDISCONNECTMODE_NORMAL);
        break;
    }
    default:
        break;
    }
}

void SipLineProvider::onRegistration(int stateNumber, int reasonNumber)
{
    if (static_cast<linphone::RegistrationState>(stateNumber) == linphone::RegistrationState::Ok && !m_registered &&
        !m_closing) {
        m_registered = true;
        m_events->inService(true);
    }
    if (static_cast<linphone::RegistrationState>(stateNumber) != linphone::RegistrationState::Failed || m_closing ||
        m_lineLost)
        return;
    const auto reason = static_cast<linphone::Reason>(reasonNumber);
    // Credentials or an account the registrar does not know: refused; the
    // rest (no response, transport errors, server trouble) is unreachable.
    const bool refused = reason == linphone::Reason::Forbidden || reason == linphone::Reason::Unauthorized ||
                         reason == linphone::Reason::NotFound;
    warn(refused ? "the registrar refused the account " + m_options.sipUser + "@" + m_options.sipDomain
                 : "the registrar " + m_options.sipDomain + " cannot be reached");
    m_lineLost = true;
    m_events->lineClosed(refused ? NAVOERR_REGISTRATIONREFUSED : NAVOERR_REGISTRARUNREACHABLE);
}

void SipLineProvider::onPlayerEnd()
{
    m_playerEnded = true;
}

void SipLineProvider::finishCall(unsigned mode)
{
    const HCALL handle = m_handle;
    stopPlayer();
    finishRecording();
    m_call.reset();
    m_handle = 0;
    m_connected = false;
    m_forgetCalls = true;
    // The next call is the answer machine's unless the user takes it.
    m_core->setUseFiles(true);
    if (m_closing)
        return;
    m_events->callState(handle, LINECALLSTATE_DISCONNECTED, mode);
    m_events->callState(handle, LINECALLSTATE_IDLE);
}

void SipLineProvider::stopPlayer()
{
    if (m_player) {
        m_player->removeListener(m_playerWatcher);
        m_player->pause();
        m_player->close();
    }
    m_player.reset();
    m_playing = false;
    m_playerEnded = false;
}

void SipLineProvider::finishRecording()
{
    if (!m_recording)
        return;
    if (m_call && !m_paused)
        m_call->stopRecording();
    m_recording = false;
    m_paused = false;
    // The call's recorder writes what the codec gives; bring it to the
    // line's form where Navo wanted it. Nothing recorded is an empty file.
    LineSamples samples;
    std::string why;
    if (!m_callRecordFile.empty() && std::filesystem::exists(m_callRecordFile) &&
        !LineWave::readFile(m_callRecordFile, samples, &why))
        warn("the call's recording cannot be read: " + why);
    if (!LineWave::writeFile(m_recordTarget, samples, false))
        warn("cannot write the recording to " + m_recordTarget);
    // The recorder appends to an existing file, so a later recording in this
    // call must start from nothing.
    std::remove(m_callRecordFile.c_str());
}

std::string SipLineProvider::newCallRecordFile()
{
    const std::string path = m_options.sipDataDir + "/call-" + std::to_string(m_handle) + "-" +
                             std::to_string(++m_fileCounter) + ".wav";
    std::remove(path.c_str());
    return path;
}

std::string SipLineProvider::findCaptureDevice(const std::string& input)
{
    // The server may have come (or gone) since the line opened.
    m_core->reloadSoundDevices();
    // The server's inputs by their descriptions, in the server's order: the
    // one Navo records from, else the first, which is the one Navo takes
    // when nothing is chosen. ALSA's cards would take the hardware from
    // under the server.
    std::string chosen;
    for (const auto& device : m_core->getExtendedAudioDevices()) {
        if (device->getDriverName() != "PulseAudio" ||
            !device->hasCapability(linphone::AudioDevice::Capabilities::CapabilityRecord))
            continue;
        if (device->getDeviceName() == input)
            return device->getId();
        if (chosen.empty())
            chosen = device->getId();
    }
    return chosen;
}

void SipLineProvider::chooseCallSound(const std::string& device)
{
    // Read by the stack as the call's streams start; a call already running
    // is never touched, since it is only set just before a new one.
    m_core->setUseFiles(device.empty());
    if (!device.empty())
        m_core->setCaptureDevice(device);
}

bool SipLineProvider::useMicrophone(bool on, const std::string& input)
{
    return m_thread.call<bool>(
        [&]() -> bool {
            m_microphoneNext = on && m_core ? findCaptureDevice(input) : std::string();
            if (on && m_microphoneNext.empty())
                warn("no sound server to capture from: the far end hears only what is played into the call");
            return !m_microphoneNext.empty();
        },
        false);
}

// ---- requests from Navo

LONG SipLineProvider::answer(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            // The microphone is for this call or none.
            const std::string microphone = std::exchange(m_microphoneNext, {});
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            if (!m_incoming || m_call->getState() != linphone::Call::State::IncomingReceived)
                return LINEERR_INVALCALLSTATE;
            // The recorder's file belongs to the call from its acceptance on;
            // setting one on the core instead, once a call exists, crashes.
            if (!m_callRecordFile.empty())
                std::remove(m_callRecordFile.c_str());
            m_callRecordFile = newCallRecordFile();
            chooseCallSound(microphone);
            auto params = m_core->createCallParams(m_call);
            params->setRecordFile(m_callRecordFile);
            params->enableVideo(false);
            return m_call->acceptWithParams(params) == 0 ? 0 : LINEERR_OPERATIONFAILED;
        },
        LINEERR_OPERATIONFAILED);
}

LONG SipLineProvider::drop(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            const auto dropped = m_call;  // keeps the call alive through its own End
            if (dropped->terminate() != 0)
                return LINEERR_INVALCALLSTATE;
            // Normally End has been reported inside terminate(); if the stack
            // defers it, the call is finished here so Navo hears of it now.
            if (m_call == dropped)
                finishCall(LINEDISCONNECTMODE_NORMAL);
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

std::string SipLineProvider::dialTarget(const std::string& number, bool& viaAccount) const
{
    viaAccount = false;
    if (number.rfind("sip:", 0) == 0 || number.rfind("sips:", 0) == 0)
        return number;
    if (number.find('@') != std::string::npos)
        return "sip:" + number;
    // Telephone numbers are digits and the usual dialling signs; anything
    // with a dot, a colon or a letter names a host.
    const bool dialled = number.find_first_not_of("0123456789+*#-() ") == std::string::npos;
    if (!dialled)
        return "sip:" + number;
    if (m_options.sipDomain.empty())
        return {};
    viaAccount = true;
    std::string user;
    for (char c : number)
        if (c != ' ' && c != '-' && c != '(' && c != ')')
            user += c;
    return "sip:" + user + "@" + m_options.sipDomain;
}

LONG SipLineProvider::makeCall(const std::string& number, HCALL& call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            const std::string microphone = std::exchange(m_microphoneNext, {});
            if (m_call)
                return LINEERR_CALLUNAVAIL;
            bool viaAccount = false;
            const std::string uri = dialTarget(number, viaAccount);
            if (uri.empty())
                return LINEERR_INVALADDRESS;
            const auto address = m_core->createAddress(uri);
            if (!address)
                return LINEERR_INVALADDRESS;
            if (viaAccount && !m_registered) {
                // No registrar has the account: no dial tone.
                call = m_events->newCall(false);
                m_events->callState(call, LINECALLSTATE_DISCONNECTED, LINEDISCONNECTMODE_NODIALTONE);
                m_events->callState(call, LINECALLSTATE_IDLE);
                return 0;
            }
            m_handle = m_events->newCall(false);
            m_incoming = false;
            m_connected = false;
            m_callRecordFile = newCallRecordFile();
            chooseCallSound(microphone);
            auto params = m_core->createCallParams(nullptr);
            params->setRecordFile(m_callRecordFile);
            params->enableVideo(false);
            m_call = m_core->inviteAddressWithParams(address, params);
            if (!m_call) {
                m_handle = 0;
                return LINEERR_OPERATIONFAILED;
            }
            call = m_handle;
            m_events->callState(m_handle, LINECALLSTATE_DIALING);
            const auto state = m_call->getState();
            if (state == linphone::Call::State::End || state == linphone::Call::State::Error)
                finishCall(LINEDISCONNECTMODE_UNREACHABLE);
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG SipLineProvider::playFile(HCALL call, const std::string& path)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            if (!m_connected)
                return LINEERR_INVALCALLSTATE;
            stopPlayer();
            m_player = m_call->getPlayer();
            if (!m_player)
                return LINEERR_OPERATIONFAILED;
            m_player->addListener(m_playerWatcher);
            if (m_player->open(path) != 0 || m_player->start() != 0) {
                warn("cannot play " + path + " into the call");
                stopPlayer();
                return LINEERR_OPERATIONFAILED;
            }
            m_playing = true;
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG SipLineProvider::recordFile(HCALL call, const std::string& path)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            if (!m_connected)
                return LINEERR_INVALCALLSTATE;
            if (m_recording)
                finishRecording();
            m_recordTarget = path;
            m_call->startRecording();
            m_recording = true;
            m_paused = false;
            m_heardLevel.clear();
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG SipLineProvider::pauseRecord(HCALL call, bool pause)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            if (!m_recording)
                return LINEERR_INVALCALLSTATE;
            if (pause && !m_paused)
                m_call->stopRecording();  // starting again appends to the same file
            else if (!pause && m_paused)
                m_call->startRecording();
            m_paused = pause;
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG SipLineProvider::stopMedia(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            stopPlayer();
            finishRecording();
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG SipLineProvider::stopPlay(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            // The call's player only: its recording is a stream of its own.
            stopPlayer();
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG SipLineProvider::inputLevel(HCALL call, int& level)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (!m_call || call != m_handle)
                return LINEERR_INVALCALLHANDLE;
            if (!m_recording || m_paused)
                return LINEERR_INVALCALLSTATE;
            level = m_heardLevel.peak();
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}
