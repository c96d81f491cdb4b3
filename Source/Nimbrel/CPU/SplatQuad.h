#pragma once

#include <cstdint>

#include <glm/vec2.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/PrimitiveSetup.h"

/// A splat's quad on the pixel grid: what the scalar and the fast draw share, so that both give the same bits.
namespace nimbrel::cpu {

/// Places in quads count in 1/16384 pixel, about the last digit of a float corner on a screen 1024 pixels wide.
inline constexpr std::int32_t kSplatSteps = 1 << 14;

struct SplatQuad {
    /// The convex outline, in 1/256 pixel, in the order in which its area is positive; at most 2^24 each.
    std::int32_t mX[4];
    std::int32_t mY[4];
    std::int32_t mMiddleX;  ///< in kSplatSteps
    std::int32_t mMiddleY;
    /// Change of the place in the quad (qx, qy) by one step along x and along y.
    glm::vec2 mAlongX;
    glm::vec2 mAlongY;
    glm::vec4 mColor;  ///< red, green, blue, opacity

    /// Steps of a pixel's centre from the middle of the quad.
    float FromMiddleX(std::int32_t x) const { return FromMiddle(x, mMiddleX); }
    float FromMiddleY(std::int32_t y) const { return FromMiddle(y, mMiddleY); }

    /// The place in the quad, -2 to 2 in units of the axes.
    glm::vec2 At(float fromMiddleX, float fromMiddleY) const;

    /// Whether a pixel's centre lies in the outline, by the top-left rule.
    bool Covers(std::int32_t x, std::int32_t y) const;

private:
    static float FromMiddle(std::int32_t pixel, std::int32_t middle) {
        return static_cast<float>(kSplatSteps * pixel + kSplatSteps / 2 - middle);
    }
};

enum class SplatQuadKind {
    Nothing,  ///< covers no pixel
    Quad,
    Triangles  ///< reaches beyond the guard band or is no convex quad: drawn as two triangles
};

/// The quad of a record. Its outline has the corners of RenderGaussianSplatsVertex, snapped as the rasteriser does. The
/// place in the quad is that of the unrounded middle and axes, as devices interpolate that set up attributes in floats:
/// from snapped corners a small splat would be off by what shows in several layers of bytes.
SplatQuadKind MakeSplatQuad(const gpu::SplatViewData& record, const gpu::TextureConstants& constants,
                            const zeb::render::cpu::Viewport& viewport, SplatQuad& quad);

}  // namespace nimbrel::cpu
