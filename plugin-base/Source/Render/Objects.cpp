#include "PluginBase/Render/Objects.h"

#include <algorithm>
#include <atomic>

#include "RenderFailure.h"

namespace zeb::render {
namespace {

constexpr std::uint32_t kRegistersPerKind = 32;
constexpr std::uint64_t kRowPitchAlignment = 256;

// The reference that a description must hold, or a failure that quotes it.
template <class T>
const T& Need(const T* pointer, const char* expression, const std::string& pipeline) {
    if (pointer == nullptr)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": {} is missing", pipeline, expression);
    return *pointer;
}

void NeedStage(const Shader* shader, const char* expression, const std::string& pipeline) {
    if (Need(shader, expression, pipeline).GetSize() == 0)
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": its program lacks a stage", pipeline);
}

void CheckGraphicsDescription(const GraphicsPipelineDescription& description, const std::string& pipeline) {
    const auto fail = [&](const std::string& what) {
        ZEB_RENDER_THROW("Failed to create the pipeline \"{}\": {}", pipeline, what);
    };
    const std::int32_t targets = description.mRenderTargetCount;
    if (targets < 1 || targets > static_cast<std::int32_t>(kMaxRenderTargets))
        fail(fmt::format("it has {} render targets", targets));
    if (description.mDepthFormat != Format::Unknown) fail("no format of this layer holds depth");
    if (description.mSampleCount > 1) fail(fmt::format("{} samples are not supported", description.mSampleCount));
    for (const VertexElement& element : description.mVertexElements) {
        if (element.mInputSlot >= kMaxVertexSlots)
            fail(fmt::format("the vertex element {} lies in slot {}", element.mSemanticName, element.mInputSlot));
    }
}

}  // namespace

std::byte* Buffer::Map(std::uint64_t begin, std::uint64_t end) {
    if (mMemory == MemoryKind::Default)
        ZEB_RENDER_THROW("Failed to map the buffer \"{}\": its memory is not visible to the CPU", GetName());
    if (begin > end || end > mSizeInBytes) {
        ZEB_RENDER_THROW("Failed to map bytes {} to {} of the buffer \"{}\" of {} bytes", begin, end, GetName(),
                         mSizeInBytes);
    }
    std::byte* data = DoMap(begin, end);
    ++mOpenMaps;
    return data;
}

void Buffer::Unmap() {
    if (mOpenMaps == 0) ZEB_RENDER_THROW("The buffer {} is not mapped.", GetName());
    DoUnmap();
    --mOpenMaps;
}

std::string Buffer::CheckUnmapped() const {
    return mOpenMaps == 0 ? std::string() : fmt::format("The buffer {} must be unmapped.", GetName());
}

CopyableLayout Texture::GetCopyableLayout(std::uint32_t mipLevel, std::uint32_t arrayIndex) const {
    if (mipLevel >= mDescription.mMipLevels || arrayIndex >= mDescription.mArraySize)
        ZEB_RENDER_THROW("The texture \"{}\" has no mip level {} of layer {}", GetName(), mipLevel, arrayIndex);
    return DoGetCopyableLayout(mipLevel, arrayIndex);
}

CopyableLayout Texture::DoGetCopyableLayout(std::uint32_t mipLevel, std::uint32_t) const {
    CopyableLayout layout;
    layout.mRowSize =
        std::uint64_t{std::max(mDescription.mWidth >> mipLevel, 1U)} * GetBytesPerPixel(mDescription.mFormat);
    layout.mRowPitch = (layout.mRowSize + kRowPitchAlignment - 1) / kRowPitchAlignment * kRowPitchAlignment;
    layout.mRowCount = std::max(mDescription.mHeight >> mipLevel, 1U);
    layout.mTotalSize = layout.mRowPitch * (layout.mRowCount - 1) + layout.mRowSize;
    return layout;
}

RootSignature::RootSignature(std::string name) : ObjectWithName(std::move(name)) {
    static std::atomic<std::uint64_t> last = 0;
    mIdentity = ++last;
}

void RootSignature::CheckRegisters(std::uint32_t first, std::uint32_t count) const {
    if (first < kRegistersPerKind && count <= kRegistersPerKind - first) return;
    ZEB_RENDER_THROW("The root signature \"{}\" uses register {}, the highest is {}", GetName(),
                     std::max(first, kRegistersPerKind), kRegistersPerKind - 1);
}

void RootSignature::Append(RootParameter parameter) {
    DoAddParameter(parameter);
    mParameters.push_back(std::move(parameter));
}

void RootSignature::AddDescriptorTable(const std::vector<DescriptorTableRange>& ranges, ShaderVisibility visibility) {
    RootParameter parameter;
    parameter.mVisibility = visibility;
    parameter.mRanges = ranges;
    for (const DescriptorTableRange& range : ranges) CheckRegisters(range.mRegister, range.mCount);
    Append(std::move(parameter));
}

void RootSignature::AddRoot(RootParameterKind kind, std::uint32_t shaderRegister, std::uint32_t space,
                            std::uint32_t constantCount) {
    CheckRegisters(shaderRegister, 1);
    RootParameter parameter;
    parameter.mKind = kind;
    parameter.mRegister = shaderRegister;
    parameter.mSpace = space;
    parameter.mConstantCount = constantCount;
    Append(std::move(parameter));
}

void RootSignature::AddRootConstants(std::uint32_t count, std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::Constants, shaderRegister, space, count);
}

void RootSignature::AddRootConstantBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ConstantBuffer, shaderRegister, space);
}

void RootSignature::AddRootShaderResourceBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ReadOnlyBuffer, shaderRegister, space);
}

void RootSignature::AddRootUnorderedAccessBufferView(std::uint32_t shaderRegister, std::uint32_t space) {
    AddRoot(RootParameterKind::ReadWriteBuffer, shaderRegister, space);
}

void DescriptorRange::Check(std::uint32_t index, std::uint32_t count, DescriptorHeapType type) const {
    if (mType != type) ZEB_RENDER_THROW("The descriptor heap \"{}\" does not take views of this kind", mHeapName);
    if (index > mCount || count > mCount - index) {
        ZEB_RENDER_THROW("Descriptor {} lies outside a range of {} descriptors of the heap \"{}\"",
                         std::max(index, mCount), mCount, mHeapName);
    }
}

UniquePtr<DescriptorRange> DescriptorHeap::AllocateRange(std::int32_t count) {
    if (count <= 0) ZEB_RENDER_THROW("Failed to take {} descriptors of the heap \"{}\"", count, GetName());
    try {
        return DoAllocateRange(count);
    } catch (const RenderException&) {
        throw;
    } catch (const Exception&) {  // of the ranges' manager, which is no part of this layer
        ZEB_RENDER_THROW("Failed to get range of size {}", count);
    }
}

GraphicsPipelineState::GraphicsPipelineState(std::string name, const GraphicsPipelineDescription& description)
    : ObjectWithName(std::move(name)), mDescription(description) {
    mSignature = Need(description.mRootSignature, "*desc.mRootSignature", GetName()).GetIdentity();
    NeedStage(description.mVertexShader, "*desc.mVertexShader", GetName());
    NeedStage(description.mPixelShader, "*desc.mPixelShader", GetName());
    CheckGraphicsDescription(description, GetName());
    for (const VertexElement& element : mDescription.mVertexElements) mVertexSlots |= 1U << element.mInputSlot;
    mDescription.mRootSignature = nullptr;
    mDescription.mVertexShader = nullptr;
    mDescription.mPixelShader = nullptr;
}

ComputePipelineState::ComputePipelineState(std::string name, const ComputePipelineDescription& description)
    : ObjectWithName(std::move(name)) {
    mSignature = Need(description.mRootSignature, "*desc.mRootSignature", GetName()).GetIdentity();
    NeedStage(description.mComputeShader, "*desc.mComputeShader", GetName());
}

}  // namespace zeb::render
