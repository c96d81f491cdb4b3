#pragma once

#include "EnumTable.h"
#include "PluginBase/Render/Commands.h"
#include "RootArguments.h"

/// What encoders have in common whose back end keeps descriptors in tables and finds out itself in which order work
/// may run. Besides what DescriptorTable.h says, `Classes` names the back end's `CommandList` and the classes that
/// implement `Buffer`, `Texture` and `RootSignature` (`Classes::BufferObject` and so on).
namespace zeb::render {

/// The resource of an attachment's texture; its descriptor must hold a view of that.
template <class Classes>
const std::shared_ptr<typename Classes::TextureResource>& GetTarget(const ColorAttachment& attachment) {
    const auto& descriptor = DescriptorRangeOf<Classes>::From(*attachment.mRange).Get(attachment.mIndex);
    const auto* view = std::get_if<TextureViewOf<Classes>>(&descriptor);
    const auto& texture = ToOwn<typename Classes::TextureObject>(*attachment.mTexture, "texture").GetResource();
    if (view == nullptr || view->mTexture != texture) {
        ZEB_RENDER_THROW("The render target view of the texture \"{}\" is of another texture",
                         attachment.mTexture->GetName());
    }
    return texture;
}

/// `Base` is the interface that the encoder implements.
template <class Base, class Classes>
class EncoderOf : public Base {
protected:
    template <class... Args>
    explicit EncoderOf(typename Classes::CommandList& list, const Args&... args) : Base(list, args...), mList(list) {}

    // Barriers have nothing to do but to be correct.
    void DoTextureTransitionBarrier(Texture& texture, TextureState state) override {
        CheckEnumeration(state, TextureState::UnorderedAccess, "resource state");
        ToOwn<typename Classes::TextureObject>(texture, "texture");
    }
    void DoBufferTransitionBarrier(Buffer& buffer, BufferState state) override {
        CheckEnumeration(state, BufferState::UnorderedAccess, "buffer state");
        ToOwn<typename Classes::BufferObject>(buffer, "buffer");
    }
    void DoTextureUnorderedAccessBarrier(Texture& texture) override {
        ToOwn<typename Classes::TextureObject>(texture, "texture");
    }
    void DoBufferUnorderedAccessBarrier(Buffer& buffer) override {
        ToOwn<typename Classes::BufferObject>(buffer, "buffer");
    }

    typename Classes::CommandList& mList;
};

/// Root parameters, the same for graphics and compute.
template <class Base, class Classes>
class BindingEncoderOf : public EncoderOf<Base, Classes> {
protected:
    using EncoderOf<Base, Classes>::EncoderOf;

    void DoSetRootSignature(RootSignature& signature) override {
        mArguments.SetSignature(ToOwn<typename Classes::RootSignatureObject>(signature, "root signature"));
    }
    void DoSetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range, std::uint32_t index) override {
        mArguments.SetTable(parameter, DescriptorRangeOf<Classes>::From(range), index);
    }
    void DoSetRootConstants(std::uint32_t parameter, std::uint32_t count, const void* data) override {
        mArguments.SetConstants(parameter, count, data);
    }
    void DoSetRootBufferView(std::uint32_t parameter, RootParameterKind, Buffer& buffer, std::uint64_t byteOffset,
                             std::uint64_t sizeInBytes) override {
        mArguments.SetBuffer(parameter, ToOwn<typename Classes::BufferObject>(buffer, "buffer").GetResource(),
                             byteOffset, sizeInBytes);
    }

    RootArgumentsOf<Classes> mArguments;
};

}  // namespace zeb::render
