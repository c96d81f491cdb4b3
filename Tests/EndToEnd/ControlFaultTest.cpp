// Each call of the host's that drawing and editing need is made to fail: the effect says so, and loses nothing.
#include <gmock/gmock.h>

#include "ControlSession.h"
#include "NimbrelHost/Support/Errors.h"

namespace nimbrel::endtoend {
namespace {

TEST(ControlFault, FailedCallsAreReportedAndNothingIsLost) {
    const std::vector<std::string> suites = {kPFAppSuite,           kPFEffectCustomUISuite,
                                             kDRAWBOT_DrawSuite,    kDRAWBOT_SupplierSuite,
                                             kDRAWBOT_SurfaceSuite, kDRAWBOT_PathSuite};
    for (const char* id : {kRamp, kGradient}) {
        ControlSession user(id, {});
        host::Host& host = *user.mStudio.mHost;
        user.mStudio.mPick = glm::vec4(0.5, 0.5, 0.5, 1);
        const auto act = [&] {
            user.Draw();
            user.Press(144, 20, 0, 2);
            user.Hover(70, 20);
        };
        // What could be taken back is held rightly.
        const auto countHeld = [&] {
            host.GetUndo().Clear();
            return user.mStudio.CountHeld();
        };
        act();
        const std::vector<std::size_t> held = countHeld();
        std::size_t failed = 0;
        for (const std::string& suite : suites) {
            for (std::size_t number = 1;; ++number) {
                host.GetFaults().Arm({number, 1, suite, ""});
                std::string message;
                try {
                    act();
                } catch (const host::EffectError& error) {
                    message = error.what();
                }
                const auto fault = host.GetFaults().GetFailed();
                host.GetFaults().Disarm();
                if (!fault) break;
                ++failed;
                // Asking for a redraw and giving back may fail in silence.
                const bool isSilent = fault->mFunction == "PF_InvalidateRect" || fault->mFunction == "ReleaseObject";
                if (fault->mFunction != "AcquireSuite" && !isSilent) {
                    EXPECT_NE(message, "") << suite << ", " << fault->mFunction << ", call " << number;
                }
                EXPECT_EQ(host.GetCustomUI().GetObjects().Count(), 0U) << suite << ", " << fault->mFunction;
                EXPECT_EQ(countHeld(), held) << suite << ", " << fault->mFunction;
                ASSERT_LT(number, 2000U);
            }
        }
        EXPECT_GT(failed, 40U);
        EXPECT_GT(user.Draw().mCalls.size(), 5U) << "and goes on as before";
    }
}

}  // namespace
}  // namespace nimbrel::endtoend
