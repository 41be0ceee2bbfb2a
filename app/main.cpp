// navo: start the application object with the parts this build has.
#include <QApplication>
#include <QFile>

#include "app/AppData.h"
#include "app/InertServices.h"
#include "app/NavoApp.h"
#include "store/DataStoreService.h"

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Navo"));
    QApplication::setOrganizationName(QStringLiteral("Orlent Systems"));

    DataStoreService store;
    InertServices notYetBuilt;
    StartupServices services = notYetBuilt.services();
    services.store = &store;
    NavoApp app(theAppData(), services,
                QFile::encodeName(QApplication::applicationFilePath()).toStdString());
    app.InitInstance();
    return 0;
}
