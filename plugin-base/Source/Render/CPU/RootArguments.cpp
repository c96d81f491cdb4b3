#include "Render/CPU/RootArguments.h"

#include <cstring>

namespace zeb::render::cpu {
namespace {

constexpr std::uint64_t kConstantBufferAlignment = 256;

[[noreturn]] void ThrowUnbound(const Pipeline& pipeline, const BoundRegister& bound, const char* what) {
    ZEB_RENDER_THROW("The pipeline \"{}\" is used, but {} root parameter {} for its register {}", pipeline.mName, what,
                     bound.mParameter, bound.mBinding.mRegister);
}

}  // namespace

void RootArguments::SetSignature(const RootSignatureCPU& signature) {
    if (mSignature == &signature) return;
    mSignature = &signature;
    mArguments.assign(signature.GetParameters().size(), Argument());
}

void RootArguments::SetTable(std::uint32_t parameter, DescriptorRangeCPU& range, std::uint32_t index) {
    Argument& argument = mArguments[parameter];
    argument.mRange = &range;
    argument.mIndex = index;
}

void RootArguments::SetConstants(std::uint32_t parameter, std::uint32_t count, const void* data) {
    Argument& argument = mArguments[parameter];
    argument.mConstants.resize(mSignature->GetParameters()[parameter].mConstantCount);
    std::memcpy(argument.mConstants.data(), data, count * sizeof(std::uint32_t));
}

void RootArguments::SetBuffer(std::uint32_t parameter, BufferCPU& buffer, std::uint64_t byteOffset) {
    mArguments[parameter].mBuffer = buffer.GetResource();
    mArguments[parameter].mOffset = byteOffset;
}

bool RootArguments::IsTable(const BoundRegister& bound) const {
    return mSignature->GetParameters()[bound.mParameter].mKind == RootParameterKind::Table;
}

const Descriptor& RootArguments::GetDescriptor(const BoundRegister& bound) const {
    const Argument& argument = mArguments[bound.mParameter];
    return argument.mRange->Get(argument.mIndex + bound.mTableSlot);
}

BufferView RootArguments::GetBufferView(const BoundRegister& bound, const Pipeline& pipeline) const {
    if (IsTable(bound)) {
        const auto* view = std::get_if<BufferView>(&GetDescriptor(bound));
        if (view == nullptr) ThrowUnbound(pipeline, bound, "no view of a buffer is bound to");
        return *view;
    }
    const Argument& argument = mArguments[bound.mParameter];
    return {argument.mBuffer, argument.mOffset, argument.mBuffer->mSize - argument.mOffset};
}

Bindings::Slot RootArguments::BindRegister(const BoundRegister& bound, BoundWork& work) const {
    const Pipeline& pipeline = *work.mPipeline;
    const ProgramBinding& binding = bound.mBinding;
    Bindings::Slot slot = {binding, {}, nullptr, {}};
    if (binding.mType == BindingType::Sampler) {
        const auto* sampler = std::get_if<SamplerDescription>(&GetDescriptor(bound));
        if (sampler == nullptr) ThrowUnbound(pipeline, bound, "no sampler is bound to");
        slot.mSampler = *sampler;
        return slot;
    }
    if (binding.mType == BindingType::Texture) {
        const auto* view = std::get_if<BoundTexture>(&GetDescriptor(bound));
        const auto wanted =
            binding.mKind == RegisterKind::ReadWrite ? TextureViewKind::ReadWrite : TextureViewKind::Read;
        if (view == nullptr || view->mKind != wanted)
            ThrowUnbound(pipeline, bound, "no fitting view of a texture is bound to");
        slot.mImage = view->mTexture->mLevels.data();
        work.mKept.push_back(view->mTexture);
        return slot;
    }
    const bool isConstants = mSignature->GetParameters()[bound.mParameter].mKind == RootParameterKind::Constants;
    if (isConstants) {
        const auto words = std::make_shared<std::vector<std::uint32_t>>(mArguments[bound.mParameter].mConstants);
        slot.mBytes = std::as_writable_bytes(std::span(*words));
        work.mKept.push_back(words);
        return slot;
    }
    const BufferView view = GetBufferView(bound, pipeline);
    if (binding.mType == BindingType::Constants && view.mOffset % kConstantBufferAlignment != 0) {
        ZEB_RENDER_THROW("Offset {} of the constant buffer \"{}\" is no multiple of {}", view.mOffset,
                         view.mBuffer->mName, kConstantBufferAlignment);
    }
    if (view.mOffset % binding.mStride != 0) {
        ZEB_RENDER_THROW("Offset {} of the buffer \"{}\" is no multiple of the {} bytes of an element in \"{}\"",
                         view.mOffset, view.mBuffer->mName, binding.mStride, pipeline.mName);
    }
    slot.mBytes = view.mBuffer->Bytes().subspan(view.mOffset, view.mSize);
    work.mKept.push_back(view.mBuffer);
    return slot;
}

BoundWork RootArguments::Bind(const std::shared_ptr<const Pipeline>& pipeline, const TextureResource* target) const {
    BoundWork work;
    work.mPipeline = pipeline;
    for (const BoundRegister& bound : pipeline->mRegisters) {
        const Bindings::Slot slot = BindRegister(bound, work);
        if (target != nullptr && slot.mImage == target->mLevels.data())
            ZEB_RENDER_THROW("The texture \"{}\" is used in two ways at once", target->mName);
        work.mBindings.Add(slot);
    }
    return work;
}

}  // namespace zeb::render::cpu
