#pragma once

#include <vector>

#include <gmock/gmock.h>

#include "Nimbrel/GaussianSplatAsset.h"
#include "RecordingDevice.h"
#include "Render.h"
#include "TestBlob.h"

/// Records frames of 640 x 360 pixels into a target that is larger, as kept ones are.
class FrameRecorder : public ::testing::Test {
protected:
    FrameRecorder() {
        mDrawInfo.mFullWidth = mDrawInfo.mOutputWidth = 640;
        mDrawInfo.mFullHeight = mDrawInfo.mOutputHeight = 360;
        mDrawInfo.mFocalLength = 640.0F;
        mDrawInfo.mCamera[3] = glm::vec4(-320.0F, -180.0F, 640.0F, 1.0F);
    }

    void Record(const std::vector<ModelGroup>& models) {
        zeb::render::TextureDescription description;
        description.mFormat = zeb::render::Format::RGBA32Float;
        description.mWidth = 1920;
        description.mHeight = 1080;
        description.mUsage = zeb::render::kTextureUsageShaderRead | zeb::render::kTextureUsageRenderTarget;
        const auto target = mDevice.CreateTexture("Target", description, 0, zeb::render::TextureState::RenderTarget);
        mDrawInfo.mPackedParameters = &mBlob.Pack();
        mDevice.mLog.clear();
        mDevice.mCreated.clear();
        Render(mDevice, mDrawInfo, models, *target);
    }

    zeb::render::RecordingDevice mDevice;
    TestBlob mBlob = TestBlob::MakeEffect();
    zeb::DrawInfo mDrawInfo;
};
