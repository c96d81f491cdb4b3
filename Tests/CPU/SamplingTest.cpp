#include <limits>

#include <gtest/gtest.h>

#include "Render/CPU/Sampling.h"

namespace zeb::render::cpu {
namespace {

/// Four columns 0, 1, 2, 3; the second row is 10 higher; the second layer 100 higher.
Image MakeSteps() {
    Image image(Format::R32Float, 4, 2, 2);
    auto* texels = reinterpret_cast<float*>(image.Texels().data());
    for (int i = 0; i < 16; ++i) {
        texels[i] =
            static_cast<float>(i % 4) + static_cast<float>(i / 4 % 2) * 10.0F + static_cast<float>(i / 8) * 100.0F;
    }
    return image;
}

SamplerDescription MakeSampler(SamplerFilter filter, SamplerAddress address) {
    return {filter, filter, filter, address, address, address};
}

TEST(Sampling, InterpolatesBetweenTexelCentres) {
    const Image image = MakeSteps();
    const struct {
        SamplerAddress mAddress;
        float mU, mV;
        float mExpected;
    } cases[] = {
        {SamplerAddress::Clamp, 0.375F, 0.25F, 1.0F},  // centre of column 1
        {SamplerAddress::Clamp, 0.5F, 0.25F, 1.5F},    // edge between columns 1 and 2
        {SamplerAddress::Clamp, 0.4375F, 0.25F, 1.25F},
        {SamplerAddress::Clamp, 0.0F, 0.25F, 0.0F},
        {SamplerAddress::Clamp, 1.0F, 0.25F, 3.0F},
        {SamplerAddress::Clamp, -5.0F, 0.25F, 0.0F},
        {SamplerAddress::Clamp, 0.375F, 0.5F, 6.0F},  // edge between the rows: (1 + 11) / 2
        {SamplerAddress::Clamp, 0.375F, 1.0F, 11.0F},
        {SamplerAddress::Wrap, 0.0F, 0.25F, 1.5F},  // half column 3, half column 0
        {SamplerAddress::Wrap, 1.375F, 0.25F, 1.0F},
        {SamplerAddress::Wrap, -0.625F, 0.25F, 1.0F},
        {SamplerAddress::Mirror, 0.0F, 0.25F, 0.0F},
        {SamplerAddress::Mirror, 1.125F, 0.25F, 3.0F},  // column 4 mirrors column 3
        {SamplerAddress::Mirror, -0.375F, 0.25F, 1.0F},
    };
    for (const auto& c : cases) {
        const auto sampler = MakeSampler(SamplerFilter::Linear, c.mAddress);
        EXPECT_FLOAT_EQ(Sample(image.View(), sampler, c.mU, c.mV).x, c.mExpected)
            << "u " << c.mU << " v " << c.mV << " mode " << static_cast<int>(c.mAddress);
    }
}

TEST(Sampling, PointFilterTakesTheTexelAndLayersRound) {
    const Image image = MakeSteps();
    const auto sampler = MakeSampler(SamplerFilter::Point, SamplerAddress::Clamp);
    EXPECT_EQ(Sample(image.View(), sampler, 0.49F, 0.9F).x, 11.0F);
    EXPECT_EQ(Sample(image.View(), sampler, 0.5F, 0.1F).x, 2.0F);
    EXPECT_EQ(Sample(image.View(), sampler, 0.1F, 0.1F, 0.6F).x, 100.0F);
    EXPECT_EQ(Sample(image.View(), sampler, 0.1F, 0.1F, 9.0F).x, 100.0F);
}

TEST(Sampling, CoordinatesThatAreNoNumberAnswerWithATexel) {
    const Image image = MakeSteps();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(Sample(image.View(), kLinearClampSampler, nan, 0.25F).x, 0.0F);
    EXPECT_EQ(Sample(image.View(), kLinearClampSampler, std::numeric_limits<float>::infinity(), 0.25F).x, 3.0F);
}

}  // namespace
}  // namespace zeb::render::cpu
