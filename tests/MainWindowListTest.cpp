// The main window's record lists over a real store filled through the real
// filing procedure, driven offscreen by control numbers.
#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QHeaderView>
#include <QListWidget>
#include <QMenu>
#include <QTest>
#include <QTreeWidget>

#include <filesystem>
#include <fstream>

#include "ScriptedPrompt.h"
#include "StoreWindowFixture.h"
#include "app/CompressStoreDialog.h"
#include "app/RecordListModel.h"
#include "app/RecordLists.h"
#include "app/StoreCompression.h"
#include "maker/Ek7Acm/tests/ToneWave.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/WindowMessages.h"
#include "platform/gui/Shell.h"
#include "res/MessageCatalogue.h"
#include "res/StringTable.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

namespace {

// The window with the real store compression behind Tools > Compress.
class ListWindowTest : public StoreWindowTest {
protected:
    StoreCompression compression{store};
    void SetUp() override { open([this](StartupServices& services) { services.compression = &compression; }); }
};

QStringList headers(const QTreeView* list)
{
    QStringList titles;
    for (int c = 0; c < list->model()->columnCount(); ++c)
        titles << list->model()->headerData(c, Qt::Horizontal).toString();
    return titles;
}

}  // namespace

TEST_F(ListWindowTest, EveryListHasItsColumnsRowsAndCountTextOverAConsistentModel)
{
    records->dictation("Letter to the bank");
    records->dictationWithText("Notes with text");
    records->meeting("Board meeting");
    records->message("Ann Smith", "01234 567", true);
    records->message("Bob", "0800 1", false);
    records->phoneCall("Carol", "555 0100");
    records->diary("24/12/2026", "09:15", "Buy gifts");
    records->translation("Bonjour");
    records->video("Holiday");
    ASSERT_EQ(records->lastResult(), 0);
    // Every reset below, including the phone list's eighth column coming and
    // going, is checked for a consistent model; a fault aborts the test.
    QAbstractItemModelTester tester(window->recordModel(), QAbstractItemModelTester::FailureReportingMode::Fatal);

    window->fillList(kListDictation);
    EXPECT_EQ(headers(list()), (QStringList{"ID", "Subject", "Date", "Time", "Duration", "", ""}));
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total dictations found = 2");
    EXPECT_EQ(label(IDC_HEADING), "Dictation");
    EXPECT_EQ(cell(0, 1), "Notes with text");  // newest first
    EXPECT_GE(list()->columnWidth(1), 280);
    // An eight-digit ID and its row picture fit in the ID column whatever the font.
    EXPECT_GE(list()->columnWidth(0), list()->fontMetrics().horizontalAdvance(QStringLiteral("00000001")) + 16 + 8);
    EXPECT_NEAR(double(list()->columnWidth(1)) / list()->columnWidth(0), 2.8, 0.03);  // in proportion
    EXPECT_TRUE(list()->isColumnHidden(5));
    EXPECT_TRUE(list()->isColumnHidden(6));
    EXPECT_EQ(list()->header()->sortIndicatorSection(), 0);

    window->fillList(kListPhone);
    EXPECT_EQ(headers(list()), (QStringList{"ID", "Phone Number", "Name", "Date", "Time", "Duration", "", ""}));
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 3 : You have 1 new messages.");
    EXPECT_EQ(fake.messagesWaiting, 1);
    EXPECT_EQ(cell(2, 1), "01234 567");
    EXPECT_EQ(cell(2, 2), "Ann Smith");
    EXPECT_EQ(cell(0, 1), "555 0100");
    EXPECT_TRUE(list()->isColumnHidden(6));
    EXPECT_TRUE(list()->isColumnHidden(7));
    EXPECT_FALSE(list()->isColumnHidden(5));

    // Back to a seven-column list: nothing of the phone list's eighth stays.
    window->fillList(kListDiary);
    EXPECT_EQ(list()->model()->columnCount(), 7);
    EXPECT_EQ(headers(list()), (QStringList{"ID", "Subject", "Diary Date", "Diary Time", "Duration", "", ""}));
    EXPECT_EQ(cell(0, 2), "24/12/2026");
    EXPECT_EQ(cell(0, 3), "09:15");
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total diary entries found = 1");

    window->fillList(kListMeeting);
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total meetings found = 1");
    window->fillList(kListTranslation);
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total translations found = 1");
    window->fillList(kListVideo);
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total videos found = 1");
    EXPECT_EQ(app.CurrentListType, kListVideo);
}

// A click on the chooser fills the list of its position; with no new
// message the count text leaves them out.
TEST_F(ListWindowTest, ChooserClicksFillTheListOfTheirPosition)
{
    records->message("Bob", "0800 1", false);
    auto* chooser = window->findChild<QListWidget*>(QString::number(IDC_RECORD_TYPES));
    QListWidgetItem* phone = chooser->item(4);
    chooser->setCurrentItem(phone);
    emit chooser->itemClicked(phone);
    EXPECT_EQ(app.CurrentListType, kListPhone);
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 1");
    EXPECT_EQ(fake.messagesWaiting, 0);
}

TEST_F(ListWindowTest, RowsAreColouredByTheirRecordingQuality)
{
    records->dictation("Voice", 0);
    records->dictation("Stereo", 1);
    records->dictation("Radio", 2);
    records->dictation("CD", 3);
    records->dictation("Odd", 7);
    window->fillList(kListDictation);
    const auto colour = [this](int row) { return list()->model()->index(row, 1).data(Qt::ForegroundRole).value<QColor>(); };
    EXPECT_EQ(colour(4), QColor(10, 20, 200));
    EXPECT_EQ(colour(3), QColor(0, 0, 0));
    EXPECT_EQ(colour(2), QColor(43, 132, 34));
    EXPECT_EQ(colour(1), QColor(140, 0, 141));
    EXPECT_EQ(colour(0), QColor(10, 20, 200));
}

TEST_F(ListWindowTest, DeleteAsksByNameForOneAndInGeneralForSeveral)
{
    const long first = records->dictation("One");
    records->dictation("Two");
    records->dictation("Three");
    window->fillList(kListDictation);
    ScriptedPrompt prompt;

    select({2});
    EXPECT_EQ(window->selectedId(), indexline::recIdText(first));
    prompt.answerMessage(IDNO);
    window->runCommand(ID_RECORD_DELETE);
    EXPECT_EQ(prompt.messages().at(0).text, "Are you sure you want to delete message ID : " + indexline::recIdText(first));
    EXPECT_EQ(prompt.messages().at(0).flags, MB_YESNO | MB_ICONQUESTION);
    EXPECT_EQ(list()->model()->rowCount(), 3);

    // The Delete key does what the menu does.
    select({0, 1});
    prompt.answerMessage(IDYES);
    prompt.answerMessage(IDOK);
    window->show();
    QApplication::setActiveWindow(window.get());
    list()->setFocus();
    QTest::keyClick(list(), Qt::Key_Delete);
    ASSERT_EQ(prompt.messages().size(), 3u);
    EXPECT_EQ(prompt.messages().at(1).text, "Are you sure you want to delete the selected records");
    EXPECT_EQ(prompt.messages().at(2).text, "Message(s) Deleted");
    EXPECT_EQ(prompt.messages().at(2).flags, MB_ICONINFORMATION);
    ASSERT_EQ(list()->model()->rowCount(), 1);
    EXPECT_EQ(cell(0, 1), "One");
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total dictations found = 1");
}

TEST_F(ListWindowTest, RecordMenuFollowsListAndSelection)
{
    records->dictation("One");
    records->dictation("Two");
    records->message("Ann", "1", true);
    window->fillList(kListDictation);
    EXPECT_EQ(window->recordMenu(), nullptr);  // nothing selected

    const auto requested = [](QMenu& menu, int id) {
        return menu.findChild<QAction*>(QString::number(id))->data().toBool();
    };
    select({0});
    auto menu = window->recordMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_TRUE(requested(*menu, ID_RECORD_NEW_DICTATION));
    EXPECT_TRUE(requested(*menu, ID_RECORD_USE_AS_GREETING));
    EXPECT_TRUE(requested(*menu, ID_RECORD_EXPORT_MP3));
    EXPECT_FALSE(requested(*menu, ID_RECORD_EXPORT_WMV));
    EXPECT_FALSE(requested(*menu, ID_RECORD_REDIAL));
    // Delete works; without a player service Play stays grey.
    EXPECT_TRUE(menu->findChild<QAction*>(QString::number(ID_RECORD_DELETE))->isEnabled());
    EXPECT_FALSE(menu->findChild<QAction*>(QString::number(ID_RECORD_PLAY))->isEnabled());

    select({0, 1});
    menu = window->recordMenu();
    EXPECT_FALSE(requested(*menu, ID_RECORD_NEW_DICTATION));

    window->fillList(kListPhone);
    select({0});
    menu = window->recordMenu();
    EXPECT_TRUE(requested(*menu, ID_RECORD_REDIAL));
    EXPECT_TRUE(requested(*menu, ID_RECORD_ADD_TO_PHONEBOOK));
    EXPECT_FALSE(requested(*menu, ID_RECORD_PLAY_OVER_LINE));
    fake.callWaiting = true;
    EXPECT_TRUE(requested(*window->recordMenu(), ID_RECORD_PLAY_OVER_LINE));
}

TEST(RecordMenuRules, VideoExportsOnlyWmvAndCallsNeedOneRow)
{
    auto video = recordlists::contextMenuStates(kListVideo, 1, false);
    EXPECT_TRUE(video[ID_RECORD_EXPORT_WMV]);
    EXPECT_FALSE(video[ID_RECORD_EXPORT_WAV]);
    EXPECT_TRUE(video[ID_RECORD_PLAY]);
    EXPECT_TRUE(video[ID_RECORD_SEND]);
    auto meeting = recordlists::contextMenuStates(kListMeeting, 2, true);
    EXPECT_FALSE(meeting[ID_RECORD_PLAY_OVER_LINE]);
    EXPECT_FALSE(meeting[ID_RECORD_ADD_TO_PHONEBOOK]);
    EXPECT_TRUE(meeting[ID_RECORD_EXPORT_OGG]);
    EXPECT_EQ(recordlists::lineState(false, false, 3), recordlists::LineState::Closed);
    EXPECT_EQ(recordlists::lineState(true, false, 3), recordlists::LineState::MonitoringNew);
    EXPECT_EQ(recordlists::lineState(true, true, 0), recordlists::LineState::Answering);
}

TEST_F(ListWindowTest, PostedMessagesReachTheWindow)
{
    QAction* diary = window->commandAction(ID_DIARY_MONITOR);
    PostMessage(window->handle(), WM_USER + 40, 0, 0);
    QCoreApplication::processEvents();
    EXPECT_TRUE(diary->isChecked());
    PostMessage(window->handle(), WM_USER + 43, 0, 0);
    QCoreApplication::processEvents();
    EXPECT_FALSE(diary->isChecked());

    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    app.DiaryMonitorRunning = 1;
    PostMessage(window->handle(), WM_USER + 41, 131, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(app.DiaryMonitorRunning, 0);
    EXPECT_EQ(prompt.messages().at(0).text, MessageTextFor(131));
    EXPECT_EQ(prompt.messages().at(0).flags, MB_ICONEXCLAMATION);
}

// The Internet Repository keeps the doubled separator of its address.
TEST_F(ListWindowTest, HelpWebAndRepositoryGoThroughTheShellAndSayWhenUnavailable)
{
    std::vector<std::string> opened;
    bool works = true;
    setShellOpener([&](const std::string& target) {
        opened.push_back(target);
        return works;
    });
    window->runCommand(ID_HELP_NAVO);
    window->runCommand(ID_HELP_NAVOING);
    window->runCommand(ID_NAVO_WEB);
    ASSERT_EQ(opened.size(), 3u);
    EXPECT_EQ(opened[0].substr(opened[0].size() - 12), "help/166.htm");
    EXPECT_EQ(opened[1].substr(opened[1].size() - 12), "help/900.htm");
    std::ifstream page(opened[0]);
    std::string text((std::istreambuf_iterator<char>(page)), {});
    EXPECT_NE(text.find("<h1>Navo Help</h1>"), std::string::npos);
    EXPECT_EQ(opened[2], LoadString(790));

    works = false;
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    prompt.answerMessage(IDOK);
    window->runCommand(ID_NAVO_WEB);
    window->openInternetRepository();
    ASSERT_EQ(opened.size(), 5u);
    EXPECT_EQ(opened[4], app.AppDir + "/test.htm");
    EXPECT_EQ(opened[4].substr(opened[4].size() - 10), "//test.htm");
    ASSERT_EQ(prompt.messages().size(), 2u);
    EXPECT_EQ(prompt.messages()[0].text, MessageTextFor(22));
    EXPECT_EQ(prompt.messages()[0].flags, MB_ICONINFORMATION);
    EXPECT_EQ(prompt.messages()[1].text, "Internet Repository unavailable");
    EXPECT_EQ(prompt.messages()[1].flags, MB_ICONEXCLAMATION);
    setShellOpener(nullptr);
}

TEST_F(ListWindowTest, CommandsOfPartsNotBuiltStayGreyUntilTheirPartRegistersThem)
{
    for (int id : {ID_NEW_RECORDING, ID_TEXT_TO_SPEECH, ID_TB_PLAY}) {
        ASSERT_NE(window->commandAction(id), nullptr) << id;
        EXPECT_FALSE(window->commandAction(id)->isEnabled()) << id;
    }
    for (int id : {ID_OPTIONS, ID_EXIT, ID_NEW_DATASTORE, ID_OPEN_DATASTORE, ID_HELP_NAVO, ID_NAVO_WEB,
                   ID_MODEM_SELECTION, ID_COMPRESS_DATASTORE, ID_PHONE_BOOK, ID_TEMPLATES, ID_AGENDAS, ID_EXPORT_AGENDAS,
                   ID_TB_SEARCH})
        EXPECT_TRUE(window->commandAction(id)->isEnabled()) << id;

    // A part that arrives registers its commands: the menu item un-greys and
    // runs it, and a state the window asked for still holds.
    int speech = 0;
    window->commands().add(ID_TEXT_TO_SPEECH, [&] { ++speech; });
    EXPECT_TRUE(window->commandAction(ID_TEXT_TO_SPEECH)->isEnabled());
    window->commandAction(ID_TEXT_TO_SPEECH)->trigger();
    EXPECT_EQ(speech, 1);
    window->commands().add(ID_TB_PLAY, [] {});
    EXPECT_FALSE(window->commandAction(ID_TB_PLAY)->isEnabled());  // nothing selected
    records->dictation("Letter");
    window->fillList(kListDictation);
    EXPECT_FALSE(window->commandRequested(ID_TB_SEND));
    select({0});
    EXPECT_TRUE(window->commandAction(ID_TB_PLAY)->isEnabled());
    EXPECT_TRUE(window->commandRequested(ID_TB_SEND));
    EXPECT_EQ(window->selectedFileName(), window->selectedId() + ".vxz");
    int plays = 0;
    window->commands().add(ID_RECORD_PLAY, [&] { ++plays; });
    const std::unique_ptr<QMenu> menu = window->recordMenu();
    QAction* play = menu->findChild<QAction*>(QString::number(ID_RECORD_PLAY));
    ASSERT_NE(play, nullptr);
    EXPECT_TRUE(play->isEnabled());
    play->trigger();
    EXPECT_EQ(plays, 1);
}

namespace {
// A recorder that files a dictation the way a real one would.
class FilingRecorder : public RecorderService {
public:
    explicit FilingRecorder(RecordFactory*& records) : m_records(records) {}
    bool hasRecorder(int listType) const override { return listType == kListDictation; }
    bool record(AppData&, int listType, QWidget*, bool prime) override
    {
        calls.push_back(listType);
        primed = prime;
        m_records->dictation("Recorded just now");
        return true;
    }
    std::vector<int> calls;
    bool primed = false;

private:
    RecordFactory*& m_records;
};
}  // namespace

class NewRecording : public StoreWindowTest {
protected:
    RecordFactory* filer = nullptr;
    FilingRecorder recorder{filer};
    void SetUp() override
    {
        open([this](StartupServices& services) { services.recorder = &recorder; });
        filer = records.get();
    }
};

TEST_F(NewRecording, OnlyListsWithARecorderOfferItAndTheListShowsTheNewRecording)
{
    window->fillList(kListDictation);
    EXPECT_TRUE(window->commandAction(ID_TB_NEW_RECORDING)->isEnabled());
    EXPECT_TRUE(window->commandAction(ID_NEW_RECORDING)->isEnabled());
    window->runCommand(ID_TB_NEW_RECORDING);
    ASSERT_EQ(recorder.calls, std::vector<int>{kListDictation});
    EXPECT_FALSE(recorder.primed);  // "Prime" missing: written "N"
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total dictations found = 1");
    EXPECT_EQ(cell(0, 1), "Recorded just now");

    window->fillList(kListMeeting);
    EXPECT_FALSE(window->commandAction(ID_TB_NEW_RECORDING)->isEnabled());
    window->runCommand(ID_NEW_RECORDING);
    EXPECT_EQ(recorder.calls.size(), 1u);
}

TEST_F(ListWindowTest, CompressDataStoreDropsTheDeletedAndTheListStillReadsEveryRecord)
{
    std::vector<long> ids;
    for (const char* subject : {"Letter one", "Letter two", "Letter three", "Letter four"})
        ids.push_back(records->dictation(subject));
    ASSERT_EQ(records->lastResult(), 0);
    ASSERT_EQ(store.deleteRecords(app, {indexline::recIdText(ids[1]), indexline::recIdText(ids[3])}), 0);
    window->fillList(kListDictation);
    const std::string family = app.TempDir + "/" + components::kDictation;
    ASSERT_EQ(std::filesystem::file_size(family), 5 * indexline::kLineBytes);

    // The dialog runs modally to its end and closes itself.
    ScriptedPrompt prompt;
    window->runCommand(ID_COMPRESS_DATASTORE);
    EXPECT_EQ(std::filesystem::file_size(family), 3 * indexline::kLineBytes);
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total dictations found = 2");
    QStringList subjects;
    for (int row = 0; row < list()->model()->rowCount(); ++row)
        subjects << cell(row, 1);
    EXPECT_EQ(subjects, (QStringList{"Letter three", "Letter one"}));
    EXPECT_TRUE(prompt.messages().empty());
}

TEST_F(ListWindowTest, CompressionDialogColoursItsLinesAndLogsAFailedFamily)
{
    records->dictation("Kept");
    std::filesystem::remove(app.TempDir + "/" + components::kMeeting);
    CompressStoreDialog dialog(app.TempDir, app.DataStorePath, [this] { return store.save(app); }, window.get());
    auto* first = dialog.findChild<QLabel*>("10258");
    auto* second = dialog.findChild<QLabel*>("10259");
    auto* log = dialog.findChild<QTreeWidget*>("10257");
    ASSERT_TRUE(first && second && log);
    EXPECT_EQ(first->palette().color(QPalette::WindowText), QColor(0, 0, 0));

    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    EXPECT_EQ(first->text(), "1 or more components failed to be compressed - Check Error Log");
    EXPECT_EQ(first->palette().color(QPalette::WindowText), QColor(255, 0, 0));
    EXPECT_EQ(second->text(), "Unwanted space has been removed from your data store");
    EXPECT_EQ(second->palette().color(QPalette::WindowText), QColor(0, 0, 255));
    ASSERT_EQ(log->topLevelItemCount(), 1);
    EXPECT_EQ(log->topLevelItem(0)->text(0), "Error compressing Meetings folder");
    EXPECT_FALSE(log->topLevelItem(0)->icon(0).isNull());
    EXPECT_EQ(dialog.saveResult(), 0);
    EXPECT_EQ(CompressStoreDialog::colourOf(StoreCompressor::kInProgress), QColor(0, 128, 0));
}

TEST_F(ListWindowTest, AStopAskedForDuringCompressionWaitsForItsEnd)
{
    const long first = records->dictation("Gone");
    records->dictation("Kept");
    ASSERT_EQ(store.deleteRecords(app, {indexline::recIdText(first)}), 0);
    // Delivered inside the dialog, while the worker runs.
    PostMessage(window->handle(), WM_CLOSE, 0, 0);
    window->runCommand(ID_COMPRESS_DATASTORE);

    // Shut down after the compression, which the store holds, saved.
    EXPECT_FALSE(std::filesystem::exists(app.TempDir));
    const std::string check = root + "/check";
    std::filesystem::create_directories(check);
    const char* family[] = {components::kDictation};
    ASSERT_EQ(RPS_Get(app.DataStorePath.c_str(), check.c_str(), family, 1), 0);
    EXPECT_EQ(std::filesystem::file_size(check + "/" + components::kDictation), 2 * indexline::kLineBytes);
}

TEST_F(ListWindowTest, ImportingWaveFilesFromTheFileMenuFilesThemIntoTheListShownAndReports)
{
    const std::string first = root + "/Site visit.wav";
    const std::string second = root + "/Minutes.wav";
    tone::write(first, tone::kQualities[0], 440, 1000);
    tone::write(second, tone::kQualities[0], 440, 500);
    window->fillList(kListMeeting);
    ASSERT_TRUE(window->commandAction(ID_IMPORT_WAV)->isEnabled());

    ScriptedPrompt prompt;
    prompt.answerFile(first);
    prompt.answerMessage(IDOK);
    window->commandAction(ID_IMPORT_WAV)->trigger();
    prompt.answerFile(second);
    prompt.answerMessage(IDOK);
    window->commandAction(ID_IMPORT_WAV)->trigger();

    ASSERT_EQ(prompt.fileRequests().size(), 2u);
    EXPECT_EQ(prompt.fileRequests()[0].title, "Import WAV Files");
    ASSERT_EQ(prompt.messages().size(), 2u);
    EXPECT_EQ(prompt.messages()[0].text, "Imported: 1\nAlready in the data store (skipped): 0\nFailed: 0");
    EXPECT_EQ(prompt.messages()[0].flags, static_cast<UINT>(MB_ICONINFORMATION));
    // Into the Meeting list shown, subject from the file name, newest last.
    EXPECT_EQ(app.CurrentListType, kListMeeting);
    ASSERT_EQ(list()->model()->rowCount(), 2);
    QStringList subjects;
    for (int row = 0; row < 2; ++row)
        subjects << cell(row, 1);
    subjects.sort();
    EXPECT_EQ(subjects, (QStringList{"Minutes", "Site visit"}));
}
