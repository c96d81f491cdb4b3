#pragma once

#include <array>
#include <cstdint>
#include <span>

#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "Render/CPU/Rasteriser.h"

/// Vertex stages of the overlay programs; their attributes are the colour, which the one pixel stage passes through.
namespace nimbrel::cpu {

using GizmoVertex = zeb::render::cpu::Vertex<4>;
using GizmoVertexProgram = GizmoVertex (*)(const gpu::VertexShaderConstants& constants,
                                           std::span<const gpu::ShapeInfo> shapes, std::uint32_t vertex,
                                           std::uint32_t instance);

/// "RenderCube".
GizmoVertex RenderCubeVertex(const glm::mat4& modelViewProjection, const glm::vec4& position, const glm::vec4& color);

/// "RenderSphereGizmo": instance 3n + k is ring k of shape n, across axis k.
GizmoVertex SphereGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                              std::uint32_t vertex, std::uint32_t instance);
/// "RenderBoxGizmo": 24 vertices, the ends of 12 edges.
GizmoVertex BoxGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                           std::uint32_t vertex, std::uint32_t instance);
/// "RenderCrossGizmo": instance 3n + k is the arm of shape n along axis k.
GizmoVertex CrossGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                             std::uint32_t vertex, std::uint32_t instance);
/// "RenderYGridGizmo": lines along z, then lines along x, at the height of the shape's centre.
GizmoVertex YGridGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                             std::uint32_t vertex, std::uint32_t instance);

/// The pixel stage of all five.
bool GizmoPixel(const std::array<float, 4>& attributes, glm::vec4& color);

}  // namespace nimbrel::cpu
