#include "PluginBase/RenderUtils/CopyFromTextureToBuffer.h"

#include <bit>
#include <cstring>

#include <gmock/gmock.h>

#include "DeviceFixture.h"
#include "Shaders/RegisterShaders.h"

namespace zeb::render {
namespace {

using Layout = CopyFromTextureToBuffer::Layout;

constexpr std::byte kRed = std::byte{0xEE};  // what a copy must not touch

/// A channel's value and what each depth makes of it; 32 bits keep it. 8 bits come through a half.
struct Value {
    float mValue;
    std::uint32_t mStored[4];  ///< U8, U16, I16, F16
};
constexpr Value kValues[] = {
    {0.0F, {0, 0, 0, 0}},
    {1.0F, {255, 65535, 32767, 0x3C00}},
    {0.5F, {128, 32768, 16384, 0x3800}},
    {0.75F, {191, 49151, 24575, 0x3A00}},
    {0.333333343F, {85, 21845, 10922, 0x3555}},
    {-0.5F, {0, 0, 0, 0xB800}},
    {40.0F, {255, 65535, 32767, 0x5100}},
    {65520.0F, {255, 65535, 32767, 0x7C00}},
    {1.0F + 3 * 0x1p-11F, {255, 65535, 32767, 0x3C02}},  // halfway between two halves: to the even one
    {1.0F + 0x1p-11F, {255, 65535, 32767, 0x3C00}},
    {0x1.8p-25F, {0, 0, 0, 1}},
    {0x1p-25F, {0, 0, 0, 0}},
};

/// Tells channels, columns and rows apart.
const Value& ValueAt(std::uint32_t x, std::uint32_t y, std::uint32_t c) {
    return kValues[(x * 5 + y * 3 + c * 7 + x * y) % std::size(kValues)];
}

class CopyFromTextureToBufferTest : public DeviceFixture {
protected:
    static constexpr std::uint32_t kSide = 12;

    static void SetUpTestSuite() { nimbrel::RegisterShaders(); }

    static UniquePtr<Texture> MakePattern() {
        auto texture = MakeTexture(Format::RGBA32Float, kSide, kSide);
        std::vector<float> texels(kSide * kSide * 4);
        for (std::uint32_t i = 0; i < texels.size(); ++i)
            texels[i] = ValueAt(i / 4 % kSide, i / 4 / kSide, i % 4).mValue;
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

constexpr std::uint32_t kDepthBytes[] = {1, 2, 2, 2, 4};

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
    for (std::uint32_t depth = 0; depth < 5; ++depth) {
        const std::uint32_t bytes = kDepthBytes[depth];
        for (const Order& order : kOrders) {
            const auto pixel = static_cast<std::uint32_t>(bytes * order.mSource.size());
            const Layout layout = {16, 6, 16 * pixel + 8, std::uint64_t{16 * pixel + 8} * 6};
            util.SetLayout(layout);
            const std::vector<std::byte> result = RunCopy(util, layout, [&](CommandList& list) {
                util.Copy(list, layout, order.mChannels, static_cast<ChannelFormat>(depth), 4, 2, *texture, 3, 1,
                          kWidth, kHeight, false, TextureState::Common);
            });
            std::vector<std::byte> expected(layout.mTotalSize, kRed);
            for (std::uint32_t y = 0; y < kHeight; ++y) {
                for (std::uint32_t i = 0; i < kWidth * pixel; ++i) {
                    const Value& value = ValueAt(3 + i / pixel, 1 + y, order.mSource[i % pixel / bytes]);
                    const std::uint32_t stored =
                        depth == 4 ? std::bit_cast<std::uint32_t>(value.mValue) : value.mStored[depth];
                    expected[(y + 2) * layout.mRowPitch + 4 * pixel + i] =
                        static_cast<std::byte>(stored >> (i % bytes * 8));
                }
            }
            EXPECT_EQ(result, expected) << depth << " " << static_cast<int>(order.mChannels);
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
        const float value = ValueAt(2, 2, c).mValue;
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

}  // namespace
}  // namespace zeb::render
