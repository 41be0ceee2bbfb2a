// Ek7Tapi where the provider module is missing or incomplete: every call
// answers with a reason, nothing crashes. A process of its own, because the
// library keeps the module it loaded once.
#include <gtest/gtest.h>

#include "LineTestSupport.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"

namespace {

TEST(Ek7TapiWithoutModule, EveryCallFailsWithAReasonAndTheLineStaysClosed)
{
    ScopedEnvironment environment;
    environment.set("NAVO_TAPI_MODULE", "/nonexistent/libnavotapi.so");
    LineState* state = Ek7TapiInitVar();
    state->DeviceId = 0;
    EXPECT_EQ(Ek7TapiInit(0)->ErrorCode, kEk7NoModule);
    EXPECT_EQ(state->DeviceCount, 0);
    EXPECT_EQ(Ek7TapiOpen(0)->ErrorCode, kEk7NotInitialised);
    EXPECT_EQ(state->Monitoring, 0);
    EXPECT_EQ(Ek7TapiAnswer()->ErrorCode, kEk7NoOfferedCall);
    EXPECT_EQ(Ek7TapiDial("123")->ErrorCode, kEk7LineNotOpen);
    EXPECT_EQ(Ek7TapiStop()->ErrorCode, kEk7Ok);
    EXPECT_EQ(Ek7TapiClose()->ErrorCode, kEk7Ok);
    // Switched off on purpose: the same answer.
    environment.set("NAVO_TAPI_MODULE", "");
    EXPECT_EQ(Ek7TapiInit(0)->ErrorCode, kEk7NoModule);
}

}  // namespace
