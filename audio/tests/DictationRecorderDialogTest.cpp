// Dialog 114 offscreen, found and driven by control numbers: the level
// meter while recording, filing a new dictation and a re-recorded one into
// the main window's Dictation list over a real store with the virtual sound
// device, the layout, the questions on leaving, the picture and the
// failures. What is filed, sample by sample, is the recorder's own tests'.
#include "RecordFactory.h"
#include "RecorderWindowFixture.h"
#include "ScriptedPrompt.h"

#include "audio/DictationRecorderDialog.h"
#include "audio/LevelMeter.h"
#include "core/ProfileSettings.h"
#include "platform/Trace.h"
#include "res/resource.h"
#include "store/IndexLine.h"

#include <QElapsedTimer>
#include <QImage>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTreeWidget>

namespace {

class RecorderDialogTest : public RecorderWindowFixture {
protected:
    std::vector<std::string> helpPages;

    void SetUp() override { openWindow("tone:440", fake.services()); }

    int run(const std::string& recIdText)
    {
        return runDictationRecorder(app, window.get(), recIdText, [this](const std::string& page) {
            helpPages.push_back(page);
            return true;
        });
    }

    std::string recIdSetting() const { return ProfileSettings(app.IniPath, app.ProfileSection).read("RecID"); }

    // Presses Record, and Stop once the level meter moved and the recording
    // reached atLeastMs.
    // whileRecording runs once, at the first tick after Record, before any
    // Stop: a timer of its own could fire after the watch has stopped.
    static void recordWithMeter(DictationRecorderDialog& dialog, long atLeastMs, int* loudest,
                                std::function<void()> whileRecording = {})
    {
        auto* meter = dialog.findChild<LevelMeter*>("levelMeter");
        ASSERT_NE(meter, nullptr);
        QTimer watch;
        QElapsedTimer clock;
        clock.start();
        QObject::connect(&watch, &QTimer::timeout, [&] {
            if (whileRecording) {
                whileRecording();
                whileRecording = nullptr;
            }
            *loudest = std::max(*loudest, meter->leftLevel());
            const bool long_enough = static_cast<long>(dialog.recorder().device().length()) >= atLeastMs;
            if ((long_enough && *loudest > 0) || clock.elapsed() > 10000)
                control<QPushButton>(dialog, IDC_REC_STOP)->click();
        });
        watch.start(10);
        control<QPushButton>(dialog, IDC_REC_RECORD)->click();
    }
};

}  // namespace

TEST_F(RecorderDialogTest, TheLayoutHoldsStillAndReadOnlyFieldsDoNotLookEditable)
{
    DictationRecorderDialog dialog(app, "", {}, window.get());
    ASSERT_EQ(dialog.openRecording(), 0);
    dialog.show();
    dialog.layout()->activate();
    const auto geometry = [&](int id) { return control<QWidget>(dialog, id)->geometry(); };
    const QRect endBefore = geometry(IDC_END_TIME);
    const QRect subjectBefore = geometry(IDC_SUBJECT);

    // The times fill in when recording starts and ends: the row keeps still.
    control<QLabel>(dialog, IDC_START_TIME)->setText("25/11/2026 12:00:00.000 Wednesday");
    control<QLabel>(dialog, IDC_END_TIME)->setText("25/11/2026 12:00:09");
    dialog.layout()->activate();
    EXPECT_EQ(geometry(IDC_END_TIME), endBefore);
    EXPECT_EQ(geometry(IDC_SUBJECT), subjectBefore);

    // The level meter follows its caption and fills the row.
    auto* caption = dialog.findChild<QLabel*>("levelCaption");
    auto* meter = dialog.findChild<LevelMeter*>("levelMeter");
    ASSERT_TRUE(caption && meter);
    EXPECT_LE(meter->x() - (caption->x() + caption->sizeHint().width()), 2 * dialog.layout()->spacing() + 6);
    EXPECT_GE(meter->geometry().right(), geometry(IDC_SUBJECT).right() - 2);

    // The read-only numbers are drawn on the dialog's colour, not on the
    // white of the fields one types in.
    const QImage picture = dialog.grab().toImage();
    const auto inside = [&](int id) { return picture.pixelColor(geometry(id).center() + QPoint(geometry(id).width() / 2 - 4, 0)); };
    EXPECT_EQ(inside(IDC_CUT_FROM_MSEC), dialog.palette().color(QPalette::Window));
    EXPECT_EQ(inside(IDC_CUT_TO_TIME), dialog.palette().color(QPalette::Window));
    EXPECT_NE(inside(IDC_SUBJECT), dialog.palette().color(QPalette::Window));
}

TEST_F(RecorderDialogTest, ARecordedDictationAppearsInTheDictationList)
{
    window->fillList(kListDictation);
    ASSERT_EQ(list()->rowCount(), 0);
    int loudest = 0;
    bool stopOnlyWhileRecording = false;
    whenShowing<DictationRecorderDialog>(window.get(), [&](DictationRecorderDialog& dialog) {
        control<QLineEdit>(dialog, IDC_SUBJECT)->setText("Letter to the bank");
        control<QLineEdit>(dialog, IDC_KEYWORDS)->setText("bank loan");
        control<QPlainTextEdit>(dialog, IDC_COMMENTS)->setPlainText("Send on Monday");
        control<QLineEdit>(dialog, IDC_INDEX_COMMENT)->setText("opening");
        control<QPushButton>(dialog, IDC_MARK)->click();
        EXPECT_TRUE(control<QLineEdit>(dialog, IDC_INDEX_COMMENT)->text().isEmpty());
        recordWithMeter(dialog, 2000, &loudest, [&] {
            stopOnlyWhileRecording = control<QWidget>(dialog, IDC_REC_STOP)->isEnabled()
                                  && !control<QWidget>(dialog, IDC_REC_OK)->isEnabled()
                                  && !control<QWidget>(dialog, IDC_REC_RECORD)->isEnabled();
        });
        EXPECT_FALSE(control<QWidget>(dialog, IDC_REC_STOP)->isEnabled());
        EXPECT_EQ(control<QTreeWidget>(dialog, IDC_INDEX_LIST)->topLevelItemCount(), 1);
        EXPECT_EQ(control<QTreeWidget>(dialog, IDC_INDEX_LIST)->topLevelItem(0)->text(0), "opening");
        EXPECT_NE(control<QLabel>(dialog, IDC_LENGTH)->text(), "00:00:00");
        EXPECT_GE(control<QSlider>(dialog, IDC_END_SLIDER)->maximum(), 2);
        control<QPushButton>(dialog, IDC_REC_HELP)->click();
        control<QPushButton>(dialog, IDC_REC_OK)->click();
    });
    ASSERT_EQ(run(""), 1);
    EXPECT_TRUE(stopOnlyWhileRecording);
    EXPECT_GE(loudest, 40);
    EXPECT_EQ(helpPages, std::vector<std::string>{"300.htm"});

    window->fillList(kListDictation);
    ASSERT_EQ(list()->rowCount(), 1);
    EXPECT_EQ(cell(0, 0), "00000001");
    EXPECT_EQ(cell(0, 1), "Letter to the bank");
    // The filed sound itself is measured by the recorder's own tests.
    EXPECT_GE(cell(0, 4), "00:00:02");
}

TEST_F(RecorderDialogTest, ReRecordingFromTheListKeepsItsRowAndAddsAtTheEnd)
{
    RecordFactory records(app, 8000);
    const long recId = records.dictation("Short note", 0, "words");
    ASSERT_EQ(records.lastResult(), 0);
    const std::string recIdText = indexline::recIdText(recId);
    const std::string before = recIdSetting();
    int loudest = 0;
    whenShowing<DictationRecorderDialog>(window.get(), [&](DictationRecorderDialog& dialog) {
        EXPECT_EQ(control<QLabel>(dialog, IDC_RECID)->text().toStdString(), recIdText);
        EXPECT_EQ(control<QLineEdit>(dialog, IDC_SUBJECT)->text(), "Short note");
        EXPECT_EQ(control<QLabel>(dialog, IDC_LENGTH)->text(), "00:00:01");
        EXPECT_EQ(control<QSpinBox>(dialog, IDC_CUT_TO_SPIN)->minimum(), 1);
        EXPECT_EQ(control<QLineEdit>(dialog, IDC_CUT_TO_MSEC)->text(), "1000  ");
        recordWithMeter(dialog, 3000, &loudest);
        control<QPushButton>(dialog, IDC_REC_OK)->click();
    });
    ASSERT_EQ(run(recIdText), 1);
    EXPECT_EQ(recIdSetting(), before);  // no new RecID for a re-recording
    window->fillList(kListDictation);
    ASSERT_EQ(list()->rowCount(), 1);
    EXPECT_EQ(cell(0, 0).toStdString(), recIdText);
    EXPECT_GE(cell(0, 4), "00:00:03");  // the second it had, and what was added
}

// Which question is asked is the recorder's own tests' business; here
// Cancel and closing the window must ask it, and No keep the store as it was.
TEST_F(RecorderDialogTest, CancelAndClosingWhileRecordingAskAndOnlyYesFiles)
{
    ScriptedPrompt prompt;
    whenShowing<DictationRecorderDialog>(window.get(), [&](DictationRecorderDialog& dialog) {
        control<QLineEdit>(dialog, IDC_SUBJECT)->setText("Not wanted");
        prompt.answerMessage(IDNO);
        control<QPushButton>(dialog, IDC_REC_CANCEL)->click();
    });
    EXPECT_EQ(run(""), 0);
    EXPECT_EQ(prompt.messages().size(), 1u);
    window->fillList(kListDictation);
    EXPECT_EQ(list()->rowCount(), 0);

    TraceCapture trace;
    whenShowing<DictationRecorderDialog>(window.get(), [&](DictationRecorderDialog& dialog) {
        QTimer::singleShot(200, &dialog, [&] {
            prompt.answerMessage(IDYES);
            dialog.close();
        });
        control<QPushButton>(dialog, IDC_REC_RECORD)->click();
    });
    EXPECT_EQ(run(""), 1);
    EXPECT_TRUE(trace.contains("close\n"));  // the recording's run ended
    EXPECT_EQ(prompt.messages().size(), 2u);
    window->fillList(kListDictation);
    EXPECT_EQ(list()->rowCount(), 1);
}

TEST_F(RecorderDialogTest, APictureIsChosenThroughThePromptAndCanBeRemovedFromItsMenu)
{
    const std::string photo = path("photo.jpg");
    QImage image(16, 12, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    ASSERT_TRUE(image.save(QString::fromStdString(photo), "JPEG"));
    DictationRecorderDialog dialog(app, "", {}, window.get());
    ASSERT_EQ(dialog.openRecording(), 0);
    EXPECT_EQ(control<QLabel>(dialog, IDC_RECID)->text(), "00000001");
    // The default picture until one is chosen.
    EXPECT_FALSE(control<QLabel>(dialog, IDC_PICTURE)->pixmap().isNull());
    EXPECT_FALSE(control<QLabel>(dialog, IDC_PICTURE)->property("showsPicture").toBool());
    EXPECT_FALSE(control<QWidget>(dialog, IDC_REMOVE_PICTURE)->isEnabled());
    // Tips are broken into narrow lines.
    const QString tip = control<QWidget>(dialog, IDC_INSERT_PICTURE)->toolTip();
    EXPECT_GT(tip.count('\n'), 0);
    for (const QString& line : tip.split('\n'))
        EXPECT_LE(line.size(), DictationRecorderDialog::kTipWidth);
    ScriptedPrompt prompt;
    prompt.answerFile(photo);
    control<QPushButton>(dialog, IDC_INSERT_PICTURE)->click();
    ASSERT_EQ(prompt.fileRequests().size(), 1u);
    EXPECT_TRUE(prompt.fileRequests()[0].open);
    EXPECT_TRUE(control<QLabel>(dialog, IDC_PICTURE)->property("showsPicture").toBool());
    EXPECT_TRUE(control<QWidget>(dialog, IDC_REMOVE_PICTURE)->isEnabled());

    std::unique_ptr<QMenu> menu = dialog.pictureMenu();
    const QList<QAction*> actions = menu->actions();
    ASSERT_EQ(actions.size(), 2);
    EXPECT_TRUE(actions[0]->isEnabled());
    actions[0]->trigger();
    EXPECT_FALSE(control<QLabel>(dialog, IDC_PICTURE)->property("showsPicture").toBool());
    EXPECT_FALSE(control<QWidget>(dialog, IDC_REMOVE_PICTURE)->isEnabled());
    EXPECT_FALSE(dialog.pictureMenu()->actions()[0]->isEnabled());
    EXPECT_FALSE(control<QLabel>(dialog, IDC_PICTURE)->pixmap().isNull());
}

TEST_F(RecorderDialogTest, NoDeviceIsToldOnOpeningAndARecIdWithNoRecordShowsItsLoadError)
{
    CallbackWindow::unregisterClass();
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    DictationRecorderDialog dialog(app, "", {}, window.get());
    EXPECT_TRUE(prompt.messages().empty());  // nothing said before the recorder is opened
    EXPECT_EQ(dialog.openRecording(), 202);
    CallbackWindow::registerClass();
    prompt.answerMessage(IDOK);
    EXPECT_EQ(run("00000099"), 0);
    ASSERT_EQ(prompt.messages().size(), 2u);
    EXPECT_NE(prompt.messages()[1].text.find("Error 112"), std::string::npos);
}
