#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "PluginBase/Misc/Hash.h"
#include "PluginBase/Misc/RoomRule.h"
#include "PluginBase/Render/Device.h"
#include "PluginBase/RenderUtils/CopyFromTextureToBuffer.h"
#include "PluginBase/RenderUtils/MultiformatGraphicsPipelineState.h"

namespace zeb {

/// The pass that turns the effect's picture into the host's: a strip of four vertices over the target,
/// reading the source texel by texel. Root parameters: the size as two floats, the source's table.
class ConversionPipeline {
public:
    /// `name` is the program's.
    ConversionPipeline(render::Device& device, const std::string& name);

    /// Records the pass over the first width x height pixels of both textures. The source comes and
    /// goes as a render target; `targetRange` holds a render target view of `target`.
    void Record(render::CommandList& commandList, render::Texture& source, render::Texture& target,
                render::DescriptorRange& targetRange, std::uint32_t width, std::uint32_t height);

private:
    render::Device& mDevice;
    UniquePtr<render::ShaderLibrary> mLibrary;
    UniquePtr<render::Shader> mVertexShader;
    UniquePtr<render::Shader> mPixelShader;
    UniquePtr<render::DescriptorRange> mSourceRange;
    UniquePtr<render::RootSignature> mRootSignature;
    std::unique_ptr<render::MultiformatGraphicsPipelineState> mPipelineStates;
};

/// What the frame keeps for one thread on one device: targets, which grow and are given back when several frames need
/// far less, the read-back and the conversion passes. Lives in ThreadData::mFrameworkCache; used by its own thread
/// only.
class PluginBaseCache final : public render::DeviceCache {
public:
    explicit PluginBaseCache(render::Device& device);

    /// The calling thread's cache, made on its first request.
    static PluginBaseCache& Get(render::Device& device);

    /// A target of at least width x height pixels that the host's pixels are read from.
    render::Texture& GetOutputTarget(render::Format format, std::uint32_t width, std::uint32_t height);
    /// Likewise one for the effect to draw into.
    render::Texture& GetPluginTarget(render::Format format, std::uint32_t width, std::uint32_t height);

    render::CopyFromTextureToBuffer& GetCopyUtil();
    ConversionPipeline& GetConversion(bool unmultiply);
    render::DescriptorRange& GetClearRange() { return *mClearRange; }
    render::DescriptorRange& GetConversionRange() { return *mConversionRange; }

private:
    struct Target {
        UniquePtr<render::Texture> mTexture;
        RoomRule mRoom;
    };
    using Targets = std::unordered_map<std::uint32_t, Target, IntegerHash>;
    static void GiveBackUnused(Targets& targets, std::uint32_t width, std::uint32_t height, render::Format format);
    render::Texture& GetTarget(Targets& targets, const char* name, render::Format format, std::uint32_t width,
                               std::uint32_t height);

    render::Device& mDevice;
    Targets mOutputTargets;
    Targets mPluginTargets;
    std::unique_ptr<render::CopyFromTextureToBuffer> mCopyUtil;
    std::array<std::unique_ptr<ConversionPipeline>, 2> mConversions;  ///< by whether to unmultiply
    UniquePtr<render::DescriptorRange> mClearRange;
    UniquePtr<render::DescriptorRange> mConversionRange;
};

}  // namespace zeb
