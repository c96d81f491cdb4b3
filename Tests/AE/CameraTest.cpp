#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "FakeHost.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"
#include "TestPlugin.h"

namespace {

AEGP_CameraType sType = AEGP_CameraType_PERSPECTIVE;
A_Time sAsked{};
A_Matrix4 sToWorld{};

constexpr auto kCamera = static_cast<std::uintptr_t>(0x20);

/// A host whose composition has a camera; the effect's layer begins a second into it.
class Camera : public testing::Test {
protected:
    Camera() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {
        mInterface.AEGP_ConvertEffectToCompTime = [](PF_ProgPtr, A_long time, A_u_long scale, A_Time* result) -> A_Err {
            return *result = {time + static_cast<A_long>(scale), scale}, 0;
        };
        mInterface.AEGP_GetNewEffectForEffect = [](AEGP_PluginID, PF_ProgPtr, AEGP_EffectRefH* effect) -> A_Err {
            return *effect = reinterpret_cast<AEGP_EffectRefH>(kCamera), 0;
        };
        mInterface.AEGP_GetEffectCamera = [](PF_ProgPtr, const A_Time* time, AEGP_LayerH* layer) -> A_Err {
            sAsked = *time;
            return *layer = reinterpret_cast<AEGP_LayerH>(kCamera), 0;
        };
        mEffect.AEGP_DisposeEffect = [](AEGP_EffectRefH) -> A_Err { return 0; };
        mLayer.AEGP_GetLayerToWorldXform = [](AEGP_LayerH, const A_Time* time, A_Matrix4* matrix) -> A_Err {
            EXPECT_EQ(time->value, sAsked.value);
            return *matrix = sToWorld, 0;
        };
        mStream.AEGP_GetLayerStreamValue = [](AEGP_LayerH, A_long stream, A_short mode, const A_Time* time, A_Boolean,
                                              AEGP_StreamVal2* value, A_long*) -> A_Err {
            EXPECT_EQ(time->value, sAsked.value);
            EXPECT_EQ(mode, AEGP_LTimeMode_CompTime);
            return value->one_d = stream == AEGP_LayerStream_ZOOM ? 1234.5 : 0, 0;
        };
        mCamera.AEGP_GetCameraType = [](AEGP_LayerH, A_u_long* type) -> A_Err { return *type = sType, 0; };
        mHost.AddSuite(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &mInterface);
        mHost.AddSuite(kAEGPEffectSuite, kAEGPEffectSuiteVersion4, &mEffect);
        mHost.AddSuite(kAEGPLayerSuite, kAEGPLayerSuiteVersion8, &mLayer);
        mHost.AddSuite(kAEGPStreamSuite, kAEGPStreamSuiteVersion5, &mStream);
        mHost.AddSuite(kAEGPCameraSuite, kAEGPCameraSuiteVersion2, &mCamera);
    }

    test::FakeHost mHost;
    AEGP_PFInterfaceSuite1 mInterface{};
    AEGP_EffectSuite4 mEffect{};
    AEGP_LayerSuite8 mLayer{};
    AEGP_StreamSuite5 mStream{};
    AEGP_CameraSuite2 mCamera{};
    zeb::ThreadContextScope mScope;
    test::TestPlugin mPlugin;
};

TEST_F(Camera, IsThatOfTheCompositionsTime) {
    // Rows are the camera's axes in the world: it stands at (10, 20, -300) and looks along +x.
    const double rows[4][4] = {{0, 0, -1, 0}, {0, 1, 0, 0}, {1, 0, 0, 0}, {10, 20, -300, 1}};
    std::memcpy(sToWorld.mat, rows, sizeof(rows));
    const zeb::CameraInfo info = mPlugin.GetCamera();
    EXPECT_FLOAT_EQ(info.mFocalLength, 1234.5F);
    const auto see = [&](const glm::vec3& point) { return glm::vec3(info.mWorldToCamera * glm::vec4(point, 1.0F)); };
    EXPECT_EQ(see({10.0F, 20.0F, -300.0F}), glm::vec3(0.0F));
    EXPECT_EQ(see({15.0F, 20.0F, -300.0F}), glm::vec3(0.0F, 0.0F, 5.0F)) << "ahead";
    EXPECT_EQ(see({10.0F, 27.0F, -300.0F}), glm::vec3(0.0F, 7.0F, 0.0F)) << "below";
    EXPECT_EQ(see({10.0F, 20.0F, -303.0F}), glm::vec3(3.0F, 0.0F, 0.0F)) << "to the right";
    EXPECT_EQ(sAsked.value, 330);
    EXPECT_EQ(sAsked.scale, 300U);
    for (const auto& [type, expected] : {std::pair(AEGP_CameraType_PERSPECTIVE, zeb::CameraType::Perspective),
                                         std::pair(AEGP_CameraType_ORTHOGRAPHIC, zeb::CameraType::Orthographic),
                                         std::pair(AEGP_CameraType_NONE, zeb::CameraType::None)}) {
        sType = type;
        EXPECT_EQ(mPlugin.GetCamera().mType, expected);
    }
    sToWorld = {};
    EXPECT_EQ(mPlugin.GetCamera().mWorldToCamera, glm::mat4(0.0F)) << "a flat matrix sees nothing";
}

}  // namespace
