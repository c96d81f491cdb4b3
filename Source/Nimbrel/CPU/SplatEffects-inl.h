// Effects inside shapes with a soft edge, all in aligned model space. Distance is 1 on a shape's edge; the feathered
// distance g runs from 0 inside to 1 outside and is where curves are looked up. Included once for each vector target,
// behind Highway's headers.
#if defined(NIMBREL_SPLAT_EFFECTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NIMBREL_SPLAT_EFFECTS_INL_H
#undef NIMBREL_SPLAT_EFFECTS_INL_H
#else
#define NIMBREL_SPLAT_EFFECTS_INL_H
#endif

#include <hwy/highway.h>

#include "Nimbrel/CPU/Curves.h"
#include "Nimbrel/CPU/Lanes-inl.h"
#include "Nimbrel/CPU/Noise-inl.h"
#include "Nimbrel/CPU/Sine-inl.h"
#include "Nimbrel/ShaderConstants.h"

HWY_BEFORE_NAMESPACE();
namespace nimbrel::cpu {
namespace HWY_NAMESPACE {

/// `type`: 0 sphere, 1 box; every point is at distance 0 of any other.
template <class N>
HWY_INLINE N ShapeDistance(std::int32_t type, Vec3<N> point, const glm::vec4& center, const glm::vec4& halfSize) {
    const N x = Abs(point.x - N(center.x)) / N(halfSize.x);
    const N y = Abs(point.y - N(center.y)) / N(halfSize.y);
    const N z = Abs(point.z - N(center.z)) / N(halfSize.z);
    if (type == 0) return Sqrt(y * y + x * x + z * z);
    if (type == 1) return Max(Max(x, y), z);
    return N(0.0F);
}

/// g of a distance. The soft band lies inside the shape, over its outer `feather` part.
template <class N>
HWY_INLINE N Feather(N distance, float feather) {
    const float sign = Sign(feather);
    const float squared = sign * sign;
    const float offset = feather - 1.0F;
    const N u = Saturate((N(offset) + distance) * N(squared / (offset + squared)));
    return (N(1.0F) - u) * Select(distance < N(1.0F), N(0.0F), N(1.0F)) + u;
}

/// A curve's channel at g. Linear weights have full float precision; GPUs round them to 1/256 at the coarsest.
template <class N>
HWY_INLINE N SampleCurve(const CurveRow& row, N g, int channel = 0) {
    if (row.GetWidth() == 0.0F) return N(0.0F);
    const N x = g * N(row.GetWidth()) - N(0.5F);
    const N left = Floor(x);
    const float last = row.GetWidth() - 1.0F;
    const N channels(static_cast<float>(row.GetChannels()));
    const N low = Clamp(left, 0.0F, last) * channels;
    const N high = Clamp(left + N(1.0F), 0.0F, last) * channels;
    const auto blend = [&](const float* texels) HWY_ATTR {
        return LerpInDouble(Gather(texels + channel, low), Gather(texels + channel, high), x - left);
    };
    const N upper = blend(row.GetUpper());
    return row.GetShare() == 0.0F ? upper : LerpInDouble(upper, blend(row.GetLower()), N(row.GetShare()));
}

/// The splats that the crop shape removes, by aligned position.
template <class N>
HWY_INLINE MaskOf<N> IsCroppedByShape(const gpu::ModelConstants1& model, Vec3<N> aligned) {
    if (model.model_crop_shape_enabled != 1) return Everywhere<N>(false);
    const MaskOf<N> inside = ShapeDistance(model.model_crop_shape_type, aligned, model.model_crop_shape_center,
                                           model.crop_shape_halfSize) < N(1.0F);
    if (model.model_crop_shape_invert == 1) return inside;
    return model.model_crop_shape_invert == 0 ? Not(inside) : Everywhere<N>(false);
}

/// Rotation about x, then y, then z, by half angles in radians.
template <class N>
HWY_INLINE Vec3<N> Rotate(N halfX, N halfY, N halfZ, Vec3<N> v) {
    const N sx = Sine(halfX);
    const N cx = Cosine(halfX);
    const N sy = Sine(halfY);
    const N cy = Cosine(halfY);
    const N sz = Sine(halfZ);
    const N cz = Cosine(halfZ);
    const N a = -(sy * sz);
    const N b = cz * sy;
    const N c = sz * cy;
    const N w = cz * cy;
    const Vec3<N> vector{w * sx + cx * a, b * cx + c * sx, c * cx - b * sx};
    const N scalar = w * cx - a * sx;
    const Vec3<N> p = Cross(vector, v) * N(2.0F);
    return v + p * scalar + Cross(vector, p);
}

/// Displacement: scaled and rotated about the shape's centre, then moved, each by its own curve.
template <class N>
HWY_INLINE Vec3<N> Displace(const gpu::NoiseConstants1& c, const InstanceCurves& curves, Vec3<N> aligned) {
    const N g = Feather(
        ShapeDistance(c.displacement_shape_type, aligned, c.displacement_shape_center, c.displacement_shape_halfSize),
        c.displacement_shape_feather);
    const N turn = SampleCurve(curves.Get(gpu::RampRow::DisplacementRotation), g);
    const N grow = SampleCurve(curves.Get(gpu::RampRow::DisplacementScale), g);
    const N move = SampleCurve(curves.Get(gpu::RampRow::DisplacementOffset), g);
    const Vec3<N> center = Broadcast<N>(c.displacement_shape_center);
    const Vec3<N> one = Fill<N>(1.0F);
    const Vec3<N> scale = (Broadcast<N>(c.displacement_scale) - one) * grow + one;
    const Vec3<N> rotated =
        Rotate(N(c.displacement_xRotation) * turn * N(0.5F), N(c.displacement_yRotation) * turn * N(0.5F),
               N(c.displacement_zRotation) * turn * N(0.5F), scale * (aligned - center));
    return center + rotated + Broadcast<N>(c.displacement_offset) * move;
}

/// Below this share of the noise none is computed.
constexpr float kLeastNoise = 9.99999975e-05F;

/// Noise: an offset along each axis, faded by its curve.
template <class N>
HWY_INLINE Vec3<N> AddNoise(const gpu::NoiseConstants1& c, const InstanceCurves& curves, NoiseCells<N>& cells,
                            Vec3<N> displaced) {
    const N distance = ShapeDistance(c.noise_shape_type, displaced, c.noise_shape_center, c.noise_shape_halfSize);
    const N amount = SampleCurve(curves.Get(gpu::RampRow::Noise), Feather(distance, c.noise_shape_feather));
    const MaskOf<N> muted = amount < N(kLeastNoise);
    if (AllTrue(muted)) return displaced;

    const float seed = (c.noise_seed + 11.0F) * 123987.0F;
    const glm::vec4 scale = c.noise_scale * 100.0F;
    const glm::vec4& offset = c.noise_settings_offset;
    const N places[3] = {displaced.x, displaced.y, displaced.z};
    Vec4<N> plain{{N(0.0F), N(0.0F), N(0.0F), N((offset.w + c.noise_settings_evolution) / scale.w)}};
    for (int axis = 0; axis < 3; ++axis) plain.mValues[axis] = (N(offset[axis]) + places[axis]) / N(scale[axis]);
    // The seed on a different axis each time gives three offsets that have nothing to do with each other.
    N noise[3];
    for (int axis = 0; axis < 3; ++axis) {
        Vec4<N> point = plain;
        point.mValues[axis] = ((N(seed) + places[axis]) + N(offset[axis])) / N(scale[axis]);
        noise[axis] = Noise4(cells, point);
    }
    const Vec3<N> moved = displaced + Vec3<N>{noise[0], noise[1], noise[2]} * amount * Broadcast<N>(c.noise_amplitude);
    return Select(muted, displaced, moved);
}

/// An aligned position after those of the two effects that are on. Distances and view data both use it, so that the
/// order of splats follows the places they are drawn at.
template <class N>
HWY_INLINE Vec3<N> EffectPosition(const gpu::NoiseConstants1& constants, const InstanceCurves& curves,
                                  NoiseCells<N>& cells, Vec3<N> aligned) {
    Vec3<N> position = aligned;
    if (constants.displacement_enabled != 0) position = Displace(constants, curves, position);
    if (constants.noise_enabled != 0) position = AddNoise(constants, curves, cells, position);
    return position;
}

/// Factors and colours at effect position `effect`. Each gives the neutral value while its effect is off.
template <class N>
HWY_INLINE N ScaleFactor(const gpu::ModelConstants1& model, const InstanceCurves& curves, Vec3<N> effect) {
    if (model.model_effects_splatScale_enabled != 1) return N(1.0F);
    const N distance = ShapeDistance(model.model_effects_splatScale_shape_type, effect,
                                     model.model_effects_splatScale_shape_center, model.splatScale_shape_halfSize);
    const N g = Feather(distance, model.model_effects_splatScale_shape_feather);
    return N(model.model_effects_splatScale_maxValue) * SampleCurve(curves.Get(gpu::RampRow::Scale), g);
}

template <class N>
HWY_INLINE N OpacityFactor(const gpu::ModelConstants1& model, const InstanceCurves& curves, Vec3<N> effect) {
    if (model.model_effects_splatOpacity_enabled != 1) return N(1.0F);
    const N distance = ShapeDistance(model.model_effects_splatOpacity_shape_type, effect,
                                     model.model_effects_splatOpacity_shape_center, model.splatOpacity_shape_halfSize);
    const N g = Feather(distance, model.model_effects_splatOpacity_shape_feather);
    const float low = model.model_effects_splatOpacity_minValue;
    const float high = model.model_effects_splatOpacity_maxValue;
    return N(low) + N(high - low) * SampleCurve(curves.Get(gpu::RampRow::Opacity), g);
}

/// Blending modes: 0 normal, 1 add, 2 multiply; any other is taken as normal.
template <class N>
HWY_INLINE Vec3<N> BlendedColor(const gpu::ModelConstants1& model, const InstanceCurves& curves, Vec3<N> effect,
                                Vec3<N> color) {
    if (model.model_effects_splatColor_enabled != 1) return color;
    const N distance = ShapeDistance(model.model_effects_splatColor_shape_type, effect,
                                     model.model_effects_splatColor_shape_center, model.splatColor_shape_halfSize);
    const N g = Feather(distance, model.model_effects_splatColor_shape_feather);
    const Vec3<N> gradient{SampleCurve(curves.mGradient, g, 0), SampleCurve(curves.mGradient, g, 1),
                           SampleCurve(curves.mGradient, g, 2)};
    const N amount = SampleCurve(curves.Get(gpu::RampRow::ColorAmount), g);
    Vec3<N> blended = gradient;
    if (model.model_effects_splatColor_blending == 1) blended = gradient + color;
    if (model.model_effects_splatColor_blending == 2) blended = gradient * color;
    return color + (blended - color) * amount;
}

}  // namespace HWY_NAMESPACE
}  // namespace nimbrel::cpu
HWY_AFTER_NAMESPACE();

#endif
