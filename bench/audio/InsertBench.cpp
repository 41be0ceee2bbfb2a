// Inserting 1 s into the middle of a 1-hour CD-quality recording and saving
// the result: Navo's media-control device (open, seek to 30 min, record 1 s
// inserting, save through temp.vxw and rename) against sox splicing the
// same files ("sox -D |first half| insert |second half| -b 16 out"). Both outputs
// must hold the same sound. Each is run three times, alternately; the
// medians are compared. Prints the ratio Navo/sox (must be at most 1.0).
#include "BenchSupport.h"

#include "AudioTestSupport.h"
#include "platform/CallbackWindow.h"
#include "audio/MciSendCommand.h"
#include "audio/WaveAudio.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

using namespace audiobench;
using namespace audiotest;

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// The sound of a WAV file (after its "data" chunk header), compared in pieces.
bool sameSound(const std::string& a, const std::string& b)
{
    auto dataOffset = [](const std::string& path, std::uint64_t& size) -> std::uint64_t {
        std::ifstream in(path, std::ios::binary);
        std::vector<char> head(4096);
        in.read(head.data(), static_cast<std::streamsize>(head.size()));
        head.resize(static_cast<std::size_t>(in.gcount()));
        for (const Chunk& c : riffChunks(head)) {
            if (c.id == "data") {
                size = c.size;
                return c.offset;
            }
        }
        return 0;
    };
    std::uint64_t sizeA = 0, sizeB = 0;
    const std::uint64_t offA = dataOffset(a, sizeA);
    const std::uint64_t offB = dataOffset(b, sizeB);
    if (offA == 0 || offB == 0 || sizeA != sizeB)
        return false;
    std::ifstream inA(a, std::ios::binary), inB(b, std::ios::binary);
    inA.seekg(static_cast<std::streamoff>(offA));
    inB.seekg(static_cast<std::streamoff>(offB));
    std::vector<char> bufA(1 << 20), bufB(1 << 20);
    for (std::uint64_t left = sizeA; left > 0;) {
        const auto n = static_cast<std::streamsize>(std::min<std::uint64_t>(left, bufA.size()));
        inA.read(bufA.data(), n);
        inB.read(bufB.data(), n);
        if (!std::equal(bufA.begin(), bufA.begin() + n, bufB.begin()))
            return false;
        left -= static_cast<std::uint64_t>(n);
    }
    return true;
}

double navoInsert(const TempFolder& dir, const std::string& hour, const std::string& target)
{
    MessageWindow window;
    const std::int64_t start = nowNs();
    const MCIDEVICEID device = WaveAudio::open(hour);
    if (device == WaveAudio::kOpenFailed)
        return -1;
    WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, device);
    WaveAudio::seek(1800000, device);
    MCI_RECORD_PARMS parms;
    parms.dwCallback = window.handle();
    parms.dwTo = 1801000;
    if (mciSendCommandA(device, MCI_RECORD, MCI_NOTIFY | MCI_TO | MCI_RECORD_INSERT, reinterpret_cast<DWORD_PTR>(&parms)) != 0)
        return -1;
    pumpUntil([&] { return window.count(MM_MCINOTIFY) > 0; }, 60000);
    if (WaveAudio::save(dir.path(), target, device) != 0)
        return -1;
    return seconds(nowNs() - start);
}

double soxInsert(const std::string& hour, const std::string& insert, const std::string& target)
{
    const std::int64_t start = nowNs();
    const QString first = QString("|sox %1 -p trim 0 1800").arg(QString::fromStdString(hour));
    const QString second = QString("|sox %1 -p trim 1800").arg(QString::fromStdString(hour));
    // No dither and 16 bits out: the same samples in, the same samples out.
    if (runTool("sox", {"-D", first, QString::fromStdString(insert), second, "-b", "16", QString::fromStdString(target)}) != 0)
        return -1;
    return seconds(nowNs() - start);
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    qunsetenv("NAVO_AUDIO");
    CallbackWindow::registerClass();
    TempFolder dir;
    const std::string hour = dir.file("hour.wav");
    const std::string insert = dir.file("insert.wav");
    if (runTool("sox", {"-n", "-r", "44100", "-c", "2", "-b", "16", QString::fromStdString(hour), "synth", "3600", "sine", "440"}) != 0
        || runTool("sox", {"-n", "-r", "44100", "-c", "2", "-b", "16", QString::fromStdString(insert), "synth", "1", "sine", "1000"}) != 0) {
        report("result", "FAIL (sox could not make the input files)");
        return 1;
    }
    report("input", "1 h CD-quality WAV (" + std::to_string(std::filesystem::file_size(hour) / 1000000) + " MB), 1 s insert at 30 min");
    useVirtualBackend(insert, "", false);

    std::vector<double> navo, sox;
    for (int round = 0; round < 3; ++round) {
        navo.push_back(navoInsert(dir, hour, dir.file("navo.wav")));
        sox.push_back(soxInsert(hour, insert, dir.file("sox.wav")));
    }
    char text[160];
    for (int i = 0; i < 3; ++i) {
        std::snprintf(text, sizeof text, "Navo %.3f s, sox %.3f s", navo[static_cast<std::size_t>(i)], sox[static_cast<std::size_t>(i)]);
        report("round " + std::to_string(i + 1), text);
    }
    const bool same = sameSound(dir.file("navo.wav"), dir.file("sox.wav"));
    report("same sound as sox", same ? "yes" : "NO");
    const double ratio = median(navo) / median(sox);
    std::snprintf(text, sizeof text, "%.3f (Navo %.3f s / sox %.3f s, medians)", ratio, median(navo), median(sox));
    report("ratio Navo/sox (<= 1.0)", text);
    const bool ok = same && ratio <= 1.0 && *std::min_element(navo.begin(), navo.end()) > 0;
    report("result", ok ? "PASS" : "FAIL");
    return ok ? 0 : 1;
}
