// A private, headless PulseAudio server for tests and benchmarks: its own
// runtime folder, a minimal configuration (native protocol, a pipe source
// "virtmic" fed by a paced writer, a null sink "speaker" whose monitor is
// the source "speakermon"), and this process pointed at it. Qt connects to
// the first server it sees and keeps that connection, so start one before
// anything touches Qt's audio devices, and only one per process.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

class PulseServer {
public:
    PulseServer() = default;
    ~PulseServer();  // stops the writer and the server
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;

    // False with why() when pulseaudio cannot start here. The pipe source
    // takes mono 16-bit sound at rate.
    bool start(int rate = 8000);
    const std::string& why() const { return m_why; }
    const std::string& runtimeDir() const { return m_dir; }

    // Loads one more module (pactl load-module); false when it fails.
    bool loadModule(const std::string& arguments);
    // Any other pactl command ("set-default-source name"); false when it fails.
    bool command(const std::string& arguments);

    // Feeds the pipe source a sine of frequency at level (of full scale) in
    // real time, 20 ms at a time, until stopFeeding().
    void feedTone(double frequency, double level);
    void stopFeeding();
    std::uint64_t bytesFed() const { return m_fed; }

private:
    void stop();

    std::string m_dir;
    std::string m_why;
    int m_rate = 8000;
    long long m_pid = 0;
    std::thread m_writer;
    std::atomic<bool> m_feeding{false};
    std::atomic<std::uint64_t> m_fed{0};
};
