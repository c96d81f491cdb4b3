#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include <nlohmann/json.hpp>

#include "FakeHost.h"
#include "PluginBase/AE/CommandDispatch.h"
#include "TestPlugin.h"

namespace {

using Mode = zeb::DrawExtent::Mode;

PF_EffectWorld sWorld{};
PF_Err sOutputError = 0;
A_long sCheckedLayer = -1;
PF_LRect sAskedRect{1, 1, 1, 1};

PF_Err CheckoutOutput(PF_ProgPtr, PF_EffectWorld** world) { return *world = &sWorld, sOutputError; }

PF_Err CheckoutLayer(PF_ProgPtr, PF_ParamIndex index, A_long, const PF_RenderRequest* request, A_long, A_long, A_u_long,
                     PF_CheckoutResult* result) {
    sCheckedLayer = index;
    sAskedRect = request->rect;
    return result->max_result_rect = {5, 6, 105, 56}, 0;
}

PF_Err GetPixelFormat(const PF_EffectWorld*, A_long* format) { return *format = PF_PixelFormat_ARGB64, 0; }

class SmartRender : public testing::Test {
protected:
    SmartRender() {
        mWorldSuite.PF_GetPixelFormat = GetPixelFormat;
        mHost.AddSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &mWorldSuite);
        mHost.UseParams(std::vector<PF_ParamDef>(test::kCatalogueSize));
        for (PF_ParamDef& def : mHost.mParams) def.u.fs_d.value = 50.0;
        EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETUP, nullptr), 0) << mHost.GetMessage();
        mHost.mInData.global_data = mHost.mOutData.global_data;
        test::CountDrawnFrames() = 0;
        test::TestPlugin::sExtent = {};
        mPreExtra = {&mPreInput, &mPreOutput, &mPreCallbacks};
        mExtra = {&mInput, &mCallbacks};
        sWorld.width = 20;
        sWorld.height = 10;
        sWorld.rowbytes = 256;
        static PF_Pixel pixels[1];
        sWorld.data = pixels;
        sWorld.origin_x = -3;
        sWorld.origin_y = 4;
        sOutputError = 0;
    }
    void TearDown() override {
        EXPECT_EQ(Run(PF_Cmd_GLOBAL_SETDOWN, nullptr), 0);
        EXPECT_EQ(mHost.mCheckedOut, 0);
        EXPECT_EQ(mHost.mHeldSuites, 0);
    }
    // The render commands bring no parameters.
    PF_Err Run(PF_Cmd command, void* extra) {
        return zeb::RunCommand(command, &mHost.mInData, &mHost.mOutData, nullptr, extra, zeb::CreatePlugin);
    }

    test::FakeHost mHost;
    PF_WorldSuite2 mWorldSuite{};
    PF_PreRenderInput mPreInput{};
    PF_PreRenderOutput mPreOutput{};
    PF_PreRenderCallbacks mPreCallbacks{CheckoutLayer, nullptr};
    PF_PreRenderExtra mPreExtra{};
    PF_SmartRenderInput mInput{};
    PF_SmartRenderCallbacks mCallbacks{nullptr, nullptr, CheckoutOutput};
    PF_SmartRenderExtra mExtra{};
};

std::vector<int> ToVector(const PF_LRect& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

TEST_F(SmartRender, PreRenderTellsTheRectangles) {
    const struct {
        Mode mMode;
        A_long mWidth;
        std::uint32_t mDenominator;
        PF_LRect mRequest;
        std::vector<int> mMax, mResult;
    } rows[] = {
        {Mode::FullLayer, 400, 1, {0, 0, 400, 200}, {0, 0, 400, 200}, {0, 0, 400, 200}},
        {Mode::FullLayer, 401, 2, {-5, 7, 30, 1000}, {0, 0, 200, 100}, {0, 7, 30, 100}},
        {Mode::FullLayer, 1920, 3, {0, 0, 640, 66}, {0, 0, 640, 66}, {0, 0, 640, 66}},
        {Mode::FullLayer, 400, 1, {0, 0, 0, 0}, {0, 0, 400, 200}, {0, 0, 0, 0}},
        {Mode::FullLayer, 400, 1, {500, 0, 600, 10}, {0, 0, 400, 200}, {0, 0, 0, 0}},
        {Mode::SourceClip, 400, 1, {0, 0, 50, 50}, {5, 6, 105, 56}, {5, 6, 50, 50}},
        {Mode::Rect, 400, 1, {0, 0, 50, 50}, {10, 20, 40, 60}, {10, 20, 40, 50}},
    };
    for (const auto& row : rows) {
        test::TestPlugin::sExtent = {row.mMode, {10, 20, 30, 40}};
        mHost.mInData.width = row.mWidth;
        mHost.mInData.downsample_x = mHost.mInData.downsample_y = {1, row.mDenominator};
        mPreInput.output_request.rect = row.mRequest;
        sCheckedLayer = -1;
        ASSERT_EQ(Run(PF_Cmd_SMART_PRE_RENDER, &mPreExtra), 0) << mHost.GetMessage();
        EXPECT_EQ(ToVector(mPreOutput.max_result_rect), row.mMax);
        EXPECT_EQ(ToVector(mPreOutput.result_rect), row.mResult);
        EXPECT_EQ(sCheckedLayer, row.mMode == Mode::SourceClip ? 0 : -1);
    }
    EXPECT_EQ(ToVector(sAskedRect), (std::vector<int>{0, 0, 0, 0}));
    EXPECT_EQ(mPreOutput.pre_render_data, nullptr);
}

TEST_F(SmartRender, FailuresAndEmptyWorldsDrawNothing) {
    sWorld.width = 0;
    EXPECT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 0);
    sWorld.width = 20;
    sOutputError = 517;
    EXPECT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 517);
    EXPECT_THAT(mHost.GetMessage(), testing::HasSubstr("Failed to call zeb::SmartRenderExtra()->cb->checkout_output( "
                                                       "zeb::InData()->effect_ref, &mWorld)"));
    sOutputError = 0;
    mHost.mFailingParam = test::kPercent;
    EXPECT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 513);
    EXPECT_EQ(test::CountDrawnFrames(), 0);
}

TEST_F(SmartRender, WhatTheHostOwesAndDoesNotGiveIsAnError) {
    const auto expectError = [&](PF_Cmd command, void* extra, const char* what) {
        EXPECT_EQ(Run(command, extra), PF_Err_BAD_CALLBACK_PARAM) << what;
        EXPECT_THAT(mHost.GetMessage(), testing::HasSubstr(std::string("The host gave no ") + what));
    };
    sWorld.data = nullptr;
    expectError(PF_Cmd_SMART_RENDER, &mExtra, "pixels");
    PF_SmartRenderExtra noCallbacks{&mInput, nullptr};
    expectError(PF_Cmd_SMART_RENDER, &noCallbacks, "callbacks");
    mCallbacks.checkout_output = nullptr;
    expectError(PF_Cmd_SMART_RENDER, &mExtra, "callbacks");
    PF_PreRenderExtra noResult{&mPreInput, nullptr, &mPreCallbacks};
    expectError(PF_Cmd_SMART_PRE_RENDER, &noResult, "place for the result");
    PF_PreRenderExtra noRequest{nullptr, &mPreOutput, &mPreCallbacks};
    expectError(PF_Cmd_SMART_PRE_RENDER, &noRequest, "request");
    expectError(PF_Cmd_UPDATE_PARAMS_UI, nullptr, "parameters");
    EXPECT_EQ(test::CountDrawnFrames(), 0);
}

TEST_F(SmartRender, OneFrameServesARequestAndPreviewsLeaveIt) {
    test::NullDevice& device = test::GetDevice();
    device.mCanCapture = true;
    test::TestPlugin::sCurrent->RequestCaptureGAPICalls();
    mHost.mInData.downsample_x = {1, 16};
    EXPECT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 0);
    EXPECT_EQ(device.mBegun, 0);
    mHost.mInData.downsample_x = {1, 1};
    EXPECT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 0) << mHost.GetMessage();
    EXPECT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 0);
    EXPECT_EQ(device.mBegun, 1);
    EXPECT_EQ(device.mEnded, 1);
    EXPECT_EQ(test::CountDrawnFrames(), 3);
    device.mCanCapture = false;
}

TEST_F(SmartRender, TheStateIsDumpedOnceForARequest) {
    const auto getKeys = [](const nlohmann::ordered_json& object) {
        std::vector<std::string> keys;
        for (const auto& [key, value] : object.items()) keys.push_back(key);
        return keys;
    };
    std::remove(NIMBREL_STATE_DUMP_FILE);
    // Two clicks ask for one file, and a preview leaves it to a larger frame.
    test::TestPlugin::sCurrent->RequestCaptureRenderState();
    test::TestPlugin::sCurrent->RequestCaptureRenderState();
    mHost.mInData.downsample_x = {1, 16};
    ASSERT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 0) << mHost.GetMessage();
    EXPECT_FALSE(std::ifstream(NIMBREL_STATE_DUMP_FILE).is_open());
    mHost.mInData.downsample_x = {1, 2};
    mHost.mInData.downsample_y = {1, 4};
    ASSERT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 0) << mHost.GetMessage();
    std::ifstream file(NIMBREL_STATE_DUMP_FILE);
    const auto dump = nlohmann::ordered_json::parse(file);
    file.close();
    EXPECT_THAT(getKeys(dump), testing::ElementsAre("DrawInfo", "ImageInfo", "State"));
    EXPECT_EQ(dump["DrawInfo"].dump(),
              R"({"mFullWidth":400,"mFullHeight":200,"mScaleX":0.5,"mScaleY":0.25,"mPivotX":-3,"mPivotY":4,)"
              R"("mOutputWidth":20,"mOutputHeight":10,"mNativeOrigin":1,"mCamera":[[1.0,0.0,0.0,0.0],)"
              R"([0.0,1.0,0.0,0.0],[0.0,0.0,1.0,0.0],[0.0,0.0,0.0,1.0]],"mFocalLength":0.0})");
    EXPECT_EQ(dump["ImageInfo"].dump(), R"({"mWidth":20,"mHeight":10,"mRowBytes":256,"mPixelChannels":"ARGB",)"
                                        R"("mChannelFormat":"I16","mPreMultiplication":"UnPreMultiplied"})");
    EXPECT_THAT(getKeys(dump["State"]),
                testing::ElementsAre("NeedCamera", "PackedParameters", "PreDraw", "Draw", "DrawBinary"));
    EXPECT_EQ(dump["State"]["NeedCamera"], false);
    EXPECT_EQ(dump["State"]["Draw"]["percent"], 0.5);
    EXPECT_EQ(std::remove(NIMBREL_STATE_DUMP_FILE), 0);
    EXPECT_EQ(Run(PF_Cmd_SMART_RENDER, &mExtra), 0);
    EXPECT_FALSE(std::ifstream(NIMBREL_STATE_DUMP_FILE).is_open());
}

}  // namespace
