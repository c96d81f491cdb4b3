#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include "ForEachTarget.h"
#include "Nimbrel/CPU/CalcDistances.h"
#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/CPU/FastRenderGaussianSplats.h"
#include "Nimbrel/CPU/RenderGaussianSplats.h"
#include "Nimbrel/CPU/SplatPixel-inl.h"
#include "Render/CPU/Sort.h"
#include "SplatScene.h"

// Forms with vectors and threads against the scalar ones, bit for bit, for every vector width of the machine.
namespace nimbrel::cpu {
namespace {

using namespace zeb::render;
using zeb::render::cpu::Image;
using zeb::render::cpu::MakeRenderPass;
using zeb::render::cpu::Scissor;

using test::ForEachTarget;

/// The same bits, or both NaN.
bool IsSame(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (std::isnan(a) && std::isnan(b));
}

struct RandomSplats {
    explicit RandomSplats(std::size_t count, std::uint32_t seed) : mEngine(seed) {
        for (std::size_t i = 0; i < count; ++i) mRecords.push_back(MakeRecord(i));
        mOrder.resize(count);
        std::iota(mOrder.begin(), mOrder.end(), 0U);
        std::shuffle(mOrder.begin(), mOrder.end(), mEngine);
        mOrder.push_back(static_cast<std::uint32_t>(count) + 7);  // an index beyond the records
    }

    float Random(float low, float high) { return std::uniform_real_distribution<float>(low, high)(mEngine); }

    gpu::SplatViewData MakeRecord(std::size_t index) {
        const float w = Random(0.5F, 9.0F);
        const float angle = Random(0.0F, 7.0F);
        float major = std::exp(Random(-1.0F, 3.0F));
        float minor = major * Random(0.05F, 1.0F);
        glm::vec4 pos(Random(-1.3F, 1.3F) * w, Random(-1.3F, 1.3F) * w, Random(0.0F, 1.0F) * w, w);
        glm::vec4 color(Random(0.0F, 1.5F), Random(0.0F, 1.0F), Random(0.0F, 1.0F), Random(0.0F, 1.1F));
        switch (index % 61) {  // rare kinds
            case 1: major = 4096.0F; break;
            case 2: major = minor = 1e-3F; break;
            case 3: major = std::numeric_limits<float>::quiet_NaN(); break;
            case 4: pos.w = index % 2 == 0 ? 0.0F : -1.0F; break;
            case 5: pos.z = index % 2 == 0 ? -0.1F : pos.w * 1.01F; break;
            case 6: color.w = 0.0F; break;
            case 7: color.w = 0.0039F; break;
            case 8: color.w = -1.0F; break;
            case 9: color.w = 60000.0F; break;
            case 10: color.x = index % 2 == 0 ? -0.5F : std::numeric_limits<float>::infinity(); break;
            case 11: pos.x = 70.0F * w; break;
            case 12: major = minor = 1e5F; break;
            case 13: minor = 0.0F; break;
            case 14: pos.w = std::numeric_limits<float>::quiet_NaN(); break;
            case 15: major = minor = 400.0F; break;
            default: break;
        }
        const glm::vec2 along(std::cos(angle), std::sin(angle));
        return {pos,
                along * major,
                glm::vec2(along.y, -along.x) * minor,
                {HalfPair(color.y, color.x), HalfPair(color.w, color.z)}};
    }

    std::mt19937 mEngine;
    std::vector<gpu::SplatViewData> mRecords;
    std::vector<std::uint32_t> mOrder;
};

TEST(FastKernels, Exp2IsWithinItsBound) {
    using HWY_NAMESPACE::Exp2;
    EXPECT_EQ(Exp2(0.0F), 1.0F);
    EXPECT_EQ(Exp2(-3.0F), 0.125F);
    EXPECT_EQ(Exp2(-1e9F), 0x1p-125F);
    EXPECT_EQ(Exp2(std::numeric_limits<float>::quiet_NaN()), 0x1p-125F);
    double worst = 0.0;
    for (float t = -12.0F; t <= 3.0F; t += 1.7e-5F) {
        const double exact = std::exp2(static_cast<double>(t));
        const double unit = std::ldexp(1.0, std::ilogb(exact) - 23);
        worst = std::max(worst, std::abs(Exp2(t) - exact) / unit);
        ASSERT_TRUE(t > 0.0F || Exp2(t) <= 1.0F) << t;
    }
    EXPECT_LT(worst, 1.5);
}

/// Floats may lack what shines through the last 2^-17 of a pixel, which colours of up to 1.5 make a little more of, and
/// an infinite one no number where that is nothing.
void ExpectSameImage(const Image& image, const Image& expected) {
    const float tolerance = expected.GetFormat() == Format::RGBA32Float ? 1.5F * 0x1p-17F : 0.0F;
    for (std::uint32_t y = 0; y < expected.GetHeight(); ++y) {
        for (std::uint32_t x = 0; x < expected.GetWidth(); ++x) {
            for (int channel = 0; channel < 4; ++channel) {
                const float a = image.Load(x, y)[channel];
                const float b = expected.Load(x, y)[channel];
                const bool isNear = std::abs(a - b) <= tolerance || !(std::isfinite(a) || std::isfinite(b));
                ASSERT_TRUE(IsSame(a, b) || (tolerance != 0.0F && isNear))
                    << x << ", " << y << ", " << channel << ": " << image.Load(x, y)[channel] << " instead of "
                    << expected.Load(x, y)[channel];
            }
        }
    }
}

/// The fast draw against the scalar one, onto `before`, in pixels from (3, 5) on.
void ExpectScalarDraw(const RandomSplats& splats, const Image& before, std::uint32_t width, std::uint32_t height) {
    const gpu::TextureConstants constants{{static_cast<float>(width), static_cast<float>(height)}, 0, 0};
    Image expected = before;
    auto pass = MakeRenderPass(expected, width, height, GaussianSplatsBlend());
    pass.mScissor.mLeft = 3;
    pass.mScissor.mTop = 5;
    DrawGaussianSplats(pass, constants, splats.mOrder, splats.mRecords, 0,
                       static_cast<std::uint32_t>(splats.mOrder.size()));
    ASSERT_NE(expected.Texels(), before.Texels());
    ForEachTarget([&] {
        Image target = before;
        auto fastPass = pass;
        fastPass.mTarget = &target;
        FastDrawGaussianSplats(fastPass, constants, splats.mOrder, splats.mRecords);
        ExpectSameImage(target, expected);
    });
}

TEST(FastKernels, DrawGivesTheScalarBits) {
    const RandomSplats splats(3000, 7);
    for (const Format format : {Format::RGBA32Float, Format::RGBA16Float, Format::RGBA16Unorm, Format::RGBA8Unorm}) {
        SCOPED_TRACE(static_cast<int>(format));
        Image before(format, 160, 110);
        before.Store(20, 30, {-0.0F, 0.5F, 0.25F, 1.0F});
        before.Store(70, 30, {0.5F, 0.25F, 0.125F, 1.0F});
        ExpectScalarDraw(splats, before, 150, 101);
    }
}

/// Quads whose edges run through pixel centres, around the corners of tiles and blocks; and thin ones at all angles
/// whose ends the quad cuts off.
TEST(FastKernels, DrawAtEdgesGivesTheScalarBits) {
    RandomSplats splats(0, 5);
    splats.mOrder.clear();
    const auto add = [&](glm::vec2 pixel, glm::vec2 axis1, glm::vec2 axis2, float opacity) {
        const glm::vec4 pos(pixel.x / 64.0F - 1.0F, 1.0F - pixel.y / 64.0F, 0.5F, 1.0F);
        splats.mOrder.push_back(static_cast<std::uint32_t>(splats.mRecords.size()));
        splats.mRecords.push_back({pos, axis1, axis2, {HalfPair(0.5F, 0.25F), HalfPair(opacity, 1.25F)}});
    };
    for (int i = 0; i < 600; ++i) {
        const glm::vec2 corner(static_cast<float>(16 + i % 6 * 16), static_cast<float>(16 + i / 6 % 6 * 16));
        const float half = 0.25F * static_cast<float>(1 + i % 13);
        const float other = 0.25F * static_cast<float>(1 + i % 7);
        const float shift = i % 2 == 0 ? 0.5F : 0.0F;
        add(corner + shift, {half, 0.0F}, {0.0F, i % 3 == 0 ? -other : other}, i % 5 == 0 ? 0.2F : 0.05F);
    }
    for (int i = 0; i < 300; ++i) {
        const float angle = splats.Random(0.0F, 7.0F);
        const glm::vec2 along(std::cos(angle), std::sin(angle));
        const float length = std::exp(splats.Random(0.0F, 7.0F));
        const float width = std::exp(splats.Random(-1.5F, 0.5F));
        add({splats.Random(-20.0F, 150.0F), splats.Random(-20.0F, 150.0F)}, along * length,
            glm::vec2(along.y, -along.x) * width, 0.3F);
    }
    for (const Format format : {Format::RGBA32Float, Format::RGBA8Unorm})
        ExpectScalarDraw(splats, Image(format, 128, 128), 128, 128);
}

TEST(FastKernels, ThreadsAndFramesAtOnceGiveTheSameBits) {
    const gpu::TextureConstants constants{{150.0F, 100.0F}, 0, 0};
    const RandomSplats splats(5000, 13);
    std::vector<std::uint32_t> keys(200000);
    for (std::size_t i = 0; i < keys.size(); ++i) keys[i] = static_cast<std::uint32_t>(i * 2654435761U) >> 7;
    struct Result {
        Image mImage{Format::RGBA8Unorm, 150, 100};
        std::vector<std::uint32_t> mPayloads;
    };
    const auto run = [&](Result& result) {
        FastDrawGaussianSplats(MakeRenderPass(result.mImage, 150, 100, GaussianSplatsBlend()), constants, splats.mOrder,
                               splats.mRecords);
        std::vector<std::uint32_t> sorted = keys;
        result.mPayloads.resize(keys.size());
        std::iota(result.mPayloads.begin(), result.mPayloads.end(), 0U);
        zeb::render::cpu::Sort(sorted, result.mPayloads);
    };
    Result expected;
    {
        const tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
        run(expected);
    }
    for (const std::size_t threads : {2U, 3U, 8U}) {
        const tbb::global_control some(tbb::global_control::max_allowed_parallelism, threads);
        Result results[3];
        std::vector<std::thread> frames;
        for (Result& result : results) frames.emplace_back([&run, &result] { run(result); });
        for (std::thread& frame : frames) frame.join();
        for (const Result& result : results) {
            EXPECT_EQ(result.mImage.Texels(), expected.mImage.Texels()) << threads;
            EXPECT_EQ(result.mPayloads, expected.mPayloads) << threads;
        }
    }
}

/// Whatever part of the picture is drawn first: in rectangles of any size, in turn.
TEST(FastKernels, PartsInAnyOrderGiveTheSameBits) {
    const gpu::TextureConstants constants{{150.0F, 100.0F}, 0, 0};
    RandomSplats splats(3000, 17);
    Image expected(Format::RGBA8Unorm, 150, 100);
    FastDrawGaussianSplats(MakeRenderPass(expected, 150, 100, GaussianSplatsBlend()), constants, splats.mOrder,
                           splats.mRecords);
    for (const std::int32_t size : {16, 23, 64}) {
        std::vector<Scissor> parts;
        for (std::int32_t y = 0; y < 100; y += size) {
            for (std::int32_t x = 0; x < 150; x += size)
                parts.push_back({x, y, std::min(x + size, 150), std::min(y + size, 100)});
        }
        std::shuffle(parts.begin(), parts.end(), std::mt19937(7));
        Image target(Format::RGBA8Unorm, 150, 100);
        for (const Scissor& part : parts) {
            auto pass = MakeRenderPass(target, 150, 100, GaussianSplatsBlend());
            pass.mScissor = part;
            FastDrawGaussianSplats(pass, constants, splats.mOrder, splats.mRecords);
        }
        EXPECT_EQ(target.Texels(), expected.Texels()) << size;
    }
}

TEST(FastKernels, DrawOfOtherBlendStatesIsTheScalarOne) {
    const gpu::TextureConstants constants{{40.0F, 40.0F}, 0, 0};
    RandomSplats splats(40, 3);
    Image expected(Format::RGBA32Float, 40, 40);
    Image target = expected;
    DrawGaussianSplats(MakeRenderPass(expected, 40, 40, GaussianSplatsBoxesBlend()), constants, splats.mOrder,
                       splats.mRecords, 0, 41);
    FastDrawGaussianSplats(MakeRenderPass(target, 40, 40, GaussianSplatsBoxesBlend()), constants, splats.mOrder,
                           splats.mRecords);
    EXPECT_EQ(target.Texels(), expected.Texels());
}

TEST(FastKernels, SortIsStable) {
    std::mt19937 engine(11);
    // Bits of every eighth key and of the others; the last two have most keys in one bucket.
    const std::pair<std::uint32_t, std::uint32_t> masks[] = {
        {0xFFFFFFFFU, 0xFFFFFFFFU}, {0xFFU, 0xFFU}, {0xFF00FF00U, 0xFF00FF00U}, {0x000F0000U, 0x000F0000U},
        {0x80000000U, 0x80000000U}, {0U, 0U},       {0xFFFFFFFFU, 0x00FFFFFFU}, {0xFFFFFFFFU, 0x00000FFFU}};
    for (const std::size_t count : {0U, 1U, 2U, 1000U, 2048U, 100003U}) {
        for (const auto& [mask, others] : masks) {
            std::vector<std::uint32_t> keys(count);
            for (std::size_t i = 0; i < count; ++i)
                keys[i] = (static_cast<std::uint32_t>(engine()) & (i % 8 == 0 ? mask : others)) | 0x01000000U;
            // Two far from all others, so that most share a bucket.
            if (count > 2) {
                keys[count / 2] = 0;
                keys[count / 3] = 0xFFFFFFFFU;
            }
            std::vector<std::uint32_t> payloads(count);
            std::iota(payloads.begin(), payloads.end(), 0U);
            std::vector<std::uint32_t> expected = payloads;
            std::stable_sort(expected.begin(), expected.end(),
                             [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
            ForEachTarget([&] {
                std::vector<std::uint32_t> sorted = keys;
                std::vector<std::uint32_t> moved = payloads;
                zeb::render::cpu::Sort(sorted, moved);
                EXPECT_EQ(moved, expected) << count << ", " << mask << ", " << others;
                EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
            });
        }
    }
}

/// Random blocks in the formats of level 2, ranges of ordinary size, a camera that looks over them from inside.
struct PackedScene {
    explicit PackedScene(std::uint32_t count) : mColor(Format::RGBA8Unorm, 2048, 16) {
        std::mt19937 engine(5);
        const auto fill = [&](std::vector<std::byte>& bytes, std::size_t size) {
            bytes.resize(size);
            for (std::byte& byte : bytes) byte = static_cast<std::byte>(engine());
        };
        fill(mPositions, 4 * count);
        fill(mOther, 8 * count);
        fill(mSH, 32 * count);
        for (std::byte& byte : mColor.Texels()) byte = static_cast<std::byte>(engine());
        gpu::SplatChunkInfo chunk{};
        chunk.colR = chunk.colG = chunk.colB = HalfPair(-0.3F, 1.2F);
        chunk.colA = HalfPair(0.0F, 1.0F);
        chunk.posX = {-3.0F, 2.5F};
        chunk.posY = {-2.0F, 2.25F};
        chunk.posZ = {-1.0F, 6.0F};
        chunk.sclX = chunk.sclY = chunk.sclZ = HalfPair(0.4F, 0.9F);
        chunk.shR = chunk.shG = chunk.shB = HalfPair(-0.6F, 0.5F);
        mChunks.assign(count / 256 + 1, chunk);
        mInputs = mCurves.Inputs();
        mInputs.mBlocks = {std::as_bytes(std::span(mChunks)), mPositions, mOther, mSH, mColor.View(), {0x030202U, 0}};
        gpu::CalcViewDataConstants& c = mInputs.mConstants;
        c._MatrixAlign[1][0] = 0.2F;
        c._MatrixTransform[3] = {0.1F, -0.2F, 0.3F, 1.0F};
        c._MatrixMV = c._MatrixTransform * c._MatrixAlign;
        c._VecWorldSpaceCameraPos = {0.5F, 0.25F, -0.5F, 1.0F};
        c._SplatCount = count;
        c._SplatOpacityScale = 0.9F;
        c._SplatScale = 1.1F;
    }

    SplatScene mCurves;  ///< holds the curves that the inputs refer to
    std::vector<gpu::SplatChunkInfo> mChunks;
    std::vector<std::byte> mPositions;
    std::vector<std::byte> mOther;
    std::vector<std::byte> mSH;
    Image mColor;
    CalcViewDataInputs mInputs;
};

void ExpectSameRecord(const gpu::SplatViewData& a, const gpu::SplatViewData& b) {
    float floats[2][8];
    std::memcpy(floats[0], &a, sizeof floats[0]);
    std::memcpy(floats[1], &b, sizeof floats[1]);
    for (int i = 0; i < 8; ++i)
        ASSERT_TRUE(IsSame(floats[0][i], floats[1][i])) << "field " << i << ": " << floats[0][i];
    ASSERT_EQ(a.color[0], b.color[0]);
    ASSERT_EQ(a.color[1], b.color[1]);
}

/// Shapes of all effects over a part of the scene, with soft edges and curves that change; all switched off.
void SetShapes(PackedScene& scene) {
    const glm::vec4 half(2.0F, 1.5F, 3.0F, 1.0F);
    gpu::ModelConstants1& model = scene.mInputs.mModel;
    model.crop_shape_halfSize = model.splatColor_shape_halfSize = model.splatOpacity_shape_halfSize =
        model.splatScale_shape_halfSize = half;
    model.model_crop_shape_type = 1;
    model.model_effects_splatColor_blending = 2;
    model.model_effects_splatColor_shape_feather = model.model_effects_splatOpacity_shape_feather =
        model.model_effects_splatScale_shape_feather = 0.5F;
    model.model_effects_splatOpacity_maxValue = 3.0F;
    model.model_effects_splatScale_maxValue = 2.0F;
    model.model_crop_yPlane_altitude = 1.0F;
    gpu::NoiseConstants1& noise = scene.mInputs.mNoise;
    noise.noise_shape_halfSize = noise.displacement_shape_halfSize = noise.noise_scale = half;
    noise.noise_shape_feather = noise.displacement_shape_feather = 1.0F;
    noise.noise_amplitude = noise.displacement_offset = noise.displacement_scale = glm::vec4(0.75F);
    noise.displacement_yRotation = 0.5F;
    for (std::uint32_t row = 0; row < gpu::kRampRows; ++row)
        scene.mCurves.SetRisingRamp(static_cast<gpu::RampRow>(row));
    for (std::size_t i = 0; i < scene.mCurves.mGradient.size(); ++i)
        scene.mCurves.mGradient[i] = glm::vec4(0.001F * static_cast<float>(i));
}

TEST(FastKernels, ViewDataGivesTheScalarBits) {
    PackedScene scene(1003);
    SetShapes(scene);
    using Inputs = CalcViewDataInputs;
    void (*const switches[])(Inputs&) = {[](Inputs& inputs) { inputs.mModel.model_crop_shape_enabled = 1; },
                                         [](Inputs& inputs) { inputs.mModel.model_crop_yPlane_enabled = 1; },
                                         [](Inputs& inputs) { inputs.mModel.model_effects_splatOpacity_enabled = 1; },
                                         [](Inputs& inputs) { inputs.mModel.model_effects_splatScale_enabled = 1; },
                                         [](Inputs& inputs) { inputs.mModel.model_effects_splatColor_enabled = 1; },
                                         [](Inputs& inputs) { inputs.mNoise.displacement_enabled = 1; },
                                         [](Inputs& inputs) { inputs.mNoise.noise_enabled = 1; },
                                         [](Inputs& inputs) { inputs.mConstants._CameraType = 1; },
                                         [](Inputs& inputs) {
                                             inputs.mConstants._DrawZDepth = 1;
                                             inputs.mConstants._ZDepthFar = 5.0F;
                                         }};
    std::vector<Inputs> all(2, scene.mInputs);
    all[1].mBlocks.mOther = scene.mInputs.mBlocks.mOther.first(8 * 700 + 3);
    Inputs together = scene.mInputs;
    for (const auto& turnOn : switches) {
        all.push_back(scene.mInputs);
        turnOn(all.back());
        turnOn(together);
        all.push_back(together);
    }
    for (const std::uint32_t order : {0U, 1U, 2U, 0xFFFFFFFFU}) {
        all.push_back(scene.mInputs);
        all.back().mConstants._SHOrder = order;
    }
    for (std::size_t which = 0; which < all.size(); ++which) {
        SCOPED_TRACE(which);
        gpu::SplatViewData untouched{};
        untouched.pos = glm::vec4(42.0F);
        std::vector<gpu::SplatViewData> expected(1010, untouched);
        for (std::uint32_t i = 5; i < 1003; ++i) expected[i] = CalcSplatViewData(all[which], i);
        ForEachTarget([&] {
            std::vector<gpu::SplatViewData> records(1010, untouched);
            CalcViewData(all[which], 5, 2000, records);
            for (std::size_t i = 0; i < records.size(); ++i) {
                SCOPED_TRACE(i);
                ExpectSameRecord(records[i], expected[i]);
                if (testing::Test::HasFatalFailure()) return;
            }
        });
    }
}

TEST(FastKernels, DistancesGiveTheScalarBits) {
    PackedScene scene(1003);
    SetShapes(scene);
    CalcDistancesInputs inputs{scene.mInputs.mBlocks, scene.mInputs.mCurves, {}, {}};
    inputs.mConstants._CalcDistancesMatrixAlign = scene.mInputs.mConstants._MatrixAlign;
    inputs.mConstants._CalcDistancesMatrixVP = scene.mInputs.mConstants._MatrixVP;
    inputs.mConstants._CalcDistancesSplatCount = 1003;
    CalcDistancesInputs displaced = inputs;
    displaced.mNoise = scene.mInputs.mNoise;
    displaced.mNoise.displacement_enabled = displaced.mNoise.noise_enabled = 1;
    CalcDistancesInputs truncated = inputs;
    truncated.mBlocks.mPositions = truncated.mBlocks.mPositions.first(1001);
    for (const CalcDistancesInputs& one : {inputs, displaced, truncated}) {
        std::vector<std::uint32_t> expected(1010, 42);
        for (std::uint32_t i = 3; i < 1003; ++i) expected[i] = CalcSplatDistance(one, i);
        ForEachTarget([&] {
            std::vector<std::uint32_t> keys(1010, 42);
            CalcDistances(one, 3, 2000, keys);
            EXPECT_EQ(keys, expected);
        });
    }
}

}  // namespace
}  // namespace nimbrel::cpu
