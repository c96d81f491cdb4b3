#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <numeric>

#include "GpuHarness.h"
#include "Nimbrel/CPU/ExportData.h"
#include "Render/CPU/HalfConversion.h"
#include "SplatModel.h"

// The splat kernels on the device against their C++ twins, which were written from the algorithms on their own.
namespace nimbrel::test {
namespace {

using zeb::render::Format;
using zeb::render::cpu::HalfToFloat;

/// How far two results may lie apart. All zero: the same bits, but for the payload of a NaN.
struct Tolerance {
    float mRelative = 0.0F;
    float mAbsolute = 0.0F;
    float mColor = 0.0F;  ///< of the colour's halves, relative to values of 1 and above
};

bool IsNear(float a, float b, float relative, float absolute) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    if (a == b) return true;
    return std::abs(a - b) <= absolute + relative * std::max(std::abs(a), std::abs(b));
}

/// A device may turn 8-bit channels into floats with an error in the last bit, which shows in a half now and then.
Tolerance ToleranceOf(const SplatModel& model) {
    return {0, 0, model.mColorFormat == Format::RGBA8Unorm ? 1e-3F : 0.0F};
}

bool IsNear(const gpu::SplatViewData& a, const gpu::SplatViewData& b, const Tolerance& tolerance) {
    for (int i = 0; i < 4; ++i)
        if (!IsNear(a.pos[i], b.pos[i], tolerance.mRelative, tolerance.mAbsolute)) return false;
    for (int i = 0; i < 2; ++i) {
        if (!IsNear(a.axis1[i], b.axis1[i], tolerance.mRelative, tolerance.mAbsolute)) return false;
        if (!IsNear(a.axis2[i], b.axis2[i], tolerance.mRelative, tolerance.mAbsolute)) return false;
        for (const int shift : {0, 16}) {
            const float x = HalfToFloat(static_cast<std::uint16_t>(a.color[i] >> shift));
            const float y = HalfToFloat(static_cast<std::uint16_t>(b.color[i] >> shift));
            if (!IsNear(x, y, tolerance.mColor, tolerance.mColor)) return false;
        }
    }
    return true;
}

std::string Describe(const gpu::SplatViewData& r) {
    const auto half = [&](int i, int shift) {
        return std::to_string(HalfToFloat(static_cast<std::uint16_t>(r.color[i] >> shift))) + " ";
    };
    std::string text = "pos";
    for (int i = 0; i < 4; ++i) text += " " + std::to_string(r.pos[i]);
    text += " axes " + std::to_string(r.axis1.x) + " " + std::to_string(r.axis1.y) + " " + std::to_string(r.axis2.x) +
            " " + std::to_string(r.axis2.y);
    return text + " colour " + half(0, 16) + half(0, 0) + half(1, 16) + half(1, 0);
}

float DepthOf(std::uint32_t key) { return std::bit_cast<float>((key & 0x80000000U) != 0 ? key ^ 0x80000000U : ~key); }

/// Compares device and twin. Returns how many records are drawn: pos.w above 0.
std::size_t ExpectSameResults(const SplatModel& model, const Tolerance& tolerance) {
    const KernelResults device = RunOnDevice(model);
    const KernelResults twin = RunOnProcessor(model);
    std::size_t wrong = 0;
    std::size_t drawn = 0;
    for (std::uint32_t i = 0; i < model.mCount; ++i) {
        drawn += twin.mViewData[i].pos.w > 0.0F ? 1 : 0;
        if (!IsNear(device.mViewData[i], twin.mViewData[i], tolerance) && wrong++ == 0) {
            ADD_FAILURE() << "splat " << i << "\n  device " << Describe(device.mViewData[i]) << "\n  twin   "
                          << Describe(twin.mViewData[i]);
        }
        if (!IsNear(DepthOf(device.mKeys[i]), DepthOf(twin.mKeys[i]), tolerance.mRelative, tolerance.mAbsolute) &&
            wrong++ == 0) {
            ADD_FAILURE() << "depth of splat " << i << ": " << DepthOf(device.mKeys[i]) << " instead of "
                          << DepthOf(twin.mKeys[i]);
        }
    }
    EXPECT_EQ(wrong, 0U) << "of " << model.mCount;
    return drawn;
}

std::size_t ExpectSameResults(const SplatModel& model) { return ExpectSameResults(model, ToleranceOf(model)); }

TEST(SplatKernels, EveryPackedFormatDecodesToTheSameBits) {
    const Formats cases[] = {
        {2, 2, 3, Format::RGBA8Unorm}, {0, 0, 0, Format::RGBA32Float}, {1, 1, 1, Format::RGBA16Float},
        {3, 3, 2, Format::RGBA8Unorm}, {1, 0, 3, Format::RGBA32Float}, {0, 1, 2, Format::RGBA16Float},
        {2, 3, 1, Format::RGBA8Unorm}, {3, 2, 0, Format::RGBA8Unorm},  {2, 1, 5, Format::RGBA8Unorm},
        {2, 0, 4, Format::RGBA8Unorm}, {2, 3, 8, Format::RGBA8Unorm},  {9, 7, 3, Format::RGBA8Unorm},
    };
    std::uint32_t seed = 0;
    for (const Formats& formats : cases) {
        SCOPED_TRACE("formats " + std::to_string(formats.mPosition) + " " + std::to_string(formats.mScale) + " " +
                     std::to_string(formats.mSH));
        EXPECT_GT(ExpectSameResults(MakeModel(1501, formats, ++seed)), 100U);
    }
}

TEST(SplatKernels, OnlyTheSplatsOfTheCountAreTouched) {
    for (const std::uint32_t count : {1U, 255U, 256U, 257U, 3001U}) {
        SCOPED_TRACE(count);
        ExpectSameResults(MakeModel(count, {}, count));
        ExpectSameResults(MakeModel(count, {1, 1, 1, Format::RGBA16Float}, count));
    }
}

TEST(SplatKernels, CamerasAndOrdersOfHarmonics) {
    SplatModel model = MakeModel(2000, {}, 77);
    for (const std::uint32_t order : {0U, 1U, 2U, 3U, 9U, 0xFFFFFFFFU}) {
        model.mView._SHOrder = order;
        ExpectSameResults(model);
    }
    model.mView._SplatScale = 2.5F;
    model.mView._SplatOpacityScale = 1e6F;  // beyond the range of a half
    ExpectSameResults(model);
    model.mView._DrawZDepth = 1;
    ExpectSameResults(model);
    model.mView._CameraType = 1;
    ExpectSameResults(model);
    model.mView._DrawZDepth = 0;
    ExpectSameResults(model);
    model.mView._SplatScale = 0;  // axes become NaN or the least minor axis, on both sides
    ExpectSameResults(model);
}

void SetCropShape(gpu::ModelConstants1& m, std::int32_t type, std::int32_t invert) {
    m.model_crop_shape_enabled = 1;
    m.model_crop_shape_invert = invert;
    m.model_crop_shape_type = type;
    m.model_crop_shape_center = {20, -30, 10, 0};
    m.crop_shape_halfSize = {260, 200, 300, 0};
}

TEST(SplatKernels, CropsRemoveTheSameSplats) {
    SplatModel model = MakeModel(3000, {}, 5);
    std::size_t drawn[3][2] = {};
    for (const std::int32_t type : {0, 1, 2}) {
        for (const std::int32_t invert : {0, 1}) {
            SetCropShape(model.mModel, type, invert);
            drawn[type][invert] = ExpectSameResults(model);
        }
    }
    model.mModel = {};
    const std::size_t all = ExpectSameResults(model);
    for (const auto& byInvert : drawn) EXPECT_EQ(byInvert[0] + byInvert[1], all);
    EXPECT_EQ(drawn[2][1], 0U);
    EXPECT_GT(drawn[0][0], 0U);
    EXPECT_LT(drawn[0][0], drawn[1][0]) << "an ellipsoid lies within its box";

    model.mModel.model_crop_yPlane_enabled = 1;
    model.mModel.model_crop_yPlane_altitude = 0;
    const std::size_t below = ExpectSameResults(model);
    EXPECT_GT(below, 0U);
    EXPECT_LT(below, all);
    model.mModel.model_crop_yPlane_altitude = 1e9F;
    EXPECT_EQ(ExpectSameResults(model), all);
}

/// Curves are looked up by the device's filter, which may round its weights; a curve's steps are below 0.011.
constexpr Tolerance kCurveTolerance{2e-5F, 2e-3F, 2e-3F};

void SetLookEffects(gpu::ModelConstants1& m, std::int32_t type, float feather, std::int32_t blending) {
    const glm::vec4 center(-20, 15, 40, 0);
    const glm::vec4 halfSize(350, 250, 300, 0);
    m.model_effects_splatColor_enabled = 1;
    m.model_effects_splatColor_blending = blending;
    m.model_effects_splatColor_shape_type = type;
    m.model_effects_splatColor_shape_center = center;
    m.splatColor_shape_halfSize = halfSize;
    m.model_effects_splatColor_shape_feather = feather;
    m.model_effects_splatOpacity_enabled = 1;
    m.model_effects_splatOpacity_minValue = 0.2F;
    m.model_effects_splatOpacity_maxValue = 1.7F;
    m.model_effects_splatOpacity_shape_type = type;
    m.model_effects_splatOpacity_shape_center = center;
    m.splatOpacity_shape_halfSize = halfSize;
    m.model_effects_splatOpacity_shape_feather = feather;
    m.model_effects_splatScale_enabled = 1;
    m.model_effects_splatScale_maxValue = 1.5F;
    m.model_effects_splatScale_shape_type = type;
    m.model_effects_splatScale_shape_center = center;
    m.splatScale_shape_halfSize = halfSize;
    m.model_effects_splatScale_shape_feather = feather;
}

void SetDisplacement(gpu::NoiseConstants1& n, std::int32_t type, float feather) {
    n.displacement_enabled = 1;
    n.displacement_scale = {1.4F, 0.6F, 1.1F, 0};
    n.displacement_offset = {30, -20, 12, 0};
    n.displacement_xRotation = 0.4F;
    n.displacement_yRotation = -1.1F;
    n.displacement_zRotation = 2.2F;
    n.displacement_shape_type = type;
    n.displacement_shape_center = {10, 5, -20, 0};
    n.displacement_shape_halfSize = {400, 300, 350, 0};
    n.displacement_shape_feather = feather;
}

void SetNoise(gpu::NoiseConstants1& n, float feather) {
    n.noise_enabled = 1;
    n.noise_seed = 3;
    n.noise_amplitude = {20, 10, 15, 0};
    n.noise_scale = {1.5F, 2.0F, 1.0F, 1.2F};
    n.noise_settings_offset = {4, 5, 6, 0};
    n.noise_settings_evolution = 37;
    n.noise_shape_type = 0;
    n.noise_shape_center = {0, 0, 0, 0};
    n.noise_shape_halfSize = {500, 500, 500, 0};
    n.noise_shape_feather = feather;
}

TEST(SplatKernels, ColourOpacityAndSizeFollowTheirShapesAndCurves) {
    SplatModel model = MakeModel(2000, {}, 11);
    model.mView._DrawingIndex = 1;
    for (const std::int32_t type : {0, 1, 2}) {
        for (const float feather : {0.0F, 0.4F, 1.0F}) {
            SCOPED_TRACE("type " + std::to_string(type) + ", feather " + std::to_string(feather));
            SetLookEffects(model.mModel, type, feather, type);
            // Sizes go by the factor itself, so axes of hundreds of pixels differ by a few tenths of a percent at most.
            Tolerance tolerance = kCurveTolerance;
            tolerance.mRelative = 4e-3F;
            ExpectSameResults(model, tolerance);
        }
    }
}

TEST(SplatKernels, DisplacementMovesSplatsAlike) {
    SplatModel model = MakeModel(2000, {}, 12);
    model.mView._DrawingIndex = 2;
    model.mDistances._CalcDistancesInstanceIndex = 2;
    for (const std::int32_t type : {0, 1}) {
        for (const float feather : {0.0F, 0.7F}) {
            SetDisplacement(model.mNoise, type, feather);
            ExpectSameResults(model, {1e-4F, 1.0F, 4e-3F});
        }
    }
}

// The hash multiplies a sine of arguments of up to millions by 43758, so that errors in the sine's last bits show: a
// corner's gradient is another one altogether where its fraction wraps. Nearly all splats agree closely all the same.
TEST(SplatKernels, NoiseMovesNearlyAllSplatsAlike) {
    SplatModel model = MakeModel(2000, {}, 13);
    SetNoise(model.mNoise, 0);
    model.mRamps.assign(model.mRamps.size(), 1.0F);
    const KernelResults device = RunOnDevice(model);
    const KernelResults twin = RunOnProcessor(model);
    model.mNoise.noise_enabled = 0;
    const KernelResults still = RunOnProcessor(model);
    std::size_t far = 0;
    std::size_t close = 0;
    double moved = 0;
    for (std::uint32_t i = 0; i < model.mCount; ++i) {
        const glm::vec4 difference = device.mViewData[i].pos - twin.mViewData[i].pos;
        const float distance = std::abs(difference.x) + std::abs(difference.y);
        far += distance > 1.0F ? 1 : 0;
        close += distance < 0.2F ? 1 : 0;
        moved += std::abs(twin.mViewData[i].pos.x - still.mViewData[i].pos.x);
    }
    EXPECT_LT(far, model.mCount * 8 / 100);
    EXPECT_GT(close, model.mCount * 9 / 10);
    EXPECT_GT(moved / model.mCount, 1.0) << "the noise moved next to nothing";
}

// Order and picture must see one place: with the same third row, depth and clip z are the same bits.
TEST(SplatKernels, DistanceAndViewDataSeeTheSamePlace) {
    SplatModel model = MakeModel(4000, {}, 14);
    SetDisplacement(model.mNoise, 0, 0.5F);
    SetNoise(model.mNoise, 0.6F);
    model.mView._MatrixTransform = glm::mat4(1.0F);
    model.mView._CameraType = 1;
    model.mDistances._CalcDistancesMatrixVP = model.mView._MatrixVP;
    const KernelResults device = RunOnDevice(model);
    for (std::uint32_t i = 0; i < model.mCount; ++i) {
        ASSERT_EQ(std::bit_cast<std::uint32_t>(DepthOf(device.mKeys[i])),
                  std::bit_cast<std::uint32_t>(device.mViewData[i].pos.z))
            << "splat " << i;
    }
}

// Whole positions straight through: key and clip position can be worked out by hand.
TEST(SplatKernels, HandWorkedDepthsAndKeys) {
    const std::pair<float, std::uint32_t> cases[] = {{0.0F, 0x80000000U},  {-0.0F, 0x7FFFFFFFU}, {1.0F, 0xBF800000U},
                                                     {-1.0F, 0x407FFFFFU}, {3.5F, 0xC0600000U},  {-2.0F, 0x3FFFFFFFU},
                                                     {1e30F, 0xF149F2CAU}, {0.125F, 0xBE000000U}};
    const auto count = static_cast<std::uint32_t>(std::size(cases));
    SplatModel model = MakeModel(count, {0, 2, 3, Format::RGBA8Unorm}, 1);
    // From -0 to 1, so that a value of -0 stays one.
    model.mChunks[0].posX = model.mChunks[0].posY = model.mChunks[0].posZ = {-0.0F, 1};
    for (std::uint32_t i = 0; i < count; ++i) {
        const float position[] = {2.0F, 4.0F, cases[i].first};
        std::memcpy(model.mPositions.data() + i * 12, position, sizeof position);
    }
    // Only the third row counts; a sum with +0 would turn -0 into +0, so its constant is -0.
    glm::mat4 depth(1.0F);
    depth[0][2] = depth[1][2] = depth[3][2] = -0.0F;
    model.mDistances._CalcDistancesMatrixAlign = depth;
    model.mDistances._CalcDistancesMatrixVP = depth;
    const KernelResults device = RunOnDevice(model);
    for (std::uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(device.mKeys[i], cases[i].second) << cases[i].first;
    }
}

TEST(SplatKernels, IndicesAreTheIdentityUpToTheCount) {
    for (const std::uint32_t count : {1U, 256U, 1000U}) {
        GpuRun run;
        GpuBuffer& buffer = run.AddBuffer(ToBytes(std::vector<std::uint32_t>(2000, 77U)));
        run.Dispatch("CSSetIndices",
                     {{"u9", &buffer, nullptr, {}, 12}, {"b10", nullptr, nullptr, RecordBytes(count), 0}},
                     (count + 255) / 256);
        run.Execute();
        const auto words = FromBytes<std::uint32_t>(GpuRun::Read(buffer), 0, 2000);
        for (std::uint32_t i = 0; i < 2000; ++i) {
            const std::uint32_t expected = i >= 3 && i < 3 + count ? i - 3 : 77U;
            ASSERT_EQ(words[i], expected) << i;
        }
    }
}

TEST(SplatKernels, ExportGivesTheSameNumbers) {
    for (const Formats& formats : {Formats{2, 2, 3, Format::RGBA8Unorm}, Formats{0, 0, 0, Format::RGBA32Float},
                                   Formats{1, 1, 1, Format::RGBA16Float}, Formats{3, 3, 2, Format::RGBA8Unorm}}) {
        const SplatModel model = MakeModel(700, formats, 21);
        const std::vector<gpu::ExportSplatData> device = ExportOnDevice(model);
        std::size_t wrong = 0;
        for (std::uint32_t i = 0; i < model.mCount; ++i) {
            const gpu::ExportSplatData twin = cpu::ExportSplat(model.Blocks(), i);
            const auto* a = reinterpret_cast<const float*>(&device[i]);
            const auto* b = reinterpret_cast<const float*>(&twin);
            for (std::size_t k = 0; k < sizeof twin / 4; ++k) {
                // Logarithms may differ in their last bits, and what comes from 8-bit channels.
                const bool logarithm =
                    k * 4 >= offsetof(gpu::ExportSplatData, opacity) && k * 4 < offsetof(gpu::ExportSplatData, rot);
                const bool channel = formats.mColor == Format::RGBA8Unorm && k >= 6 && k < 9;
                const float tolerance = logarithm || channel ? 2e-6F : 0.0F;
                if (!IsNear(a[k], b[k], tolerance, tolerance) && wrong++ == 0)
                    ADD_FAILURE() << "splat " << i << " word " << k << ": " << a[k] << " instead of " << b[k];
            }
        }
        EXPECT_EQ(wrong, 0U);
    }
}

TEST(SplatKernels, EveryHalfDecodesExactly) {
    constexpr std::uint32_t kCount = 1460;  // 45 halves each: all 65536
    SplatModel model = MakeModel(kCount, {2, 2, 4, Format::RGBA8Unorm}, 31);
    for (std::uint32_t i = 0; i < kCount; ++i) {
        const auto index = static_cast<std::uint16_t>(i);
        std::memcpy(model.mOther.data() + std::size_t{i} * 10 + 8, &index, 2);
        for (std::uint32_t k = 0; k < 45; ++k) {
            const auto half = static_cast<std::uint16_t>(i * 45 + k);
            std::memcpy(model.mSH.data() + std::size_t{i} * 96 + k * 2, &half, 2);
        }
    }
    const std::vector<gpu::ExportSplatData> device = ExportOnDevice(model);
    for (std::uint32_t i = 0; i < kCount; ++i) {
        const float* const channels[] = {&device[i].shR14.x, &device[i].shG14.x, &device[i].shB14.x};
        for (std::uint32_t k = 0; k < 45; ++k) {
            const float expected = HalfToFloat(static_cast<std::uint16_t>(i * 45 + k));
            const float actual = channels[k % 3][k / 3];
            if (std::isnan(expected)) {
                ASSERT_TRUE(std::isnan(actual)) << i * 45 + k;
            } else {
                ASSERT_EQ(std::bit_cast<std::uint32_t>(actual), std::bit_cast<std::uint32_t>(expected)) << i * 45 + k;
            }
        }
    }
}

}  // namespace
}  // namespace nimbrel::test
