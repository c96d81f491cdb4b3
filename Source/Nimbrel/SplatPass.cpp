#include "Nimbrel/SplatPass.h"

#include <algorithm>
#include <array>

#include "Nimbrel/CommonCpp.h"
#include "Nimbrel/ShaderConstants.h"

using namespace zeb::render;

namespace {

constexpr std::array<std::uint16_t, 36> kCubeIndices = {0, 1, 2, 1, 3, 2, 4, 6, 5, 5, 6, 7, 0, 2, 4, 4, 2, 6,
                                                        1, 5, 3, 5, 7, 3, 0, 4, 1, 4, 5, 1, 2, 3, 6, 3, 7, 6};
constexpr std::uint32_t kQuadIndexCount = 6;

// Root parameters, in the order of addition.
constexpr std::uint32_t kOrderParameter = 0;
constexpr std::uint32_t kViewDataParameter = 1;
constexpr std::uint32_t kScreenParameter = 2;
constexpr std::uint32_t kFurtherWindows = 3;
constexpr std::uint32_t kBackgroundParameter = 0;
constexpr std::uint32_t kSamplerParameter = 1;

// Slots of the range of render target views.
constexpr std::uint32_t kSplatsTargetIndex = 0;
constexpr std::uint32_t kBackgroundTargetIndex = 1;

/// Front to back: a new fragment goes under what is there, weighted by what is still uncovered.
GraphicsPipelineDescription MakeFrontToBack() {
    GraphicsPipelineDescription description;
    description.mBlendEnabled = true;
    description.mSourceColorFactor = BlendFactor::InverseDestinationAlpha;
    description.mDestinationColorFactor = BlendFactor::One;
    description.mSourceAlphaFactor = BlendFactor::InverseDestinationAlpha;
    description.mDestinationAlphaFactor = BlendFactor::One;
    return description;
}

GraphicsPipelineDescription MakeOver() {
    GraphicsPipelineDescription description;
    description.mBlendEnabled = true;
    description.mSourceColorFactor = BlendFactor::SourceAlpha;
    description.mDestinationColorFactor = BlendFactor::InverseSourceAlpha;
    description.mSourceAlphaFactor = BlendFactor::One;
    description.mDestinationAlphaFactor = BlendFactor::InverseSourceAlpha;
    return description;
}

zeb::UniquePtr<GraphicsCommandEncoder> BeginPass(CommandList& commandList, Texture& target, DescriptorRange& range,
                                                 std::uint32_t index) {
    RenderPassDescription pass;
    pass.mColorAttachments.push_back({&target, &range, index, LoadOperation::Clear, {}});
    auto encoder = commandList.CreateGraphicsCommandEncoder(pass);
    encoder->TextureTransitionBarrier(target, TextureState::RenderTarget);
    return encoder;
}

void SetArea(GraphicsCommandEncoder& encoder, std::uint32_t width, std::uint32_t height) {
    encoder.SetViewport(0.0F, 0.0F, static_cast<float>(width), static_cast<float>(height), 0.0F, 1.0F);
    encoder.SetScissor(0, 0, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
}

}  // namespace

SplatPass::SplatPass(Device& device)
    : mDevice(device),
      mSplats(device, "RenderGaussianSplats", MakeFrontToBack()),
      mBoxes(device, "RenderGaussianSplatsBoxes", MakeOver()),
      mFillBackground(device, "FillBackground", {}),
      mIndexBuffer(device, "IndexBuffer", kUploadBuffer),
      mTargetRange(device.GetThreadData().mRenderTargetHeap->AllocateRange(2)),
      mZDepthRange(device.GetThreadData().mShaderResourceHeap->AllocateRange(1)) {
    for (GraphicsProgram* program : {&mSplats, &mBoxes}) {
        program->GetRootSignature().AddRootShaderResourceBufferView(7);
        program->GetRootSignature().AddRootShaderResourceBufferView(8);
    }
    mSplats.GetRootSignature().AddRootConstants(sizeof(nimbrel::gpu::TextureConstants) / 4, 9);
    mFillBackground.GetRootSignature().AddDescriptorTable({{DescriptorRangeType::Texture, 1, 0}});
    mFillBackground.GetRootSignature().AddDescriptorTable({{DescriptorRangeType::Sampler, 1, 1}});
    if (mIndexBuffer.SetCount(kCubeIndices.size())) {
        const MappedBuffer mapped(mIndexBuffer);
        std::memcpy(mapped.Get(), kCubeIndices.data(), sizeof(kCubeIndices));
    }
}

void SplatPass::Record(CommandList& commandList, const zeb::DrawInfo& drawInfo, const Splats& splats, Texture& target,
                       DescriptorRange& sampler) {
    if (CommonCpp::Read(*drawInfo.mPackedParameters)._drawZDepthEnabled == 0) {
        DrawSplats(commandList, drawInfo, splats, target);
        return;
    }
    DrawSplats(commandList, drawInfo, splats, GetZDepthTarget(target));
    FillBackground(commandList, target, sampler);
}

void SplatPass::DrawSplats(CommandList& commandList, const zeb::DrawInfo& drawInfo, const Splats& splats,
                           Texture& target) {
    mDevice.CreateRenderTargetView(*mTargetRange, kSplatsTargetIndex, target);
    const auto encoder = BeginPass(commandList, target, *mTargetRange, kSplatsTargetIndex);
    if (splats.mCount != 0) {
        SetArea(*encoder, drawInfo.mOutputWidth, drawInfo.mOutputHeight);
        BindSplats(*encoder, drawInfo, splats, target.GetFormat());
        encoder->SetIndexBuffer({&mIndexBuffer.Get(), sizeof(kCubeIndices), IndexFormat::UInt16});
        encoder->DrawIndexedInstanced(Topology::TriangleList, 0, kQuadIndexCount, 0, splats.mCount);
    }
    encoder->End();
}

void SplatPass::BindSplats(GraphicsCommandEncoder& encoder, const zeb::DrawInfo& drawInfo, const Splats& splats,
                           Format format) {
    const CommonCpp common = CommonCpp::Read(*drawInfo.mPackedParameters);
    const auto total = static_cast<std::int32_t>(splats.mCount);
    nimbrel::gpu::TextureConstants constants{};
    constants._ScreenParams = {static_cast<float>(drawInfo.mOutputWidth), static_cast<float>(drawInfo.mOutputHeight)};
    constants._StartIndex = std::min(common.debug_startSplatIndex, total - 1);
    constants._Count = total - constants._StartIndex;
    if (common.debug_splatsCount != -1) constants._Count = std::min(common.debug_splatsCount, constants._Count);

    const bool isWindowed = splats.mWindowSize != 0;
    GraphicsProgram& program = isWindowed ? GetWindowed() : mSplats;
    program.Use(encoder, format);
    constexpr std::uint64_t kStride = sizeof(nimbrel::gpu::SplatViewData);
    encoder.SetRootShaderResourceBufferView(kOrderParameter, *splats.mOrder, 0, splats.mCount * sizeof(std::uint32_t));
    if (!isWindowed) {
        encoder.SetRootShaderResourceBufferView(kViewDataParameter, *splats.mViewData, 0, splats.mCount * kStride);
        encoder.SetRootConstants(kScreenParameter, sizeof(constants) / 4, &constants);
        return;
    }
    const nimbrel::gpu::WindowedTextureConstants windowed = {constants, splats.mWindowSize};
    encoder.SetRootConstants(kScreenParameter, sizeof(windowed) / 4, &windowed);
    for (std::uint32_t i = 0; i < kMaxWindows; ++i) {
        std::uint64_t first = std::uint64_t{i} * splats.mWindowSize;
        if (first >= splats.mCount) first = 0;
        const std::uint64_t count = std::min<std::uint64_t>(splats.mWindowSize, splats.mCount - first);
        encoder.SetRootShaderResourceBufferView(i == 0 ? kViewDataParameter : kFurtherWindows + i - 1,
                                                *splats.mViewData, first * kStride, count * kStride);
    }
}

GraphicsProgram& SplatPass::GetWindowed() {
    if (mWindowed) return *mWindowed;
    mWindowed.emplace(mDevice, "RenderGaussianSplats.Windows", MakeFrontToBack());
    RootSignature& signature = mWindowed->GetRootSignature();
    signature.AddRootShaderResourceBufferView(7);
    signature.AddRootShaderResourceBufferView(8);
    signature.AddRootConstants(sizeof(nimbrel::gpu::WindowedTextureConstants) / 4, 9);
    for (std::uint32_t i = 1; i < kMaxWindows; ++i) signature.AddRootShaderResourceBufferView(9 + i);
    return *mWindowed;
}

void SplatPass::FillBackground(CommandList& commandList, Texture& target, DescriptorRange& sampler) {
    mDevice.CreateTextureView(*mZDepthRange, 0, *mZDepthTarget);
    mDevice.CreateRenderTargetView(*mTargetRange, kBackgroundTargetIndex, target);
    const auto encoder = BeginPass(commandList, target, *mTargetRange, kBackgroundTargetIndex);
    encoder->TextureTransitionBarrier(*mZDepthTarget, TextureState::ShaderRead);
    // Both textures are of one size: texel to texel over all of it, whatever part the tile takes.
    SetArea(*encoder, target.GetWidth(), target.GetHeight());
    mFillBackground.Use(*encoder, target.GetFormat());
    encoder->SetRootDescriptorTable(kBackgroundParameter, *mZDepthRange, 0);
    encoder->SetRootDescriptorTable(kSamplerParameter, sampler, 0);
    encoder->Draw(Topology::TriangleList, 0, 6);
    encoder->End();
}

Texture& SplatPass::GetZDepthTarget(const Texture& target) {
    if (mZDepthTarget != nullptr && mZDepthTarget->GetFormat() == target.GetFormat() &&
        mZDepthTarget->GetWidth() == target.GetWidth() && mZDepthTarget->GetHeight() == target.GetHeight())
        return *mZDepthTarget;
    TextureDescription description;
    description.mFormat = target.GetFormat();
    description.mWidth = target.GetWidth();
    description.mHeight = target.GetHeight();
    description.mUsage = kTextureUsageRenderTarget | kTextureUsageShaderRead;
    mZDepthTarget.reset();
    mZDepthTarget = mDevice.CreateTexture("ZDepthRT", description, 0, TextureState::RenderTarget);
    return *mZDepthTarget;
}
