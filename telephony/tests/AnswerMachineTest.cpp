// The answer machine's switch over the test line where the main window's
// tests (tests/AnswerMachineWindowTest) do not reach: without a modem,
// refused during a call, failing with the line, one-call mode when the
// caller gave up.
#include <gtest/gtest.h>

#include <memory>

#include "LineTestSupport.h"
#include "ScriptedPrompt.h"
#include "core/AppData.h"
#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"
#include "res/StringTable.h"
#include "telephony/AnswerMachine.h"
#include "telephony/TelephonyService.h"

namespace {

using Switch = AnswerMachineService::Switch;

class AnswerMachineSwitch : public ::testing::Test {
protected:
    AnswerMachineSwitch() : profile(setup.path("NAVO.ini"), "Tester")
    {
        app.IniPath = setup.path("NAVO.ini");
        app.ProfileSection = "Tester";
        line.initVar(app);
        log = std::make_unique<MessageLog>(app.lineState);
    }
    ~AnswerMachineSwitch() override { line.close(app); }

    TestLineSetup setup;
    ProfileSettings profile;
    AppData app;
    TelephonyService line{ProgramResources(QString::fromStdString(TestLineSetup::soundsFolder()))};
    AnswerMachine machine{line};
    std::unique_ptr<MessageLog> log;
};

TEST_F(AnswerMachineSwitch, WithoutAModemNothingIsSwitchedOrWritten)
{
    ScriptedPrompt prompt;
    EXPECT_EQ(machine.switchOn(app, log.get()), Switch::NoDevice);
    EXPECT_EQ(machine.switchOff(app), Switch::NoDevice);
    EXPECT_EQ(app.lineState->AnswerMachineOn, 0);
    EXPECT_EQ(profile.read(settings::kAutoMessage), "Bad");
    EXPECT_FALSE(line.monitoring());
}

TEST_F(AnswerMachineSwitch, DuringACallSwitchingOnIsRefusedWith752)
{
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    line.chooseDevice(0);
    app.lineState->CallInProgress = 1;
    EXPECT_EQ(machine.switchOn(app, log.get()), Switch::Refused);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, LoadString(752));
    EXPECT_EQ(prompt.messages()[0].flags, static_cast<UINT>(MB_OK | MB_ICONINFORMATION));
    EXPECT_FALSE(line.monitoring());
    EXPECT_EQ(app.lineState->AnswerMachineOn, 0);
    EXPECT_EQ(profile.read(settings::kAutoMessage), "Bad");
    app.lineState->CallInProgress = 0;
}

TEST_F(AnswerMachineSwitch, AModemThatIsGoneLeavesTheMachineOffAndWritesZero)
{
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);  // 749
    line.chooseDevice(5);        // the test line is the only device
    EXPECT_EQ(machine.switchOn(app, log.get()), Switch::Failed);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, LoadString(749));
    EXPECT_EQ(app.lineState->AnswerMachineOn, 0);
    EXPECT_EQ(profile.read(settings::kAutoMessage), "0");
    EXPECT_FALSE(line.deviceChosen());
}

TEST_F(AnswerMachineSwitch, OneCallModeEndsWithTheCallEvenWhenTheCallerGaveUp)
{
    line.chooseDevice(0);
    // Chosen after the caller had gone: nothing is switched on.
    machine.forThisCall(app, true);
    EXPECT_FALSE(machine.forThisCallOnly());
    EXPECT_EQ(app.lineState->AnswerMachineOn, 0);

    app.lineState->CallState = 1;
    machine.forThisCall(app, true);
    app.lineState->CallState = 0;
    EXPECT_TRUE(machine.forThisCallOnly());
    EXPECT_EQ(app.lineState->AnswerMachineOn, 1);
    // The call ended before it was answered: CallState is 0 then.
    EXPECT_EQ(machine.callEnded(app), 0);
    EXPECT_FALSE(machine.forThisCallOnly());
    EXPECT_EQ(app.lineState->AnswerMachineOn, 0);

    // Switched on for good, a call that ends leaves it on.
    ScriptedPrompt prompt;
    ASSERT_EQ(machine.switchOn(app, log.get()), Switch::On);
    EXPECT_EQ(machine.callEnded(app), 0);
    EXPECT_EQ(app.lineState->AnswerMachineOn, 1);
}

}  // namespace
