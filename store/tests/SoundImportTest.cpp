// Sound and video files made here from a tone by the command-line encoders,
// imported as records and heard back: frequency, length, format, subject and
// date; a damaged file is refused by name and changes nothing.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ScriptedPrompt.h"
#include "StoreFixture.h"
#include "ToneWave.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/SoundImport.h"

class SoundImportTest : public OpenStoreFixture {
protected:
    std::string path(const std::string& name) const { return root() + "/" + name; }

    void run(const std::string& command)
    {
        ASSERT_EQ(std::system((command + " >/dev/null 2>&1").c_str()), 0) << command;
    }

    // A record's line and its members, read back from the store.
    struct Stored {
        std::string line;
        tone::Wave wave;
        std::map<std::string, std::string> members;  // by extension
    };
    Stored stored(long recId)
    {
        Stored result;
        result.members = storedRecord(recId).members;
        result.line = result.members[".vxl"];
        result.wave = tone::parse(result.members[".wav"]);
        return result;
    }

    static double lengthMs(const tone::Wave& wave)
    {
        const int frame = wave.format.channels * wave.format.bits / 8;
        return frame == 0 ? 0 : 1000.0 * static_cast<double>(wave.pcm.size() / static_cast<std::size_t>(frame))
                                    / wave.format.rate;
    }
};

TEST_F(SoundImportTest, Mp3WmaAndOggBecomeRecordsThatSoundLikeTheirSource)
{
    tone::write(path("tone.wav"), {44100, 2, 16}, 440, 2000);
    run("lame --quiet -b 96 --tt 'Harbour tone' --ty 2024 " + path("tone.wav") + " " + path("tone.mp3"));
    run("ffmpeg -v error -y -i " + path("tone.wav") + " -c:a wmav2 -b:a 96k -metadata title='Tone in WMA' "
        + path("tone.wma"));
    run("ffmpeg -v error -y -i " + path("tone.wav") + " -c:a libvorbis -q:a 4 '" + path("plain tone.ogg") + "'");
    app.RecordingQuality = 0;

    RecordImport records(app);
    const ImportReport report = SoundImport(app, records)
                                    .importFiles({path("tone.mp3"), path("tone.wma"), path("plain tone.ogg")},
                                                 kListMeeting);
    ASSERT_EQ(report.imported, 3) << report.summary();
    const char* subjects[] = {"Harbour tone", "Tone in WMA", "plain tone"};
    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(subjects[i]);
        const Stored record = stored(report.recIds.at(i));
        ASSERT_TRUE(record.wave.ok);
        // "RecQual" 0: mono 8000 Hz 16-bit.
        EXPECT_EQ(record.wave.format.rate, 8000);
        EXPECT_EQ(record.wave.format.channels, 1);
        EXPECT_EQ(record.wave.format.bits, 16);
        // Encoders pad a frame or so (MP3: 1152 samples, 26 ms at 44.1 kHz).
        EXPECT_NEAR(lengthMs(record.wave), 2000.0, 60.0);
        const std::vector<double> x = tone::channel(record.wave.pcm, record.wave.format, 0);
        const std::vector<double> middle = tone::slice(x, x.size() / 4, x.size() * 3 / 4);
        EXPECT_NEAR(tone::peakFrequency(middle, 8000, 200, 1000), 440.0, 2.0);
        EXPECT_NEAR(tone::rms(middle), 0.5 / std::sqrt(2.0), 0.05);
        EXPECT_EQ(indexline::field(record.line, 2), "1");  // a meeting
        EXPECT_EQ(indexline::showField(indexline::field(record.line, 5)), subjects[i]);
        // The duration place tells the wave's own length.
        char duration[kDurationSize];
        conv_millisec(static_cast<long>(lengthMs(record.wave)), duration);
        EXPECT_EQ(indexline::field(record.line, 10), duration);
    }
    // The date from the MP3's year tag.
    EXPECT_EQ(indexline::showField(indexline::field(stored(report.recIds[0]).line, 8)), "01/01/2024 00:00:00");
}

TEST_F(SoundImportTest, AWmvBecomesAVideoRecordKeepingTheVideoFile)
{
    run("ffmpeg -v error -y -f lavfi -i testsrc=size=64x48:rate=10 -f lavfi -i sine=frequency=660:sample_rate=22050 "
        "-t 1.5 -c:v wmv2 -c:a wmav2 " + path("clip.wmv"));
    app.RecordingQuality = 2;  // mono 22050 Hz 8-bit
    RecordImport records(app);
    const ImportReport report = SoundImport(app, records).importFiles({path("clip.wmv")}, kListDictation);
    ASSERT_EQ(report.imported, 1) << report.summary();
    const Stored record = stored(report.recIds.at(0));
    EXPECT_EQ(indexline::field(record.line, 2), "9");
    EXPECT_EQ(record.members.at(".wmv"), readAll(path("clip.wmv")));
    ASSERT_TRUE(record.wave.ok);
    EXPECT_EQ(record.wave.format.rate, 22050);
    EXPECT_EQ(record.wave.format.bits, 8);
    EXPECT_NEAR(lengthMs(record.wave), 1500.0, 60.0);
    const std::vector<double> x = tone::channel(record.wave.pcm, record.wave.format, 0);
    EXPECT_NEAR(tone::peakFrequency(tone::slice(x, x.size() / 4, x.size() * 3 / 4), 22050, 300, 1000), 660.0, 2.0);
}

TEST_F(SoundImportTest, ADamagedFileIsRefusedByNameAndTheStoreIsUnchanged)
{
    writeAll(path("broken.mp3"), std::string(20000, 'n'));
    tone::write(path("cut.wav"), {8000, 1, 16}, 440, 1000);
    std::string cut = readAll(path("cut.wav"));
    writeAll(path("cut.wav"), cut.substr(0, 30));  // the header torn off mid-way
    fileDictation("Ours", "kettle", 5000);
    ASSERT_EQ(store.save(app), 0);
    const std::string storeBefore = readAll(app.DataStorePath);
    const std::string familyBefore = readAll(components::workspacePath(app.TempDir, components::kDictation));

    ScriptedPrompt prompt;  // nothing may be asked
    RecordImport records(app);
    const ImportReport report =
        SoundImport(app, records).importFiles({path("broken.mp3"), path("cut.wav")}, kListDictation);
    EXPECT_EQ(report.imported, 0);
    ASSERT_EQ(report.failed.size(), 2u);
    EXPECT_EQ(report.failed[0].what, path("broken.mp3"));
    EXPECT_EQ(report.failed[1].what, path("cut.wav"));
    EXPECT_NE(report.summary().find("broken.mp3 : it cannot be read or is not a sound or video file"),
              std::string::npos)
        << report.summary();
    EXPECT_EQ(readAll(app.DataStorePath), storeBefore);
    EXPECT_EQ(readAll(components::workspacePath(app.TempDir, components::kDictation)), familyBefore);
    // Nothing was left behind in the workspace either.
    for (const auto& entry : std::filesystem::directory_iterator(app.TempDir))
        EXPECT_EQ(entry.path().string().find(".sound-"), std::string::npos) << entry.path();
}
