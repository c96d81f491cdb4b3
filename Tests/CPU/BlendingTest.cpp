#include <gtest/gtest.h>

#include "Render/CPU/Blending.h"

namespace zeb::render::cpu {
namespace {

const glm::vec4 kSource(0.2F, 0.4F, 0.6F, 0.5F);
const glm::vec4 kDestination(0.1F, 0.3F, 0.8F, 0.25F);

TEST(Blending, FactorsWeighTheSource) {
    // Source green and alpha times each factor, destination times zero.
    const struct {
        BlendFactor mFactor;
        float mGreen, mAlpha;
    } cases[] = {
        {BlendFactor::Zero, 0.0F, 0.0F},
        {BlendFactor::One, 0.4F, 0.5F},
        {BlendFactor::SourceColor, 0.16F, 0.25F},
        {BlendFactor::InverseSourceColor, 0.24F, 0.25F},
        {BlendFactor::SourceAlpha, 0.2F, 0.25F},
        {BlendFactor::InverseSourceAlpha, 0.2F, 0.25F},
        {BlendFactor::DestinationAlpha, 0.1F, 0.125F},
        {BlendFactor::InverseDestinationAlpha, 0.3F, 0.375F},
        {BlendFactor::DestinationColor, 0.12F, 0.125F},
        {BlendFactor::InverseDestinationColor, 0.28F, 0.375F},
    };
    for (const auto& c : cases) {
        const BlendState state{true,      c.mFactor,         BlendFactor::Zero,  BlendOperation::Add,
                               c.mFactor, BlendFactor::Zero, BlendOperation::Add};
        const glm::vec4 result = Blend(state, Format::RGBA32Float, kSource, kDestination);
        EXPECT_FLOAT_EQ(result.y, c.mGreen) << static_cast<int>(c.mFactor);
        EXPECT_FLOAT_EQ(result.w, c.mAlpha) << static_cast<int>(c.mFactor);
    }
}

TEST(Blending, OperationsCombine) {
    const struct {
        BlendOperation mOperation;
        float mRed, mBlue;
    } cases[] = {
        {BlendOperation::Add, 0.15F, 0.7F},  // half the source plus half the destination
        {BlendOperation::Subtract, 0.05F, -0.1F}, {BlendOperation::ReverseSubtract, -0.05F, 0.1F},
        {BlendOperation::Minimum, 0.1F, 0.6F},    {BlendOperation::Maximum, 0.2F, 0.8F},
    };
    for (const auto& c : cases) {
        const BlendState state{true,
                               BlendFactor::SourceAlpha,
                               BlendFactor::InverseSourceAlpha,
                               c.mOperation,
                               BlendFactor::One,
                               BlendFactor::Zero,
                               BlendOperation::Add};
        const glm::vec4 result = Blend(state, Format::RGBA32Float, kSource, kDestination);
        EXPECT_NEAR(result.x, c.mRed, 1e-6F) << static_cast<int>(c.mOperation);
        EXPECT_NEAR(result.z, c.mBlue, 1e-6F) << static_cast<int>(c.mOperation);
    }
}

TEST(Blending, NormalisedTargetsClampAndRoundTheSourceFirst) {
    const BlendState add{true,
                         BlendFactor::One,
                         BlendFactor::One,
                         BlendOperation::Add,
                         BlendFactor::One,
                         BlendFactor::One,
                         BlendOperation::Add};
    const glm::vec4 bright(3.0F, -2.0F, 0.5F, 1.0F);
    EXPECT_FLOAT_EQ(Blend(add, Format::RGBA8Unorm, bright, kDestination).x, 1.1F);
    EXPECT_FLOAT_EQ(Blend(add, Format::RGBA16Unorm, bright, kDestination).y, 0.3F);
    EXPECT_FLOAT_EQ(Blend(add, Format::RGBA16Float, bright, kDestination).x, 3.1F);
    EXPECT_FLOAT_EQ(Blend(add, Format::RGBA32Float, bright, kDestination).y, -1.7F);
    const glm::vec4 faint(1.4F / 255.0F, 1.6F / 255.0F, 0.4F / 65535.0F, 0.6F / 65535.0F);
    EXPECT_EQ(Blend(add, Format::RGBA8Unorm, faint, glm::vec4(0.0F)), glm::vec4(1.0F, 2.0F, 0.0F, 0.0F) / 255.0F);
    EXPECT_EQ(Blend(add, Format::RGBA16Unorm, faint, glm::vec4(0.0F)).w, 1.0F / 65535.0F);
    EXPECT_EQ(Blend(add, Format::RGBA32Float, faint, glm::vec4(0.0F)), faint);
}

TEST(Blending, OffReplaces) { EXPECT_EQ(Blend({}, Format::RGBA32Float, kSource, kDestination), kSource); }

}  // namespace
}  // namespace zeb::render::cpu
