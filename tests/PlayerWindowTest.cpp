// The message player as the user reaches it: a double click on a Phone row
// opens dialog 115 on that record over the real store, Next Track walks the
// list shown, playing a new message makes it heard and the Phone count
// follows; and the dialog alone with its hot keys, posted messages and
// effects panel.
#include <QApplication>
#include <QGuiApplication>
#include <QProcess>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <iostream>

#include "ScriptedPrompt.h"
#include "StoreWindowFixture.h"
#include "app/HotKeys.h"
#include "app/PlayerLauncher.h"
#include "app/RecordListModel.h"
#include "audio/MessagePlayerDialog.h"
#include "audio/PlayerEffects.h"
#include "platform/CallbackWindow.h"
#include "platform/gui/GlobalHotKey.h"
#include "platform/WindowMessages.h"
#include "res/resource.h"
#include "store/IndexLine.h"

namespace {

QTemporaryDir& configHome()
{
    static QTemporaryDir dir;
    return dir;
}
[[maybe_unused]] const bool kConfigHomeSet = [] {
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome().path()));
    return true;
}();

class PlayerWindowTest : public StoreWindowTest {
protected:
    PlayerLauncher player;

    void SetUp() override
    {
        qputenv("NAVO_AUDIO", "virtual");
        qputenv("NAVO_AUDIO_PACE", "fast");
        qputenv("NAVO_AUDIO_OUTPUT", QFile::encodeName(dir.filePath("speaker.wav")));
        CallbackWindow::registerClass();
        open([this](StartupServices& services) { services.player = &player; }, 2400);
    }
    void TearDown() override
    {
        StoreWindowTest::TearDown();
        qunsetenv("NAVO_AUDIO");
        qunsetenv("NAVO_AUDIO_PACE");
        qunsetenv("NAVO_AUDIO_OUTPUT");
    }
};

template <typename T>
T* control(QWidget* dialog, int id)
{
    return dialog->findChild<T*>(QString::number(id));
}

}  // namespace

TEST_F(PlayerWindowTest, ADoubleClickedNewMessagePlaysWalksTheListAndTheCountFollows)
{
    records->message("Ann Smith", "01632 960001", true);
    records->message("Bob Jones", "01632 960002", true);
    records->phoneCall("Carol", "555 0100");
    window->fillList(kListPhone);
    ASSERT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 3 : You have 2 new messages.");
    ASSERT_EQ(fake.messagesWaiting, 2);
    const SearchLogRows& rows = window->recordModel()->rows();
    // Newest first: the call, then Bob's message, then Ann's.
    const std::string bob = rows.recId(1);
    const std::string ann = rows.recId(2);

    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    std::vector<std::string> shownIds;
    bool ran = false;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<MessagePlayerDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        ran = true;
        const auto recId = [&] { return dialog->findChild<QLabel*>("recIdText")->text().toStdString(); };
        shownIds.push_back(recId());
        control<QPushButton>(dialog, IDC_PLAYER_START)->click();
        EXPECT_TRUE(QTest::qWaitFor([&] { return dialog->player().state() == MessagePlayer::State::Stopped; }, 10000));
        // Next Track: the next row of the list it was opened from, played.
        control<QPushButton>(dialog, IDC_PLAYER_NEXT)->click();
        shownIds.push_back(recId());
        EXPECT_FALSE(control<QPushButton>(dialog, IDC_PLAYER_NEXT)->isEnabled()) << "the last row";
        EXPECT_TRUE(QTest::qWaitFor([&] { return dialog->player().state() == MessagePlayer::State::Stopped; }, 10000));
        control<QPushButton>(dialog, IDC_PLAYER_OK)->click();
    });
    // A double click on Bob's row, as the user gives it.
    const QRect row = list()->visualRect(list()->model()->index(1, 0));
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, row.center());
    QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {}, row.center());
    ASSERT_TRUE(ran) << "the double click opened no player";
    EXPECT_EQ(shownIds, (std::vector<std::string>{bob, ann}));

    // Both messages were heard: the list, the count and the line state follow.
    EXPECT_EQ(label(IDC_PROGRESS_TEXT), "Total phone calls found = 3");
    EXPECT_EQ(fake.messagesWaiting, 0);
    EXPECT_EQ(window->recordModel()->newMessageCount(), 0);
}

TEST_F(PlayerWindowTest, TheDialogTakesTheHotKeysWhileOpenAndObeysThemAndTheMiniPlayer)
{
    // Ten seconds played at the pace of real sound: still playing when the
    // mini player's Stop comes.
    qputenv("NAVO_AUDIO_PACE", "realtime");
    const long recId = RecordFactory(app, 80000).dictation("Hot keys");
    std::vector<std::string> calls;
    HWND registeredFor = 0;
    MessagePlayerDialog::HotKeyHooks hooks;
    hooks.registerKeys = [&](HWND window) {
        registeredFor = window;
        calls.push_back("register");
        return 4;  // the fourth key is taken by another program
    };
    hooks.unregisterKeys = [&](HWND window) {
        EXPECT_EQ(window, registeredFor);
        calls.push_back("unregister");
    };
    hooks.actionOf = [](int position) { return position == 4 ? std::string("Play") : std::string("?"); };
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    {
        MessagePlayerDialog dialog(app, {indexline::recIdText(recId)}, 0, window.get(), hooks);
        ASSERT_EQ(dialog.openPlayer(), 0);
        EXPECT_EQ(registeredFor, dialog.handle());
        ASSERT_EQ(prompt.messages().size(), 1u);
        EXPECT_NE(prompt.messages()[0].text.find("\"Play\""), std::string::npos) << prompt.messages()[0].text;

        // WM_HOTKEY with the Play key's id, then the mini player's Stop.
        PostMessage(dialog.handle(), WM_HOTKEY, ID_MINI_PLAY, 0);
        ASSERT_TRUE(QTest::qWaitFor([&] { return dialog.player().state() == MessagePlayer::State::Playing; }, 2000));
        PostMessage(dialog.handle(), RegisterWindowMessageA("Message from Navo mini player"), 5, 0);
        ASSERT_TRUE(QTest::qWaitFor([&] { return dialog.player().state() == MessagePlayer::State::Stopped; }, 2000));

        // Effects...: the panel opens beside the player, wider; again closes it.
        playereffects::publishDirectXVersion(true);
        dialog.show();
        const int narrow = dialog.width();
        control<QPushButton>(&dialog, IDC_EFFECTS)->click();
        EXPECT_TRUE(dialog.effectsShown());
        EXPECT_TRUE(dialog.player().effectsActive());
        EXPECT_GT(dialog.width(), narrow);
        EXPECT_FALSE(control<QPushButton>(&dialog, IDC_PLAYER_RECORD)->isEnabled());
        EXPECT_TRUE(control<QPushButton>(&dialog, IDC_PLAYER_NEW)->isEnabled());
        control<QPushButton>(&dialog, IDC_EFFECTS)->click();
        EXPECT_FALSE(dialog.effectsShown());
        EXPECT_FALSE(dialog.player().effectsActive());
        control<QPushButton>(&dialog, IDC_PLAYER_CANCEL)->click();
    }
    EXPECT_EQ(calls, (std::vector<std::string>{"register", "unregister"}));
}

namespace {

const char* const kFocusHolderVariable = "NAVO_FOCUS_HOLDER";
const char* const kFocusHolderTitle = "Navo focus holder";

// The other X client, a second copy of this executable with a window of its
// own; it stays until its input is closed.
class FocusHolderRun : public ::testing::Test {
    void TestBody() override
    {
        QWidget window;
        window.setWindowTitle(QString::fromLatin1(kFocusHolderTitle));
        window.resize(200, 100);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        std::cout << "holder: shown" << std::endl;
        std::string line;
        while (std::getline(std::cin, line)) {
        }
    }
};
[[maybe_unused]] const bool kFocusHolderRegistered = [] {
    if (qEnvironmentVariableIsEmpty(kFocusHolderVariable))
        return false;
    ::testing::RegisterTest("FocusHolder", "Hold", nullptr, nullptr, __FILE__, __LINE__,
                            []() -> ::testing::Test* { return new FocusHolderRun; });
    return true;
}();

QString xdotool(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    if (!process.waitForFinished(10000) || process.exitCode() != 0)
        return QStringLiteral("failed: ") + QString::fromLocal8Bit(process.readAllStandardError());
    return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

}  // namespace

TEST_F(PlayerWindowTest, X11AGrabbedKeyReachesThePlayerWhileAnotherProgramHasTheFocus)
{
    if (QGuiApplication::platformName() != QLatin1String("xcb")) {
        if (qEnvironmentVariable("NAVO_EXPECT_X11") == QLatin1String("1"))
            FAIL() << "expected an X display, but the platform is " << QGuiApplication::platformName().toStdString();
        GTEST_SKIP() << "needs an X display; the player_x11 test runs this under Xvfb";
    }
    qputenv("NAVO_AUDIO_PACE", "realtime");
    const long recId = RecordFactory(app, 80000).dictation("Steered from elsewhere");
    MessagePlayerDialog::HotKeyHooks hooks;
    hooks.registerKeys = [](HWND window) { return registerHotKeys(window); };
    hooks.unregisterKeys = [](HWND window) { unregisterHotKeys(window); };
    MessagePlayerDialog dialog(app, {indexline::recIdText(recId)}, 0, nullptr, hooks);
    ASSERT_EQ(dialog.openPlayer(), 0) << "the six default keys were not all taken";
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));

    // Another program, focused.
    QProcess holder;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kFocusHolderVariable), QStringLiteral("1"));
    holder.setProcessEnvironment(environment);
    holder.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--gtest_filter=FocusHolder.Hold")});
    QByteArray said;
    while (!said.contains("holder: shown") && holder.waitForReadyRead(10000))
        said += holder.readAllStandardOutput();
    ASSERT_TRUE(said.contains("holder: shown")) << said.toStdString();
    const QString other = xdotool({"search", "--name", QStringLiteral("^%1$").arg(kFocusHolderTitle)});
    ASSERT_FALSE(other.startsWith(QLatin1String("failed"))) << other.toStdString();
    xdotool({"windowfocus", "--sync", other});
    ASSERT_EQ(xdotool({"getwindowfocus"}), other);

    xdotool({"key", "ctrl+Page_Up"});  // Play
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog.player().state() == MessagePlayer::State::Playing; }, 5000));
    xdotool({"key", "ctrl+Page_Down"});  // Stop
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog.player().state() == MessagePlayer::State::Stopped; }, 5000));
    EXPECT_EQ(xdotool({"getwindowfocus"}), other) << "the keys took the focus away";

    holder.closeWriteChannel();
    if (!holder.waitForFinished(10000))
        holder.kill();
    control<QPushButton>(&dialog, IDC_PLAYER_CANCEL)->click();
    // Closed, the player gives the keys back.
    EXPECT_EQ(RegisterHotKey(handleOf(&dialog), 1, MOD_CONTROL, VK_PRIOR), TRUE);
    UnregisterHotKey(handleOf(&dialog), 1);
}
