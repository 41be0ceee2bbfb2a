#include "maker/Ek7Audio/Ek7Audio.h"

#include "maker/Ek7Acm/AcmStream.h"
#include "platform/FileOps.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/WavFileReader.h"
#include "platform/audio/WavFileWriter.h"
#include "platform/audio/WaveFormats.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

constexpr std::size_t kPiece = 1 << 20;
// The RIFF sizes are 32-bit; the header takes 36 of them.
constexpr std::uint64_t kMaxWaveData = 0xFFFFFFFFull - 36;

std::uint64_t frameAt(long ms, std::uint32_t rate)
{
    return static_cast<std::uint64_t>(ms) * rate / 1000;
}

}  // namespace
int ReversePlay(const char* wavePath, const char* reversedPath)
{
    WavFileReader reader;
    if (wavePath == nullptr || reversedPath == nullptr || !reader.open(wavePath))
        return 1;
    const std::size_t frame = std::max<std::size_t>(1, reader.format().nBlockAlign);
    // Whole file in memory: recordings are speech, and a reversed copy needs
    // the last frame first.
    std::vector<char> sound(static_cast<std::size_t>(reader.dataSize()));
    std::size_t got = 0;
    while (got < sound.size()) {
        const std::size_t n = reader.read(sound.data() + got, sound.size() - got);
        if (n == 0)
            break;
        got += n;
    }
    sound.resize(got - got % frame);
    const std::size_t frames = sound.size() / frame;
    for (std::size_t i = 0; i < frames / 2; ++i)
        std::swap_ranges(sound.begin() + static_cast<std::ptrdiff_t>(i * frame),
                         sound.begin() + static_cast<std::ptrdiff_t>((i + 1) * frame),
                         sound.begin() + static_cast<std::ptrdiff_t>((frames - 1 - i) * frame));
    WavFileWriter writer;
    if (!writer.create(reversedPath, reader.format()) || !writer.write(sound.data(), sound.size()) ||
        !writer.finish())
        return 2;
    return 0;
}

int BuildWavesX(const char* datPath, const char* wavePath, long fromMs, long toMs, int recQual)
{
    constexpr int kUnreadable = 1, kBadRange = 2, kUnwritable = 3;
    if (datPath == nullptr || wavePath == nullptr)
        return kUnreadable;
    if (fromMs < 0 || toMs <= fromMs)
        return kBadRange;
    WavFileReader reader;
    DiskFile wave;
    if (!reader.open(wavePath) || !wave.open(wavePath, DiskFile::Mode::Read))
        return kUnreadable;
    const WAVEFORMATEX& in = reader.format();
    const std::uint64_t frameBytes = in.nBlockAlign;
    const std::uint64_t frames = reader.dataSize() / frameBytes;
    const std::uint64_t first = frameAt(fromMs, in.nSamplesPerSec);
    const std::uint64_t last = std::min(frames, frameAt(toMs, in.nSamplesPerSec));
    if (first >= last)
        return kBadRange;

    const PcmLayout target = layoutOf(waveFormatForQuality(recQual));
    const bool same = reader.layout() == target;
    AcmStream stream(reader.layout(), target);
    if (!stream.ok())
        return kUnwritable;

    DiskFile dat;
    if (!dat.open(datPath, DiskFile::Mode::OpenAlways) || !dat.seekToEnd())
        return kUnwritable;
    const std::uint64_t before = dat.size();
    std::vector<char> piece(static_cast<std::size_t>(kPiece - kPiece % frameBytes));
    std::vector<char> converted;
    std::uint64_t at = reader.dataOffset() + first * frameBytes;
    std::uint64_t left = (last - first) * frameBytes;
    int result = 0;
    while (result == 0 && left > 0) {
        const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece.size()));
        if (wave.readAt(at, piece.data(), want) != want) {
            result = kUnreadable;
            break;
        }
        at += want;
        left -= want;
        if (same) {
            if (!dat.write(piece.data(), want))
                result = kUnwritable;
            continue;
        }
        converted.clear();
        if (!stream.convert(piece.data(), want, converted)
            || (!converted.empty() && !dat.write(converted.data(), converted.size())))
            result = kUnwritable;
    }
    if (result == 0 && !same) {
        converted.clear();
        if (!stream.flush(converted) || (!converted.empty() && !dat.write(converted.data(), converted.size())))
            result = kUnwritable;
    }
    // The intermediate file holds whole extracts only.
    if (result != 0)
        dat.truncate(before);
    return result;
}

int CreateWaveX(const char* wavPath, const char* datPath, int recQual)
{
    constexpr int kUnreadable = 1, kUnwritable = 2;
    if (wavPath == nullptr || datPath == nullptr)
        return kUnreadable;
    DiskFile dat;
    if (!dat.open(datPath, DiskFile::Mode::Read))
        return kUnreadable;
    const WAVEFORMATEX format = waveFormatForQuality(recQual);
    const std::uint64_t size = dat.size() - dat.size() % format.nBlockAlign;
    if (size > kMaxWaveData)
        return kUnreadable;
    int result = 0;
    {
        WavFileWriter writer;
        if (!writer.create(wavPath, format)) {
            result = kUnwritable;
        } else {
            std::vector<char> piece(kPiece);
            std::uint64_t at = 0;
            while (at < size) {
                const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(size - at, piece.size()));
                if (dat.readAt(at, piece.data(), want) != want) {
                    result = kUnreadable;
                    break;
                }
                if (!writer.write(piece.data(), want)) {
                    result = kUnwritable;
                    break;
                }
                at += want;
            }
            if (result == 0 && !writer.finish())
                result = kUnwritable;
        }
    }
    // A wave cut short would play as if it were the whole build.
    if (result != 0)
        fileops::removeFile(wavPath);
    return result;
}
