#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <numeric>

#include "GpuHarness.h"
#include "Nimbrel/CPU/ExportData.h"
#include "Render/CPU/HalfConversion.h"
#include "SplatModel.h"

// The splat kernels on the device against their C++ twins, which were written
// from the algorithms on their own.
namespace nimbrel::test {
namespace {

using zeb::render::Format;
using zeb::render::cpu::HalfToFloat;

bool IsNear(float a, float b, float tolerance) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return a == b || std::abs(a - b) <= tolerance + tolerance * std::max(std::abs(a), std::abs(b));
}

/// The same bits, but for the payload of a NaN and the colour's halves, which
/// may lie apart by `tolerance`.
bool IsNear(const gpu::SplatViewData& a, const gpu::SplatViewData& b, float tolerance) {
    for (int i = 0; i < 4; ++i)
        if (!IsNear(a.pos[i], b.pos[i], 0)) return false;
    for (int i = 0; i < 2; ++i) {
        if (!IsNear(a.axis1[i], b.axis1[i], 0) || !IsNear(a.axis2[i], b.axis2[i], 0)) return false;
        for (const int shift : {0, 16}) {
            const float x = HalfToFloat(static_cast<std::uint16_t>(a.color[i] >> shift));
            const float y = HalfToFloat(static_cast<std::uint16_t>(b.color[i] >> shift));
            if (!IsNear(x, y, tolerance)) return false;
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
std::size_t ExpectSameResults(const SplatModel& model) {
    const KernelResults device = RunOnDevice(model);
    const KernelResults twin = RunOnProcessor(model);
    // A device may turn 8-bit channels into floats with an error in the last bit,
    // which shows in a half now and then.
    const float tolerance = model.mColorFormat == Format::RGBA8Unorm ? 1e-3F : 0.0F;
    std::size_t wrong = 0;
    std::size_t drawn = 0;
    for (std::uint32_t i = 0; i < model.mCount; ++i) {
        drawn += twin.mViewData[i].pos.w > 0.0F ? 1 : 0;
        if (!IsNear(device.mViewData[i], twin.mViewData[i], tolerance) && wrong++ == 0) {
            ADD_FAILURE() << "splat " << i << "\n  device " << Describe(device.mViewData[i]) << "\n  twin   "
                          << Describe(twin.mViewData[i]);
        }
        if (!IsNear(DepthOf(device.mKeys[i]), DepthOf(twin.mKeys[i]), 0) && wrong++ == 0) {
            ADD_FAILURE() << "depth of splat " << i << ": " << DepthOf(device.mKeys[i]) << " instead of "
                          << DepthOf(twin.mKeys[i]);
        }
    }
    EXPECT_EQ(wrong, 0U) << "of " << model.mCount;
    return drawn;
}

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
                // Logarithms may differ in their last bits, and what comes from 8-bit
                // channels.
                const bool logarithm =
                    k * 4 >= offsetof(gpu::ExportSplatData, opacity) && k * 4 < offsetof(gpu::ExportSplatData, rot);
                const bool channel = formats.mColor == Format::RGBA8Unorm && k >= 6 && k < 9;
                const float tolerance = logarithm || channel ? 2e-6F : 0.0F;
                if (!IsNear(a[k], b[k], tolerance) && wrong++ == 0)
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
