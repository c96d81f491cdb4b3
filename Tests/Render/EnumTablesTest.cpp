#include "Vulkan/EnumTables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zeb::render {
namespace {

TEST(ResultText, NamesResultsAndNumbersTheRest) {
    EXPECT_EQ(GetResultText(VK_ERROR_OUT_OF_DEVICE_MEMORY), "VK_ERROR_OUT_OF_DEVICE_MEMORY");
    EXPECT_EQ(GetResultText(static_cast<VkResult>(-123456)), "code -123456");
}

std::string GetCheckFailure(VkResult result) {
    try {
        ZEB_VK_CHECK_FOR(result, "the lamp");
    } catch (const RenderException& failure) {
        EXPECT_EQ(failure.code, kInternalError);
        return failure.what();
    }
    return "no failure";
}

TEST(ResultCheck, QuotesTheCallItsResultAndItsObject) {
    EXPECT_EQ(GetCheckFailure(VK_SUCCESS), "no failure");
    EXPECT_THAT(GetCheckFailure(VK_ERROR_TOO_MANY_OBJECTS),
                testing::HasSubstr("Failed to call Vulkan function (result): VK_ERROR_TOO_MANY_OBJECTS for the lamp"));
    EXPECT_THAT(GetCheckFailure(VK_ERROR_DEVICE_LOST),
                testing::HasSubstr("(result): Device lost VK_ERROR_DEVICE_LOST"));
}

TEST(EnumTables, UnknownFixedStateHasAMeaningAndTheRestFails) {
    EXPECT_EQ(GetBlendFactorVulkan(static_cast<BlendFactor>(10)), VK_BLEND_FACTOR_ZERO);
    EXPECT_EQ(GetBlendOperationVulkan(static_cast<BlendOperation>(5)), VK_BLEND_OP_ADD);
    EXPECT_EQ(GetPolygonModeVulkan(static_cast<FillMode>(2)), VK_POLYGON_MODE_FILL);
    EXPECT_EQ(GetCullModeVulkan(static_cast<CullMode>(3)), VkCullModeFlags{VK_CULL_MODE_NONE});
    EXPECT_EQ(GetFrontFaceVulkan(static_cast<FrontFace>(2)), VK_FRONT_FACE_CLOCKWISE);
    EXPECT_THROW(GetListTopology(static_cast<TopologyType>(3)), RenderException);
    EXPECT_THROW(GetPrimitiveTopologyVulkan(Topology::Undefined), RenderException);
    EXPECT_THROW(GetShaderStagesVulkan(static_cast<ShaderVisibility>(3)), RenderException);
    EXPECT_THROW(GetIndexTypeVulkan(static_cast<IndexFormat>(2)), RenderException);
    EXPECT_THROW(GetAddressModeVulkan(static_cast<SamplerAddress>(3)), RenderException);
}

}  // namespace
}  // namespace zeb::render
