// The main window (dialog 112): its start-up (OnInitDialog) and shutdown
// (OnClose) in their fixed orders, the menu and tool bar, and the window
// messages posted to it. The profile work of start-up lives in
// ProfileStartup; the store, line, diary and answer machine are reached
// through StartupServices.
#pragma once

#include <QDialog>
#include <QFont>
#include <QIcon>
#include <QMenu>
#include <QPointer>
#include <QSize>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/StartupServices.h"
#include "platform/WinTypes.h"

class QAction;
class QListWidgetItem;
class QMenuBar;
class QToolBar;
class RecordListModel;
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
    // Asked to stop (TERM): a running window closes as if Exit were chosen;
    // during start-up, the question on screen is cancelled and the window
    // shuts down as soon as start-up ends, without being shown.
    void requestStop();

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
    RecordListModel* recordModel() const { return m_model; }

    // The selection as the record commands see it.
    const std::string& selectedId() const { return m_selectedId; }
    const std::string& selectedFileName() const { return m_selectedFile; }
    int selectedCount() const { return m_selectedCount; }
    std::vector<std::string> selectedIds() const;

    // The record menu for the current selection (nullptr when nothing is
    // selected); the caller shows it.
    std::unique_ptr<QMenu> recordMenu();

    // Delete (command 2102) with its questions and reports.
    void deleteSelectedRecords();
    // New recording (8017, 2177; 2104 for a dictation) of a list type.
    void newRecording(int listType);
    bool hasRecorder(int listType) const;
    // Edit (command 2101): the selected dictation's editor.
    void editSelectedRecord();

    // The help page of a name ("166.htm") opened in the user's browser.
    static bool openHelpPage(const std::string& page);
    void openInternetRepository();

    QSize rememberedClientSize() const { return m_clientSize; }

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    void onChooserClicked(QListWidgetItem* item);
    void onSelectionChanged();
    void onDoubleClicked(const QModelIndex& index);
    void showLineState();
    // The status label rebuilt from the line's status text and the store,
    // and the line-state picture.
    void showLineStatus();
    void setCommandChecked(int id, bool checked);
    void closeAfterStartup();

    // The Phone menu (2002-2006) and "Use dictation as greeting" (2107).
    void modemSelectionCommand();
    void startMonitoringCommand();
    void stopMonitoringCommand();
    void applyMonitoringMenus();
    void applyAnswerMachineSwitch(AnswerMachineService::Switch result);
    void useDictationAsGreeting();

    // The line library's messages (WM_USER+105 to +156).
    bool handleLineMessage(UINT message);
    void onIncomingCall();
    void onCallerIdentity();
    void onCallEnded();
    // After a call: the Phone list (or, when another list is shown, the
    // count of new messages) and the line-state picture brought up to date.
    void afterCallUpdate();
    void showControlHelp();
    void handleWindowMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void openWebSite();
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
    std::map<int, bool> m_checked;
    std::vector<QPointer<QWidget>> m_modeless;
    RecordListModel* m_model = nullptr;
    std::string m_selectedId;
    std::string m_selectedFile;
    int m_focusedRow = -1;
    int m_selectedCount = 0;
    QFont m_headingFont;
    QSize m_clientSize;
    bool m_initialised = false;
    bool m_closed = false;
    bool m_stopRequested = false;
    std::vector<QIcon> m_lineStateIcons;
};
