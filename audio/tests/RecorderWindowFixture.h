// The recorders' dialogs through the main window, offscreen: the window over
// a real store in a temporary folder, sound from the virtual devices (a tone
// in, a file out, as fast as buffers are queued); controls found by their
// numbers, and a dialog driven once it shows.
#pragma once

#include "FakeServices.h"

#include "app/MainWindow.h"
#include "core/AppData.h"
#include "platform/CallbackWindow.h"
#include "store/DataStoreService.h"

#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

template <typename T>
T* control(QWidget& dialog, int id)
{
    T* widget = dialog.findChild<T*>(QString::number(id));
    EXPECT_NE(widget, nullptr) << id;
    return widget;
}

// Runs body once the dialog of type D that opens next is showing.
template <typename D>
void whenShowing(QWidget* parent, std::function<void(D&)> body)
{
    auto* poll = new QTimer();
    QObject::connect(poll, &QTimer::timeout, [poll, parent, body] {
        auto* dialog = parent->findChild<D*>();
        if (dialog == nullptr || !dialog->isVisible())
            return;
        poll->stop();
        poll->deleteLater();
        body(*dialog);
    });
    poll->start(10);
}

class RecorderWindowFixture : public ::testing::Test {
protected:
    QTemporaryDir dir;
    AppData app;
    FakeServices fake;
    DataStoreService store;
    std::unique_ptr<MainWindow> window;

    std::string path(const char* name) const { return dir.filePath(name).toStdString(); }

    // Opens the main window with these services (the store always the real
    // one); the virtual input is input (a tone such as "tone:440").
    void openWindow(const char* input, StartupServices services)
    {
        qputenv("NAVO_AUDIO", "virtual");
        qputenv("NAVO_AUDIO_INPUT", input);
        qputenv("NAVO_AUDIO_PACE", "fast");
        qputenv("NAVO_AUDIO_OUTPUT", QFile::encodeName(dir.filePath("speaker.wav")));
        CallbackWindow::registerClass();
        services.store = &store;
        window = std::make_unique<MainWindow>(app, services, path("navo"));
        window->OnInitDialog();
        ASSERT_EQ(app.StoreUnusable, kStoreHealthy);
    }
    void TearDown() override
    {
        CallbackWindow::registerClass();
        window.reset();
        store.deleteWorkingCopies(app);
        store.workspace(app, 2, "*.*");
        for (const char* name : {"NAVO_AUDIO", "NAVO_AUDIO_INPUT", "NAVO_AUDIO_PACE", "NAVO_AUDIO_OUTPUT"})
            qunsetenv(name);
    }

    QAbstractItemModel* list() const { return window->findChild<QTreeView*>("10002")->model(); }
    QString cell(int row, int column) const { return list()->index(row, column).data().toString(); }
};
