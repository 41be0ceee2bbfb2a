// Shows the File Converter (dialog 151) converting two long tone recordings
// to MP3 in a temporary folder, for looking at it and taking screenshots.
// With --shot FILE it saves a picture of its window once the first file is
// a third done, then cancels and quits.
//
//   navo-converter-show [--shot FILE]
#include <QApplication>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

#include "audio/FileConverterDialog.h"
#include "maker/Ek7Acm/tests/ToneWave.h"

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList args = QApplication::arguments();
    const int shotAt = args.indexOf(QStringLiteral("--shot"));
    const QString shot = shotAt >= 0 && shotAt + 1 < args.size() ? args[shotAt + 1] : QString();
    QTemporaryDir dir;
    const std::string folder = dir.path().toStdString();
    std::vector<FileConverter::Job> jobs;
    for (const char* name : {"00000041 Budget meeting", "00000042 Site visit"}) {
        const std::string source = folder + "/" + name + ".wav";
        tone::write(source, tone::kQualities[3], 440, 300000);
        jobs.push_back({source, folder + "/" + name + ".mp3", FileConverter::kMp3, name, "", ""});
    }
    FileConverterDialog dialog(std::move(jobs));
    if (!shot.isEmpty()) {
        auto* timer = new QTimer(&dialog);
        QObject::connect(timer, &QTimer::timeout, &dialog, [&dialog, timer, shot] {
            auto* bar = dialog.findChild<QProgressBar*>(QStringLiteral("10422"));
            if (bar == nullptr || bar->value() < 33)
                return;
            timer->stop();
            const QPixmap picture = dialog.screen()->grabWindow(0, dialog.frameGeometry().x(),
                                                                dialog.frameGeometry().y(), dialog.frameGeometry().width(),
                                                                dialog.frameGeometry().height());
            if (!picture.save(shot))
                std::fprintf(stderr, "could not save %s\n", qPrintable(shot));
            // Cancel, as the user would press it.
            if (auto* cancel = dialog.findChild<QPushButton*>(QStringLiteral("10426")))
                cancel->click();
        });
        timer->start(50);
    }
    dialog.exec();
    return 0;
}
