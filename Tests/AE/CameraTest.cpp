#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "FakeHost.h"
#include "FakeProject.h"
#include "PluginBase/AE/AEGPObjects.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "TestPlugin.h"

namespace {

/// Where the camera sees a point of the world; vectors are columns over the matrix's own memory.
glm::vec3 See(const zeb::CameraInfo& info, const glm::vec3& point) {
    const glm::vec4 seen = info.mWorldToCamera * glm::vec4(point, 1.0F);
    return glm::vec3(seen);
}

class Camera : public testing::Test {
protected:
    Camera() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {}
    void TearDown() override { EXPECT_EQ(mProject.mHeld, 0); }

    test::FakeHost mHost;
    test::FakeProject mProject{mHost};
    zeb::ThreadContextScope mScope;
    test::TestPlugin mPlugin;
};

TEST_F(Camera, WithoutALayerItLooksAtTheMiddleOfTheLayer) {
    const zeb::CameraInfo info = mPlugin.GetCamera();
    EXPECT_EQ(info.mType, zeb::CameraType::None);
    EXPECT_FLOAT_EQ(info.mFocalLength, 400.0F);
    EXPECT_EQ(See(info, {200.0F, 100.0F, 0.0F}), glm::vec3(0.0F, 0.0F, 400.0F));
    EXPECT_EQ(info.mWorldToCamera[3], glm::vec4(-200.0F, -100.0F, 400.0F, 1.0F));
}

TEST_F(Camera, TheHostsMatrixIsInverted) {
    mProject.mCamera = &mProject.AddLayer(nullptr);
    mProject.mZoom = 1234.5;
    mProject.mCameraType = AEGP_CameraType_ORTHOGRAPHIC;
    // Rows are the camera's axes in the world: it stands at (10, 20, -300) and looks along +x.
    const double rows[4][4] = {{0, 0, -1, 0}, {0, 1, 0, 0}, {1, 0, 0, 0}, {10, 20, -300, 1}};
    std::memcpy(mProject.mCameraToWorld.mat, rows, sizeof(rows));
    const zeb::CameraInfo info = mPlugin.GetCamera();
    EXPECT_EQ(info.mType, zeb::CameraType::Orthographic);
    EXPECT_FLOAT_EQ(info.mFocalLength, 1234.5F);
    EXPECT_EQ(See(info, {10.0F, 20.0F, -300.0F}), glm::vec3(0.0F));
    EXPECT_EQ(See(info, {15.0F, 20.0F, -300.0F}), glm::vec3(0.0F, 0.0F, 5.0F));  // ahead
    EXPECT_EQ(See(info, {10.0F, 27.0F, -300.0F}), glm::vec3(0.0F, 7.0F, 0.0F));  // below
    EXPECT_EQ(See(info, {10.0F, 20.0F, -303.0F}), glm::vec3(3.0F, 0.0F, 0.0F));  // to the right
    EXPECT_EQ(mProject.mCameraTime.value, 330);
    EXPECT_EQ(mProject.mCameraTime.scale, 300U);
    mProject.mCameraType = AEGP_CameraType_PERSPECTIVE;
    EXPECT_EQ(mPlugin.GetCamera().mType, zeb::CameraType::Perspective);
    mProject.mCameraType = AEGP_CameraType_NONE;
    EXPECT_EQ(mPlugin.GetCamera().mType, zeb::CameraType::None);
}

TEST_F(Camera, AFlatMatrixIsRefused) {
    mProject.mCamera = &mProject.AddLayer(nullptr);
    EXPECT_THROW(mPlugin.GetCamera(), zeb::Exception);
}

TEST_F(Camera, ARequiredCameraIsMissed) {
    const zeb::AEGP::Effect effect = zeb::AEGP::Suites().GetEffect();
    try {
        effect.GetEffectCamera({0, 1});
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_THAT(exception.what(), testing::HasSubstr("\"Failed to find the camera layer.\""));
    }
    try {
        effect.GetEffectLayer().GetLayerSourceItem(true);
        FAIL();
    } catch (const zeb::Exception& exception) {
        EXPECT_THAT(exception.what(), testing::HasSubstr("\"Failed to get the layer source item.\""));
    }
}

}  // namespace
