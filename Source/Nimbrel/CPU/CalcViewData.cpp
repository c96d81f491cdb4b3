#include "Nimbrel/CPU/CalcViewData.h"

#include <algorithm>
#include <cmath>

#include "Nimbrel/CPU/EffectPosition.h"
#include "Nimbrel/CPU/SphericalHarmonics.h"
#include "Nimbrel/CPU/SplatShape.h"
#include "Render/CPU/Arithmetic.h"
#include "Render/CPU/HalfConversion.h"

namespace nimbrel::cpu {
namespace {

using namespace zeb::render::cpu;

/// Keeps opacities inside the range of a half.
constexpr float kGreatestOpacity = 65000.0F;

/// Unit direction from the splat to the camera, in the asset's axes.
glm::vec3 ViewDirection(const gpu::CalcViewDataConstants& constants, const glm::vec3& world) {
    const glm::vec4 toCamera(glm::vec3(constants._VecWorldSpaceCameraPos) - world, 0.0F);
    const auto component = [&](int row) {
        const glm::mat4& matrix = constants._MatrixWorldToObject;
        return matrix[0][row] * toCamera.x + matrix[1][row] * toCamera.y + matrix[2][row] * toCamera.z;
    };
    const glm::vec3 direction(component(0), component(1), component(2));
    return direction * (1.0F / std::sqrt(Dot(direction, direction)));
}

/// Colour before opacity: harmonics, colour effect, depth.
glm::vec3 SplatColor(const CalcViewDataInputs& inputs, const Splat& splat, const glm::vec3& effect,
                     const glm::vec3& world) {
    const gpu::CalcViewDataConstants& constants = inputs.mConstants;
    // An orthographic camera has no view direction; there only the constant term counts.
    const bool perspective = constants._CameraType == 0;
    const glm::vec3 direction = perspective ? ViewDirection(constants, world) : glm::vec3(0.0F);
    const std::int32_t order = perspective ? static_cast<std::int32_t>(constants._SHOrder) : 0;
    const glm::vec3 harmonics = EvaluateSH(splat.mColor, splat.mSH, direction, order);
    const glm::vec3 color = BlendedColor(inputs.mModel, inputs.mCurves, constants._DrawingIndex, effect, harmonics);
    if (constants._DrawZDepth != 1) return color;
    const float depth = Dot(Row(constants._MatrixCamera, 2), glm::vec4(world, 1.0F));
    const float range = constants._ZDepthFar - constants._ZDepthNear;
    return glm::vec3(Saturate(1.0F - (depth - constants._ZDepthNear) / range));
}

std::uint32_t PackHalves(float high, float low) {
    return (static_cast<std::uint32_t>(FloatToHalf(high)) << 16) | FloatToHalf(low);
}

}  // namespace

gpu::SplatViewData CalcSplatViewData(const CalcViewDataInputs& inputs, std::uint32_t index) {
    const gpu::CalcViewDataConstants& constants = inputs.mConstants;
    const std::uint32_t instance = constants._DrawingIndex;
    gpu::SplatViewData record{};

    const Splat splat = DecodeSplat(inputs.mBlocks, index);
    const glm::vec3 aligned = TransformPoint(constants._MatrixAlign, splat.mPosition);
    if (IsCroppedByShape(inputs.mModel, aligned)) return record;

    const glm::vec3 effect = EffectPosition(inputs.mNoise, inputs.mCurves, instance, aligned);
    const glm::vec3 world = TransformPoint(constants._MatrixTransform, effect);
    const glm::vec4 clip = Multiply(constants._MatrixVP, glm::vec4(world, 1.0F));
    const float size = ScaleFactor(inputs.mModel, inputs.mCurves, instance, effect) * constants._SplatScale;
    if (clip.w <= 0.0F && constants._CameraType != 1) {
        record.pos = clip;
        return record;
    }

    const SplatAxes axes = MakeSplatAxes(splat.mRotation, splat.mScale);
    if (inputs.mModel.model_crop_yPlane_enabled == 1) {
        const float highest = HighestCorner(constants._MatrixAlign, splat.mPosition, axes);
        if (!(highest < inputs.mModel.model_crop_yPlane_altitude)) return record;
    }

    const Covariance3 covariance = MakeCovariance(axes, size);
    const ScreenAxes screen = MakeScreenAxes(ProjectCovariance(constants, splat.mPosition, covariance));
    const glm::vec3 color = SplatColor(inputs, splat, effect, world);
    const float opacity = Min(
        constants._SplatOpacityScale * splat.mOpacity * OpacityFactor(inputs.mModel, inputs.mCurves, instance, effect),
        kGreatestOpacity);
    record.pos = clip;
    record.axis1 = screen.mMajor;
    record.axis2 = screen.mMinor;
    record.color[0] = PackHalves(color.x, color.y);
    record.color[1] = PackHalves(color.z, opacity);
    return record;
}

void CalcViewData(const CalcViewDataInputs& inputs, std::uint32_t begin, std::uint32_t end,
                  std::span<gpu::SplatViewData> records) {
    const std::uint32_t last = std::min(end, inputs.mConstants._SplatCount);
    for (std::uint32_t i = begin; i < last && i < records.size(); ++i) records[i] = CalcSplatViewData(inputs, i);
}

}  // namespace nimbrel::cpu
