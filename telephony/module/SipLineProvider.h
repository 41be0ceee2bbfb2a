// "SIP line": real telephone calls over SIP on liblinphone.
//
// The SIP stack lives on the provider's own thread (ProviderThread): the core
// is made, iterated every 20 ms and destroyed there, and every request from
// Navo is run there; liblinphone is never called from another thread.
//
// Incoming calls wait in the ringing state (the caller gets 180 Ringing) and
// count one ring per ring period until Navo answers; a second caller while a
// call is up is refused with 486 Busy Here. The caller's identity is the
// display name and user part of the From address. Audio runs without a sound
// card: files in, files out, PCMU/PCMA only so that the line stays at 8 kHz.
// A greeting is played with the call's own player; recording uses the call's
// recorder (a file per call, started only after the greeting so that it holds
// the caller alone) and is copied to the path Navo asked for when it stops.
// A call the user holds (useMicrophone before answer or makeCall) captures
// from the sound server instead, the input Navo records from when the stack
// knows it, else the server's default; with no sound server it stays on
// files, and the far end hears silence as before.
// The caller's level while recorded is the stack's receive meter, read once
// a frame (InputLevel.h has what its readings mean).
//
// Outgoing calls go to a SIP address, to a host directly, or to a number
// through the account. A call through an account the registrar has not yet
// accepted finds no dial tone, as a modem on a dead line would; the line
// reports itself out of service until then (LineState word 8).
//
// Settings (LineOptions): the transport (UDP, TCP or TLS) and its local
// port, RTP port range, an optional account at a registrar (user, domain, a
// registrar that is also the outbound proxy when it is not the domain, an
// authentication name, and a password file that only its owner may read), a
// STUN server, the ring period and the folder for liblinphone's own files.
//
// Strangers: without an account nobody was given the line's address, so a
// direct call is taken only from this machine (the top Via's address, and
// the address the stack saw it come from, both loopback) unless
// sip_allow_remote says otherwise; others get 403. On UDP, DatagramGuard
// drops datagrams no SIP peer sends before the stack can choke on them.
//
// Failures say what went wrong: the port in use, settings that make no
// account, a password file that is not private each fail open with their own
// result. The account registers after open; a registrar that refuses it or
// does not answer stops the line (LINE_CLOSE with the reason), since calls
// to an unregistered account never arrive.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "telephony/module/InputLevel.h"
#include "telephony/module/LineOptions.h"
#include "telephony/module/LineProvider.h"
#include "telephony/module/ProviderThread.h"

namespace linphone {
class Core;
class Call;
class Player;
}  // namespace linphone

class ProviderRegistry;

class SipLineProvider : public LineProvider {
public:
    static constexpr const char* kName = "SIP line";
    static void registerProvider(ProviderRegistry& registry);

    explicit SipLineProvider(const LineOptions& options);
    ~SipLineProvider() override;

    LONG open(LineEvents& events) override;
    void close() override;
    LONG answer(HCALL call) override;
    LONG drop(HCALL call) override;
    LONG makeCall(const std::string& number, HCALL& call) override;
    LONG playFile(HCALL call, const std::string& path) override;
    LONG recordFile(HCALL call, const std::string& path) override;
    LONG pauseRecord(HCALL call, bool pause) override;
    LONG stopMedia(HCALL call) override;
    LONG stopPlay(HCALL call) override;
    LONG inputLevel(HCALL call, int& level) override;
    bool useMicrophone(bool on, const std::string& input) override;

    // Called by the stack's listeners, on the provider's thread.
    void onCallState(const std::shared_ptr<linphone::Call>& call, int state);
    void onPlayerEnd();
    void onRegistration(int state, int reason);

private:
    using Clock = std::chrono::steady_clock;
    class CoreWatcher;
    class PlayerWatcher;

    void setUp();
    void tick();
    void tearDown();
    LONG addAccount();
    void finishCall(unsigned mode);
    void stopPlayer();
    void finishRecording();
    void sampleLevel();
    std::string newCallRecordFile();
    // The sound server's input for the microphone: the one described as
    // input, else the first; "" when there is no sound server.
    std::string findCaptureDevice(const std::string& input);
    // Sets the stack's sound for the call about to be answered or placed:
    // capture from device when the user holds it, files when it is "".
    void chooseCallSound(const std::string& device);
    // Where a dialled text goes: "sip:..." as it is, "user@host", a bare
    // host ("127.0.0.1:5080", "pbx.example"), or a number through the
    // account. Empty when it names nothing callable. viaAccount is set when
    // the call needs the account's registrar.
    std::string dialTarget(const std::string& number, bool& viaAccount) const;

    LineOptions m_options;
    LineEvents* m_events = nullptr;
    ProviderThread m_thread;
    LONG m_openResult = 0;
    bool m_closing = false;
    bool m_lineLost = false;  // told Navo the line stopped (registration failed)
    bool m_hasAccount = false;
    bool m_registered = false;  // the account's registrar accepted it: calls through it can go

    std::shared_ptr<linphone::Core> m_core;
    std::shared_ptr<CoreWatcher> m_coreWatcher;
    std::shared_ptr<PlayerWatcher> m_playerWatcher;

    std::shared_ptr<linphone::Call> m_call;
    HCALL m_handle = 0;
    bool m_incoming = false;
    bool m_connected = false;
    Clock::time_point m_offeredAt;
    int m_rings = 0;

    std::shared_ptr<linphone::Player> m_player;
    bool m_playing = false;
    // Set by the player's listener, which the stack may call from its media
    // thread; read and cleared by tick.
    std::atomic<bool> m_playerEnded{false};
    bool m_forgetCalls = false;  // a call ended: the stack's own call history goes

    std::string m_callRecordFile;  // the call's own recorder file
    std::string m_recordTarget;    // where Navo wants the recording
    bool m_recording = false;      // started and not stopped (paused counts)
    bool m_paused = false;
    unsigned m_fileCounter = 0;

    // The next call sends the microphone from this capture device ("" none).
    std::string m_microphoneNext;

    // The far end's level while recording, from the stack's receive meter.
    RecentPeak m_heardLevel;
    Clock::time_point m_levelSampledAt;
};
