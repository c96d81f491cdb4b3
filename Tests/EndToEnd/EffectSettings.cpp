#include "EffectSettings.h"

#include <glm/common.hpp>
#include <glm/trigonometric.hpp>

namespace nimbrel::endtoend {
namespace {

constexpr std::size_t kSamples = gpu::kCurveSamples;
constexpr glm::dvec3 kCenter{80, 45, 0};

host::Json ToJson(const glm::dvec3& v) { return host::Json::array({v.x, v.y, v.z}); }
glm::vec4 ToVec4(const glm::dvec3& v) { return {glm::vec3(v), 0.0F}; }
glm::vec4 FromPercent(const glm::dvec3& v) { return ToVec4(v / 100.0); }
float FromPercent(double value) { return static_cast<float>(value / 100.0); }

void SetAxes(host::Json& settings, const std::string& prefix, const std::string& suffix, const glm::dvec3& values) {
    for (int axis = 0; axis < 3; ++axis) settings[prefix + "xyz"[axis] + suffix] = values[axis];
}

/// Where a shape's constants stand.
struct ShapeConstants {
    std::int32_t& mType;
    glm::vec4& mCenter;
    glm::vec4& mHalfSize;
    float* mFeather;
};

void SetShape(ShotModel& model, const std::string& prefix, const Shape& shape, const ShapeConstants& constants) {
    host::Json& settings = model.mSettings;
    settings[prefix + "_type"] = shape.mBox ? "Box" : "Sphere";
    settings[prefix + "_center"] = ToJson(shape.mCenter);
    settings[prefix + "_size"] = shape.mSize;
    SetAxes(settings, prefix + "_", "Scale", shape.mScale);
    constants.mType = shape.mBox ? 1 : 0;
    constants.mCenter = ToVec4(shape.mCenter);
    constants.mHalfSize = FromPercent(shape.mScale * (shape.mSize / 2.0));
    if (constants.mFeather == nullptr) return;
    settings[prefix + "_feather"] = shape.mFeather;
    *constants.mFeather = FromPercent(shape.mFeather);
}

void SetRamp(ShotModel& model, const std::string& id, gpu::RampRow row, const Line& line) {
    model.mSettings[id] = {{"type", 0}, {"interpolation", 1}, {"keys", {{0.0, line.mInside}, {1.0, line.mOutside}}}};
    std::vector<float>& ramps = model.mEffects.mRamps;
    ramps.resize(gpu::kRampRows * kSamples, 1.0F);
    for (std::size_t i = 0; i < kSamples; ++i) {
        const double t = static_cast<double>(i) / (kSamples - 1);
        ramps[static_cast<std::size_t>(row) * kSamples + i] =
            static_cast<float>(line.mInside + (line.mOutside - line.mInside) * t);
    }
}

}  // namespace

Shape Sphere(double size, double feather) {
    Shape shape;
    shape.mSize = size;
    shape.mFeather = feather;
    return shape;
}

Shape Box(double size, double feather) {
    Shape shape = Sphere(size, feather);
    shape.mBox = true;
    return shape;
}

Shape Uneven(Shape shape) {
    shape.mCenter = {-12, 6, 9};
    shape.mScale = {120, 60, 85};
    return shape;
}

ShotModel MakeEffectModel(int count) {
    ShotModel model;
    model.mFile = GetModelFile(count, 2);
    model.mAlignScale = 3.0;
    model.mPosition = kCenter;
    return model;
}

Shot MakeEffectShot(std::string name) {
    Shot shot;
    shot.mName = std::move(name);
    shot.mWidth = 160;
    shot.mHeight = 90;
    shot.mCamera = ShotCamera{false, 400.0, {190, -30, -380}, kCenter};
    shot.mModels = {MakeEffectModel()};
    return shot;
}

Shot MakeEffectShot(const ShotCase& shotCase) {
    Shot shot = MakeEffectShot(std::string(shotCase.mName));
    for (const Change& change : shotCase.mChanges) change(shot.mModels[0]);
    return shot;
}

Change CropShape(const Shape& shape, bool invert) {
    return [=](ShotModel& model) {
        gpu::ModelConstants1& m = model.mEffects.mModel;
        model.mSettings["crop_shape_enabled"] = true;
        model.mSettings["crop_shape_invert"] = invert;
        m.model_crop_shape_enabled = 1;
        m.model_crop_shape_invert = invert ? 1 : 0;
        SetShape(model, "crop_shape", shape,
                 {m.model_crop_shape_type, m.model_crop_shape_center, m.crop_shape_halfSize, nullptr});
    };
}

Change CropAltitude(double altitude) {
    return [=](ShotModel& model) {
        model.mSettings["crop_yPlane_enabled"] = true;
        model.mSettings["crop_yPlane_altitude"] = altitude;
        model.mEffects.mModel.model_crop_yPlane_enabled = 1;
        model.mEffects.mModel.model_crop_yPlane_altitude = static_cast<float>(altitude);
    };
}

Change Recolor(const Shape& shape, Blending blending, const glm::dvec3& inside, const glm::dvec3& outside,
               const Line& amount) {
    return [=](ShotModel& model) {
        gpu::ModelConstants1& m = model.mEffects.mModel;
        host::Json& settings = model.mSettings;
        settings["effects_splatColor_enabled"] = true;
        settings["effects_splatColor_blending"] = static_cast<int>(blending);
        const auto key = [](double t, const glm::dvec3& color) {
            return host::Json::array({t, {{"color", ToJson(color)}, {"type", 0}}});
        };
        settings["effects_splatColor_gradient"]["keys"] = host::Json::array({key(0.0, inside), key(1.0, outside)});
        m.model_effects_splatColor_enabled = 1;
        m.model_effects_splatColor_blending = static_cast<std::int32_t>(blending);
        model.mEffects.mGradient.resize(kSamples);
        for (std::size_t i = 0; i < kSamples; ++i) {
            const double t = static_cast<double>(i) / (kSamples - 1);
            model.mEffects.mGradient[i] = glm::vec4(glm::vec3(glm::mix(inside, outside, t)), 1.0F);
        }
        SetRamp(model, "effects_splatColor_ramp", gpu::RampRow::ColorAmount, amount);
        SetShape(model, "effects_splatColor_shape", shape,
                 {m.model_effects_splatColor_shape_type, m.model_effects_splatColor_shape_center,
                  m.splatColor_shape_halfSize, &m.model_effects_splatColor_shape_feather});
    };
}

Change Fade(const Shape& shape, double low, double high, const Line& amount) {
    return [=](ShotModel& model) {
        gpu::ModelConstants1& m = model.mEffects.mModel;
        model.mSettings["effects_splatOpacity_enabled"] = true;
        model.mSettings["effects_splatOpacity_minValue"] = low;
        model.mSettings["effects_splatOpacity_maxValue"] = high;
        m.model_effects_splatOpacity_enabled = 1;
        m.model_effects_splatOpacity_minValue = FromPercent(low);
        m.model_effects_splatOpacity_maxValue = FromPercent(high < low ? low : high);
        SetRamp(model, "effects_splatOpacity_ramp", gpu::RampRow::Opacity, amount);
        SetShape(model, "effects_splatOpacity_shape", shape,
                 {m.model_effects_splatOpacity_shape_type, m.model_effects_splatOpacity_shape_center,
                  m.splatOpacity_shape_halfSize, &m.model_effects_splatOpacity_shape_feather});
    };
}

Change Resize(const Shape& shape, double high, const Line& amount) {
    return [=](ShotModel& model) {
        gpu::ModelConstants1& m = model.mEffects.mModel;
        model.mSettings["effects_splatScale_enabled"] = true;
        model.mSettings["effects_splatScale_maxValue"] = high;
        m.model_effects_splatScale_enabled = 1;
        m.model_effects_splatScale_maxValue = FromPercent(high);
        SetRamp(model, "effects_splatScale_ramp", gpu::RampRow::Scale, amount);
        SetShape(model, "effects_splatScale_shape", shape,
                 {m.model_effects_splatScale_shape_type, m.model_effects_splatScale_shape_center,
                  m.splatScale_shape_halfSize, &m.model_effects_splatScale_shape_feather});
    };
}

Change Displace(const Shape& shape, const Displacement& displacement) {
    return [=](ShotModel& model) {
        const std::string prefix = "effects_splatDisplacement_";
        gpu::NoiseConstants1& n = model.mEffects.mNoise;
        host::Json& settings = model.mSettings;
        settings[prefix + "enabled"] = true;
        settings[prefix + "offset"] = ToJson(displacement.mOffset);
        settings[prefix + "scale"] = displacement.mScale;
        settings[prefix + "uniformScale"] = !displacement.mAxisScale.has_value();
        if (displacement.mAxisScale) SetAxes(settings, prefix, "Scale", *displacement.mAxisScale);
        SetAxes(settings, prefix, "Rotation", displacement.mRotation);
        SetRamp(model, prefix + "offsetRamp", gpu::RampRow::DisplacementOffset, displacement.mOffsetAmount);
        SetRamp(model, prefix + "scaleRamp", gpu::RampRow::DisplacementScale, displacement.mScaleAmount);
        SetRamp(model, prefix + "rotationRamp", gpu::RampRow::DisplacementRotation, displacement.mRotationAmount);
        n.displacement_enabled = 1;
        n.displacement_offset = ToVec4(displacement.mOffset);
        n.displacement_scale =
            FromPercent(displacement.mAxisScale.value_or(glm::dvec3(100.0)) * (displacement.mScale / 100.0));
        const glm::vec3 radians(glm::radians(displacement.mRotation));
        n.displacement_xRotation = radians.x;
        n.displacement_yRotation = radians.y;
        n.displacement_zRotation = radians.z;
        SetShape(model, prefix + "shape", shape,
                 {n.displacement_shape_type, n.displacement_shape_center, n.displacement_shape_halfSize,
                  &n.displacement_shape_feather});
    };
}

Change Disturb(const Shape& shape, const Noise& noise) {
    return [=](ShotModel& model) {
        const std::string prefix = "effects_noise_";
        gpu::NoiseConstants1& n = model.mEffects.mNoise;
        host::Json& settings = model.mSettings;
        settings[prefix + "enabled"] = true;
        settings[prefix + "amplitude"] = noise.mAmplitude;
        SetAxes(settings, prefix, "AmplitudeScale", noise.mAmplitudeScale);
        settings[prefix + "settings_offset"] = ToJson(noise.mOffset);
        settings[prefix + "settings_scale"] = noise.mScale;
        SetAxes(settings, prefix + "settings_", "Scale", noise.mAxisScale);
        settings[prefix + "settings_evolution"] = noise.mEvolution;
        settings[prefix + "settings_seed"] = noise.mSeed;
        SetRamp(model, prefix + "ramp", gpu::RampRow::Noise, noise.mAmount);
        n.noise_enabled = 1;
        n.noise_seed = static_cast<float>(noise.mSeed);
        n.noise_amplitude = FromPercent(noise.mAmplitudeScale * noise.mAmplitude);
        n.noise_scale = FromPercent(noise.mAxisScale * (noise.mScale / 100.0));
        n.noise_scale.w = FromPercent(noise.mScale);
        n.noise_settings_offset = ToVec4(noise.mOffset);
        n.noise_settings_evolution = static_cast<float>(noise.mEvolution);
        SetShape(model, prefix + "shape", shape,
                 {n.noise_shape_type, n.noise_shape_center, n.noise_shape_halfSize, &n.noise_shape_feather});
    };
}

Change Show(Preview preview) {
    return [=](ShotModel& model) {
        reference::GizmoSwitches& on = model.mEffects.mGizmos;
        const struct {
            Preview mPreview;
            const char* mId;
            bool& mSwitch;
        } rows[] = {
            {Preview::Pivot, "showPivot", on.mPivot},
            {Preview::Crop, "crop_shape_preview", on.mCrop},
            {Preview::Color, "effects_splatColor_shape_preview", on.mColor},
            {Preview::Opacity, "effects_splatOpacity_shape_preview", on.mOpacity},
            {Preview::Displacement, "effects_splatDisplacement_shape_preview", on.mDisplacement},
            {Preview::Scale, "effects_splatScale_shape_preview", on.mScale},
            {Preview::Noise, "effects_noise_shape_preview", on.mNoise},
        };
        for (const auto& row : rows) {
            if (row.mPreview != preview) continue;
            model.mSettings[row.mId] = true;
            row.mSwitch = true;
        }
    };
}

}  // namespace nimbrel::endtoend
