// The application object end to end inside the test process: the splash
// comes first for its three seconds, then the main window runs modally until
// it is closed, and the program's registered message exists.
#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include "FakeServices.h"
#include "app/NavoApp.h"
#include "app/SplashDialog.h"
#include "platform/WindowMessages.h"
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
