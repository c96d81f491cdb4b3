#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "PluginBase/Exception.h"
#include "Render/CPU/Image.h"

namespace zeb::render::cpu {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(Image, NormalisedFormatsRoundToTheNearestStepAndClamp) {
    const struct {
        float mValue;
        int m8;
        int m16;
    } cases[] = {
        {0.0F, 0, 0},
        {1.0F, 255, 65535},
        {2.5F, 255, 65535},
        {-1.0F, 0, 0},
        {kNaN, 0, 0},
        {0.5F, 128, 32768},             // 127.5 and 32767.5: up
        {0.00195F, 0, 128},             // 0.497 and 127.8
        {0.00197F, 1, 129},             // 0.502 and 129.1
        {100.4F / 255.0F, 100, 25803},  // 100.4 * 257 = 25802.8
    };
    for (const auto& c : cases) {
        Image image8(Format::RGBA8Unorm, 1, 1);
        image8.Store(0, 0, glm::vec4(c.mValue));
        EXPECT_EQ(std::to_integer<int>(image8.Texels()[2]), c.m8) << c.mValue;
        Image image16(Format::RGBA16Unorm, 1, 1);
        image16.Store(0, 0, glm::vec4(c.mValue));
        EXPECT_FLOAT_EQ(image16.Load(0, 0).y, static_cast<float>(c.m16) / 65535.0F) << c.mValue;
    }
}

TEST(Image, FloatFormatsKeepWhatTheyCan) {
    const glm::vec4 color(-3.25F, 70000.0F, 0.1F, 0.5F);
    Image full(Format::RGBA32Float, 2, 2);
    full.Store(1, 1, color);
    EXPECT_EQ(full.Load(1, 1), color);
    EXPECT_EQ(full.Load(0, 1), glm::vec4(0.0F));
    Image half(Format::RGBA16Float, 2, 2);
    half.Store(1, 0, color);
    const glm::vec4 rounded = half.Load(1, 0);
    EXPECT_EQ(rounded.x, -3.25F);
    EXPECT_TRUE(std::isinf(rounded.y));
    EXPECT_EQ(rounded.z, 1638.0F / 16384.0F);  // 0.1 = 1638.4 * 2^-14
    EXPECT_EQ(rounded.w, 0.5F);
}

TEST(Image, FetchOutsideIsZeroAndLayersFollowEachOther) {
    Image image(Format::RGBA32Float, 2, 3, 2);
    const float seven[4] = {7.0F, 0.0F, 0.0F, 0.0F};
    std::memcpy(image.Texels().data() + 16 * (6 + 2 * 2 + 1), seven, sizeof seven);
    const TextureView view = image.View();
    EXPECT_EQ(view.Load(1, 2, 1).x, 7.0F);
    EXPECT_EQ(view.Load(1, 2, 0).x, 0.0F);
    for (const auto& [x, y, layer] : {std::array{-1, 0, 0}, {2, 2, 1}, {1, 3, 0}, {1, 2, 2}, {1, -1, 1}}) {
        EXPECT_EQ(view.Load(x, y, layer), glm::vec4(0.0F)) << x << ", " << y << ", " << layer;
    }
}

TEST(Image, OneChannelReadsAsRed) {
    Image image(Format::R32Float, 1, 1);
    image.Store(0, 0, {0.25F, 9.0F, 9.0F, 9.0F});
    EXPECT_EQ(image.Load(0, 0), glm::vec4(0.25F, 0.0F, 0.0F, 1.0F));
}

TEST(Image, RefusesAnUnknownFormat) { EXPECT_THROW(Image(Format::Unknown, 4, 4), RenderException); }

}  // namespace
}  // namespace zeb::render::cpu
