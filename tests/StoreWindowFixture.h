// The main window over a real store, filled through the real filing
// procedure, with the other seams scripted (FakeServices). A fixture that
// needs real services of its own overrides SetUp and calls open() with them.
#pragma once

#include <QFile>
#include <QItemSelectionModel>
#include <QLabel>
#include <QTemporaryDir>
#include <QTreeView>
#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

#include "FakeServices.h"
#include "RecordFactory.h"
#include "app/MainWindow.h"
#include "res/resource.h"
#include "store/DataStoreService.h"

class StoreWindowTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string root = QFile::encodeName(dir.path()).toStdString();
    AppData app;
    FakeServices fake;
    DataStoreService store;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<RecordFactory> records;

    void SetUp() override { open(); }
    // samples: the length of each filed record's sound at 8000 Hz.
    void open(const std::function<void(StartupServices&)>& wire = {}, unsigned samples = 800)
    {
        StartupServices services = fake.services();
        services.store = &store;
        if (wire)
            wire(services);
        window = std::make_unique<MainWindow>(app, services, root + "/navo");
        window->OnInitDialog();
        ASSERT_EQ(app.StoreUnusable, kStoreHealthy);
        records = std::make_unique<RecordFactory>(app, samples);
    }
    void TearDown() override
    {
        if (!window)
            return;
        store.deleteWorkingCopies(app);
        store.workspace(app, 2, "*.*");
        // Before the services a derived fixture holds are destroyed.
        window.reset();
    }

    QTreeView* list() const { return window->findChild<QTreeView*>(QString::number(IDC_RECORD_LIST)); }
    QString label(int id) const { return window->findChild<QLabel*>(QString::number(id))->text(); }
    QString cell(int row, int column) const { return list()->model()->index(row, column).data().toString(); }
    // The given rows selected, the first of them current.
    void select(std::initializer_list<int> rows)
    {
        QItemSelectionModel* selection = list()->selectionModel();
        selection->clearSelection();
        selection->setCurrentIndex(list()->model()->index(*rows.begin(), 0), QItemSelectionModel::NoUpdate);
        for (int row : rows)
            selection->select(list()->model()->index(row, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    // The list of listType shown with every row selected.
    void selectAll(int listType)
    {
        window->fillList(listType);
        list()->selectionModel()->setCurrentIndex(list()->model()->index(0, 0), QItemSelectionModel::NoUpdate);
        list()->selectAll();
    }
};
