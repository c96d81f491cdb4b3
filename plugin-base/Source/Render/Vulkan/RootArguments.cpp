#include "RootArguments.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

#include <fmt/format.h>

namespace zeb::render {
namespace {

[[noreturn]] void ThrowUnbound(const PipelineLayout& layout, const PipelineBinding& binding, const char* what) {
    ZEB_RENDER_THROW("The pipeline \"{}\" is used, but {} root parameter {} for its register {}", layout.GetName(),
                     what, binding.mParameter, binding.GetRegister());
}

VkImageLayout GetLayout(VkDescriptorType type) {
    return type == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE ? VK_IMAGE_LAYOUT_GENERAL
                                                    : VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;
}

bool IsTexture(VkDescriptorType type) {
    return type == VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE || type == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE;
}

}  // namespace

void RootArguments::SetSignature(const RootSignatureVulkan& signature) {
    if (mSignature == &signature) return;
    mSignature = &signature;
    mArguments.assign(signature.GetParameters().size(), Argument());
}

void RootArguments::SetTable(std::uint32_t parameter, DescriptorRangeVulkan& range, std::uint32_t index) {
    Argument& argument = mArguments[parameter];
    argument.mRange = &range;
    argument.mIndex = index;
}

void RootArguments::SetConstants(std::uint32_t parameter, std::uint32_t count, const void* data) {
    Argument& argument = mArguments[parameter];
    argument.mConstants.resize(mSignature->GetParameters()[parameter].mConstantCount);
    std::memcpy(argument.mConstants.data(), data, count * sizeof(std::uint32_t));
    argument.mUploaded.reset();
}

void RootArguments::SetBuffer(std::uint32_t parameter, BufferVulkan& buffer, std::uint64_t byteOffset) {
    mArguments[parameter].mBuffer = buffer.GetResource();
    mArguments[parameter].mOffset = byteOffset;
}

bool RootArguments::IsConstants(const PipelineBinding& binding) const {
    return mSignature->GetParameters()[binding.mParameter].mKind == RootParameterKind::Constants;
}

const Descriptor& RootArguments::GetDescriptor(const PipelineBinding& binding) const {
    const Argument& argument = mArguments[binding.mParameter];
    return argument.mRange->Get(argument.mIndex + binding.mTableSlot);
}

const TextureView& RootArguments::GetTextureView(const PipelineLayout& layout, const PipelineBinding& binding) const {
    const auto* view = std::get_if<TextureView>(&GetDescriptor(binding));
    const bool isWritten = binding.mShader.mType == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE;
    if (view == nullptr || (view->mKind == TextureViewKind::ReadWrite) != isWritten)
        ThrowUnbound(layout, binding, "no fitting view of a texture is bound to");
    return *view;
}

BufferView RootArguments::GetBufferView(const PipelineLayout& layout, const PipelineBinding& binding) const {
    if (mSignature->GetParameters()[binding.mParameter].mKind == RootParameterKind::Table) {
        const auto* view = std::get_if<BufferView>(&GetDescriptor(binding));
        if (view == nullptr) ThrowUnbound(layout, binding, "no view of a buffer is bound to");
        return *view;
    }
    const Argument& argument = mArguments[binding.mParameter];
    return {argument.mBuffer, argument.mOffset, argument.mBuffer->mSize - argument.mOffset};
}

void RootArguments::AddUses(const PipelineLayout& layout, PendingUse& use) const {
    for (const PipelineBinding& binding : layout.GetBindings()) {
        const VkDescriptorType type = binding.mShader.mType;
        if (type == VK_DESCRIPTOR_TYPE_SAMPLER) continue;
        if (IsTexture(type)) {
            use.Add(GetTextureView(layout, binding).mTexture, GetLayout(type), binding.mShader.mIsWritten);
        } else if (!IsConstants(binding)) {
            use.Add(GetBufferView(layout, binding).mBuffer, binding.mShader.mIsWritten);
        }
    }
}

/// Gathers the descriptors of one push.
class RootArguments::Writer {
public:
    Writer(RootArguments& arguments, CommandListVulkan& list, const PipelineLayout& layout)
        : mArguments(arguments), mList(list), mLayout(layout), mInfos(layout.GetBindings().size()) {
        for (const PipelineBinding& binding : layout.GetBindings()) Write(binding);
    }

    void Record(VkPipelineBindPoint bindPoint) const {
        const VkCommandBuffer commands = mList.GetCommandBuffer();
        if (!mWrites.empty()) {
            mList.Api().vkCmdPushDescriptorSetKHR(commands, bindPoint, mLayout.Get(), 0,
                                                  static_cast<std::uint32_t>(mWrites.size()), mWrites.data());
        }
        if (mLayout.GetPushConstantStages() != 0) {
            mList.Api().vkCmdPushConstants(commands, mLayout.Get(), mLayout.GetPushConstantStages(), 0,
                                           sizeof(mBufferOffsets), mBufferOffsets.data());
        }
    }

private:
    union Info {
        VkDescriptorBufferInfo mBuffer;
        VkDescriptorImageInfo mImage;
    };

    void Write(const PipelineBinding& binding) {
        Info& info = mInfos[mWrites.size()];
        VkWriteDescriptorSet write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
        write.dstBinding = binding.mShader.mBinding;
        write.descriptorCount = 1;
        write.descriptorType = binding.mShader.mType;
        switch (binding.mShader.mType) {
            case VK_DESCRIPTOR_TYPE_SAMPLER: info.mImage = GetSampler(binding); break;
            case VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE:
            case VK_DESCRIPTOR_TYPE_STORAGE_IMAGE: info.mImage = GetImage(binding); break;
            case VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER: info.mBuffer = GetUniforms(binding); break;
            default: info.mBuffer = GetStorage(binding); break;
        }
        write.pImageInfo = &info.mImage;
        write.pBufferInfo = &info.mBuffer;
        mWrites.push_back(write);
    }

    VkDescriptorImageInfo GetSampler(const PipelineBinding& binding) const {
        const auto* sampler = std::get_if<std::shared_ptr<SamplerResource>>(&mArguments.GetDescriptor(binding));
        if (sampler == nullptr) ThrowUnbound(mLayout, binding, "no sampler is bound to");
        mList.GetUses().Keep(*sampler);
        return {(*sampler)->mSampler, VK_NULL_HANDLE, VK_IMAGE_LAYOUT_UNDEFINED};
    }

    VkDescriptorImageInfo GetImage(const PipelineBinding& binding) const {
        const TextureView& view = mArguments.GetTextureView(mLayout, binding);
        const TextureResource& texture = *view.mTexture;
        return {VK_NULL_HANDLE, view.mKind == TextureViewKind::Read ? texture.mView : texture.mTargetView,
                GetLayout(binding.mShader.mType)};
    }

    VkDescriptorBufferInfo GetUniforms(const PipelineBinding& binding) const {
        Argument& argument = mArguments.mArguments[binding.mParameter];
        if (mArguments.IsConstants(binding)) {
            const std::size_t size = argument.mConstants.size() * sizeof(std::uint32_t);
            if (!argument.mUploaded)
                argument.mUploaded = mList.GetAllocator().WriteUniforms(argument.mConstants.data(), size);
            return {argument.mUploaded->mBuffer, argument.mUploaded->mOffset, (size + 15) / 16 * 16};
        }
        const BufferView view = mArguments.GetBufferView(mLayout, binding);
        const VkPhysicalDeviceLimits& limits = mList.GetContext()->Limits();
        if (view.mOffset % limits.minUniformBufferOffsetAlignment != 0) {
            ZEB_RENDER_THROW("Offset {} of the constant buffer \"{}\" is no multiple of {}", view.mOffset,
                             view.mBuffer->mName, limits.minUniformBufferOffsetAlignment);
        }
        return {view.mBuffer->mBuffer, view.mOffset, std::min<std::uint64_t>(view.mSize, limits.maxUniformBufferRange)};
    }

    // Storage buffers are bound at an offset that the device takes and that is a whole number of elements; the
    // program adds the rest, in elements.
    VkDescriptorBufferInfo GetStorage(const PipelineBinding& binding) {
        const BufferView view = mArguments.GetBufferView(mLayout, binding);
        const VkPhysicalDeviceLimits& limits = mList.GetContext()->Limits();
        const std::uint64_t stride = std::max(binding.mShader.mArrayStride, 1U);
        if (view.mOffset % stride != 0) {
            ZEB_RENDER_THROW("Offset {} of the buffer \"{}\" is no multiple of the {} bytes of an element in \"{}\"",
                             view.mOffset, view.mBuffer->mName, stride, mLayout.GetName());
        }
        const std::uint64_t step = std::lcm(limits.minStorageBufferOffsetAlignment, stride);
        const std::uint64_t rest = view.mOffset % step;
        const std::uint64_t range = view.mSize + rest;
        if (range > limits.maxStorageBufferRange) {
            ZEB_RENDER_THROW("The buffer \"{}\" of {} bytes is bound with {} bytes, the device's limit is {} bytes",
                             view.mBuffer->mName, view.mBuffer->mSize, range, limits.maxStorageBufferRange);
        }
        if (rest != 0) {
            const std::uint32_t shaderRegister = binding.GetRegister();
            if ((mLayout.GetPushConstantStages() & binding.mStages) != binding.mStages ||
                shaderRegister >= kBufferOffsetCount) {
                ZEB_RENDER_THROW("The program \"{}\" cannot take the buffer \"{}\" at offset {}", mLayout.GetName(),
                                 view.mBuffer->mName, view.mOffset);
            }
            mBufferOffsets[shaderRegister] = static_cast<std::uint32_t>(rest / stride);
        }
        return {view.mBuffer->mBuffer, view.mOffset - rest, range};
    }

    RootArguments& mArguments;
    CommandListVulkan& mList;
    const PipelineLayout& mLayout;
    std::vector<Info> mInfos;
    std::vector<VkWriteDescriptorSet> mWrites;
    std::array<std::uint32_t, kBufferOffsetCount> mBufferOffsets = {};
};

void RootArguments::Push(CommandListVulkan& list, const PipelineLayout& layout, VkPipelineBindPoint bindPoint) {
    Writer(*this, list, layout).Record(bindPoint);
}

}  // namespace zeb::render
