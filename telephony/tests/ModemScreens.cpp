// Screenshots, by hand (not a test: modem_screens.sh runs it under Xvfb):
// the modem tester after a real call over the test line to navo-line
// (modem-tester.png) and the SIP line's settings window with an account
// filled in (sip-settings.png).
//   modem_screens <folder for screenshots>
#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include <cstdio>
#include <fstream>

#include "LineTestSupport.h"
#include "platform/WindowMessages.h"
#include "res/resource.h"
#include "telephony/ModemTesterDialog.h"
#include "telephony/SipSettingsDialog.h"

namespace {

bool save(QWidget& window, const QString& path)
{
    window.show();
    window.raise();
    MessageLog::pump(300);
    return window.grab().save(path);
}

}  // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: modem_screens <folder for screenshots>\n");
        return 1;
    }
    const QString shots = QString::fromLocal8Bit(argv[1]);
    TestLineSetup setup(400);
    const std::string greeting = setup.path("vxgreet.wav");
    SineFiles::write(greeting, 400, 1.0);

    LineState* line = Ek7TapiInitVar();
    line->DeviceId = 0;
    ModemTesterDialog tester(line, "Navo test line (driven by navo-line)", greeting);
    // The test line listens for navo-line only while open.
    if (Ek7TapiInit(0)->ErrorCode >= 1 || Ek7TapiOpen(handleOf(&tester))->ErrorCode >= 1) {
        std::fprintf(stderr, "modem_screens: the test line does not open\n");
        return 2;
    }
    NavoLineProcess phone(setup.socketPath());
    phone.start({"wait", "--answer-after", "2", "--timeout", "20000"});
    if (!phone.waitForOutput(QStringLiteral("waiting for a call"))) {
        std::fprintf(stderr, "modem_screens: navo-line is not waiting\n");
        return 3;
    }
    tester.show();
    tester.findChild<QLineEdit*>(QString::number(IDC_TEST_NUMBER))->setText(QStringLiteral("0161 496 0000"));
    tester.findChild<QPushButton*>(QString::number(IDC_TEST_START))->click();
    auto* log = tester.findChild<QPlainTextEdit*>(QString::number(IDC_TEST_LOG));
    for (int waited = 0; waited < 20000 && !log->toPlainText().contains(QStringLiteral("Idle : Passed")); waited += 50)
        MessageLog::pump(50);
    tester.findChild<QPushButton*>(QString::number(IDC_TEST_STOP))->click();
    phone.finish();
    if (!save(tester, shots + QStringLiteral("/modem-tester.png")))
        return 4;
    std::printf("%s", log->toPlainText().toLocal8Bit().constData());

    const std::string config = setup.path("line.conf");
    std::ofstream(config) << "sip_user = ada\nsip_domain = sip.example.net\nsip_registrar = proxy.example.net\n"
                             "sip_transport = tls\nsip_port = 5061\nsip_stun_server = stun.example.net\n";
    SipSettingsDialog settings(nullptr, config);
    if (!save(settings, shots + QStringLiteral("/sip-settings.png")))
        return 5;
    return 0;
}
