#include "PipelineLayout.h"

#include <algorithm>
#include <array>
#include <optional>

#include <fmt/format.h>

namespace zeb::render {
namespace {

// "t5": how a program's text names a binding.
std::string GetRegisterName(std::uint32_t binding) {
    constexpr std::array kLetters = {'b', 't', 'u', 's'};
    const std::uint32_t kind = binding / kReadOnlyShift;
    return kind < kLetters.size() ? fmt::format("{}{}", kLetters[kind], binding % kReadOnlyShift)
                                  : fmt::format("binding {}", binding);
}

bool Fits(RootParameterKind kind, VkDescriptorType type) {
    switch (kind) {
        case RootParameterKind::Constants:
        case RootParameterKind::ConstantBuffer: return type == VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER;
        case RootParameterKind::ReadOnlyBuffer:
        case RootParameterKind::ReadWriteBuffer: return type == VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
        default: return true;
    }
}

struct Place {
    std::uint32_t mParameter;
    std::uint32_t mTableSlot;
};

std::optional<Place> FindPlace(const RootSignatureVulkan& signature, std::uint32_t binding,
                               VkShaderStageFlagBits stage) {
    const std::vector<RootBindings>& parameters = signature.GetBindings();
    for (std::uint32_t p = 0; p < parameters.size(); ++p) {
        if ((parameters[p].mStages & stage) == 0) continue;
        const std::vector<std::uint32_t>& bindings = parameters[p].mBindings;
        const auto found = std::find(bindings.begin(), bindings.end(), binding);
        if (found != bindings.end()) return Place{p, static_cast<std::uint32_t>(found - bindings.begin())};
    }
    return std::nullopt;
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
        const std::string registerName = GetRegisterName(binding.mBinding);
        const std::optional<Place> place = FindPlace(signature, binding.mBinding, stage.mStage);
        if (!place || !Fits(signature.GetParameters()[place->mParameter].mKind, binding.mType)) {
            ZEB_RENDER_THROW(
                "Failed to create the pipeline \"{}\": its program uses {}, for which the root signature \"{}\" has no "
                "parameter",
                mName, registerName, signature.GetName());
        }
        const auto same = std::find_if(mBindings.begin(), mBindings.end(), [&](const PipelineBinding& other) {
            return other.mShader.mBinding == binding.mBinding;
        });
        if (same == mBindings.end()) {
            mBindings.push_back({binding, stage.mStage, place->mParameter, place->mTableSlot});
            continue;
        }
        if (same->mShader.mType != binding.mType || same->mShader.mArrayStride != binding.mArrayStride ||
            same->mParameter != place->mParameter || same->mTableSlot != place->mTableSlot) {
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
    if (mBindings.size() > mContext->GetMaxPushDescriptors()) {
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": it uses {} resources, the device's limit is {}", mName,
                         mBindings.size(), mContext->GetMaxPushDescriptors());
    }
    std::vector<VkDescriptorSetLayoutBinding> bindings;
    for (const PipelineBinding& binding : mBindings)
        bindings.push_back({binding.mShader.mBinding, binding.mShader.mType, 1, binding.mStages, nullptr});
    VkDescriptorSetLayoutCreateInfo setInfo = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
    setInfo.flags = VK_DESCRIPTOR_SET_LAYOUT_CREATE_PUSH_DESCRIPTOR_BIT_KHR;
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
