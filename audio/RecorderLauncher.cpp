#include "audio/RecorderLauncher.h"

#include "audio/DiaryRecorderDialog.h"
#include "audio/MeetingRecorderDialog.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"

RecorderLauncher::RecorderLauncher(DictationRecorderDialog::HelpOpener openHelp) : m_openHelp(std::move(openHelp)) {}

bool RecorderLauncher::hasRecorder(int listType) const
{
    return listType == kListDictation || listType == kListDiary || listType == kListMeeting;
}

bool RecorderLauncher::record(AppData& app, int listType, QWidget* owner, bool prime)
{
    // Priming is for meetings; a dictation or a diary entry starts empty.
    if (listType == kListMeeting)
        return runMeetingRecorder(app, owner, prime, m_openHelp) == 1;
    if (listType == kListDiary)
        return runDiaryRecorder(app, owner, m_openHelp) == 1;
    if (listType != kListDictation)
        return false;
    return runDictationRecorder(app, owner, "", m_openHelp) == 1;
}

void RecorderLauncher::offlineMeeting(AppData& app, QWidget* owner)
{
    OfflineMeetingDialog dialog(MeetingCost::fromProfile(ProfileValues(app)), owner);
    dialog.exec();
}
