#include "audio/PhoneRecorderHost.h"

#include "audio/RecordingFlags.h"
#include "audio/VXWave.h"
#include "platform/CallbackWindow.h"
#include "platform/WindowMessages.h"

PhoneRecorderHost::PhoneRecorderHost(PhoneRecorder::FailureReport report, PhoneRecorderDialog::HelpOpener openHelp)
    : m_report(std::move(report)), m_openHelp(std::move(openHelp))
{
}

PhoneRecorderHost::~PhoneRecorderHost()
{
    delete m_dialog.data();
}

bool PhoneRecorderHost::recording() const
{
    if (!m_dialog)
        return false;
    const auto state = m_dialog->recorder().state();
    return state == PhoneRecorder::State::Recording || state == PhoneRecorder::State::Paused;
}

std::uintptr_t PhoneRecorderHost::window() const
{
    return m_dialog ? handleOf(m_dialog.data()) : 0;
}

void PhoneRecorderHost::open(AppData& app, QWidget* owner, const std::string& name, const std::string& number)
{
    if (m_dialog) {
        m_dialog->setCaller(name, number);
        m_dialog->showNormal();
        m_dialog->raise();
        m_dialog->activateWindow();
        return;
    }
    if (!CallbackWindow::isClassRegistered())
        CallbackWindow::registerClass();
    auto* dialog = new PhoneRecorderDialog(app, theWaveEngine(), theRecordingFlags(), m_report, m_openHelp, owner);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setModal(false);
    m_dialog = dialog;
    // Closed is gone, for the line, even before Qt deletes it.
    QObject::connect(dialog, &QDialog::finished, dialog, [this] { m_dialog.clear(); });
    const HWND ownerWindow = handleOf(owner);
    QObject::connect(dialog, &PhoneRecorderDialog::filed, dialog,
                     [ownerWindow] { PostMessage(ownerWindow, kFiled, 0, 0); });
    dialog->setCaller(name, number);
    if (dialog->openRecording() != 0) {
        delete dialog;
        return;
    }
    dialog->show();
}

void PhoneRecorderHost::stateChange(int code)
{
    if (m_dialog) {
        m_dialog->stateChange(code);
        m_dialog->activateWindow();
    }
}

void PhoneRecorderHost::clearLineInUse()
{
    if (m_dialog)
        m_dialog->setLineInUse(false);
}

void PhoneRecorderHost::close()
{
    if (m_dialog)
        m_dialog->done(QDialog::Rejected);
}
