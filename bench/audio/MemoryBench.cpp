// Memory stays flat however long the recording: an 8-hour recording at CD
// quality (stereo 44100 Hz 16-bit, 5 GB of sound), made as fast as the
// virtual input allows, against a 1-minute one. Each recording runs in a
// fresh process of this program so that each peak (VmHWM) is its own. Done
// for the media-control device (the recorders' path) and for the wave
// engine. Prints both peaks and their ratio (must be at most 1.1).
#include "BenchSupport.h"

#include "AudioTestSupport.h"
#include "audio/MciSendCommand.h"
#include "audio/MciWaveDevice.h"
#include "audio/VXWave.h"
#include "audio/WaveAudio.h"

#include <QCoreApplication>
#include <QProcess>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

using namespace audiobench;
using namespace audiotest;

namespace {

class BufferCounter : public WaveEventSink {
public:
    std::uint64_t buffers = 0;
    void OnWaveInData() override { ++buffers; }
};

// In the child: records minutes of CD sound, prints "peak <kB> sound <bytes>".
int child(const std::string& path, long minutes)
{
    TempFolder dir;
    useVirtualBackend("tone:440", "", false);
    CallbackWindow::registerClass();
    std::uint64_t bytes = 0;
    if (path == "mci") {
        MessageWindow window;
        const MCIDEVICEID device = WaveAudio::open("");
        WaveAudio::setWaveFormat(device, 3);
        WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, device);
        MCI_RECORD_PARMS parms;
        parms.dwCallback = window.handle();
        parms.dwTo = static_cast<DWORD>(minutes * 60000);
        if (mciSendCommandA(device, MCI_RECORD, MCI_NOTIFY | MCI_TO | MCI_RECORD_INSERT, reinterpret_cast<DWORD_PTR>(&parms)) != 0)
            return 2;
        pumpUntil([&] { return window.count(MM_MCINOTIFY) > 0; }, 24 * 3600 * 1000);
        bytes = mciWaveDevice(device)->lengthBytes();
        WaveAudio::close(device);
    } else {
        BufferCounter counter;
        RecordingFlags flags;
        VXWave wave(&counter, flags);
        wave.RawRecordPath = dir.file("buffer.raw");
        wave.RawDataPath = dir.file("data.raw");
        if (wave.StartRecord(5, 3) != 1)
            return 2;
        flags.LevelMeterOn = 1;
        const std::uint64_t wanted = static_cast<std::uint64_t>(minutes) * 60 * 5;  // 200 ms buffers
        pumpUntil([&] { return counter.buffers >= wanted; }, 24 * 3600 * 1000);
        wave.DiscardInput = 1;
        wave.Stop(0);
        bytes = std::filesystem::file_size(wave.RawRecordPath);
        wave.Free();
    }
    std::printf("peak %ld sound %llu\n", peakRssKb(), static_cast<unsigned long long>(bytes));
    return 0;
}

struct Run {
    long peakKb = -1;
    unsigned long long soundBytes = 0;
    double seconds = 0;
};

Run measure(const QString& self, const std::string& path, long minutes)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const std::int64_t start = nowNs();
    p.start(self, {"--child", QString::fromStdString(path), QString::number(minutes)});
    p.waitForFinished(-1);
    Run r;
    r.seconds = audiobench::seconds(nowNs() - start);
    const QByteArray out = p.readAllStandardOutput();
    std::sscanf(out.constData(), "peak %ld sound %llu", &r.peakKb, &r.soundBytes);
    return r;
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qunsetenv("NAVO_AUDIO");
    if (argc == 4 && std::string(argv[1]) == "--child")
        return child(argv[2], std::atol(argv[3]));

    long longMinutes = 8 * 60;
    if (argc == 2)
        longMinutes = std::atol(argv[1]);  // a shorter run while trying things out
    int failures = 0;
    for (const std::string path : {"mci", "engine"}) {
        const Run shortRun = measure(QCoreApplication::applicationFilePath(), path, 1);
        const Run longRun = measure(QCoreApplication::applicationFilePath(), path, longMinutes);
        const double ratio = static_cast<double>(longRun.peakKb) / static_cast<double>(shortRun.peakKb);
        char text[160];
        std::snprintf(text, sizeof text, "%ld kB peak, %.1f MB of sound in %.1f s", shortRun.peakKb,
                      static_cast<double>(shortRun.soundBytes) / 1e6, shortRun.seconds);
        report(path + " 1 min CD", text);
        std::snprintf(text, sizeof text, "%ld kB peak, %.1f MB of sound in %.1f s", longRun.peakKb,
                      static_cast<double>(longRun.soundBytes) / 1e6, longRun.seconds);
        report(path + " " + std::to_string(longMinutes) + " min CD", text);
        std::snprintf(text, sizeof text, "%.3f", ratio);
        report(path + " peak RSS ratio (<= 1.1)", text);
        const unsigned long long expected = static_cast<unsigned long long>(longMinutes) * 60ULL * 176400ULL;
        failures += !(ratio <= 1.1) || longRun.soundBytes < expected;
    }
    report("result", failures == 0 ? "PASS" : "FAIL");
    return failures == 0 ? 0 : 1;
}
