// A user edits a gradient: 150 x 50 points, in which positions run over 138, 6 points from the left edge, and keys are
// thrown away below 44.
#include <gmock/gmock.h>

#include "ControlSession.h"

namespace nimbrel::endtoend {
namespace {

using host::Json;

struct Key {
    double mPosition;
    glm::dvec3 mColor;
    int mType;
};

constexpr glm::dvec3 kRed{1, 0, 0}, kGreen{0, 1, 0}, kBlue{0, 0, 1};

double AtX(int x) { return (x - 6) / 138.0; }

class GradientSession : public ::testing::TestWithParam<int> {
protected:
    GradientSession() { SetKeys({{0, kRed, 0}, {1, kBlue, 0}}); }

    static host::PointerSession::View MakeView() {
        host::PointerSession::View view;
        view.mPixelScale = GetParam();
        return view;
    }

    void SetKeys(const std::vector<Key>& keys) {
        Json pairs = Json::array();
        for (const Key& key : keys) {
            const Json color = {key.mColor.x, key.mColor.y, key.mColor.z};
            pairs.push_back({key.mPosition, {{"color", color}, {"type", key.mType}}});
        }
        mUser.Set({{"keys", pairs}});
    }

    void ExpectKeys(const std::vector<Key>& expected) {
        const Json keys = mUser.Get()["keys"];
        ASSERT_EQ(keys.size(), expected.size()) << keys.dump();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            EXPECT_NEAR(keys[i][0].get<double>(), expected[i].mPosition, 2e-6) << keys.dump();
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(keys[i][1]["color"][static_cast<std::size_t>(c)].get<double>(), expected[i].mColor[c], 1e-5)
                    << keys.dump();
            EXPECT_EQ(keys[i][1]["type"], expected[i].mType) << keys.dump();
        }
    }

    ControlSession mUser{kGradient, MakeView()};
};

TEST_P(GradientSession, DoubleClicksAddAKeyOfTheColourThereAndDragIt) {
    EXPECT_EQ(Report(mUser.Click(75, 20)), "h");
    EXPECT_EQ(Report(mUser.Press(75, 20, 0, 2)), "hcCr");
    const Key middle{0.5, {0.5, 0, 0.5}, 1};
    ExpectKeys({{0, kRed, 0}, middle, {1, kBlue, 0}});
    EXPECT_EQ(Report(mUser.DragTo(110, 30)), "hcr");
    ExpectKeys({{0, kRed, 0}, {AtX(110), middle.mColor, 1}, {1, kBlue, 0}});
    mUser.DragTo(990, 30);
    ExpectKeys({{0, kRed, 0}, {0.999, middle.mColor, 1}, {1, kBlue, 0}});
    mUser.DragTo(-30, -30);
    ExpectKeys({{0, kRed, 0}, {0.001, middle.mColor, 1}, {1, kBlue, 0}});
    mUser.Release();
    EXPECT_EQ(mUser.mStudio.mHost->GetUndo().ListSteps().size(), 1U);
}

TEST_P(GradientSession, DragsPassNeighboursAndKeepWhatTheyDrag) {
    SetKeys({{0, kRed, 2}, {0.5, kGreen, 0}, {1, kBlue, 1}});
    EXPECT_EQ(Report(mUser.Press(9, 30)), "hC");
    EXPECT_EQ(Report(mUser.DragTo(9, 10)), "h") << "where it is";
    mUser.DragTo(103, 10);
    mUser.Release();
    ExpectKeys({{0.5, kGreen, 0}, {AtX(100), kRed, 2}, {1, kBlue, 1}});
}

TEST_P(GradientSession, DraggedOutBelowAKeyIsGoneForGood) {
    SetKeys({{0, kRed, 0}, {0.5, kGreen, 0}, {1, kBlue, 0}});
    mUser.Press(75, 30);
    mUser.DragTo(80, 44);
    ExpectKeys({{0, kRed, 0}, {AtX(80), kGreen, 0}, {1, kBlue, 0}});
    EXPECT_EQ(Report(mUser.DragTo(80, 45)), "hcr");
    ExpectKeys({{0, kRed, 0}, {1, kBlue, 0}});
    EXPECT_EQ(Report(mUser.DragTo(80, 20)), "") << "back again";
    mUser.Release();
    ExpectKeys({{0, kRed, 0}, {1, kBlue, 0}});
    EXPECT_TRUE(mUser.mStudio.mHost->Undo());
    ExpectKeys({{0, kRed, 0}, {0.5, kGreen, 0}, {1, kBlue, 0}});
}

TEST_P(GradientSession, CommandClicksGoThroughTheTypes) {
    EXPECT_EQ(Report(mUser.Click(75, 20, PF_Mod_CMD_CTRL_KEY)), "h");
    for (const int type : {1, 2, 0}) {
        EXPECT_EQ(Report(mUser.Click(140, 20, PF_Mod_CMD_CTRL_KEY)), "hcr");
        ExpectKeys({{0, kRed, 0}, {1, kBlue, type}});
    }
}

TEST_P(GradientSession, DoubleClicksOnAKeyAskForItsColour) {
    const Studio& studio = mUser.mStudio;
    EXPECT_EQ(Report(mUser.Press(144, 20, 0, 2)), "hcr") << "cancelled: the colour it had is stored";
    ExpectKeys({{0, kRed, 0}, {1, kBlue, 0}});
    mUser.mStudio.mPick = glm::vec4(0.25, 0.5, 0.75, 1);
    EXPECT_EQ(Report(mUser.Press(144, 20, 0, 2)), "hcr");
    ExpectKeys({{0, kRed, 0}, {1, {0.25, 0.5, 0.75}, 0}});
    mUser.Press(144, 20, 0, 2);
    ASSERT_EQ(studio.mPicks.size(), 3U);
    for (const auto& [title, color] : studio.mPicks) EXPECT_EQ(title, "Gradient Color");
    EXPECT_EQ(studio.mPicks[0].second, glm::vec4(0, 0, 1, 1));
    EXPECT_EQ(studio.mPicks[2].second, glm::vec4(0.25, 0.5, 0.75, 1));
}

TEST_P(GradientSession, TheWindowMayCloseWhileAColourIsPicked) {
    mUser.mStudio.mOnPick = [&] { mUser.CloseWindow(); };
    mUser.mStudio.mPick = glm::vec4(0.25, 0.5, 0.75, 1);
    EXPECT_EQ(Report(mUser.Press(144, 20, 0, 2)), "hcr");
    ExpectKeys({{0, kRed, 0}, {1, {0.25, 0.5, 0.75}, 0}});
}

TEST_P(GradientSession, OfNearKeysTheLastInARowIsHit) {
    // Less than 8 points apart: 0.05 are 6.9.
    SetKeys({{0.4, kRed, 0}, {0.45, kGreen, 0}, {0.5, kBlue, 0}, {0.6, kRed, 0}});
    mUser.Click(56, 20, PF_Mod_CMD_CTRL_KEY);
    ExpectKeys({{0.4, kRed, 0}, {0.45, kGreen, 0}, {0.5, kBlue, 1}, {0.6, kRed, 0}});
    for (const auto& [x, y] : {std::pair{-1, 20}, {150, 20}, {75, -1}, {75, 50}})
        EXPECT_EQ(Report(mUser.Press(x, y)), "") << x << ", " << y;
    EXPECT_EQ(Report(mUser.Hover(75, 20)), "h");
}

INSTANTIATE_TEST_SUITE_P(Views, GradientSession, ::testing::Values(1, 2),
                         [](const auto& test) { return "Scale" + std::to_string(test.param); });

}  // namespace
}  // namespace nimbrel::endtoend
