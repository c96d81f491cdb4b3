#include <gmock/gmock.h>

#include "PluginBase/Exception.h"
#include "Render.h"

using ::testing::HasSubstr;

namespace {

zeb::DrawInfo MakeDrawInfo() {
    zeb::DrawInfo drawInfo;
    drawInfo.mFullWidth = drawInfo.mOutputWidth = 640;
    drawInfo.mFullHeight = drawInfo.mOutputHeight = 360;
    drawInfo.mFocalLength = 800.0F;
    drawInfo.mCameraType = zeb::CameraType::Perspective;
    return drawInfo;
}

std::string GetError(const zeb::DrawInfo& drawInfo) {
    try {
        GetProjectionMatrix(drawInfo);
    } catch (const zeb::Exception& exception) {
        EXPECT_EQ(exception.code, 512);
        return exception.what();
    }
    return {};
}

}  // namespace

class ProjectionOfATile : public testing::TestWithParam<zeb::CameraType> {};

TEST_P(ProjectionOfATile, TakesTheTilesPlaceInTheFrame) {
    zeb::DrawInfo drawInfo = MakeDrawInfo();
    drawInfo.mCameraType = GetParam();
    drawInfo.mScaleX = drawInfo.mScaleY = 0.5F;  // the render is 320 by 180
    drawInfo.mPivotX = 100;
    drawInfo.mPivotY = 90;
    drawInfo.mOutputWidth = 80;
    drawInfo.mOutputHeight = 30;
    const glm::mat4 m = GetProjectionMatrix(drawInfo);
    const auto project = [&](float x, float y) {
        // Pixel (x, y) of the render, as a point on the image plane.
        const glm::vec4 clip = m * glm::vec4(x / 0.5F - 320.0F, y / 0.5F - 180.0F, 800.0F, 1.0F);
        return glm::vec2(clip) / clip.w;
    };
    EXPECT_NEAR(project(100.0F, 90.0F).x, -1.0F, 1e-5F);
    EXPECT_NEAR(project(100.0F, 90.0F).y, 1.0F, 1e-5F);
    EXPECT_NEAR(project(180.0F, 120.0F).x, 1.0F, 1e-5F);
    EXPECT_NEAR(project(180.0F, 120.0F).y, -1.0F, 1e-5F);
    drawInfo.mNativeOrigin = zeb::NativeOrigin::TopLeft;
    EXPECT_EQ(GetProjectionMatrix(drawInfo)[1][1], -m[1][1]);
}

INSTANTIATE_TEST_SUITE_P(Cameras, ProjectionOfATile,
                         testing::Values(zeb::CameraType::Perspective, zeb::CameraType::Orthographic));

TEST(Projection, UnknownKindsAreRefusedOriginFirst) {
    zeb::DrawInfo drawInfo = MakeDrawInfo();
    drawInfo.mCameraType = static_cast<zeb::CameraType>(3);
    EXPECT_THAT(GetError(drawInfo), HasSubstr("Unknown camera type of 3"));
    drawInfo.mNativeOrigin = zeb::NativeOrigin::Center;
    EXPECT_THAT(GetError(drawInfo), HasSubstr("Unsupported native origin zeb::NativeOrigin::Center."));
}
