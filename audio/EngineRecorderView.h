// What the Diary and Meeting recorders show of their EngineRecorder: the
// buttons by state, the state icon, the index marks and the picture. Their
// dialogs' generated forms name these controls alike.
#pragma once

#include "audio/DictationRecorderDialog.h"
#include "audio/EngineRecorder.h"
#include "core/ShowCodedMessage.h"
#include "platform/Codepage.h"

#include <QDialog>
#include <QFile>
#include <QPixmap>
#include <QTreeWidget>

namespace enginerecorderview {

template <class Form>
void showState(Form& ui, const EngineRecorder& recorder)
{
    using State = EngineRecorder::State;
    const State state = recorder.state();
    const bool running = state == State::Recording || state == State::Paused;
    const bool idle = state == State::Idle;
    ui.IDC_RECID->setText(QString::fromStdString(recorder.recIdText()));
    ui.IDC_START_TIME->setText(fromAnsi(recorder.startTime()));
    ui.IDC_POSITION->setText(QString::fromStdString(recorder.lengthText()));
    ui.IDC_DIARY_PICKUP->setEnabled(idle);
    ui.IDC_DIARY_PAUSE->setEnabled(running);
    ui.IDC_DIARY_PAUSE->setChecked(state == State::Paused);
    ui.IDC_DIARY_STOP->setEnabled(running);
    ui.IDC_MARK->setEnabled(idle || running);
    ui.IDC_INSERT_PICTURE->setEnabled(idle);
    ui.IDC_REMOVE_PICTURE->setEnabled(idle && !recorder.picturePath().empty());
    ui.IDC_REC_OK->setEnabled(idle);
    ui.IDC_REC_CANCEL->setEnabled(idle || state == State::Closed);
    ui.stateIcon->setText(state == State::Recording ? QStringLiteral("\u25CF")
                          : state == State::Paused  ? QStringLiteral("II")
                                                    : QString());
    ui.stateIcon->setStyleSheet(QStringLiteral("color: rgb(220, 0, 0); font-weight: bold;"));
}

template <class Form>
void showMarks(Form& ui, const EngineRecorder& recorder)
{
    QTreeWidget* list = ui.IDC_INDEX_LIST;
    list->clear();
    for (const IndexMark& mark : recorder.marks())
        new QTreeWidgetItem(list, {fromAnsi(mark.comment), QString::fromStdString(mark.time),
                                   QString::fromStdString(mark.flag)});
    if (list->topLevelItemCount() > 0)
        list->scrollToItem(list->topLevelItem(list->topLevelItemCount() - 1));
}

// The chosen picture, or the default one, scaled into the picture box.
template <class Form>
void showPicture(Form& ui, const EngineRecorder& recorder)
{
    const std::string& path = recorder.picturePath();
    QPixmap picture(path.empty() ? QString::fromLatin1(DictationRecorderDialog::kDefaultPicture)
                                 : QFile::decodeName(path.c_str()));
    ui.IDC_PICTURE->setPixmap(picture.isNull() ? QPixmap()
                                               : picture.scaled(ui.IDC_PICTURE->minimumSize(), Qt::KeepAspectRatio,
                                                                Qt::SmoothTransformation));
}

// Cancel, Escape or the window's close. A closed recorder ends the dialog;
// a run going on keeps it open, as the disabled Cancel button does; sound
// recorded is offered for saving (message 1, string 628). True when the
// user wants it saved; otherwise the dialog is done or stays as it is.
inline bool closeWantsSave(QDialog& dialog, const EngineRecorder& recorder)
{
    using State = EngineRecorder::State;
    const State state = recorder.state();
    if (state == State::Closed) {
        dialog.done(recorder.filed() ? QDialog::Accepted : QDialog::Rejected);
        return false;
    }
    if (state != State::Idle)
        return false;
    constexpr int kRecordingQuestion = 1;
    if (recorder.recordedSomething() && ShowCodedMessage(kRecordingQuestion, MB_YESNO | MB_ICONQUESTION) == IDYES)
        return true;
    dialog.done(QDialog::Rejected);
    return false;
}

}  // namespace enginerecorderview
