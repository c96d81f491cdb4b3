#include "Nimbrel/CPU/Gizmos.h"

#include <cmath>

#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {

using namespace zeb::render::cpu;

namespace {

/// Tints of what belongs to the axes x, y and z, and the alpha of these lines.
constexpr float kTints[3][3] = {{1.0F, 0.4F, 0.4F}, {0.4F, 1.0F, 0.4F}, {0.4F, 0.4F, 1.0F}};
constexpr float kAxisAlpha = 0.7F;

constexpr signed char kBoxEdges[24][3] = {
    {-1, -1, -1}, {1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {1, 1, -1}, {-1, 1, -1}, {-1, 1, -1}, {-1, -1, -1},
    {-1, -1, 1},  {1, -1, 1},  {1, -1, 1},  {1, 1, 1},  {1, 1, 1},  {-1, 1, 1},  {-1, 1, 1},  {-1, -1, 1},
    {-1, -1, -1}, {-1, -1, 1}, {1, -1, -1}, {1, -1, 1}, {1, 1, -1}, {1, 1, 1},   {-1, 1, -1}, {-1, 1, 1}};

GizmoVertex Project(const gpu::VertexShaderConstants& constants, const gpu::ShapeInfo& shape, const glm::vec3& point,
                    const glm::vec4& color) {
    const glm::vec4 world = Multiply(shape.transform, glm::vec4(point, 1.0F));
    return {Multiply(constants.viewProjection, world), {color.x, color.y, color.z, color.w}};
}

glm::vec4 AxisColor(const glm::vec4& color, std::uint32_t axis) {
    const float* tint = kTints[axis];
    return {tint[0] * color.x, tint[1] * color.y, tint[2] * color.z, color.w * kAxisAlpha};
}

}  // namespace

GizmoVertex RenderCubeVertex(const glm::mat4& modelViewProjection, const glm::vec4& position, const glm::vec4& color) {
    return {Multiply(modelViewProjection, position), {color.x, color.y, color.z, color.w}};
}

GizmoVertex SphereGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                              std::uint32_t vertex, std::uint32_t instance) {
    const gpu::ShapeInfo& shape = shapes[instance / 3];
    const std::uint32_t ring = instance % 3;
    const float angle = static_cast<float>(vertex) * 6.28318548F / static_cast<float>(constants.circleDotsCount);
    const float cosine = std::cos(angle);
    const float sine = std::sin(angle);
    const glm::vec3& c = shape.center;
    const glm::vec3& h = shape.halfSize;
    glm::vec3 point = c;
    if (ring == 0) point = {c.x, cosine * h.y + c.y, sine * h.z + c.z};
    if (ring == 1) point = {cosine * h.x + c.x, c.y, sine * h.z + c.z};
    if (ring == 2) point = {cosine * h.x + c.x, sine * h.y + c.y, c.z};
    return Project(constants, shape, point, AxisColor(shape.color, ring));
}

GizmoVertex BoxGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                           std::uint32_t vertex, std::uint32_t instance) {
    const gpu::ShapeInfo& shape = shapes[instance];
    const signed char* corner = kBoxEdges[vertex % 24];
    const glm::vec3 point = glm::vec3(corner[0], corner[1], corner[2]) * shape.halfSize + shape.center;
    const glm::vec3 world = TransformPoint(shape.transform, point);
    const glm::vec4& color = shape.color;
    return {Multiply(constants.viewProjection, glm::vec4(world, 1.0F)), {color.x, color.y, color.z, color.w}};
}

GizmoVertex CrossGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                             std::uint32_t vertex, std::uint32_t instance) {
    const gpu::ShapeInfo& shape = shapes[instance / 3];
    const std::uint32_t axis = instance % 3;
    glm::vec3 point = shape.center;
    point[static_cast<int>(axis)] += shape.crossRadius * (2.0F * static_cast<float>(vertex) - 1.0F);
    return Project(constants, shape, point, AxisColor(shape.color, axis));
}

GizmoVertex YGridGizmoVertex(const gpu::VertexShaderConstants& constants, std::span<const gpu::ShapeInfo> shapes,
                             std::uint32_t vertex, std::uint32_t instance) {
    const gpu::ShapeInfo& shape = shapes[instance];
    const std::uint32_t cellsX = constants.gridCellsX;
    const std::uint32_t cellsZ = constants.gridCellsZ;
    const std::uint32_t line = vertex >> 1U;
    const auto end = static_cast<float>(vertex & 1U);
    const float stepX = shape.halfSize.x * 2.0F / static_cast<float>(cellsX);
    const float stepZ = shape.halfSize.z * 2.0F / static_cast<float>(cellsZ);
    float x = 0.0F;
    float z = 0.0F;
    if (vertex < (cellsX + 1) * 2) {
        x = static_cast<float>(line % (cellsX + 1)) * stepX;
        z = stepZ * end * static_cast<float>(cellsZ);
    } else {
        // The line number runs on from the first family, so this one begins in its middle if the counts differ.
        x = stepX * end * static_cast<float>(cellsX);
        z = static_cast<float>(line % (cellsZ + 1)) * stepZ;
    }
    const glm::vec3 point(shape.center.x + (x - shape.halfSize.x), shape.center.y,
                          (z - shape.halfSize.z) + shape.center.z);
    return Project(constants, shape, point, shape.color);
}

bool GizmoPixel(const std::array<float, 4>& attributes, glm::vec4& color) {
    color = {attributes[0], attributes[1], attributes[2], attributes[3]};
    return true;
}

}  // namespace nimbrel::cpu
