#include "audio/RecorderLauncher.h"

#include "audio/DiaryRecorderDialog.h"
#include "audio/MeetingRecorderDialog.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "platform/CallbackWindow.h"
#include "platform/Codepage.h"
#include "res/resource.h"

#include <QLineEdit>
#include <QPlainTextEdit>

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

bool RecorderLauncher::recordWithTexts(AppData& app, int listType, QWidget* owner, const std::string& subject,
                                       const std::string& keywords, const std::string& comments)
{
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    if (listType == kListDiary) {
        DiaryRecorderDialog dialog(app, m_openHelp, owner);
        if (dialog.openRecording() != 0)
            return false;
        dialog.setTexts(subject, keywords, comments);
        dialog.exec();
        return dialog.recorder().filed();
    }
    if (listType == kListMeeting) {
        MeetingRecorderDialog dialog(app, false, m_openHelp, owner);
        if (dialog.openRecording() != 0)
            return false;
        dialog.setTexts(subject, keywords, comments);
        dialog.exec();
        return dialog.recorder().filed();
    }
    if (listType != kListDictation)
        return false;
    // The dictation recorder's text boxes, found by their control numbers.
    DictationRecorderDialog dialog(app, "", m_openHelp, owner);
    if (dialog.openRecording() != 0)
        return false;
    if (auto* box = dialog.findChild<QLineEdit*>(QString::number(IDC_SUBJECT)))
        box->setText(fromAnsi(subject));
    if (auto* box = dialog.findChild<QLineEdit*>(QString::number(IDC_KEYWORDS)))
        box->setText(fromAnsi(keywords));
    if (auto* box = dialog.findChild<QPlainTextEdit*>(QString::number(IDC_COMMENTS)))
        box->setPlainText(fromAnsi(comments));
    dialog.exec();
    return dialog.recorder().filed();
}
