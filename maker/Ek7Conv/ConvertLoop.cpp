#include "maker/Ek7Conv/ConvertLoop.h"

#include <sndfile.h>

#include <new>
#include <vector>

#include "platform/Event.h"
#include "platform/FileOps.h"
#include "platform/WindowMessages.h"

namespace ek7conv {
namespace {

constexpr std::size_t kBlockFrames = 8192;

bool aborted(const _Ek7Conv& settings)
{
    if (settings.abortEvents.empty())
        return false;
    return WaitForMultipleObjects(settings.abortEvents, false, 0) != WAIT_TIMEOUT;
}

class SourceFile {
public:
    ~SourceFile()
    {
        if (m_file != nullptr)
            sf_close(m_file);
    }
    int open(const char* path)
    {
        if (!fileops::isRegularFile(path))
            return kEk7ConvOpenFailed;
        m_file = sf_open(path, SFM_READ, &m_info);
        if (m_file == nullptr)
            return sf_error(nullptr) == SF_ERR_UNRECOGNISED_FORMAT || sf_error(nullptr) == SF_ERR_MALFORMED_FILE
                       ? kEk7ConvInvalidFile
                       : kEk7ConvOpenFailed;
        if ((m_info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_WAV || m_info.channels < 1 || m_info.channels > 2 ||
            m_info.samplerate < 1000 || m_info.samplerate > 192000)
            return kEk7ConvInvalidFile;
        return 0;
    }
    SNDFILE* get() const { return m_file; }
    const SF_INFO& info() const { return m_info; }

private:
    SNDFILE* m_file = nullptr;
    SF_INFO m_info{};
};

int run(HWND progressWindow, const char* sourcePath, const char* targetPath, Encoder& encoder,
        const _Ek7Conv& settings)
{
    SourceFile source;
    const int opened = source.open(sourcePath);
    if (opened != 0)
        return opened;
    const SourceFormat format{source.info().samplerate, source.info().channels,
                              static_cast<std::int64_t>(source.info().frames)};
    const std::string part = std::string(targetPath) + ".part";
    int result = encoder.begin(format, part, settings);
    if (result != 0) {
        fileops::removeFile(part);
        return result;
    }
    std::vector<std::int16_t> block(kBlockFrames * static_cast<std::size_t>(format.channels));
    std::int64_t done = 0;
    int shown = -1;
    for (;;) {
        if (aborted(settings)) {
            result = kEk7ConvCancelled;
            break;
        }
        const sf_count_t got = sf_readf_short(source.get(), block.data(), static_cast<sf_count_t>(kBlockFrames));
        if (got <= 0) {
            if (sf_error(source.get()) != SF_ERR_NO_ERROR)
                result = kEk7ConvOpenFailed;
            break;
        }
        result = encoder.encode(block.data(), static_cast<std::size_t>(got));
        if (result != 0)
            break;
        done += got;
        const int percent = format.frames > 0 ? static_cast<int>(done * 100 / format.frames) : 100;
        if (progressWindow != 0 && percent != shown && percent <= 100) {
            shown = percent;
            PostMessage(progressWindow, kEk7ConvProgressMessage, static_cast<WPARAM>(percent), 0);
        }
    }
    const int ended = encoder.end(result != 0);
    if (result == 0)
        result = ended;
    if (result == 0 && fileops::renameFile(part, targetPath) != 0)
        result = kEk7ConvCreateFailed;
    if (result != 0)
        fileops::removeFile(part);
    return result;
}

}  // namespace

int convert(HWND progressWindow, const char* sourcePath, const char* targetPath, Encoder& encoder,
            const _Ek7Conv& settings)
{
    if (sourcePath == nullptr || targetPath == nullptr)
        return kEk7ConvOpenFailed;
    try {
        return run(progressWindow, sourcePath, targetPath, encoder, settings);
    } catch (const std::bad_alloc&) {
        return kEk7ConvInitFailed;
    }
}

}  // namespace ek7conv

int Ek7ConvMp3Kbps(int rate, int channels)
{
    return channels * (rate < 16000 ? 24 : rate < 32000 ? 48 : 64);
}

int Ek7ConvWmaKbps(int rate, int channels)
{
    return channels * (rate < 16000 ? 32 : rate < 32000 ? 48 : 64);
}
