#pragma once

#include <cstdint>

#include <glm/vec2.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/PrimitiveSetup.h"

/// A splat's quad on the pixel grid: what the scalar and the fast draw share, so that both give the same bits.
namespace nimbrel::cpu {

struct SplatQuad {
    /// The convex outline, in 1/256 pixel, in the order in which its area is positive; at most 2^24 each.
    std::int32_t mX[4];
    std::int32_t mY[4];
    /// Change of the place in the quad (qx, qy) with x and with y, in 1/1024 pixel.
    glm::vec2 mAlongX;
    glm::vec2 mAlongY;
    glm::vec4 mColor;  ///< red, green, blue, opacity

    /// x and y of a pixel's centre from the middle of the quad, in 1/1024 pixel.
    float FromMiddleX(std::int32_t x) const { return FromMiddle(x, mX); }
    float FromMiddleY(std::int32_t y) const { return FromMiddle(y, mY); }

    /// The place in the quad, -2 to 2 in units of the axes.
    glm::vec2 At(float fromMiddleX, float fromMiddleY) const {
        return {fromMiddleX * mAlongX.x + fromMiddleY * mAlongY.x, fromMiddleX * mAlongX.y + fromMiddleY * mAlongY.y};
    }

    /// Whether a pixel's centre lies in the outline, by the top-left rule.
    bool Covers(std::int32_t x, std::int32_t y) const;

private:
    static float FromMiddle(std::int32_t pixel, const std::int32_t* corners) {
        return static_cast<float>(1024 * pixel + 512 - (corners[0] + corners[1] + corners[2] + corners[3]));
    }
};

enum class SplatQuadKind {
    Nothing,  ///< covers no pixel
    Quad,
    Triangles  ///< reaches beyond the guard band or is no convex quad: drawn as two triangles
};

/// The quad of a record. Its corners are those of RenderGaussianSplatsVertex, snapped as the rasteriser does; the place
/// in the quad is linear over all of it, from the mean of opposite sides.
SplatQuadKind MakeSplatQuad(const gpu::SplatViewData& record, const gpu::TextureConstants& constants,
                            const zeb::render::cpu::Viewport& viewport, SplatQuad& quad);

}  // namespace nimbrel::cpu
