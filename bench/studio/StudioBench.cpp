// The Mixing Studio's build of 10 extracts from 1-hour recordings against
// sox trimming and joining the same extracts in one command
// ("sox |sox rec1 -p trim a =b| ... |sox rec10 -p trim ...| out.wav").
//
// Ten 1-hour tones (quality 0 unless --quality says otherwise, the quality
// the studio builds in) are filed into a fresh store and prepared in the
// studio as a user would (record file opened, sound converted, device
// opened); then MixingStudio::buildAndOpen (BuildWavesX per row, then
// CreateWaveX; the recorder is not opened) is timed against sox, taking
// turns, three rounds each, and the medians compared. Both outputs must hold
// the same samples. Target: ratio Navo/sox <= 1.2.
//
//   navo_studio_bench [--extract-seconds S] [--quality Q] [--dir FOLDER]
#include "BenchSupport.h"

#include "AudioTestSupport.h"
#include "audio/MixingStudio.h"
#include "core/AppData.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/CallbackWindow.h"
#include "platform/audio/WaveFormats.h"
#include "store/DataStore.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"
#include "store/Workspace.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

using namespace audiobench;

namespace {

constexpr int kRecordings = 10;
constexpr long kHourMs = 3600L * 1000;

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// A recorder stand-in whose recording is a wave file made beforehand.
class FileRecording : public RecordingSource {
public:
    explicit FileRecording(std::string path) : m_path(std::move(path)) {}
    bool fastForward() override { return true; }
    long lengthMs() override { return kHourMs; }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        std::error_code error;
        std::filesystem::copy_file(m_path, path, std::filesystem::copy_options::overwrite_existing, error);
        return !error;
    }

private:
    std::string m_path;
};

// The "data" bytes of a wave file, compared in pieces.
bool sameSound(const std::string& a, const std::string& b)
{
    auto open = [](const std::string& path, std::ifstream& in, std::uint64_t& size) {
        in.open(path, std::ios::binary);
        std::vector<char> head(4096);
        in.read(head.data(), static_cast<std::streamsize>(head.size()));
        head.resize(static_cast<std::size_t>(in.gcount()));
        for (const audiotest::Chunk& c : audiotest::riffChunks(head)) {
            if (c.id == "data") {
                size = c.size;
                in.clear();
                in.seekg(static_cast<std::streamoff>(c.offset));
                return true;
            }
        }
        return false;
    };
    std::ifstream inA, inB;
    std::uint64_t sizeA = 0, sizeB = 0;
    if (!open(a, inA, sizeA) || !open(b, inB, sizeB) || sizeA != sizeB || sizeA == 0)
        return false;
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

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    long extractSeconds = 300;
    int quality = 0;
    QString base = QDir::tempPath();
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--extract-seconds")
            extractSeconds = std::atol(argv[i + 1]);
        else if (option == "--quality")
            quality = std::atoi(argv[i + 1]);
        else if (option == "--dir")
            base = QString::fromLocal8Bit(argv[i + 1]);
    }
    qunsetenv("NAVO_AUDIO");
    CallbackWindow::registerClass();
    audiotest::useVirtualBackend("tone:440", "", false);

    QTemporaryDir dir(base + "/navo-studio-bench-XXXXXX");
    const std::string root = dir.path().toStdString();
    AppData app;
    app.AppDir = root + "/";
    app.IniPath = root + "/NAVO.ini";
    app.ProfileSection = "bench";
    app.ProfileDir = root + "/Profiles/bench";
    app.DataStoreName = "NAVO";
    app.RecordingQuality = quality;
    std::filesystem::create_directories(app.ProfileDir);
    DataStore store;
    if (workspace::Workspace(app, workspace::kCreate, "*.*") != 0
        || VXfilebuild(app.ProfileDir.c_str(), app.DataStoreName.c_str(), app.TempDir.c_str()) != 0
        || store.extract(app) != 0) {
        report("result", "FAIL (no store)");
        return 1;
    }

    const WAVEFORMATEX format = waveFormatForQuality(quality);
    const QString rate = QString::number(format.nSamplesPerSec);
    const QString channels = QString::number(format.nChannels);
    const QString bits = QString::number(format.wBitsPerSample);
    std::vector<std::string> hours;
    std::vector<std::string> recIds;
    std::int64_t start = nowNs();
    for (int i = 0; i < kRecordings; ++i) {
        const std::string hour = root + "/hour" + std::to_string(i) + ".wav";
        if (runTool("sox", {"-n", "-r", rate, "-c", channels, "-b", bits, QString::fromStdString(hour), "synth",
                            "3600", "sine", QString::number(300 + 100 * i)}) != 0) {
            report("result", "FAIL (sox could not make the input files)");
            return 1;
        }
        const NewRecordNames names = prepareNewRecording(app);
        RecordingToFile rec;
        rec.recId = names.recId;
        rec.baseName = names.baseName;
        rec.family = 'R';
        char recId[16];
        std::snprintf(recId, sizeof recId, "%08ld", names.recId);
        rec.fields = {recId, "0", "0", "", "hour " + std::to_string(i), "", "", "22/11/2026 10:00:00",
                      "22/11/2026 11:00:00", "", "", std::to_string(quality)};
        rec.extraText = " ";
        FileRecording source(hour);
        RecordFiler filer(app);
        if (filer.save(rec, source) != 0) {
            report("result", "FAIL (could not file a recording)");
            return 1;
        }
        hours.push_back(hour);
        recIds.push_back(recId);
    }
    report("input", std::to_string(kRecordings) + " x 1 h recordings of quality " + std::to_string(quality) + " ("
                        + std::to_string(std::filesystem::file_size(hours[0]) / 1000000) + " MB each), "
                        + std::to_string(kRecordings) + " extracts of " + std::to_string(extractSeconds) + " s");
    char text[200];
    std::snprintf(text, sizeof text, "%.1f s", seconds(nowNs() - start));
    report("filing the recordings", text);

    // Prepared and listed as a user would, each extract from another place.
    MixingStudio studio(app, [](const std::string&) {});
    start = nowNs();
    QStringList soxArgs{"-D"};
    const long extractMs = extractSeconds * 1000;
    for (int i = 0; i < kRecordings; ++i) {
        if (studio.prepare(recIds[static_cast<std::size_t>(i)]) != 0) {
            report("result", "FAIL (could not prepare a recording)");
            return 1;
        }
        const long from = (kHourMs - extractMs) / (kRecordings - 1) * i;
        studio.addExtract(from, from + extractMs);
        const long first = from * static_cast<long>(format.nSamplesPerSec) / 1000;
        const long last = (from + extractMs) * static_cast<long>(format.nSamplesPerSec) / 1000;
        soxArgs << QString("|sox %1 -p trim %2s =%3s")
                       .arg(QString::fromStdString(hours[static_cast<std::size_t>(i)]))
                       .arg(first)
                       .arg(last);
    }
    std::snprintf(text, sizeof text, "%.1f s", seconds(nowNs() - start));
    report("preparing them in the studio", text);
    const std::string soxOut = root + "/sox.wav";
    soxArgs << "-b" << bits << QString::fromStdString(soxOut);

    std::vector<double> navo, sox;
    for (int round = 0; round < 3; ++round) {
        // A change to the list makes the next build a real one.
        studio.moveRow(0, 1);
        studio.moveRow(0, 1);
        start = nowNs();
        const int built = studio.buildAndOpen();
        navo.push_back(built == 0 ? seconds(nowNs() - start) : -1);
        start = nowNs();
        const int soxResult = runTool("sox", soxArgs);
        sox.push_back(soxResult == 0 ? seconds(nowNs() - start) : -1);
    }
    for (int i = 0; i < 3; ++i) {
        std::snprintf(text, sizeof text, "Navo %.3f s, sox %.3f s", navo[static_cast<std::size_t>(i)],
                      sox[static_cast<std::size_t>(i)]);
        report("round " + std::to_string(i + 1), text);
    }
    const bool same = sameSound(studio.buildWavePath(), soxOut);
    report("same sound as sox", same ? "yes" : "NO");
    const double ratio = median(navo) / median(sox);
    std::snprintf(text, sizeof text, "%.3f (Navo %.3f s / sox %.3f s, medians)", ratio, median(navo), median(sox));
    report("ratio Navo/sox (<= 1.2)", text);
    const bool ok = same && ratio <= 1.2 && *std::min_element(navo.begin(), navo.end()) > 0
                 && *std::min_element(sox.begin(), sox.end()) > 0;
    report("result", ok ? "PASS" : "FAIL");
    studio.close();
    workspace::Workspace(app, workspace::kRemove, "*.*");
    return ok ? 0 : 1;
}
