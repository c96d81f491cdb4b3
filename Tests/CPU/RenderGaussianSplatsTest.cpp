#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "Nimbrel/CPU/FillBackground.h"
#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

using namespace zeb::render;
using zeb::render::cpu::Image;
using zeb::render::cpu::MakeRenderPass;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

gpu::SplatViewData MakeRecord(const glm::vec4& pos, const glm::vec2& axis1, const glm::vec2& axis2,
                              const glm::vec4& color) {
    return {pos, axis1, axis2, {HalfPair(color.y, color.x), HalfPair(color.w, color.z)}};
}

TEST(RenderGaussianSplats, PixelsFollowTheGaussian) {
    const double limit = std::log(255.0);  // d where a full opacity falls to 1 / 255
    const struct {
        glm::vec4 mColor;
        double mD;
        bool mShown;
        double mAlpha;
    } cases[] = {
        {{1, 1, 1, 1}, 0.0, true, 1.0},
        {{1, 1, 1, 0.5F}, 1.0, true, 0.5 * std::exp(-1.0)},
        {{1, 1, 1, 3}, 0.5, true, 1.0},  // opacities above 1 are flat in the middle
        {{1, 1, 1, 3}, 2.0, true, 3.0 * std::exp(-2.0)},
        {{1, 1, 1, 1}, limit - 1e-3, true, std::exp(1e-3 - limit)},
        {{1, 1, 1, 1}, limit + 1e-3, false, 0.0},
        {{1, 1, 1, 0}, 0.0, false, 0.0},
        {{1, 1, 1, 0.0039F}, 0.0, false, 0.0},
    };
    for (const auto& c : cases) {
        glm::vec4 color(0.0F);
        const auto q = static_cast<float>(std::sqrt(c.mD));
        const std::array attributes = {c.mColor.x, c.mColor.y, c.mColor.z, c.mColor.w, q * 0.6F, -q * 0.8F};
        EXPECT_EQ(RenderGaussianSplatsPixel(attributes, color), c.mShown) << c.mD;
        EXPECT_NEAR(color.w, c.mAlpha, 1e-6) << c.mD;
        EXPECT_NEAR(color.y, c.mAlpha, 1e-6) << c.mD;
    }
}

TEST(RenderGaussianSplats, NegativeOpacityHighlightsWithARing) {
    glm::vec4 color(0.0F);
    // exp(-1) = 0.3679: alpha 0.6679, colour half way to magenta.
    for (const float opacity : {-1.0F, kNaN}) {
        EXPECT_TRUE(RenderGaussianSplatsPixel({0.5F, 0.5F, 0.0F, opacity, 1.0F, 0.0F}, color));
        EXPECT_NEAR(color.w, 0.66788, 1e-5);
        EXPECT_NEAR(color.x, 0.75 * 0.66788, 1e-5);
        EXPECT_NEAR(color.y, 0.25 * 0.66788, 1e-5);
        EXPECT_NEAR(color.z, 0.5 * 0.66788, 1e-5);
    }
    // exp(-1.84^2) = 0.0339 is on the ring: pure magenta, opaque.
    EXPECT_TRUE(RenderGaussianSplatsPixel({0.5F, 0.5F, 0.0F, -1.0F, 1.84F, 0.0F}, color));
    EXPECT_EQ(color, glm::vec4(1.0F, 0.0F, 1.0F, 1.0F));
    // exp(-2^2) = 0.0183 is beyond it.
    EXPECT_TRUE(RenderGaussianSplatsPixel({0.5F, 0.5F, 0.0F, -1.0F, 0.0F, 2.0F}, color));
    EXPECT_NEAR(color.w, 0.018316, 1e-6);
}

TEST(RenderGaussianSplats, SmallSplatsAreNotPulledToTheGrid) {
    // A third of 1/256 pixel from a pixel's centre, axes shorter than a pixel.
    const double offset = 1.0 / 768.0;
    Image target(Format::RGBA32Float, 64, 64);
    const auto pass = MakeRenderPass(target, 64, 64, GaussianSplatsBlend());
    const auto clip = [&](double pixel) { return static_cast<float>((pixel + 0.5 + offset) / 32.0 - 1.0); };
    DrawGaussianSplat(pass, {{64.0F, 64.0F}, 0, 0},
                      MakeRecord({clip(9), -clip(50), 0.5F, 1}, {0.5F, 0.15F}, {0.12F, -0.4F}, {1, 1, 1, 1}));
    for (int y = 49; y <= 51; ++y) {
        for (int x = 8; x <= 10; ++x) {
            const double dx = x - 9 - offset;
            const double dy = 50 + offset - y;  // up, as the axes
            const double determinant = 0.5 * -0.4 - 0.15 * 0.12;
            const double qx = (dx * -0.4 - dy * 0.12) / determinant;
            const double qy = (dy * 0.5 - dx * 0.15) / determinant;
            const double alpha = std::max(std::abs(qx), std::abs(qy)) < 2.0 ? std::exp(-(qx * qx + qy * qy)) : 0.0;
            const glm::vec4 pixel = target.Load(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
            EXPECT_NEAR(pixel.w, alpha < 1.0 / 255.0 ? 0.0 : alpha, 1e-4) << x << ", " << y;
        }
    }
}

TEST(RenderGaussianSplats, ComposesFrontToBack) {
    Image target(Format::RGBA32Float, 3, 3);
    const auto pass = MakeRenderPass(target, 3, 3, GaussianSplatsBlend());
    const glm::vec2 wide(100.0F, 0.0F);
    const glm::vec2 high(0.0F, 100.0F);
    const std::vector records = {
        MakeRecord({0, 0, 1, 2}, wide, high, {1, 0, 0, 0.5F}), MakeRecord({0, 0, 1, 2}, wide, high, {0, 1, 0, 0.5F}),
        MakeRecord({0, 0, 1, 2}, wide, high, {0, 0, 1, 40.0F}), MakeRecord({0, 0, 1, 2}, wide, high, {1, 1, 1, 1.0F}),
        MakeRecord({0, 0, 1, 0}, wide, high, {1, 1, 1, 1.0F})};
    const std::vector<std::uint32_t> order = {4, 1, 0, 77, 2, 3};
    DrawGaussianSplats(pass, {{3.0F, 3.0F}, 0, 0}, order, records, 0, 3);
    // Half green, then a quarter of red under it.
    EXPECT_EQ(target.Load(1, 1), glm::vec4(0.25F, 0.5F, 0.0F, 0.75F));
    DrawGaussianSplats(pass, {{3.0F, 3.0F}, 0, 0}, order, records, 3, 6);
    // Blue fills the rest; a full pixel takes no more.
    EXPECT_EQ(target.Load(1, 1), glm::vec4(0.25F, 0.5F, 0.25F, 1.0F));
}

TEST(RenderGaussianSplats, NothingComesOfSplatsWithoutAPlace) {
    Image target(Format::RGBA32Float, 9, 9);
    const auto pass = MakeRenderPass(target, 9, 9, GaussianSplatsBlend());
    const glm::vec4 white(1.0F);
    const std::vector records = {
        gpu::SplatViewData{},                                         // cropped
        MakeRecord({0, 0, 1, 2}, {kNaN, kNaN}, {kNaN, kNaN}, white),  // no direction
        MakeRecord({0, 0, 1, 2}, {0, 0}, {0, 0}, white),              // degenerate
        MakeRecord({0, 0, -0.01F, 2}, {4, 0}, {0, 4}, white),         // in front of the near plane
        MakeRecord({0, 0, 2.01F, 2}, {4, 0}, {0, 4}, white),          // behind the far plane
        MakeRecord({kNaN, 0, 1, kNaN}, {4, 0}, {0, 4}, white),
    };
    DrawGaussianSplats(pass, {{9.0F, 9.0F}, 0, 0}, std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}, records, 0, 6);
    EXPECT_EQ(target.Texels(), Image(Format::RGBA32Float, 9, 9).Texels());
}

}  // namespace
}  // namespace nimbrel::cpu
