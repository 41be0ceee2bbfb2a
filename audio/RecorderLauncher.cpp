#include "audio/RecorderLauncher.h"

#include "audio/DiaryRecorderDialog.h"
#include "core/AppData.h"

RecorderLauncher::RecorderLauncher(DictationRecorderDialog::HelpOpener openHelp) : m_openHelp(std::move(openHelp)) {}

bool RecorderLauncher::hasRecorder(int listType) const
{
    return listType == kListDictation || listType == kListDiary;
}

bool RecorderLauncher::record(AppData& app, int listType, QWidget* owner, bool)
{
    // Priming a new record from the previous one is not in this build.
    if (listType == kListDiary)
        return runDiaryRecorder(app, owner, m_openHelp) == 1;
    if (listType != kListDictation)
        return false;
    return runDictationRecorder(app, owner, "", m_openHelp) == 1;
}
