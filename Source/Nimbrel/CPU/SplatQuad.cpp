#include "Nimbrel/CPU/SplatQuad.h"

#include <algorithm>
#include <cmath>

#include <hwy/highway.h>

#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Nimbrel/CPU/SplatPixel-inl.h"
#include "Render/CPU/Rasteriser.h"

namespace nimbrel::cpu {

using namespace zeb::render::cpu;

namespace {

constexpr std::int64_t kFarthest = 1 << 24;

/// Nothing where a clip plane has all corners outside, Triangles where it has some.
SplatQuadKind Clip(const glm::vec4* corners) {
    bool inside = true;
    for (int plane = 0; plane < kClipPlanes; ++plane) {
        int outside = 0;
        for (int i = 0; i < 4; ++i) outside += static_cast<int>(!(ClipDistance(corners[i], plane) >= 0));
        if (outside == 4) return SplatQuadKind::Nothing;
        inside = inside && outside == 0;
    }
    return inside ? SplatQuadKind::Quad : SplatQuadKind::Triangles;
}

std::int64_t Turn(const SplatQuad& quad, int a, int b, int c) {
    const std::int64_t x = quad.mX[a];
    const std::int64_t y = quad.mY[a];
    return (quad.mX[b] - x) * (quad.mY[c] - y) - (quad.mY[b] - y) * (quad.mX[c] - x);
}

/// Puts the grid's corners in outline order, area positive; false if the outline is not strictly convex.
bool SetOutline(const GridPoint* grid, SplatQuad& quad) {
    const std::int64_t area =
        (grid[1].mX - grid[0].mX) * (grid[2].mY - grid[0].mY) - (grid[1].mY - grid[0].mY) * (grid[2].mX - grid[0].mX);
    const int outline[4] = {0, area > 0 ? 1 : 2, 3, area > 0 ? 2 : 1};
    for (int i = 0; i < 4; ++i) {
        quad.mX[i] = static_cast<std::int32_t>(grid[outline[i]].mX);
        quad.mY[i] = static_cast<std::int32_t>(grid[outline[i]].mY);
    }
    for (int i = 0; i < 4; ++i) {
        if (Turn(quad, i, (i + 1) % 4, (i + 2) % 4) <= 0) return false;
    }
    return true;
}

/// The middle, and the inverse of the map from (qx, qy) to the screen; false where that has no numbers.
bool SetPlace(const gpu::SplatViewData& record, const gpu::TextureConstants& constants, const Viewport& viewport,
              SplatQuad& quad) {
    const double halfWidth = 0.5 * static_cast<double>(viewport.mWidth);
    const double halfHeight = -0.5 * static_cast<double>(viewport.mHeight);
    const double w = record.pos.w;
    const double x = record.pos.x / w * halfWidth + (viewport.mX + halfWidth);
    const double y = record.pos.y / w * halfHeight + (viewport.mY - halfHeight);
    quad.mMiddleX = static_cast<std::int32_t>(std::lrint(x * kSplatSteps));
    quad.mMiddleY = static_cast<std::int32_t>(std::lrint(y * kSplatSteps));

    const double scaleX = 2.0 * halfWidth / constants._ScreenParams.x;
    const double scaleY = 2.0 * halfHeight / constants._ScreenParams.y;
    const double ux = record.axis1.x * scaleX;
    const double uy = record.axis1.y * scaleY;
    const double vx = record.axis2.x * scaleX;
    const double vy = record.axis2.y * scaleY;
    const double scale = 1.0 / kSplatSteps / (ux * vy - uy * vx);
    quad.mAlongX = {static_cast<float>(vy * scale), static_cast<float>(-uy * scale)};
    quad.mAlongY = {static_cast<float>(-vx * scale), static_cast<float>(ux * scale)};
    return std::isfinite(quad.mAlongX.x) && std::isfinite(quad.mAlongX.y) && std::isfinite(quad.mAlongY.x) &&
           std::isfinite(quad.mAlongY.y);
}

}  // namespace

glm::vec2 SplatQuad::At(float fromMiddleX, float fromMiddleY) const {
    const auto place =
        HWY_NAMESPACE::FindPlaceInQuad(fromMiddleX, fromMiddleY, mAlongX.x, mAlongX.y, mAlongY.x, mAlongY.y);
    return {place.x, place.y};
}

bool SplatQuad::Covers(std::int32_t x, std::int32_t y) const {
    for (int corner = 0; corner < 4; ++corner) {
        const int next = (corner + 1) & 3;
        const std::int64_t dx = mX[next] - mX[corner];
        const std::int64_t dy = mY[next] - mY[corner];
        const std::int64_t side =
            dx * (256 * std::int64_t{y} + 128 - mY[corner]) - dy * (256 * std::int64_t{x} + 128 - mX[corner]);
        // On an edge: inside if that is a top edge, which runs to the right, or a left one, which runs up.
        const bool holdsEdge = (dy == 0 && dx > 0) || dy < 0;
        if (side < 0 || (side == 0 && !holdsEdge)) return false;
    }
    return true;
}

SplatQuadKind MakeSplatQuad(const gpu::SplatViewData& record, const gpu::TextureConstants& constants,
                            const Viewport& viewport, SplatQuad& quad) {
    if (!CanDivide(record.pos) || !(record.pos.z >= 0.0F) || !(record.pos.w - record.pos.z >= 0.0F)) {
        return SplatQuadKind::Nothing;
    }
    glm::vec4 corners[4];
    bool finite[4];
    for (std::uint32_t corner = 0; corner < 4; ++corner) {
        corners[corner] = FindCorner(record, corner, constants);
        finite[corner] = IsFinite(corners[corner]);
    }
    if (!finite[1] || !finite[2]) return SplatQuadKind::Nothing;  // corners of both triangles
    if (!finite[0] || !finite[3]) return SplatQuadKind::Triangles;
    const SplatQuadKind kind = Clip(corners);
    if (kind != SplatQuadKind::Quad) return kind;

    GridPoint grid[4];
    for (int i = 0; i < 4; ++i) {
        grid[i] = ToGrid(corners[i], viewport);
        if (std::abs(grid[i].mX) > kFarthest || std::abs(grid[i].mY) > kFarthest) return SplatQuadKind::Triangles;
    }
    if (!SetOutline(grid, quad) || !SetPlace(record, constants, viewport, quad)) return SplatQuadKind::Triangles;
    quad.mColor = UnpackColor(record);
    return SplatQuadKind::Quad;
}

}  // namespace nimbrel::cpu
