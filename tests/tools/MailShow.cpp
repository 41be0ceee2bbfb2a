// Shows the e-mail dialogs on their own, for looking at them and taking
// screenshots: "--options" the Send email Options (152), "--compressor" the
// Compressor (143) working on three long tone recordings made in a
// temporary folder (converted to Navo Voice and compressed).
//
//   navo-mail-show --options|--compressor [--quit-after SECONDS]
#include <QApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "app/ExportOptionsDialog.h"
#include "app/RecordMailer.h"
#include "audio/CompressorDialog.h"
#include "maker/VXSAVE/ZipArchive.h"

using vxsave::ZipArchive;

namespace {

void put(std::ofstream& out, std::uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// A record file holding a mono 22050 Hz tone of the given length.
std::string toneRecord(const std::string& folder, const std::string& base, int seconds)
{
    const std::uint32_t rate = 22050;
    const std::uint32_t frames = rate * static_cast<std::uint32_t>(seconds);
    const std::string wave = folder + "/" + base + ".wav";
    {
        std::ofstream out(wave, std::ios::binary);
        out.write("RIFF", 4);
        put(out, 36 + frames * 2, 4);
        out.write("WAVEfmt ", 8);
        put(out, 16, 4);
        put(out, 1, 2);
        put(out, 1, 2);
        put(out, rate, 4);
        put(out, rate * 2, 4);
        put(out, 2, 2);
        put(out, 16, 2);
        out.write("data", 4);
        put(out, frames * 2, 4);
        std::vector<std::int16_t> samples(frames);
        for (std::uint32_t i = 0; i < frames; ++i)
            samples[i] = static_cast<std::int16_t>(8000 * std::sin(2 * M_PI * 440.0 * i / rate));
        out.write(reinterpret_cast<const char*>(samples.data()), static_cast<std::streamsize>(frames * 2));
    }
    std::ofstream(folder + "/" + base + ".vxl") << "00000001 0 tone\n";
    const std::string record = folder + "/" + base + ".vxz";
    ZipArchive zip;
    zip.open(record, ZipArchive::Mode::Create);
    zip.putFile(base + ".wav", wave);
    zip.putFile(base + ".vxl", folder + "/" + base + ".vxl");
    zip.close();
    return record;
}

}  // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList args = QApplication::arguments();
    const int quitAt = args.indexOf(QStringLiteral("--quit-after"));
    if (quitAt > 0 && quitAt + 1 < args.size())
        QTimer::singleShot(args[quitAt + 1].toInt() * 1000, &application, &QApplication::quit);

    if (args.contains(QStringLiteral("--options"))) {
        ExportOptions initial;
        initial.compress = true;
        ExportOptionsDialog dialog(RecordMailer::kCaption, false, initial);
        dialog.show();
        return application.exec();
    }
    QTemporaryDir dir;
    const std::string folder = QFile::encodeName(dir.path()).toStdString();
    std::vector<std::string> records;
    for (const char* base : {"20261125101500", "20261125103000", "20261125104500"})
        records.push_back(toneRecord(folder, base, 600));
    CompressorRun::Options options;
    options.convert = true;
    options.compress = true;
    CompressorDialog dialog(records, options, folder);
    dialog.show();
    return application.exec();
}
