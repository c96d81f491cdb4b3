#include "PluginBaseCache.h"

#include <algorithm>

#include "PluginBase/Exception.h"

namespace zeb {
namespace {

constexpr std::uint32_t kSizeParameter = 0;
constexpr std::uint32_t kSourceParameter = 1;

std::uint64_t GetBytes(const render::Texture& texture) {
    return std::uint64_t{texture.GetWidth()} * texture.GetHeight() * render::GetBytesPerPixel(texture.GetFormat());
}

}  // namespace

ConversionPipeline::ConversionPipeline(render::Device& device, const std::string& name)
    : mDevice(device),
      mLibrary(device.CreateShaderLibraryFromEmbeddedData(name)),
      mVertexShader(mLibrary->GetShader(render::ShaderType::Vertex)),
      mPixelShader(mLibrary->GetShader(render::ShaderType::Pixel)),
      mSourceRange(device.GetThreadData().mShaderResourceHeap->AllocateRange(1)),
      mRootSignature(device.CreateRootSignature(name)) {
    mRootSignature->AddRootConstants(2, 0);
    mRootSignature->AddDescriptorTable({{render::DescriptorRangeType::Texture, 1, 0}});

    render::GraphicsPipelineDescription description;
    description.mRootSignature = mRootSignature.get();
    description.mVertexShader = mVertexShader.get();
    description.mPixelShader = mPixelShader.get();
    mPipelineStates = std::make_unique<render::MultiformatGraphicsPipelineState>(device, name, description);
}

void ConversionPipeline::Record(render::CommandList& commandList, render::Texture& source, render::Texture& target,
                                render::DescriptorRange& targetRange, std::uint32_t width, std::uint32_t height) {
    render::RenderPassDescription pass;
    pass.mColorAttachments.push_back({&target, &targetRange, 0, render::LoadOperation::Load, {}});
    const auto encoder = commandList.CreateGraphicsCommandEncoder(pass);
    encoder->TextureTransitionBarrier(target, render::TextureState::RenderTarget);
    encoder->TextureTransitionBarrier(source, render::TextureState::ShaderRead);
    const std::array<float, 2> size = {static_cast<float>(width), static_cast<float>(height)};
    encoder->SetViewport(0.0F, 0.0F, size[0], size[1], 0.0F, 1.0F);
    encoder->SetScissor(0, 0, static_cast<std::int32_t>(target.GetWidth()),
                        static_cast<std::int32_t>(target.GetHeight()));
    encoder->SetRootSignature(*mRootSignature);
    encoder->SetRootConstants(kSizeParameter, 2, size.data());
    mDevice.CreateTextureView(*mSourceRange, 0, source);
    encoder->SetRootDescriptorTable(kSourceParameter, *mSourceRange, 0);
    encoder->SetPipelineState(mPipelineStates->Get(target.GetFormat()));
    encoder->Draw(render::Topology::TriangleStrip, 0, 4);
    encoder->TextureTransitionBarrier(source, render::TextureState::RenderTarget);
    encoder->End();
}

PluginBaseCache::PluginBaseCache(render::Device& device)
    : mDevice(device),
      mClearRange(device.GetThreadData().mRenderTargetHeap->AllocateRange(1)),
      mConversionRange(device.GetThreadData().mRenderTargetHeap->AllocateRange(1)) {}

PluginBaseCache& PluginBaseCache::Get(render::Device& device) {
    UniquePtr<render::DeviceCache>& slot = device.GetThreadData().mFrameworkCache;
    if (slot == nullptr) slot = MakeUnique<PluginBaseCache>(device);
    return static_cast<PluginBaseCache&>(*slot);
}

void PluginBaseCache::GiveBackUnused(Targets& targets, std::uint32_t width, std::uint32_t height,
                                     render::Format format) {
    for (auto& [number, target] : targets) {
        if (target.mTexture == nullptr) continue;
        const bool isUsed = number == static_cast<std::uint32_t>(format);
        const std::uint64_t needed = isUsed ? std::uint64_t{width} * height * render::GetBytesPerPixel(format) : 0;
        if (target.mRoom.IsTooLarge(GetBytes(*target.mTexture), needed)) target.mTexture.reset();
    }
}

render::Texture& PluginBaseCache::GetTarget(Targets& targets, const char* name, render::Format format,
                                            std::uint32_t width, std::uint32_t height) {
    GiveBackUnused(targets, width, height, format);
    UniquePtr<render::Texture>& target = targets[static_cast<std::uint32_t>(format)].mTexture;
    if (target != nullptr && target->GetWidth() >= width && target->GetHeight() >= height) return *target;
    render::TextureDescription description;
    description.mFormat = format;
    description.mWidth = target == nullptr ? width : std::max(width, target->GetWidth());
    description.mHeight = target == nullptr ? height : std::max(height, target->GetHeight());
    description.mUsage = render::kTextureUsageRenderTarget;
    target.reset();  // the old one's memory may be needed for the new one
    const auto create = [&] { return mDevice.CreateTexture(name, description, 0, render::TextureState::RenderTarget); };
    try {
        target = create();
    } catch (const RenderException&) {
        // Where a wide frame and a high one follow each other, one for both may be too large.
        if (description.mWidth == width && description.mHeight == height) throw;
        description.mWidth = width;
        description.mHeight = height;
        target = create();
    }
    return *target;
}

render::Texture& PluginBaseCache::GetOutputTarget(render::Format format, std::uint32_t width, std::uint32_t height) {
    return GetTarget(mOutputTargets, "PluginBaseOutputRenderTarget", format, width, height);
}

render::Texture& PluginBaseCache::GetPluginTarget(render::Format format, std::uint32_t width, std::uint32_t height) {
    return GetTarget(mPluginTargets, "PluginBasePluginRenderTarget", format, width, height);
}

render::CopyFromTextureToBuffer& PluginBaseCache::GetCopyUtil() {
    if (mCopyUtil == nullptr) mCopyUtil = std::make_unique<render::CopyFromTextureToBuffer>(mDevice, "CopyUtil");
    return *mCopyUtil;
}

ConversionPipeline& PluginBaseCache::GetConversion(bool unmultiply) {
    auto& conversion = mConversions[unmultiply ? 1 : 0];
    if (conversion == nullptr)
        conversion = std::make_unique<ConversionPipeline>(mDevice, unmultiply ? "ConvertUnmultiply" : "ConvertNone");
    return *conversion;
}

}  // namespace zeb
