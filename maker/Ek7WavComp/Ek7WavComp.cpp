#include "maker/Ek7WavComp/Ek7WavComp.h"

#include <opus/opusenc.h>
#include <opus/opusfile.h>
#include <soxr.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "platform/FileOps.h"
#include "platform/WindowMessages.h"

namespace {

constexpr std::uint32_t kOpusRate = 48000;  // what Opus decodes to
constexpr std::size_t kBlockFrames = 4096;

struct Wave {
    int channels = 0;
    std::uint32_t rate = 0;
    std::vector<std::int16_t> samples;  // interleaved
};

std::uint32_t le32(const unsigned char* p)
{
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

std::uint16_t le16(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

// A RIFF WAVE of 8- or 16-bit PCM with one or two channels.
int readWave(const char* path, Wave* wave)
{
    std::string bytes;
    if (fileops::readWholeFile(path, &bytes) != 0)
        return kEk7WavCompOpenFailed;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    if (bytes.size() < 12 || std::memcmp(data, "RIFF", 4) != 0 || std::memcmp(data + 8, "WAVE", 4) != 0)
        return kEk7WavCompInvalidFile;
    int bits = 0;
    bool haveFormat = false;
    std::size_t at = 12;
    while (at + 8 <= bytes.size()) {
        const std::uint32_t size = le32(data + at + 4);
        const std::size_t body = at + 8;
        if (std::memcmp(data + at, "fmt ", 4) == 0) {
            if (size < 16 || body + 16 > bytes.size() || le16(data + body) != 1)
                return kEk7WavCompInvalidFile;
            wave->channels = le16(data + body + 2);
            wave->rate = le32(data + body + 4);
            bits = le16(data + body + 14);
            haveFormat = true;
        } else if (std::memcmp(data + at, "data", 4) == 0) {
            if (!haveFormat || (bits != 8 && bits != 16) || wave->channels < 1 || wave->channels > 2 ||
                wave->rate < 1000 || wave->rate > 192000)
                return kEk7WavCompInvalidFile;
            // A data chunk cut short (a recording that was not closed) still
            // holds the samples that are there.
            const std::size_t length = std::min<std::size_t>(size, bytes.size() - body);
            const std::size_t bytesPerFrame = static_cast<std::size_t>(wave->channels) * (bits / 8);
            const std::size_t frames = length / bytesPerFrame;
            wave->samples.resize(frames * static_cast<std::size_t>(wave->channels));
            for (std::size_t i = 0; i < wave->samples.size(); ++i)
                wave->samples[i] = bits == 16 ? static_cast<std::int16_t>(le16(data + body + 2 * i))
                                              : static_cast<std::int16_t>((data[body + i] - 128) << 8);
            return 0;
        }
        at = body + size + (size & 1);
    }
    return kEk7WavCompInvalidFile;
}

void put16(std::string& s, std::uint16_t v)
{
    s += static_cast<char>(v & 0xFF);
    s += static_cast<char>(v >> 8);
}

void put32(std::string& s, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        s += static_cast<char>((v >> (8 * i)) & 0xFF);
}

// 16-bit PCM with the "fact" chunk Navo's waves carry.
std::string waveBytes(const Wave& wave)
{
    const auto frames = static_cast<std::uint32_t>(wave.samples.size() / static_cast<std::size_t>(wave.channels));
    const auto dataBytes = static_cast<std::uint32_t>(wave.samples.size() * 2);
    const auto blockAlign = static_cast<std::uint16_t>(wave.channels * 2);
    std::string out = "RIFF";
    put32(out, 4 + 24 + 12 + 8 + dataBytes);
    out += "WAVEfmt ";
    put32(out, 16);
    put16(out, 1);
    put16(out, static_cast<std::uint16_t>(wave.channels));
    put32(out, wave.rate);
    put32(out, wave.rate * blockAlign);
    put16(out, blockAlign);
    put16(out, 16);
    out += "fact";
    put32(out, 4);
    put32(out, frames);
    out += "data";
    put32(out, dataBytes);
    out.reserve(out.size() + dataBytes);
    for (std::int16_t sample : wave.samples)
        put16(out, static_cast<std::uint16_t>(sample));
    return out;
}

// The file beside the target that becomes the target when complete.
std::string partPath(const char* targetPath)
{
    return std::string(targetPath) + ".part";
}

int compress(const char* sourcePath, const char* targetPath)
{
    Wave wave;
    const int read = readWave(sourcePath, &wave);
    if (read != 0)
        return read;
    const std::string part = partPath(targetPath);
    OggOpusComments* comments = ope_comments_create();
    if (comments == nullptr)
        return kEk7WavCompInitFailed;
    ope_comments_add(comments, "ENCODER", "Navo Ek7WavComp");
    int error = OPE_OK;
    OggOpusEnc* encoder = ope_encoder_create_file(part.c_str(), comments, static_cast<opus_int32>(wave.rate),
                                                  wave.channels, 0, &error);
    ope_comments_destroy(comments);
    if (encoder == nullptr)
        return error == OPE_CANNOT_OPEN ? kEk7WavCompCreateFailed : kEk7WavCompInitFailed;
    int result = kEk7WavCompFinished;
    if (ope_encoder_ctl(encoder, OPUS_SET_BITRATE(kEk7WavCompBitsPerChannel * wave.channels)) != OPE_OK ||
        ope_encoder_ctl(encoder, OPUS_SET_SIGNAL(OPUS_SIGNAL_VOICE)) != OPE_OK)
        result = kEk7WavCompInitFailed;
    const std::size_t frames = wave.samples.size() / static_cast<std::size_t>(wave.channels);
    for (std::size_t done = 0; result == kEk7WavCompFinished && done < frames; done += kBlockFrames) {
        const std::size_t count = std::min(kBlockFrames, frames - done);
        if (ope_encoder_write(encoder, wave.samples.data() + done * static_cast<std::size_t>(wave.channels),
                              static_cast<int>(count)) != OPE_OK)
            result = kEk7WavCompCreateFailed;
    }
    if (result == kEk7WavCompFinished && ope_encoder_drain(encoder) != OPE_OK)
        result = kEk7WavCompCreateFailed;
    ope_encoder_destroy(encoder);
    if (result == kEk7WavCompFinished && fileops::renameFile(part, targetPath) != 0)
        result = kEk7WavCompCreateFailed;
    if (result != kEk7WavCompFinished)
        fileops::removeFile(part);
    return result;
}

int decompress(const char* sourcePath, const char* targetPath)
{
    if (!fileops::isRegularFile(sourcePath))
        return kEk7WavCompOpenFailed;
    int error = 0;
    OggOpusFile* file = op_open_file(sourcePath, &error);
    if (file == nullptr)
        return error == OP_EFAULT ? kEk7WavCompOpenFailed : kEk7WavCompInvalidFile;
    const OpusHead* head = op_head(file, -1);
    const int channels = head->channel_count;
    const std::uint32_t rate = head->input_sample_rate != 0 ? head->input_sample_rate : kOpusRate;
    if (channels < 1 || channels > 2) {
        op_free(file);
        return kEk7WavCompInvalidFile;
    }
    std::vector<std::int16_t> decoded;
    std::vector<opus_int16> block(kBlockFrames * 2);
    int result = kEk7WavCompFinished;
    for (;;) {
        const int got = op_read(file, block.data(), static_cast<int>(block.size()), nullptr);
        if (got == 0)
            break;
        if (got < 0) {
            result = kEk7WavCompInvalidFile;
            break;
        }
        decoded.insert(decoded.end(), block.begin(), block.begin() + got * channels);
    }
    op_free(file);
    if (result != kEk7WavCompFinished)
        return result;

    Wave wave;
    wave.channels = channels;
    wave.rate = rate;
    if (rate == kOpusRate) {
        wave.samples = std::move(decoded);
    } else {
        const std::size_t inFrames = decoded.size() / static_cast<std::size_t>(channels);
        const auto outFrames = static_cast<std::size_t>(static_cast<double>(inFrames) * rate / kOpusRate + 0.5);
        wave.samples.resize(outFrames * static_cast<std::size_t>(channels));
        const soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
        std::size_t used = 0;
        std::size_t made = 0;
        if (soxr_oneshot(kOpusRate, rate, static_cast<unsigned>(channels), decoded.data(), inFrames, &used,
                         wave.samples.data(), outFrames, &made, &io, &quality, nullptr) != nullptr)
            return kEk7WavCompInitFailed;
        wave.samples.resize(made * static_cast<std::size_t>(channels));
    }
    const std::string bytes = waveBytes(wave);
    const std::string part = partPath(targetPath);
    if (fileops::writeWholeFile(part, bytes.data(), bytes.size()) != 0 || fileops::renameFile(part, targetPath) != 0) {
        fileops::removeFile(part);
        return kEk7WavCompCreateFailed;
    }
    return kEk7WavCompFinished;
}

template <typename Job>
int report(HWND progressWindow, Job job)
{
    int result = kEk7WavCompInitFailed;
    try {
        result = job();
    } catch (const std::bad_alloc&) {
        result = kEk7WavCompInitFailed;
    }
    if (progressWindow != 0)
        PostMessage(progressWindow, kEk7WavCompResultMessage, 0, result);
    return result;
}

}  // namespace

int Ek7WavCompInit()
{
    return 0;
}

int Ek7WavComp(HWND progressWindow, const char* sourcePath, const char* targetPath)
{
    if (sourcePath == nullptr || targetPath == nullptr)
        return report(progressWindow, [] { return kEk7WavCompOpenFailed; });
    return report(progressWindow, [&] { return compress(sourcePath, targetPath); });
}

int Ek7WavDeComp(HWND progressWindow, const char* sourcePath, const char* targetPath)
{
    if (sourcePath == nullptr || targetPath == nullptr)
        return report(progressWindow, [] { return kEk7WavCompOpenFailed; });
    return report(progressWindow, [&] { return decompress(sourcePath, targetPath); });
}

bool Ek7WavIsComp(const char* path)
{
    if (path == nullptr)
        return false;
    const fileops::UniqueFd fd(fileops::openFile(path, fileops::Access::Read));
    if (!fd.valid())
        return false;
    // "OggS" opens every page; the first packet of an Opus stream is
    // "OpusHead", at byte 28 of a first page with one segment.
    char head[36] = {};
    std::size_t got = 0;
    const bool read = fileops::readUpTo(fd.get(), head, sizeof head, &got) == 0;
    return read && got == sizeof head && std::memcmp(head, "OggS", 4) == 0 && std::memcmp(head + 28, "OpusHead", 8) == 0;
}
