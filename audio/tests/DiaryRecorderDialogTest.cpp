// The Diary Recorder and its reminders through the main window, offscreen,
// on the virtual devices: New Recording on the Diary list opens dialog 120,
// its level bars follow the tone, and the entry filed with its day, time and
// reminder is the Diary list's new row. With the Diary Monitor switched on
// and a clock the test moves, a due entry is asked about (691), dialog 139
// plays it, Snooze stores the new time so that it fires again after a
// restart, and entries due together open 50 pixels apart.
#include "AudioTestSupport.h"
#include "FakeDiaryClock.h"
#include "PlayerRecords.h"
#include "RecorderWindowFixture.h"
#include "ScriptedPrompt.h"

#include "app/TemplatesDialog.h"
#include "audio/DiaryMonitor.h"
#include "audio/DiaryRecorderDialog.h"
#include "audio/DiaryReminderDialog.h"
#include "audio/IndexMarks.h"
#include "audio/MeetingRecorderDialog.h"
#include "audio/RecorderDevice.h"
#include "audio/RecorderLauncher.h"
#include "core/ProfileSettings.h"
#include "res/resource.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/MeetingAgendas.h"
#include "store/RecordTemplates.h"

#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTimeEdit>

#include <filesystem>
#include <fstream>

namespace {

// Presses PICKUP, and STOP then OK at the first look (every 10 ms) at which
// done() holds.
template <typename D>
void pickupUntil(D& dialog, std::function<bool()> done)
{
    auto* watch = new QTimer(&dialog);
    QObject::connect(watch, &QTimer::timeout, [&dialog, watch, done] {
        if (!done())
            return;
        watch->stop();
        control<QPushButton>(dialog, IDC_DIARY_STOP)->click();
        control<QPushButton>(dialog, IDC_REC_OK)->click();
    });
    control<QPushButton>(dialog, IDC_DIARY_PICKUP)->click();
    watch->start(10);
}

class DiaryDialogTest : public RecorderWindowFixture {
protected:
    std::vector<std::string> helpPages;
    RecorderLauncher launcher{[this](const std::string& page) {
        helpPages.push_back(page);
        return true;
    }};
    const long long ten = diary::minutesOf(2027, 3, 2, 10, 0);
    std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>(ten);
    DiaryMonitor monitor{clock};

    void SetUp() override
    {
        StartupServices services = fake.services();
        services.recorder = &launcher;
        services.diary = &monitor;
        openWindow("tone:1000", services);
    }
    void TearDown() override
    {
        monitor.stop();
        RecorderWindowFixture::TearDown();
    }

    // A short entry filed for 2/3/2027 at a time, with a reminder.
    long fileEntry(int hour, int minute, int reminder)
    {
        DiaryRecorder recorder(app);
        EXPECT_EQ(recorder.openNew(), 0);
        EXPECT_EQ(recorder.pickup(), 1);
        EXPECT_TRUE(audiotest::pumpUntil([&] { return recorder.lengthMs() >= 500; }, 10000));
        recorder.stop();
        DiaryEntry e;
        e.day = 2;
        e.month = 3;
        e.year = 2027;
        e.hour = hour;
        e.minute = minute;
        e.reminder = reminder;
        e.subject = "Entry " + std::to_string(recorder.recId());
        EXPECT_EQ(recorder.save(e), 0);
        return recorder.recId();
    }

    // The diary line of a RecID as the store file holds it.
    std::string storedLine(long recId)
    {
        const std::string folder = path("stored");
        std::filesystem::create_directories(folder);
        EXPECT_EQ(ExtractFile(app.DataStorePath.c_str(), components::kDiary, folder.c_str()), 0);
        std::ifstream in(folder + "/" + components::kDiary, std::ios::binary);
        std::string line(indexline::kLineBytes, '\0');
        while (in.read(line.data(), static_cast<std::streamsize>(line.size())))
            if (std::atol(line.c_str()) == recId)
                return line;
        return {};
    }

    // Switches the monitor on through its menu command and waits until it
    // has looked at the diary.
    void monitorOn()
    {
        const int sleeps = clock->sleeps();
        window->runCommand(ID_DIARY_MONITOR);
        ASSERT_TRUE(clock->asleep(sleeps + 1));
    }
};

}  // namespace

TEST_F(DiaryDialogTest, NewRecordingOnTheDiaryListFilesAnEntryThatTheListShowsWithItsDayAndTime)
{
    ProfileSettings(app.IniPath, app.ProfileSection).write("ADiary", "Y");
    window->fillList(kListDiary);
    ASSERT_EQ(list()->rowCount(), 0);
    ASSERT_TRUE(window->commandAction(ID_TB_NEW_RECORDING)->isEnabled());

    int lit = 0;
    bool autoReminderFromProfile = false;
    whenShowing<DiaryRecorderDialog>(window.get(), [&](DiaryRecorderDialog& dialog) {
        autoReminderFromProfile = control<QCheckBox>(dialog, IDC_AUTO_REMINDER)->isChecked();
        EXPECT_FALSE(control<QWidget>(dialog, IDC_DIARY_STOP)->isEnabled());
        control<QLineEdit>(dialog, IDC_DIARY_SUBJECT)->setText("Call the plumber");
        control<QCalendarWidget>(dialog, IDC_DIARY_DATE)->setSelectedDate(QDate(2027, 1, 15));
        control<QTimeEdit>(dialog, IDC_DIARY_TIME)->setTime(QTime(8, 5));
        control<QCheckBox>(dialog, IDC_NAG_ME)->setChecked(true);
        // Saved once the bars followed the tone for a second.
        auto clock = std::make_shared<QElapsedTimer>();
        clock->start();
        pickupUntil(dialog, [&lit, &dialog, clock] {
            int now = 0;
            for (QProgressBar* bar : dialog.levelBars())
                now += bar->value() > 0 ? 1 : 0;
            lit = std::max(lit, now);
            if ((dialog.recorder().lengthMs() < 1000 || lit == 0) && clock->elapsed() < 10000)
                return false;
            control<QPushButton>(dialog, IDC_REC_HELP)->click();
            return true;
        });
        EXPECT_TRUE(control<QWidget>(dialog, IDC_DIARY_STOP)->isEnabled());
        EXPECT_FALSE(control<QWidget>(dialog, IDC_REC_OK)->isEnabled());
    });
    window->runCommand(ID_TB_NEW_RECORDING);

    EXPECT_TRUE(autoReminderFromProfile);
    // A tone at half of full scale lights the lower half of both meters.
    EXPECT_EQ(lit, 6);
    EXPECT_EQ(helpPages, std::vector<std::string>{"344.htm"});
    // The list was filled again when the recorder closed.
    ASSERT_EQ(list()->rowCount(), 1);
    EXPECT_EQ(cell(0, 1), "Call the plumber");
    EXPECT_EQ(cell(0, 2), "15/1/2027");
    EXPECT_EQ(cell(0, 3), "08:05");
    EXPECT_GE(cell(0, 4), "00:00:01");
}

TEST_F(DiaryDialogTest, ADueReminderIsAskedAboutPlayedAndSnoozedSoThatItFiresAgainAfterARestart)
{
    const long recId = fileEntry(10, 0, 2);
    ScriptedPrompt prompt;
    prompt.answerMessage(IDYES);
    std::vector<char> heard;
    bool shown = false;
    whenShowing<DiaryReminderDialog>(window.get(), [&](DiaryReminderDialog& dialog) {
        shown = true;
        EXPECT_TRUE(dialog.listenedTo());
        EXPECT_TRUE(control<QCheckBox>(dialog, IDC_REMINDER_NAG_ME)->isChecked());  // the entry's Nag Me
        // Played at once: the whole entry reaches the speaker.
        const std::string speaker = path("speaker.wav");
        audiotest::pumpUntil([&] { return audiotest::waveData(audiotest::readFile(speaker)).size() >= 8000; }, 5000);
        heard = audiotest::waveData(audiotest::readFile(speaker));
        control<QSpinBox>(dialog, IDC_SNOOZE_MINUTES)->setValue(15);
        control<QPushButton>(dialog, IDC_SNOOZE)->click();
    });
    monitorOn();
    audiotest::drain();
    EXPECT_TRUE(window->commandAction(ID_DIARY_MONITOR)->isChecked());
    ASSERT_TRUE(audiotest::pumpUntil([&] { return shown && window->findChild<DiaryReminderDialog*>() == nullptr; },
                                     10000));
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, "Diary reminder - Do you want to listen to it? : Info 132");
    const std::vector<std::int16_t> samples = audiotest::toSamples16(heard);
    ASSERT_GE(samples.size(), 4000u);
    EXPECT_NEAR(audiotest::peakFrequency(samples, 8000, 200, 3000, 10), 1000, 15);
    // The working copy of the sound is gone again (the greeting and warning
    // sounds of the store stay).
    for (const auto& item : std::filesystem::directory_iterator(app.TempDir)) {
        const std::string name = item.path().filename().string();
        const bool storeSound = name == components::kGreeting || name == components::kWarning;
        EXPECT_TRUE(storeSound || item.path().extension() != ".wav") << name;
    }

    // The snoozed time is in the store's line.
    const std::string line = storedLine(recId);
    EXPECT_EQ(indexline::field(line, 3), "2/3/2027");
    EXPECT_EQ(indexline::field(line, 4), "10:15");
    EXPECT_EQ(indexline::field(line, 11), "2");

    // Navo closes and starts again at 10:15: the entry reminds again.
    window->runCommand(ID_DIARY_MONITOR);
    audiotest::drain();
    EXPECT_FALSE(window->commandAction(ID_DIARY_MONITOR)->isChecked());
    clock->setNow(ten + 15);
    audiotest::MessageWindow later;
    DiaryMonitor restarted(clock);
    restarted.start(app, reinterpret_cast<std::uintptr_t>(later.handle()));
    ASSERT_TRUE(clock->asleep(clock->sleeps() + 1));
    restarted.stop();
    audiotest::drain();
    ASSERT_EQ(later.count(DiaryMonitor::kDue), 1);
    for (const auto& m : later.messages)
        EXPECT_TRUE(m.message != DiaryMonitor::kDue || static_cast<long>(m.wParam) == recId);
}

TEST_F(DiaryDialogTest, TwoEntriesDueTogetherOpenTwoPlayingWindowsFiftyPixelsApart)
{
    fileEntry(10, 0, 1);
    fileEntry(10, 0, 1);
    ScriptedPrompt prompt;
    prompt.answerMessage(IDYES);
    prompt.answerMessage(IDYES);
    QPoint apart;
    int playing = 0;
    bool done = false;
    auto* poll = new QTimer();
    QObject::connect(poll, &QTimer::timeout, [&, poll] {
        const QList<DiaryReminderDialog*> open = window->findChildren<DiaryReminderDialog*>();
        if (open.size() < 2 || !open[0]->isVisible() || !open[1]->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        apart = open[1]->pos() - open[0]->pos();
        for (DiaryReminderDialog* d : open)
            playing += d->listenedTo() && d->device() != nullptr && d->device()->isOpen() ? 1 : 0;
        open[1]->reject();
        open[0]->reject();
        done = true;
    });
    poll->start(10);
    monitorOn();
    ASSERT_TRUE(audiotest::pumpUntil([&] { return done && window->findChild<DiaryReminderDialog*>() == nullptr; },
                                     10000));
    EXPECT_EQ(apart, QPoint(50, 50));
    EXPECT_EQ(playing, 2);
    EXPECT_EQ(DiaryReminderDialog::cascadeOffset(), QPoint(0, 0));
}

TEST_F(DiaryDialogTest, NewRecordingOnTheMeetingListPrimesFromThePreviousMeetingAndShowsItsCost)
{
    ProfileSettings profile(app.IniPath, app.ProfileSection);
    profile.write("MeetCost", "12.00");
    profile.write("HighLight", "Y");
    window->fillList(kListMeeting);
    ASSERT_TRUE(window->commandAction(ID_TB_NEW_RECORDING)->isEnabled());
    const auto recordMeeting = [&](const char* subject, bool* primed) {
        whenShowing<MeetingRecorderDialog>(window.get(), [=](MeetingRecorderDialog& dialog) {
            if (primed != nullptr)
                *primed = control<QLineEdit>(dialog, IDC_DIARY_SUBJECT)->text() == "Budget review"
                       && dialog.findChild<QLineEdit*>("attendees")->text() == "Ann and Bob";
            dialog.showElapsed(90 * 60 * 1000);
            auto* cost = dialog.findChild<QLabel*>("meetingCost");
            EXPECT_EQ(cost->text(), QString::fromUtf8("\u00A3" "18.00"));
            EXPECT_EQ(dialog.findChild<QLabel*>("meetingTime")->text(), "01:30:00");
            EXPECT_TRUE(cost->property("highlighted").toBool());
            control<QLineEdit>(dialog, IDC_DIARY_SUBJECT)->setText(subject);
            dialog.findChild<QLineEdit*>("attendees")->setText("Ann and Bob");
            pickupUntil(dialog, [&dialog] { return dialog.recorder().lengthMs() >= 500; });
        });
        window->runCommand(ID_TB_NEW_RECORDING);
    };
    recordMeeting("Budget review", nullptr);
    ASSERT_EQ(list()->rowCount(), 1);
    EXPECT_EQ(cell(0, 1), "Budget review");
    profile.write("Prime", "Y");
    bool primed = false;
    recordMeeting("Second review", &primed);
    EXPECT_TRUE(primed);
    EXPECT_EQ(list()->rowCount(), 2);

    // Offline Meeting: the same timers with nothing recorded.
    bool offline = false;
    whenShowing<OfflineMeetingDialog>(window.get(), [&](OfflineMeetingDialog& dialog) {
        dialog.showElapsed(45 * 60 * 1000);
        offline = dialog.findChild<QLabel*>("meetingCost")->text() == QString::fromUtf8("\u00A3" "9.00");
        dialog.accept();
    });
    window->runCommand(ID_OFFLINE_MEETING);
    EXPECT_TRUE(offline);
}

TEST_F(DiaryDialogTest, ATemplateKeptInTheStoreStartsANewDiaryEntryWithItsTexts)
{
    whenShowing<TemplatesDialog>(window.get(), [&](TemplatesDialog& dialog) {
        dialog.findChild<QLineEdit*>("name")->setText("Weekly dentist");
        auto* type = dialog.findChild<QComboBox*>("type");
        type->setCurrentIndex(type->findData(kListDiary));
        dialog.findChild<QLineEdit*>("subject")->setText("Dentist check");
        dialog.findChild<QLineEdit*>("keywords")->setText("teeth");
        dialog.findChild<QPlainTextEdit*>("comments")->setPlainText("Bring the card");
        EXPECT_TRUE(dialog.saveTemplate());
        dialog.recordFromTemplate();
    });
    bool prefilled = false;
    whenShowing<DiaryRecorderDialog>(window.get(), [&](DiaryRecorderDialog& dialog) {
        prefilled = control<QLineEdit>(dialog, IDC_DIARY_SUBJECT)->text() == "Dentist check"
                 && control<QLineEdit>(dialog, IDC_KEYWORDS)->text() == "teeth"
                 && control<QPlainTextEdit>(dialog, IDC_COMMENTS)->toPlainText() == "Bring the card";
        pickupUntil(dialog, [&dialog] { return dialog.recorder().lengthMs() >= 300; });
    });
    window->runCommand(ID_TEMPLATES);
    // WM_USER+30 opens the recorder of the template's type, then its list.
    ASSERT_TRUE(audiotest::pumpUntil([&] { return app.CurrentListType == kListDiary && list()->rowCount() == 1; },
                                     10000));
    EXPECT_TRUE(prefilled);
    EXPECT_EQ(cell(0, 1), "Dentist check");

    // The template is in the store file itself.
    const std::string folder = path("stored-templates");
    std::filesystem::create_directories(folder);
    ASSERT_EQ(ExtractFile(app.DataStorePath.c_str(), components::kTemplates, folder.c_str()), 0);
    std::ifstream in(folder + "/" + components::kTemplates);
    std::string line;
    ASSERT_TRUE(std::getline(in, line));
    RecordTemplate stored;
    ASSERT_TRUE(recordtemplates::parse(line, &stored));
    EXPECT_EQ(stored.name, "Weekly dentist");
    EXPECT_EQ(stored.listType, kListDiary);
    EXPECT_EQ(stored.comments, "Bring the card");
    EXPECT_FALSE(std::getline(in, line));
}

TEST_F(DiaryDialogTest, AMeetingFollowingAnAgendaMarksEachItemItReachesWhereTheRecordingIs)
{
    ASSERT_EQ(meetingagendas::save(app, {MeetingAgenda{"Board", {"Minutes", "Budget", "Any other business"}}}), 0);
    window->fillList(kListMeeting);
    long recId = 0;
    std::string baseName;
    bool greyedWithoutAgenda = false;
    long budgetAtMs = -1;
    whenShowing<MeetingRecorderDialog>(window.get(), [&](MeetingRecorderDialog& dialog) {
        auto* next = dialog.findChild<QPushButton*>("nextItemButton");
        greyedWithoutAgenda = !next->isEnabled();
        EXPECT_TRUE(dialog.chooseAgenda("Board"));
        EXPECT_EQ(dialog.findChild<QLabel*>("nextItem")->text(), "Minutes");
        recId = dialog.recorder().recId();
        baseName = dialog.recorder().baseName();
        next->click();  // before PICKUP: the start of the recording
        pickupUntil(dialog, [&dialog, next, &budgetAtMs] {
            const long ms = dialog.recorder().lengthMs();
            if (dialog.recorder().itemsReached() == 1 && ms >= 1100) {
                budgetAtMs = ms;
                next->click();
            }
            return dialog.recorder().itemsReached() == 2 && ms >= 1500;
        });
    });
    window->runCommand(ID_TB_NEW_RECORDING);
    ASSERT_EQ(list()->rowCount(), 1);
    EXPECT_TRUE(greyedWithoutAgenda);

    // The filed record's marks: the two items reached, each where it was.
    const std::string folder = path("stored-meeting");
    ASSERT_FALSE(playerrecords::openFiled(app, recId, folder).empty());
    const std::vector<IndexMark> marks = indexmarks::load(folder + "/" + baseName + indexmarks::kFileExtension);
    ASSERT_EQ(marks.size(), 2u);
    EXPECT_EQ(marks[0].comment, "Minutes");
    EXPECT_EQ(marks[0].time, "00:00:00");
    EXPECT_EQ(marks[1].comment, "Budget");
    // Where the recording was when NEXT ITEM was pressed (1.1 s or later).
    ASSERT_GE(budgetAtMs, 1100);
    char at[16];
    std::snprintf(at, sizeof at, "%02ld:%02ld:%02ld", budgetAtMs / 3600000, budgetAtMs / 60000 % 60,
                  budgetAtMs / 1000 % 60);
    EXPECT_EQ(marks[1].time, at);
}
