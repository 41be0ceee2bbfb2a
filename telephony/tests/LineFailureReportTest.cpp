// The failure report of a line library call: the return-code table at every
// boundary, the text, and the message box it shows.
#include <gtest/gtest.h>

#include <utility>

#include "ScriptedPrompt.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "telephony/LineFailureReport.h"

namespace {

TEST(LineFailureReport, ReturnCodeFollowsTheReasonsRange)
{
    const std::pair<int, int> cases[] = {
        {-3, 310},  {1, 310},   {59, 310},  {60, 320},  {79, 320},  {80, 330},  {99, 330},
        {100, 340}, {139, 340}, {140, 350}, {159, 350}, {160, 360}, {179, 360}, {180, 370},
        {199, 370}, {200, 380}, {219, 380}, {220, 390}, {221, 390}, {222, 999}, {100000, 999},
    };
    for (const auto& [reason, code] : cases)
        EXPECT_EQ(LineFailureReport::returnCode(reason), code) << "reason " << reason;
}

TEST(LineFailureReport, ShowsAnExclamationBoxWithOkOnlyForAFailure)
{
    ScriptedPrompt prompt;
    LineState state{};
    state.ErrorCode = 0;
    EXPECT_FALSE(LineFailureReport::showIfFailed(&state));  // an unexpected box would fail the test
    state.ErrorCode = -4;
    EXPECT_FALSE(LineFailureReport::showIfFailed(&state));
    EXPECT_FALSE(LineFailureReport::showIfFailed(nullptr));
    prompt.answerMessage(IDOK);
    state.ErrorCode = kEk7SaveFailed;
    EXPECT_TRUE(LineFailureReport::showIfFailed(&state));
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text, "Failed : Return Code = 380 Reason Code = 201");
    EXPECT_EQ(prompt.messages()[0].flags, MB_OK | MB_ICONEXCLAMATION);
    EXPECT_EQ(prompt.messages()[0].caption, "Navo");
}

}  // namespace
