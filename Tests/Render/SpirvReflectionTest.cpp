#include "Vulkan/SpirvReflection.h"

#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DeviceFixture.h"

namespace zeb::render {
namespace {

std::vector<std::uint32_t> GetCode(const std::string& program, ShaderType type) {
    RegisterTestShaders();
    const EmbeddedShaderData::Stage& stage =
        Render::GetEmbeddedShaderData(program).mStages[static_cast<std::uint32_t>(type)];
    std::vector<std::uint32_t> words(stage.mSize / 4);
    std::memcpy(words.data(), stage.mData, stage.mSize);
    return words;
}

StageReflection Reflect(const std::vector<std::uint32_t>& words) {
    return ReflectStage(words.data(), words.size() * 4, "Program");
}

struct Expected {
    std::uint32_t mBinding;
    VkDescriptorType mType;
    std::uint32_t mStride;
    bool mIsWritten;
};

void ExpectBindings(const StageReflection& stage, const std::vector<Expected>& expected) {
    ASSERT_EQ(stage.mBindings.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(stage.mBindings[i].mBinding, expected[i].mBinding) << i;
        EXPECT_EQ(stage.mBindings[i].mType, expected[i].mType) << i;
        EXPECT_EQ(stage.mBindings[i].mArrayStride, expected[i].mStride) << i;
        EXPECT_EQ(stage.mBindings[i].mIsWritten, expected[i].mIsWritten) << i;
    }
}

TEST(SpirvReflection, ListsWhatAStageUsesAndNothingElse) {
    const StageReflection raw = Reflect(GetCode("RawAdd", ShaderType::Compute));
    EXPECT_EQ(raw.mEntryPoint, "RawAdd");
    EXPECT_EQ(raw.mStage, VK_SHADER_STAGE_COMPUTE_BIT);
    EXPECT_TRUE(raw.mUsesPushConstants);
    EXPECT_FALSE(raw.mUsesWaves);
    ExpectBindings(raw, {{0, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 0, false},
                         {14, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 0, false},
                         {33, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 4, false},
                         {66, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 4, true}});
    ExpectBindings(Reflect(GetCode("Sample", ShaderType::Compute)), {{0, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 0, false},
                                                                     {39, VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, 0, false},
                                                                     {40, VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE, 0, false},
                                                                     {44, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 16, false},
                                                                     {74, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 16, true},
                                                                     {105, VK_DESCRIPTOR_TYPE_SAMPLER, 0, false}});
    ExpectBindings(Reflect(GetCode("RecordAdd", ShaderType::Compute)),
                   {{0, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, 0, false},
                    {35, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 40, false},
                    {68, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, 40, true}});
}

TEST(SpirvReflection, GraphicsStagesTellTheirInputs) {
    const StageReflection vertex = Reflect(GetCode("Vertices", ShaderType::Vertex));
    EXPECT_EQ(vertex.mStage, VK_SHADER_STAGE_VERTEX_BIT);
    EXPECT_THAT(vertex.mInputLocations, testing::UnorderedElementsAre(0U, 1U));
    EXPECT_TRUE(vertex.mBindings.empty());
    EXPECT_FALSE(vertex.mUsesPushConstants);
    EXPECT_TRUE(Reflect(GetCode("Quad", ShaderType::Vertex)).mInputLocations.empty());
}

TEST(SpirvReflection, DamagedCodeFailsByName) {
    const auto fails = [](const std::vector<std::uint32_t>& words) {
        try {
            Reflect(words);
        } catch (const RenderException& failure) {
            EXPECT_THAT(failure.what(), testing::HasSubstr("\"Program\""));
            return true;
        }
        return false;
    };
    EXPECT_TRUE(fails({}));
    EXPECT_TRUE(fails({1, 2, 3, 4, 5, 6}));
    std::vector<std::uint32_t> words = GetCode("RawAdd", ShaderType::Compute);
    EXPECT_THROW(ReflectStage(words.data(), words.size() * 4 - 1, "Program"), RenderException);
    EXPECT_THROW(ReflectStage(nullptr, 0, "Program"), RenderException);
    words.back() = 0x00050000;  // an instruction longer than what is left
    EXPECT_TRUE(fails(words));
    // Whatever else is in the words, reading them ends, with a failure or with some answer.
    std::mt19937 random(3);
    const std::vector<std::uint32_t> sound = GetCode("Sample", ShaderType::Compute);
    for (int i = 0; i < 3000; ++i) {
        words = sound;
        for (int k = 0; k < 4; ++k) {
            const auto value = static_cast<std::uint32_t>(random());
            words[5 + random() % (words.size() - 5)] = k == 0 ? value : value % 200;
        }
        if (i % 3 == 0) words.resize(5 + random() % (words.size() - 5));
        fails(words);
    }
}

}  // namespace
}  // namespace zeb::render
