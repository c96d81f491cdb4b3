#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Classes.h"
#include "DeviceContext.h"
#include "SpirvReflection.h"

namespace zeb::render {

/// Words of the push constants that carry what is left of buffer offsets: one for each register number.
inline constexpr std::uint32_t kBufferOffsetCount = 20;

/// Bindings of set 0: the registers of each kind begin at a multiple of this, in the order of `RegisterKind`; the
/// programs are compiled with the same shifts.
inline constexpr std::uint32_t kRegistersPerKind = 32;

/// One binding of a pipeline and what feeds it.
struct PipelineBinding {
    ShaderBinding mShader;
    VkShaderStageFlags mStages = 0;
    RegisterPlace mPlace;
};

/// One stage of a pipeline in the making.
struct PipelineStage {
    VkShaderModule mModule = VK_NULL_HANDLE;
    StageReflection mReflection;
};

/// What a pipeline is bound to: one set of descriptors with just the bindings that its stages use, pushed with each
/// draw where the driver takes so many, and the push constants with the rest of buffer offsets where a stage has them.
/// Owns the stages' modules.
class PipelineLayout {
public:
    PipelineLayout(std::shared_ptr<DeviceContext> context, std::string name);
    ~PipelineLayout();
    PipelineLayout(const PipelineLayout&) = delete;
    PipelineLayout& operator=(const PipelineLayout&) = delete;

    /// Reads the stage's code, which must be for `stage`. A stage without code throws.
    void AddStage(const Shader& shader, VkShaderStageFlagBits stage);
    /// Makes the native layout; each used binding must stand in the root signature.
    void Build(const RootSignatureVulkan& signature);

    const std::string& GetName() const { return mName; }
    const std::shared_ptr<DeviceContext>& GetContext() const { return mContext; }
    VkPipelineLayout Get() const { return mLayout; }
    VkDescriptorSetLayout GetSetLayout() const { return mSetLayout; }
    /// Whether descriptors are pushed; else they are written into a set of the command list's.
    bool IsPushed() const { return mIsPushed; }
    const std::vector<PipelineBinding>& GetBindings() const { return mBindings; }
    const std::vector<PipelineStage>& GetStages() const { return mStages; }
    VkShaderStageFlags GetPushConstantStages() const { return mPushConstantStages; }

private:
    void Merge(const StageReflection& stage, const RootSignatureVulkan& signature);

    std::shared_ptr<DeviceContext> mContext;
    std::string mName;
    std::vector<PipelineStage> mStages;
    std::vector<PipelineBinding> mBindings;
    VkShaderStageFlags mPushConstantStages = 0;
    bool mIsPushed = true;
    VkDescriptorSetLayout mSetLayout = VK_NULL_HANDLE;
    VkPipelineLayout mLayout = VK_NULL_HANDLE;
};

}  // namespace zeb::render
