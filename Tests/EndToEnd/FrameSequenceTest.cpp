// Frames after frames in one running effect: what an earlier frame left behind must not show in a later one.
#include <gtest/gtest.h>

#include <cstring>

#include "EffectSettings.h"
#include "NimbrelHost/Output/RenderJob.h"
#include "NimbrelHost/User/Settings.h"
#include "Studio.h"

namespace nimbrel::endtoend {
namespace {

ShotModel PlacedModel(int width, int height) {
    ShotModel model;
    model.mFile = GetModelFile(4000, 2);
    model.mAlignScale = 0.02 * width;
    model.mPosition = {width / 2.0, height / 2.0, 0};
    return model;
}

Shot MakeShot(int width, int height, int bits) {
    Shot shot;
    shot.mName = std::to_string(width) + "x" + std::to_string(height) + "@" + std::to_string(bits);
    shot.mWidth = width;
    shot.mHeight = height;
    shot.mBitsPerChannel = bits;
    shot.mModels = {PlacedModel(width, height)};
    return shot;
}

Shot WithoutModels(Shot shot) {
    shot.mName += " empty";
    shot.mModels.clear();
    return shot;
}

/// The rightmost columns of a frame.
host::Frame CropRight(const host::Frame& frame, int width) {
    host::Frame crop(width, frame.mHeight, frame.mBitsPerChannel);
    for (int row = 0; row < frame.mHeight; ++row) {
        std::memcpy(crop.mPixels.data() + static_cast<std::size_t>(row) * crop.RowSize(),
                    frame.mPixels.data() + (static_cast<std::size_t>(row) + 1) * frame.RowSize() - crop.RowSize(),
                    crop.RowSize());
    }
    return crop;
}

/// By device as the host asks for it.
class FrameSequence : public testing::TestWithParam<const char*> {
protected:
    static Studio::Options OnDevice() {
        Studio::Options options;
        options.mDevice = GetParam();
        return options;
    }
};

TEST_P(FrameSequence, EachFrameEqualsItselfRenderedAlone) {
    std::vector<Shot> shots = {MakeShot(500, 300, 32), MakeShot(90, 70, 32),
                               MakeShot(90, 70, 8),    WithoutModels(MakeShot(200, 100, 8)),
                               MakeShot(300, 500, 16), MakeShot(500, 300, 32)};
    // More instances than any frame before.
    while (shots.back().mModels.size() < 3) shots.back().mModels.push_back(shots.back().mModels[0]);
    // And fewer, whose curves lie in what the frame before left: of 21 rows, not all have a middle that floats hold.
    shots.push_back(MakeShot(300, 500, 32));
    Resize(Sphere(100), 180, {1, 0.3})(shots.back().mModels[0]);
    Fade(Sphere(120), 10, 90, {1, 0})(shots.back().mModels[0]);
    std::vector<host::Frame> alone;
    for (const Shot& shot : shots) alone.push_back(RenderWithEffect(shot, GetParam()));
    ASSERT_GT(MeanAlpha(alone[0]), 0.02);
    EXPECT_EQ(MeanAlpha(alone[3]), 0.0);

    Studio host(shots[0], OnDevice());
    for (std::size_t i = 0; i < shots.size(); ++i) {
        host.Switch(shots[i]);
        EXPECT_EQ(host.Render().mPixels, alone[i].mPixels) << "frame " << i << ", " << shots[i].mName;
    }
}

/// Wider than a tile: one model lies across the seam at 16384, one in the first tile.
Shot MakeWideShot() {
    Shot shot = MakeShot(16390, 48, 32);
    shot.mModels.clear();
    for (const double x : {16384.0, 9000.0}) {
        ShotModel model;
        model.mFile = GetModelFile(4000, 2);
        model.mAlignScale = 3.0;
        model.mPosition = {x, 24.0, 0};
        shot.mModels.push_back(model);
    }
    return shot;
}

TEST_P(FrameSequence, WideFrameEqualsItsPartsAssembled) {
    Shot perspective = MakeWideShot();
    Shot orthographic = perspective;
    orthographic.mCamera = {true, 1000.0, {8195, 24, -1000}, {8195, 24, 0}};
    for (const Shot& shot : {perspective, orthographic}) {
        Studio host(shot, OnDevice());
        const host::Frame whole = host.Render();
        host::Frame assembled(shot.mWidth, shot.mHeight, 32);
        host::FrameTimes times;
        host::RenderPart(*host.mHost, 0, {0, 0, 16384, shot.mHeight}, assembled, times);
        host::RenderPart(*host.mHost, 0, {16384, 0, shot.mWidth, shot.mHeight}, assembled, times);
        EXPECT_EQ(whole.mPixels, assembled.mPixels);

        // Each tile stands where it belongs. Under perspective a splat far off a tile's axis is drawn rounder than in
        // the whole picture, since the projection of its shape is limited to the tile's own angle: the seam's narrow
        // tile is looser.
        const host::Frame expected = RenderReference(shot);
        ASSERT_GT(MeanAlpha(expected), 0.001);
        EXPECT_GE(ComparePsnr(whole, expected), 50.0);
        EXPECT_GE(ComparePsnr(CropRight(whole, 6), CropRight(expected, 6)), shot.mCamera ? 40.0 : 20.0);
        EXPECT_GT(MeanAlpha(CropRight(expected, 6)), 0.05);
    }
}

TEST_P(FrameSequence, ThreadsGiveTheSameFrames) {
    Shot shot = MakeShot(160, 90, 16);
    shot.mModels.push_back(PlacedModel(160, 90));
    shot.mModels[1].mFile = GetModelFile(3000, 1);
    constexpr int kFrames = 8;
    std::vector<int> numbers;
    for (int i = 0; i < kFrames; ++i) numbers.push_back(i);

    std::vector<std::vector<std::uint8_t>> single(kFrames);
    std::vector<std::vector<std::uint8_t>> threaded(kFrames);
    const auto renderAll = [&](int threads, bool hostCache, std::vector<std::vector<std::uint8_t>>& frames) {
        Studio::Options options = OnDevice();
        options.mServeComputeCache = hostCache;
        Studio host(shot, options);
        host::Setting turn;
        turn.mId = "Model1_transform_yRotation";
        turn.mValue = host::Json::parse(R"({"keyframes": [[0.0, 0], [0.3, 90]]})");
        host::ApplySetting(*host.mHost, turn);
        host::RenderFrames(*host.mHost, numbers, threads, [&](int frame, const host::Frame& picture) {
            frames[static_cast<std::size_t>(frame)] = picture.mPixels;
        });
    };
    renderAll(1, true, single);
    EXPECT_NE(single[0], single[kFrames - 1]) << "the keyframes must move the model";
    for (const bool hostCache : {true, false}) {
        renderAll(3, hostCache, threaded);
        for (std::size_t i = 0; i < single.size(); ++i) {
            EXPECT_EQ(threaded[i], single[i]) << "frame " << i << ", host's cache: " << hostCache;
        }
    }
}

TEST_P(FrameSequence, KeysGiveTheFrameOfTheirInterpolatedValues) {
    struct Animated {
        const char* mId;
        const char* mFirst;
        const char* mLast;
        const char* mBetween;  ///< a quarter of the way, worked out by hand
    };
    const Animated animated[] = {
        {"effects_splatOpacity_ramp", R"({"type": 0, "interpolation": 1, "keys": [[0, 1], [1, 0]]})",
         R"({"type": 0, "interpolation": 1, "keys": [[0.4, 0], [1, 1]]})",
         R"({"type": 0, "interpolation": 1, "keys": [[0.1, 0.75], [1, 0.25]]})"},
        {"effects_splatColor_gradient",
         R"({"keys": [[0, {"color": [1, 0, 0], "type": 0}], [1, {"color": [0, 1, 0], "type": 0}]]})",
         R"({"keys": [[0, {"color": [0, 0, 1], "type": 0}], [1, {"color": [1, 1, 1], "type": 0}]]})",
         R"({"keys": [[0, {"color": [0.75, 0, 0.25], "type": 0}], [1, {"color": [0.25, 1, 0.25], "type": 0}]]})"},
        {"effects_splatColor_shape_center", "[-40, 0, 0]", "[40, 20, 8]", "[-20, 5, 2]"},
        {"transform_yRotation", "-30", "90", "0"},
    };
    Shot keyed = MakeShot(160, 90, 32);
    for (const char* effect : {"effects_splatOpacity_enabled", "effects_splatColor_enabled"}) {
        keyed.mModels[0].mSettings[effect] = true;
    }
    Shot fixed = keyed;
    Shot first = keyed;
    for (const Animated& one : animated) {
        // Frame 6 of 24 a second is a quarter of a second.
        keyed.mModels[0].mSettings[one.mId] = {
            {"keyframes", {{0.0, host::Json::parse(one.mFirst)}, {1.0, host::Json::parse(one.mLast)}}}};
        fixed.mModels[0].mSettings[one.mId] = host::Json::parse(one.mBetween);
        first.mModels[0].mSettings[one.mId] = host::Json::parse(one.mFirst);
    }
    const host::Frame expected = RenderWithEffect(fixed, GetParam());
    const host::Frame atStart = RenderWithEffect(first, GetParam());
    EXPECT_LT(ComparePsnr(atStart, expected), 40.0) << "the keys must change the picture";
    Studio host(keyed, OnDevice());
    EXPECT_GE(ComparePsnr(host.Render(6), expected), 90.0);
    EXPECT_EQ(host.Render(0).mPixels, atStart.mPixels);
}

TEST_P(FrameSequence, HostMayPurgeModelsBetweenFrames) {
    const Shot shot = MakeShot(160, 90, 8);
    const host::Frame expected = RenderWithEffect(shot, GetParam());
    Studio::Options options = OnDevice();
    options.mCacheLimit = 1;
    Studio host(shot, options);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(host.Render().mPixels, expected.mPixels);
}

TEST_P(FrameSequence, ZDepthFollowsTheTargetsSizeAndFormat) {
    const auto makeDepthShot = [](int width, int height, int bits, bool depth) {
        Shot shot = MakeEffectShot(std::to_string(width) + "x" + std::to_string(height) + "@" + std::to_string(bits));
        shot.mWidth = width;
        shot.mHeight = height;
        shot.mBitsPerChannel = bits;
        shot.mDrawZDepth = depth;
        shot.mZDepthNear = 300;
        shot.mZDepthFar = 550;
        return shot;
    };
    const std::vector<Shot> shots = {makeDepthShot(160, 90, 32, true),  makeDepthShot(90, 70, 8, true),
                                     makeDepthShot(200, 120, 16, true), makeDepthShot(160, 90, 32, false),
                                     makeDepthShot(100, 140, 32, true), makeDepthShot(160, 90, 8, true)};
    std::vector<host::Frame> alone;
    for (const Shot& shot : shots) alone.push_back(RenderWithEffect(shot, GetParam()));
    Studio host(shots[0], OnDevice());
    for (std::size_t i = 0; i < shots.size(); ++i) {
        const Shot& shot = shots[i];
        host.Switch(shot);
        const host::Frame frame = host.Render();
        // The depth picture is filtered from a texture of the target's size, which may be larger than the frame's.
        EXPECT_GE(ComparePsnr(frame, alone[i]), 100.0) << shot.mName;
        EXPECT_GE(ComparePsnr(frame, RenderReference(shot)), shot.mBitsPerChannel == 8 ? 40.0 : 60.0) << shot.mName;
    }
}

INSTANTIATE_TEST_SUITE_P(Devices, FrameSequence, testing::Values("vulkan", "cpu"),
                         [](const auto& device) { return std::string(device.param); });

}  // namespace
}  // namespace nimbrel::endtoend
