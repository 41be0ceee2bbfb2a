#include "telephony/IncomingCallDialog.h"

#include <QCloseEvent>

#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/Codepage.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "res/resource.h"
#include "ui_IncomingCallDialog.h"

IncomingCallDialog::IncomingCallDialog(LineState* line, const ProgramResources& resources, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::IncomingCallDialog>()), m_line(line)
{
    m_ui->setupUi(this);
    m_ui->answerButton->setObjectName(QString::number(IDOK));
    m_ui->messageButton->setObjectName(QString::number(IDCANCEL));
    assignControlNumbers(this);
    connect(m_ui->answerButton, &QPushButton::clicked, this, [this] { decide(true); });
    connect(m_ui->messageButton, &QPushButton::clicked, this, [this] { decide(false); });
    setCanPickUp(false);

    m_ring.start(resources.url(IDR_WAVE_RING));
    if (m_line != nullptr && m_line->CallerIdValid == 1) {
        OutputDebugString("Displaying ID\n");
        showCaller();
    }
}

IncomingCallDialog::~IncomingCallDialog() = default;

void IncomingCallDialog::setCanPickUp(bool can)
{
    m_ui->answerButton->setEnabled(can);
    (can ? m_ui->answerButton : m_ui->messageButton)->setDefault(true);
}

void IncomingCallDialog::showCaller()
{
    if (m_line == nullptr)
        return;
    // The block's texts are Windows-1252, as all of the program's text.
    m_ui->IDC_CALLER_NUMBER->setText(fromAnsi(std::string(m_line->CallerNumber)));
    m_ui->IDC_CALLER_NAME->setText(fromAnsi(std::string(m_line->CallerName)));
}

bool IncomingCallDialog::event(QEvent* event)
{
    if (event->type() == WindowMessageEvent::eventType()) {
        if (static_cast<WindowMessageEvent*>(event)->message() == kRefreshCaller)
            showCaller();
        return true;
    }
    return QDialog::event(event);
}

void IncomingCallDialog::decide(bool pickUp)
{
    m_ring.stop();
    if (m_line != nullptr)
        m_line->CallAnsweredByUser = 1;
    m_pickedUp = pickUp;
    m_decided = true;
    done(pickUp ? IDOK : IDCANCEL);
}

void IncomingCallDialog::endWithCall()
{
    if (m_decided)
        return;
    m_ring.stop();
    m_pickedUp = false;
    m_hungUp = true;
    m_decided = true;
    done(IDCANCEL);
}

void IncomingCallDialog::closeEvent(QCloseEvent* event)
{
    m_ring.stop();
    m_pickedUp = false;
    QDialog::closeEvent(event);
}

void IncomingCallDialog::reject()
{
    // Escape or the frame's close button: the call is not picked up.
    if (!m_decided) {
        m_ring.stop();
        m_pickedUp = false;
    }
    done(IDCANCEL);
}
