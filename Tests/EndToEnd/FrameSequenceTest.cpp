// Frames after frames in one running effect: what an earlier frame left behind must not show in a later one.
#include <gtest/gtest.h>

#include <cstring>

#include "NimbrelHost/RenderJob.h"
#include "NimbrelHost/Settings.h"
#include "Shot.h"

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

/// Turns the running host's composition and parameters into those of another shot, as a user would.
void Switch(EffectHost& host, const Shot& shot) {
    host::Json document = MakeSceneDocument(shot);
    for (std::size_t slot = shot.mModels.size() + 1; slot <= 2; ++slot) {
        document["parameters"]["Model" + std::to_string(slot) + "_model"] = "";
    }
    const host::Scene scene = host::ParseScene(document, shot.mName, {});
    host.Get().GetProject().SetComposition(scene.mComposition);
    for (const host::Setting& setting : scene.mSettings) host::ApplySetting(host.Get(), setting);
}

TEST(FrameSequence, EachFrameEqualsItselfRenderedAlone) {
    const std::vector<Shot> shots = {MakeShot(500, 300, 32), MakeShot(90, 70, 32),
                                     MakeShot(90, 70, 8),    WithoutModels(MakeShot(200, 100, 8)),
                                     MakeShot(300, 500, 16), MakeShot(500, 300, 32)};
    std::vector<host::Frame> alone;
    for (const Shot& shot : shots) alone.push_back(RenderWithEffect(shot));
    ASSERT_GT(MeanAlpha(alone[0]), 0.02);
    EXPECT_EQ(MeanAlpha(alone[3]), 0.0);

    EffectHost host(shots[0]);
    for (std::size_t i = 0; i < shots.size(); ++i) {
        Switch(host, shots[i]);
        EXPECT_EQ(host.Render().mPixels, alone[i].mPixels) << "frame " << i << ", " << shots[i].mName;
    }
}

TEST(FrameSequence, WideFrameEqualsItsPartsAssembled) {
    // Wider than a tile. Under a parallel camera a part is a narrower frame with the camera moved sideways.
    constexpr int kWidth = 16390;
    constexpr int kHeight = 48;
    constexpr int kParts = 5;
    constexpr int kPartWidth = kWidth / kParts;
    const auto makeShot = [](int left, int width) {
        Shot shot = MakeShot(width, kHeight, 32);
        shot.mModels.clear();
        // One model across the seam between the tiles, one in the first.
        for (const double x : {16384.0, 9000.0}) {
            ShotModel model;
            model.mFile = GetModelFile(4000, 2);
            model.mAlignScale = 3.0;
            model.mPosition = {x, kHeight / 2.0, 0};
            shot.mModels.push_back(model);
        }
        const double centre = left + width / 2.0;
        shot.mCamera = ShotCamera{true, 1000.0, {centre, kHeight / 2.0, -1000}, {centre, kHeight / 2.0, 0}};
        return shot;
    };
    const host::Frame whole = RenderWithEffect(makeShot(0, kWidth));
    host::Frame assembled(kWidth, kHeight, 32);
    for (int part = 0; part < kParts; ++part) {
        const host::Frame piece = RenderWithEffect(makeShot(part * kPartWidth, kPartWidth));
        for (int row = 0; row < kHeight; ++row) {
            std::memcpy(assembled.mPixels.data() + static_cast<std::size_t>(row) * assembled.RowSize() +
                            static_cast<std::size_t>(part) * piece.RowSize(),
                        piece.mPixels.data() + static_cast<std::size_t>(row) * piece.RowSize(), piece.RowSize());
        }
    }
    ASSERT_GT(MeanAlpha(assembled), 0.001);
    EXPECT_GE(ComparePsnr(whole, assembled), 70.0);
}

TEST(FrameSequence, ThreadsGiveTheSameFrames) {
    Shot shot = MakeShot(160, 90, 16);
    shot.mModels.push_back(PlacedModel(160, 90));
    shot.mModels[1].mFile = GetModelFile(3000, 1);
    constexpr int kFrames = 8;
    std::vector<int> numbers;
    for (int i = 0; i < kFrames; ++i) numbers.push_back(i);

    std::vector<std::vector<std::uint8_t>> single(kFrames);
    std::vector<std::vector<std::uint8_t>> threaded(kFrames);
    const auto renderAll = [&](int threads, bool hostCache, std::vector<std::vector<std::uint8_t>>& frames) {
        EffectHost host(shot, {.mServeComputeCache = hostCache});
        host::Setting turn;
        turn.mId = "Model1_transform_yRotation";
        turn.mValue = host::Json::parse(R"({"keyframes": [[0.0, 0], [0.3, 90]]})");
        host::ApplySetting(host.Get(), turn);
        host::RenderFrames(
            host.Get(), numbers, threads,
            [&](int frame, const host::Frame& picture) { frames[static_cast<std::size_t>(frame)] = picture.mPixels; },
            [] {});
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

TEST(FrameSequence, HostMayPurgeModelsBetweenFrames) {
    const Shot shot = MakeShot(160, 90, 8);
    const host::Frame expected = RenderWithEffect(shot);
    EffectHost host(shot, {.mCacheLimit = 1});
    for (int i = 0; i < 3; ++i) EXPECT_EQ(host.Render().mPixels, expected.mPixels);
}

}  // namespace
}  // namespace nimbrel::endtoend
