// The ring of 50 buffers of 200 ms gives the recording ten seconds of slack:
// with the UI thread stalled for 9 s in the middle of a recording, no buffer
// may be lost. Recorded with the wave engine through a real PulseAudio
// server (qt backend), with parec recording the same source in the same run
// as the reference, and through the virtual backend at real-time pace; an
// 11 s stall on the virtual backend shows that a loss would be seen.
//
// Prints lost buffers (must be 0 for 9 s) and recorded/elapsed time for
// Navo and for parec, with their ratio.
#include "BenchSupport.h"

#include "AudioTestSupport.h"
#include "PulseServer.h"
#include "audio/VXWave.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/RecordingSource.h"
#include "platform/audio/WaveApi.h"

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <thread>

using namespace audiobench;
using namespace audiotest;

namespace {

// A tone of 87.5 cycles per 200 ms buffer: losing any number of buffers
// turns its phase by half a turn. Demodulated in 50 ms windows against one
// clock from the first sample, a continuous recording keeps one phase; a
// gap makes it jump.
constexpr double kTone = 437.5;
constexpr double kLevel = 0.5;
constexpr double kPi = 3.14159265358979323846;
constexpr double kBreak = 0.5;  // radians

double largestPhaseJump(const std::vector<std::int16_t>& x)
{
    const std::size_t window = 400;
    const double w = 2 * kPi * kTone / 8000;
    double previous = 0;
    double largest = 0;
    // The first and last windows hold the device's start and the stop.
    for (std::size_t start = window; start + 2 * window <= x.size(); start += window) {
        double re = 0;
        double im = 0;
        for (std::size_t n = start; n < start + window; ++n) {
            re += x[n] * std::cos(w * static_cast<double>(n));
            im -= x[n] * std::sin(w * static_cast<double>(n));
        }
        const double phase = std::atan2(im, re);
        if (start > window) {
            double jump = std::fabs(phase - previous);
            if (jump > kPi)
                jump = 2 * kPi - jump;
            largest = std::max(largest, jump);
        }
        previous = phase;
    }
    return largest;
}

struct Result {
    double recordedSeconds = 0;
    double elapsedSeconds = 0;
    std::uint64_t droppedBytes = 0;
    std::uint64_t bufferBytes = 0;
    double largestJump = 0;  // of the tone's phase, radians: a gap shows as a jump
};

// Records about 2 s, stalls the UI thread for stallSeconds, records 2 s more.
Result recordWithStall(const TempFolder& dir, int stallSeconds)
{
    RecordingFlags flags;
    VXWave wave(nullptr, flags);
    wave.RawRecordPath = dir.file("buffer.raw");
    wave.RawDataPath = dir.file("data.raw");
    wave.WavePath = dir.file("stall.wav");
    Result r;
    const std::uint64_t droppedBefore = waveInTotalDroppedBytes();
    const std::int64_t start = nowNs();
    if (wave.StartRecord(5, 0) != 1) {
        std::fprintf(stderr, "StartRecord failed: %s\n", wave.LastError.c_str());
        return r;
    }
    pumpFor(2000);
    std::this_thread::sleep_for(std::chrono::seconds(stallSeconds));  // the stalled UI thread
    pumpFor(2000);
    wave.DiscardInput = 1;
    wave.Stop(0);
    r.elapsedSeconds = seconds(nowNs() - start);
    r.droppedBytes = waveInTotalDroppedBytes() - droppedBefore;
    r.bufferBytes = 16000 / 5;
    const auto pcm = readFile(wave.RawRecordPath);
    r.recordedSeconds = static_cast<double>(pcm.size()) / 16000.0;
    r.largestJump = largestPhaseJump(toSamples16(pcm));
    wave.Free();
    return r;
}

void print(const std::string& label, const Result& r, int stall)
{
    const auto lost = (r.droppedBytes + r.bufferBytes - 1) / r.bufferBytes;
    report(label + " stall (s)", std::to_string(stall));
    report(label + " lost buffers", std::to_string(lost) + " (" + std::to_string(r.droppedBytes) + " bytes dropped)");
    char text[128];
    std::snprintf(text, sizeof text, "%.3f s of %.3f s = %.4f", r.recordedSeconds, r.elapsedSeconds, r.recordedSeconds / r.elapsedSeconds);
    report(label + " recorded/elapsed", text);
    std::snprintf(text, sizeof text, "%.3f rad%s", r.largestJump, r.largestJump < kBreak ? " (continuous)" : " (BREAK)");
    report(label + " largest phase jump", text);
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qunsetenv("NAVO_AUDIO");
    CallbackWindow::registerClass();
    TempFolder dir;
    int failures = 0;

    // 1. A real PulseAudio server, with parec as the reference.
    PulseServer server;
    if (!server.start(8000)) {
        report("pulse", "not run: " + server.why());
    } else {
        AudioBackendRegistry::instance().choose("qt");
        server.feedTone(kTone, kLevel);
        RecordingSource::selectSourceByName("virtmic");
        QProcess parec;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_RUNTIME_DIR", QString::fromStdString(server.runtimeDir()));
        parec.setProcessEnvironment(env);
        const std::string parecFile = dir.file("parec.raw");
        parec.start("parec", {"--device=virtmic", "--format=s16le", "--rate=8000", "--channels=1",
                              "--latency-msec=20", "--raw", QString::fromStdString(parecFile)});
        parec.waitForStarted();
        pumpFor(500);
        const std::int64_t parecStart = nowNs();
        const Result navo = recordWithStall(dir, 9);
        const double parecElapsed = seconds(nowNs() - parecStart);
        parec.terminate();
        parec.waitForFinished(5000);
        const double parecRecorded = static_cast<double>(std::filesystem::file_size(parecFile)) / 16000.0 - 0.5;
        print("pulse/qt 9 s", navo, 9);
        char text[160];
        std::snprintf(text, sizeof text, "%.3f s of %.3f s = %.4f", parecRecorded, parecElapsed, parecRecorded / parecElapsed);
        report("pulse parec recorded/elapsed (reference)", text);
        std::snprintf(text, sizeof text, "%.4f", (navo.recordedSeconds / navo.elapsedSeconds) / (parecRecorded / parecElapsed));
        report("pulse Navo/parec ratio", text);
        failures += navo.droppedBytes != 0 || navo.recordedSeconds == 0 || navo.largestJump >= kBreak;
        server.stopFeeding();
    }

    // 2. The virtual backend at real-time pace: 9 s loses nothing, 11 s must.
    useVirtualBackend("tone:437.5:0.5", "", true);
    const Result nine = recordWithStall(dir, 9);
    print("virtual 9 s", nine, 9);
    failures += nine.droppedBytes != 0 || nine.largestJump >= kBreak;
    const Result eleven = recordWithStall(dir, 11);
    print("virtual 11 s (control)", eleven, 11);
    failures += eleven.droppedBytes == 0 || eleven.largestJump < kBreak;

    report("result", failures == 0 ? "PASS" : "FAIL");
    return failures == 0 ? 0 : 1;
}
