// The application object end to end inside the test process: the splash
// comes first for its three seconds, then the main window runs modally until
// it is closed, and the program's registered message exists.
#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <optional>

#include "FakeServices.h"
#include "app/NavoApp.h"
#include "app/SplashDialog.h"
#include "platform/WindowMessages.h"
#include "res/MessageCatalogue.h"
#include "ScriptedPrompt.h"

TEST(InitInstance, SplashThenMainWindowThenTheProcessMayEnd)
{
    QTemporaryDir dir;
    AppData app;
    FakeServices fake;
    ScriptedPrompt prompt;
    NavoApp navo(app, fake.services(), QFile::encodeName(dir.path()).toStdString() + "/navo");

    // Which of our dialogs is on screen, sampled while InitInstance runs.
    QStringList seen;
    QElapsedTimer clock;
    qint64 mainShownAfterMs = -1;
    QTimer sampler;
    QObject::connect(&sampler, &QTimer::timeout, [&] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->isVisible())
                continue;
            const QString id = window->objectName();
            if (seen.isEmpty() || seen.back() != id)
                seen << id;
            if (id == "112" && mainShownAfterMs < 0) {
                mainShownAfterMs = clock.elapsed();
                window->close();
            }
        }
    });
    clock.start();
    sampler.start(20);

    EXPECT_EQ(navo.InitInstance(), FALSE);

    EXPECT_EQ(seen, (QStringList{"132", "112"}));
    EXPECT_GE(mainShownAfterMs, SplashDialog::kShowMs - 100);
    EXPECT_NE(app.WordMessage, 0u);
    EXPECT_EQ(app.WordMessage, RegisterWindowMessageA("Ek7 Message from Word"));
    // The main window ran its shutdown when it was closed.
    EXPECT_EQ(fake.calls.back(), "workspace 2 *.*");
}

// TERM while a start-up box is on screen (a second copy at its store
// question, say): Navo ends at once, asking nothing more, not even about the
// save that fails on the way out.
TEST(InitInstance, TermAtAStartUpBoxEndsNavoAndAsksNothingMore)
{
    QTemporaryDir dir;
    AppData app;
    FakeServices fake;
    fake.workspaceResult = 119;
    fake.saveResult = 107;
    // The box: the signal arrives while it is open, and its event loop
    // delivers it; then it is closed.
    struct TermAtFirstBox : Prompt {
        int messageBox(const std::string& text, UINT, const std::string&) override
        {
            asked.push_back(text);
            if (asked.size() == 1) {
                std::raise(SIGTERM);
                QCoreApplication::processEvents();
            }
            return IDOK;
        }
        std::optional<std::string> chooseFile(const FileDialogRequest&) override { return std::nullopt; }
        std::vector<std::string> asked;
    } box;
    ScopedPrompt installed(box);
    NavoApp navo(app, fake.services(), QFile::encodeName(dir.path()).toStdString() + "/navo");
    // The splash is not waited for: it is closed as soon as it shows. A
    // main window shown by mistake is noted and closed.
    bool mainShown = false;
    QTimer sampler;
    QObject::connect(&sampler, &QTimer::timeout, [&] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->isVisible())
                continue;
            if (window->objectName() == "132")
                static_cast<QDialog*>(window)->accept();
            if (window->objectName() == "112") {
                mainShown = true;
                window->close();
            }
        }
    });
    sampler.start(0);

    EXPECT_EQ(navo.InitInstance(), FALSE);

    EXPECT_FALSE(mainShown);
    EXPECT_EQ(box.asked, (std::vector<std::string>{MessageTextFor(119)}));
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "select modem"), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "save"), 1);
    EXPECT_EQ(fake.calls.back(), "workspace 2 *.*");
}
