// Start-up and shutdown of the main window against real INI files in a
// portable folder, with the store, line and diary seams scripted.
#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QTemporaryDir>
#include <QWidget>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <optional>
#include <sstream>

#include "FakeServices.h"
#include "app/MainWindow.h"
#include "app/ProfileStartup.h"
#include "platform/Trace.h"
#include "res/MessageCatalogue.h"
#include "ScriptedPrompt.h"

namespace {

struct Entry {
    std::string key;
    std::string value;
};

// Key=value lines of one section, in file order.
std::vector<Entry> sectionEntries(const std::string& iniPath, const std::string& section)
{
    std::ifstream in(iniPath, std::ios::binary);
    std::vector<Entry> entries;
    std::string line;
    bool inside = false;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty() && line.front() == '[') {
            inside = line == "[" + section + "]";
            continue;
        }
        const auto eq = line.find('=');
        if (inside && eq != std::string::npos)
            entries.push_back({line.substr(0, eq), line.substr(eq + 1)});
    }
    return entries;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

// A portable Navo folder in a temporary directory.
struct Install {
    QTemporaryDir dir;
    std::string root() const { return QFile::encodeName(dir.path()).toStdString() + "/"; }
    std::string executable() const { return root() + "navo"; }
    std::string ini() const { return root() + "NAVO.ini"; }
    std::string profileDir() const { return root() + "Profiles/" + logOnName(); }
};

QLabel* label(QWidget& window, int id)
{
    return window.findChild<QLabel*>(QString::number(id));
}

}  // namespace

TEST(AppDir, IsTheFolderOfAnExecutableNamedNavoInAnyCase)
{
    EXPECT_EQ(ProfileStartup::appDirFromExecutable("/opt/Navo/navo"), "/opt/Navo/");
    EXPECT_EQ(ProfileStartup::appDirFromExecutable("/home/ann/NAVO/Navo"), "/home/ann/NAVO/");
    EXPECT_EQ(ProfileStartup::appDirFromExecutable("/home/navo/bin/recorder"), "");
    EXPECT_EQ(ProfileStartup::appDirFromExecutable("/navo/navo.bin"), "");
    EXPECT_EQ(ProfileStartup::appDirFromExecutable("/srv/navo/xnavo"), "");
}

TEST(CompressionCheck, OnlyStoresOver100MbWithMoreThanATenthReclaimable)
{
    constexpr std::uint64_t kMb = 1048576;
    EXPECT_FALSE(ProfileStartup::needsCompression(99 * kMb, 90 * kMb));
    EXPECT_FALSE(ProfileStartup::needsCompression(100 * kMb, 50 * kMb));
    EXPECT_FALSE(ProfileStartup::needsCompression(200 * kMb, 20 * kMb));
    EXPECT_TRUE(ProfileStartup::needsCompression(200 * kMb, 21 * kMb));
    EXPECT_FALSE(ProfileStartup::needsCompression(0, 0));
    // Sizes beyond 32 bits are scaled; the share stays the same.
    EXPECT_TRUE(ProfileStartup::needsCompression(60000 * kMb, 7000 * kMb));
    EXPECT_FALSE(ProfileStartup::needsCompression(60000 * kMb, 5000 * kMb));
}

class StartupTest : public ::testing::Test {
protected:
    Install install;
    AppData app;
    FakeServices fake;
    ScriptedPrompt prompt;

    // The value of key in the log-on user's section of NAVO.ini.
    std::string written(const std::string& key) const
    {
        for (const Entry& e : sectionEntries(install.ini(), logOnName()))
            if (e.key == key)
                return e.value;
        return "(missing)";
    }
    std::unique_ptr<MainWindow> start()
    {
        auto window = std::make_unique<MainWindow>(app, fake.services(), install.executable());
        window->OnInitDialog();
        return window;
    }
};

TEST_F(StartupTest, FirstStartWritesEveryDefaultInOrderAndBuildsAStore)
{
    writeFile(install.ini(), "[Default]\nInternet=file:///srv/repository.htm\n");
    auto window = start();

    EXPECT_EQ(app.AppDir, install.root());
    EXPECT_EQ(app.IniPath, install.ini());
    EXPECT_EQ(app.ProfileSection, logOnName());
    EXPECT_EQ(app.ProfileDir, install.profileDir());
    EXPECT_EQ(app.DataStoreName, "NAVO");
    EXPECT_EQ(app.DataStorePath, install.root() + "Profiles/NAVO.vxt");
    EXPECT_TRUE(QDir(QString::fromStdString(install.profileDir())).exists());
    // Nobody else may list who uses Navo or what their stores are called.
    const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                                      QFile::WriteOther | QFile::ExeOther;
    for (const std::string& folder : {install.root() + "Profiles", install.profileDir()}) {
        const QFile::Permissions given = QFile::permissions(QString::fromStdString(folder));
        EXPECT_FALSE(given & others) << folder;
        EXPECT_TRUE(given & QFile::WriteOwner) << folder;
    }
    EXPECT_EQ(window->windowTitle().toStdString(), "Navo for user :" + logOnName());

    const std::vector<std::pair<std::string, std::string>> expected = {
        {"LastPath", install.profileDir()},
        {"RecID", "0"},
        {"CommID", "X"},
        {"LastFile", "NAVO"},
        {"Rings", "3"},
        {"PhoneCost", "0.00"},
        {"MeetCost", "0.00"},
        {"Prime", "N"},
        {"PhWarn", "N"},
        {"ExpPrompt", "N"},
        {"Silence", "5"},
        {"Internet", "file:///srv/repository.htm"},
        {"Compress", "Y"},
        {"RecQual", "0"},
        {"ADiary", "N"},
    };
    const std::vector<Entry> entries = sectionEntries(install.ini(), logOnName());
    ASSERT_EQ(entries.size(), expected.size()) << readFile(install.ini());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(entries[i].key, expected[i].first) << "entry " << i;
        EXPECT_EQ(entries[i].value, expected[i].second) << entries[i].key;
    }
    // The new-profile "N" is not a number, so export prompting starts off.
    EXPECT_EQ(app.PromptOnExport, 0);

    EXPECT_EQ(fake.calls, (std::vector<std::string>{"line init", "workspace 1 *.*", "select modem",
                                                    "build", "open", "answer machine off"}));
    EXPECT_EQ(fake.builtFolder, install.profileDir());
    EXPECT_EQ(fake.builtName, "NAVO");
    EXPECT_EQ(fake.builtWorkspace, "/tmp/fake-workspace");
    EXPECT_EQ(label(*window, 10004)->text().toStdString(),
              "Line monitoring inactive : Using Navo File :" + app.DataStorePath);
    EXPECT_EQ(app.CurrentListType, kListDictation);
    // No modem: neither monitoring nor the answer machine can be started.
    EXPECT_FALSE(window->commandRequested(2003));
    EXPECT_FALSE(window->commandRequested(2005));
}

TEST_F(StartupTest, ExistingProfileReadsItsSettings)
{
    writeFile(install.ini(), "; kept by hand\n[Default]\nInternet=http://example.org/r\n[" + logOnName() +
                                 "]\nLastPath=/data/ann\nLastFile=Work\nCommID=a\nRings=7\nExpPrompt=1\n"
                                 "RecQual=7\nADiary=N\nAutoMessage=1\n");
    auto window = start();

    EXPECT_EQ(app.ProfileDir, "/data/ann");
    EXPECT_EQ(app.DataStoreName, "Work");
    EXPECT_EQ(app.DataStorePath, install.root() + "Profiles/Work.vxt");
    // "a" is device 10 written in base 16, read back as decimal 0.
    EXPECT_TRUE(fake.chosen);
    EXPECT_EQ(fake.device, 0);
    EXPECT_EQ(fake.rings, 7);
    EXPECT_EQ(app.PromptOnExport, 1);
    EXPECT_EQ(app.RecordingQuality, 7);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "select modem"), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "build"), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "answer machine on"), 1);

    const std::string ini = readFile(install.ini());
    EXPECT_EQ(ini.rfind("; kept by hand\n", 0), 0u) << ini;
    EXPECT_EQ(written("Internet"), "http://example.org/r");
    EXPECT_EQ(written("Compress"), "Y");
    EXPECT_EQ(written("RecQual"), "7");
    EXPECT_EQ(written("Silence"), "(missing)");  // only the Options dialog writes it

    // Start Monitoring follows the chosen device; Stop Monitoring starts off.
    EXPECT_TRUE(window->commandRequested(2003));
    EXPECT_TRUE(window->commandRequested(2005));
    EXPECT_FALSE(window->commandRequested(2004));
}

TEST_F(StartupTest, SettingsThatAreMissingOrOddAreReadAsTheyAlwaysWere)
{
    writeFile(install.ini(), "[" + logOnName() + "]\nLastPath=/data\nCommID=X\nRings=zz\n"
                                 "ExpPrompt=N\nRecQual=\nAutoMessage=2\n");
    fake.modemChoice = 10;
    auto window = start();

    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "select modem"), 1);
    EXPECT_EQ(fake.device, 10);
    EXPECT_EQ(written("CommID"), "a");  // in base 16
    EXPECT_EQ(fake.rings, 1);  // not a number: the lowest the Options dialog offers
    // Neither "0" nor "1": the answer machine is left alone and no list filled.
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "answer machine on"), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "answer machine off"), 0);
    EXPECT_EQ(app.CurrentListType, kListNone);
    // The modem chosen now counts as chosen for the menus.
    EXPECT_TRUE(window->commandRequested(2003));
}

TEST_F(StartupTest, UnwritableIniAndProfilesFolderStillStartWithDefaults)
{
    // A folder where the INI and the profiles should be: nothing can be read
    // or written there (and this holds even for root).
    ASSERT_TRUE(QDir().mkpath(QString::fromStdString(install.ini())));
    writeFile(install.root() + "Profiles", "not a folder");
    TraceCapture trace;
    auto window = start();

    EXPECT_TRUE(trace.contains("Could not create the profile folder"));
    EXPECT_EQ(app.ProfileDir, install.profileDir());
    EXPECT_EQ(app.DataStoreName, "NAVO");
    EXPECT_EQ(app.RecordingQuality, 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "build"), 1);
}

TEST_F(StartupTest, DiaryMonitorStartsOnlyWhenAskedAndTheCheckPasses)
{
    writeFile(install.ini(), "[" + logOnName() + "]\nLastPath=/data\nCommID=1\nADiary=Y\n");
    {
        auto window = start();
        EXPECT_EQ(app.DiaryMonitorRunning, 1);
        EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "diary start"), 1);
    }
    fake.calls.clear();
    fake.diaryResult = 131;
    prompt.answerMessage(IDOK);
    auto window = start();
    EXPECT_EQ(app.DiaryMonitorRunning, 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "diary start"), 0);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, MessageTextFor(131));
    EXPECT_EQ(prompt.messages()[0].flags, MB_ICONEXCLAMATION);
}

TEST_F(StartupTest, TheChosenRecordTypeStandsOutAndTheFirstClearsTheTopEdge)
{
    auto window = start();
    window->show();
    auto* chooser = window->findChild<QListWidget*>("10194");
    ASSERT_NE(chooser, nullptr);
    chooser->setCurrentRow(0);
    const QRect cell = chooser->visualItemRect(chooser->item(0));
    const QPoint inChooser = chooser->viewport()->mapTo(chooser, cell.topLeft());
    EXPECT_GE(inChooser.y(), 6);
    EXPECT_GE(inChooser.x(), 3);
    // White names need a dark cell: the chosen one is painted well darker
    // than the chooser's own blue, all over and not only behind its name.
    const QImage picture = chooser->viewport()->grab().toImage();
    const auto lightness = [](const QColor& c) { return c.lightness(); };
    const QColor chosen = picture.pixelColor(cell.left() + 10, cell.bottom() - 10);
    const QColor background = picture.pixelColor(cell.left() + 10, cell.bottom() + 20);
    EXPECT_LT(lightness(chosen), 90) << chosen.name().toStdString();
    EXPECT_GT(lightness(background) - lightness(chosen), 60) << background.name().toStdString();
}

TEST_F(StartupTest, LargeWastefulStoreOffersCompression)
{
    fake.infoResult = 0;
    fake.infoSize = 300ull * 1048576;
    fake.infoReclaimable = 100ull * 1048576;
    prompt.answerMessage(IDYES);
    start();
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text,
              "Your Navo Data Store needs compressing, do you want to compress it now?");
    EXPECT_EQ(prompt.messages()[0].flags, MB_YESNO | MB_ICONQUESTION);
    EXPECT_EQ(fake.calls.back(), "compression dialog");
}

// Failures during start-up post WM_CLOSE; shutdown then runs as usual.
class FailedStartupTest : public StartupTest {
protected:
    void closeByEventLoop(MainWindow& window)
    {
        window.show();
        QApplication::processEvents();
        EXPECT_FALSE(window.isVisible());
    }
};

TEST_F(FailedStartupTest, FailedBuildStillSavesAtShutdown)
{
    fake.buildResult = 101;
    prompt.answerMessage(IDOK);
    auto window = start();
    EXPECT_EQ(app.StartupFailed, 1);
    EXPECT_EQ(prompt.messages().at(0).text, MessageTextFor(101));
    closeByEventLoop(*window);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "save"), 1);
}

TEST_F(FailedStartupTest, UnreachableStoreOffersOpenOrNewAndSkipsTheSaveWhenBothFail)
{
    fake.openResult = 105;
    fake.commandStoreState = kStoreCancelled;
    prompt.answerMessage(IDNO);
    auto window = start();
    EXPECT_EQ(prompt.messages().at(0).text, MessageTextFor(105));
    EXPECT_EQ(prompt.messages().at(0).flags, MB_YESNO | MB_ICONQUESTION);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "new command"), 1);
    EXPECT_EQ(app.StartupFailed, 1);
    closeByEventLoop(*window);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "save"), 0);
}

// Runs a start-up through DoModal. Should the window ever be shown, a timer
// that runs in every event loop notes it and closes it, so a fault fails the
// test instead of hanging it.
class ModalStartupTest : public StartupTest {
protected:
    int doModal(MainWindow& window)
    {
        QTimer guard;
        QObject::connect(&guard, &QTimer::timeout, [&] {
            if (window.isVisible()) {
                shown = true;
                window.close();
            }
        });
        guard.start(0);
        return window.DoModal();
    }
    bool shown = false;
};

// A prompt that, at the question it is told, gets TERM as the box is on
// screen (the program's stop handler runs), then answers as the closed box.
class TermAtQuestion : public Prompt {
public:
    TermAtQuestion(std::size_t question, std::function<void()> term) : m_question(question), m_term(std::move(term)) {}
    int messageBox(const std::string& text, UINT flags, const std::string&) override
    {
        asked.push_back(text);
        if (asked.size() != m_question + 1)
            return IDOK;
        m_term();
        return (flags & MB_TYPEMASK) == MB_YESNO ? IDNO : IDOK;
    }
    std::optional<std::string> chooseFile(const FileDialogRequest& request) override
    {
        asked.push_back("file: " + request.title);
        return std::nullopt;
    }
    std::vector<std::string> asked;

private:
    std::size_t m_question;
    std::function<void()> m_term;
    ScopedPrompt m_installed{*this};
};

TEST_F(ModalStartupTest, AFailedStepAsksNothingMoreAndTheWindowIsNeverShown)
{
    // "CommID" "X" asks for a modem at every start; the store is not there
    // either. After the workspace failed, neither question may come: each
    // would run a nested event loop that delivers the posted close.
    writeFile(install.ini(), "[" + logOnName() + "]\nLastPath=/data\nCommID=X\nADiary=Y\n");
    fake.workspaceResult = 119;
    fake.openResult = 105;
    fake.infoResult = 0;
    fake.infoSize = 300ull * 1048576;
    fake.infoReclaimable = 100ull * 1048576;
    fake.duringModemSelection = [](QWidget* owner) {
        QDialog modems(owner);
        QTimer::singleShot(0, &modems, &QDialog::reject);
        modems.exec();
    };
    prompt.answerMessage(IDOK);
    MainWindow window(app, fake.services(), install.executable());

    EXPECT_EQ(doModal(window), IDCANCEL);

    EXPECT_FALSE(shown);
    ASSERT_EQ(prompt.messages().size(), 1u);  // only the workspace's own message
    EXPECT_EQ(prompt.messages()[0].text, MessageTextFor(119));
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "select modem"), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "diary check"), 0);
    EXPECT_EQ(app.StartupFailed, 1);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "save"), 0);  // no store was held
    EXPECT_EQ(fake.calls.back(), "workspace 2 *.*");
}

TEST_F(ModalStartupTest, TermDuringAQuestionEndsStartUpWithoutTheNextQuestions)
{
    // A second copy at its start-up box: TERM while 602 is asked. No store
    // is chosen, no file dialog comes, the window is never shown.
    MainWindow window(app, fake.services(), install.executable());
    fake.openResult = 105;
    fake.modemChoice = 1;
    TermAtQuestion term(0, [&] { window.requestStop(); });

    EXPECT_EQ(doModal(window), IDCANCEL);

    EXPECT_FALSE(shown);
    EXPECT_EQ(term.asked, (std::vector<std::string>{MessageTextFor(105)}));
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "new command"), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "answer machine off"), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "save"), 0);
    EXPECT_EQ(fake.calls.back(), "workspace 2 *.*");
}

TEST_F(ModalStartupTest, TermDuringTheModemQuestionStillSavesTheStoreItHolds)
{
    MainWindow window(app, fake.services(), install.executable());
    fake.duringModemSelection = [&](QWidget* owner) {
        QDialog modems(owner);
        modems.setModal(true);
        QTimer::singleShot(0, &modems, [&] { window.requestStop(); });
        modems.exec();  // closed by the stop
    };

    EXPECT_EQ(doModal(window), IDCANCEL);

    EXPECT_FALSE(shown);
    EXPECT_TRUE(prompt.messages().empty());
    // The store was opened after the question: it is saved, then removed.
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"line init", "workspace 1 *.*", "select modem", "build", "open",
                                                    "line close", "save", "delete working copies",
                                                    "workspace 2 *.*"}));
}

TEST_F(StartupTest, ShutdownRunsInOrder)
{
    auto window = start();
    app.DiaryMonitorRunning = 1;
    QPointer<QWidget> modeless = new QWidget;
    window->adoptModeless(modeless);
    QString statusDuringSave;
    bool modelessGoneBeforeSave = false;
    fake.onSave = [&] {
        statusDuringSave = label(*window, 10004)->text();
        modelessGoneBeforeSave = modeless.isNull();
    };
    fake.saveResult = 107;
    prompt.answerMessage(IDOK);
    fake.calls.clear();

    window->close();

    EXPECT_EQ(fake.calls, (std::vector<std::string>{"line close", "save", "delete working copies",
                                                    "workspace 2 *.*"}));
    EXPECT_EQ(statusDuringSave.toStdString(), "Saving Navo Data Store.....Please wait");
    EXPECT_TRUE(modelessGoneBeforeSave);
    EXPECT_EQ(app.MainWindowAlive, 0);
    EXPECT_EQ(prompt.messages().at(0).text, MessageTextFor(107));
    EXPECT_EQ(prompt.messages().at(0).flags, MB_ICONEXCLAMATION);
    EXPECT_FALSE(window->isVisible());
}
