#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>

#include "GpuHarness.h"
#include "Render/CPU/HalfConversion.h"
#include "SplatModel.h"

// Per-splat effects one by one, splat by splat: the device against the C++
// twin, and the two kernels that move splats against each other.
namespace nimbrel::test {
namespace {

using Format = zeb::render::Format;

/// What an effect may change in a splat's record.
enum Part : unsigned { kPlace = 1, kAxes = 2, kColor = 4, kOpacity = 8, kPresence = 16 };

struct Setting {
    std::int32_t mType;
    float mFeather;
};

struct Effect {
    const char* mName;
    unsigned mParts;
    std::function<void(SplatModel&, const Setting&)> mSet;
};

constexpr glm::vec4 kCenter{-20, 15, 40, 0};
constexpr glm::vec4 kHalfSize{350, 250, 300, 0};

void SetDisplacement(SplatModel& model, const Setting& setting) {
    gpu::NoiseConstants1& n = model.mNoise;
    n.displacement_enabled = 1;
    n.displacement_scale = {1, 1, 1, 0};
    n.displacement_shape_type = setting.mType;
    n.displacement_shape_center = kCenter;
    n.displacement_shape_halfSize = kHalfSize;
    n.displacement_shape_feather = setting.mFeather;
}

void SetNoise(SplatModel& model, const Setting& setting, float seed) {
    gpu::NoiseConstants1& n = model.mNoise;
    n.noise_enabled = 1;
    n.noise_seed = seed;
    n.noise_amplitude = {20, 10, 15, 0};
    n.noise_scale = {8, 10, 9, 8};
    n.noise_settings_offset = {40, -50, 60, 0};
    n.noise_settings_evolution = 370;
    n.noise_shape_type = setting.mType;
    n.noise_shape_center = kCenter;
    n.noise_shape_halfSize = kHalfSize;
    n.noise_shape_feather = setting.mFeather;
}

void SetColor(SplatModel& model, const Setting& setting, std::int32_t blending) {
    gpu::ModelConstants1& m = model.mModel;
    m.model_effects_splatColor_enabled = 1;
    m.model_effects_splatColor_blending = blending;
    m.model_effects_splatColor_shape_type = setting.mType;
    m.model_effects_splatColor_shape_center = kCenter;
    m.splatColor_shape_halfSize = kHalfSize;
    m.model_effects_splatColor_shape_feather = setting.mFeather;
}

void SetCrop(SplatModel& model, const Setting& setting, std::int32_t invert) {
    gpu::ModelConstants1& m = model.mModel;
    m.model_crop_shape_enabled = 1;
    m.model_crop_shape_invert = invert;
    m.model_crop_shape_type = setting.mType;
    m.model_crop_shape_center = kCenter;
    m.crop_shape_halfSize = kHalfSize;
}

const Effect kEffects[] = {
    {"crop", kPresence, [](SplatModel& m, const Setting& s) { SetCrop(m, s, 0); }},
    {"inverted crop", kPresence, [](SplatModel& m, const Setting& s) { SetCrop(m, s, 1); }},
    {"plane", kPresence,
     [](SplatModel& m, const Setting&) {
         m.mModel.model_crop_yPlane_enabled = 1;
         m.mModel.model_crop_yPlane_altitude = 25;
     }},
    {"normal colour", kColor, [](SplatModel& m, const Setting& s) { SetColor(m, s, 0); }},
    {"added colour", kColor, [](SplatModel& m, const Setting& s) { SetColor(m, s, 1); }},
    {"multiplied colour", kColor, [](SplatModel& m, const Setting& s) { SetColor(m, s, 2); }},
    {"opacity", kOpacity,
     [](SplatModel& model, const Setting& setting) {
         gpu::ModelConstants1& m = model.mModel;
         m.model_effects_splatOpacity_enabled = 1;
         m.model_effects_splatOpacity_minValue = 0.2F;
         m.model_effects_splatOpacity_maxValue = 2.5F;  // beyond opaque
         m.model_effects_splatOpacity_shape_type = setting.mType;
         m.model_effects_splatOpacity_shape_center = kCenter;
         m.splatOpacity_shape_halfSize = kHalfSize;
         m.model_effects_splatOpacity_shape_feather = setting.mFeather;
     }},
    {"scale", kAxes,
     [](SplatModel& model, const Setting& setting) {
         gpu::ModelConstants1& m = model.mModel;
         m.model_effects_splatScale_enabled = 1;
         m.model_effects_splatScale_maxValue = 1.5F;
         m.model_effects_splatScale_shape_type = setting.mType;
         m.model_effects_splatScale_shape_center = kCenter;
         m.splatScale_shape_halfSize = kHalfSize;
         m.model_effects_splatScale_shape_feather = setting.mFeather;
     }},
    {"offset", kPlace,
     [](SplatModel& m, const Setting& s) {
         SetDisplacement(m, s);
         m.mNoise.displacement_offset = {30, -20, 12, 0};
     }},
    {"scaled place", kPlace,
     [](SplatModel& m, const Setting& s) {
         SetDisplacement(m, s);
         m.mNoise.displacement_scale = {1.4F, 0.6F, 1.1F, 0};
     }},
    {"turn about x", kPlace,
     [](SplatModel& m, const Setting& s) {
         SetDisplacement(m, s);
         m.mNoise.displacement_xRotation = 0.7F;
     }},
    {"turn about y", kPlace,
     [](SplatModel& m, const Setting& s) {
         SetDisplacement(m, s);
         m.mNoise.displacement_yRotation = -1.1F;
     }},
    {"turn about z", kPlace,
     [](SplatModel& m, const Setting& s) {
         SetDisplacement(m, s);
         m.mNoise.displacement_zRotation = 2.2F;
     }},
    {"noise", kPlace, [](SplatModel& m, const Setting& s) { SetNoise(m, s, -11); }},  // a seed that adds 0
    {"noise of a seed", kPlace, [](SplatModel& m, const Setting& s) { SetNoise(m, s, 7); }},
};

SplatModel MakeEffectModel(std::uint32_t seed) {
    SplatModel model = MakeModel(1500, {1, 2, 3, Format::RGBA16Float}, seed);
    model.mView._DrawingIndex = 1;
    model.mDistances._CalcDistancesInstanceIndex = 1;
    // Colours then do not follow the direction of view, which the place has a
    // part in.
    model.mView._SHOrder = 0;
    return model;
}

/// Largest difference of a part's components, relative to values above `unit`.
struct Difference {
    float mLargest = 0;

    void Add(float a, float b, float unit) {
        if (std::isnan(a) && std::isnan(b)) return;
        const float difference = a == b ? 0.0F : std::abs(a - b) / std::max({std::abs(a), std::abs(b), unit});
        mLargest = std::isnan(difference) ? INFINITY : std::max(mLargest, difference);
    }
};

float Half(const gpu::SplatViewData& record, int word, int shift) {
    return zeb::render::cpu::HalfToFloat(static_cast<std::uint16_t>(record.color[word] >> shift));
}

float Differ(const gpu::SplatViewData& a, const gpu::SplatViewData& b, Part part) {
    Difference difference;
    switch (part) {
        case kPlace:
            for (int i = 0; i < 4; ++i) difference.Add(a.pos[i], b.pos[i], 100.0F);
            break;
        case kAxes:
            for (int i = 0; i < 2; ++i) {
                difference.Add(a.axis1[i], b.axis1[i], 10.0F);
                difference.Add(a.axis2[i], b.axis2[i], 10.0F);
            }
            break;
        case kColor:
            difference.Add(Half(a, 0, 16), Half(b, 0, 16), 1.0F);
            difference.Add(Half(a, 0, 0), Half(b, 0, 0), 1.0F);
            difference.Add(Half(a, 1, 16), Half(b, 1, 16), 1.0F);
            break;
        case kOpacity: difference.Add(Half(a, 1, 0), Half(b, 1, 0), 1.0F); break;
        case kPresence: difference.Add((a.pos.w > 0) ? 1.0F : 0.0F, (b.pos.w > 0) ? 1.0F : 0.0F, 1.0F); break;
    }
    return difference.mLargest;
}

constexpr Part kParts[] = {kPlace, kAxes, kColor, kOpacity, kPresence};

/// What an effect's curve makes of the few bits with which hardware filters
/// textures; nothing else may differ in a bit, and in software not even this.
float ToleranceOf(Part part) {
    if (GetDevice().GetName().find("llvmpipe") != std::string::npos) return 0;
    return part == kAxes ? 5e-3F : 2e-3F;
}

TEST(EffectKernels, EachEffectChangesItsPartAsTheTwinDoes) {
    const SplatModel plain = MakeEffectModel(41);
    const KernelResults still = RunOnDevice(plain);
    for (const Effect& effect : kEffects) {
        for (const Setting& setting :
             {Setting{0, 0.0F}, {0, 0.5F}, {0, 1.0F}, {1, 0.0F}, {1, 0.5F}, {1, 1.0F}, {2, 0.5F}}) {
            SCOPED_TRACE(std::string(effect.mName) + ", type " + std::to_string(setting.mType) + ", feather " +
                         std::to_string(setting.mFeather));
            SplatModel model = plain;
            effect.mSet(model, setting);
            const KernelResults device = RunOnDevice(model);
            const KernelResults twin = RunOnProcessor(model);
            std::size_t changed = 0;
            std::size_t wrong = 0;
            for (std::uint32_t i = 0; i < model.mCount; ++i) {
                const gpu::SplatViewData& record = device.mViewData[i];
                const bool isCropped = (effect.mParts & kPresence) != 0 && record.pos.w == 0.0F;
                for (const Part part : kParts) {
                    if (Differ(record, twin.mViewData[i], part) > ((effect.mParts & part) != 0 ? ToleranceOf(part) : 0))
                        ++wrong;
                    const float change = Differ(record, still.mViewData[i], part);
                    if ((effect.mParts & part) != 0) {
                        changed += change > 0.01F ? 1 : 0;
                        // What is behind the camera, before or after, has a place alone.
                    } else if (change != 0.0F && !isCropped && record.pos.w > 0.0F && still.mViewData[i].pos.w > 0.0F) {
                        ADD_FAILURE() << "splat " << i << " changed in part " << part;
                        return;
                    }
                }
                if ((effect.mParts & kPlace) == 0) {
                    EXPECT_EQ(device.mKeys[i], still.mKeys[i]) << "order of splat " << i;
                }
            }
            // A shape of another type is everywhere, and its curve's left end.
            if (setting.mType < 2) {
                EXPECT_GT(changed, 30U);
            }
            EXPECT_EQ(wrong, 0U);
        }
    }
}

// The order and the picture must see one place, bit for bit, whatever the
// device makes of curves.
TEST(EffectKernels, BothKernelsPlaceSplatsAtTheSameBits) {
    SplatModel model = MakeEffectModel(42);
    model.mView._CameraType = 1;  // nothing is cut
    model.mView._MatrixTransform = glm::mat4(1.0F);
    model.mView._MatrixVP = glm::mat4(1.0F);
    const std::function<void()> cases[] = {
        [&] {
            SetDisplacement(model, {1, 0.6F}), model.mNoise.displacement_zRotation = 1.3F;
        },
        [&] {
            SetNoise(model, {0, 0.5F}, 3);
        },
        [&] {
            model.mNoise.displacement_xRotation = 0.4F;
            model.mNoise.displacement_yRotation = -2.0F;
            model.mNoise.displacement_scale = {1.4F, 0.6F, 1.1F, 0};
            model.mNoise.noise_seed = 99;
        },
    };
    for (const auto& set : cases) {
        set();
        for (int axis = 0; axis < 3; ++axis) {
            // The key's third row picks the component.
            glm::mat4 pick(0.0F);
            pick[axis][2] = 1.0F;
            model.mDistances._CalcDistancesMatrixVP = pick;
            const KernelResults device = RunOnDevice(model);
            for (std::uint32_t i = 0; i < model.mCount; ++i) {
                const std::uint32_t key = device.mKeys[i];
                const float depth = std::bit_cast<float>((key & 0x80000000U) != 0 ? key ^ 0x80000000U : ~key);
                const float place = device.mViewData[i].pos[axis] + 0.0F;
                ASSERT_EQ(std::bit_cast<std::uint32_t>(depth + 0.0F), std::bit_cast<std::uint32_t>(place))
                    << "splat " << i << ", axis " << axis;
            }
        }
    }
}

TEST(EffectKernels, FlagsCountAsTheyAreDeclared) {
    // 1 alone turns crops, colour, opacity and size on; anything but 0 what moves
    // splats.
    const SplatModel plain = MakeEffectModel(43);
    const KernelResults still = RunOnDevice(plain);
    for (const Effect& effect : kEffects) {
        SplatModel model = plain;
        effect.mSet(model, {0, 0.5F});
        for (std::int32_t* flag :
             {&model.mModel.model_crop_shape_enabled, &model.mModel.model_crop_yPlane_enabled,
              &model.mModel.model_effects_splatColor_enabled, &model.mModel.model_effects_splatOpacity_enabled,
              &model.mModel.model_effects_splatScale_enabled, &model.mNoise.displacement_enabled,
              &model.mNoise.noise_enabled})
            *flag *= 2;
        const KernelResults device = RunOnDevice(model);
        std::size_t changed = 0;
        for (std::uint32_t i = 0; i < model.mCount; ++i) changed += device.mKeys[i] != still.mKeys[i] ? 1 : 0;
        const bool moves = effect.mParts == kPlace;
        EXPECT_EQ(changed > 0, moves) << effect.mName;
        if (moves) continue;
        const Bytes records = ToBytes(device.mViewData);
        EXPECT_EQ(records, ToBytes(still.mViewData)) << effect.mName;
    }
}

TEST(EffectKernels, FormWithoutEffectsGivesTheSameBits) {
    for (const std::uint32_t seed : {45U, 46U, 47U, 48U}) {
        SplatModel model = MakeEffectModel(seed);
        // All effects are set up, but off.
        for (const Effect& effect : kEffects) effect.mSet(model, {1, 0.5F});
        model.mModel.model_crop_shape_enabled = model.mModel.model_crop_yPlane_enabled = 2;
        model.mModel.model_effects_splatColor_enabled = 0;
        model.mModel.model_effects_splatOpacity_enabled = 0;
        model.mModel.model_effects_splatScale_enabled = -1;
        model.mNoise.displacement_enabled = model.mNoise.noise_enabled = 0;
        model.mView._SHOrder = seed % 4;
        model.mView._CameraType = seed == 46 ? 1 : 0;
        model.mView._DrawZDepth = seed == 47 ? 1 : 0;
        model.mView._SplatScale = 1.25F;
        const KernelResults full = RunOnDevice(model);
        const KernelResults without = RunOnDevice(model, ".NoEffects");
        EXPECT_EQ(without.mKeys, full.mKeys);
        const Bytes records = ToBytes(without.mViewData);
        EXPECT_EQ(records, ToBytes(full.mViewData)) << seed;
    }
}

TEST(EffectKernels, MutedNoiseMovesNothing) {
    const SplatModel plain = MakeEffectModel(44);
    const KernelResults still = RunOnDevice(plain);
    // Below the bound there is no noise at all; at it, the tiny step is on.
    for (const float amount : {0.0F, 9.9999e-05F, 9.99999975e-05F}) {
        SplatModel model = plain;
        SetNoise(model, {0, 0.5F}, -11);
        model.mNoise.noise_amplitude = {1e5F, 1e5F, 1e5F, 0};
        model.mRamps.assign(model.mRamps.size(), amount);
        const KernelResults device = RunOnDevice(model);
        EXPECT_EQ(device.mKeys == still.mKeys, amount < 9.99999975e-05F) << amount;
    }
}

}  // namespace
}  // namespace nimbrel::test
