#include <algorithm>
#include <cmath>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <glm/geometric.hpp>
#include <glm/gtc/type_ptr.hpp>

#include "Nimbrel/CPU/ExportData.h"
#include "Nimbrel/GaussianSplatAssetCreator.h"
#include "Nimbrel/PlyBuilder.h"
#include "ReferenceFrame.h"

namespace nimbrel::reference {
namespace {

using cpu::HalfRange;

/// The finest step of each stored value as a share of its chunk's range; 0 where it is exact.
struct Steps {
    glm::vec3 mPosition, mScale, mSH;
    float mColor;
};

struct RoundTrip {
    const char* mName;
    GaussianSplatAssetCreator::Settings mSettings;
    Steps mSteps;
};

const glm::vec3 kExact(0.0F);
const glm::vec3 k16(1.0F / 65535.0F);
const glm::vec3 k11(1.0F / 2047.0F, 1.0F / 1023.0F, 1.0F / 2047.0F);
const glm::vec3 k6(1.0F / 63.0F, 1.0F / 31.0F, 1.0F / 31.0F);
const glm::vec3 kSH6(1.0F / 31.0F, 1.0F / 63.0F, 1.0F / 31.0F);
constexpr float kHalfStep = 1.0F / 1024.0F;

void PrintTo(const RoundTrip& trip, std::ostream* stream) { *stream << trip.mName; }

std::vector<PlySplat> MakeSplats(std::size_t count) {
    std::mt19937 random(21);
    std::uniform_real_distribution<float> unit(-1.0F, 1.0F);
    std::vector<PlySplat> splats(count);
    for (PlySplat& splat : splats) {
        for (float& value : splat.mPosition) value = unit(random) * 3.0F;
        for (float& value : splat.mDc) value = unit(random) * 1.5F;
        splat.mRest.resize(45);
        for (float& value : splat.mRest) value = unit(random) * 0.4F;
        splat.mOpacity = unit(random) * 5.0F;
        for (float& value : splat.mScale) value = unit(random) * 1.5F - 4.0F;
        for (float& value : splat.mRotation) value = unit(random) * 3.0F;
    }
    return splats;
}

/// Whether a stored value can be `expected`: it may be one step off, and the range's ends are cut to halves.
void ExpectStored(float decoded, float expected, const HalfRange& range, float step, const char* what) {
    const float cut = kHalfStep * (std::abs(range.mLow) + std::abs(range.mHigh));
    EXPECT_NEAR(decoded, expected, step * (range.mHigh - range.mLow) + cut + 1e-6F) << what;
}

/// Opacity as it is stored: finer around 0 and 1.
float EncodeOpacity(float logit) {
    const float d = 1.0F / (1.0F + std::exp(-logit)) - 0.5F;
    return 2.0F * d * std::abs(d) + 0.5F;
}

class AssetRoundTripTest : public testing::TestWithParam<RoundTrip> {};

TEST_P(AssetRoundTripTest, EveryValueIsWithinItsStep) {
    const RoundTrip& trip = GetParam();
    const std::vector<PlySplat> splats = MakeSplats(700);
    const TemporaryFile file(MakeFile(splats, 3));
    const auto asset = GaussianSplatAssetCreator::CreateAsset(file.GetPath(), trip.mSettings, true);
    ASSERT_EQ(asset->splatCount, 700);
    const cpu::SplatBlocks blocks = cpu::MakeBlocks(*asset);
    std::vector<gpu::ExportSplatData> records(700);
    cpu::ExportData(blocks, {700}, 0, 700, records);

    std::vector<bool> found(700, false);
    for (std::uint32_t i = 0; i < 700; ++i) {
        const gpu::ExportSplatData& record = records[i];
        const auto nearest = std::min_element(splats.begin(), splats.end(), [&](const auto& a, const auto& b) {
            return glm::distance(glm::make_vec3(a.mPosition), record.pos) <
                   glm::distance(glm::make_vec3(b.mPosition), record.pos);
        });
        found[static_cast<std::size_t>(nearest - splats.begin())] = true;
        const PlySplat& splat = *nearest;
        const gpu::SplatChunkInfo chunk = cpu::LoadChunk(blocks, i);
        const glm::vec2 positions[3] = {chunk.posX, chunk.posY, chunk.posZ};
        const std::uint32_t scales[3] = {chunk.sclX, chunk.sclY, chunk.sclZ};
        const std::uint32_t colors[3] = {chunk.colR, chunk.colG, chunk.colB};
        const std::uint32_t harmonics[3] = {chunk.shR, chunk.shG, chunk.shB};
        const float* const coefficients[3] = {&record.shR14.x, &record.shG14.x, &record.shB14.x};  // 15 of each
        for (int k = 0; k < 3; ++k) {
            const float range = positions[k].y - positions[k].x;
            EXPECT_NEAR(record.pos[k], splat.mPosition[k], range * trip.mSteps.mPosition[k] + 2e-6F);
            // Colours and scales compared in the stored form: constant term * 0.282 + 0.5, eighth root.
            ExpectStored(record.dc0[k] * 0.2820948F + 0.5F, splat.mDc[k] * 0.2820948F + 0.5F, HalfRange(colors[k]),
                         trip.mSteps.mColor, "colour");
            ExpectStored(std::exp(record.scale[k] / 8.0F), std::exp(splat.mScale[k] / 8.0F), HalfRange(scales[k]),
                         trip.mSteps.mScale[k], "scale");
            const bool exact = trip.mSettings.shFormat == SHFormat::Float32;
            const HalfRange shRange(exact ? 0 : harmonics[k]);
            for (int c = 0; c < 15; ++c)
                ExpectStored(coefficients[k][c], splat.mRest[static_cast<std::size_t>(15 * k + c)], shRange,
                             trip.mSteps.mSH[k], "coefficient");
        }
        ExpectStored(EncodeOpacity(record.opacity), EncodeOpacity(splat.mOpacity), HalfRange(chunk.colA),
                     trip.mSteps.mColor, "opacity");
        EXPECT_EQ(record.nor, glm::vec3(0.0F));
        // The same rotation up to sign; three components with steps of 1.4 / 1023, and the fourth from them.
        EXPECT_GT(std::abs(glm::dot(record.rot, glm::normalize(glm::make_vec4(splat.mRotation)))), 0.99999F) << i;
    }
    EXPECT_EQ(std::count(found.begin(), found.end(), false), 0) << "each splat comes back once";
}

INSTANTIATE_TEST_SUITE_P(
    Formats, AssetRoundTripTest,
    testing::Values(RoundTrip{"floats",
                              {5, VectorFormat::Float32, VectorFormat::Float32, SHFormat::Float32,
                               ColorFormat::Float32x4},
                              {kExact, kExact, kExact, 0.0F}},
                    RoundTrip{"fine",
                              {5, VectorFormat::Norm16, VectorFormat::Norm16, SHFormat::Norm11, ColorFormat::Float16x4},
                              {k16, k16, k11, kHalfStep}},
                    RoundTrip{"middle",
                              {5, VectorFormat::Norm11, VectorFormat::Norm11, SHFormat::Norm6, ColorFormat::Norm8x4},
                              {k11, k11, kSH6, 1.0F / 255.0F}},
                    RoundTrip{"mixed",
                              {5, VectorFormat::Norm11, VectorFormat::Norm6, SHFormat::Float16, ColorFormat::Norm8x4},
                              {k11, k6, glm::vec3(kHalfStep), 1.0F / 255.0F}}),
    [](const auto& instance) { return std::string(instance.param.mName); });

}  // namespace
}  // namespace nimbrel::reference
