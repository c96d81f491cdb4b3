#include "Nimbrel/ShapesInfo.h"

#include <cstddef>

#include <fmt/format.h>
#include <glm/common.hpp>

#include "Nimbrel/ShaderConstants.h"
#include "PluginBase/Exception.h"

namespace {

constexpr glm::vec4 kWhite{1.0F, 1.0F, 1.0F, 1.0F};
constexpr glm::vec4 kGrey{0.9F, 0.9F, 0.9F, 0.7F};
/// A softer edge than this has its inner end in the centre.
constexpr float kMaxInnerFeather = 0.999999F;

// Offsets of the switches in "ModelCpp{}".
constexpr std::size_t kShowPivot = 0;
constexpr std::size_t kCropPreview = 48;
constexpr std::size_t kColorPreview = 52;
constexpr std::size_t kOpacityPreview = 56;
constexpr std::size_t kDisplacementPreview = 60;
constexpr std::size_t kScalePreview = 64;
constexpr std::size_t kNoisePreview = 68;

/// A shape with a soft edge.
struct FeatheredShape {
    std::size_t mSwitch;
    std::int32_t mType;
    const glm::vec4& mCenter;
    float mFeather;
    const glm::vec4& mHalfSize;
};

/// The inner end of the soft edge in grey, if the shape has one, then the outer end.
void AddFeathered(ShapesInfo& shapes, const glm::mat4& transform, const FeatheredShape& shape) {
    const glm::vec3 center(shape.mCenter);
    const glm::vec3 halfSize(shape.mHalfSize);
    const glm::vec3 inner = (1.0F - shape.mFeather) * halfSize;
    if (shape.mFeather <= kMaxInnerFeather && (inner.x > 0.0F || inner.y > 0.0F || inner.z > 0.0F))
        shapes.AddShape(shape.mType, {transform, kGrey, center, glm::max(inner, glm::vec3(0.0F))});
    shapes.AddShape(shape.mType, {transform, kWhite, center, halfSize});
}

}  // namespace

ShapesInfo ShapesInfo::Collect(const zeb::PackedParameters& packed, const std::vector<ModelGroup>& models) {
    ShapesInfo shapes;
    for (const ModelGroup& group : models) {
        for (const ModelInstance& instance : group.instances) shapes.AddInstance(packed, instance);
    }
    return shapes;
}

void ShapesInfo::AddShape(std::int32_t type, const ShapeEntry& shape) {
    switch (type) {
        case 0: mSpheres.push_back(shape); break;
        case 1: mBoxes.push_back(shape); break;
        default: ZEB_THROW(zeb::kInternalError, fmt::format("Unknown shape type {}", type));
    }
}

void ShapesInfo::AddInstance(const zeb::PackedParameters& packed, const ModelInstance& instance) {
    const std::string switches = fmt::format("ModelCpp{}", instance.modelIndex);
    const auto isOn = [&](std::size_t offset) { return packed.Read<std::int32_t>(switches, offset) != 0; };
    const auto m = packed.Read<nimbrel::gpu::ModelConstants1>(fmt::format("ModelConstants{}", instance.modelIndex), 0);
    const auto n = packed.Read<nimbrel::gpu::NoiseConstants1>(fmt::format("NoiseConstants{}", instance.modelIndex), 0);
    const glm::mat4& transform = instance.modelMatrix;

    if (isOn(kShowPivot)) mPoints.push_back({transform, kWhite, glm::vec3(0.0F), glm::vec3(0.0F)});
    if (isOn(kCropPreview)) {
        AddShape(m.model_crop_shape_type,
                 {transform, kWhite, glm::vec3(m.model_crop_shape_center), glm::vec3(m.crop_shape_halfSize)});
    }
    // In the order of drawing, which is not that of the switches.
    const FeatheredShape feathered[] = {
        {kColorPreview, m.model_effects_splatColor_shape_type, m.model_effects_splatColor_shape_center,
         m.model_effects_splatColor_shape_feather, m.splatColor_shape_halfSize},
        {kOpacityPreview, m.model_effects_splatOpacity_shape_type, m.model_effects_splatOpacity_shape_center,
         m.model_effects_splatOpacity_shape_feather, m.splatOpacity_shape_halfSize},
        {kScalePreview, m.model_effects_splatScale_shape_type, m.model_effects_splatScale_shape_center,
         m.model_effects_splatScale_shape_feather, m.splatScale_shape_halfSize},
        {kDisplacementPreview, n.displacement_shape_type, n.displacement_shape_center, n.displacement_shape_feather,
         n.displacement_shape_halfSize},
        {kNoisePreview, n.noise_shape_type, n.noise_shape_center, n.noise_shape_feather, n.noise_shape_halfSize},
    };
    for (const FeatheredShape& shape : feathered) {
        if (isOn(shape.mSwitch)) AddFeathered(*this, transform, shape);
    }
}
