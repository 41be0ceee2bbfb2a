// The Diary Recorder and its reminders through the main window, offscreen,
// on the virtual devices: New Recording on the Diary list opens dialog 120,
// its level bars follow the tone, and the entry filed with its day, time and
// reminder is the Diary list's new row. With the Diary Monitor switched on
// and a clock the test moves, a due entry is asked about (691), dialog 139
// plays it, Snooze stores the new time so that it fires again after a
// restart, and entries due together open 50 pixels apart.
#include "AudioTestSupport.h"
#include "FakeDiaryClock.h"
#include "FakeServices.h"
#include "ScriptedPrompt.h"

#include "app/MainWindow.h"
#include "app/TemplatesDialog.h"
#include "audio/DiaryMonitor.h"
#include "audio/DiaryRecorderDialog.h"
#include "audio/DiaryReminderDialog.h"
#include "audio/MeetingRecorderDialog.h"
#include "audio/RecorderDevice.h"
#include "audio/RecorderLauncher.h"
#include "core/AppData.h"
#include "core/ProfileSettings.h"
#include "platform/CallbackWindow.h"
#include "res/resource.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/audio/WaveFormats.h"
#include "store/ComponentFiles.h"
#include "store/DataStoreService.h"
#include "store/IndexLine.h"
#include "store/RecordTemplates.h"
#include "store/MeetingAgendas.h"
#include "audio/IndexMarks.h"

#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QPlainTextEdit>
#include <QLabel>
#include <QSpinBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimeEdit>
#include <QTimer>
#include <QTreeView>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

namespace {

template <typename T>
T* control(QWidget& dialog, int id)
{
    T* widget = dialog.findChild<T*>(QString::number(id));
    EXPECT_NE(widget, nullptr) << id;
    return widget;
}

// Runs body once the dialog of type D that opens next is showing.
template <typename D>
void whenShowing(QWidget* parent, std::function<void(D&)> body)
{
    auto* poll = new QTimer();
    QObject::connect(poll, &QTimer::timeout, [poll, parent, body] {
        auto* dialog = parent->findChild<D*>();
        if (dialog == nullptr || !dialog->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        body(*dialog);
    });
    poll->start(10);
}

class DiaryDialogTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    AppData app;
    FakeServices fake;
    DataStoreService store;
    std::vector<std::string> helpPages;
    RecorderLauncher launcher{[this](const std::string& page) {
        helpPages.push_back(page);
        return true;
    }};
    const long long ten = diary::minutesOf(2027, 3, 2, 10, 0);
    std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>(ten);
    DiaryMonitor monitor{clock};
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        qputenv("NAVO_AUDIO_OUTPUT", QFile::encodeName(dir.filePath("speaker.wav")));
        qputenv("NAVO_AUDIO", "virtual");
        qputenv("NAVO_AUDIO_INPUT", "tone:1000");
        qputenv("NAVO_AUDIO_PACE", "fast");
        CallbackWindow::registerClass();
        StartupServices services = fake.services();
        services.store = &store;
        services.recorder = &launcher;
        services.diary = &monitor;
        window = std::make_unique<MainWindow>(app, services, QFile::encodeName(dir.path()).toStdString() + "/navo");
        window->OnInitDialog();
        ASSERT_EQ(app.StoreUnusable, kStoreHealthy);
    }
    void TearDown() override
    {
        monitor.stop();
        window.reset();
        store.deleteWorkingCopies(app);
        store.workspace(app, 2, "*.*");
        for (const char* name : {"NAVO_AUDIO", "NAVO_AUDIO_INPUT", "NAVO_AUDIO_PACE", "NAVO_AUDIO_OUTPUT"})
            qunsetenv(name);
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
        const std::string folder = dir.filePath("stored").toStdString();
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

    QAbstractItemModel* list() const { return window->findChild<QTreeView*>("10002")->model(); }
    QString cell(int row, int column) const { return list()->index(row, column).data().toString(); }
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
        EXPECT_EQ(control<QTimeEdit>(dialog, IDC_DIARY_TIME)->displayFormat(), "HH : mm");
        for (int i = 0; i < DiaryRecorderDialog::kLevelBars; ++i)
            control<QProgressBar>(dialog, DiaryRecorderDialog::levelBarId(i));
        EXPECT_FALSE(control<QWidget>(dialog, IDC_DIARY_STOP)->isEnabled());
        control<QLineEdit>(dialog, IDC_DIARY_SUBJECT)->setText("Call the plumber");
        control<QCalendarWidget>(dialog, IDC_DIARY_DATE)->setSelectedDate(QDate(2027, 1, 15));
        control<QTimeEdit>(dialog, IDC_DIARY_TIME)->setTime(QTime(8, 5));
        control<QCheckBox>(dialog, IDC_NAG_ME)->setChecked(true);
        // PICKUP, then STOP once the bars followed the tone for a second.
        auto* watch = new QTimer(&dialog);
        auto clock = std::make_shared<QElapsedTimer>();
        clock->start();
        QObject::connect(watch, &QTimer::timeout, [&lit, &dialog, watch, clock] {
            int now = 0;
            for (QProgressBar* bar : dialog.levelBars())
                now += bar->value() > 0 ? 1 : 0;
            lit = std::max(lit, now);
            if ((dialog.recorder().lengthMs() >= 1000 && lit > 0) || clock->elapsed() > 10000) {
                watch->stop();
                control<QPushButton>(dialog, IDC_DIARY_STOP)->click();
                control<QPushButton>(dialog, IDC_REC_HELP)->click();
                control<QPushButton>(dialog, IDC_REC_OK)->click();
            }
        });
        control<QPushButton>(dialog, IDC_DIARY_PICKUP)->click();
        EXPECT_TRUE(control<QWidget>(dialog, IDC_DIARY_STOP)->isEnabled());
        EXPECT_FALSE(control<QWidget>(dialog, IDC_REC_OK)->isEnabled());
        watch->start(10);
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
        EXPECT_EQ(dialog.windowTitle(), "Navo Diary Reminder");
        auto* minutes = control<QSpinBox>(dialog, IDC_SNOOZE_MINUTES);
        EXPECT_EQ(minutes->value(), 10);
        EXPECT_EQ(minutes->minimum(), 1);
        EXPECT_EQ(minutes->maximum(), 240);
        EXPECT_TRUE(control<QCheckBox>(dialog, IDC_REMINDER_NAG_ME)->isChecked());
        EXPECT_EQ(control<QPushButton>(dialog, IDC_SNOOZE)->toolTip().replace('\n', ' '),
                  "Resets the reminder for the specified number of minutes");
        EXPECT_FALSE(control<QPushButton>(dialog, IDC_REMINDER_PLAY)->icon().isNull());
        // Played at once: the whole entry reaches the speaker.
        const std::string speaker = dir.filePath("speaker.wav").toStdString();
        audiotest::pumpUntil([&] { return audiotest::waveData(audiotest::readFile(speaker)).size() >= 8000; }, 5000);
        heard = audiotest::waveData(audiotest::readFile(speaker));
        minutes->setValue(15);
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
            auto* watch = new QTimer(&dialog);
            QObject::connect(watch, &QTimer::timeout, [&dialog, watch] {
                if (dialog.recorder().lengthMs() < 500)
                    return;
                watch->stop();
                control<QPushButton>(dialog, IDC_DIARY_STOP)->click();
                control<QPushButton>(dialog, IDC_REC_OK)->click();
            });
            control<QPushButton>(dialog, IDC_DIARY_PICKUP)->click();
            watch->start(10);
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
        auto* watch = new QTimer(&dialog);
        QObject::connect(watch, &QTimer::timeout, [&dialog, watch] {
            if (dialog.recorder().lengthMs() < 300)
                return;
            watch->stop();
            control<QPushButton>(dialog, IDC_DIARY_STOP)->click();
            control<QPushButton>(dialog, IDC_REC_OK)->click();
        });
        control<QPushButton>(dialog, IDC_DIARY_PICKUP)->click();
        watch->start(10);
    });
    window->runCommand(ID_TEMPLATES);
    // WM_USER+30 opens the recorder of the template's type, then its list.
    ASSERT_TRUE(audiotest::pumpUntil([&] { return app.CurrentListType == kListDiary && list()->rowCount() == 1; },
                                     10000));
    EXPECT_TRUE(prefilled);
    EXPECT_EQ(cell(0, 1), "Dentist check");

    // The template is in the store file itself.
    const std::string folder = dir.filePath("stored-templates").toStdString();
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
        auto* watch = new QTimer(&dialog);
        QObject::connect(watch, &QTimer::timeout, [&dialog, next, watch, &budgetAtMs] {
            const long ms = dialog.recorder().lengthMs();
            if (dialog.recorder().itemsReached() == 1 && ms >= 1100) {
                budgetAtMs = ms;
                next->click();
            } else if (dialog.recorder().itemsReached() == 2 && ms >= 1500) {
                watch->stop();
                control<QPushButton>(dialog, IDC_DIARY_STOP)->click();
                control<QPushButton>(dialog, IDC_REC_OK)->click();
            }
        });
        control<QPushButton>(dialog, IDC_DIARY_PICKUP)->click();
        watch->start(10);
    });
    window->runCommand(ID_TB_NEW_RECORDING);
    ASSERT_EQ(list()->rowCount(), 1);
    EXPECT_TRUE(greyedWithoutAgenda);

    // The filed record's marks: the two items reached, each where it was.
    const std::string folder = dir.filePath("stored-meeting").toStdString();
    std::filesystem::create_directories(folder);
    const std::string name = indexline::recIdText(recId) + ".vxz";
    ASSERT_EQ(ExtractFile(app.DataStorePath.c_str(), name.c_str(), folder.c_str()), 0);
    ASSERT_EQ(VXopenVXZ((folder + "/" + name).c_str(), folder.c_str()), 0);
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
