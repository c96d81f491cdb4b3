#include "PipelineLayout.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "EnumTables.h"

namespace zeb::render {
namespace {

std::string GetBindingName(std::uint32_t binding) {
    const std::uint32_t kind = binding / kRegistersPerKind;
    if (kind > static_cast<std::uint32_t>(RegisterKind::Sampler)) return fmt::format("binding {}", binding);
    return GetRegisterName(static_cast<RegisterKind>(kind), binding % kRegistersPerKind);
}

std::optional<RegisterPlace> FindPlace(const RootSignatureVulkan& signature, const ShaderBinding& binding,
                                       VkShaderStageFlagBits stage) {
    const bool isTexture =
        binding.mType == VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE || binding.mType == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE;
    return FindPlace(signature, static_cast<RegisterKind>(binding.mBinding / kRegistersPerKind),
                     binding.mBinding % kRegistersPerKind, isTexture,
                     [&](ShaderVisibility visibility) { return (GetShaderStagesVulkan(visibility) & stage) != 0; });
}

}  // namespace

PipelineLayout::PipelineLayout(std::shared_ptr<DeviceContext> context, std::string name)
    : mContext(std::move(context)), mName(std::move(name)) {}

PipelineLayout::~PipelineLayout() {
    const VolkDeviceTable& api = mContext->Api();
    for (const PipelineStage& stage : mStages) api.vkDestroyShaderModule(mContext->Get(), stage.mModule, nullptr);
    api.vkDestroyPipelineLayout(mContext->Get(), mLayout, nullptr);
    api.vkDestroyDescriptorSetLayout(mContext->Get(), mSetLayout, nullptr);
}

void PipelineLayout::AddStage(const Shader& shader, VkShaderStageFlagBits stage) {
    if (shader.GetSize() == 0)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": its program lacks a stage", mName);
    StageReflection reflection = ReflectStage(shader.GetData(), shader.GetSize(), mName);
    if (reflection.mStage != stage)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": a stage of its program is of another kind", mName);
    // The code may lie at any address, the interface wants whole words.
    std::vector<std::uint32_t> words(shader.GetSize() / sizeof(std::uint32_t));
    std::copy_n(static_cast<const std::byte*>(shader.GetData()), shader.GetSize(),
                reinterpret_cast<std::byte*>(words.data()));
    VkShaderModuleCreateInfo info = {VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
    info.codeSize = shader.GetSize();
    info.pCode = words.data();
    mStages.push_back({VK_NULL_HANDLE, std::move(reflection)});
    ZEB_VK_CHECK_FOR(mContext->Api().vkCreateShaderModule(mContext->Get(), &info, nullptr, &mStages.back().mModule),
                     mName);
}

void PipelineLayout::Merge(const StageReflection& stage, const RootSignatureVulkan& signature) {
    for (const ShaderBinding& binding : stage.mBindings) {
        const std::string registerName = GetBindingName(binding.mBinding);
        const std::optional<RegisterPlace> place = FindPlace(signature, binding, stage.mStage);
        if (!place) {
            ZEB_RENDER_THROW(
                "Failed to create the pipeline \"{}\": its program uses {}, for which the root signature \"{}\" has no "
                "parameter",
                mName, registerName, signature.GetName());
        }
        const auto same = std::find_if(mBindings.begin(), mBindings.end(), [&](const PipelineBinding& other) {
            return other.mShader.mBinding == binding.mBinding;
        });
        if (same == mBindings.end()) {
            mBindings.push_back({binding, stage.mStage, *place});
            continue;
        }
        if (same->mShader.mType != binding.mType || same->mShader.mArrayStride != binding.mArrayStride ||
            same->mPlace != *place) {
            ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": its stages use {} for different things", mName,
                             registerName);
        }
        same->mStages |= stage.mStage;
        same->mShader.mIsWritten |= binding.mIsWritten;
    }
    if (stage.mUsesPushConstants) mPushConstantStages |= stage.mStage;
}

void PipelineLayout::Build(const RootSignatureVulkan& signature) {
    for (const PipelineStage& stage : mStages) Merge(stage.mReflection, signature);
    const std::uint32_t most = mContext->GetMaxPushDescriptors();
    mIsPushed = most != 0 && mBindings.size() <= most;
    std::vector<VkDescriptorSetLayoutBinding> bindings;
    for (const PipelineBinding& binding : mBindings)
        bindings.push_back({binding.mShader.mBinding, binding.mShader.mType, 1, binding.mStages, nullptr});
    VkDescriptorSetLayoutCreateInfo setInfo = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
    if (mIsPushed) setInfo.flags = VK_DESCRIPTOR_SET_LAYOUT_CREATE_PUSH_DESCRIPTOR_BIT_KHR;
    setInfo.bindingCount = static_cast<std::uint32_t>(bindings.size());
    setInfo.pBindings = bindings.data();
    const VolkDeviceTable& api = mContext->Api();
    ZEB_VK_CHECK_FOR(api.vkCreateDescriptorSetLayout(mContext->Get(), &setInfo, nullptr, &mSetLayout), mName);

    const VkPushConstantRange range = {mPushConstantStages, 0, kBufferOffsetCount * sizeof(std::uint32_t)};
    VkPipelineLayoutCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
    info.setLayoutCount = 1;
    info.pSetLayouts = &mSetLayout;
    info.pushConstantRangeCount = mPushConstantStages != 0 ? 1 : 0;
    info.pPushConstantRanges = &range;
    ZEB_VK_CHECK_FOR(api.vkCreatePipelineLayout(mContext->Get(), &info, nullptr, &mLayout), mName);
}

}  // namespace zeb::render
