#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "VulkanApi.h"

namespace zeb::render {

/// One resource that a stage uses.
struct ShaderBinding {
    std::uint32_t mBinding = 0;
    VkDescriptorType mType = VK_DESCRIPTOR_TYPE_MAX_ENUM;
    std::uint32_t mArrayStride = 0;  ///< bytes of an element of a storage buffer, else 0
    bool mIsWritten = false;
};

/// What the back end must know of a compiled stage.
struct StageReflection {
    std::string mEntryPoint;
    VkShaderStageFlagBits mStage = VK_SHADER_STAGE_ALL;
    std::vector<ShaderBinding> mBindings;  ///< those that some instruction refers to, of set 0
    std::vector<std::uint32_t> mInputLocations;
    bool mUsesPushConstants = false;
    bool mUsesWaves = false;
};

/// Reads a SPIR-V module of one entry point (SPIR-V specification 1.3, sections 2.3 and 3). Throws a RenderException
/// that names the program when the code is no such module or uses resources of other kinds than the layer has.
StageReflection ReflectStage(const void* code, std::size_t size, const std::string& program);

}  // namespace zeb::render
