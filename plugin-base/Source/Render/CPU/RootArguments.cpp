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

RootArguments::Argument& RootArguments::Check(std::uint32_t parameter, RootParameterKind kind) {
    if (mSignature == nullptr) ZEB_RENDER_THROW("Root parameter {} is set before a root signature", parameter);
    const std::vector<RootParameter>& parameters = mSignature->GetParameters();
    if (parameter >= parameters.size() || parameters[parameter].mKind != kind) {
        ZEB_RENDER_THROW("The root signature \"{}\" has no parameter {} of this kind", mSignature->GetName(),
                         parameter);
    }
    return mArguments[parameter];
}

void RootArguments::SetTable(std::uint32_t parameter, DescriptorRangeCPU& range, std::uint32_t index) {
    Argument& argument = Check(parameter, RootParameterKind::Table);
    argument.mRange = &range;
    argument.mIndex = index;
}

void RootArguments::SetConstants(std::uint32_t parameter, std::uint32_t count, const void* data) {
    Argument& argument = Check(parameter, RootParameterKind::Constants);
    const std::uint32_t declared = mSignature->GetParameters()[parameter].mConstantCount;
    if (count > declared) {
        ZEB_RENDER_THROW("{} root constants are given for parameter {} of the root signature \"{}\", which holds {}",
                         count, parameter, mSignature->GetName(), declared);
    }
    argument.mConstants.resize(declared);
    std::memcpy(argument.mConstants.data(), data, count * sizeof(std::uint32_t));
}

void RootArguments::SetBuffer(std::uint32_t parameter, RootParameterKind kind, BufferCPU& buffer,
                              std::uint64_t byteOffset) {
    Argument& argument = Check(parameter, kind);
    if (byteOffset >= buffer.GetSizeInBytes()) {
        ZEB_RENDER_THROW("Offset {} lies outside the buffer \"{}\" of {} bytes", byteOffset, buffer.GetName(),
                         buffer.GetSizeInBytes());
    }
    argument.mBuffer = buffer.GetResource();
    argument.mOffset = byteOffset;
}

bool RootArguments::IsTable(const BoundRegister& bound) const {
    return mSignature->GetParameters()[bound.mParameter].mKind == RootParameterKind::Table;
}

const Descriptor& RootArguments::GetDescriptor(const BoundRegister& bound, const Pipeline& pipeline) const {
    const Argument& argument = mArguments[bound.mParameter];
    if (argument.mRange == nullptr) ThrowUnbound(pipeline, bound, "nothing is bound to");
    return argument.mRange->Get(argument.mIndex + bound.mTableSlot);
}

BufferView RootArguments::GetBufferView(const BoundRegister& bound, const Pipeline& pipeline) const {
    if (IsTable(bound)) {
        const auto* view = std::get_if<BufferView>(&GetDescriptor(bound, pipeline));
        if (view == nullptr) ThrowUnbound(pipeline, bound, "no view of a buffer is bound to");
        return *view;
    }
    const Argument& argument = mArguments[bound.mParameter];
    if (!argument.mBuffer) ThrowUnbound(pipeline, bound, "nothing is bound to");
    return {argument.mBuffer, argument.mOffset, argument.mBuffer->mSize - argument.mOffset};
}

Bindings::Slot RootArguments::BindRegister(const BoundRegister& bound, BoundWork& work) const {
    const Pipeline& pipeline = *work.mPipeline;
    const ProgramBinding& binding = bound.mBinding;
    if (mSignature == nullptr || bound.mParameter >= mArguments.size())
        ThrowUnbound(pipeline, bound, "no root signature is set that has");
    Bindings::Slot slot = {binding, {}, nullptr, {}};
    if (binding.mType == BindingType::Sampler) {
        const auto* sampler = std::get_if<SamplerDescription>(&GetDescriptor(bound, pipeline));
        if (sampler == nullptr) ThrowUnbound(pipeline, bound, "no sampler is bound to");
        slot.mSampler = *sampler;
        return slot;
    }
    if (binding.mType == BindingType::Texture) {
        const auto* view = std::get_if<BoundTexture>(&GetDescriptor(bound, pipeline));
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
        if (words->empty()) ThrowUnbound(pipeline, bound, "no constants are set for");
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
