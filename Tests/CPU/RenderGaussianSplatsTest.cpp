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

TEST(RenderGaussianSplats, CornersAreTwoAxesAwayInPixels) {
    const gpu::TextureConstants constants{{200.0F, 100.0F}, 0, 0};
    const auto record =
        MakeRecord({10.0F, 20.0F, 30.0F, 40.0F}, {3.0F, 1.0F}, {-0.5F, 2.0F}, {0.25F, 0.5F, 2.0F, 0.75F});
    // Offsets -2 a - 2 b, 2 a - 2 b, ... in pixels, doubled over the size, times w.
    const float expected[4][2] = {{-5, -6}, {7, -2}, {-7, 2}, {5, 6}};
    for (std::uint32_t corner = 0; corner < 4; ++corner) {
        const SplatVertex vertex = RenderGaussianSplatsVertex(record, corner, constants);
        EXPECT_FLOAT_EQ(vertex.mPosition.x, 10.0F + expected[corner][0] * 0.01F * 40.0F);
        EXPECT_FLOAT_EQ(vertex.mPosition.y, 20.0F + expected[corner][1] * 0.02F * 40.0F);
        EXPECT_EQ(vertex.mPosition.z, 30.0F);
        EXPECT_EQ(vertex.mPosition.w, 40.0F);
        EXPECT_EQ(vertex.mAttributes,
                  (std::array{0.25F, 0.5F, 2.0F, 0.75F, corner % 2 == 0 ? -2.0F : 2.0F, corner < 2 ? -2.0F : 2.0F}));
    }
    for (const float w : {0.0F, -1.0F}) {
        const auto dropped = RenderGaussianSplatsVertex(MakeRecord({1, 2, 3, w}, {}, {}, {1, 1, 1, 1}), 0, constants);
        EXPECT_TRUE(std::isnan(dropped.mPosition.x) && std::isnan(dropped.mPosition.w));
        EXPECT_EQ(dropped.mAttributes[0], 0.0F);
    }
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

TEST(RenderGaussianSplats, DrawsAnEllipseOverTheQuad) {
    // Centre of a 41 x 31 target, axes of 4 and 3 pixels; depth inside the clip range.
    Image target(Format::RGBA32Float, 41, 31);
    const auto pass = MakeRenderPass(target, 41, 31, GaussianSplatsBlend());
    const std::vector records = {MakeRecord({0, 0, 2, 4}, {4, 0}, {0, 3}, {0.5F, 1.0F, 0.25F, 0.75F})};
    DrawGaussianSplats(pass, {{41.0F, 31.0F}, 0, 0}, std::vector<std::uint32_t>{0}, records, 0, 1);
    for (int y = 0; y < 31; ++y) {
        for (int x = 0; x < 41; ++x) {
            const double qx = (x - 20) / 4.0;
            const double qy = (y - 15) / 3.0;
            double alpha = 0.75 * std::exp(-(qx * qx + qy * qy));
            // The quad reaches from -2 to 2, its left and upper edge included.
            if (qx < -2.0 || qx >= 2.0 || qy < -2.0 || qy >= 2.0 || alpha < 1.0 / 255.0) alpha = 0.0;
            const glm::vec4 pixel = target.Load(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
            ASSERT_NEAR(pixel.w, alpha, 2e-5) << x << ", " << y;
            ASSERT_NEAR(pixel.x, 0.5 * alpha, 1e-5) << x << ", " << y;
        }
    }
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

TEST(RenderGaussianSplats, TheBoxStageNeverReachesTheScreen) {
    const auto seen = RenderGaussianSplatsBoxesVertex(MakeRecord({1, 2, 3, 4}, {}, {}, {}));
    EXPECT_EQ(seen.mPosition, glm::vec4(0.0F));
    EXPECT_EQ(seen.mAttributes, (std::array{1.0F, 1.0F, 1.0F, 0.3F}));
    EXPECT_TRUE(std::isnan(RenderGaussianSplatsBoxesVertex(gpu::SplatViewData{}).mPosition.x));
    glm::vec4 color(0.0F);
    EXPECT_TRUE(RenderGaussianSplatsBoxesPixel({1.0F, 0.5F, 0.25F, 0.5F}, color));
    EXPECT_EQ(color, glm::vec4(0.5F, 0.25F, 0.125F, 0.5F));
}

TEST(FillBackground, CopiesThePictureOverBlack) {
    Image picture(Format::RGBA32Float, 5, 3);
    for (std::uint32_t i = 0; i < 15; ++i) {
        picture.Store(i % 5, i / 5, glm::vec4(static_cast<float>(i), 1.0F, 2.0F, 0.5F));
    }
    Image target(Format::RGBA32Float, 5, 3);
    FillBackground(MakeRenderPass(target, 5, 3), picture.View());
    for (std::uint32_t i = 0; i < 15; ++i) {
        const glm::vec4 pixel = target.Load(i % 5, i / 5);
        EXPECT_NEAR(pixel.x, 0.5F * static_cast<float>(i), 1e-4F);
        EXPECT_NEAR(pixel.z, 1.0F, 1e-6F);
        EXPECT_EQ(pixel.w, 1.0F);
    }
}

}  // namespace
}  // namespace nimbrel::cpu
