// The main window (dialog 112): its start-up (OnInitDialog) and shutdown
// (OnClose) in their fixed orders, the record lists, and the window messages
// posted to it. The profile work of start-up lives in ProfileStartup; the
// commands in a CommandTable each part registers with (menus and tool bar
// are built from CommandMenus' layouts); the line-state decisions in
// LineController; help in HelpPages. The store, line, diary and answer
// machine are reached through StartupServices.
#pragma once

#include <QDialog>
#include <QFont>
#include <QMenu>
#include <QPointer>
#include <QSize>
#include <memory>
#include <string>
#include <vector>

#include "app/CommandTable.h"
#include "app/HelpPages.h"
#include "core/StartupServices.h"
#include "telephony/LineController.h"
#include "platform/WinTypes.h"

class QAction;
class QListWidgetItem;
class RecordListModel;
class RecordTypeChooser;
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
    // this build (not registered in commands()) stays greyed whatever its
    // state asks.
    CommandTable& commands() { return m_commands; }
    QAction* commandAction(int id) const { return m_commands.action(id); }
    void setCommandEnabled(int id, bool enabled) { m_commands.setEnabled(id, enabled); }
    bool commandRequested(int id) const { return m_commands.requested(id); }
    void runCommand(int id) { m_commands.run(id); }

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
    // The record file names ("%08d.vxz") of the selected rows.
    std::vector<std::string> selectedFileNames() const;

    // The record menu for the current selection (nullptr when nothing is
    // selected); the caller shows it.
    std::unique_ptr<QMenu> recordMenu();

    // Send (8019, 2112): the selected records by e-mail.
    void sendSelectedRecords();
    // Delete (command 2102) with its questions and reports.
    void deleteSelectedRecords();
    // New recording (8017, 2177; 2104 for a dictation) of a list type.
    void newRecording(int listType);
    bool hasRecorder(int listType) const;
    // Edit (command 2101): the selected dictation's editor.
    void editSelectedRecord();
    // Play (8018, 2105, a double click): the message player on the chosen
    // row, walking the list shown; the list is refilled when a message
    // became heard, so the Phone count and the line-state picture follow.
    void playSelectedRecord();

    // The help page of a name ("166.htm") opened in the user's browser
    // (HelpPages::open, kept under this name for main()).
    static bool openHelpPage(const std::string& page) { return HelpPages::open(page); }
    void openInternetRepository();
    // Search (8020): the Search window over the open store.
    void openSearch();
    // Print (2120): the list shown, through the print preview.
    void printList();

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
    // The Phone menu from the line controller, then what it asks for.
    void applyPhone(LineController::Refresh refresh);
    void registerCommands();
    void registerPhoneCommands();
    void closeAfterStartup();
    void handleWindowMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void createToolBar();
    void addAboutItem();
    void checkStoreCompression();
    // Command 2164 and the start-up question's Yes.
    void compressStore();
    void setStatusText(const QString& text);
    void afterStoreCommand();
    // "&Diary Monitor" (2165): the monitor on or off; its thread's messages
    // set the check mark.
    void toggleDiaryMonitor();
    // Templates (2167, 2110): the dialog; a template chosen for a new
    // recording comes back as WM_USER+30 with its number.
    void openTemplates();
    // WM_USER+30: the recorder of the template's type, pre-filled, then that
    // list filled again.
    void recordFromTemplate(int index);
    // A recording, deletion or store change: the monitor reads the diary again.
    void diaryChanged();
    void openOptions();
    // The Phone list's new messages counted without showing it; -1 without a store.
    int countNewPhoneMessages() const;

    AppData& m_app;
    StartupServices m_services;
    std::string m_executablePath;
    std::unique_ptr<Ui::MainWindow> m_ui;
    CommandTable m_commands;
    std::unique_ptr<LineController> m_phone;
    bool m_toolBarBuilt = false;
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
    // The compression dialog is up: a close waits until it has finished.
    bool m_compressing = false;
    std::unique_ptr<RecordTypeChooser> m_chooser;
};
