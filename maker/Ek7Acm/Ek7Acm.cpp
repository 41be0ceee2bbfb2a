#include "maker/Ek7Acm/Ek7Acm.h"

#include <string>

#include "maker/Ek7WavComp/Ek7WavComp.h"

#include "maker/Ek7Acm/AcmStream.h"
#include "platform/FileOps.h"
#include "platform/audio/WavFileReader.h"
#include "platform/audio/WavFileWriter.h"
#include "platform/audio/WaveFormats.h"

#include <vector>

namespace {

constexpr int kSourceUnreadable = 1;
constexpr int kTargetUnwritable = 2;
constexpr int kResamplerFailed = 3;
constexpr std::size_t kPiece = 1 << 20;

}  // namespace

int Ek7AcmConvert(HWND, const char* sourcePath, const char* targetPath, int number)
{
    if (sourcePath == nullptr || targetPath == nullptr)
        return kSourceUnreadable;
    // A compressed recording is made a wave again first (beside the target,
    // and gone afterwards).
    if (Ek7WavIsComp(sourcePath)) {
        const std::string wave = std::string(targetPath) + ".dec.wav";
        int result = Ek7WavDeComp(0, sourcePath, wave.c_str()) == kEk7WavCompFinished ? 0 : kSourceUnreadable;
        if (result == 0)
            result = Ek7AcmConvert(0, wave.c_str(), targetPath, number);
        fileops::removeFile(wave);
        return result;
    }
    WavFileReader reader;
    if (!reader.open(sourcePath))
        return kSourceUnreadable;
    const WAVEFORMATEX format = waveFormatForQuality(number);
    AcmStream stream(reader.layout(), layoutOf(format));
    if (!stream.ok())
        return kResamplerFailed;

    int result = 0;
    {
        WavFileWriter writer;
        if (!writer.create(targetPath, format))
            return kTargetUnwritable;
        std::vector<char> in(kPiece);
        std::vector<char> out;
        for (;;) {
            const std::size_t got = reader.read(in.data(), in.size());
            out.clear();
            if (got == 0 ? !stream.flush(out) : !stream.convert(in.data(), got, out)) {
                result = kResamplerFailed;
                break;
            }
            if (!out.empty() && !writer.write(out.data(), out.size())) {
                result = kTargetUnwritable;
                break;
            }
            if (got == 0)
                break;
        }
        if (result == 0 && !writer.finish())
            result = kTargetUnwritable;
    }
    // A target cut short is no conversion: it goes.
    if (result != 0)
        fileops::removeFile(targetPath);
    return result;
}
