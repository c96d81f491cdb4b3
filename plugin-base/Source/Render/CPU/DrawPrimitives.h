#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "Render/CPU/Parallel.h"
#include "Render/CPU/Programs.h"
#include "Render/CPU/Rasteriser.h"

/// Vertex stage, primitive assembly and rasterisation of a whole draw from the two stages as callables:
/// `Vertex<N>(vertexNumber, instance)` and a pixel program as Rasteriser.h takes it.
namespace zeb::render::cpu {

namespace detail {

/// Whether culling removes a triangle. Its winding on the screen follows from the clip positions alone, with y up.
inline bool IsCulled(const DrawCall& call, const glm::vec4& a, const glm::vec4& b, const glm::vec4& c) {
    if (call.mCullMode == CullMode::None) return false;
    const float area = a.x * (b.y * c.w - c.y * b.w) - a.y * (b.x * c.w - c.x * b.w) + a.w * (b.x * c.y - c.x * b.y);
    const bool isClockwise = area < 0.0F;
    const bool isFront = isClockwise == (call.mFrontFace != FrontFace::CounterClockwise);
    return isFront == (call.mCullMode == CullMode::Front);
}

template <std::size_t N, class PixelProgram>
void DrawPoint(const RenderPass& pass, const Vertex<N>& vertex, const PixelProgram& program) {
    const glm::vec4& p = vertex.mPosition;
    if (!IsFinite(p) || !CanDivide(p)) return;
    for (int plane = 0; plane < kClipPlanes; ++plane) {
        if (ClipDistance(p, plane) < 0.0F) return;
    }
    const GridPoint point = ToGrid(p, pass.mViewport);
    const std::int64_t x = point.mX >> 8;
    const std::int64_t y = point.mY >> 8;
    const Scissor& scissor = pass.mScissor;
    if (x < scissor.mLeft || x >= scissor.mRight || y < scissor.mTop || y >= scissor.mBottom) return;
    ShadePixel(pass, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), vertex.mAttributes, program);
}

template <std::size_t N, class PixelProgram>
void AssembleTriangle(const DrawCall& call, const RenderPass& pass, const Vertex<N>& a, const Vertex<N>& b,
                      const Vertex<N>& c, const PixelProgram& program) {
    if (IsCulled(call, a.mPosition, b.mPosition, c.mPosition)) return;
    if (call.mFillMode == FillMode::Wireframe) {
        DrawLine(pass, a, b, program);
        DrawLine(pass, b, c, program);
        DrawLine(pass, c, a, program);
    } else {
        DrawTriangle(pass, a, b, c, program);
    }
}

/// Primitives of one instance, in order.
template <std::size_t N, class PixelProgram>
void AssemblePrimitives(const DrawCall& call, const RenderPass& pass, const std::vector<Vertex<N>>& v,
                        const PixelProgram& program) {
    const std::size_t count = v.size();
    switch (call.mTopology) {
        case Topology::PointList:
            for (std::size_t i = 0; i < count; ++i) DrawPoint(pass, v[i], program);
            break;
        case Topology::LineList:
            for (std::size_t i = 0; i + 1 < count; i += 2) DrawLine(pass, v[i], v[i + 1], program);
            break;
        case Topology::LineStrip:
            for (std::size_t i = 0; i + 1 < count; ++i) DrawLine(pass, v[i], v[i + 1], program);
            break;
        case Topology::TriangleStrip:
            // Every other triangle is turned, so that all have the winding of the first.
            for (std::size_t i = 0; i + 2 < count; ++i)
                AssembleTriangle(call, pass, v[i], v[i + 1 + i % 2], v[i + 2 - i % 2], program);
            break;
        default:
            for (std::size_t i = 0; i + 2 < count; i += 3)
                AssembleTriangle(call, pass, v[i], v[i + 1], v[i + 2], program);
            break;
    }
}

}  // namespace detail

/// Runs `body(pass)` for bands of the target's rows, each with its own scissor, on several threads. What it draws
/// must depend on nothing that another band writes.
template <class Body>
void ForEachBand(const RenderPass& pass, const Body& body) {
    constexpr std::uint32_t kLeastRows = 16;
    const std::int32_t height = pass.mScissor.mBottom - pass.mScissor.mTop;
    if (height <= 0 || pass.mScissor.mRight <= pass.mScissor.mLeft) return;
    // No more bands than threads: each goes through all primitives.
    const auto rows = static_cast<std::uint32_t>(height);
    const std::uint32_t bands = std::clamp(rows / kLeastRows, 1U, GetConcurrency());
    ParallelFor(bands, 1, [&](std::uint32_t begin, std::uint32_t end) {
        const auto edge = [&](std::uint32_t band) {
            return pass.mScissor.mTop + static_cast<std::int32_t>(std::uint64_t{rows} * band / bands);
        };
        RenderPass part = pass;
        part.mScissor.mTop = edge(begin);
        part.mScissor.mBottom = edge(end);
        body(part);
    });
}

template <std::size_t N, class VertexProgram, class PixelProgram>
void DrawPrimitives(const DrawCall& call, const VertexProgram& vertexProgram, const PixelProgram& pixelProgram) {
    ForEachBand(call.mPass, [&](const RenderPass& pass) {
        std::vector<Vertex<N>> vertices(call.mCount);
        for (std::uint32_t instance = 0; instance < call.mInstanceCount; ++instance) {
            for (std::uint32_t i = 0; i < call.mCount; ++i)
                vertices[i] = vertexProgram(call.GetVertexNumber(i), call.mFirstInstance + instance);
            detail::AssemblePrimitives(call, pass, vertices, pixelProgram);
        }
    });
}

}  // namespace zeb::render::cpu
