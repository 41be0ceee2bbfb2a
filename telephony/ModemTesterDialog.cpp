#include "telephony/ModemTesterDialog.h"

#include <QScrollBar>

#include "platform/Codepage.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "res/resource.h"
#include "ui_ModemTesterDialog.h"

ModemTesterDialog::ModemTesterDialog(LineState*& line, const std::string& description,
                                     const std::string& greetingPath, QWidget* parent)
    : QDialog(parent),
      m_ui(std::make_unique<Ui::ModemTesterDialog>()),
      m_tester(line, greetingPath, m_recordFolder.path().toLocal8Bit().toStdString())
{
    m_ui->setupUi(this);
    m_ui->cancelButton->setObjectName(QString::number(IDCANCEL));
    assignControlNumbers(this);
    connect(m_ui->IDC_TEST_START, &QPushButton::clicked, this, [this] {
        m_tester.start(toAnsi(m_ui->IDC_TEST_NUMBER->text()), handleOf(this));
        refresh();
    });
    connect(m_ui->IDC_TEST_STOP, &QPushButton::clicked, this, [this] {
        m_tester.stop();
        refresh();
    });
    connect(m_ui->cancelButton, &QPushButton::clicked, this, [this] { reject(); });
    m_tester.open(description);
    refresh();
}

ModemTesterDialog::~ModemTesterDialog()
{
    m_tester.close();
}

void ModemTesterDialog::refresh()
{
    // The log's "\r\n" line ends show as one line break each.
    const QString log = fromAnsi(m_tester.log()).remove(QLatin1Char('\r'));
    if (m_ui->IDC_TEST_LOG->toPlainText() != log) {
        m_ui->IDC_TEST_LOG->setPlainText(log);
        m_ui->IDC_TEST_LOG->verticalScrollBar()->setValue(m_ui->IDC_TEST_LOG->verticalScrollBar()->maximum());
    }
    const ModemTester::Buttons& buttons = m_tester.buttons();
    m_ui->IDC_TEST_START->setEnabled(buttons.start);
    m_ui->IDC_TEST_STOP->setEnabled(buttons.stop);
    m_ui->cancelButton->setEnabled(buttons.cancel);
}

bool ModemTesterDialog::event(QEvent* event)
{
    if (event->type() == WindowMessageEvent::eventType()) {
        m_tester.message(static_cast<WindowMessageEvent*>(event)->message());
        refresh();
        return true;
    }
    return QDialog::event(event);
}

void ModemTesterDialog::reject()
{
    // Escape and the frame's close button work even while Cancel is grey: a
    // call in progress is dropped and the line closed, never left open.
    m_tester.close();
    QDialog::reject();
}
