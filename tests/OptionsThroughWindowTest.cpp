// Options opened from the main window's Tools menu, as a user opens it: the
// profile the window hands over must outlive the dialog. Built with the
// window, the Options code and the profile code under AddressSanitizer, so a
// model left holding a destroyed profile fails here at the first read.
#include <QCheckBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include "FakeServices.h"
#include "app/MainWindow.h"
#include "app/OptionsDialog.h"
#include "core/ProfileSettings.h"
#include "res/resource.h"
#include "store/DataStoreService.h"

namespace {

TEST(OptionsThroughWindow, ClicksAndOkReachTheProfileTheWindowHandedOver)
{
    QTemporaryDir dir;
    AppData app;
    FakeServices fake;
    DataStoreService store;
    StartupServices services = fake.services();
    services.store = &store;
    MainWindow window(app, services, QFile::encodeName(dir.path()).toStdString() + "/navo");
    window.OnInitDialog();
    ASSERT_EQ(app.StoreUnusable, kStoreHealthy);
    const ProfileSettings profile(app.IniPath, app.ProfileSection);
    const bool highLightBefore = profile.read("HighLight") == "Y";

    bool shown = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        auto* dialog = window.findChild<OptionsDialog*>();
        if (dialog == nullptr || !dialog->isVisible())
            return;
        poll.stop();
        shown = true;
        dialog->findChild<QCheckBox*>(QString::number(IDC_HIGHLIGHT))->click();
        dialog->findChild<QSpinBox*>(QString::number(IDC_RINGS_SPIN))->setValue(7);
        dialog->findChild<QPushButton*>(QString::number(IDOK))->click();
    });
    poll.start(10);
    window.runCommand(ID_OPTIONS);

    ASSERT_TRUE(shown);
    EXPECT_EQ(profile.read("HighLight"), highLightBefore ? "N" : "Y");
    EXPECT_EQ(profile.read("Rings"), "7");
    store.deleteWorkingCopies(app);
    store.workspace(app, 2, "*.*");
}

}  // namespace
