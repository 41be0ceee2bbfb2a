// Shows the message player over a fresh store holding one tone record, on a
// private headless sound server, with the effects panel open and the
// recording-control list dropped down (it offers the output's monitor), and
// saves a picture of the screen.
//
//   navo-player-show OUTPUT.png
#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <filesystem>

#include "../PlayerRecords.h"
#include "../PulseServer.h"
#include "audio/MessagePlayerDialog.h"
#include "audio/PlayerEffects.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/CallbackWindow.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "res/resource.h"
#include "store/DataStore.h"
#include "store/Workspace.h"

int main(int argc, char** argv)
{
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.path()));
    QApplication application(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: navo-player-show OUTPUT.png\n");
        return 2;
    }
    const QString output = QString::fromLocal8Bit(argv[1]);
    PulseServer server;
    if (!server.start(8000)) {
        std::fprintf(stderr, "navo-player-show: %s\n", server.why().c_str());
        return 1;
    }
    qunsetenv("NAVO_AUDIO");
    AudioBackendRegistry::instance().choose("qt");
    CallbackWindow::registerClass();
    playereffects::publishDirectXVersion(true);

    AppData app;
    const std::string root = QFile::encodeName(dir.path()).toStdString();
    app.AppDir = root + "/";
    app.IniPath = root + "/NAVO.ini";
    app.ProfileSection = "show";
    app.ProfileDir = root + "/Profiles/show";
    app.DataStoreName = "NAVO";
    std::filesystem::create_directories(app.ProfileDir);
    DataStore store;
    if (workspace::Workspace(app, workspace::kCreate, "*.*") != 0 ||
        VXfilebuild(app.ProfileDir.c_str(), app.DataStoreName.c_str(), app.TempDir.c_str()) != 0 ||
        store.extract(app) != 0) {
        std::fprintf(stderr, "navo-player-show: cannot make a store in %s\n", root.c_str());
        return 1;
    }
    const long recId = playerrecords::fileSamples(app, "Dictated letter to Mr Brown", playerrecords::tone(440, 5000));
    if (recId == 0) {
        std::fprintf(stderr, "navo-player-show: cannot file the tone\n");
        return 1;
    }

    int status = 0;
    {
        MessagePlayerDialog dialog(app, {indexline::recIdText(recId)}, 0);
        if (dialog.openPlayer() != 0)
            return 1;
        dialog.move(20, 20);
        dialog.show();
        dialog.findChild<QPushButton*>(QString::number(IDC_EFFECTS))->click();
        auto* controls = dialog.findChild<QComboBox*>(QString::number(IDC_RECORD_CONTROL));
        // Pictures are taken once the window has been drawn; timing only
        // matters for what the picture shows.
        QTimer::singleShot(800, [controls] { controls->showPopup(); });
        QTimer::singleShot(1600, [&] {
            const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
            if (!shot.save(output))
                status = 1;
            for (int i = 0; i < controls->count(); ++i)
                std::printf("control %d: %s\n", i, controls->itemText(i).toLocal8Bit().constData());
            controls->hidePopup();
            dialog.close();
        });
        dialog.exec();
    }
    store.deleteWorkingCopies(app);
    workspace::Workspace(app, workspace::kRemove, "*.*");
    return status;
}
