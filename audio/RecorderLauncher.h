// The recorders this build has, as the main window reaches them: the
// Dictation, Diary and Meeting Recorders.
#pragma once

#include "core/StartupServices.h"
#include "audio/DictationRecorderDialog.h"

class RecorderLauncher : public RecorderService {
public:
    explicit RecorderLauncher(DictationRecorderDialog::HelpOpener openHelp);

    bool hasRecorder(int listType) const override;
    bool record(AppData& app, int listType, QWidget* owner, bool prime) override;
    bool recordWithTexts(AppData& app, int listType, QWidget* owner, const std::string& subject,
                         const std::string& keywords, const std::string& comments) override;
    bool hasOfflineMeeting() const override { return true; }
    void offlineMeeting(AppData& app, QWidget* owner) override;

private:
    DictationRecorderDialog::HelpOpener m_openHelp;
};
