// Tones of the recording qualities through the compressor and back: the
// compressed file is a small fraction of the wave, and the wave made of it
// has the recording's rate and channels, its length within one Opus frame and
// its tone. Bad sources and unwritable targets give their codes and leave
// nothing under the target name.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "maker/Ek7WavComp/Ek7WavComp.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

std::string readAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void put(std::string& s, std::uint32_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        s += static_cast<char>((v >> (8 * i)) & 0xFF);
}

// A tone of hz at rate, seconds long, bits 8 or 16, in every channel.
std::string tone(std::uint32_t rate, int channels, int bits, double hz, double seconds)
{
    const auto frames = static_cast<std::uint32_t>(rate * seconds);
    const std::uint32_t dataBytes = frames * static_cast<std::uint32_t>(channels * bits / 8);
    std::string w = "RIFF";
    put(w, 36 + dataBytes, 4);
    w += "WAVEfmt ";
    put(w, 16, 4);
    put(w, 1, 2);
    put(w, static_cast<std::uint32_t>(channels), 2);
    put(w, rate, 4);
    put(w, rate * static_cast<std::uint32_t>(channels * bits / 8), 4);
    put(w, static_cast<std::uint32_t>(channels * bits / 8), 2);
    put(w, static_cast<std::uint32_t>(bits), 2);
    w += "data";
    put(w, dataBytes, 4);
    for (std::uint32_t i = 0; i < frames; ++i) {
        const double value = 0.5 * std::sin(2 * kPi * hz * i / rate);
        for (int c = 0; c < channels; ++c) {
            if (bits == 16)
                put(w, static_cast<std::uint16_t>(static_cast<std::int16_t>(value * 32767)), 2);
            else
                put(w, static_cast<std::uint32_t>(128 + value * 127), 1);
        }
    }
    return w;
}

struct Decoded {
    std::uint32_t rate = 0;
    int channels = 0;
    std::vector<double> first;  // the first channel
};

Decoded parse16(const std::string& bytes)
{
    Decoded d;
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t at = 12;
    while (at + 8 <= bytes.size()) {
        const std::uint32_t size = p[at + 4] | (p[at + 5] << 8) | (p[at + 6] << 16) | (p[at + 7] << 24);
        if (bytes.compare(at, 4, "fmt ") == 0) {
            d.channels = p[at + 10] | (p[at + 11] << 8);
            d.rate = p[at + 12] | (p[at + 13] << 8) | (p[at + 14] << 16) | (p[at + 15] << 24);
            EXPECT_EQ(p[at + 22] | (p[at + 23] << 8), 16);
        } else if (bytes.compare(at, 4, "data") == 0) {
            for (std::size_t i = at + 8; i + 1 < at + 8 + size; i += 2 * static_cast<std::size_t>(d.channels))
                d.first.push_back(static_cast<std::int16_t>(p[i] | (p[i + 1] << 8)) / 32768.0);
            break;
        }
        at += 8 + size + (size & 1);
    }
    return d;
}

// The tone's frequency from its rising zero crossings, leaving out the
// codec's first and last frames.
double frequency(const std::vector<double>& s, std::uint32_t rate)
{
    const std::size_t margin = rate / 20;
    int crossings = 0;
    std::size_t firstAt = 0, lastAt = 0;
    for (std::size_t i = margin + 1; i + margin < s.size(); ++i)
        if (s[i - 1] < 0 && s[i] >= 0) {
            if (crossings == 0)
                firstAt = i;
            lastAt = i;
            ++crossings;
        }
    return crossings < 2 ? 0 : (crossings - 1) * static_cast<double>(rate) / static_cast<double>(lastAt - firstAt);
}

class Ek7WavCompTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string path(const std::string& name) const { return dir.path().toStdString() + "/" + name; }
    void write(const std::string& name, const std::string& bytes)
    {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
};

}  // namespace

TEST_F(Ek7WavCompTest, EachRecordingQualityComesBackWithItsRateLengthAndTone)
{
    struct Quality {
        std::uint32_t rate;
        int channels;
        int bits;
    };
    // The four recording qualities.
    for (const Quality q : {Quality{8000, 1, 16}, Quality{8000, 2, 16}, Quality{22050, 1, 8}, Quality{44100, 2, 16}}) {
        SCOPED_TRACE(std::to_string(q.rate) + " Hz, " + std::to_string(q.channels) + " ch, " +
                     std::to_string(q.bits) + " bit");
        const double seconds = 2.0;
        const std::string source = tone(q.rate, q.channels, q.bits, 440.0, seconds);
        write("in.wav", source);
        ASSERT_EQ(Ek7WavCompInit(), 0);
        ASSERT_EQ(Ek7WavComp(0, path("in.wav").c_str(), path("in.opus").c_str()), kEk7WavCompFinished);
        const std::string compressed = readAll(path("in.opus"));
        EXPECT_EQ(compressed.compare(0, 4, "OggS"), 0);
        // 16 kbit/s a channel: about 4 KB a second for each channel.
        EXPECT_LT(compressed.size(), static_cast<std::size_t>(seconds * 2200 * q.channels + 2000));
        EXPECT_LT(compressed.size() * 4, source.size());

        ASSERT_EQ(Ek7WavDeComp(0, path("in.opus").c_str(), path("out.wav").c_str()), kEk7WavCompFinished);
        const Decoded out = parse16(readAll(path("out.wav")));
        EXPECT_EQ(out.rate, q.rate);
        EXPECT_EQ(out.channels, q.channels);
        const double frames = seconds * q.rate;
        EXPECT_NEAR(static_cast<double>(out.first.size()), frames, q.rate * 0.02);  // one 20 ms frame
        EXPECT_NEAR(frequency(out.first, q.rate), 440.0, 3.0);
        EXPECT_FALSE(std::filesystem::exists(path("out.wav.part")));
    }
}

TEST_F(Ek7WavCompTest, BadSourcesAndTargetsGiveTheirCodesAndLeaveNoFile)
{
    EXPECT_EQ(Ek7WavComp(0, path("missing.wav").c_str(), path("a.opus").c_str()), kEk7WavCompOpenFailed);
    write("text.wav", "not a wave at all");
    EXPECT_EQ(Ek7WavComp(0, path("text.wav").c_str(), path("a.opus").c_str()), kEk7WavCompInvalidFile);
    // A wave that is not PCM (format 3, float).
    std::string fl = tone(8000, 1, 16, 440, 0.1);
    fl[20] = 3;
    write("float.wav", fl);
    EXPECT_EQ(Ek7WavComp(0, path("float.wav").c_str(), path("a.opus").c_str()), kEk7WavCompInvalidFile);
    write("good.wav", tone(8000, 1, 16, 440, 0.5));
    EXPECT_EQ(Ek7WavComp(0, path("good.wav").c_str(), path("no/such/folder/a.opus").c_str()),
              kEk7WavCompCreateFailed);
    EXPECT_FALSE(std::filesystem::exists(path("a.opus")));

    EXPECT_EQ(Ek7WavDeComp(0, path("missing.opus").c_str(), path("b.wav").c_str()), kEk7WavCompOpenFailed);
    EXPECT_EQ(Ek7WavDeComp(0, path("good.wav").c_str(), path("b.wav").c_str()), kEk7WavCompInvalidFile);
    ASSERT_EQ(Ek7WavComp(0, path("good.wav").c_str(), path("good.opus").c_str()), kEk7WavCompFinished);
    EXPECT_EQ(Ek7WavDeComp(0, path("good.opus").c_str(), path("no/such/folder/b.wav").c_str()),
              kEk7WavCompCreateFailed);
    EXPECT_FALSE(std::filesystem::exists(path("b.wav")));
    // The leftovers of either side.
    for (const auto& entry : std::filesystem::directory_iterator(dir.path().toStdString()))
        EXPECT_EQ(entry.path().string().find(".part"), std::string::npos) << entry.path();
}
