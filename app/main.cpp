// navo: start the application object with the parts this build has.
#include <QApplication>
#include <QFile>
#include <iostream>

#include "core/AppData.h"
#include "app/InertServices.h"
#include "app/MainWindow.h"
#include "app/StoreCompression.h"
#include "app/NavoApp.h"
#include "app/RecordListModel.h"
#include "app/PlayerLauncher.h"
#include "app/RecordMailer.h"
#include "audio/EffectsEngine.h"
#include "audio/PlayerEffects.h"
#include "audio/DiaryMonitor.h"
#include "audio/PhoneRecorderHost.h"
#include "audio/ExportLauncher.h"
#include "audio/RecorderLauncher.h"
#include "audio/StudioLauncher.h"
#include "platform/gui/QtPrompt.h"
#include "store/DataStoreService.h"
#include "telephony/AnswerMachine.h"
#include "telephony/LineFailureReport.h"
#include "telephony/TelephonyService.h"

int main(int argc, char** argv)
{
    // Before QApplication, which needs a display.
    if (const std::optional<int> exitCode = NavoApp::answerCommandLine(argc, argv, std::cout))
        return *exitCode;
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Navo"));
    QApplication::setOrganizationName(QStringLiteral("Orlent Systems"));
    QtPrompt qtPrompt;
    setDefaultPrompt(&qtPrompt);

    DataStoreService store;
    TelephonyService line;
    AnswerMachine answerMachine(line);
    RecorderLauncher recorders(&MainWindow::openHelpPage);
    StudioLauncher studio(&MainWindow::openHelpPage, &RecordListModel::qualityColour);
    PlayerLauncher player;
    // The registry stand-in reports an effects version only while this
    // build has the engine.
    playereffects::publishDirectXVersion(makeEffectsEngine() != nullptr);
    StoreCompression compression(store);
    DiaryMonitor diary;
    RecordMailer mailer;
    ExportLauncher exporter;
    InertServices notYetBuilt;
    StartupServices services = notYetBuilt.services();
    services.store = &store;
    services.line = &line;
    services.answerMachine = &answerMachine;
    services.recorder = &recorders;
    services.studio = &studio;
    services.player = &player;
    services.compression = &compression;
    services.diary = &diary;
    services.mail = &mailer;
    PhoneRecorderHost phoneRecorder([](int reason) { LineFailureReport::show(reason); }, &MainWindow::openHelpPage);
    services.phoneRecorder = &phoneRecorder;
    line.setPhoneRecorderAvailable(true);
    services.exporter = &exporter;
    NavoApp app(theAppData(), services,
                QFile::encodeName(QApplication::applicationFilePath()).toStdString());
    app.InitInstance();
    return 0;
}
