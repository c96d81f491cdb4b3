// All effects of a splat at once against the same chain in double precision: which settings each reads, where it looks
// at the splat, and in which order they act.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include <gtest/gtest.h>
#include <glm/gtc/matrix_transform.hpp>

#include "SplatScene.h"

namespace nimbrel::cpu {
namespace {

constexpr std::uint32_t kInstance = 1;  // of two, whose rows come first
constexpr double kHalfTexel = 0.5 / 1024.0;

struct Shape {
    std::int32_t mType;
    glm::dvec3 mCenter, mHalfSize;
    double mFeather;

    double Distance(const glm::dvec3& place) const {
        const glm::dvec3 d = glm::abs(place - mCenter) / mHalfSize;
        return mType == 0 ? glm::length(d) : std::max({d.x, d.y, d.z});
    }
    /// Where curves are read: from 0 inside to 1 at the edge and beyond. Filtering holds the ends' middles.
    double Position(const glm::dvec3& place) const {
        const double t = Distance(place);
        const double g = t >= 1.0 ? 1.0 : mFeather > 0.0 ? (t - 1.0 + mFeather) / mFeather : 0.0;
        return std::clamp(g, kHalfTexel, 1.0 - kHalfTexel);
    }
    /// So near a hard edge that rounding decides on the side.
    bool IsTie(const glm::dvec3& place) const { return std::abs(Distance(place) - 1.0) < 1e-3; }
};

/// What a splat should become, or nothing.
struct Expected {
    bool mShown, mTie;
    glm::dvec3 mWorld, mColor;
    double mOpacity, mSize;
};

class EffectChain : public ::testing::Test {
protected:
    static constexpr double kAlign = 1.5;
    const glm::dvec3 mLift{3.0, -2.0, 1.0}, mTransform{100.0, 200.0, 300.0};  // of align and transform
    const glm::dvec3 mSplatScale{1.0, 2.0, 1.0}, mSplatColor{0.25, 0.5, 0.75};

    double Random(double low, double high) { return std::uniform_real_distribution<double>(low, high)(mRandom); }
    std::int32_t Pick(std::int32_t last) { return std::uniform_int_distribution<std::int32_t>(0, last)(mRandom); }
    glm::vec4 RandomVector(double low, double high) {
        return {Random(low, high), Random(low, high), Random(low, high), 0.0};
    }
    Shape SetShape(std::int32_t& type, glm::vec4& center, glm::vec4& halfSize, float* feather) {
        type = Pick(1);
        center = RandomVector(-5, 5);
        halfSize = RandomVector(4, 12);
        if (feather != nullptr) *feather = Pick(2) == 0 ? 0.0F : static_cast<float>(Random(0.2, 1.0));
        return {type, glm::dvec3(center), glm::dvec3(halfSize), feather != nullptr ? *feather : 0.0};
    }
    double Curve(gpu::RampRow row, double g) const {
        return mFrom[static_cast<std::size_t>(row)] + mBy[static_cast<std::size_t>(row)] * g;
    }

    /// Settings of every effect anew, a third of them off, and curves that run straight.
    void Randomise() {
        gpu::ModelConstants1& m = mModel = {};
        gpu::NoiseConstants1& n = mNoise = {};
        // 1 alone is on for what keeps splats in place; anything but 0 for what moves them.
        for (std::int32_t* flag :
             {&m.model_crop_shape_enabled, &m.model_crop_yPlane_enabled, &m.model_effects_splatColor_enabled,
              &m.model_effects_splatOpacity_enabled, &m.model_effects_splatScale_enabled})
            *flag = Pick(3) == 0 ? 2 : Pick(3) != 0 ? 1 : 0;
        n.displacement_enabled = Pick(2) * 3;
        n.noise_enabled = Pick(2) * 5;
        mCrop = SetShape(m.model_crop_shape_type, m.model_crop_shape_center, m.crop_shape_halfSize, nullptr);
        mColor = SetShape(m.model_effects_splatColor_shape_type, m.model_effects_splatColor_shape_center,
                          m.splatColor_shape_halfSize, &m.model_effects_splatColor_shape_feather);
        mOpacity = SetShape(m.model_effects_splatOpacity_shape_type, m.model_effects_splatOpacity_shape_center,
                            m.splatOpacity_shape_halfSize, &m.model_effects_splatOpacity_shape_feather);
        mScale = SetShape(m.model_effects_splatScale_shape_type, m.model_effects_splatScale_shape_center,
                          m.splatScale_shape_halfSize, &m.model_effects_splatScale_shape_feather);
        mMove = SetShape(n.displacement_shape_type, n.displacement_shape_center, n.displacement_shape_halfSize,
                         &n.displacement_shape_feather);
        mWave = SetShape(n.noise_shape_type, n.noise_shape_center, n.noise_shape_halfSize, &n.noise_shape_feather);
        m.model_crop_shape_invert = Pick(1);
        m.model_crop_yPlane_altitude = static_cast<float>(Random(0, 15));
        m.model_effects_splatColor_blending = Pick(2);
        m.model_effects_splatOpacity_minValue = static_cast<float>(Random(0, 1));
        m.model_effects_splatOpacity_maxValue = static_cast<float>(Random(1, 3));
        m.model_effects_splatScale_maxValue = static_cast<float>(Random(1, 3));
        n.displacement_offset = RandomVector(-3, 3);
        n.displacement_scale = RandomVector(0.5, 2);
        n.displacement_xRotation = static_cast<float>(Random(-3, 3));
        n.displacement_yRotation = static_cast<float>(Random(-3, 3));
        n.displacement_zRotation = static_cast<float>(Random(-3, 3));
        n.noise_seed = static_cast<float>(Pick(2) - 12);  // larger ones leave few bits for the place
        n.noise_amplitude = RandomVector(5, 10);
        n.noise_scale = RandomVector(0.5, 2);
        n.noise_scale.w = static_cast<float>(Random(0.5, 2));
        n.noise_settings_offset = RandomVector(-90, 90);
        n.noise_settings_evolution = static_cast<float>(Random(0, 500));
        mScene.mRamps.assign(2 * 7 * 1024, -9.0F);
        mScene.mGradient.assign(2 * 1024, glm::vec4(-9.0F));
        for (std::size_t row = 0; row < 7; ++row) mFrom[row] = Random(0.1, 0.5), mBy[row] = Random(0.1, 0.5);
        for (std::size_t i = 0; i < 1024; ++i) {
            const double g = (static_cast<double>(i) + 0.5) / 1024.0;
            for (std::size_t row = 0; row < 7; ++row)
                mScene.mRamps[(7 + row) * 1024 + i] = static_cast<float>(mFrom[row] + mBy[row] * g);
            mScene.mGradient[1024 + i] = glm::vec4(g, 2.0 - g, 0.5 * g, 9.0);
        }
    }

    glm::dvec3 Displace(const glm::dvec3& place) const {
        const double g = mMove.Position(place);
        const double turn = Curve(gpu::RampRow::DisplacementRotation, g);
        glm::dmat4 matrix = glm::rotate(glm::dmat4(1.0), turn * mNoise.displacement_zRotation, glm::dvec3(0, 0, 1));
        matrix = glm::rotate(matrix, turn * mNoise.displacement_yRotation, glm::dvec3(0, 1, 0));
        matrix = glm::rotate(matrix, turn * mNoise.displacement_xRotation, glm::dvec3(1, 0, 0));
        const glm::dvec3 scale =
            (glm::dvec3(mNoise.displacement_scale) - 1.0) * Curve(gpu::RampRow::DisplacementScale, g) + 1.0;
        return mMove.mCenter + glm::dvec3(matrix * glm::dvec4(scale * (place - mMove.mCenter), 0.0)) +
               glm::dvec3(mNoise.displacement_offset) * Curve(gpu::RampRow::DisplacementOffset, g);
    }

    glm::dvec3 Disturb(const glm::dvec3& place) const {
        const double amount = Curve(gpu::RampRow::Noise, mWave.Position(place));
        glm::dvec3 result = place;
        for (int axis = 0; axis < 3; ++axis) {
            glm::dvec4 point(place + glm::dvec3(mNoise.noise_settings_offset), mNoise.noise_settings_evolution);
            point[axis] += (static_cast<double>(mNoise.noise_seed) + 11.0) * 123987.0;
            const float noise = Noise4(glm::vec4(point / (100.0 * glm::dvec4(mNoise.noise_scale))));
            result[axis] += amount * noise * mNoise.noise_amplitude[axis];
        }
        return result;
    }

    Expected Expect(const glm::dvec3& asset) const {
        const glm::dvec3 aligned = kAlign * asset + mLift;
        const glm::dvec3 displaced = mNoise.displacement_enabled != 0 ? Displace(aligned) : aligned;
        const glm::dvec3 effect = mNoise.noise_enabled != 0 ? Disturb(displaced) : displaced;
        // The whole box of twice the splat's axes lies below the plane. A stored rotation is never quite none.
        const double highest = kAlign * (asset.y + 2.0 * mSplatScale.y) + mLift.y;
        const double altitude = mModel.model_crop_yPlane_altitude;
        Expected e{true, false, effect + mTransform, mSplatColor, 0.5, 1.0};
        if (mModel.model_crop_shape_enabled == 1)
            e.mShown = (mCrop.Distance(aligned) < 1.0) == (mModel.model_crop_shape_invert == 0);
        if (mModel.model_crop_yPlane_enabled == 1) e.mShown = e.mShown && highest < altitude;
        e.mTie = mCrop.IsTie(aligned) || mMove.IsTie(aligned) || mWave.IsTie(displaced) || mColor.IsTie(effect) ||
                 mOpacity.IsTie(effect) || mScale.IsTie(effect) || std::abs(highest - altitude) < 0.05;
        if (mModel.model_effects_splatScale_enabled == 1)
            e.mSize = mModel.model_effects_splatScale_maxValue * Curve(gpu::RampRow::Scale, mScale.Position(effect));
        if (mModel.model_effects_splatOpacity_enabled == 1) {
            const double share = Curve(gpu::RampRow::Opacity, mOpacity.Position(effect));
            e.mOpacity *= (1.0 - share) * mModel.model_effects_splatOpacity_minValue +
                          share * mModel.model_effects_splatOpacity_maxValue;
        }
        if (mModel.model_effects_splatColor_enabled == 1) {
            const double g = mColor.Position(effect);
            const glm::dvec3 gradient(g, 2.0 - g, 0.5 * g);
            const glm::dvec3 blends[] = {gradient, gradient + mSplatColor, gradient * mSplatColor};
            e.mColor = glm::mix(mSplatColor, blends[mModel.model_effects_splatColor_blending],
                                Curve(gpu::RampRow::ColorAmount, g));
        }
        return e;
    }

    std::mt19937 mRandom{21};
    SplatScene mScene;
    gpu::ModelConstants1 mModel{};
    gpu::NoiseConstants1 mNoise{};
    Shape mCrop{}, mColor{}, mOpacity{}, mScale{}, mMove{}, mWave{};
    double mFrom[7] = {}, mBy[7] = {};
};

TEST_F(EffectChain, IsThatOfItsSettings) {
    int shown = 0;
    for (int round = 0; round < 4000; ++round) {
        Randomise();
        const glm::vec3 asset(RandomVector(-6, 6));
        mScene.SetPosition(0, asset);
        mScene.SetScaleRoots(0, glm::vec3(glm::pow(mSplatScale, glm::dvec3(0.125))));
        mScene.SetTexel(0, 0, glm::vec4(mSplatColor, 0.5));
        CalcViewDataInputs inputs = mScene.Inputs();
        inputs.mModel = mModel;
        inputs.mNoise = mNoise;
        gpu::CalcViewDataConstants& c = inputs.mConstants;
        c._CameraType = 1;  // pixels and splats to one scale, and no view direction
        c._DrawingIndex = kInstance;
        c._MatrixAlign = glm::scale(glm::translate(glm::mat4(1.0F), glm::vec3(mLift)), glm::vec3(kAlign));
        c._MatrixTransform = glm::translate(glm::mat4(1.0F), glm::vec3(mTransform));
        c._MatrixVP = glm::mat4(1.0F);
        c._SplatScale = 0.75F;
        c._SplatOpacityScale = 0.5F;
        const gpu::SplatViewData record = CalcSplatViewData(inputs, 0);
        const Expected expected = Expect(glm::dvec3(asset));
        if (expected.mTie) continue;
        ASSERT_EQ(record.pos.w == 1.0F, expected.mShown) << round;
        if (!expected.mShown) continue;
        ++shown;
        const auto half = [&](int word, int shift) {
            return zeb::render::cpu::HalfToFloat(static_cast<std::uint16_t>(record.color[word] >> shift));
        };
        const float color[] = {half(0, 16), half(0, 0), half(1, 16)};
        for (int i = 0; i < 3; ++i) {
            // Seeds take bits from the places at which noise is looked up.
            ASSERT_NEAR(record.pos[i], expected.mWorld[i], 5e-3) << round;
            ASSERT_NEAR(color[i], expected.mColor[i], 4e-3) << round;
        }
        ASSERT_NEAR(half(1, 0), 0.5 * expected.mOpacity, 4e-3) << round;
        const double size = 0.75 * expected.mSize;
        ASSERT_NEAR(glm::length(record.axis1), std::sqrt(2.0 * (4.0 * size * size + 0.3)), 1e-2) << round;
        ASSERT_NEAR(glm::length(record.axis2), std::sqrt(2.0 * (size * size + 0.3)), 1e-2) << round;
    }
    EXPECT_GT(shown, 1000);
}

TEST_F(EffectChain, APlaneThroughASplatTakesIt) {
    mScene.SetPosition(0, {0.0F, 1.0F, 0.0F});  // a point: its axes have no length
    CalcViewDataInputs inputs = mScene.Inputs();
    inputs.mConstants._CameraType = 1;
    inputs.mConstants._MatrixVP = glm::mat4(1.0F);
    inputs.mModel.model_crop_yPlane_enabled = 1;
    for (const float altitude : {std::nextafter(1.0F, 0.0F), 1.0F, std::nextafter(1.0F, 2.0F)}) {
        inputs.mModel.model_crop_yPlane_altitude = altitude;
        EXPECT_EQ(CalcSplatViewData(inputs, 0).pos.w == 1.0F, altitude > 1.0F) << altitude;
    }
}

}  // namespace
}  // namespace nimbrel::cpu
