// The Diary Recorder (dialog 120): records a diary entry for a chosen day
// and time with its reminder, and files it. The layout comes from
// res/ui/DiaryRecorderDialog.ui; DiaryRecorder does the work, the dialog
// shows its state, follows the level meter flags with ten bars and passes
// the user's commands and texts on.
#pragma once

#include <QDialog>
#include <QTimer>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "audio/DiaryRecorder.h"
#include "audio/LevelBars.h"

class QProgressBar;
struct AppData;

namespace Ui {
class DiaryRecorderDialog;
}

class DiaryRecorderDialog : public QDialog {
    Q_OBJECT
public:
    using HelpOpener = std::function<bool(const std::string&)>;

    static constexpr const char* kHelpPage = "344.htm";
    static constexpr int kLevelBars = LevelBars::kCount;
    static constexpr int kRefreshMs = 100;

    // The engine and flags default to the application's.
    DiaryRecorderDialog(AppData& app, HelpOpener openHelp, QWidget* parent = nullptr);
    DiaryRecorderDialog(AppData& app, VXWave& wave, RecordingFlags& flags, HelpOpener openHelp,
                        QWidget* parent = nullptr);
    ~DiaryRecorderDialog() override;

    // Takes the RecID and shows the dialog's first state: 0, or what was
    // shown (the dialog then need not run).
    int openRecording();
    // A template's texts to start from.
    void setTexts(const std::string& subject, const std::string& keywords, const std::string& comments);
    DiaryRecorder& recorder() { return m_recorder; }
    // The entry as the controls say it now.
    DiaryEntry entry() const;
    // The ten level bars (LevelBars).
    const std::vector<QProgressBar*>& levelBars() const { return m_bars->bars(); }
    static int levelBarId(int i);

protected:
    void reject() override;
    // Closing the window (or Navo stopping) ends a run first, then leaves
    // as Cancel does.
    void closeEvent(QCloseEvent* event) override;

private:
    void build(AppData& app);
    void refresh();
    void refreshMarks();
    void refreshPicture();
    void followLevels();
    void onSave();
    void choosePicture();

    DiaryRecorder m_recorder;
    RecordingFlags& m_flags;
    HelpOpener m_openHelp;
    std::unique_ptr<Ui::DiaryRecorderDialog> m_ui;
    std::unique_ptr<LevelBars> m_bars;
    QTimer m_timer;
};

// Opens the Diary Recorder modally over parent for a new entry. Returns 1
// when an entry was filed into the store, else 0.
int runDiaryRecorder(AppData& app, QWidget* parent, DiaryRecorderDialog::HelpOpener openHelp = {});
