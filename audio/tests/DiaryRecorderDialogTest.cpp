// The Diary Recorder through the main window, offscreen, on the virtual
// input: New Recording on the Diary list opens dialog 120, its level bars
// follow the tone, and the entry filed with its day, time and reminder is
// the Diary list's new row.
#include "FakeServices.h"
#include "ScriptedPrompt.h"

#include "app/MainWindow.h"
#include "audio/DiaryRecorderDialog.h"
#include "audio/RecorderLauncher.h"
#include "core/AppData.h"
#include "core/ProfileSettings.h"
#include "platform/CallbackWindow.h"
#include "res/resource.h"
#include "store/DataStoreService.h"

#include <QCalendarWidget>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimeEdit>
#include <QTimer>
#include <QTreeView>
#include <gtest/gtest.h>

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
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        qputenv("NAVO_AUDIO", "virtual");
        qputenv("NAVO_AUDIO_INPUT", "tone:1000");
        qputenv("NAVO_AUDIO_PACE", "fast");
        qputenv("NAVO_AUDIO_OUTPUT", "");
        CallbackWindow::registerClass();
        StartupServices services = fake.services();
        services.store = &store;
        services.recorder = &launcher;
        window = std::make_unique<MainWindow>(app, services, QFile::encodeName(dir.path()).toStdString() + "/navo");
        window->OnInitDialog();
        ASSERT_EQ(app.StoreUnusable, kStoreHealthy);
    }
    void TearDown() override
    {
        window.reset();
        store.deleteWorkingCopies(app);
        store.workspace(app, 2, "*.*");
        for (const char* name : {"NAVO_AUDIO", "NAVO_AUDIO_INPUT", "NAVO_AUDIO_PACE", "NAVO_AUDIO_OUTPUT"})
            qunsetenv(name);
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
