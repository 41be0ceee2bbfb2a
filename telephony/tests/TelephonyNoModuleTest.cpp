// Navo without telephony: the provider module is missing, or it is there but
// liblinphone is not (ctest runs this a second time with the real module and
// a broken liblinphone first on the library path). Every step reports and
// goes on; nothing crashes. A process of its own, since the line library and
// the binding keep their first load.
#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

#include <cstdlib>

#include "LineTestSupport.h"
#include "ScriptedPrompt.h"
#include "core/AppData.h"
#include "telephony/TapiBinding.h"
#include "telephony/TelephonyService.h"

namespace {

TEST(TelephonyWithoutModule, MonitoringFailsWithTheReportAndTheRestGoesOn)
{
    const char* unloadable = std::getenv("NAVO_TEST_UNLOADABLE_MODULE");
    ScopedEnvironment environment;
    environment.set("NAVO_TAPI_MODULE", unloadable != nullptr ? unloadable : "/nonexistent/libnavotapi.so");
    QTemporaryDir dir;
    AppData app;
    app.IniPath = dir.filePath("NAVO.ini").toStdString();
    app.ProfileSection = "Tester";
    TelephonyService service;
    service.initVar(app);
    service.chooseDevice(0);

    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    MessageLog window(app.lineState);
    EXPECT_EQ(service.startMonitoring(&window), TelephonyService::StartResult::InitFailed);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, "Failed : Return Code = 310 Reason Code = 1");
    EXPECT_EQ(prompt.messages()[0].flags, MB_OK | MB_ICONEXCLAMATION);
    EXPECT_EQ(service.statusText(), "Failed to start line monitoring");
    EXPECT_FALSE(service.monitoring());
    EXPECT_TRUE(service.deviceChosen());  // only a failed open forgets the modem

    // Modem Selection: the failure is reported and the list stays empty.
    prompt.answerMessage(IDOK);
    int rows = -1;
    QTimer::singleShot(0, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        rows = dialog->findChild<QTreeWidget*>(QStringLiteral("10038"))->topLevelItemCount();
        dialog->findChild<QPushButton*>(QStringLiteral("8009"))->click();
    });
    EXPECT_EQ(service.selectModem(nullptr), -1);
    EXPECT_EQ(rows, 0);
    ASSERT_EQ(prompt.messages().size(), 2u);
    EXPECT_EQ(prompt.messages()[1].text, "Failed : Return Code = 310 Reason Code = 1");

    // The program's own TAPI calls: 0x80000049, the module cached as missing.
    HICON icon = nullptr;
    EXPECT_EQ(lineGetIcon(0, "tapi/line", &icon), static_cast<LONG>(0x80000049u));
    EXPECT_EQ(icon, nullptr);
    EXPECT_EQ(lineDrop(1, nullptr, 0), static_cast<LONG>(0x80000049u));
    EXPECT_EQ(TapiBinding::instance().moduleState(), TapiBinding::kMissing);

    service.close(app);
    EXPECT_EQ(service.statusText(), "Line monitoring inactive");
}

}  // namespace
