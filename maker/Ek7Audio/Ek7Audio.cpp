#include "maker/Ek7Audio/Ek7Audio.h"

#include "platform/audio/WavFileReader.h"
#include "platform/audio/WavFileWriter.h"

#include <algorithm>
#include <vector>

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
