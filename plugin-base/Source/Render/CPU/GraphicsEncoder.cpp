#include <algorithm>
#include <utility>

#include "Render/CPU/Encoders.h"
#include "Render/CPU/Parallel.h"

namespace zeb::render::cpu {
namespace {

bool IsStripOrList(Topology topology, TopologyType type) {
    switch (type) {
        case TopologyType::Point: return topology == Topology::PointList;
        case TopologyType::Line: return topology == Topology::LineList || topology == Topology::LineStrip;
        default: return topology == Topology::TriangleList || topology == Topology::TriangleStrip;
    }
}

// An unknown factor is zero (see GetBlendFactor), an unknown operation adds.
BlendState GetBlendState(const GraphicsPipelineDescription& description) {
    const auto known = [](BlendOperation operation) {
        return operation > BlendOperation::Maximum ? BlendOperation::Add : operation;
    };
    return {description.mBlendEnabled,          description.mSourceColorFactor, description.mDestinationColorFactor,
            known(description.mColorOperation), description.mSourceAlphaFactor, description.mDestinationAlphaFactor,
            known(description.mAlphaOperation)};
}

void Clear(Image& image, const glm::vec4& color) {
    // Layer 0 is the one that is drawn to.
    std::vector<std::byte> row(std::size_t{image.GetWidth()} * GetBytesPerPixel(image.GetFormat()));
    for (std::uint32_t x = 0; x < image.GetWidth(); ++x)
        EncodeTexel(image.GetFormat(), color, row.data() + std::size_t{x} * GetBytesPerPixel(image.GetFormat()));
    ParallelFor(image.GetHeight(), 64, [&](std::uint32_t begin, std::uint32_t end) {
        for (std::uint32_t y = begin; y < end; ++y)
            std::copy(row.begin(), row.end(), image.Texels().data() + row.size() * y);
    });
}

}  // namespace

GraphicsCommandEncoderCPU::GraphicsCommandEncoderCPU(CommandListCPU& list, const RenderPassDescription& description)
    : BindingEncoderCPU(list) {
    const auto& attachments = description.mColorAttachments;
    if (attachments.empty() || attachments.size() > kMaxRenderTargets) {
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has {} colour attachments: "
            "*renderPassDesc.mColorAttachments",
            mList.GetName(), attachments.size());
    }
    if (attachments.size() > 1)
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has {} colour attachments, and this device draws to "
            "one",
            mList.GetName(), attachments.size());
    if (description.mDepthTarget != nullptr) {
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has a depth target, which this device does not draw to",
            mList.GetName());
    }
    SetTarget(attachments.front());
    const TextureDescription& target = mTarget->mDescription;
    SetViewport(0.0F, 0.0F, static_cast<float>(target.mWidth), static_cast<float>(target.mHeight), 0.0F, 1.0F);
    SetScissor(0, 0, static_cast<std::int32_t>(target.mWidth), static_cast<std::int32_t>(target.mHeight));
}

void GraphicsCommandEncoderCPU::SetTarget(const ColorAttachment& attachment) {
    if (attachment.mTexture == nullptr || attachment.mRange == nullptr)
        ZEB_RENDER_THROW("A colour attachment of the command list \"{}\" has no texture or no view", mList.GetName());
    const auto* view = std::get_if<BoundTexture>(&ToCPU(*attachment.mRange).Get(attachment.mIndex));
    mTarget = ToCPU(*attachment.mTexture).GetResource();
    if (view == nullptr || view->mTexture != mTarget) {
        ZEB_RENDER_THROW("The render target view of the texture \"{}\" is of another texture",
                         attachment.mTexture->GetName());
    }
    if (attachment.mLoadOperation != LoadOperation::Clear) return;
    const auto& c = attachment.mClearColor;
    mList.Record([target = mTarget, color = glm::vec4(c[0], c[1], c[2], c[3])] { Clear(target->mLevels[0], color); });
}

void GraphicsCommandEncoderCPU::SetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) {
    CheckOpen();
    if (slot >= kMaxVertexSlots)
        ZEB_RENDER_THROW("A vertex buffer is bound to slot {}, the last is {}", slot, kMaxVertexSlots - 1);
    if (view.mBuffer == nullptr) ZEB_RENDER_THROW("No vertex buffer is given for slot {}", slot);
    const BufferCPU& buffer = ToCPU(*view.mBuffer);
    if (view.mByteOffset > buffer.GetSizeInBytes() || view.mSizeInBytes > buffer.GetSizeInBytes() - view.mByteOffset) {
        ZEB_RENDER_THROW("A view of {} bytes at {} lies outside the vertex buffer \"{}\" of {} bytes",
                         view.mSizeInBytes, view.mByteOffset, buffer.GetName(), buffer.GetSizeInBytes());
    }
    mVertexSlots[slot] = {buffer.GetResource(), view.mByteOffset, view.mSizeInBytes, view.mStride};
}

void GraphicsCommandEncoderCPU::SetIndexBuffer(const IndexBufferView& view) {
    CheckOpen();
    if (view.mBuffer == nullptr) ZEB_RENDER_THROW("No index buffer is given");
    const BufferCPU& buffer = ToCPU(*view.mBuffer);
    CheckEnumeration(view.mFormat, IndexFormat::UInt32, "index format");
    if (view.mSizeInBytes > buffer.GetSizeInBytes()) {
        ZEB_RENDER_THROW("A view of {} bytes lies outside the index buffer \"{}\" of {} bytes", view.mSizeInBytes,
                         buffer.GetName(), buffer.GetSizeInBytes());
    }
    mIndexBuffer = buffer.GetResource();
    mIndexFormat = view.mFormat;
    mIndexCount = view.mSizeInBytes / (view.mFormat == IndexFormat::UInt16 ? 2 : 4);
}

void GraphicsCommandEncoderCPU::SetViewport(float x, float y, float width, float height, float, float) {
    CheckOpen();
    constexpr auto kLimit = static_cast<float>(kMaxTextureSize);
    if (!(width > 0.0F) || !(height > 0.0F) || width > kLimit || height > kLimit) {
        ZEB_RENDER_THROW("A viewport of {} x {} is empty or exceeds the device's limit of {} x {}", width, height,
                         kMaxTextureSize, kMaxTextureSize);
    }
    // The depth range would matter only to a depth target.
    mViewport = {x, y, width, height};
}

void GraphicsCommandEncoderCPU::SetScissor(std::int32_t left, std::int32_t top, std::int32_t right,
                                           std::int32_t bottom) {
    CheckOpen();
    const auto width = static_cast<std::int32_t>(mTarget->mDescription.mWidth);
    const auto height = static_cast<std::int32_t>(mTarget->mDescription.mHeight);
    mScissor = {std::clamp(left, 0, width), std::clamp(top, 0, height), std::clamp(right, 0, width),
                std::clamp(bottom, 0, height)};
}

void GraphicsCommandEncoderCPU::SetPipelineState(GraphicsPipelineState& state) {
    CheckOpen();
    mPipelineState = &ToCPU<GraphicsPipelineStateCPU>(state, "pipeline");
}

void GraphicsCommandEncoderCPU::CheckPipeline(Topology topology) const {
    if (mPipelineState == nullptr)
        ZEB_RENDER_THROW("A draw of the command list \"{}\" has no pipeline", mList.GetName());
    const GraphicsPipelineDescription& description = mPipelineState->GetDescription();
    if (description.mRenderTargetFormats[0] != mTarget->mDescription.mFormat) {
        ZEB_RENDER_THROW("The pipeline \"{}\" is not made for drawing to the texture \"{}\" of format {}",
                         mPipelineState->GetName(), mTarget->mName,
                         static_cast<std::uint32_t>(mTarget->mDescription.mFormat));
    }
    if (!IsStripOrList(topology, description.mTopologyType)) {
        ZEB_RENDER_THROW("The pipeline \"{}\" is not made for the topology {}", mPipelineState->GetName(),
                         static_cast<std::uint32_t>(topology));
    }
}

std::vector<VertexStream> GraphicsCommandEncoderCPU::GetStreams(BoundWork& work) const {
    std::vector<VertexStream> streams;
    for (const VertexElement& element : mPipelineState->GetDescription().mVertexElements) {
        const VertexSlot& slot = mVertexSlots[element.mInputSlot];
        if (!slot.mBuffer) {
            ZEB_RENDER_THROW("The pipeline \"{}\" reads vertex slot {}, to which nothing is bound",
                             mPipelineState->GetName(), element.mInputSlot);
        }
        streams.push_back({slot.mBuffer->Bytes().subspan(slot.mOffset, slot.mSize), slot.mStride,
                           element.mAlignedByteOffset, element.mFormat});
        work.mKept.push_back(slot.mBuffer);
    }
    return streams;
}

void GraphicsCommandEncoderCPU::RecordDraw(Topology topology, const Range& range, bool isIndexed) {
    CheckPipeline(topology);
    const GraphicsPipelineDescription& description = mPipelineState->GetDescription();
    auto work = std::make_shared<BoundWork>(mArguments.Bind(mPipelineState->GetPipeline(), mTarget.get()));
    DrawCall call(work->mBindings);
    call.mPass = {&mTarget->mLevels[0], mViewport, mScissor, GetBlendState(description)};
    call.mTopology = topology;
    call.mCullMode = description.mCullMode;
    call.mFrontFace = description.mFrontFace;
    call.mFillMode = description.mFillMode;
    call.mFirst = range.mFirst;
    call.mCount = range.mCount;
    call.mFirstInstance = range.mFirstInstance;
    call.mInstanceCount = range.mInstanceCount;
    call.mStreams = GetStreams(*work);
    if (isIndexed) {
        call.mIndices = mIndexBuffer->Bytes();
        call.mIndexFormat = mIndexFormat;
        work->mKept.push_back(mIndexBuffer);
    }
    work->mKept.push_back(mTarget);
    // `call` refers to the bindings inside `work`, which the closure keeps in their place.
    mList.Record([work, call] { work->mPipeline->mProgram.mDraw(call); });
}

void GraphicsCommandEncoderCPU::Draw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount) {
    DrawInstanced(topology, firstVertex, vertexCount, 0, 1);
}

void GraphicsCommandEncoderCPU::DrawInstanced(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                                              std::uint32_t firstInstance, std::uint32_t instanceCount) {
    CheckOpen();
    if (vertexCount == 0 || instanceCount == 0) return;
    RecordDraw(topology, {firstVertex, vertexCount, firstInstance, instanceCount}, false);
}

void GraphicsCommandEncoderCPU::DrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount) {
    DrawIndexedInstanced(topology, firstIndex, indexCount, 0, 1);
}

void GraphicsCommandEncoderCPU::DrawIndexedInstanced(Topology topology, std::uint32_t firstIndex,
                                                     std::uint32_t indexCount, std::uint32_t firstInstance,
                                                     std::uint32_t instanceCount) {
    CheckOpen();
    if (indexCount == 0 || instanceCount == 0) return;
    if (!mIndexBuffer || firstIndex > mIndexCount || indexCount > mIndexCount - firstIndex) {
        ZEB_RENDER_THROW("Indices {} to {} lie outside the index buffer of {} indices", firstIndex,
                         std::uint64_t{firstIndex} + indexCount, mIndexBuffer ? mIndexCount : 0);
    }
    RecordDraw(topology, {firstIndex, indexCount, firstInstance, instanceCount}, true);
}

}  // namespace zeb::render::cpu
