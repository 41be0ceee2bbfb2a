// The message player's logic over a real store and the real "waveaudio"
// device on the virtual backend: what is heard (frequency and length of the
// output file), rewinding by two seconds, the list walk, inserted speech
// with its marks as filed, a heard message in the saved and reopened store,
// and the effects table with a watching engine.
#include "AudioTestSupport.h"
#include "PlayerRecords.h"
#include "RecordFactory.h"
#include "ScriptedPrompt.h"
#include "StoreFixture.h"

#include "audio/MessagePlayer.h"
#include "audio/PlayerEffects.h"
#include "core/ProfileValues.h"
#include "maker/Ek7Srch/Ek7Srch.h"
#include "maker/Ek7Srch/SearchLogRows.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/CallbackWindow.h"
#include "platform/Trace.h"
#include "platform/audio/WaveFormats.h"
#include "res/StringTable.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"

#include <QTemporaryDir>

#include <algorithm>
#include <cmath>

namespace {

// QSettings takes the configuration folder once per process.
QTemporaryDir& configHome()
{
    static QTemporaryDir dir;
    return dir;
}
[[maybe_unused]] const bool kConfigHomeSet = [] {
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome().path()));
    return true;
}();

using playerrecords::kRate;
using playerrecords::tone;

// Watches the calls into the effects library.
class WatchingEngine : public EffectsEngine {
public:
    struct Calls {
        std::vector<std::pair<int, int>> adjusted;
        int plays = 0;
        std::vector<std::array<int, 2>> lastEffects;
    };
    explicit WatchingEngine(std::shared_ptr<Calls> calls) : m_calls(std::move(calls)) {}
    int init(HWND, const std::string&, int* def, int* lo, int* hi) override
    {
        *def = 8000;
        *lo = 4000;
        *hi = 16000;
        return 0;
    }
    void setEffects(const int effects[][2], int count) override
    {
        m_calls->lastEffects.clear();
        for (int i = 0; i < count; ++i)
            m_calls->lastEffects.push_back({effects[i][0], effects[i][1]});
    }
    int play(std::uint32_t, const int[][2], int) override
    {
        ++m_calls->plays;
        return 0;
    }
    int adjust(int index, int value) override
    {
        m_calls->adjusted.emplace_back(index, value);
        return value;
    }
    std::uint32_t position() override { return 0; }
    void setPosition(int) override {}
    bool playing() override { return true; }
    void stop() override {}
    void clean() override {}
    int render(const std::string&) override { return 0; }

private:
    std::shared_ptr<Calls> m_calls;
};

class PlayerTest : public OpenStoreFixture {
protected:
    audiotest::TempFolder sounds;
    ScriptedPrompt prompt;

    void SetUp() override
    {
        OpenStoreFixture::SetUp();
        qunsetenv("NAVO_AUDIO");
        CallbackWindow::registerClass();
        audiotest::useVirtualBackend("tone:1000", speaker(), false);
    }
    void TearDown() override
    {
        CallbackWindow::registerClass();
        OpenStoreFixture::TearDown();
    }
    std::string speaker() const { return sounds.file("speaker.wav"); }

    long fileSamples(const std::string& subject, std::vector<std::int16_t> samples)
    {
        const long recId = playerrecords::fileSamples(app, subject, std::move(samples));
        EXPECT_NE(recId, 0);
        return recId;
    }

    // Plays until the device says it reached the end.
    static void playToEnd(MessagePlayer& player)
    {
        ASSERT_EQ(player.state(), MessagePlayer::State::Playing);
        ASSERT_TRUE(audiotest::pumpUntil([&] { return player.state() != MessagePlayer::State::Playing; }, 10000));
    }

    std::vector<std::int16_t> heard() const
    {
        return audiotest::toSamples16(audiotest::waveData(audiotest::readFile(speaker())));
    }
};

// What is heard is checked at the output: its length and, per half, its
// frequency.
TEST_F(PlayerTest, TheSoundIsHeardWholeAndRewindingTwoSecondsStopsAtTheStart)
{
    // Two halves that can be told apart: 400 Hz then 800 Hz.
    const long recId = fileSamples("halves", audiotest::join({tone(400, 1500), tone(800, 1500)}));
    MessagePlayer player(app, {indexline::recIdText(recId)}, 0);
    ASSERT_EQ(player.open(), 0);
    EXPECT_EQ(player.display().lengthMs, 3000);

    // At 1500 ms two seconds back is below 0: it starts from 0 and plays all.
    player.moveTo(1500);
    player.rewindTwoSeconds();
    playToEnd(player);
    EXPECT_EQ(player.display().positionMs, 3000);
    std::vector<std::int16_t> out = heard();
    ASSERT_EQ(out.size(), 24000u);
    EXPECT_NEAR(audiotest::peakFrequency({out.begin(), out.begin() + 12000}, kRate, 200, 2000, 5), 400, 5);
    EXPECT_NEAR(audiotest::peakFrequency({out.begin() + 12000, out.end()}, kRate, 200, 2000, 5), 800, 5);

    // At 2500 ms it goes back to 500 ms: 2.5 s are heard.
    player.moveTo(2500);
    player.miniPlayer(2);
    playToEnd(player);
    out = heard();
    EXPECT_EQ(out.size(), 20000u);
}

TEST_F(PlayerTest, PrevAndNextWalkTheListAndStopAtItsEnds)
{
    std::vector<std::string> ids;
    for (int i = 0; i < 3; ++i)
        ids.push_back(indexline::recIdText(fileSamples("track " + std::to_string(i), tone(300 + 200 * i, 200))));
    MessagePlayer player(app, ids, 1);
    ASSERT_EQ(player.open(), 0);
    EXPECT_EQ(player.display().subject, "track 1");

    TraceCapture traces;
    player.miniPlayer(3);  // previous, and it plays
    EXPECT_EQ(player.display().recId, ids[0]);
    EXPECT_EQ(player.state(), MessagePlayer::State::Playing);
    playToEnd(player);
    EXPECT_NEAR(audiotest::peakFrequency(heard(), kRate, 200, 2000, 5), 300, 10);
    EXPECT_FALSE(player.previous());
    EXPECT_EQ(player.display().recId, ids[0]);

    player.command(10315);  // next, without a trace
    player.next();
    EXPECT_EQ(player.display().recId, ids[2]);
    EXPECT_EQ(player.display().subject, "track 2");
    EXPECT_FALSE(player.next());
    player.miniPlayer(9);
    const std::vector<std::string> lines = traces.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Previous msg"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Default msg"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Next msg"), 0) << "the command ids trace nothing";
}

TEST_F(PlayerTest, InsertedSpeechLandsAtThePositionWithItsTwoMarksInTheFiledRecord)
{
    // 3 s of 400 Hz; speech (the 1000 Hz input) goes in at 2 s.
    const long recId = fileSamples("dictated", tone(400, 3000));
    const std::string id = indexline::recIdText(recId);
    {
        MessagePlayer player(app, {id}, 0);
        ASSERT_EQ(player.open(), 0);
        player.moveTo(2000);
        ASSERT_EQ(player.insertSpeech(), 0);
        ASSERT_TRUE(audiotest::pumpUntil([&] { return player.device().length() >= 4200; }, 10000));
        player.stop();
        ASSERT_EQ(player.save(), 0);
    }
    // Opened again from the store: the sound and the marks as filed.
    MessagePlayer again(app, {id}, 0);
    ASSERT_EQ(again.open(), 0);
    const std::vector<std::int16_t> wave =
        audiotest::toSamples16(audiotest::waveData(audiotest::readFile(again.wavePath())));
    const long inserted = again.display().lengthMs - 3000;
    ASSERT_GE(inserted, 1200);
    const auto at = [&](long ms) { return static_cast<std::size_t>(ms * kRate / 1000); };
    const auto freq = [&](long from, long to) {
        return audiotest::peakFrequency({wave.begin() + static_cast<long>(at(from)), wave.begin() + static_cast<long>(at(to))},
                                        kRate, 200, 2000, 5);
    };
    EXPECT_NEAR(freq(0, 1990), 400, 5);
    EXPECT_NEAR(freq(2010, 2000 + inserted - 10), 1000, 5);
    EXPECT_NEAR(freq(2000 + inserted + 10, again.display().lengthMs), 400, 5);
    // The first 2 s are the original samples, unmoved.
    const std::vector<std::int16_t> original = tone(400, 3000);
    EXPECT_TRUE(std::equal(original.begin(), original.begin() + static_cast<long>(at(2000)), wave.begin()));

    ASSERT_EQ(again.marks().size(), 2u);
    EXPECT_EQ(again.marks()[0].comment, "insert start");
    EXPECT_EQ(again.marks()[0].time, "00:00:02");
    EXPECT_EQ(again.marks()[0].flag, "1");
    EXPECT_EQ(again.marks()[1].comment, "insert end");
    EXPECT_EQ(again.marks()[1].flag, "2");
    char endText[128];
    conv_millisec(2000 + inserted, endText);
    EXPECT_EQ(again.marks()[1].time, std::string(endText).substr(0, 8));
}

TEST_F(PlayerTest, AHeardMessageDropsThePhoneCountByOneInTheSavedReopenedStore)
{
    RecordFactory records(app, 4000);
    const long first = records.message("Ann Smith", "01632 960001", true);
    records.message("Bob Jones", "01632 960002", true);
    const auto newMessages = [this] {
        SearchLogRows rows;
        SearchLog(components::workspacePath(app.TempDir, "Telvarine.vxp").c_str(), SearchLogRows::kPhone, &rows);
        int count = 0;
        for (std::size_t row = 0; row < rows.size(); ++row)
            count += rows.image(row) == SearchLogRows::kNewMessageImage;
        return count;
    };
    ASSERT_EQ(newMessages(), 2);
    {
        MessagePlayer player(app, {indexline::recIdText(first)}, 0);
        ASSERT_EQ(player.open(), 0);
        EXPECT_EQ(newMessages(), 2) << "opening is not hearing";
        player.play();
        EXPECT_EQ(player.heardCount(), 1);
        playToEnd(player);
        player.play();
        EXPECT_EQ(player.heardCount(), 1) << "a message is heard once";
    }
    ASSERT_EQ(store.save(app), 0);
    store.deleteWorkingCopies(app);

    // A fresh workspace on the saved store.
    AppData reopened;
    copyPaths(reopened, app);
    ASSERT_EQ(workspace::Workspace(reopened, workspace::kCreate, "*.*"), 0);
    DataStore again;
    ASSERT_EQ(again.extract(reopened), 0);
    SearchLogRows rows;
    SearchLog(components::workspacePath(reopened.TempDir, "Telvarine.vxp").c_str(), SearchLogRows::kPhone, &rows);
    ASSERT_EQ(rows.size(), 2u);
    int stillNew = 0;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        stillNew += rows.image(row) == SearchLogRows::kNewMessageImage;
        if (rows.recId(row) == indexline::recIdText(first)) {
            EXPECT_EQ(rows.image(row), MessagePlayer::kHeardImage);
        }
    }
    EXPECT_EQ(stillNew, 1);
    workspace::Workspace(reopened, workspace::kRemove, "*.*");
}

TEST_F(PlayerTest, EffectsLoadAsStoredAndASliderWhoseOnIsOffChangesNothingInTheLibrary)
{
    // 100 on any pair but speed loads as off; empty is off; others are on.
    ProfileValues(app).setEffectTexts({"9000", "100", "", "40", "", "", "", "", "100", "7"});
    playereffects::publishDirectXVersion(true);
    const long recId = fileSamples("effects", tone(440, 500));
    auto calls = std::make_shared<WatchingEngine::Calls>();
    {
        MessagePlayer player(app, {indexline::recIdText(recId)}, 0, nullptr,
                             std::make_unique<WatchingEngine>(calls));
        ASSERT_EQ(player.open(), 0);
        const playereffects::Table& t = player.effects();
        EXPECT_EQ((std::array<int, 2>{t[0][0], t[0][1]}), (std::array<int, 2>{1, 9000}));
        EXPECT_EQ((std::array<int, 2>{t[1][0], t[1][1]}), (std::array<int, 2>{0, 0}));
        EXPECT_EQ((std::array<int, 2>{t[3][0], t[3][1]}), (std::array<int, 2>{1, 40}));
        EXPECT_EQ((std::array<int, 2>{t[8][0], t[8][1]}), (std::array<int, 2>{0, 0}));
        EXPECT_EQ((std::array<int, 2>{t[9][0], t[9][1]}), (std::array<int, 2>{1, 7}));

        ASSERT_EQ(player.switchEffectsOn(), MessagePlayer::EffectsResult::On);
        player.play();
        player.moveEffect(1, 55);  // echo is off
        EXPECT_TRUE(calls->adjusted.empty());
        player.moveEffect(3, 70);  // distortion is on
        EXPECT_EQ(calls->adjusted, (std::vector<std::pair<int, int>>{{3, 70}}));
        player.setEffectOn(1, true);  // echo on at its slider's value, heard at once
        EXPECT_EQ(calls->lastEffects[1], (std::array<int, 2>{1, 55}));
        EXPECT_EQ(calls->plays, 2);
    }
    // What was set is stored for the next time.
    const auto texts = ProfileValues(app).effectTexts();
    EXPECT_EQ(texts[1], "55");
    EXPECT_EQ(texts[3], "70");
    EXPECT_EQ(texts[2], "");
}

// With no recording control chosen, New files the sound as the effects
// make it: at twice the speed it is half as long with each half at its own
// pitch; reversed, the halves swap, and Reverse follows to the next track.
TEST_F(PlayerTest, NewFilesTheEffectedSoundAndReverseFollowsToTheNextTrack)
{
    playereffects::publishDirectXVersion(true);
    ProfileValues(app).setEffectTexts({});
    std::vector<std::int16_t> rising = tone(400, 1000);
    const std::vector<std::int16_t> high = tone(800, 1000);
    rising.insert(rising.end(), high.begin(), high.end());
    const std::string first = indexline::recIdText(fileSamples("rising", rising));
    std::vector<std::int16_t> falling = high;
    const std::vector<std::int16_t> low = tone(400, 1000);
    falling.insert(falling.end(), low.begin(), low.end());
    const std::string second = indexline::recIdText(fileSamples("falling", falling));

    std::vector<long> created;
    TraceCapture traces;
    {
        MessagePlayer player(app, {first, second}, 0);
        ASSERT_EQ(player.open(), 0);
        ASSERT_EQ(player.switchEffectsOn(), MessagePlayer::EffectsResult::On);
        const auto fileNew = [&] {
            prompt.answerMessage(IDYES);  // 805
            prompt.answerMessage(IDOK);   // 804
            ASSERT_EQ(player.newRecordingWithEffects(), 0);
            created.push_back(player.lastNewRecId());
        };
        player.moveSpeed(2 * kRate);
        fileNew();
        player.moveSpeed(kRate);
        player.setReverse(true);
        fileNew();
        ASSERT_TRUE(player.next());
        player.stop();
        fileNew();
    }
    const std::vector<ScriptedPrompt::Message> asked = prompt.messages();
    ASSERT_EQ(asked.size(), 6u);
    EXPECT_EQ(asked[0].text, LoadString(805));
    EXPECT_EQ(asked[1].text, LoadString(804));
    for (const char* step : {"Navo file saved to repository", "Updating Index", "Index updated"})
        EXPECT_TRUE(traces.contains(step)) << step;

    struct Expected {
        std::size_t samples;
        double firstHalf, secondHalf;
    };
    const Expected expected[] = {{8000, 400, 800}, {16000, 800, 400}, {16000, 400, 800}};
    ASSERT_EQ(created.size(), 3u);
    for (std::size_t i = 0; i < created.size(); ++i) {
        SCOPED_TRACE(i);
        MessagePlayer check(app, {indexline::recIdText(created[i])}, 0);
        ASSERT_EQ(check.open(), 0);
        EXPECT_EQ(check.display().subject, i < 2 ? "rising" : "falling");
        const std::vector<std::int16_t> wave =
            audiotest::toSamples16(audiotest::waveData(audiotest::readFile(check.wavePath())));
        const std::size_t half = expected[i].samples / 2;
        // Reversing keeps every sample; the speed's length is within 40 ms.
        EXPECT_NEAR(static_cast<double>(wave.size()), static_cast<double>(expected[i].samples), i == 0 ? 320 : 0);
        ASSERT_GT(wave.size(), half + 500);
        EXPECT_NEAR(audiotest::peakFrequency({wave.begin(), wave.begin() + static_cast<long>(half) - 400}, kRate, 200,
                                             2000, 5),
                    expected[i].firstHalf, 5);
        EXPECT_NEAR(audiotest::peakFrequency({wave.begin() + static_cast<long>(half) + 400, wave.end()}, kRate, 200,
                                             2000, 5),
                    expected[i].secondHalf, 5);
    }
}

TEST(PlayerEffectsVersion, TheSecondFieldMustBeAboveEight)
{
    EXPECT_TRUE(playereffects::versionEnablesEffects("4.09.00.0904"));
    EXPECT_FALSE(playereffects::versionEnablesEffects("4.08.00.0904"));
    EXPECT_TRUE(playereffects::versionEnablesEffects("4,10,1"));
    EXPECT_FALSE(playereffects::versionEnablesEffects("9"));
    EXPECT_FALSE(playereffects::versionEnablesEffects(playereffects::kNoValue));
    playereffects::publishDirectXVersion(false);
    EXPECT_EQ(playereffects::readDirectXVersion(), playereffects::kNoValue);
    playereffects::publishDirectXVersion(true);
    EXPECT_TRUE(playereffects::versionEnablesEffects(playereffects::readDirectXVersion()));
}

}  // namespace
