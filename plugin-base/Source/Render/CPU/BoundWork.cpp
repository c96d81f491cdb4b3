#include "Render/CPU/BoundWork.h"

#include <unordered_map>

namespace zeb::render::cpu {
namespace {

constexpr std::uint64_t kConstantBufferAlignment = 256;

/// Fills slots from arguments; what they point into is kept with the work.
class Binder {
public:
    Binder(const RootArgumentsOf<ClassesCPU>& arguments, BoundWork& work) : mArguments(arguments), mWork(work) {}

    Bindings::Slot Bind(const BoundRegister& bound) {
        Bindings::Slot slot = {bound.mBinding, {}, nullptr, {}};
        switch (bound.mBinding.mType) {
            case BindingType::Sampler: slot.mSampler = mArguments.GetSampler(bound.mPlace, GetName()); break;
            case BindingType::Texture: slot.mImage = BindTexture(bound); break;
            default: slot.mBytes = BindBytes(bound); break;
        }
        return slot;
    }

private:
    const std::string& GetName() const { return mWork.mPipeline->mName; }

    // Other devices allow a resource to be read or to be written, not both at once.
    template <class Resource>
    void Use(const std::shared_ptr<Resource>& resource, const char* kind, bool isWritten) {
        if (mUses.try_emplace(resource.get(), isWritten).first->second != isWritten)
            ThrowUsedInTwoWays(kind, resource->mName);
        mWork.mKept.push_back(resource);
    }

    Image* BindTexture(const BoundRegister& bound) {
        const bool isWritten = bound.mBinding.mKind == RegisterKind::ReadWrite;
        const auto& view = mArguments.GetTexture(bound.mPlace, GetName(),
                                                 isWritten ? TextureViewKind::ReadWrite : TextureViewKind::Read);
        Use(view.mTexture, "texture", isWritten);
        return view.mTexture->mLevels.data();
    }

    std::span<std::byte> BindBytes(const BoundRegister& bound) {
        if (const auto* constants = mArguments.FindConstants(bound.mPlace)) {
            const auto words = std::make_shared<std::vector<std::uint32_t>>(*constants);
            mWork.mKept.push_back(words);
            return std::as_writable_bytes(std::span(*words));
        }
        const ProgramBinding& binding = bound.mBinding;
        const auto view = mArguments.GetBuffer(bound.mPlace, GetName());
        if (binding.mType == BindingType::Constants && view.mOffset % kConstantBufferAlignment != 0) {
            ZEB_RENDER_THROW("Offset {} of the constant buffer \"{}\" is no multiple of {}", view.mOffset,
                             view.mBuffer->mName, kConstantBufferAlignment);
        }
        if (view.mOffset % binding.mStride != 0) {
            ZEB_RENDER_THROW("Offset {} of the buffer \"{}\" is no multiple of the {} bytes of an element in \"{}\"",
                             view.mOffset, view.mBuffer->mName, binding.mStride, GetName());
        }
        Use(view.mBuffer, "buffer", binding.mKind == RegisterKind::ReadWrite);
        return view.mBuffer->Bytes().subspan(view.mOffset, view.mSize);
    }

    const RootArgumentsOf<ClassesCPU>& mArguments;
    BoundWork& mWork;
    std::unordered_map<const void*, bool> mUses;  ///< whether the resource is written
};

}  // namespace

BoundWork Bind(const RootArgumentsOf<ClassesCPU>& arguments, const std::shared_ptr<const Pipeline>& pipeline,
               const TextureResource* target) {
    BoundWork work;
    work.mPipeline = pipeline;
    Binder binder(arguments, work);
    for (const BoundRegister& bound : pipeline->mRegisters) {
        const Bindings::Slot slot = binder.Bind(bound);
        if (target != nullptr && slot.mImage == target->mLevels.data()) ThrowUsedInTwoWays("texture", target->mName);
        work.mBindings.Add(slot);
    }
    return work;
}

}  // namespace zeb::render::cpu
