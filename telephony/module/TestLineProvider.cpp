#include "telephony/module/TestLineProvider.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "telephony/module/ProviderIcons.h"
#include "telephony/module/ProviderRegistry.h"

namespace {

constexpr std::chrono::milliseconds kTick{10};
constexpr std::chrono::milliseconds kFrame{20};
constexpr std::size_t kMaxPending = 4 * 1024 * 1024;  // a peer that stops reading is cut off

bool fillAddress(const std::string& path, sockaddr_un& address)
{
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

// Someone (another Navo) already listens on path.
bool inUse(const sockaddr_un& address)
{
    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return false;
    const bool answered = ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(probe);
    return answered;
}

std::vector<std::string> splitTabs(const std::string& text)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t tab = text.find('\t', start);
        parts.push_back(text.substr(start, tab == std::string::npos ? std::string::npos : tab - start));
        if (tab == std::string::npos)
            return parts;
        start = tab + 1;
    }
}

}  // namespace

void TestLineProvider::registerProvider(ProviderRegistry& registry)
{
    registry.add(ProviderEntry{
        kName, "Navo test line (driven by navo-line)",
        LINEMEDIAMODE_INTERACTIVEVOICE | LINEMEDIAMODE_AUTOMATEDVOICE, ProviderIcons::testLine(),
        [](const LineOptions& options) { return std::unique_ptr<LineProvider>(new TestLineProvider(options)); }});
}

TestLineProvider::TestLineProvider(const LineOptions& options) : m_options(options) {}

TestLineProvider::~TestLineProvider()
{
    close();
}

LONG TestLineProvider::open(LineEvents& events)
{
    sockaddr_un address;
    if (!fillAddress(m_options.testLineSocket, address)) {
        std::fprintf(stderr, "navotapi: test line: unusable socket path \"%s\"\n", m_options.testLineSocket.c_str());
        return LINEERR_OPERATIONFAILED;
    }
    if (inUse(address)) {
        std::fprintf(stderr, "navotapi: test line: %s is in use by another program\n", address.sun_path);
        return LINEERR_RESOURCEUNAVAIL;
    }
    ::unlink(address.sun_path);  // left by a process that died
    m_listen = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_listen < 0 || ::bind(m_listen, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listen, 8) != 0) {
        std::fprintf(stderr, "navotapi: test line: cannot listen on %s: %s\n", address.sun_path, std::strerror(errno));
        if (m_listen >= 0)
            ::close(m_listen);
        m_listen = -1;
        return LINEERR_RESOURCEUNAVAIL;
    }
    ::chmod(address.sun_path, 0600);  // only its owner drives the line
    m_events = &events;
    m_thread.start(kTick, nullptr, [this] { tick(); });
    return 0;
}

void TestLineProvider::close()
{
    m_thread.stop([this] {
        if (m_call.handle != 0)
            endCall(LINEDISCONNECTMODE_NORMAL, false, true);
        for (auto& peer : m_peers) {
            flush(*peer);
            ::close(peer->fd);
        }
        m_peers.clear();
    });
    if (m_listen >= 0) {
        ::close(m_listen);
        ::unlink(m_options.testLineSocket.c_str());
        m_listen = -1;
    }
}

// ---- requests from Navo (run on the line's thread)

LONG TestLineProvider::answer(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            if (m_call.stage != Stage::Ringing)
                return LINEERR_INVALCALLSTATE;
            m_call.stage = Stage::Connected;
            m_call.mediaClock = Clock::now();
            send(*m_call.peer, 'K');
            m_events->callState(call, LINECALLSTATE_CONNECTED);
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG TestLineProvider::drop(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            endCall(LINEDISCONNECTMODE_NORMAL, true, true);
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG TestLineProvider::makeCall(const std::string& number, HCALL& call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (m_call.handle != 0)
                return LINEERR_CALLUNAVAIL;
            call = m_events->newCall(false);
            m_call = Call{};
            m_call.handle = call;
            auto waiter = std::find_if(m_peers.begin(), m_peers.end(),
                                       [](const auto& peer) { return peer->waiting && !peer->gone; });
            Peer* phone = waiter == m_peers.end() ? nullptr : waiter->get();
            if (phone != nullptr && phone->answer == Peer::Answer::NoDialTone) {
                // The line is dead: the call never leaves.
                phone->waiting = false;
                send(*phone, 'T', number);
                phone->closing = true;
                endCall(LINEDISCONNECTMODE_NODIALTONE, true, false);
                return 0;
            }
            m_events->callState(call, LINECALLSTATE_DIALING);
            m_events->callState(call, LINECALLSTATE_PROCEEDING);
            if (phone == nullptr || phone->answer == Peer::Answer::Busy) {
                // Nobody to take it, or a phone that is engaged.
                if (phone != nullptr) {
                    phone->waiting = false;
                    send(*phone, 'B', number);
                    phone->closing = true;
                }
                endCall(LINEDISCONNECTMODE_BUSY, true, false);  // the library says +108 for it
                return 0;
            }
            m_call.peer = phone;
            phone->waiting = false;
            m_call.number = number;
            m_call.ringsWanted = phone->ringsBeforeAnswer;
            m_call.period = std::chrono::milliseconds(m_options.ringPeriodMs);
            m_call.start = Clock::now();
            m_call.stage = Stage::RingingOut;
            m_events->callState(call, LINECALLSTATE_RINGBACK);
            if (m_call.ringsWanted <= 0)
                connectOutgoing();
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

void TestLineProvider::connectOutgoing()
{
    m_call.stage = Stage::Connected;
    m_call.mediaClock = Clock::now();
    send(*m_call.peer, 'I', m_call.number);
    m_events->callState(m_call.handle, LINECALLSTATE_CONNECTED);
}

void TestLineProvider::ringOut(Clock::time_point now)
{
    if (m_call.handle == 0 || m_call.stage != Stage::RingingOut)
        return;
    if (now - m_call.start >= m_call.period * m_call.ringsWanted)
        connectOutgoing();
    else
        m_thread.tickBy(m_call.start + m_call.period * m_call.ringsWanted);
}

LONG TestLineProvider::playFile(HCALL call, const std::string& path)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            if (m_call.stage != Stage::Connected)
                return LINEERR_INVALCALLSTATE;
            LineSamples samples;
            std::string why;
            if (!LineWave::readFile(path, samples, &why)) {
                std::fprintf(stderr, "navotapi: test line: cannot play %s: %s\n", path.c_str(), why.c_str());
                return LINEERR_OPERATIONFAILED;
            }
            m_call.playing = std::move(samples);
            m_call.playedTo = 0;
            m_call.isPlaying = true;
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG TestLineProvider::recordFile(HCALL call, const std::string& path)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            if (m_call.stage != Stage::Connected)
                return LINEERR_INVALCALLSTATE;
            if (!m_call.recorder->open(path))
                return LINEERR_OPERATIONFAILED;
            m_call.recording = true;
            m_call.paused = false;
            m_call.heardLevel.clear();
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG TestLineProvider::pauseRecord(HCALL call, bool pause)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            if (!m_call.recording)
                return LINEERR_INVALCALLSTATE;
            m_call.paused = pause;
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG TestLineProvider::stopMedia(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            m_call.isPlaying = false;
            if (m_call.recording)
                m_call.recorder->close();
            m_call.recording = false;
            m_call.paused = false;
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG TestLineProvider::stopPlay(HCALL call)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            m_call.isPlaying = false;
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

LONG TestLineProvider::inputLevel(HCALL call, int& level)
{
    return m_thread.call<LONG>(
        [&]() -> LONG {
            if (call == 0 || call != m_call.handle)
                return LINEERR_INVALCALLHANDLE;
            if (!m_call.recording || m_call.paused)
                return LINEERR_INVALCALLSTATE;
            level = m_call.heardLevel.peak();
            return 0;
        },
        LINEERR_OPERATIONFAILED);
}

// ---- the line's own work

void TestLineProvider::tick()
{
    acceptPeers();
    for (std::size_t i = 0; i < m_peers.size(); ++i)  // frames may add nothing but replies
        readPeer(*m_peers[i]);
    const Clock::time_point now = Clock::now();
    ringAndGiveUp(now);
    ringOut(now);
    media(now);
    for (auto& peer : m_peers)
        flush(*peer);
    removeGonePeers();
}

void TestLineProvider::acceptPeers()
{
    for (;;) {
        const int fd = ::accept4(m_listen, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0)
            return;
        auto peer = std::make_unique<Peer>();
        peer->fd = fd;
        m_peers.push_back(std::move(peer));
    }
}

void TestLineProvider::readPeer(Peer& peer)
{
    if (peer.gone)
        return;
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::recv(peer.fd, buffer, sizeof buffer, MSG_DONTWAIT);
        if (got > 0) {
            peer.frames.feed(buffer, static_cast<std::size_t>(got));
            continue;
        }
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
            break;
        peer.gone = true;  // closed by the far end, or broken
        break;
    }
    char type = 0;
    std::string payload;
    while (peer.frames.next(type, payload))
        handleFrame(peer, type, payload);
    if (peer.frames.broken())
        peer.gone = true;
    if (peer.gone && m_call.peer == &peer && m_call.handle != 0)
        endCall(LINEDISCONNECTMODE_NORMAL, true, false);  // the caller put the phone down
}

void TestLineProvider::handleFrame(Peer& peer, char type, const std::string& payload)
{
    switch (type) {
    case 'C':
        startIncoming(peer, payload);
        break;
    case 'W': {
        const std::vector<std::string> parts = splitTabs(payload);
        const std::string mode = parts[0];
        if (mode != "" && mode != "answer" && mode != "busy" && mode != "nodialtone") {
            send(peer, 'E', "a wait is for answer, busy or nodialtone");
            peer.closing = true;
            break;
        }
        peer.answer = mode == "busy"         ? Peer::Answer::Busy
                      : mode == "nodialtone" ? Peer::Answer::NoDialTone
                                             : Peer::Answer::Pick;
        peer.ringsBeforeAnswer = parts.size() > 1 ? std::clamp(std::atoi(parts[1].c_str()), 0, 100) : 0;
        peer.waiting = true;
        send(peer, 'w');
        break;
    }
    case 'A':
        if (m_call.peer == &peer && m_call.stage == Stage::Connected) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(payload.data());
            for (std::size_t i = 0; i + 1 < payload.size(); i += 2)
                m_call.voice.push_back(static_cast<std::int16_t>(bytes[i] | bytes[i + 1] << 8));
        }
        break;
    case 'H':
        if (m_call.peer == &peer && m_call.handle != 0)
            endCall(LINEDISCONNECTMODE_NORMAL, true, false);
        peer.closing = true;
        break;
    case 'X':
        if (m_call.handle != 0)
            endCall(LINEDISCONNECTMODE_NORMAL, true, true);
        peer.closing = true;
        break;
    case 'S':
        send(peer, 'S', status());
        peer.closing = true;
        break;
    default:
        send(peer, 'E', std::string("unknown request ") + type);
        peer.closing = true;
        break;
    }
}

void TestLineProvider::startIncoming(Peer& peer, const std::string& request)
{
    if (m_call.handle != 0) {
        send(peer, 'B');
        peer.closing = true;
        return;
    }
    const std::vector<std::string> parts = splitTabs(request);
    if (parts.size() < 4) {
        send(peer, 'E', "a call needs rings, period, number and name");
        peer.closing = true;
        return;
    }
    m_call = Call{};
    m_call.ringsWanted = std::max(0, std::atoi(parts[0].c_str()));
    const int period = std::atoi(parts[1].c_str());
    m_call.period = std::chrono::milliseconds(period > 0 ? std::clamp(period, 20, 60000) : m_options.ringPeriodMs);
    m_call.peer = &peer;
    m_call.stage = Stage::Ringing;
    m_call.start = Clock::now();
    m_call.handle = m_events->newCall(true);
    m_events->offered(m_call.handle, parts[2], parts[3]);
}

void TestLineProvider::ringAndGiveUp(Clock::time_point now)
{
    if (m_call.handle == 0 || m_call.stage != Stage::Ringing)
        return;
    const auto waited = now - m_call.start;
    if (m_call.ringsWanted > 0 && waited >= m_call.period * m_call.ringsWanted + m_call.period / 2) {
        send(*m_call.peer, 'N');
        m_call.peer->closing = true;
        endCall(LINEDISCONNECTMODE_NORMAL, true, false);
        return;
    }
    while (waited >= m_call.period * (m_call.ringsDone + 1)) {
        ++m_call.ringsDone;
        send(*m_call.peer, 'R', std::to_string(m_call.ringsDone));
        m_events->ringing(m_call.ringsDone);
    }
}

void TestLineProvider::media(Clock::time_point now)
{
    if (m_call.handle == 0 || m_call.stage != Stage::Connected)
        return;
    while (m_call.mediaClock + kFrame <= now && m_call.handle != 0) {
        m_call.mediaClock += kFrame;
        std::int16_t heard[LineWave::kSamplesPerFrame] = {};
        for (std::int16_t& sample : heard) {
            if (m_call.voice.empty())
                break;
            sample = m_call.voice.front();
            m_call.voice.pop_front();
        }
        if (m_call.recording && !m_call.paused) {
            m_call.recorder->append(heard, LineWave::kSamplesPerFrame);
            m_call.heardLevel.addFrame(heard, LineWave::kSamplesPerFrame);
        }

        std::string played(2 * LineWave::kSamplesPerFrame, '\0');
        bool finished = false;
        if (m_call.isPlaying) {
            for (std::size_t i = 0; i < LineWave::kSamplesPerFrame && m_call.playedTo < m_call.playing.size(); ++i) {
                const auto v = static_cast<std::uint16_t>(m_call.playing[m_call.playedTo++]);
                played[2 * i] = static_cast<char>(v & 0xFF);
                played[2 * i + 1] = static_cast<char>(v >> 8);
            }
            finished = m_call.playedTo >= m_call.playing.size();
        }
        send(*m_call.peer, 'A', played);
        if (finished) {
            m_call.isPlaying = false;
            m_events->playDone(m_call.handle);
        }
    }
}

void TestLineProvider::send(Peer& peer, char type, const std::string& payload)
{
    if (peer.gone)
        return;
    peer.out += TestLineFrames::encode(type, payload);
    if (peer.out.size() > kMaxPending)
        peer.gone = true;
}

void TestLineProvider::flush(Peer& peer)
{
    while (!peer.gone && !peer.out.empty()) {
        const ssize_t sent = ::send(peer.fd, peer.out.data(), peer.out.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0) {
            peer.out.erase(0, static_cast<std::size_t>(sent));
            continue;
        }
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
            return;
        peer.gone = true;
    }
    if (peer.closing && peer.out.empty())
        peer.gone = true;
}

void TestLineProvider::removeGonePeers()
{
    for (auto it = m_peers.begin(); it != m_peers.end();) {
        Peer& peer = **it;
        if (!peer.gone) {
            ++it;
            continue;
        }
        if (m_call.peer == &peer) {
            if (m_call.handle != 0)
                endCall(LINEDISCONNECTMODE_NORMAL, true, false);
            m_call.peer = nullptr;
        }
        ::close(peer.fd);
        it = m_peers.erase(it);
    }
}

void TestLineProvider::endCall(TAPIDWORD mode, bool report, bool tellPeer)
{
    const HCALL handle = m_call.handle;
    if (handle == 0)
        return;
    m_call.isPlaying = false;
    if (m_call.recording)
        m_call.recorder->close();
    m_call.recording = false;
    if (m_call.peer != nullptr && tellPeer) {
        send(*m_call.peer, 'D');
        m_call.peer->closing = true;
        flush(*m_call.peer);
    }
    m_call = Call{};
    if (report) {
        m_events->callState(handle, LINECALLSTATE_DISCONNECTED, mode);
        m_events->callState(handle, LINECALLSTATE_IDLE);
    }
}

std::string TestLineProvider::status() const
{
    switch (m_call.stage) {
    case Stage::Ringing:
        return "ringing";
    case Stage::RingingOut:
        return "ringing out";
    case Stage::Connected:
        return "connected";
    default:
        return "idle";
    }
}
