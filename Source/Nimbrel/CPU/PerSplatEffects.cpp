#include "Nimbrel/CPU/PerSplatEffects.h"

#include <cmath>

#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/Sampling.h"

namespace nimbrel::cpu {
namespace {

using namespace zeb::render::cpu;

constexpr std::int32_t kSphere = 0;
constexpr std::int32_t kBox = 1;
constexpr std::int32_t kAdd = 1;
constexpr std::int32_t kMultiply = 2;

}  // namespace

float ShapeDistance(std::int32_t type, const glm::vec3& point, const glm::vec3& center, const glm::vec3& halfSize) {
    const glm::vec3 d(std::abs(point.x - center.x) / halfSize.x, std::abs(point.y - center.y) / halfSize.y,
                      std::abs(point.z - center.z) / halfSize.z);
    if (type == kSphere) return std::sqrt(d.y * d.y + d.x * d.x + d.z * d.z);
    if (type == kBox) return Max(Max(d.x, d.y), d.z);
    return 0.0F;
}

float Feather(float distance, float feather) {
    const float sign = Sign(feather);
    const float squared = sign * sign;
    const float offset = feather - 1.0F;
    const float u = Saturate((offset + distance) * (squared / (offset + squared)));
    return (1.0F - u) * (distance < 1.0F ? 0.0F : 1.0F) + u;
}

float SampleRamp(const CurveTextures& curves, std::uint32_t instance, gpu::RampRow row, float g) {
    const std::uint32_t line = gpu::kRampRows * instance + static_cast<std::uint32_t>(row);
    const float v = (static_cast<float>(line) + 0.5F) / static_cast<float>(curves.mRamps.mHeight);
    return Sample(curves.mRamps, kLinearClampSampler, g, v).x;
}

bool IsCroppedByShape(const gpu::ModelConstants1& model, const glm::vec3& aligned) {
    if (model.model_crop_shape_enabled != 1) return false;
    const float distance = ShapeDistance(model.model_crop_shape_type, aligned, glm::vec3(model.model_crop_shape_center),
                                         glm::vec3(model.crop_shape_halfSize));
    const std::int32_t inside = distance < 1.0F ? 1 : 0;
    return inside == model.model_crop_shape_invert;
}

float ScaleFactor(const gpu::ModelConstants1& model, const CurveTextures& curves, std::uint32_t instance,
                  const glm::vec3& effect) {
    if (model.model_effects_splatScale_enabled != 1) return 1.0F;
    const float distance = ShapeDistance(model.model_effects_splatScale_shape_type, effect,
                                         glm::vec3(model.model_effects_splatScale_shape_center),
                                         glm::vec3(model.splatScale_shape_halfSize));
    const float g = Feather(distance, model.model_effects_splatScale_shape_feather);
    return model.model_effects_splatScale_maxValue * SampleRamp(curves, instance, gpu::RampRow::Scale, g);
}

float OpacityFactor(const gpu::ModelConstants1& model, const CurveTextures& curves, std::uint32_t instance,
                    const glm::vec3& effect) {
    if (model.model_effects_splatOpacity_enabled != 1) return 1.0F;
    const float distance = ShapeDistance(model.model_effects_splatOpacity_shape_type, effect,
                                         glm::vec3(model.model_effects_splatOpacity_shape_center),
                                         glm::vec3(model.splatOpacity_shape_halfSize));
    const float g = Feather(distance, model.model_effects_splatOpacity_shape_feather);
    const float low = model.model_effects_splatOpacity_minValue;
    const float high = model.model_effects_splatOpacity_maxValue;
    return low + (high - low) * SampleRamp(curves, instance, gpu::RampRow::Opacity, g);
}

glm::vec3 BlendedColor(const gpu::ModelConstants1& model, const CurveTextures& curves, std::uint32_t instance,
                       const glm::vec3& effect, const glm::vec3& color) {
    if (model.model_effects_splatColor_enabled != 1) return color;
    const float distance = ShapeDistance(model.model_effects_splatColor_shape_type, effect,
                                         glm::vec3(model.model_effects_splatColor_shape_center),
                                         glm::vec3(model.splatColor_shape_halfSize));
    const float g = Feather(distance, model.model_effects_splatColor_shape_feather);
    const float v = (static_cast<float>(instance) + 0.5F) / static_cast<float>(curves.mGradients.mHeight);
    const glm::vec3 gradient(Sample(curves.mGradients, kLinearClampSampler, g, v));
    const float amount = SampleRamp(curves, instance, gpu::RampRow::ColorAmount, g);
    glm::vec3 blended = gradient;
    if (model.model_effects_splatColor_blending == kAdd) blended = gradient + color;
    if (model.model_effects_splatColor_blending == kMultiply) blended = gradient * color;
    return color + (blended - color) * amount;
}

}  // namespace nimbrel::cpu
