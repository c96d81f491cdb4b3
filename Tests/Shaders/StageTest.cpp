// What the compiled code of every program says of itself; needs no device. What it computes is seen in pictures.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "PluginBase/Render/Render.h"
#include "Shaders/RegisterShaders.h"
#include "StageInfo.h"

namespace nimbrel::embedded {
extern const std::size_t kProgramListSize;
extern const unsigned char kProgramList[];
}  // namespace nimbrel::embedded

namespace nimbrel::test {
namespace {

using zeb::render::ShaderFormat;

#if defined(_WIN32)
constexpr ShaderFormat kFormats[] = {ShaderFormat::Dxil, ShaderFormat::Dxbc};
#else
constexpr ShaderFormat kFormats[] = {ShaderFormat::Spirv};
#endif

class Stages : public testing::TestWithParam<ShaderFormat> {};

TEST_P(Stages, AreStrictSignedAndUseWavesWhereTheirNameSaysSo) {
    RegisterShaders();
    std::size_t arithmetic = 0;
    const auto list =
        nlohmann::json::parse(embedded::kProgramList, embedded::kProgramList + embedded::kProgramListSize);
    for (const auto& program : list.at("programs")) {
        const std::string form = program.value("form", "");
        if (GetParam() == ShaderFormat::Dxbc && form == "Wave") continue;  // shader model 5.1 has none
        const std::string name = program.at("name").get<std::string>() + (form.empty() ? "" : "." + form);
        SCOPED_TRACE(name);
        int stages = 0;
        for (const auto& stage : zeb::render::Render::GetEmbeddedShaderData(name, GetParam()).mStages) {
            if (stage.mSize == 0) continue;
            ++stages;
            const StageInfo info = InspectStage(stage.mData, stage.mSize);
            EXPECT_EQ(info.mStrictCount, info.mArithmeticCount);
            EXPECT_EQ(info.mFusableCount, 0U);
            arithmetic += info.mArithmeticCount;
            EXPECT_EQ(info.mUsesWaves, form == "Wave");
            EXPECT_LE(info.mMostOfABuiltIn, 1);
            if (GetParam() == ShaderFormat::Spirv) continue;
            // A runtime refuses a container without its digest, and one made for a validator that it does not know yet:
            // 1.0 came with shader model 6.0.
            EXPECT_TRUE(info.mIsSigned);
            EXPECT_EQ(info.mValidator, GetParam() == ShaderFormat::Dxil ? "1.0" : "");
        }
        EXPECT_GT(stages, 0);
    }
    EXPECT_GT(arithmetic, 500U);
}

INSTANTIATE_TEST_SUITE_P(Formats, Stages, testing::ValuesIn(kFormats));

}  // namespace
}  // namespace nimbrel::test
