// The SIP line's settings as the settings window writes them: read back by
// the line exactly, the file's other lines kept, the password in a private
// file of its own (an exposed one made private), a failed write losing
// nothing, and the window's refusal of settings that make no line.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QSpinBox>

#include <fstream>
#include <sstream>

#include "LineTestSupport.h"
#include "ScriptedPrompt.h"
#include "platform/FileOps.h"
#include "telephony/SipSettings.h"
#include "telephony/SipSettingsDialog.h"
#include "telephony/module/LineOptions.h"

namespace {

std::string readText(const std::string& path)
{
    std::string text;
    fileops::readWholeFile(path, &text);
    return text;
}

unsigned modeOf(const std::string& path)
{
    fileops::FileInfo info;
    return fileops::infoOf(path, &info) == 0 ? info.mode & 0777 : 0;
}

class SipSettingsTest : public ::testing::Test {
protected:
    TestLineSetup setup;
    const std::string config = setup.path("conf/line.conf");
};

TEST_F(SipSettingsTest, WrittenSettingsAreWhatTheLineReadsAndTheRestOfTheFileStays)
{
    QDir().mkpath(QString::fromStdString(setup.path("conf")));
    std::ofstream(config) << "# mine\nring_period_ms = 4000\nsip_user = old\nsip_user = older\nsip_port=5070\n";
    SipSettings settings;
    settings.user = "ada";
    settings.domain = "sip.example.net";
    settings.registrar = "proxy.example.net:5080";
    settings.authUser = "ada-auth";
    settings.transport = "tcp";
    settings.localPort = 5072;
    settings.stunServer = "stun.example.net";
    settings.allowRemote = true;
    ASSERT_EQ(settings.problem(), "");
    ASSERT_EQ(settings.write(config, "s3cret"), "");

    const LineOptions options = LineOptions::from(readText(config), {});
    EXPECT_EQ(options.sipUser, "ada");
    EXPECT_EQ(options.sipDomain, "sip.example.net");
    EXPECT_EQ(options.sipRegistrar, "proxy.example.net:5080");
    EXPECT_EQ(options.sipAuthUser, "ada-auth");
    EXPECT_EQ(options.sipTransport, "tcp");
    EXPECT_EQ(options.sipPort, 5072);
    EXPECT_EQ(options.sipStunServer, "stun.example.net");
    EXPECT_TRUE(options.sipAllowRemote);
    EXPECT_EQ(options.ringPeriodMs, 4000);
    const std::string text = readText(config);
    EXPECT_EQ(text.rfind("# mine\nring_period_ms = 4000\nsip_user = ada\nsip_port = 5072\n", 0), 0u) << text;
    EXPECT_EQ(text.find("older"), std::string::npos);
    EXPECT_EQ(text.find("s3cret"), std::string::npos);  // never in the settings file
    EXPECT_EQ(modeOf(config), 0600u);

    // The password: in its own file beside the settings, for its owner only.
    ASSERT_EQ(options.sipPasswordFile, SipSettings::defaultPasswordFile(config));
    EXPECT_EQ(readText(options.sipPasswordFile), "s3cret\n");
    EXPECT_EQ(modeOf(options.sipPasswordFile), 0600u);
    EXPECT_EQ(SipSettings::secret(options.sipPasswordFile), SipSettings::Secret::Private);
    const SipSettings back = SipSettings::read(config);
    EXPECT_EQ(back.user, "ada");
    EXPECT_EQ(back.passwordFile, options.sipPasswordFile);

    // Someone opened it up: the line would refuse it; writing again, without
    // a new password, makes it private and keeps the password.
    ASSERT_EQ(fileops::setFileMode(back.passwordFile, 0644), 0);
    EXPECT_EQ(SipSettings::secret(back.passwordFile), SipSettings::Secret::Exposed);
    ASSERT_EQ(back.write(config, ""), "");
    EXPECT_EQ(modeOf(back.passwordFile), 0600u);
    EXPECT_EQ(readText(back.passwordFile), "s3cret\n");
}

TEST_F(SipSettingsTest, AFailedWriteLeavesTheOldSettings)
{
    SipSettings settings;
    settings.user = "ada";
    settings.domain = "example.net";
    ASSERT_EQ(settings.write(config, ""), "");
    const std::string before = readText(config);
    settings.user = "grace";
    fileops::FaultPlan plan;
    plan.failWriteAt = 1;
    fileops::setFaultPlan(plan);
    const std::string failed = settings.write(config, "");
    fileops::clearFaultPlan();
    EXPECT_NE(failed.find("cannot write"), std::string::npos) << failed;
    EXPECT_EQ(readText(config), before);
}

TEST_F(SipSettingsTest, TheWindowRefusesHalfAnAccountAndSavesAWholeOne)
{
    SipSettingsDialog dialog(nullptr, config);
    auto field = [&](const char* name) { return dialog.findChild<QLineEdit*>(name); };
    ASSERT_NE(field("sipUser"), nullptr);
    field("sipUser")->setText(QStringLiteral("ada"));
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    dialog.accept();
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_NE(prompt.messages()[0].text.find("both a user and a domain"), std::string::npos);
    EXPECT_FALSE(fileops::fileExists(config));  // nothing written

    field("sipDomain")->setText(QStringLiteral("127.0.0.1:5090"));
    field("sipPassword")->setText(QStringLiteral("pässword"));
    dialog.findChild<QComboBox*>("sipTransport")->setCurrentText(QStringLiteral("TLS"));
    dialog.findChild<QSpinBox*>("sipPort")->setValue(5999);
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    const LineOptions options = LineOptions::from(readText(config), {});
    EXPECT_EQ(options.sipUser, "ada");
    EXPECT_EQ(options.sipDomain, "127.0.0.1:5090");
    EXPECT_EQ(options.sipTransport, "tls");
    EXPECT_EQ(options.sipPort, 5999);
    EXPECT_FALSE(options.sipAllowRemote);
    EXPECT_EQ(readText(options.sipPasswordFile), "p\xc3\xa4ssword\n");
}

}  // namespace
