#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "DescriptorTable.h"
#include "RootRegisters.h"

namespace zeb::render {

/// The values bound to a root signature's parameters while an encoder records, with descriptors in tables. What is set
/// fits its parameter, and all are set before they are used: the encoders' interface sees to that. The Get operations
/// throw, with the name of the pipeline, for a descriptor that does not fit the register.
template <class Classes>
class RootArgumentsOf {
public:
    using Range = DescriptorRangeOf<Classes>;

    /// Another signature than the one set before empties all arguments.
    void SetSignature(const RootSignature& signature) {
        if (mSignature == &signature) return;
        mSignature = &signature;
        mArguments.assign(signature.GetParameters().size(), Argument());
    }
    void SetTable(std::uint32_t parameter, const Range& range, std::uint32_t index) {
        mArguments[parameter].mRange = &range;
        mArguments[parameter].mIndex = index;
    }
    void SetConstants(std::uint32_t parameter, std::uint32_t count, const void* data) {
        std::vector<std::uint32_t>& constants = mArguments[parameter].mConstants;
        constants.resize(mSignature->GetParameters()[parameter].mConstantCount);
        std::memcpy(constants.data(), data, count * sizeof(std::uint32_t));
    }
    void SetBuffer(std::uint32_t parameter, std::shared_ptr<typename Classes::BufferResource> buffer,
                   std::uint64_t byteOffset, std::uint64_t sizeInBytes) {
        mArguments[parameter].mBuffer = std::move(buffer);
        mArguments[parameter].mOffset = byteOffset;
        mArguments[parameter].mSize = sizeInBytes;
    }

    /// Null unless the register is fed by root constants.
    const std::vector<std::uint32_t>* FindConstants(const RegisterPlace& place) const {
        return GetKind(place) == RootParameterKind::Constants ? &mArguments[place.mParameter].mConstants : nullptr;
    }
    BufferViewOf<Classes> GetBuffer(const RegisterPlace& place, const std::string& pipeline) const {
        if (GetKind(place) == RootParameterKind::Table)
            return GetDescriptor<BufferViewOf<Classes>>(place, pipeline, "no view of a buffer is bound to");
        const Argument& argument = mArguments[place.mParameter];
        return {argument.mBuffer, argument.mOffset, argument.mSize};
    }
    const TextureViewOf<Classes>& GetTexture(const RegisterPlace& place, const std::string& pipeline,
                                             TextureViewKind kind) const {
        constexpr const char* kProblem = "no fitting view of a texture is bound to";
        const auto& view = GetDescriptor<TextureViewOf<Classes>>(place, pipeline, kProblem);
        if (view.mKind != kind) ThrowUnbound(place, pipeline, kProblem);
        return view;
    }
    const typename Classes::SamplerState& GetSampler(const RegisterPlace& place, const std::string& pipeline) const {
        return GetDescriptor<typename Classes::SamplerState>(place, pipeline, "no sampler is bound to");
    }

private:
    struct Argument {
        std::vector<std::uint32_t> mConstants;
        std::shared_ptr<typename Classes::BufferResource> mBuffer;
        std::uint64_t mOffset = 0;
        std::uint64_t mSize = 0;
        const Range* mRange = nullptr;
        std::uint32_t mIndex = 0;
    };

    [[noreturn]] static void ThrowUnbound(const RegisterPlace& place, const std::string& pipeline, const char* what) {
        ZEB_RENDER_THROW("The pipeline \"{}\" is used, but {} root parameter {} for its register {}", pipeline, what,
                         place.mParameter, place.mRegister);
    }
    RootParameterKind GetKind(const RegisterPlace& place) const {
        return mSignature->GetParameters()[place.mParameter].mKind;
    }
    template <class View>
    const View& GetDescriptor(const RegisterPlace& place, const std::string& pipeline, const char* problem) const {
        const Argument& argument = mArguments[place.mParameter];
        const auto* view = std::get_if<View>(&argument.mRange->Get(argument.mIndex + place.mTableSlot));
        if (view == nullptr) ThrowUnbound(place, pipeline, problem);
        return *view;
    }

    const RootSignature* mSignature = nullptr;
    std::vector<Argument> mArguments;
};

}  // namespace zeb::render
