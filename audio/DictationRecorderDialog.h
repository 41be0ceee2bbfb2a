// The Dictation Recorder (dialog 114): records a new dictation or re-records
// a filed one, and files it. The layout comes from
// res/ui/DictationRecorderDialog.ui; DictationRecorder does the work, the
// dialog shows its state and passes the user's commands on.
//
// The main window opens it with runDictationRecorder() below and refills its
// Dictation list when it returns.
#pragma once

#include <QDialog>
#include <QPixmap>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "audio/DictationRecorder.h"

class QMenu;
struct AppData;

namespace Ui {
class DictationRecorderDialog;
}

class DictationRecorderDialog : public QDialog {
    Q_OBJECT
public:
    using HelpOpener = std::function<bool(const std::string&)>;

    static constexpr const char* kHelpPage = "300.htm";
    static constexpr int kTipWidth = 30;
    static constexpr const char* kPictureFilter = "GIF & JPEG Images (*.gif;*.jpg)|*.gif;*.jpg||";
    // The picture chooser every recorder offers, through the prompt.
    static std::optional<std::string> askForPicture();
    static constexpr const char* kDefaultPicture = ":/recorder/no-picture.gif";

    // recIdText "" records a new dictation; a RecID re-records that one.
    // The device defaults to the "waveaudio" device.
    DictationRecorderDialog(AppData& app, const std::string& recIdText, HelpOpener openHelp,
                            QWidget* parent = nullptr, std::unique_ptr<RecorderDevice> device = nullptr);
    ~DictationRecorderDialog() override;

    // Opens the recorder on the new or filed dictation and shows it: 0, or
    // the code of what was shown (the dialog then need not run).
    int openRecording();
    // Before openRecording(): the new dictation starts with the sound of
    // this wave file.
    void setStartingWave(const std::string& path) { m_startingWave = path; }
    int openResult() const { return m_openResult; }
    DictationRecorder& recorder() { return m_recorder; }

    // Menu 2370 of the picture area, as a right click shows it.
    std::unique_ptr<QMenu> pictureMenu();

    // A tool tip's text broken into lines of at most kTipWidth characters.
    static QString tipText(const char* text);

protected:
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    void wire();
    void addToolTips();
    void refresh();
    void refreshMarks();
    void refreshPicture();
    void onRecord();
    void onSave();
    void choosePicture();
    DictationRecorder::Texts texts() const;
    void finished();

    DictationRecorder m_recorder;
    HelpOpener m_openHelp;
    std::string m_recIdText;
    std::string m_startingWave;
    std::unique_ptr<Ui::DictationRecorderDialog> m_ui;
    QPixmap m_icons[4];
    int m_openResult = 0;
};

// Opens the Dictation Recorder modally over parent: a new dictation for
// recIdText "", else the filed dictation of that RecID is re-recorded. Help
// opens its page through openHelp (the main window passes
// HelpPages::open). Returns 1 when a recording was filed into the
// store, else 0.
int runDictationRecorder(AppData& app, QWidget* parent, const std::string& recIdText,
                         DictationRecorderDialog::HelpOpener openHelp = {});

// Opens the Dictation Recorder modally over parent on a new dictation whose
// sound starts as the wave at wavePath (the Mixing Studio's build). 1 when
// it was filed into the store, else 0.
int runDictationRecorderOnWave(AppData& app, QWidget* parent, const std::string& wavePath,
                               DictationRecorderDialog::HelpOpener openHelp = {});
