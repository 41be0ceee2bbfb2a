// "test line": a telephone line driven from outside the process by navo-line
// over a Unix socket (TestLineFrames.h; address in TestLineAddress.h). A
// navo-line caller rings the line, speaks a WAV file once answered, and keeps
// what Navo played to it; a waiting navo-line answers calls Navo places.
//
// Timing is a telephone's: rings every ring period while the call waits (the
// k-th counted when k periods have passed), audio in real time in 20 ms
// frames. What the caller says before the answer, or while nobody records,
// is lost, as on a real line.
#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "maker/Ek7Tapi/wave/LineWave.h"
#include "maker/Ek7Tapi/wave/LineWaveWriter.h"
#include "telephony/module/InputLevel.h"
#include "telephony/module/LineOptions.h"
#include "telephony/module/LineProvider.h"
#include "telephony/module/ProviderThread.h"
#include "telephony/module/TestLineFrames.h"

class ProviderRegistry;

class TestLineProvider : public LineProvider {
public:
    static constexpr const char* kName = "test line";
    static void registerProvider(ProviderRegistry& registry);

    explicit TestLineProvider(const LineOptions& options);
    ~TestLineProvider() override;

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

private:
    using Clock = std::chrono::steady_clock;

    struct Peer {
        int fd = -1;
        TestLineFrames frames;
        std::string out;
        bool waiting = false;  // answers calls from Navo
        enum class Answer { Pick, Busy, NoDialTone } answer = Answer::Pick;
        int ringsBeforeAnswer = 0;
        bool closing = false;  // close once out is sent
        bool gone = false;
    };

    // Ringing: an incoming call rings Navo; RingingOut: Navo's call rings
    // the waiting phone.
    enum class Stage { None, Ringing, RingingOut, Connected };

    struct Call {
        HCALL handle = 0;
        Peer* peer = nullptr;
        Stage stage = Stage::None;
        int ringsWanted = 0;  // incoming: 0, the caller waits for ever; outgoing: rings before the answer
        std::string number;   // outgoing: the number Navo dialled
        int ringsDone = 0;
        std::chrono::milliseconds period{3000};
        Clock::time_point start;
        Clock::time_point mediaClock;
        std::deque<std::int16_t> voice;
        LineSamples playing;
        std::size_t playedTo = 0;
        bool isPlaying = false;
        std::unique_ptr<LineWaveWriter> recorder = std::make_unique<LineWaveWriter>();
        bool recording = false;
        bool paused = false;
        RecentPeak heardLevel;  // of what was recorded
    };

    void tick();
    void acceptPeers();
    void readPeer(Peer& peer);
    void handleFrame(Peer& peer, char type, const std::string& payload);
    void startIncoming(Peer& peer, const std::string& request);
    void ringAndGiveUp(Clock::time_point now);
    void ringOut(Clock::time_point now);
    void connectOutgoing();
    void media(Clock::time_point now);
    void send(Peer& peer, char type, const std::string& payload = {});
    void flush(Peer& peer);
    void removeGonePeers();
    // Ends the call: recording finished, then DISCONNECTED and IDLE (when
    // report), and 'D' to the far end when told.
    void endCall(TAPIDWORD mode, bool report, bool tellPeer);
    std::string status() const;

    LineOptions m_options;
    LineEvents* m_events = nullptr;
    ProviderThread m_thread;
    int m_listen = -1;
    std::vector<std::unique_ptr<Peer>> m_peers;
    Call m_call;
};
