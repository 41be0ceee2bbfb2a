#include "maker/Ek7Tapi/wave/LineWave.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

std::uint32_t le32(const unsigned char* p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

std::uint16_t le16(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}

void put32(std::string& out, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

void put16(std::string& out, std::uint16_t v)
{
    out.push_back(static_cast<char>(v & 0xFF));
    out.push_back(static_cast<char>(v >> 8));
}

bool fail(std::string* error, const char* reason)
{
    if (error != nullptr)
        *error = reason;
    return false;
}

struct Format {
    int rate = 0;
    int channels = 0;
    int bits = 0;
    const unsigned char* data = nullptr;
    std::size_t dataSize = 0;
};

bool parse(const std::string& bytes, Format& format, std::string* error)
{
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t size = bytes.size();
    if (size < 12 || std::memcmp(p, "RIFF", 4) != 0 || std::memcmp(p + 8, "WAVE", 4) != 0)
        return fail(error, "not a RIFF WAVE file");
    bool haveFormat = false;
    std::size_t at = 12;
    while (at + 8 <= size) {
        const std::uint32_t chunkSize = le32(p + at + 4);
        const unsigned char* body = p + at + 8;
        const std::size_t available = size - at - 8;
        if (std::memcmp(p + at, "fmt ", 4) == 0) {
            if (chunkSize < 16 || available < 16)
                return fail(error, "short fmt chunk");
            if (le16(body) != 1)
                return fail(error, "not PCM");
            format.channels = le16(body + 2);
            format.rate = static_cast<int>(le32(body + 4));
            format.bits = le16(body + 14);
            haveFormat = true;
        } else if (std::memcmp(p + at, "data", 4) == 0) {
            if (!haveFormat)
                return fail(error, "data before fmt");
            format.data = body;
            // A header left unfinished (0 or too large) means "to the end".
            format.dataSize = chunkSize == 0 || chunkSize > available ? available : chunkSize;
            break;
        }
        at += 8 + static_cast<std::size_t>(chunkSize) + (chunkSize & 1);
    }
    if (!haveFormat || format.data == nullptr)
        return fail(error, "no fmt or data chunk");
    if ((format.bits != 8 && format.bits != 16) || format.channels < 1 || format.channels > 2 || format.rate < 1000 ||
        format.rate > 192000)
        return fail(error, "unsupported PCM format");
    return true;
}

}  // namespace

bool LineWave::readBytes(const std::string& bytes, LineSamples& samples, std::string* error)
{
    Format format;
    if (!parse(bytes, format, error))
        return false;
    const std::size_t bytesPerFrame = static_cast<std::size_t>(format.channels * format.bits / 8);
    const std::size_t frames = format.dataSize / bytesPerFrame;
    LineSamples mono(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const unsigned char* frame = format.data + i * bytesPerFrame;
        int sum = 0;
        for (int c = 0; c < format.channels; ++c) {
            if (format.bits == 16)
                sum += static_cast<std::int16_t>(le16(frame + 2 * c));
            else
                sum += (static_cast<int>(frame[c]) - 128) * 256;  // a shift of a negative value is undefined
        }
        mono[i] = static_cast<std::int16_t>(sum / format.channels);
    }
    samples = format.rate == kRate ? std::move(mono) : resample(mono, format.rate, kRate);
    return true;
}

bool LineWave::readFile(const std::string& path, LineSamples& samples, std::string* error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return fail(error, "cannot open the file");
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return readBytes(bytes, samples, error);
}

bool LineWave::probe(const std::string& path, int& rate, int& channels, int& bits)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Format format;
    if (!parse(bytes, format, nullptr))
        return false;
    rate = format.rate;
    channels = format.channels;
    bits = format.bits;
    return true;
}

bool LineWave::writeFile(const std::string& path, const LineSamples& samples, bool withFact)
{
    const auto dataSize = static_cast<std::uint32_t>(samples.size() * 2);
    std::string out;
    out.reserve(dataSize + 58);
    out += "RIFF";
    put32(out, dataSize + (withFact ? 50u : 36u));
    out += "WAVEfmt ";
    put32(out, withFact ? 18 : 16);
    put16(out, 1);                 // PCM
    put16(out, 1);                 // mono
    put32(out, kRate);
    put32(out, kRate * 2);         // bytes per second
    put16(out, 2);                 // block align
    put16(out, 16);                // bits
    if (withFact) {
        put16(out, 0);             // no extra format bytes
        out += "fact";
        put32(out, 4);
        put32(out, 0);             // extra size / bytes per second * rate: always 0 for PCM
    }
    out += "data";
    put32(out, dataSize);
    for (std::int16_t s : samples)
        put16(out, static_cast<std::uint16_t>(s));
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file)
        return false;
    file.write(out.data(), static_cast<std::streamsize>(out.size()));
    file.close();
    return !file.fail();
}

LineSamples LineWave::resample(const LineSamples& in, int fromRate, int toRate)
{
    if (in.empty() || fromRate == toRate || fromRate <= 0 || toRate <= 0)
        return in;
    const auto outCount = static_cast<std::size_t>(static_cast<double>(in.size()) * toRate / fromRate);
    LineSamples out(outCount);
    const double step = static_cast<double>(fromRate) / toRate;
    for (std::size_t i = 0; i < outCount; ++i) {
        const double position = static_cast<double>(i) * step;
        const auto left = static_cast<std::size_t>(position);
        const std::size_t right = std::min(left + 1, in.size() - 1);
        const double fraction = position - static_cast<double>(left);
        out[i] = static_cast<std::int16_t>(in[left] + (in[right] - in[left]) * fraction);
    }
    return out;
}
