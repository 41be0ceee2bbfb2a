// The Diary Recorder's logic over a real store and the real wave engine on
// the virtual input (a tone, delivered as fast as buffers are queued): an
// entry recorded in runs is filed with its sound, line and list row and is
// found again after the store is reopened; the diary line's own fields round
// trip; a filing that meets a failing disk at any write keeps the sound and
// files it whole on the next try. Then the diary monitor on a clock the test
// moves: reminders fire once at their minute, nag until listened to, and
// are remembered across a restart.
#include "AudioTestSupport.h"
#include "FakeDiaryClock.h"
#include "PlayerRecords.h"
#include "StoreFixture.h"

#include "audio/DiaryMonitor.h"
#include "audio/DiaryRecorder.h"
#include "audio/MeetingCost.h"
#include "audio/MeetingRecorder.h"
#include "audio/RecordingFlags.h"
#include "audio/VXWave.h"
#include "maker/Ek7Srch/Ek7Srch.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/CallbackWindow.h"
#include "platform/FileOps.h"
#include "core/ProfileValues.h"
#include "platform/audio/WaveFormats.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

#include <algorithm>
#include <filesystem>

namespace {

constexpr double kTone = 1000.0;

class DiaryRecorderTest : public OpenStoreFixture {
protected:
    RecordingFlags flags;
    VXWave wave{nullptr, flags};

    void SetUp() override
    {
        OpenStoreFixture::SetUp();
        qunsetenv("NAVO_AUDIO");
        CallbackWindow::registerClass();
        audiotest::useVirtualBackend("tone:1000", "", false);
    }
    void TearDown() override
    {
        fileops::clearFaultPlan();
        wave.Free();
        OpenStoreFixture::TearDown();
    }

    // One run of at least ms of sound; the loudest level the meter saw.
    int loudest = 0;
    void recordRun(EngineRecorder& recorder, long ms)
    {
        const long before = recorder.lengthMs();
        loudest = 0;
        ASSERT_EQ(recorder.pickup(), 1) << wave.LastError;
        ASSERT_EQ(flags.LevelMeterOn, 1);
        ASSERT_TRUE(audiotest::pumpUntil(
            [&] {
                loudest = std::max({loudest, flags.LeftLevel, flags.RightLevel});
                return recorder.lengthMs() >= before + ms;
            },
            10000));
        ASSERT_EQ(recorder.stop(), 0);
        EXPECT_EQ(flags.LevelMeterOn, 0);
    }

    static DiaryEntry entryAt(int day, int month, int year, int hour, int minute, int reminder)
    {
        DiaryEntry e;
        e.day = day;
        e.month = month;
        e.year = year;
        e.hour = hour;
        e.minute = minute;
        e.reminder = reminder;
        e.subject = "Dentist at the corner";
        e.keywords = "teeth\r\ncheck";
        e.comments = "bring the card";
        return e;
    }

    // A short entry filed for a day and time.
    long fileEntry(int day, int hour, int minute, int reminder)
    {
        DiaryRecorder recorder(app, wave, flags);
        EXPECT_EQ(recorder.openNew(), 0);
        recordRun(recorder, 200);
        EXPECT_EQ(recorder.save(entryAt(day, 3, 2027, hour, minute, reminder)), 0);
        return recorder.recId();
    }

    // The RecIDs of the reminders posted so far, and forgets them.
    std::vector<long> remindersPosted(audiotest::MessageWindow& window)
    {
        audiotest::drain();
        std::vector<long> due;
        for (const auto& m : window.messages)
            if (m.message == DiaryMonitor::kDue)
                due.push_back(static_cast<long>(m.wParam));
        window.messages.clear();
        std::sort(due.begin(), due.end());
        return due;
    }

    // What a later start finds in the store file: the diary family file, its
    // list, and the record file's wave.
    int reopened = 0;
    struct Reopened {
        std::vector<std::string> lines;   // of the diary family file, live ones
        std::vector<std::string> cells;   // first row: ID, Subject, Diary Date, Diary Time, Duration
        std::vector<std::int16_t> samples;
    };
    Reopened reopen(long recId, const char* familyName = components::kDiary)
    {
        Reopened r;
        const std::string folder = root() + "/reopened-" + std::to_string(++reopened);
        std::filesystem::create_directories(folder);
        EXPECT_EQ(ExtractFile(app.DataStorePath.c_str(), familyName, folder.c_str()), 0);
        const std::string family = folder + "/" + familyName;
        const std::string bytes = readAll(family);
        for (std::size_t at = 0; at + indexline::kLineBytes <= bytes.size(); at += indexline::kLineBytes) {
            const std::string line = bytes.substr(at, indexline::kLineBytes);
            if (indexline::field(line, 1) != indexline::kDeletedRecId)
                r.lines.push_back(line);
        }
        SearchLogRows rows;
        SearchLog(family.c_str(), familyName == components::kDiary ? SearchLogRows::kDiary : 2, &rows);
        if (rows.size() > 0)
            for (int c = 0; c < 5; ++c)
                r.cells.push_back(rows.cell(0, c));
        r.samples = playerrecords::filedSound(app, recId, folder);
        return r;
    }
    // The filed sound is every byte recorded (lengthMs of it) and the tone.
    static void expectTheTone(const Reopened& r, int quality, long lengthMs)
    {
        const int rate = static_cast<int>(waveFormatForQuality(quality).nSamplesPerSec);
        EXPECT_EQ(static_cast<long>(r.samples.size()) * 1000 / rate, lengthMs);
        EXPECT_NEAR(audiotest::peakFrequency(r.samples, rate, 200, 3000, 10), kTone, 15);
    }
};

}  // namespace

TEST_F(DiaryRecorderTest, AnEntryRecordedInRunsIsFiledWithItsSoundLineAndRowAndFoundAfterReopening)
{
    DiaryRecorder recorder(app, wave, flags);
    ASSERT_EQ(recorder.openNew(), 0);
    EXPECT_EQ(wave.RawRecordPath, app.TempDir + "/buffer.wav");
    EXPECT_EQ(wave.RawDataPath, app.TempDir + "/data.wav");

    recordRun(recorder, 1000);
    // The level meter followed the tone at half of full scale.
    EXPECT_NEAR(loudest, 50, 2);
    recorder.addMark("first run done");
    // A paused stretch writes nothing.
    ASSERT_EQ(recorder.pickup(), 1);
    recorder.pause();
    const long paused = recorder.lengthMs();
    audiotest::pumpFor(50);
    EXPECT_EQ(recorder.lengthMs(), paused);
    recorder.pause();
    ASSERT_TRUE(audiotest::pumpUntil([&] { return recorder.lengthMs() >= paused + 700; }, 10000));
    ASSERT_EQ(recorder.stop(), 0);
    const long length = recorder.lengthMs();

    ASSERT_EQ(recorder.save(entryAt(5, 12, 2026, 9, 7, DiaryEntry::reminderFor(true, true))), 0);
    EXPECT_TRUE(recorder.filed());
    EXPECT_FALSE(std::filesystem::exists(app.TempDir + "/buffer.wav"));
    EXPECT_FALSE(std::filesystem::exists(app.TempDir + "/data.wav"));

    const Reopened r = reopen(recorder.recId());
    ASSERT_EQ(r.lines.size(), 1u);
    const std::string& line = r.lines[0];
    EXPECT_EQ(line.size(), 401u);
    const std::vector<std::string> f = indexline::fields(line, 12);
    EXPECT_EQ(f[0], recorder.recIdText());
    EXPECT_EQ(f[1], "4");
    EXPECT_EQ(f[2], "5/12/2026");
    EXPECT_EQ(f[3], "09:07");
    EXPECT_EQ(f[4], "Dentist\xAC" "at\xAC" "the\xAC" "corner");
    EXPECT_EQ(f[6], "first\xAC" "run\xAC" "done");
    EXPECT_EQ(f[10], "2");
    EXPECT_EQ(f[11], std::to_string(recorder.quality()));
    EXPECT_EQ(r.cells, (std::vector<std::string>{recorder.recIdText(), "Dentist at the corner", "5/12/2026", "09:07",
                                                 recorder.lengthText()}));

    // The sound: every byte of both runs, and the tone.
    ASSERT_EQ(waveFormatForQuality(recorder.quality()).nChannels, 1);
    EXPECT_GE(length, 1700);
    expectTheTone(r, recorder.quality(), length);
}

TEST_F(DiaryRecorderTest, TheDiaryLineKeepsDateTimeAndReminderAndRefusesWhatIsNotADiaryLine)
{
    DiaryRecorder recorder(app, wave, flags);
    ASSERT_EQ(recorder.openNew(), 0);
    EXPECT_EQ(DiaryEntry::reminderFor(false, false), 0);
    EXPECT_EQ(DiaryEntry::reminderFor(false, true), 0);  // "Nag Me" alone
    EXPECT_EQ(DiaryEntry::reminderFor(true, false), 1);
    EXPECT_EQ(DiaryEntry::reminderFor(true, true), 2);
    for (const DiaryEntry& e : {entryAt(1, 1, 2027, 0, 0, 0), entryAt(31, 12, 2026, 23, 59, 1),
                                entryAt(29, 2, 2028, 12, 5, 2)}) {
        DiaryEntry in = e;
        in.subject = std::string(200, 's');  // cut to 148
        const std::string line = indexline::build(recorder.lineFields(in));
        EXPECT_EQ(line.size(), 401u);
        DiaryEntry back;
        ASSERT_TRUE(DiaryEntry::fromLine(line, &back)) << line;
        EXPECT_EQ(back.dateText(), e.dateText());
        EXPECT_EQ(back.timeText(), e.timeText());
        EXPECT_EQ(back.reminder, e.reminder);
        EXPECT_EQ(back.subject.size(), DiaryRecorder::kSubjectMax);
    }
    DiaryEntry out;
    std::vector<std::string> f = recorder.lineFields(entryAt(1, 1, 2027, 8, 0, 1));
    f[1] = "0";
    EXPECT_FALSE(DiaryEntry::fromLine(indexline::build(f), &out));
    f[1] = "4";
    for (const char* date : {"32/1/2027", "1/13/2027", "1/1", "a/1/2027", ""}) {
        f[2] = date;
        EXPECT_FALSE(DiaryEntry::fromLine(indexline::build(f), &out)) << date;
    }
    f[2] = "1/1/2027";
    for (const char* time : {"24:00", "12:60", "12", "1x:00"}) {
        f[3] = time;
        EXPECT_FALSE(DiaryEntry::fromLine(indexline::build(f), &out)) << time;
    }
}

TEST_F(DiaryRecorderTest, AFilingThatMeetsAFailingDiskKeepsTheSoundAndFilesItWholeNextTime)
{
    // Each write of the filing in turn fails, and every one after it (a full
    // disk), until a filing meets no failure at all.
    bool reachedTheEnd = false;
    int keptOpen = 0;
    long lastRecId = 0;
    for (int n = 1; n <= 60 && !reachedTheEnd; ++n) {
        SCOPED_TRACE("disk full from write " + std::to_string(n));
        DiaryRecorder recorder(app, wave, flags);
        ASSERT_EQ(recorder.openNew(), 0);
        recordRun(recorder, 300);
        const long length = recorder.lengthMs();
        fileops::FaultPlan full;
        full.failWriteAt = n;
        full.sticky = true;
        fileops::setFaultPlan(full);
        const int first = recorder.save(entryAt(2, 3, 2027, 10, 30, 1));
        fileops::clearFaultPlan();
        if (first == 0) {
            reachedTheEnd = true;
        } else {
            ASSERT_EQ(first, DiaryRecorder::kKeptOpen);
            ++keptOpen;
            ASSERT_EQ(recorder.save(entryAt(2, 3, 2027, 10, 30, 1)), 0);
        }
        lastRecId = recorder.recId();
        const Reopened r = reopen(lastRecId);
        ASSERT_EQ(r.lines.size(), static_cast<std::size_t>(n));
        EXPECT_EQ(indexline::field(r.lines.back(), 1), recorder.recIdText());
        expectTheTone(r, recorder.quality(), length);
    }
    EXPECT_TRUE(reachedTheEnd);
    std::printf("filings that failed and kept their sound: %d\n", keptOpen);
    EXPECT_GT(keptOpen, 3);
}

TEST_F(DiaryRecorderTest, RemindersFireOnceAtTheirMinuteNagUntilListenedToAndAreRememberedAfterARestart)
{
    const long once = fileEntry(2, 10, 0, 1);
    const long nag = fileEntry(2, 10, 0, 2);
    fileEntry(2, 10, 1, 0);  // no reminder
    const long tomorrow = fileEntry(3, 9, 0, 1);
    const long long ten = diary::minutesOf(2027, 3, 2, 10, 0);

    auto clock = std::make_shared<FakeClock>(ten - 1);
    audiotest::MessageWindow window;
    app.DataStoreName = "NAVO";
    {
        DiaryMonitor monitor(clock);
        ASSERT_EQ(monitor.check(app), 0);
        monitor.start(app, reinterpret_cast<std::uintptr_t>(window.handle()));
        ASSERT_TRUE(clock->asleep(1));
        audiotest::drain();
        EXPECT_EQ(window.count(DiaryMonitor::kStarted), 1);
        // It sleeps until the first due minute instead of polling.
        EXPECT_EQ(clock->sleepingUntil(), ten);
        EXPECT_TRUE(remindersPosted(window).empty());

        ASSERT_TRUE(clock->advanceTo(ten));
        EXPECT_EQ(remindersPosted(window), (std::vector<long>{once, nag}));
        EXPECT_EQ(clock->sleepingUntil(), ten + diary::kNagMinutes);
        ASSERT_TRUE(clock->advanceTo(ten + diary::kNagMinutes - 1));  // woken early: nothing
        EXPECT_TRUE(remindersPosted(window).empty());
        ASSERT_TRUE(clock->advanceTo(ten + diary::kNagMinutes));
        EXPECT_EQ(remindersPosted(window), std::vector<long>{nag});

        // Listened to: the nagging stops.
        diary::ReminderLog log(DiaryMonitor::logPath(app));
        ASSERT_TRUE(log.listenedTo({nag, ten, 2}, ten + 6));
        const int sleeps = clock->sleeps();
        monitor.storeChanged(app);
        ASSERT_TRUE(clock->asleep(sleeps + 1));
        EXPECT_EQ(clock->sleepingUntil(), diary::minutesOf(2027, 3, 3, 9, 0));
        ASSERT_TRUE(clock->advanceTo(ten + 60));
        EXPECT_TRUE(remindersPosted(window).empty());
        monitor.stop();
        audiotest::drain();
        EXPECT_EQ(window.count(DiaryMonitor::kStopped), 1);
    }
    // Switched off, nothing reminds; started again the next day, only what
    // was never reminded fires.
    clock->setNow(diary::minutesOf(2027, 3, 3, 9, 30));
    EXPECT_TRUE(remindersPosted(window).empty());
    DiaryMonitor again(clock);
    again.start(app, reinterpret_cast<std::uintptr_t>(window.handle()));
    ASSERT_TRUE(clock->asleep(clock->sleeps() + 1));
    EXPECT_EQ(remindersPosted(window), std::vector<long>{tomorrow});
    again.stop();

    // A reminder log that cannot be opened is error 131.
    app.ProfileDir = root() + "/no/such/folder";
    EXPECT_EQ(DiaryMonitor(clock).check(app), 131);
}

TEST_F(DiaryRecorderTest, AMeetingIsFiledAsTypeOneWithItsAttendeesCostAndSound)
{
    MeetingRecorder recorder(app, wave, flags);
    ASSERT_EQ(recorder.openNew(), 0);
    recordRun(recorder, 1000);
    recorder.addMark("budget");
    const long length = recorder.lengthMs();
    MeetingEntry e;
    e.subject = "Budget review";
    e.attendees = "Ann Bob";
    e.cost = MeetingCost("12.00", "\xA3", true).costText(90 * 60 * 1000);
    ASSERT_EQ(recorder.save(e), 0);
    const Reopened r = reopen(recorder.recId(), components::kMeeting);
    ASSERT_EQ(r.lines.size(), 1u);
    const std::vector<std::string> f = indexline::fields(r.lines[0], 12);
    EXPECT_EQ(f[1], "1");
    EXPECT_EQ(f[4], "Budget\xAC" "review");
    EXPECT_EQ(f[5], "Ann\xAC" "Bob");
    EXPECT_EQ(f[6], "budget");
    EXPECT_EQ(f[10], "\xA3" "18.00");
    ASSERT_GE(r.cells.size(), 2u);
    EXPECT_EQ(r.cells[1], "Budget review");
    expectTheTone(r, recorder.quality(), length);
    // The next meeting may start from this one's subject and attendees.
    EXPECT_EQ(MeetingRecorder::previous(app).subject, "Budget review");
    EXPECT_EQ(MeetingRecorder::previous(app).attendees, "Ann Bob");
}

TEST_F(DiaryRecorderTest, TheMeetingCostRunsAtTheHourlyRateInTheCurrencyOfTheProfile)
{
    const MeetingCost twelve("12.00", "\xA3", false);
    EXPECT_EQ(twelve.costText(90 * 60 * 1000), "\xA3" "18.00");
    EXPECT_EQ(MeetingCost::elapsedText(90 * 60 * 1000), "01:30:00");
    EXPECT_EQ(twelve.costText(0), "\xA3" "0.00");
    EXPECT_EQ(twelve.hundredthsAt(1500), 1);       // 0.5 hundredths rounds up
    EXPECT_EQ(twelve.hundredthsAt(1499), 0);
    EXPECT_EQ(MeetingCost("99.99", "$", false).costText(36000000), "$999.90");  // ten hours
    for (const char* bad : {"", "abc", "12,50", "-3"})
        EXPECT_EQ(MeetingCost(bad, "$", false).hundredthsAt(3600000), 0) << bad;
    EXPECT_EQ(MeetingCost("12.5", "$", false).hundredthsAt(3600000), 1250);
    // From the profile: missing values are written with their defaults.
    ProfileValues values(app);
    EXPECT_EQ(MeetingCost::fromProfile(values).costText(3600000), "\xA3" "0.00");
    profile().write("MeetCost", "30.00");
    profile().write("Currency", "\x80");
    profile().write("HighLight", "Y");
    const MeetingCost set = MeetingCost::fromProfile(values);
    EXPECT_EQ(set.costText(30 * 60 * 1000), "\x80" "15.00");
    EXPECT_TRUE(set.highlighted());
}
