#include <algorithm>
#include <utility>

#include "Render/CPU/Encoders.h"
#include "Render/CPU/Parallel.h"

namespace zeb::render::cpu {
namespace {

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
    : BindingEncoderOf(list, description) {
    const auto& attachments = description.mColorAttachments;
    if (attachments.size() > 1)
        ZEB_RENDER_THROW(
            "A render pass of the command list \"{}\" has {} colour attachments, and this device draws to "
            "one",
            mList.GetName(), attachments.size());
    SetTarget(attachments.front());
    const TextureDescription& target = mTarget->mDescription;
    DoSetViewport(0.0F, 0.0F, static_cast<float>(target.mWidth), static_cast<float>(target.mHeight), 0.0F, 1.0F);
    DoSetScissor(0, 0, static_cast<std::int32_t>(target.mWidth), static_cast<std::int32_t>(target.mHeight));
}

void GraphicsCommandEncoderCPU::SetTarget(const ColorAttachment& attachment) {
    mTarget = GetTarget<ClassesCPU>(attachment);
    if (attachment.mLoadOperation != LoadOperation::Clear) return;
    const auto& c = attachment.mClearColor;
    mList.Record([target = mTarget, color = glm::vec4(c[0], c[1], c[2], c[3])] { Clear(target->mLevels[0], color); });
}

void GraphicsCommandEncoderCPU::DoSetVertexBuffer(const VertexBufferView& view, std::uint32_t slot) {
    const BufferCPU& buffer = ToCPU(*view.mBuffer);
    mVertexSlots[slot] = {buffer.GetResource(), view.mByteOffset, view.mSizeInBytes, view.mStride};
}

void GraphicsCommandEncoderCPU::DoSetIndexBuffer(const IndexBufferView& view) {
    CheckEnumeration(view.mFormat, IndexFormat::UInt32, "index format");
    const BufferCPU& buffer = ToCPU(*view.mBuffer);
    mIndexBuffer = buffer.GetResource();
    mIndexFormat = view.mFormat;
}

void GraphicsCommandEncoderCPU::DoSetViewport(float x, float y, float width, float height, float, float) {
    // The depth range would matter only to a depth target.
    mViewport = {x, y, width, height};
}

void GraphicsCommandEncoderCPU::DoSetScissor(std::int32_t left, std::int32_t top, std::int32_t right,
                                             std::int32_t bottom) {
    const auto width = static_cast<std::int32_t>(mTarget->mDescription.mWidth);
    const auto height = static_cast<std::int32_t>(mTarget->mDescription.mHeight);
    mScissor = {std::clamp(left, 0, width), std::clamp(top, 0, height), std::clamp(right, 0, width),
                std::clamp(bottom, 0, height)};
}

void GraphicsCommandEncoderCPU::DoSetPipelineState(GraphicsPipelineState& state) {
    mPipelineState = &ToOwn<GraphicsPipelineStateCPU>(state, "pipeline");
}

std::vector<VertexStream> GraphicsCommandEncoderCPU::GetStreams(BoundWork& work) const {
    std::vector<VertexStream> streams;
    for (const VertexElement& element : mPipelineState->GetDescription().mVertexElements) {
        const VertexSlot& slot = mVertexSlots[element.mInputSlot];
        streams.push_back({slot.mBuffer->Bytes().subspan(slot.mOffset, slot.mSize), slot.mStride,
                           element.mAlignedByteOffset, element.mFormat});
        work.mKept.push_back(slot.mBuffer);
    }
    return streams;
}

void GraphicsCommandEncoderCPU::RecordDraw(Topology topology, const Range& range, bool isIndexed) {
    const GraphicsPipelineDescription& description = mPipelineState->GetDescription();
    auto work = std::make_shared<BoundWork>(Bind(mArguments, mPipelineState->GetPipeline(), mTarget.get()));
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

void GraphicsCommandEncoderCPU::DoDraw(Topology topology, std::uint32_t firstVertex, std::uint32_t vertexCount,
                                       std::uint32_t firstInstance, std::uint32_t instanceCount) {
    RecordDraw(topology, {firstVertex, vertexCount, firstInstance, instanceCount}, false);
}

void GraphicsCommandEncoderCPU::DoDrawIndexed(Topology topology, std::uint32_t firstIndex, std::uint32_t indexCount,
                                              std::uint32_t firstInstance, std::uint32_t instanceCount) {
    RecordDraw(topology, {firstIndex, indexCount, firstInstance, instanceCount}, true);
}

}  // namespace zeb::render::cpu
