// The main window (dialog 112): its start-up (OnInitDialog) and shutdown
// (OnClose) in their fixed orders, the menu and tool bar, and the window
// messages posted to it. The profile work of start-up lives in
// ProfileStartup; the store, line, diary and answer machine are reached
// through StartupServices.
#pragma once

#include <QDialog>
#include <QFont>
#include <QPointer>
#include <QSize>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/StartupServices.h"
#include "platform/WinTypes.h"

class QAction;
class QMenuBar;
class QToolBar;
struct AppData;

namespace Ui {
class MainWindow;
}

class MainWindow : public QDialog {
    Q_OBJECT
public:
    MainWindow(AppData& app, StartupServices services, std::string executablePath,
               QWidget* parent = nullptr);
    ~MainWindow() override;

    // Start-up, then the window runs modally until it closes.
    int DoModal();
    BOOL OnInitDialog();
    void OnClose();

    HWND handle();

    // Menu and tool bar commands by number; a command whose part is not in
    // this build stays greyed whatever its state asks.
    QAction* commandAction(int id) const;
    void setCommandEnabled(int id, bool enabled);
    bool commandRequested(int id) const;
    void runCommand(int id);

    // Modeless windows the main window owns (the phone recorder, the
    // incoming-call window); shutdown destroys them.
    void adoptModeless(QWidget* window);

    // Fills the record list of a type (1 Dictation ... 6 Video).
    void fillList(int listType);

    QSize rememberedClientSize() const { return m_clientSize; }

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    void createToolBar();
    void createMenu();
    void addCommand(QMenu* menu, int id, const char* text);
    void buildRecordTypeList();
    void applyMenuStartStates();
    void checkStoreCompression();
    void setStatusText(const QString& text);
    void afterStoreCommand();
    void openOptions();
    void openAbout();

    AppData& m_app;
    StartupServices m_services;
    std::string m_executablePath;
    std::unique_ptr<Ui::MainWindow> m_ui;
    QMenuBar* m_menuBar = nullptr;
    QToolBar* m_toolBar = nullptr;
    std::map<int, QAction*> m_actions;
    std::map<int, bool> m_requested;
    std::vector<QPointer<QWidget>> m_modeless;
    QFont m_headingFont;
    QSize m_clientSize;
    bool m_initialised = false;
    bool m_closed = false;
};
