#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PluginBase/Exception.h"
#include "PluginBase/Render/Render.h"
#include "ShaderLibrary.h"

namespace zeb::render {
namespace {

using testing::HasSubstr;

template <class Function>
std::string GetFailure(Function&& function) {
    try {
        function();
    } catch (const Exception& failure) {
        EXPECT_EQ(failure.code, 512);
        return failure.what();
    }
    return "no failure";
}

constexpr std::uint32_t kCode[] = {1, 2, 3};

EmbeddedShaderData MakeComputeProgram() {
    EmbeddedShaderData data;
    data.mStages[2] = {sizeof(kCode), kCode};
    return data;
}

TEST(ShaderRegistry, KnowsEachNameOnce) {
    Render::SetEmbeddedShaderData("Once", MakeComputeProgram());
    EXPECT_EQ(Render::GetEmbeddedShaderData("Once").mStages[2].mData, kCode);
    EXPECT_THAT(GetFailure([] { Render::SetEmbeddedShaderData("Once", MakeComputeProgram()); }),
                HasSubstr("\"Embedded shader \"Once\" already registered\""));
    EXPECT_THAT(GetFailure([] { Render::GetEmbeddedShaderData("Never"); }),
                HasSubstr("\"Failed to get embedded shader \"Never\"\""));
}

TEST(ShaderRegistry, MayGrowWhileOtherThreadsRead) {
    Render::SetEmbeddedShaderData("Fixed", MakeComputeProgram());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                const std::string name = "Program " + std::to_string(t) + "/" + std::to_string(i);
                Render::SetEmbeddedShaderData(name, MakeComputeProgram());
                EXPECT_EQ(Render::GetEmbeddedShaderData(name).mStages[2].mSize, sizeof(kCode));
                EXPECT_EQ(Render::GetEmbeddedShaderData("Fixed").mStages[2].mData, kCode);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(ShaderLibraries, HandOutStagesWithoutACopy) {
    Render::SetEmbeddedShaderData("Library", MakeComputeProgram());
    const ShaderLibraryFromEmbeddedData library("Library");
    const auto compute = library.GetShader(ShaderType::Compute);
    EXPECT_EQ(compute->GetData(), kCode);
    EXPECT_EQ(compute->GetSize(), sizeof(kCode));
    const auto vertex = library.GetShader(ShaderType::Vertex);
    EXPECT_EQ(vertex->GetData(), nullptr);
    EXPECT_EQ(vertex->GetSize(), 0U);
    EXPECT_THAT(GetFailure([&] { library.GetShader(static_cast<ShaderType>(3)); }),
                HasSubstr("\"Unexpected shader type of 3\""));
    EXPECT_THAT(GetFailure([] { ShaderLibraryFromEmbeddedData("Never"); }), HasSubstr("get embedded shader \"Never\""));
}

TEST(ShaderLibraries, CompileNoSource) {
    const ShaderLibraryFromSource library("Source");
    EXPECT_THAT(GetFailure([&] { library.GetShader(ShaderType::Pixel); }),
                HasSubstr("\"Shader compiling unavailable\""));
    EXPECT_THAT(GetFailure([&] { library.GetShader(static_cast<ShaderType>(4)); }),
                HasSubstr("\"Failed to get target prefix for shader type 4\""));
}

TEST(RenderCreation, KnowsTypesZeroAndOneOnly) {
    for (const std::int32_t type : {-1, 2, 7}) {
        EXPECT_THAT(GetFailure([type] { Render::Create(type, RenderOptions()); }),
                    HasSubstr("\"Failed to create a render of type " + std::to_string(type) + "\""));
        EXPECT_THROW(Render::Create(type, RenderOptions()), RenderException);
    }
}

}  // namespace
}  // namespace zeb::render
