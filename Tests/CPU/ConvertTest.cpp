#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

#include "Render/CPU/Convert.h"
#include "Render/CPU/TextDrawing.h"

namespace zeb::render::cpu {
namespace {

TEST(Convert, UnmultiplyDividesFromTheLeastAlphaOn) {
    const float least = 0.00100000005F;
    EXPECT_EQ(Unmultiply({0.1F, 0.2F, 0.25F, 0.5F}), glm::vec4(0.2F, 0.4F, 0.5F, 0.5F));
    EXPECT_EQ(Unmultiply({least, 0.0F, 2 * least, least}), glm::vec4(1.0F, 0.0F, 2.0F, least));
    const float below = std::nextafter(least, 0.0F);
    EXPECT_EQ(Unmultiply({0.1F, 0.2F, 0.3F, below}), glm::vec4(0.1F, 0.2F, 0.3F, 0.0F));
    EXPECT_EQ(Unmultiply({0.1F, 0.2F, 0.3F, -1.0F}), glm::vec4(0.1F, 0.2F, 0.3F, 0.0F));
}

TEST(Convert, MapsTexelToTexelAndLeavesTheRestOfALargerTarget) {
    // Odd sizes: every texel's coordinate ends in .5 and truncates to its own number.
    Image source(Format::RGBA32Float, 7, 5);
    for (std::uint32_t y = 0; y < 5; ++y) {
        for (std::uint32_t x = 0; x < 7; ++x) {
            source.Store(x, y, glm::vec4(static_cast<float>(x), static_cast<float>(y), 1.0F, 0.5F));
        }
    }
    Image target(Format::RGBA32Float, 9, 6);
    target.Store(8, 5, glm::vec4(5.0F));
    Convert(source.View(), true, {7, 5}, target);
    for (std::uint32_t y = 0; y < 5; ++y) {
        for (std::uint32_t x = 0; x < 7; ++x) {
            EXPECT_EQ(target.Load(x, y), glm::vec4(static_cast<float>(2 * x), static_cast<float>(2 * y), 2.0F, 0.5F));
        }
    }
    EXPECT_EQ(target.Load(7, 0), glm::vec4(0.0F));
    EXPECT_EQ(target.Load(0, 5), glm::vec4(0.0F));
    EXPECT_EQ(target.Load(8, 5), glm::vec4(5.0F));
    Convert(source.View(), false, {7, 5}, target);
    EXPECT_EQ(target.Load(6, 4), glm::vec4(6.0F, 4.0F, 1.0F, 0.5F));
}

TEST(TextDrawing, TintsTheSampleOfALayer) {
    Image font(Format::RGBA32Float, 1, 1, 2);
    const glm::vec4 texels[2] = {glm::vec4(0.0F), {1.0F, 0.5F, 0.25F, 0.5F}};
    std::memcpy(font.Texels().data(), texels, sizeof texels);
    const glm::vec4 tinted = TextDrawingPixel(font.View(), {}, {0.5F, 1.0F, 2.0F, 0.5F}, {0.5F, 0.5F, 1.0F});
    EXPECT_EQ(tinted, glm::vec4(0.5F, 0.5F, 0.5F, 0.25F));
    glm::mat4 projection(1.0F);
    projection[3] = {2.0F, 3.0F, 0.0F, 1.0F};  // a translation stands in the last column
    const Vertex<3> vertex = TextDrawingVertex(projection, {1.0F, 1.0F, 0.0F, 1.0F}, {0.1F, 0.2F, 1.0F});
    EXPECT_EQ(vertex.mPosition, glm::vec4(3.0F, 4.0F, 0.0F, 1.0F));
    EXPECT_EQ(vertex.mAttributes[1], 0.2F);
}

}  // namespace
}  // namespace zeb::render::cpu
