// The lazy TAPI binding: one cached address per function, -1 for a missing
// module or function, 0x80000049 then; the module loaded once at most.
#include <gtest/gtest.h>

#include <string>

#include "LineTestSupport.h"
#include "telephony/TapiBinding.h"

namespace {

constexpr LONG kUnavailable = static_cast<LONG>(0x80000049u);

TEST(TapiBinding, MissingModuleAnswersOperationUnavailableAndIsNeverLoadedAgain)
{
    int loads = 0;
    TapiBinding binding([&] {
        ++loads;
        return DynamicLibrary("/nonexistent/libnavotapi.so");
    });
    EXPECT_EQ(binding.moduleState(), 0);
    EXPECT_EQ(binding.cached(TapiBinding::kLineGetIcon), 0);
    HICON icon = reinterpret_cast<HICON>(0x1);
    EXPECT_EQ(binding.lineGetIcon(0, "tapi/line", &icon), kUnavailable);
    EXPECT_EQ(icon, reinterpret_cast<HICON>(0x1));  // nothing was called
    EXPECT_EQ(binding.lineDrop(7, nullptr, 0), kUnavailable);
    EXPECT_EQ(binding.lineDeallocateCall(7), kUnavailable);
    EXPECT_EQ(binding.lineGetIcon(1, "tapi/line", &icon), kUnavailable);
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(binding.moduleState(), TapiBinding::kMissing);
    EXPECT_EQ(binding.cached(TapiBinding::kLineGetIcon), TapiBinding::kMissing);
    EXPECT_EQ(binding.cached(TapiBinding::kLineDrop), TapiBinding::kMissing);
    EXPECT_EQ(binding.cached(TapiBinding::kLineAnswer), 0);  // never asked for
}

TEST(TapiBinding, BindsWhatTheModuleHasOnceAndMarksTheRestMissing)
{
    TestLineSetup setup;
    int loads = 0;
    TapiBinding binding([&] {
        ++loads;
        return DynamicLibrary(TestLineSetup::modulePath());
    });
    HICON icon = nullptr;
    ASSERT_EQ(binding.lineGetIcon(0, "tapi/line", &icon), 0);
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(icon->dwWidth, 16u);
    EXPECT_EQ(icon->dwHeight, 16u);
    const std::intptr_t bound = binding.cached(TapiBinding::kLineGetIcon);
    EXPECT_GT(bound, 0);
    EXPECT_EQ(binding.lineGetIcon(0, "tapi/line", &icon), 0);
    EXPECT_EQ(binding.cached(TapiBinding::kLineGetIcon), bound);

    // The module's own answers come through unchanged.
    EXPECT_EQ(binding.lineGetIcon(5, "tapi/line", &icon), LINEERR_BADDEVICEID);
    EXPECT_EQ(binding.lineGetIcon(0, "wave/in", &icon), kUnavailable);
    EXPECT_EQ(binding.lineDrop(0x7777, nullptr, 0), LINEERR_INVALCALLHANDLE);
    EXPECT_EQ(binding.lineDeallocateCall(0x7777), LINEERR_INVALCALLHANDLE);

    // The module has no lineAccept: missing, while the module stays loaded.
    EXPECT_EQ(binding.address(TapiBinding::kLineAccept), nullptr);
    EXPECT_EQ(binding.cached(TapiBinding::kLineAccept), TapiBinding::kMissing);
    EXPECT_NE(binding.address(TapiBinding::kLineOpen), nullptr);
    EXPECT_EQ(binding.moduleState(), 1);
    EXPECT_EQ(loads, 1);
}

}  // namespace
