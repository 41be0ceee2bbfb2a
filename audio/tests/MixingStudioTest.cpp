// The Mixing Studio's logic over a real store of tone recordings, the real
// converter, builder and "waveaudio" device on the virtual backend: what
// the build holds (by length and pitch per segment), when it is rebuilt,
// Play List, failures and the clean-up.
#include "AudioTestSupport.h"
#include "PlayerRecords.h"
#include "ScriptedPrompt.h"
#include "StoreFixture.h"
#include "audio/DictationRecorder.h"
#include "audio/MixingStudio.h"
#include "audio/MixingStudioDialog.h"
#include "res/resource.h"
#include "platform/CallbackWindow.h"
#include "platform/FileOps.h"
#include "platform/audio/WaveFormats.h"

#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTreeWidget>

namespace {

using audiotest::toSamples16;
using audiotest::waveData;

class MixingStudioTest : public OpenStoreFixture {
protected:
    audiotest::TempFolder sounds;
    std::vector<std::string> opened;   // what the recorder was opened on
    std::vector<std::string> openedSound;

    void SetUp() override
    {
        OpenStoreFixture::SetUp();
        CallbackWindow::registerClass();
        audiotest::useVirtualBackend("tone:440", sounds.file("speaker.wav"), false);
        app.RecordingQuality = 0;
    }
    void TearDown() override
    {
        fileops::clearFaultPlan();
        OpenStoreFixture::TearDown();
    }

    std::string fileTone(double freq, int quality, long ms)
    {
        const WAVEFORMATEX f = waveFormatForQuality(quality);
        const std::vector<std::int16_t> sound = playerrecords::tone(freq, static_cast<int>(ms),
                                                                    static_cast<int>(f.nSamplesPerSec), f.nChannels);
        const long recId = playerrecords::fileSamples(app, "tone", sound, quality);
        EXPECT_NE(recId, 0);
        return indexlineRecId(recId);
    }

    MixingStudio::RecorderOpener opener()
    {
        return [this](const std::string& wave) {
            opened.push_back(wave);
            const std::vector<char> bytes = audiotest::readFile(wave);
            openedSound.emplace_back(bytes.begin(), bytes.end());
        };
    }

    // Three tones, the last one recorded in another quality; one extract each.
    void fillList(MixingStudio& studio)
    {
        const std::string a = fileTone(400, 0, 3000);
        const std::string b = fileTone(900, 0, 3000);
        const std::string c = fileTone(1500, 3, 3000);
        ASSERT_EQ(studio.prepare(a), 0);
        EXPECT_EQ(studio.prepared().lengthMs, 3000);
        studio.addExtract(250, 1250);
        ASSERT_EQ(studio.prepare(b), 0);
        studio.addExtract(0, 500);
        ASSERT_EQ(studio.prepare(c), 0);
        studio.addExtract(2000, 3000);
    }

    static std::vector<std::int16_t> soundOf(const std::string& waveFile)
    {
        return toSamples16(waveData(std::vector<char>(waveFile.begin(), waveFile.end())));
    }
    static double pitch(const std::vector<std::int16_t>& x, std::size_t from, std::size_t to)
    {
        const std::vector<std::int16_t> part(x.begin() + static_cast<long>(from), x.begin() + static_cast<long>(to));
        return audiotest::peakFrequency(part, 8000, 200, 2000, 1);
    }
};

TEST_F(MixingStudioTest, BuildJoinsTheExtractsInOrderOpensTheRecorderOnItAndCleansUp)
{
    std::string folder;
    {
        MixingStudio studio(app, opener());
        folder = studio.folder();
        fillList(studio);
        ASSERT_EQ(studio.rows().size(), 3u);
        EXPECT_EQ(studio.rows()[2].number, "000003");
        EXPECT_EQ(studio.rows()[0].from, "250");
        EXPECT_EQ(studio.rows()[0].to, "1250");

        EXPECT_EQ(studio.buildAndOpen(), 0);
        EXPECT_TRUE(studio.built());
        ASSERT_EQ(opened.size(), 1u);
        EXPECT_EQ(opened[0], studio.buildWavePath());
        const std::vector<std::int16_t> x = soundOf(openedSound[0]);
        ASSERT_EQ(x.size(), 8000u + 4000u + 8000u);
        EXPECT_NEAR(pitch(x, 400, 7600), 400, 1);
        EXPECT_NEAR(pitch(x, 8400, 11600), 900, 1);
        EXPECT_NEAR(pitch(x, 12400, 19600), 1500, 1);
        EXPECT_TRUE(fileops::fileExists(folder + "/build.dat"));
    }
    // Closing took every working file, and so the folder.
    EXPECT_FALSE(std::filesystem::exists(folder));
}

// What the user saves in the recorder opened on the build is a new
// dictation holding the build's sound; the second row's empty "to" ends
// the build, so only the first extract is in it.
TEST_F(MixingStudioTest, TheBuildIsFiledAsANewDictationThroughTheRecorder)
{
    long filedId = 0;
    MixingStudio studio(app, [&](const std::string& wave) {
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openNewFrom(wave), 0);
        EXPECT_EQ(recorder.display().cutTo, 2250);
        EXPECT_NE(recorder.unsavedPrompt({}), 0);  // leaving unsaved would ask
        ASSERT_EQ(recorder.save({"joined", "", ""}), 0);
        EXPECT_TRUE(recorder.filed());
        filedId = recorder.recId();
    });
    fillList(studio);
    studio.setTo(1, "");
    studio.setTo(0, "2500");
    ASSERT_EQ(studio.buildAndOpen(), 0);
    ASSERT_NE(filedId, 0);
    const std::vector<std::int16_t> filed = playerrecords::filedSound(app, filedId, root() + "/filed");
    EXPECT_EQ(filed, toSamples16(waveData(audiotest::readFile(studio.buildWavePath()))));
    EXPECT_EQ(filed.size(), 18000u);  // 250..2500 ms of the first tone only
}

// Counted by what the build needs: with the prepared waves gone, only a
// build that skips BuildWavesX can still succeed.
TEST_F(MixingStudioTest, AnUnchangedListIsNotRebuiltAndAnyEditClearsTheBuiltFlag)
{
    ScriptedPrompt prompt;
    MixingStudio studio(app, opener());
    fillList(studio);
    ASSERT_EQ(studio.buildAndOpen(), 0);
    for (const MixingStudio::Row& row : studio.rows())
        ASSERT_EQ(fileops::removeFile(row.wavePath), 0);

    EXPECT_EQ(studio.buildAndOpen(), 0);
    ASSERT_EQ(opened.size(), 2u);
    EXPECT_EQ(openedSound[1], openedSound[0]);

    studio.setFrom(0, "300");
    EXPECT_FALSE(studio.built());
    prompt.answerMessage(IDOK);
    EXPECT_EQ(studio.buildAndOpen(), MixingStudio::kBuildFailed);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text,
              "An error occurred creating the intermediate file for the build process : Error 205");
    EXPECT_EQ(opened.size(), 2u);
    EXPECT_FALSE(fileops::fileExists(studio.buildWavePath()));
}

TEST_F(MixingStudioTest, PlayListBuildsFromAnEmptyIntermediateFileAndGreysTheControlsWhilePlaying)
{
    MixingStudio studio(app, opener());
    fillList(studio);
    // Left over from an earlier build: Play List must not build on it.
    writeAll(studio.buildDatPath(), std::string(3000, 'x'));
    ASSERT_EQ(studio.togglePlayList(), 0);
    EXPECT_TRUE(studio.playingList());
    EXPECT_TRUE(studio.built());
    EXPECT_EQ(readAll(studio.buildDatPath()).size(), 2u * (8000 + 4000 + 8000));
    MixingStudio::Enabled e = studio.enabled();
    EXPECT_FALSE(e.play || e.stop || e.extract || e.merge || e.positioning || e.cancel);
    EXPECT_TRUE(e.playList);

    ASSERT_EQ(studio.togglePlayList(), 0);
    EXPECT_FALSE(studio.playingList());
    e = studio.enabled();
    EXPECT_TRUE(e.merge && e.cancel && e.extract && e.positioning);

    // Played to its end, the list stops by itself.
    ASSERT_EQ(studio.togglePlayList(), 0);
    EXPECT_TRUE(audiotest::pumpUntil([&] { return !studio.playingList(); }, 10000));
    EXPECT_TRUE(studio.enabled().cancel);
    // The speaker heard the whole list.
    EXPECT_GE(waveData(audiotest::readFile(sounds.file("speaker.wav"))).size(), 2u * 20000);
}

TEST_F(MixingStudioTest, AFullDiskGivesError205AndNoBuildIsPresented)
{
    ScriptedPrompt prompt;
    MixingStudio studio(app, opener());
    fillList(studio);
    prompt.answerMessage(IDOK);
    prompt.answerMessage(IDOK);
    // Room for the first extract and part of the second.
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(20000));
    EXPECT_EQ(studio.buildAndOpen(), MixingStudio::kBuildFailed);
    EXPECT_FALSE(studio.built());
    EXPECT_TRUE(opened.empty());
    EXPECT_FALSE(fileops::fileExists(studio.buildWavePath()));
    // The disk fills while the wave is written: no wave either.
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(50000));
    EXPECT_EQ(studio.togglePlayList(), MixingStudio::kBuildFailed);
    fileops::clearFaultPlan();
    EXPECT_FALSE(studio.playingList());
    EXPECT_FALSE(studio.built());
    EXPECT_FALSE(fileops::fileExists(studio.buildWavePath()));
    ASSERT_EQ(prompt.messages().size(), 2u);
    EXPECT_EQ(prompt.messages()[1].flags & MB_ICONWARNING, static_cast<UINT>(MB_ICONWARNING));
}

// Dialog 140 offscreen, driven by its control numbers as a user would: a
// recording chosen, its stretch set, extracted, the list played and stopped.
TEST_F(MixingStudioTest, TheDialogExtractsAStretchAndGreysItselfWhileTheListPlays)
{
    const std::string recId = fileTone(400, 0, 3000);
    MixingStudioDialog dialog(app, opener());
    dialog.loadRecordings();
    const auto find = [&](int id) {
        QWidget* w = dialog.findChild<QWidget*>(QString::number(id));
        EXPECT_NE(w, nullptr) << id;
        return w;
    };
    auto* merge = static_cast<QPushButton*>(find(IDC_STUDIO_10147));

    auto* recordings = static_cast<QTreeWidget*>(find(IDC_STUDIO_RECORDINGS));
    ASSERT_EQ(recordings->topLevelItemCount(), 1);
    EXPECT_EQ(recordings->topLevelItem(0)->text(0).toStdString(), recId);
    emit recordings->itemClicked(recordings->topLevelItem(0), 0);
    auto* toMsec = static_cast<QLineEdit*>(find(IDC_EXTRACT_TO_MSEC));
    EXPECT_EQ(toMsec->text(), QStringLiteral("3000  "));
    static_cast<QSlider*>(find(IDC_EXTRACT_FROM_SLIDER))->setValue(1);
    static_cast<QSpinBox*>(find(IDC_EXTRACT_TO_SPIN))->setValue(2);
    EXPECT_EQ(static_cast<QLineEdit*>(find(IDC_EXTRACT_FROM_MSEC))->text(), QStringLiteral("1000  "));
    EXPECT_EQ(toMsec->text(), QStringLiteral("2000  "));
    static_cast<QPushButton*>(find(IDC_STUDIO_EXTRACT))->click();
    auto* list = static_cast<QTreeWidget*>(find(IDC_STUDIO_MERGE_LIST));
    ASSERT_EQ(list->topLevelItemCount(), 1);
    EXPECT_EQ(list->topLevelItem(0)->text(0), QStringLiteral("000001"));
    EXPECT_EQ(list->topLevelItem(0)->text(3), QStringLiteral("1000"));
    EXPECT_EQ(list->topLevelItem(0)->text(4), QStringLiteral("2000"));

    auto* playList = static_cast<QPushButton*>(find(IDC_STUDIO_PLAY_LIST));
    const QImage idleImage = playList->icon().pixmap(16).toImage();
    playList->click();
    EXPECT_NE(playList->icon().pixmap(16).toImage(), idleImage);
    for (int id : std::initializer_list<int>{IDC_STUDIO_PLAY, IDC_STUDIO_STOP, IDC_STUDIO_EXTRACT, IDC_STUDIO_10147, IDC_EXTRACT_FROM_SLIDER,
                   IDC_EXTRACT_TO_SLIDER, IDC_EXTRACT_FROM_SPIN, IDC_EXTRACT_TO_SPIN, 1})
        EXPECT_FALSE(find(id)->isEnabled()) << id;
    playList->click();
    EXPECT_EQ(playList->icon().pixmap(16).toImage(), idleImage);
    EXPECT_TRUE(find(1)->isEnabled());
    EXPECT_TRUE(merge->isEnabled());
    EXPECT_EQ(dialog.studio().rows().size(), 1u);
}

}  // namespace
