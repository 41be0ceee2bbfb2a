// Shows the Dictation Recorder over a fresh store in a temporary folder, for
// looking at it and taking screenshots. With --record it types a subject and
// presses Record on its own; the sound device is whatever NAVO_AUDIO says
// (NAVO_AUDIO=virtual with a tone needs no sound hardware).
//
//   navo-recorder-show [--record] [--quit-after SECONDS]
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <filesystem>

#include "core/AppData.h"
#include "audio/DictationRecorderDialog.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "res/resource.h"
#include "store/DataStore.h"
#include "store/Workspace.h"

namespace {

DictationRecorderDialog* openRecorder()
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* dialog = qobject_cast<DictationRecorderDialog*>(widget); dialog != nullptr && dialog->isVisible())
            return dialog;
    return nullptr;
}

}  // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList args = QApplication::arguments();
    const bool autoRecord = args.contains(QStringLiteral("--record"));
    const int quitAt = args.indexOf(QStringLiteral("--quit-after"));
    const int quitAfter = quitAt > 0 && quitAt + 1 < args.size() ? args[quitAt + 1].toInt() : 0;

    QTemporaryDir dir;
    AppData app;
    const std::string root = QFile::encodeName(dir.path()).toStdString();
    app.AppDir = root + "/";
    app.IniPath = root + "/NAVO.ini";
    app.ProfileSection = "show";
    app.ProfileDir = root + "/Profiles/show";
    app.DataStoreName = "NAVO";
    std::filesystem::create_directories(app.ProfileDir);
    DataStore store;
    if (workspace::Workspace(app, workspace::kCreate, "*.*") != 0
        || VXfilebuild(app.ProfileDir.c_str(), app.DataStoreName.c_str(), app.TempDir.c_str()) != 0
        || store.extract(app) != 0) {
        std::fprintf(stderr, "navo-recorder-show: cannot make a store in %s\n", root.c_str());
        return 1;
    }

    if (autoRecord) {
        auto* poll = new QTimer(&application);
        QObject::connect(poll, &QTimer::timeout, [poll] {
            DictationRecorderDialog* dialog = openRecorder();
            if (dialog == nullptr)
                return;
            poll->stop();
            dialog->findChild<QLineEdit*>(QString::number(IDC_SUBJECT))->setText(QStringLiteral("Notes for Monday's meeting"));
            dialog->findChild<QLineEdit*>(QString::number(IDC_KEYWORDS))->setText(QStringLiteral("meeting agenda"));
            dialog->findChild<QPushButton*>(QString::number(IDC_REC_RECORD))->click();
        });
        poll->start(300);
    }
    if (quitAfter > 0)
        QTimer::singleShot(quitAfter * 1000, [] {
            if (DictationRecorderDialog* dialog = openRecorder())
                dialog->findChild<QPushButton*>(QString::number(IDC_REC_STOP))->click();
            QApplication::exit(0);
        });

    const int filed = runDictationRecorder(app, nullptr, "", [](const std::string& page) {
        std::printf("help page %s\n", page.c_str());
        return true;
    });
    std::printf("filed: %d\n", filed);
    store.deleteWorkingCopies(app);
    workspace::Workspace(app, workspace::kRemove, "*.*");
    return 0;
}
