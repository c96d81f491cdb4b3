// Per-splat effects and Z depth, from the panel's settings to pixels, against the reference renderer.
#include <gtest/gtest.h>

#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

Shot WithoutEffects(Shot shot) {
    for (ShotModel& model : shot.mModels) {
        model.mSettings = host::Json::object();
        model.mEffects = {};
    }
    shot.mDrawZDepth = false;
    return shot;
}

class EffectPicture : public testing::TestWithParam<Shot> {};

TEST_P(EffectPicture, EqualsTheReference) {
    const Shot& shot = GetParam();
    const host::Frame expected = RenderReference(shot);
    ASSERT_GT(MeanAlpha(expected), 0.02);
    EXPECT_LT(ComparePsnr(expected, RenderReference(WithoutEffects(shot))), 40.0) << "the settings must show";
    EXPECT_GE(ComparePsnr(RenderWithEffect(shot, "cpu"), expected), 60.0);
}

INSTANTIATE_TEST_SUITE_P(Shots, EffectPicture, testing::ValuesIn(MakeEffectShots()),
                         [](const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; });

}  // namespace
}  // namespace nimbrel::endtoend
