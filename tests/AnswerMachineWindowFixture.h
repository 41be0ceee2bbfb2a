// The main window over a real store with the real line and answer machine,
// as a user starts it: an existing profile whose modem is line device 0 and
// whose "AutoMessage" is "1". Shared by the end-to-end tests of the answer
// machine over the test line and over the SIP line.
#pragma once

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <QTreeView>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include "FakeServices.h"
#include "LineTestSupport.h"
#include "ScriptedPrompt.h"
#include "app/MainWindow.h"
#include "core/ProfileSettings.h"
#include "app/RecordListModel.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "res/resource.h"
#include "store/ComponentFiles.h"
#include "store/DataStoreService.h"
#include "telephony/AnswerMachine.h"
#include "telephony/AnswerMachineGreeting.h"
#include "telephony/TelephonyService.h"

namespace amtest {


namespace fs = std::filesystem;

constexpr int kRingPeriodMs = 100;

inline bool waitUntil(const std::function<bool()>& done, int timeoutMs = 15000)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        MessageLog::pump(20);
    }
    return true;
}

// How strongly frequency sounds through samples[from, to): the amplitude a
// sine of it alone would need (one DFT bin, by Goertzel's recurrence).
inline double amplitudeAt(const LineSamples& samples, double frequency, std::size_t from = 0,
                          std::size_t to = SIZE_MAX)
{
    to = std::min(to, samples.size());
    if (from >= to)
        return 0;
    const double w = 2 * M_PI * frequency / LineWave::kRate;
    std::complex<double> sum = 0;
    for (std::size_t n = from; n < to; ++n)
        sum += static_cast<double>(samples[n]) * std::polar(1.0, -w * static_cast<double>(n));
    return 2 * std::abs(sum) / static_cast<double>(to - from);
}

// Clicks the button of the modal window titled title once it is up and
// delayMs have passed (*asked, if given, is set when it is up); then, if
// done is given, waits until done() and clicks the buttons of thenClick.
inline void clickWhenUp(const QString& title, const QString& button, int delayMs = 0, bool* asked = nullptr,
                        std::function<bool()> done = {}, const QStringList& thenClick = {})
{
    QTimer::singleShot(20, [=] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog == nullptr || dialog->windowTitle() != title) {
            clickWhenUp(title, button, delayMs, asked, done, thenClick);
            return;
        }
        if (asked != nullptr)
            *asked = true;
        QTimer::singleShot(delayMs, dialog, [=] {
            dialog->findChild<QPushButton*>(button)->click();
            if (!done)
                return;
            auto* poll = new QTimer(dialog);
            QObject::connect(poll, &QTimer::timeout, dialog, [=] {
                if (!done())
                    return;
                poll->stop();
                for (const QString& name : thenClick)
                    dialog->findChild<QPushButton*>(name)->click();
            });
            poll->start(20);
        });
    });
}

inline bool sameImage(const QIcon& shown, const char* resource)
{
    return shown.pixmap(32).toImage() == QIcon(QString::fromLatin1(resource)).pixmap(32).toImage();
}

class AnswerMachineWindow : public ::testing::Test {
protected:
    explicit AnswerMachineWindow(const std::string& providers = "test line") : setup(kRingPeriodMs, providers) {}

    TestLineSetup setup;
    std::string root = setup.path("navo-folder");
    std::string section = logOnName();
    std::string profileDir = root + "/Profiles/" + section;
    AppData app;
    FakeServices fake;  // diary and compression only
    DataStoreService store;
    TelephonyService line{ProgramResources(QString::fromStdString(TestLineSetup::soundsFolder()))};
    AnswerMachine machine{line};
    std::unique_ptr<ScriptedPrompt> prompt;
    PhoneRecorderService* phoneRecorder = nullptr;  // none: calls go unrecorded
    std::unique_ptr<MainWindow> window;

    // An existing profile with the test line as its modem and the machine on.
    void writeProfile(const std::string& extra = "")
    {
        fs::create_directories(profileDir);
        std::ofstream(root + "/NAVO.ini") << "[" << section << "]\nLastPath=" << profileDir
                                          << "\nLastFile=NAVO\nRecID=0\nCommID=0\nRings=2\nAutoMessage=1\n"
                                             "PhWarn=N\nExpPrompt=0\nADiary=N\nCompress=Y\nRecQual=0\n"
                                          << extra;
        const std::string buildSpace = root + "/build-space";
        fs::create_directories(buildSpace);
        ASSERT_EQ(VXfilebuild(profileDir.c_str(), "NAVO", buildSpace.c_str()), 0);
    }

    void start(const std::string& extra = "")
    {
        writeProfile(extra);
        prompt = std::make_unique<ScriptedPrompt>();  // any message box fails the test
        StartupServices services = fake.services();
        services.store = &store;
        services.line = &line;
        services.answerMachine = &machine;
        services.phoneRecorder = phoneRecorder;
        window = std::make_unique<MainWindow>(app, services, root + "/navo");
        window->OnInitDialog();
        ASSERT_EQ(app.StoreUnusable, kStoreHealthy);
        ASSERT_TRUE(line.monitoring());
        // A short greeting keeps the calls short.
        ASSERT_TRUE(SineFiles::write(AnswerMachineGreeting::path(app.TempDir), 400, 0.3));
        ASSERT_TRUE(SineFiles::write(voice(), 600, 1.0));
    }

    void TearDown() override
    {
        if (!window)
            return;
        line.close(app);
        store.deleteWorkingCopies(app);
        store.workspace(app, 2, "*.*");
    }

    std::string voice() const { return setup.path("voice.wav"); }
    QString label(int id) const { return window->findChild<QLabel*>(QString::number(id))->text(); }
    const RecordListModel* model() const { return window->recordModel(); }
    QString cell(int row, int column) const { return model()->index(row, column).data().toString(); }
    ProfileSettings profile() const { return ProfileSettings(app.IniPath, app.ProfileSection); }

    // The sound of a filed message or call, as it was filed.
    LineSamples filedSound(const std::string& recId)
    {
        const std::string out = root + "/out-" + recId;
        fs::create_directories(out);
        const std::string record = recId + ".vxz";
        LineSamples samples;
        if (ExtractFile(app.DataStorePath.c_str(), record.c_str(), out.c_str()) != 0)
            return samples;
        std::vector<std::string> members;
        VXlistMembers((out + "/" + record).c_str(), &members);
        for (const std::string& member : members)
            if ((fs::path(member).extension() == ".vxw" || fs::path(member).extension() == ".wav") &&
                ExtractFile((out + "/" + record).c_str(), member.c_str(), out.c_str()) == 0)
                LineWave::readFile(out + "/" + member, samples);
        return samples;
    }

    bool workspaceHas(const std::string& extension) const
    {
        for (const auto& entry : fs::directory_iterator(app.TempDir))
            if (entry.path().extension() == extension)
                return true;
        return false;
    }
};

}  // namespace amtest
