// The way from a drawn tile to the host's pixels where a device takes less at once than a frame has.
#include <cstring>

#include <gmock/gmock.h>

#include "../Failure.h"
#include "PluginBase/Render/Render.h"
#include "Shaders/RegisterShaders.h"
#include "TestPlugin.h"

using namespace zeb::render;
using ::testing::Each;
using ::testing::HasSubstr;

namespace {

constexpr std::byte kHost{0x5C};

/// Opens what only devices themselves may set.
struct Limits : Device {
    using Device::LimitMemory;
    using Device::LimitStorageRange;
};

class DrawPath : public ::testing::Test {
protected:
    DrawPath() { nimbrel::RegisterShaders(); }

    /// Draws 40 by 50 pixels between bytes of the host's and gives all.
    std::vector<std::byte> Draw(std::int32_t rowBytes) {
        const std::int32_t pitch = std::abs(rowBytes);
        std::vector<std::byte> memory(static_cast<std::size_t>(pitch) * 50 + 64, kHost);
        mDrawInfo.mOutputWidth = 40;
        mDrawInfo.mOutputHeight = 50;
        zeb::ImageInfo image;
        image.mWidth = 40;
        image.mHeight = 50;
        image.mRowBytes = rowBytes;
        image.mPreMultiplication = zeb::PreMultiplication::PreMultiplied;
        image.mData = memory.data() + 32 + (rowBytes < 0 ? pitch * 49 : 0);
        mPlugin.DrawTiledToOutput(mRender->GetAnyDevice(), mDrawInfo, image);
        return memory;
    }

    zeb::UniquePtr<Render> mRender = MakeCpuRender();
    TestPlugin mPlugin;
    zeb::DrawInfo mDrawInfo;
};

TEST_F(DrawPath, FramesBeyondTheDevicesLimitsComeInStripsAndTiles) {
    std::vector<std::byte> expected(170 * 50 + 64, kHost);
    for (std::uint32_t i = 0; i < 40 * 50; ++i) {
        const std::uint32_t x = i % 40;
        const std::uint32_t y = i / 40;
        const std::byte argb[] = {std::byte{255}, std::byte(x), std::byte(y), std::byte(5 * x + 3 * y)};
        std::memcpy(expected.data() + 32 + y * 170 + x * 4, argb, 4);
    }
    EXPECT_EQ(Draw(170), expected);
    Device& device = mRender->GetAnyDevice();
    (device.*&Limits::LimitStorageRange)(1000);  // six rows
    EXPECT_EQ(Draw(170), expected);
    EXPECT_EQ(mPlugin.mTiles.size(), 2U);
    (device.*&Limits::LimitMemory)(40 * 4 * 20);  // twenty rows of the target
    EXPECT_EQ(Draw(170), expected);
    ASSERT_EQ(mPlugin.mTiles.size(), 5U);
    EXPECT_EQ(mPlugin.mTiles.back().mPivotY, 40);
    EXPECT_EQ(mPlugin.mTiles.back().mOutputHeight, 10U);
    const std::vector<std::byte> upward = Draw(-170);
    for (std::size_t y = 0; y < 50; ++y)
        EXPECT_EQ(std::memcmp(&upward[32 + (49 - y) * 170], &expected[32 + y * 170], 160), 0) << y;
}

TEST_F(DrawPath, FailuresWriteNothing) {
    mPlugin.mFails = true;
    EXPECT_EQ(test::MessageOf([&] { Draw(160); }), "cannot draw");
    std::vector<std::byte> memory(1024, kHost);
    zeb::ImageInfo image;
    image.mWidth = image.mHeight = 8;
    image.mRowBytes = 32;
    image.mData = memory.data();
    const auto draw = [&] { mPlugin.DrawTiledToOutput(mRender->GetAnyDevice(), mDrawInfo, image); };
    EXPECT_THAT(test::MessageOf(draw), HasSubstr("does not fit an image of 8 by 8"));
    mDrawInfo.mOutputWidth = mDrawInfo.mOutputHeight = 8;
    image.mChannelFormat = static_cast<zeb::ChannelFormat>(7);
    EXPECT_THAT(test::MessageOf(draw), HasSubstr("Failed to get a render format for the channel format of 7"));
    EXPECT_THAT(memory, Each(kHost));
}

}  // namespace
