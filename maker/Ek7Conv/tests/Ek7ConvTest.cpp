// Each converter on tones of the telephone and the CD recording qualities:
// the file decoded again by a decoder that is not Navo's (lame --decode,
// oggdec, ffmpeg; libsndfile's reader for WAV) has the recording's length
// within one frame of the format and its tone, and the tags read back with
// ffprobe. Abandoned jobs and bad sources leave nothing under the target.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "maker/Ek7Acm/tests/ToneWave.h"
#include "maker/Ek7Conv/Ek7Mp3Conv.h"
#include "maker/Ek7Conv/Ek7OggConv.h"
#include "maker/Ek7Conv/Ek7WavConv.h"
#include "maker/Ek7Conv/Ek7WmaConv.h"
#include "platform/Event.h"

namespace fs = std::filesystem;

namespace {

struct Format {
    const char* name;
    const char* extension;
    _Ek7Conv* (*init)();
    int (*convert)(HWND, const char*, const char*);
    // The decoder, given "in" and "out"; empty: the output is a wave already.
    const char* decoder;
    long frame;  // the largest frame at these rates, in samples
};

const Format kFormats[] = {
    {"MP3", "mp3", Ek7Mp3ConvInit, WavToMp3, "lame --quiet --decode %in %out", 1152},
    {"OGG", "ogg", Ek7OggConvInit, WavToOgg, "oggdec --quiet -o %out %in", 2048},
    {"WMA", "wma", Ek7WmaConvInit, WavToWma, "ffmpeg -nostdin -v error -y -i %in -c:a pcm_s16le %out", 2048},
    {"WAV", "wav", Ek7WavConvInit, WavToWav, "", 0},
};

std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    text.replace(text.find(what), what.size(), "'" + with + "'");
    return text;
}

// "key=value" lines of ffprobe's format tags, keys in lower case.
std::map<std::string, std::string> tagsOf(const std::string& path)
{
    std::map<std::string, std::string> tags;
    const std::string command =
        "ffprobe -v error -show_entries format_tags:stream_tags -of default=noprint_wrappers=1 '" + path + "'";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return tags;
    char line[512];
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
        std::string text(line);
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
            text.pop_back();
        const auto equals = text.find('=');
        if (text.rfind("TAG:", 0) != 0 || equals == std::string::npos)
            continue;
        std::string key = text.substr(4, equals - 4);
        for (char& c : key)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        tags[key] = text.substr(equals + 1);
    }
    pclose(pipe);
    return tags;
}

class Ek7ConvTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string path(const std::string& name) const { return dir.path().toStdString() + "/" + name; }
    void TearDown() override
    {
        for (const Format& f : kFormats)
            *f.init() = _Ek7Conv{};
    }
};

}  // namespace

TEST_F(Ek7ConvTest, EachFormatDecodesToTheRecordingsLengthToneAndTags)
{
    for (const tone::Format quality : {tone::kQualities[0], tone::kQualities[3], tone::kQualities[2]}) {
        const std::string source = path("tone.wav");
        const long ms = 1000;
        tone::write(source, quality, 440.0, ms);
        for (const Format& f : kFormats) {
            SCOPED_TRACE(std::string(f.name) + " at " + std::to_string(quality.rate) + " Hz, " +
                         std::to_string(quality.channels) + " ch");
            _Ek7Conv* settings = f.init();
            settings->title = "Budget meeting";
            settings->artist = "Anne Smith";
            settings->date = "2026-11-22";
            const std::string target = path(std::string("out.") + f.extension);
            ASSERT_EQ(f.convert(0, source.c_str(), target.c_str()), kEk7ConvOk);
            ASSERT_TRUE(fs::exists(target));
            EXPECT_FALSE(fs::exists(target + ".part"));

            std::string decoded = target;
            if (*f.decoder != '\0') {
                decoded = path("decoded.wav");
                const std::string command = replaced(replaced(f.decoder, "%in", target), "%out", decoded);
                ASSERT_EQ(std::system(command.c_str()), 0) << command;
            }
            const tone::Wave wave = tone::parse(tone::readAll(decoded));
            ASSERT_TRUE(wave.ok);
            EXPECT_EQ(wave.format.channels, quality.channels);
            const std::vector<double> left = tone::channel(wave.pcm, wave.format, 0);
            const long expected = ms * wave.format.rate / 1000;
            EXPECT_NEAR(static_cast<double>(left.size()), static_cast<double>(expected),
                        static_cast<double>(f.frame) * wave.format.rate / quality.rate);
            // The middle second, away from the codecs' edges.
            const auto third = left.size() / 4;
            EXPECT_NEAR(tone::peakFrequency(tone::slice(left, third, 3 * third), wave.format.rate, 400, 480), 440.0,
                        2.0);
            EXPECT_GT(tone::rms(tone::slice(left, third, 3 * third)), 0.25);

            const auto tags = tagsOf(target);
            EXPECT_EQ(tags.count("title") ? tags.at("title") : "", "Budget meeting");
            EXPECT_EQ(tags.count("artist") ? tags.at("artist") : "", "Anne Smith");
            // ID3v2.3 holds the year only.
            const std::string date = std::string(f.name) == "MP3" ? "2026" : "2026-11-22";
            const bool hasDate = (tags.count("date") && tags.at("date") == date) ||
                                 (tags.count("wm/year") && tags.at("wm/year") == date);
            EXPECT_TRUE(hasDate) << (tags.count("date") ? tags.at("date") : "no date");
            fs::remove(target);
        }
    }
}

TEST_F(Ek7ConvTest, AbandonedJobsAndBadInputLeaveNothingUnderTheTarget)
{
    const std::string source = path("tone.wav");
    tone::write(source, tone::kQualities[0], 440.0, 3000);
    std::ofstream(path("text.wav")) << "not a wave at all";
    Event abort(true, true);
    for (const Format& f : kFormats) {
        SCOPED_TRACE(f.name);
        const std::string target = path(std::string("out.") + f.extension);
        _Ek7Conv* settings = f.init();
        settings->abortEvents = {&abort};
        EXPECT_EQ(f.convert(0, source.c_str(), target.c_str()), kEk7ConvCancelled);
        settings->abortEvents.clear();
        EXPECT_EQ(f.convert(0, path("missing.wav").c_str(), target.c_str()), kEk7ConvOpenFailed);
        EXPECT_EQ(f.convert(0, path("text.wav").c_str(), target.c_str()), kEk7ConvInvalidFile);
        EXPECT_EQ(f.convert(0, source.c_str(), path("no/such/folder/out").c_str()), kEk7ConvCreateFailed);
        EXPECT_FALSE(fs::exists(target));
    }
    for (const auto& entry : fs::directory_iterator(dir.path().toStdString()))
        EXPECT_EQ(entry.path().filename().string().find("out"), std::string::npos) << entry.path();
}
