// The Compressor over real record files: the sound taken out, converted by
// Ek7Acm, compressed by Ek7WavComp on the worker thread, and put back; the
// result decoded again and measured. Stop between files, a bad record, and
// the dialog's own texts and bars.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <functional>
#include <filesystem>
#include <fstream>

#include "AudioTestSupport.h"
#include "audio/CompressorDialog.h"
#include "audio/CompressorRun.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/VXSAVE/ZipArchive.h"
#include "platform/audio/WaveFormats.h"
#include "platform/WindowMessages.h"
#include "res/resource.h"

namespace fs = std::filesystem;
using audiotest::MessageWindow;
using vxsave::ZipArchive;

namespace {

constexpr int kSourceRate = 22050;
constexpr int kMs = 1500;
constexpr double kTone = 440.0;

class CompressorTest : public ::testing::Test {
protected:
    audiotest::TempFolder dir;
    std::string work = dir.file("work");

    void SetUp() override { fs::create_directories(work); }

    // A record file holding a stereo tone wave, its line and its info.
    std::string record(const std::string& name, const std::vector<char>* waveBytes = nullptr)
    {
        const std::string base = name;
        const std::string wave = dir.file(base + ".wav");
        if (waveBytes != nullptr) {
            std::ofstream(wave, std::ios::binary).write(waveBytes->data(), std::streamsize(waveBytes->size()));
        } else {
            WAVEFORMATEX format = waveFormatForQuality(3);  // stereo 16-bit, at 22050 Hz
            format.nSamplesPerSec = kSourceRate;
            format.nAvgBytesPerSec = kSourceRate * 4;
            audiotest::writeWav(wave, format, audiotest::samples16(audiotest::sine(kTone, kMs, kSourceRate, 2)));
        }
        std::ofstream(dir.file(base + ".vxl")) << "00000001 0 line\n";
        const std::string path = dir.file(base + ".vxz");
        ZipArchive zip;
        EXPECT_EQ(zip.open(path, ZipArchive::Mode::Create), kVxOk);
        EXPECT_EQ(zip.putFile(base + ".wav", wave), kVxOk);
        EXPECT_EQ(zip.putFile(base + ".vxl", dir.file(base + ".vxl")), kVxOk);
        EXPECT_EQ(zip.close(), kVxOk);
        fs::remove(wave);
        fs::remove(dir.file(base + ".vxl"));
        return path;
    }

    static std::vector<std::string> members(const std::string& recordFile)
    {
        std::vector<std::string> names;
        EXPECT_EQ(VXlistMembers(recordFile.c_str(), &names), kVxOk);
        return names;
    }

    // The compressed sound of a record file, decoded: rate, channels, samples.
    struct Decoded {
        int rate = 0;
        int channels = 0;
        std::vector<std::int16_t> samples;
    };
    // Whether the record's sound member holds a compressed sound.
    bool compressed(const std::string& recordFile, const std::string& base)
    {
        const std::string out = dir.file("probe");
        fs::create_directories(out);
        EXPECT_EQ(ExtractFile(recordFile.c_str(), (base + ".wav").c_str(), out.c_str()), kVxOk);
        const bool is = Ek7WavIsComp((out + "/" + base + ".wav").c_str());
        fs::remove_all(out);
        return is;
    }

    Decoded decode(const std::string& recordFile, const std::string& base)
    {
        const std::string out = dir.file("decoded");
        fs::create_directories(out);
        EXPECT_EQ(ExtractFile(recordFile.c_str(), (base + ".wav").c_str(), out.c_str()), kVxOk);
        const std::string wave = out + "/" + base + ".decoded.wav";
        EXPECT_EQ(Ek7WavDeComp(0, (out + "/" + base + ".wav").c_str(), wave.c_str()), kEk7WavCompFinished);
        const std::vector<char> bytes = audiotest::readFile(wave);
        Decoded d;
        for (const audiotest::Chunk& c : audiotest::riffChunks(bytes)) {
            if (c.id == "fmt ") {
                d.channels = static_cast<unsigned char>(bytes[c.offset + 2]);
                d.rate = static_cast<unsigned char>(bytes[c.offset + 4]) | static_cast<unsigned char>(bytes[c.offset + 5]) << 8;
            }
        }
        d.samples = audiotest::toSamples16(audiotest::waveData(bytes));
        return d;
    }

    // Hands the run's messages back to it, as the dialog does, each then
    // shown to seen, until the run is in state until.
    static bool pump(CompressorRun& run, MessageWindow& window, CompressorRun::State until,
                     const std::function<void(const MessageWindow::Message&)>& seen)
    {
        return audiotest::pumpUntil([&] {
            while (!window.messages.empty()) {
                const MessageWindow::Message m = window.messages.front();
                window.messages.erase(window.messages.begin());
                EXPECT_TRUE(run.handle(m.message, m.wParam, m.lParam));
                seen(m);
            }
            return run.state() == until;
        }, 20000);
    }

    // Files other than the record files left in the folder or the work folder.
    std::vector<std::string> strayFiles() const
    {
        std::vector<std::string> stray;
        for (const auto& entry : fs::recursive_directory_iterator(dir.path())) {
            if (entry.is_regular_file() && entry.path().extension() != ".vxz")
                stray.push_back(entry.path().string());
        }
        return stray;
    }
};

}  // namespace

TEST_F(CompressorTest, ConvertThenCompressPutsTheVoiceQualityToneBackAsOpusOfTheSameLength)
{
    const std::string file = record("rec1");
    MessageWindow window;
    std::vector<std::string> errors;
    CompressorRun::Options options;
    options.convert = true;
    options.compress = true;
    CompressorRun run(window.handle(), {file}, options, work, [&](const std::string& e) { errors.push_back(e); }, 0);
    run.start();
    EXPECT_EQ(run.progressText(), "Converting file 1 of 1");
    std::vector<std::string> texts;
    ASSERT_TRUE(pump(run, window, CompressorRun::State::Closed, [&](const MessageWindow::Message& m) {
        texts.push_back(std::to_string(m.message - WM_USER) + ":" + std::to_string(m.wParam) + ":" +
                        std::to_string(m.lParam) + " " + run.progressText() + " " +
                        std::to_string(run.filePercent()) + "/" + std::to_string(run.overallPercent()));
    }));
    EXPECT_EQ(texts, (std::vector<std::string>{"201:2:0 Converting file 1 of 1 0/0",
                                               "201:3:0 Compressing file 1 of 1 50/0",
                                               "203:0:5 Compressing file 1 of 1 100/100",
                                               "204:0:0 Compressing file 1 of 1 100/100"}));
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(run.results(), std::vector<int>{kEk7WavCompFinished});

    // The sound member now holds the compressed form; the line stayed.
    EXPECT_EQ(members(file), (std::vector<std::string>{"rec1.vxl", "rec1.wav"}));
    EXPECT_TRUE(compressed(file, "rec1"));
    // Compressed from "ek7acm.wav" (Navo Voice: 8000 Hz mono), not from the
    // 22050 Hz stereo source: the tone and the length within one frame.
    const Decoded d = decode(file, "rec1");
    EXPECT_EQ(d.rate, 8000);
    EXPECT_EQ(d.channels, 1);
    EXPECT_NEAR(double(d.samples.size()) / d.rate, kMs / 1000.0, 0.020);
    EXPECT_NEAR(audiotest::peakFrequency(d.samples, d.rate, 200, 2000, 5), kTone, 5);
    // Nothing is left in the work folder.
    fs::remove_all(dir.file("decoded"));
    EXPECT_EQ(strayFiles(), std::vector<std::string>{});
}

TEST_F(CompressorTest, StopFinishesTheFileUnderWayLeavesTheRestWholeAndReStartGoesOn)
{
    std::vector<std::string> files{record("a"), record("b"), record("c")};
    const std::vector<char> broken{'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E'};
    files.insert(files.begin() + 1, record("bad", &broken));
    MessageWindow window;
    std::vector<std::string> errors;
    CompressorRun::Options options;
    options.compress = true;
    CompressorRun run(window.handle(), files, options, work, [&](const std::string& e) { errors.push_back(e); }, 0);
    run.start();
    // Stop as soon as the first file is being compressed.
    bool stopped = false;
    const auto stopAtFirstStage = [&](const MessageWindow::Message& m) {
        if (!stopped && m.message == RecordingCompressor::kMsgStage) {
            run.stop();
            stopped = true;
        }
    };
    ASSERT_TRUE(pump(run, window, CompressorRun::State::Stopped, stopAtFirstStage));
    // The file under way was finished; the others were not touched, and no
    // half-made file is anywhere.
    EXPECT_EQ(run.filesDone(), 1);
    EXPECT_TRUE(compressed(files[0], "a"));
    EXPECT_EQ(members(files[1]), (std::vector<std::string>{"bad.vxl", "bad.wav"}));
    EXPECT_FALSE(compressed(files[2], "b"));
    EXPECT_FALSE(compressed(files[3], "c"));
    EXPECT_EQ(strayFiles(), std::vector<std::string>{});

    // Re-Start: the bad record is reported and left as it was, the rest go in.
    run.restart();
    ASSERT_TRUE(pump(run, window, CompressorRun::State::Closed, stopAtFirstStage));
    EXPECT_EQ(run.results(), (std::vector<int>{5, kEk7WavCompInvalidFile, 5, 5}));
    EXPECT_EQ(errors, std::vector<std::string>{"Invalid Telvarine recording file"});
    EXPECT_EQ(members(files[1]), (std::vector<std::string>{"bad.vxl", "bad.wav"}));
    EXPECT_TRUE(compressed(files[3], "c"));
    EXPECT_FALSE(run.cancelled());
    EXPECT_EQ(strayFiles(), std::vector<std::string>{});
}

TEST_F(CompressorTest, DialogShowsItsProgressClosesItselfAndCancelEndsAfterTheFileUnderWay)
{
    const std::string one = record("one");
    const std::string two = record("two");
    CompressorRun::Options options;
    options.compress = true;
    {
        CompressorDialog dialog({one, two}, options, work, nullptr, 0);
        dialog.show();
        auto* text = dialog.findChild<QLabel*>(QString::number(IDC_COMPRESSOR_TEXT));
        auto* total = dialog.findChild<QProgressBar*>(QString::number(IDC_COMPRESSOR_TOTAL_PROGRESS));
        ASSERT_NE(text, nullptr);
        ASSERT_NE(total, nullptr);
        EXPECT_EQ(text->text(), "Compressing file 1 of 2");
        ASSERT_TRUE(audiotest::pumpUntil([&] { return !dialog.isVisible(); }, 20000));
        EXPECT_EQ(dialog.result(), IDOK);
        EXPECT_EQ(text->text(), "Compressing file 2 of 2");
        EXPECT_EQ(total->value(), 100);
    }
    const std::string three = record("three");
    const std::string four = record("four");
    CompressorDialog dialog({three, four}, options, work, nullptr, 0);
    dialog.show();
    auto* cancel = dialog.findChild<QPushButton*>("cancelButton");
    auto* restart = dialog.findChild<QPushButton*>(QString::number(IDC_COMPRESSOR_RESTART));
    EXPECT_FALSE(restart->isEnabled());
    cancel->click();
    EXPECT_FALSE(cancel->isEnabled());
    ASSERT_TRUE(audiotest::pumpUntil([&] { return !dialog.isVisible(); }, 20000));
    EXPECT_EQ(dialog.result(), IDCANCEL);
    EXPECT_EQ(dialog.compressorRun().results(), std::vector<int>{5});
    EXPECT_EQ(members(four), (std::vector<std::string>{"four.vxl", "four.wav"}));
}

TEST(CompressorWaitTest, AFailedWaitEndsTheProcessAtOnceWithExitCodeZero)
{
    // Only a list the worker never builds can fail.
    EXPECT_EXIT(RecordingCompressor::waitForAny({nullptr}), ::testing::ExitedWithCode(0), "");
    Event a;
    Event b;
    Event c;
    c.set();
    EXPECT_EQ(RecordingCompressor::waitForAny({&a, &b, &c}), 2);
}
