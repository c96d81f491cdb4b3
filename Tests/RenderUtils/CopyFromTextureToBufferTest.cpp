#include "PluginBase/RenderUtils/CopyFromTextureToBuffer.h"

#include <array>
#include <cstring>

#include <gmock/gmock.h>

#include "DeviceFixture.h"
#include "PluginBase/Exception.h"
#include "Shaders/RegisterShaders.h"

namespace zeb::render {
namespace {

using testing::HasSubstr;
using Layout = CopyFromTextureToBuffer::Layout;

constexpr std::byte kRed = std::byte{0xEE};  // what a copy must not touch

// Channel c of texel (x, y) is 1 where this holds, else 0: a pattern that tells channels, columns and rows apart.
bool IsLit(std::uint32_t x, std::uint32_t y, std::uint32_t c) { return ((x * 5 + y * 3 + c * 7 + x * y) % 4) < 2; }

class CopyFromTextureToBufferTest : public DeviceFixture {
protected:
    static constexpr std::uint32_t kSide = 12;

    static void SetUpTestSuite() { nimbrel::RegisterShaders(); }

    static UniquePtr<Texture> MakePattern() {
        auto texture = MakeTexture(Format::RGBA32Float, kSide, kSide);
        std::vector<float> texels(kSide * kSide * 4);
        for (std::uint32_t i = 0; i < texels.size(); ++i)
            texels[i] = IsLit(i / 4 % kSide, i / 4 / kSide, i % 4) ? 1.0F : 0.0F;
        Upload(*texture, texels.data(), texels.size() * sizeof(float));
        return texture;
    }

    // Fills the read-write buffer, copies, and gives what the read-back buffer then holds.
    static std::vector<std::byte> RunCopy(CopyFromTextureToBuffer& util, const Layout& layout,
                                          const std::function<void(CommandList&)>& copy) {
        const std::vector<std::byte> red(layout.mTotalSize, kRed);
        const auto fill = MakeUpload(red);
        Run([&](CommandList& list) {
            const auto before = list.CreateCopyCommandEncoder();
            before->CopyBuffer(util.GetReadWriteBuffer(), 0, *fill, 0, layout.mTotalSize);
            before->End();
            copy(list);
            const auto after = list.CreateCopyCommandEncoder();
            after->CopyBuffer(util.GetReadbackBuffer(), 0, util.GetReadWriteBuffer(), 0, layout.mTotalSize);
            after->End();
        });
        const std::byte* data = util.GetReadbackBuffer().Map(0, layout.mTotalSize);
        std::vector<std::byte> bytes(data, data + layout.mTotalSize);
        util.GetReadbackBuffer().Unmap();
        return bytes;
    }
};

struct Depth {
    ChannelFormat mFormat;
    std::uint32_t mBytes;
    std::array<std::uint8_t, 4> mWhite;  ///< the bytes of a channel of 1
};
constexpr Depth kDepths[] = {
    {ChannelFormat::U8, 1, {0xff}},
    {ChannelFormat::U16, 2, {0xff, 0xff}},
    {ChannelFormat::I16, 2, {0xff, 0x7f}},
    {ChannelFormat::F16, 2, {0x00, 0x3c}},
    {ChannelFormat::F32, 4, {0x00, 0x00, 0x80, 0x3f}},
};

struct Order {
    PixelChannels mChannels;
    std::vector<std::uint32_t> mSource;  ///< the texture's channel for each channel in memory
};
const Order kOrders[] = {
    {PixelChannels::RGBA, {0, 1, 2, 3}},
    {PixelChannels::RGB, {0, 1, 2}},
    {PixelChannels::Alpha, {3}},
    {PixelChannels::ARGB, {3, 0, 1, 2}},
};

TEST_F(CopyFromTextureToBufferTest, AllTwentyLayoutsAreFilledAndNothingElseIs) {
    constexpr std::uint32_t kWidth = 8;
    constexpr std::uint32_t kHeight = 3;
    const auto texture = MakePattern();
    CopyFromTextureToBuffer util(GetDevice(), "CopyUtil");
    for (const Depth& depth : kDepths) {
        for (const Order& order : kOrders) {
            const auto pixel = static_cast<std::uint32_t>(depth.mBytes * order.mSource.size());
            const Layout layout = {16, 6, 16 * pixel + 8, std::uint64_t{16 * pixel + 8} * 6};
            util.SetLayout(layout);
            const std::vector<std::byte> result = RunCopy(util, layout, [&](CommandList& list) {
                util.Copy(list, layout, order.mChannels, depth.mFormat, 4, 2, *texture, 3, 1, kWidth, kHeight, false,
                          TextureState::Common);
            });
            std::vector<std::byte> expected(layout.mTotalSize, kRed);
            for (std::uint32_t y = 0; y < kHeight; ++y) {
                for (std::uint32_t i = 0; i < kWidth * pixel; ++i) {
                    const std::uint32_t channel = order.mSource[i % pixel / depth.mBytes];
                    const bool isLit = IsLit(3 + i / pixel, 1 + y, channel);
                    expected[(y + 2) * layout.mRowPitch + 4 * pixel + i] =
                        std::byte{isLit ? depth.mWhite[i % depth.mBytes] : std::uint8_t{0}};
                }
            }
            EXPECT_EQ(result, expected) << static_cast<int>(depth.mFormat) << " " << static_cast<int>(order.mChannels);
        }
    }
}

TEST_F(CopyFromTextureToBufferTest, NarrowAndEmptyRectangles) {
    const auto texture = MakePattern();
    CopyFromTextureToBuffer util(GetDevice(), "CopyUtil");
    const Layout layout = {2, 2, 32, 64};
    util.SetLayout(layout);
    const auto copy = [&](std::uint32_t width) {
        return RunCopy(util, layout, [&](CommandList& list) {
            util.Copy(list, layout, PixelChannels::RGBA, ChannelFormat::F32, 1, 1, *texture, 2, 2, width, 1, true,
                      TextureState::Common);
        });
    };
    std::vector<std::byte> expected(64, kRed);
    EXPECT_EQ(copy(0), expected);
    for (std::uint32_t c = 0; c < 4; ++c) {
        const float value = IsLit(2, 2, c) ? 1.0F : 0.0F;
        std::memcpy(expected.data() + 48 + c * 4, &value, 4);
    }
    EXPECT_EQ(copy(1), expected);
}

TEST_F(CopyFromTextureToBufferTest, BuffersGrowAndNeverShrink) {
    CopyFromTextureToBuffer util(GetDevice(), "CopyUtil");
    util.SetLayout({4, 4, 16, 64});
    const Buffer* first = &util.GetReadWriteBuffer();
    EXPECT_EQ(first->GetName(), "CopyUtilRW");
    EXPECT_EQ(util.GetReadbackBuffer().GetName(), "CopyUtilReadback");
    util.SetLayout({2, 2, 8, 16});
    EXPECT_EQ(&util.GetReadWriteBuffer(), first);
    EXPECT_EQ(util.GetReadbackBuffer().GetSizeInBytes(), 64U);
    util.SetLayout({4, 5, 16, 80});
    EXPECT_EQ(util.GetReadWriteBuffer().GetSizeInBytes(), 80U);
    EXPECT_EQ(util.GetReadbackBuffer().GetSizeInBytes(), 80U);
}

TEST_F(CopyFromTextureToBufferTest, UnknownLayoutsFailAndLeaveTheObjectUsable) {
    const auto texture = MakePattern();
    CopyFromTextureToBuffer util(GetDevice(), "CopyUtil");
    const Layout layout = {2, 2, 8, 16};
    util.SetLayout(layout);
    const auto copy = [&](std::uint32_t channels, std::uint32_t format) {
        return GetFailure([&] {
            RunCopy(util, layout, [&](CommandList& list) {
                util.Copy(list, layout, static_cast<PixelChannels>(channels), static_cast<ChannelFormat>(format), 0, 0,
                          *texture, 0, 0, 2, 2, false, TextureState::Common);
            });
        });
    };
    EXPECT_THAT(copy(4, 0), HasSubstr("\"Unknown PixelChannels of 4\""));
    EXPECT_THAT(copy(0, 5), HasSubstr("\"Unknown ChannelFormat of 5\""));
    EXPECT_EQ(copy(0, 0), "no failure");
}

}  // namespace
}  // namespace zeb::render
