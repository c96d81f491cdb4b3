// Wireframe aids, from the panel's switches to pixels, against the reference renderer's lines.
#include <gtest/gtest.h>

#include "Lines.h"
#include "Shots.h"

namespace nimbrel::endtoend {
namespace {

class GizmoPicture : public testing::TestWithParam<Shot> {};

TEST_P(GizmoPicture, HasTheReferencesLines) {
    const Shot& shot = GetParam();
    const Shot plain = WithoutGizmos(shot);
    const GizmoFrames drawn = {RenderWithEffect(shot, "cpu"), RenderWithEffect(plain, "cpu")};
    EXPECT_GE(CompareLines(drawn, {RenderReference(shot), RenderReference(plain)}), 60.0);
}

INSTANTIATE_TEST_SUITE_P(Shots, GizmoPicture, testing::ValuesIn(MakeGizmoShots()),
                         [](const testing::TestParamInfo<Shot>& shot) { return shot.param.mName; });

}  // namespace
}  // namespace nimbrel::endtoend
