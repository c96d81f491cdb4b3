// What all encoders check before a back end records.
#include <algorithm>

#include "PluginBase/Render/Commands.h"
#include "RenderFailure.h"

namespace zeb::render {
namespace {

bool IsStripOrList(Topology topology, TopologyType type) {
    switch (type) {
        case TopologyType::Point: return topology == Topology::PointList;
        case TopologyType::Line: return topology == Topology::LineList || topology == Topology::LineStrip;
        default: return topology == Topology::TriangleList || topology == Topology::TriangleStrip;
    }
}

}  // namespace

CommandEncoder::CommandEncoder(CommandList& list) : mCommandList(list) { mCommandList.mHasEncoder = true; }

CommandEncoder::~CommandEncoder() {
    // One that is dropped by a failure gives the list free again.
    if (mIsOpen) mCommandList.mHasEncoder = false;
}

void CommandEncoder::CheckOpen() const {
    if (!mIsOpen) ZEB_RENDER_THROW("An encoder of the command list \"{}\" was ended already", mCommandList.GetName());
}

void CommandEncoder::TextureTransitionBarrier(Texture& texture, TextureState state) {
    CheckOpen();
    DoTextureTransitionBarrier(texture, state);
}

void CommandEncoder::BufferTransitionBarrier(Buffer& buffer, BufferState state) {
    CheckOpen();
    DoBufferTransitionBarrier(buffer, state);
}

void CommandEncoder::TextureUnorderedAccessBarrier(Texture& texture) {
    CheckOpen();
    DoTextureUnorderedAccessBarrier(texture);
}

void CommandEncoder::BufferUnorderedAccessBarrier(Buffer& buffer) {
    CheckOpen();
    DoBufferUnorderedAccessBarrier(buffer);
}

void CommandEncoder::End() {
    CheckOpen();
    DoEnd();
    mIsOpen = false;
    mCommandList.mHasEncoder = false;
}

void GraphicsAndComputeCommandEncoderBase::SetRootSignature(RootSignature& signature) {
    CheckOpen();
    DoSetRootSignature(signature);
    if (mSignature == &signature) return;
    mSignature = &signature;
    mIsSet.assign(signature.GetParameters().size(), false);
}

const RootParameter& GraphicsAndComputeCommandEncoderBase::CheckParameter(std::uint32_t parameter,
                                                                          RootParameterKind kind) const {
    CheckOpen();
    if (mSignature == nullptr) ZEB_RENDER_THROW("Root parameter {} is set before a root signature", parameter);
    const std::vector<RootParameter>& parameters = mSignature->GetParameters();
    if (parameter >= parameters.size() || parameters[parameter].mKind != kind) {
        ZEB_RENDER_THROW("The root signature \"{}\" has no parameter {} of this kind", mSignature->GetName(),
                         parameter);
    }
    return parameters[parameter];
}

void GraphicsAndComputeCommandEncoderBase::SetRootDescriptorTable(std::uint32_t parameter, DescriptorRange& range,
                                                                  std::uint32_t index) {
    const RootParameter& table = CheckParameter(parameter, RootParameterKind::Table);
    std::uint32_t count = 0;
    bool isOfSamplers = false;
    for (const DescriptorTableRange& part : table.mRanges) {
        count += part.mCount;
        isOfSamplers |= part.mType == DescriptorRangeType::Sampler;
    }
    range.Check(index, count, isOfSamplers ? DescriptorHeapType::Samplers : DescriptorHeapType::ShaderResources);
    DoSetRootDescriptorTable(parameter, range, index);
    mIsSet[parameter] = true;
}

void GraphicsAndComputeCommandEncoderBase::SetRootConstants(std::uint32_t parameter, std::uint32_t count,
                                                            const void* data) {
    const std::uint32_t declared = CheckParameter(parameter, RootParameterKind::Constants).mConstantCount;
    if (count > declared) {
        ZEB_RENDER_THROW("{} root constants are given for parameter {} of the root signature \"{}\", which holds {}",
                         count, parameter, mSignature->GetName(), declared);
    }
    DoSetRootConstants(parameter, count, data);
    mIsSet[parameter] = true;
}

void GraphicsAndComputeCommandEncoderBase::SetRootBufferView(std::uint32_t parameter, RootParameterKind kind,
                                                             Buffer& buffer, std::uint64_t byteOffset,
                                                             std::uint64_t sizeInBytes) {
    constexpr std::uint64_t kConstantAlignment = 256;
    constexpr std::uint64_t kWord = 4;
    CheckParameter(parameter, kind);
    if (byteOffset >= buffer.GetSizeInBytes()) {
        ZEB_RENDER_THROW("Offset {} lies outside the buffer \"{}\" of {} bytes", byteOffset, buffer.GetName(),
                         buffer.GetSizeInBytes());
    }
    const std::uint64_t rest = buffer.GetSizeInBytes() - byteOffset;
    if (sizeInBytes > rest) {
        ZEB_RENDER_THROW("{} bytes at {} lie outside the buffer \"{}\" of {} bytes", sizeInBytes, byteOffset,
                         buffer.GetName(), buffer.GetSizeInBytes());
    }
    const bool isConstants = kind == RootParameterKind::ConstantBuffer;
    const std::uint64_t alignment = isConstants ? kConstantAlignment : kWord;
    if (byteOffset % alignment != 0) {
        ZEB_RENDER_THROW("Offset {} of the {}buffer \"{}\", bound by the root signature \"{}\", is no multiple of {}",
                         byteOffset, isConstants ? "constant " : "", buffer.GetName(), mSignature->GetName(),
                         alignment);
    }
    DoSetRootBufferView(parameter, kind, buffer, byteOffset, sizeInBytes == 0 ? rest : sizeInBytes);
    mIsSet[parameter] = true;
}

void GraphicsAndComputeCommandEncoderBase::SetRootConstantBufferView(std::uint32_t parameter, Buffer& buffer,
                                                                     std::uint64_t byteOffset) {
    SetRootBufferView(parameter, RootParameterKind::ConstantBuffer, buffer, byteOffset, 0);
}

void GraphicsAndComputeCommandEncoderBase::SetRootShaderResourceBufferView(std::uint32_t parameter, Buffer& buffer,
                                                                           std::uint64_t byteOffset,
                                                                           std::uint64_t sizeInBytes) {
    SetRootBufferView(parameter, RootParameterKind::ReadOnlyBuffer, buffer, byteOffset, sizeInBytes);
}

void GraphicsAndComputeCommandEncoderBase::SetRootUnorderedAccessBufferView(std::uint32_t parameter, Buffer& buffer,
                                                                            std::uint64_t byteOffset,
                                                                            std::uint64_t sizeInBytes) {
    SetRootBufferView(parameter, RootParameterKind::ReadWriteBuffer, buffer, byteOffset, sizeInBytes);
}

void GraphicsAndComputeCommandEncoderBase::CheckArguments(const std::string& pipeline, std::uint64_t signature) const {
    if (mSignature == nullptr || mSignature->GetIdentity() != signature) {
        ZEB_RENDER_THROW("The pipeline \"{}\" is used, but the root signature {} is not the one it was made with",
                         pipeline, mSignature == nullptr ? "" : fmt::format("\"{}\"", mSignature->GetName()));
    }
    const auto missing = std::find(mIsSet.begin(), mIsSet.end(), false);
    if (missing != mIsSet.end()) {
        ZEB_RENDER_THROW("The pipeline \"{}\" is used, but nothing is bound to root parameter {} of \"{}\"", pipeline,
                         missing - mIsSet.begin(), mSignature->GetName());
    }
}

void ComputeCommandEncoder::SetPipelineState(ComputePipelineState& state) {
    CheckOpen();
    DoSetPipelineState(state);
    mPipeline = &state;
}

void ComputeCommandEncoder::Dispatch(std::uint32_t groupsX, std::uint32_t groupsY, std::uint32_t groupsZ,
                                     std::uint32_t threadsX, std::uint32_t, std::uint32_t) {
    CheckOpen();
    if (mPipeline == nullptr)
        ZEB_RENDER_THROW("A dispatch of the command list \"{}\" has no pipeline", mCommandList.GetName());
    if (groupsX == 0 || groupsY == 0 || groupsZ == 0) return;
    const auto& limits = mCommandList.GetLimits().mGroups;
    if (groupsX > limits[0] || groupsY > limits[1] || groupsZ > limits[2]) {
        ZEB_RENDER_THROW("{} x {} x {} groups of \"{}\" are more than the device's limit of {} x {} x {}", groupsX,
                         groupsY, groupsZ, mPipeline->GetName(), limits[0], limits[1], limits[2]);
    }
    CheckArguments(mPipeline->GetName(), mPipeline->GetSignature());
    DoDispatch(groupsX, groupsY, groupsZ, threadsX);
}

void ComputeCommandEncoder::Sort(Buffer& keys, Buffer& payload, std::uint32_t count) {
    CheckOpen();
    for (const Buffer* buffer : {&keys, &payload}) {
        if (buffer->GetSizeInBytes() < std::uint64_t{4} * count)
            ZEB_RENDER_THROW("A sort of {} words reaches beyond the buffer \"{}\"", count, buffer->GetName());
    }
    if (&keys == &payload) ZEB_RENDER_THROW("A sort has the buffer \"{}\" for keys and payload", keys.GetName());
    if (count != 0) DoSort(keys, payload, count);
}

void ComputeCommandEncoder::DoSort(Buffer& keys, Buffer&, std::uint32_t) {
    ZEB_RENDER_THROW("The device cannot sort the buffer \"{}\"", keys.GetName());
}

GraphicsCommandEncoder::GraphicsCommandEncoder(CommandList& list, const RenderPassDescription& description)
    : GraphicsAndComputeCommandEncoderBase(list) {
    for (const ColorAttachment& attachment : description.mColorAttachments) mTargets.push_back(attachment.mTexture);
}

void GraphicsCommandEncoder::SetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) {
    CheckOpen();
    if (slot >= kMaxVertexSlots)
        ZEB_RENDER_THROW("A vertex buffer is bound to slot {}, the last is {}", slot, kMaxVertexSlots - 1);
    if (view.mBuffer == nullptr) ZEB_RENDER_THROW("No vertex buffer is given for slot {}", slot);
    const std::uint64_t size = view.mBuffer->GetSizeInBytes();
    if (view.mByteOffset > size || view.mSizeInBytes > size - view.mByteOffset) {
        ZEB_RENDER_THROW("A view of {} bytes at {} lies outside the vertex buffer \"{}\" of {} bytes",
                         view.mSizeInBytes, view.mByteOffset, view.mBuffer->GetName(), size);
    }
    DoSetVertexBuffer(view, slot);
    mBoundVertexSlots |= 1U << slot;
}

void GraphicsCommandEncoder::SetIndexBuffer(const IndexBufferView& view) {
    CheckOpen();
    if (view.mBuffer == nullptr) ZEB_RENDER_THROW("No index buffer is given");
    if (view.mSizeInBytes > view.mBuffer->GetSizeInBytes()) {
        ZEB_RENDER_THROW("A view of {} bytes lies outside the index buffer \"{}\" of {} bytes", view.mSizeInBytes,
                         view.mBuffer->GetName(), view.mBuffer->GetSizeInBytes());
    }
    DoSetIndexBuffer(view);
    mIndexCount = view.mSizeInBytes / (view.mFormat == IndexFormat::UInt16 ? 2 : 4);
}

void GraphicsCommandEncoder::SetViewport(float x, float y, float width, float height, float minDepth, float maxDepth) {
    CheckOpen();
    const auto& limits = mCommandList.GetLimits().mViewport;
    if (!(width > 0.0F) || !(height > 0.0F) || width > static_cast<float>(limits[0]) ||
        height > static_cast<float>(limits[1])) {
        ZEB_RENDER_THROW("A viewport of {} x {} is empty or exceeds the device's limit of {} x {}", width, height,
                         limits[0], limits[1]);
    }
    DoSetViewport(x, y, width, height, minDepth, maxDepth);
}

void GraphicsCommandEncoder::SetScissor(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
    CheckOpen();
    DoSetScissor(left, top, right, bottom);
}

void GraphicsCommandEncoder::SetPipelineState(GraphicsPipelineState& state) {
    CheckOpen();
    DoSetPipelineState(state);
    mPipeline = &state;
}

void GraphicsCommandEncoder::CheckDraw(Topology topology) const {
    if (mPipeline == nullptr)
        ZEB_RENDER_THROW("A draw of the command list \"{}\" has no pipeline", mCommandList.GetName());
    const GraphicsPipelineDescription& description = mPipeline->GetDescription();
    const bool sameCount = static_cast<std::size_t>(description.mRenderTargetCount) == mTargets.size();
    for (std::size_t i = 0; i < mTargets.size(); ++i) {
        if (sameCount && description.mRenderTargetFormats[i] == mTargets[i]->GetFormat()) continue;
        ZEB_RENDER_THROW("The pipeline \"{}\" is not made for drawing to the texture \"{}\" of format {}",
                         mPipeline->GetName(), mTargets[i]->GetName(),
                         static_cast<std::uint32_t>(mTargets[i]->GetFormat()));
    }
    if (!IsStripOrList(topology, description.mTopologyType)) {
        ZEB_RENDER_THROW("The pipeline \"{}\" is not made for the topology {}", mPipeline->GetName(),
                         static_cast<std::uint32_t>(topology));
    }
    for (std::size_t slot = 0; slot < kMaxVertexSlots; ++slot) {
        if ((mPipeline->GetVertexSlots() & ~mBoundVertexSlots & (1U << slot)) == 0) continue;
        ZEB_RENDER_THROW("The pipeline \"{}\" reads vertex slot {}, to which nothing is bound", mPipeline->GetName(),
                         slot);
    }
    CheckArguments(mPipeline->GetName(), mPipeline->GetSignature());
}

void GraphicsCommandEncoder::Draw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount) {
    DrawInstanced(topology, firstVertex, vertexCount, 0, 1);
}

void GraphicsCommandEncoder::DrawInstanced(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                                           std::uint32_t firstInstance, std::uint32_t instanceCount) {
    CheckOpen();
    if (vertexCount == 0 || instanceCount == 0) return;
    CheckDraw(topology);
    DoDraw(topology, firstVertex, vertexCount, firstInstance, instanceCount);
}

void GraphicsCommandEncoder::DrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount) {
    DrawIndexedInstanced(topology, firstIndex, indexCount, 0, 1);
}

void GraphicsCommandEncoder::DrawIndexedInstanced(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                                                  std::uint32_t firstInstance, std::uint32_t instanceCount) {
    CheckOpen();
    if (indexCount == 0 || instanceCount == 0) return;
    if (firstIndex > mIndexCount || indexCount > mIndexCount - firstIndex) {
        ZEB_RENDER_THROW("Indices {} to {} lie outside the index buffer of {} indices", firstIndex,
                         std::uint64_t{firstIndex} + indexCount, mIndexCount);
    }
    CheckDraw(topology);
    DoDrawIndexed(topology, firstIndex, indexCount, firstInstance, instanceCount);
}

}  // namespace zeb::render
