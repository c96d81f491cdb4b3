#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Render/CPU/Rasteriser.h"

namespace zeb::render::cpu {
namespace {

constexpr std::uint32_t kSize = 16;
constexpr BlendState kAdd{true,
                          BlendFactor::One,
                          BlendFactor::One,
                          BlendOperation::Add,
                          BlendFactor::One,
                          BlendFactor::One,
                          BlendOperation::Add};

bool PaintOne(const std::array<float, 1>& attributes, glm::vec4& color) {
    color = glm::vec4(1.0F, attributes[0], 0.0F, 1.0F);
    return true;
}

/// A vertex at pixel coordinates of the square target, y down.
Vertex<1> At(float x, float y, float w = 1.0F, float attribute = 0.0F) {
    const float half = static_cast<float>(kSize) / 2.0F;
    return {{(x / half - 1.0F) * w, (1.0F - y / half) * w, 0.5F * w, w}, {attribute}};
}

class RasteriserTest : public testing::Test {
protected:
    Image mTarget{Format::RGBA32Float, kSize, kSize};
    RenderPass mPass = MakeRenderPass(mTarget, kSize, kSize, kAdd);

    float Count(std::uint32_t x, std::uint32_t y) const { return mTarget.Load(x, y).x; }
    float Total() const {
        float total = 0.0F;
        for (std::uint32_t i = 0; i < kSize * kSize; ++i) total += Count(i % kSize, i / kSize);
        return total;
    }
};

TEST_F(RasteriserTest, ARectangleOwnsItsTopAndLeftEdgesOnly) {
    // Corners on pixel centres: centres on the left and top edge are inside, on the right and bottom outside.
    DrawTriangle(mPass, At(2.5F, 3.5F), At(6.5F, 3.5F), At(2.5F, 8.5F), PaintOne);
    DrawTriangle(mPass, At(6.5F, 3.5F), At(6.5F, 8.5F), At(2.5F, 8.5F), PaintOne);
    for (std::uint32_t y = 0; y < kSize; ++y) {
        for (std::uint32_t x = 0; x < kSize; ++x) {
            const bool inside = x >= 2 && x < 6 && y >= 3 && y < 8;
            EXPECT_EQ(Count(x, y), inside ? 1.0F : 0.0F) << x << ", " << y;
        }
    }
}

TEST_F(RasteriserTest, TrianglesAroundAPointCoverEachPixelOnce) {
    // A fan of random triangles over the whole target, with windings of both kinds.
    std::mt19937 random(7);
    std::uniform_real_distribution<float> place(1.0F, 15.0F);
    for (int round = 0; round < 200; ++round) {
        mTarget = Image(Format::RGBA32Float, kSize, kSize);
        const Vertex<1> hub = At(std::round(place(random) * 2.0F) / 2.0F, std::round(place(random) * 2.0F) / 2.0F);
        const std::vector<Vertex<1>> rim = {At(-1, -1), At(place(random), -1), At(17, -1), At(17, place(random)),
                                            At(17, 17), At(place(random), 17), At(-1, 17)};
        for (std::size_t i = 0; i < rim.size(); ++i) {
            const Vertex<1>& next = rim[(i + 1) % rim.size()];
            if (i % 2 == 0)
                DrawTriangle(mPass, hub, rim[i], next, PaintOne);
            else
                DrawTriangle(mPass, next, rim[i], hub, PaintOne);
        }
        for (std::uint32_t i = 0; i < kSize * kSize; ++i) ASSERT_EQ(Count(i % kSize, i / kSize), 1.0F) << round;
    }
}

TEST_F(RasteriserTest, AttributesFollowThePerspective) {
    // The right edge is three times as far away. At half way on the screen the attribute, 0 left and 1 right, is
    // (0.5 / 3) / (0.5 + 0.5 / 3) = 0.25.
    const Vertex<1> corners[4] = {At(0, 0, 1.0F, 0.0F), At(16, 0, 3.0F, 1.0F), At(0, 16, 1.0F, 0.0F),
                                  At(16, 16, 3.0F, 1.0F)};
    DrawTriangle(mPass, corners[0], corners[1], corners[2], PaintOne);
    DrawTriangle(mPass, corners[1], corners[3], corners[2], PaintOne);
    EXPECT_EQ(Total(), 256.0F);
    for (std::uint32_t x = 0; x < kSize; ++x) {
        const double s = (x + 0.5) / 16.0;
        const double expected = s / 3.0 / (1.0 - s + s / 3.0);
        EXPECT_NEAR(mTarget.Load(x, 3).y, expected, 1e-6) << x;
        EXPECT_NEAR(mTarget.Load(x, 12).y, expected, 1e-6) << x;
    }
}

TEST_F(RasteriserTest, HugeTrianglesCoverAndHopelessOnesVanish) {
    const float far = 1e9F;
    DrawTriangle(mPass, At(-far, -far), At(far, -far), At(0, far), PaintOne);
    EXPECT_EQ(Total(), 256.0F);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    Vertex<1> bad[5] = {At(0, 0), At(0, 0), At(0, 0), At(0, 0), At(0, 0)};
    bad[0].mPosition = glm::vec4(nan);
    bad[1].mPosition.y = infinity;
    bad[2].mPosition.w = -1.0F;
    bad[3].mPosition = glm::vec4(0.0F);
    bad[4].mPosition = glm::vec4(0.0F, 0.0F, 0.0F, 1e-45F);
    for (const auto& vertex : bad) DrawTriangle(mPass, vertex, vertex, At(8, 8), PaintOne);
    DrawTriangle(mPass, bad[0], At(16, 0), At(0, 16), PaintOne);
    DrawTriangle(mPass, bad[1], At(16, 0), At(0, 16), PaintOne);
    DrawTriangle(mPass, At(0, 0), At(8, 8), At(16, 16), PaintOne);  // no area
    EXPECT_EQ(Total(), 256.0F);
}

TEST_F(RasteriserTest, LinesTakeOnePixelAStepAndLeaveOutTheLast) {
    using Pixels = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
    const struct {
        float x0, y0, x1, y1;
        Pixels mExpected;
    } cases[] = {
        {2.5F, 3.5F, 6.5F, 3.5F, {{2, 3}, {3, 3}, {4, 3}, {5, 3}}},
        {6.5F, 3.5F, 2.5F, 3.5F, {{3, 3}, {4, 3}, {5, 3}, {6, 3}}},
        {1.5F, 1.5F, 1.5F, 4.5F, {{1, 1}, {1, 2}, {1, 3}}},
        {1.5F, 4.5F, 1.5F, 1.5F, {{1, 2}, {1, 3}, {1, 4}}},
        {1.5F, 1.5F, 4.5F, 4.5F, {{1, 1}, {2, 2}, {3, 3}}},
        // Rises half a row a column: y at the centres is 2.25, 2.75, 3.25, 3.75; ends on the corner of four.
        {1.0F, 2.0F, 5.0F, 4.0F, {{1, 2}, {2, 2}, {3, 3}, {4, 3}}},
        // Just between two rows the upper one, between two columns the left one.
        {2.0F, 3.0F, 5.0F, 3.0F, {{2, 2}, {3, 2}, {4, 2}}},
        {3.0F, 4.0F, 3.0F, 1.0F, {{2, 1}, {2, 2}, {2, 3}}},
        {2.6F, 2.5F, 3.4F, 2.5F, {{2, 2}}},  // starts in a diamond and leaves it, ends in the next
        {2.6F, 2.5F, 2.7F, 2.5F, {}},        // never leaves its diamond
        {3.0F, 3.0F, 3.0F, 3.0F, {}},
    };
    for (const auto& c : cases) {
        mTarget = Image(Format::RGBA32Float, kSize, kSize);
        DrawLine(mPass, At(c.x0, c.y0), At(c.x1, c.y1), PaintOne);
        EXPECT_EQ(Total(), static_cast<float>(c.mExpected.size())) << c.x0 << ", " << c.y0;
        for (const auto& [x, y] : c.mExpected) EXPECT_EQ(Count(x, y), 1.0F) << x << ", " << y;
    }
}

}  // namespace
}  // namespace zeb::render::cpu
