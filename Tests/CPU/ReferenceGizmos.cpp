#include "ReferenceGizmos.h"

#include <algorithm>
#include <vector>

#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

#include "Nimbrel/CPU/Gizmos.h"

namespace nimbrel::reference {
namespace {

using namespace zeb::render;
namespace raster = zeb::render::cpu;
using gpu::ShapeInfo;

constexpr std::uint32_t kCircleSegments = 99;
constexpr std::uint32_t kGridCells = 10;

struct Shapes {
    std::vector<ShapeInfo> mPoints;
    std::vector<ShapeInfo> mSpheres;
    std::vector<ShapeInfo> mBoxes;

    void Add(std::int32_t type, const ShapeInfo& shape) { (type == 0 ? mSpheres : mBoxes).push_back(shape); }
};

ShapeInfo MakeShape(const glm::mat4& transform, const glm::vec4& color, const glm::vec4& center,
                    const glm::vec4& halfSize) {
    return {transform, color, glm::vec3(center), glm::vec3(halfSize), 0.0F};
}

/// The inner edge of the soft band in grey, where there is one, and the outer edge in white.
void AddFeathered(Shapes& shapes, const glm::mat4& transform, std::int32_t type, const glm::vec4& center, float feather,
                  const glm::vec4& halfSize) {
    const glm::vec3 inner = (1.0F - feather) * glm::vec3(halfSize);
    if (feather <= 0.999999F && (inner.x > 0.0F || inner.y > 0.0F || inner.z > 0.0F)) {
        const glm::vec4 clamped(std::max(inner.x, 0.0F), std::max(inner.y, 0.0F), std::max(inner.z, 0.0F), 0.0F);
        shapes.Add(type, MakeShape(transform, {0.9F, 0.9F, 0.9F, 0.7F}, center, clamped));
    }
    shapes.Add(type, MakeShape(transform, glm::vec4(1.0F), center, halfSize));
}

void Collect(const Instance& instance, Shapes& shapes) {
    const gpu::ModelConstants1& m = instance.mModel;
    const gpu::NoiseConstants1& n = instance.mNoise;
    const GizmoSwitches& on = instance.mGizmos;
    const glm::mat4& matrix = instance.mModelMatrix;
    if (on.mPivot) shapes.mPoints.push_back(MakeShape(matrix, glm::vec4(1.0F), glm::vec4(0.0F), glm::vec4(0.0F)));
    if (on.mCrop) {
        shapes.Add(m.model_crop_shape_type,
                   MakeShape(matrix, glm::vec4(1.0F), m.model_crop_shape_center, m.crop_shape_halfSize));
    }
    const struct {
        bool mOn;
        std::int32_t mType;
        const glm::vec4& mCenter;
        float mFeather;
        const glm::vec4& mHalfSize;
    } feathered[] = {
        {on.mColor, m.model_effects_splatColor_shape_type, m.model_effects_splatColor_shape_center,
         m.model_effects_splatColor_shape_feather, m.splatColor_shape_halfSize},
        {on.mOpacity, m.model_effects_splatOpacity_shape_type, m.model_effects_splatOpacity_shape_center,
         m.model_effects_splatOpacity_shape_feather, m.splatOpacity_shape_halfSize},
        {on.mScale, m.model_effects_splatScale_shape_type, m.model_effects_splatScale_shape_center,
         m.model_effects_splatScale_shape_feather, m.splatScale_shape_halfSize},
        {on.mDisplacement, n.displacement_shape_type, n.displacement_shape_center, n.displacement_shape_feather,
         n.displacement_shape_halfSize},
        {on.mNoise, n.noise_shape_type, n.noise_shape_center, n.noise_shape_feather, n.noise_shape_halfSize},
    };
    for (const auto& shape : feathered) {
        if (shape.mOn) AddFeathered(shapes, matrix, shape.mType, shape.mCenter, shape.mFeather, shape.mHalfSize);
    }
}

/// Length in model space of about 100 pixels at the shape's depth: half an arm of its cross.
float CrossRadius(const ShapeInfo& shape, const glm::mat4& viewProjection, float width) {
    const glm::vec4 clip = viewProjection * (shape.transform * glm::vec4(shape.center, 1.0F));
    const glm::vec4 moved(clip.x + clip.w * 100.0F / width, clip.y, clip.z, clip.w + 1.0F);
    const glm::vec4 back = glm::inverse(shape.transform) * (glm::inverse(viewProjection) * moved);
    return glm::length(shape.center - glm::vec3(back));
}

/// Instances of `vertices` vertices each, every `step`-th starting a line to its successor.
void DrawLines(const raster::RenderPass& pass, const gpu::VertexShaderConstants& constants,
               const std::vector<ShapeInfo>& shapes, cpu::GizmoVertexProgram program, std::uint32_t vertices,
               std::uint32_t step, std::size_t instances) {
    for (std::uint32_t instance = 0; instance < instances; ++instance) {
        for (std::uint32_t vertex = 0; vertex + 1 < vertices; vertex += step) {
            raster::DrawLine(pass, program(constants, shapes, vertex, instance),
                             program(constants, shapes, vertex + 1, instance), cpu::GizmoPixel);
        }
    }
}

}  // namespace

void DrawGizmos(const Frame& frame, raster::Image& target) {
    Shapes shapes;
    for (const Model& model : frame.mModels) {
        for (const Instance& instance : model.mInstances) Collect(instance, shapes);
    }
    const gpu::VertexShaderConstants constants{frame.mProjection * frame.mCamera, kCircleSegments, kGridCells,
                                               kGridCells};
    for (auto* list : {&shapes.mPoints, &shapes.mSpheres, &shapes.mBoxes}) {
        for (ShapeInfo& shape : *list) {
            shape.crossRadius = CrossRadius(shape, constants.viewProjection, static_cast<float>(frame.mWidth));
        }
    }
    const raster::RenderPass pass = raster::MakeRenderPass(target, frame.mWidth, frame.mHeight);
    for (const auto* list : {&shapes.mPoints, &shapes.mSpheres, &shapes.mBoxes}) {
        DrawLines(pass, constants, *list, cpu::CrossGizmoVertex, 2, 1, 3 * list->size());
    }
    DrawLines(pass, constants, shapes.mSpheres, cpu::SphereGizmoVertex, kCircleSegments + 1, 1,
              3 * shapes.mSpheres.size());
    DrawLines(pass, constants, shapes.mBoxes, cpu::BoxGizmoVertex, 24, 2, shapes.mBoxes.size());
}

}  // namespace nimbrel::reference
