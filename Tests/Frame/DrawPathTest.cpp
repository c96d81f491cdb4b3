#include <algorithm>
#include <limits>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "../Failure.h"
#include "RecordingDevice.h"
#include "TestPlugin.h"

using namespace zeb::render;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using zeb::ChannelFormat;
using zeb::PixelChannels;

namespace {

constexpr std::byte kDrawn{0xAB};
constexpr std::byte kHost{0x5C};

std::uint32_t GetBytes(PixelChannels channels, ChannelFormat format) {
    const std::uint32_t counts[] = {4, 3, 1, 4};
    const std::uint32_t sizes[] = {1, 2, 2, 2, 4};
    return counts[static_cast<std::uint32_t>(channels)] * sizes[static_cast<std::uint32_t>(format)];
}

}  // namespace

class DrawPath : public ::testing::Test {
protected:
    DrawPath() {
        // The copy programs' work: all of the buffer that the frame's rows take.
        mDevice.mOnDispatch = [this](const std::string& pipeline) {
            if (pipeline.starts_with("Copy")) std::ranges::fill(mDevice.Bytes("CopyUtilRW"), kDrawn);
        };
    }

    /// Draws into a window of the host's memory whose rows are `rowBytes` apart, and checks that the
    /// pixels are written and nothing else.
    void DrawInto(PixelChannels channels, ChannelFormat format, std::int32_t width, std::int32_t height,
                  std::int32_t rowBytes) {
        const auto rowSize = static_cast<std::size_t>(width) * GetBytes(channels, format);
        const auto pitch = static_cast<std::size_t>(std::abs(rowBytes));
        std::vector<std::byte> memory(pitch * static_cast<std::size_t>(height) + rowSize + 64, kHost);
        const std::size_t first = rowBytes < 0 ? 32 + pitch * static_cast<std::size_t>(height - 1) : 32;
        mDrawInfo.mOutputWidth = static_cast<std::uint32_t>(width);
        mDrawInfo.mOutputHeight = static_cast<std::uint32_t>(height);
        zeb::ImageInfo image;
        image.mWidth = width;
        image.mHeight = height;
        image.mRowBytes = rowBytes;
        image.mPixelChannels = channels;
        image.mChannelFormat = format;
        image.mPreMultiplication = mPreMultiplication;
        image.mData = memory.data() + first;
        mPlugin.DrawTiledToOutput(mDevice, mDrawInfo, image);

        std::vector<std::byte> expected(memory.size(), kHost);
        for (std::int32_t y = 0; y < height; ++y) {
            const auto row = static_cast<std::ptrdiff_t>(first) + std::ptrdiff_t{y} * rowBytes;
            std::fill_n(expected.begin() + row, rowSize, kDrawn);
        }
        EXPECT_TRUE(memory == expected) << rowBytes;
    }

    RecordingDevice mDevice;
    TestPlugin mPlugin;
    zeb::DrawInfo mDrawInfo;
    zeb::PreMultiplication mPreMultiplication = zeb::PreMultiplication::UnPreMultiplied;
};

TEST_F(DrawPath, OnlyPixelsAreWrittenWhateverTheRowsDistance) {
    struct Row {
        PixelChannels mChannels;
        ChannelFormat mFormat;
        std::int32_t mWidth, mRowBytes;
    };
    const Row rows[] = {
        {PixelChannels::ARGB, ChannelFormat::U8, 7, 28},   {PixelChannels::ARGB, ChannelFormat::U8, 7, 4096},
        {PixelChannels::ARGB, ChannelFormat::U8, 7, 31},   {PixelChannels::ARGB, ChannelFormat::U8, 7, -40},
        {PixelChannels::ARGB, ChannelFormat::I16, 7, 58},  {PixelChannels::ARGB, ChannelFormat::F32, 7, 114},
        {PixelChannels::RGBA, ChannelFormat::F16, 1, 8},   {PixelChannels::RGB, ChannelFormat::U8, 5, 15},
        {PixelChannels::RGB, ChannelFormat::U16, 5, 33},   {PixelChannels::Alpha, ChannelFormat::U8, 9, 10},
        {PixelChannels::Alpha, ChannelFormat::F32, 9, 36},
    };
    for (const Row& row : rows) DrawInto(row.mChannels, row.mFormat, row.mWidth, 5, row.mRowBytes);
}

TEST_F(DrawPath, LargeFramesAreTiledColumnByColumn) {
    mDrawInfo.mPivotX = 10;
    mDrawInfo.mPivotY = -20;
    DrawInto(PixelChannels::Alpha, ChannelFormat::U8, 16385, 2, 16388);
    ASSERT_EQ(mPlugin.mTiles.size(), 2U);
    EXPECT_EQ(mPlugin.mTiles[0].mPivotX, 10);
    EXPECT_EQ(mPlugin.mTiles[0].mOutputWidth, 16384U);
    EXPECT_EQ(mPlugin.mTiles[1].mPivotX, 16394);
    EXPECT_EQ(mPlugin.mTiles[1].mPivotY, -20);
    EXPECT_EQ(mPlugin.mTiles[1].mOutputWidth, 1U);
    EXPECT_EQ(mPlugin.mTiles[1].mOutputHeight, 2U);
    EXPECT_THAT(mDevice.mCreated, Contains("texture PluginBaseOutputRenderTarget 16384x2 13"));
    EXPECT_EQ(mDevice.Find("execute MainDraw").size(), 2U);
    EXPECT_EQ(mDevice.Find("execute ReadbackPixels").size(), 1U);
    EXPECT_EQ(mDevice.Find("viewport").back(), "viewport 0 0 1 2");

    mPlugin.mTiles.clear();
    DrawInto(PixelChannels::Alpha, ChannelFormat::U8, 16384, 1, 16384);
    EXPECT_EQ(mPlugin.mTiles.size(), 1U);
}

TEST_F(DrawPath, FramesBeyondTheDevicesBuffersAreReadBackInStrips) {
    mDevice.LimitStorageRange(1000);
    mDevice.LimitMemory(40 * 16 * 20);
    // A strip is six rows of the tile's forty pixels; a tile's texture holds twenty rows.
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 40, 50, 170);
    ASSERT_EQ(mPlugin.mTiles.size(), 1U);
    EXPECT_THAT(mDevice.mCreated, Contains("buffer CopyUtilRW 960"));
    EXPECT_EQ(mDevice.Find("execute CopyStrip").size(), 9U);
    mPlugin.mPluginFormat = Format::RGBA32Float;
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 40, 50, -160);
    ASSERT_EQ(mPlugin.mTiles.size(), 4U);
    EXPECT_EQ(mPlugin.mTiles[3].mPivotY, 40);
    EXPECT_EQ(mPlugin.mTiles[3].mOutputHeight, 10U);
    EXPECT_EQ(mDevice.Find("execute CopyStrip").size(), 9U + 4U + 4U + 2U);
}

TEST_F(DrawPath, WhatSeveralFramesDoNotNeedIsGivenBack) {
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 1000, 1000, 4000);
    mDevice.mCreated.clear();
    mPlugin.mPluginFormat = Format::RGBA32Float;
    for (int i = 0; i < 8; ++i) DrawInto(PixelChannels::ARGB, ChannelFormat::F32, 100, 100, 1600);
    EXPECT_THAT(mDevice.mCreated, Contains("buffer CopyUtilRW 160000"));
    mPlugin.mPluginFormat = Format::RGBA8Unorm;
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 10, 10, 40);
    EXPECT_THAT(mDevice.mCreated, Contains("texture PluginBaseOutputRenderTarget 10x10 13"));
}

TEST_F(DrawPath, TargetsGrowPerFormatAndServeSmallerFrames) {
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 100, 50, 400);
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 40, 20, 160);
    EXPECT_EQ(mDevice.Find("viewport").back(), "viewport 0 0 40 20");
    EXPECT_EQ(std::ranges::count(mDevice.mCreated, "texture PluginBaseOutputRenderTarget 100x50 13"), 1);
    mDevice.mCreated.clear();
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 20, 60, 80);
    EXPECT_THAT(mDevice.mCreated, Contains("texture PluginBaseOutputRenderTarget 100x60 13"));
    mDevice.mCreated.clear();
    mPlugin.mPluginFormat = Format::RGBA32Float;
    DrawInto(PixelChannels::ARGB, ChannelFormat::F32, 10, 10, 160);
    EXPECT_THAT(mDevice.mCreated, Contains("texture PluginBaseOutputRenderTarget 10x10 1"));
    EXPECT_THAT(mDevice.mCreated, Contains("texture PluginBasePluginRenderTarget 10x10 1"));
    mDevice.mCreated.clear();
    DrawInto(PixelChannels::ARGB, ChannelFormat::F32, 5, 10, 80);
    mPlugin.mPluginFormat = Format::RGBA8Unorm;
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 100, 60, 400);
    EXPECT_THAT(mDevice.mCreated, Not(Contains(HasSubstr("texture"))));
}

TEST_F(DrawPath, NoConversionWhereTheTargetSuitsTheHost) {
    mPreMultiplication = zeb::PreMultiplication::PreMultiplied;
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 8, 8, 32);
    EXPECT_THAT(mPlugin.mTargets, ElementsAre("PluginBaseOutputRenderTarget"));
    EXPECT_TRUE(mDevice.Find("draw").empty());
    mPlugin.mPluginFormat = Format::RGBA32Float;
    DrawInto(PixelChannels::ARGB, ChannelFormat::U8, 8, 8, 32);
    EXPECT_THAT(mDevice.Find("draw"), ElementsAre("draw ConvertNone_13 0 4"));
}

TEST_F(DrawPath, FailuresWriteNothingAndAnEmptyFrameIsNone) {
    zeb::ImageInfo image;
    std::vector<std::byte> memory(1024, kHost);
    image.mData = memory.data();
    image.mRowBytes = 32;
    EXPECT_NO_THROW(mPlugin.DrawTiledToOutput(mDevice, mDrawInfo, image));  // 0 by 0
    EXPECT_TRUE(mDevice.mLog.empty());

    image.mWidth = image.mHeight = 8;
    const auto getError = [&] {
        return test::MessageOf([&] { mPlugin.DrawTiledToOutput(mDevice, mDrawInfo, image); });
    };
    EXPECT_THAT(getError(), HasSubstr("does not fit an image of 8 by 8"));
    mDrawInfo.mOutputWidth = mDrawInfo.mOutputHeight = 8;
    mPlugin.mFails = true;
    EXPECT_EQ(getError(), "cannot draw");
    image.mChannelFormat = static_cast<ChannelFormat>(7);
    EXPECT_THAT(getError(), HasSubstr("Failed to get a render format for the channel format of 7"));
    image.mChannelFormat = ChannelFormat::U8;
    image.mPixelChannels = static_cast<PixelChannels>(4);
    EXPECT_THAT(getError(), HasSubstr("Unsupported output format"));
    EXPECT_THAT(memory, Each(kHost));
}

TEST(RGBARenderFormat, FollowsTheChannels) {
    const Format formats[] = {Format::RGBA8Unorm, Format::RGBA16Unorm, Format::RGBA16Unorm, Format::RGBA16Float,
                              Format::RGBA32Float};
    for (std::uint32_t i = 0; i < 5; ++i)
        EXPECT_EQ(zeb::PluginBaseCommon::GetRGBARenderFormat(static_cast<ChannelFormat>(i)), formats[i]);
}
