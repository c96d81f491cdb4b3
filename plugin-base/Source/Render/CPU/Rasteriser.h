#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include <glm/vec4.hpp>

#include "Render/CPU/Blending.h"
#include "Render/CPU/Image.h"
#include "Render/CPU/PrimitiveSetup.h"

/// From vertices in clip space to blended pixels, by Direct3D's rules: depth clip 0 <= z <= w, y up,
/// top-left rule, perspective-correct attributes, no depth test. A pixel program is a callable
/// `bool(const std::array<float, N>& attributes, glm::vec4& color)`; false discards the fragment.
/// Primitives with a position that is not finite are dropped. Draw order is call order. Two threads may draw the
/// same primitives at once if their scissors do not overlap.
namespace zeb::render::cpu {

/// What a vertex stage puts out: clip position and the attributes that are interpolated.
template <std::size_t N>
struct Vertex {
    glm::vec4 mPosition{0.0F};
    std::array<float, N> mAttributes{};
};

struct RenderPass {
    Image* mTarget = nullptr;
    Viewport mViewport;
    Scissor mScissor;  ///< must lie inside the target
    BlendState mBlend;
};

inline constexpr int kClipPlanes = 6;

/// Distance from a clip plane, not negative inside: depth first, then the guard band.
inline float ClipDistance(const glm::vec4& p, int plane) {
    switch (plane) {
        case 0: return p.z;
        case 1: return p.w - p.z;
        case 2: return kGuardBand * p.w + p.x;
        case 3: return kGuardBand * p.w - p.x;
        case 4: return kGuardBand * p.w + p.y;
        default: return kGuardBand * p.w - p.y;
    }
}

/// Whether 1 / w is a positive number.
inline bool CanDivide(const glm::vec4& p) { return p.w >= std::numeric_limits<float>::min(); }

inline bool IsFinite(const glm::vec4& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z) && std::isfinite(p.w);
}

/// Runs the pixel program for a pixel and blends what it gives.
template <std::size_t N, class PixelProgram>
void ShadePixel(const RenderPass& pass, std::uint32_t x, std::uint32_t y, const std::array<float, N>& attributes,
                const PixelProgram& program) {
    glm::vec4 color(0.0F);
    if (!program(attributes, color)) return;
    Image& target = *pass.mTarget;
    target.Store(x, y, Blend(pass.mBlend, target.GetFormat(), color, target.Load(x, y)));
}

namespace detail {

template <std::size_t N>
Vertex<N> Interpolate(const Vertex<N>& a, const Vertex<N>& b, float t) {
    Vertex<N> result;
    result.mPosition = a.mPosition + (b.mPosition - a.mPosition) * t;
    for (std::size_t i = 0; i < N; ++i) {
        result.mAttributes[i] = Lerp(a.mAttributes[i], b.mAttributes[i], t);
    }
    return result;
}

/// A convex polygon; each plane adds one corner to a triangle's three at most.
template <std::size_t N>
struct Polygon {
    std::array<Vertex<N>, 3 + kClipPlanes> mVertices;
    std::size_t mCount = 0;

    void Add(const Vertex<N>& vertex) {
        if (mCount < mVertices.size()) mVertices[mCount++] = vertex;
    }
};

template <std::size_t N>
Polygon<N> ClipAtPlane(const Polygon<N>& polygon, int plane) {
    Polygon<N> result;
    for (std::size_t i = 0; i < polygon.mCount; ++i) {
        const Vertex<N>& from = polygon.mVertices[i];
        const Vertex<N>& to = polygon.mVertices[(i + 1) % polygon.mCount];
        const float d0 = ClipDistance(from.mPosition, plane);
        const float d1 = ClipDistance(to.mPosition, plane);
        if (d0 >= 0.0F) result.Add(from);
        // Always from the inner end, so that neighbours that share an edge cut it at the same point.
        if (d0 >= 0.0F && d1 < 0.0F) result.Add(Interpolate(from, to, d0 / (d0 - d1)));
        if (d0 < 0.0F && d1 >= 0.0F) result.Add(Interpolate(to, from, d1 / (d1 - d0)));
    }
    return result;
}

template <std::size_t N, class PixelProgram>
void FillTriangle(const RenderPass& pass, const Vertex<N>& a, const Vertex<N>& b, const Vertex<N>& c,
                  const PixelProgram& program) {
    const GridPoint gridA = ToGrid(a.mPosition, pass.mViewport);
    const GridPoint gridB = ToGrid(b.mPosition, pass.mViewport);
    const GridPoint gridC = ToGrid(c.mPosition, pass.mViewport);
    const TriangleSetup setup(gridA, gridB, gridC, pass.mScissor);
    if (setup.IsEmpty()) return;
    const bool perspective = gridA.mInverseW != gridB.mInverseW || gridA.mInverseW != gridC.mInverseW;
    std::array<float, N> attributes;
    for (std::int32_t y = setup.Top(); y < setup.Bottom(); ++y) {
        std::int32_t begin = 0;
        std::int32_t end = 0;
        setup.GetSpan(y, begin, end);
        for (std::int32_t x = begin; x < end; ++x) {
            float weightB = 0.0F;
            float weightC = 0.0F;
            setup.GetWeights(x, y, weightB, weightC);
            if (perspective) {
                const float shareA = (1.0F - weightB - weightC) * gridA.mInverseW;
                const float shareB = weightB * gridB.mInverseW;
                const float shareC = weightC * gridC.mInverseW;
                const float sum = shareA + shareB + shareC;
                weightB = shareB / sum;
                weightC = shareC / sum;
            }
            for (std::size_t i = 0; i < N; ++i) {
                const float base = a.mAttributes[i];
                attributes[i] = base + weightB * (b.mAttributes[i] - base) + weightC * (c.mAttributes[i] - base);
            }
            ShadePixel(pass, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), attributes, program);
        }
    }
}

}  // namespace detail

/// Clips, fills and blends one triangle; either winding is drawn.
template <std::size_t N, class PixelProgram>
void DrawTriangle(const RenderPass& pass, const Vertex<N>& a, const Vertex<N>& b, const Vertex<N>& c,
                  const PixelProgram& program) {
    if (!IsFinite(a.mPosition) || !IsFinite(b.mPosition) || !IsFinite(c.mPosition)) return;
    bool inside = CanDivide(a.mPosition) && CanDivide(b.mPosition) && CanDivide(c.mPosition);
    for (int plane = 0; plane < kClipPlanes; ++plane) {
        const bool insideA = ClipDistance(a.mPosition, plane) >= 0.0F;
        const bool insideB = ClipDistance(b.mPosition, plane) >= 0.0F;
        const bool insideC = ClipDistance(c.mPosition, plane) >= 0.0F;
        if (!insideA && !insideB && !insideC) return;
        inside = inside && insideA && insideB && insideC;
    }
    if (inside) {
        detail::FillTriangle(pass, a, b, c, program);
        return;
    }
    detail::Polygon<N> polygon;
    polygon.Add(a);
    polygon.Add(b);
    polygon.Add(c);
    for (int plane = 0; plane < kClipPlanes && polygon.mCount > 0; ++plane) {
        polygon = detail::ClipAtPlane(polygon, plane);
    }
    for (std::size_t i = 0; i < polygon.mCount; ++i) {
        if (!CanDivide(polygon.mVertices[i].mPosition)) return;
    }
    for (std::size_t i = 2; i < polygon.mCount; ++i) {
        detail::FillTriangle(pass, polygon.mVertices[0], polygon.mVertices[i - 1], polygon.mVertices[i], program);
    }
}

/// Clips and draws one aliased line, one pixel wide, without its last pixel.
template <std::size_t N, class PixelProgram>
void DrawLine(const RenderPass& pass, const Vertex<N>& a, const Vertex<N>& b, const PixelProgram& program) {
    if (!IsFinite(a.mPosition) || !IsFinite(b.mPosition)) return;
    float from = 0.0F;
    float to = 1.0F;
    for (int plane = 0; plane < kClipPlanes; ++plane) {
        const float d0 = ClipDistance(a.mPosition, plane);
        const float d1 = ClipDistance(b.mPosition, plane);
        if (d0 < 0.0F && d1 < 0.0F) return;
        if (d0 < 0.0F) from = Max(from, d0 / (d0 - d1));
        if (d1 < 0.0F) to = Min(to, d0 / (d0 - d1));
    }
    if (!(from < to)) return;
    const Vertex<N> first = from > 0.0F ? detail::Interpolate(a, b, from) : a;
    const Vertex<N> last = to < 1.0F ? detail::Interpolate(a, b, to) : b;
    if (!CanDivide(first.mPosition) || !CanDivide(last.mPosition)) return;

    const GridPoint gridA = ToGrid(first.mPosition, pass.mViewport);
    const GridPoint gridB = ToGrid(last.mPosition, pass.mViewport);
    const LineSetup setup(gridA, gridB);
    const Scissor& scissor = pass.mScissor;
    std::array<float, N> attributes;
    for (std::int64_t step = 0; step < setup.GetCount(); ++step) {
        std::int64_t x = 0;
        std::int64_t y = 0;
        float t = 0.0F;
        setup.GetPixel(step, x, y, t);
        if (x < scissor.mLeft || x >= scissor.mRight || y < scissor.mTop || y >= scissor.mBottom) continue;
        if (gridA.mInverseW != gridB.mInverseW) {
            const float shareB = t * gridB.mInverseW;
            t = shareB / ((1.0F - t) * gridA.mInverseW + shareB);
        }
        for (std::size_t i = 0; i < N; ++i) {
            attributes[i] = Lerp(first.mAttributes[i], last.mAttributes[i], t);
        }
        ShadePixel(pass, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), attributes, program);
    }
}

/// A pass over the origin's `width` x `height` pixels of a target, viewport and scissor alike.
inline RenderPass MakeRenderPass(Image& target, std::uint32_t width, std::uint32_t height,
                                 const BlendState& blend = {}) {
    RenderPass pass;
    pass.mTarget = &target;
    pass.mViewport = {0.0F, 0.0F, static_cast<float>(width), static_cast<float>(height)};
    pass.mScissor = {0, 0, static_cast<std::int32_t>(width < target.GetWidth() ? width : target.GetWidth()),
                     static_cast<std::int32_t>(height < target.GetHeight() ? height : target.GetHeight())};
    pass.mBlend = blend;
    return pass;
}

}  // namespace zeb::render::cpu
