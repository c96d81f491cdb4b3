#include "PushDescriptors.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "Sampler.h"

namespace zeb::render {
namespace {

VkImageLayout GetLayout(VkDescriptorType type) {
    return type == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE ? VK_IMAGE_LAYOUT_GENERAL
                                                    : VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;
}

const TextureViewOf<ClassesVulkan>& GetTexture(const RootArgumentsOf<ClassesVulkan>& arguments,
                                               const PipelineLayout& layout, const PipelineBinding& binding) {
    const bool isWritten = binding.mShader.mType == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE;
    return arguments.GetTexture(binding.mPlace, layout.GetName(),
                                isWritten ? TextureViewKind::ReadWrite : TextureViewKind::Read);
}

/// Gathers the descriptors of one draw or dispatch.
class Writer {
public:
    Writer(const RootArgumentsOf<ClassesVulkan>& arguments, CommandListVulkan& list, const PipelineLayout& layout)
        : mArguments(arguments), mList(list), mLayout(layout), mInfos(layout.GetBindings().size()) {
        for (const PipelineBinding& binding : layout.GetBindings()) Write(binding);
    }

    void Record(VkPipelineBindPoint bindPoint) {
        const VkCommandBuffer commands = mList.GetCommandBuffer();
        const auto count = static_cast<std::uint32_t>(mWrites.size());
        if (count != 0 && mLayout.IsPushed())
            mList.Api().vkCmdPushDescriptorSetKHR(commands, bindPoint, mLayout.Get(), 0, count, mWrites.data());
        else if (count != 0)
            BindSet(bindPoint);
        if (mLayout.GetPushConstantStages() != 0) {
            mList.Api().vkCmdPushConstants(commands, mLayout.Get(), mLayout.GetPushConstantStages(), 0,
                                           sizeof(mBufferOffsets), mBufferOffsets.data());
        }
    }

private:
    void BindSet(VkPipelineBindPoint bindPoint) {
        const VkDescriptorSet set = mList.GetAllocator().AllocateSet(mLayout.GetSetLayout());
        for (VkWriteDescriptorSet& write : mWrites) write.dstSet = set;
        mList.Api().vkUpdateDescriptorSets(mList.GetContext()->Get(), static_cast<std::uint32_t>(mWrites.size()),
                                           mWrites.data(), 0, nullptr);
        mList.Api().vkCmdBindDescriptorSets(mList.GetCommandBuffer(), bindPoint, mLayout.Get(), 0, 1, &set, 0, nullptr);
    }

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
        const std::shared_ptr<SamplerResource>& sampler = mArguments.GetSampler(binding.mPlace, mLayout.GetName());
        mList.GetUses().Keep(sampler);
        return {sampler->mSampler, VK_NULL_HANDLE, VK_IMAGE_LAYOUT_UNDEFINED};
    }

    VkDescriptorImageInfo GetImage(const PipelineBinding& binding) const {
        const auto& view = GetTexture(mArguments, mLayout, binding);
        const TextureResource& texture = *view.mTexture;
        return {VK_NULL_HANDLE, view.mKind == TextureViewKind::Read ? texture.mView : texture.mTargetView,
                GetLayout(binding.mShader.mType)};
    }

    VkDescriptorBufferInfo GetUniforms(const PipelineBinding& binding) const {
        if (const auto* constants = mArguments.FindConstants(binding.mPlace)) {
            const std::size_t size = constants->size() * sizeof(std::uint32_t);
            const UniformSlice slice = mList.GetAllocator().WriteUniforms(constants->data(), size);
            return {slice.mBuffer, slice.mOffset, (size + 15) / 16 * 16};
        }
        const auto view = mArguments.GetBuffer(binding.mPlace, mLayout.GetName());
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
        const auto view = mArguments.GetBuffer(binding.mPlace, mLayout.GetName());
        const VkPhysicalDeviceLimits& limits = mList.GetContext()->Limits();
        const std::uint64_t stride = std::max(binding.mShader.mArrayStride, 1U);
        if (view.mOffset % stride != 0) {
            ZEB_RENDER_THROW("Offset {} of the buffer \"{}\" is no multiple of the {} bytes of an element in \"{}\"",
                             view.mOffset, view.mBuffer->mName, stride, mLayout.GetName());
        }
        const std::uint64_t step = std::lcm(std::max<std::uint64_t>(limits.minStorageBufferOffsetAlignment, 1), stride);
        const std::uint64_t rest = view.mOffset % step;
        const std::uint64_t range = view.mSize + rest;
        if (range > limits.maxStorageBufferRange) {
            ZEB_RENDER_THROW("The buffer \"{}\" of {} bytes is bound with {} bytes, the device's limit is {} bytes",
                             view.mBuffer->mName, view.mBuffer->mSize, range, limits.maxStorageBufferRange);
        }
        if (rest != 0) {
            const std::uint32_t shaderRegister = binding.mPlace.mRegister;
            if ((mLayout.GetPushConstantStages() & binding.mStages) != binding.mStages ||
                shaderRegister >= kBufferOffsetCount) {
                ZEB_RENDER_THROW("The program \"{}\" cannot take the buffer \"{}\" at offset {}", mLayout.GetName(),
                                 view.mBuffer->mName, view.mOffset);
            }
            mBufferOffsets[shaderRegister] = static_cast<std::uint32_t>(rest / stride);
        }
        return {view.mBuffer->mBuffer, view.mOffset - rest, range};
    }

    const RootArgumentsOf<ClassesVulkan>& mArguments;
    CommandListVulkan& mList;
    const PipelineLayout& mLayout;
    std::vector<Info> mInfos;
    std::vector<VkWriteDescriptorSet> mWrites;
    std::array<std::uint32_t, kBufferOffsetCount> mBufferOffsets = {};
};

}  // namespace

void AddUses(const RootArgumentsOf<ClassesVulkan>& arguments, const PipelineLayout& layout, PendingUse& use) {
    for (const PipelineBinding& binding : layout.GetBindings()) {
        const VkDescriptorType type = binding.mShader.mType;
        if (type == VK_DESCRIPTOR_TYPE_SAMPLER) continue;
        if (type == VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE || type == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE) {
            use.Add(GetTexture(arguments, layout, binding).mTexture, GetLayout(type), binding.mShader.mIsWritten);
        } else if (arguments.FindConstants(binding.mPlace) == nullptr) {
            use.Add(arguments.GetBuffer(binding.mPlace, layout.GetName()).mBuffer, binding.mShader.mIsWritten);
        }
    }
}

void PushDescriptors(const RootArgumentsOf<ClassesVulkan>& arguments, CommandListVulkan& list,
                     const PipelineLayout& layout, VkPipelineBindPoint bindPoint) {
    Writer(arguments, list, layout).Record(bindPoint);
}

}  // namespace zeb::render
