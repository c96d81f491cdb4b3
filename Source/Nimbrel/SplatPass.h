#pragma once

#include <cstdint>
#include <optional>

#include "PluginBase/DrawInfo.h"
#include "PluginBase/Render/Device.h"
#include "RenderHelper/Buffer.h"
#include "RenderHelper/GraphicsProgram.h"

/// Draws the projected splats in sorted order, a quad each, blended front to back under what is there;
/// with Z depth on, into a texture of its own that is then laid over black.
class SplatPass {
public:
    /// Windows of the form that sees the records in parts.
    static constexpr std::uint32_t kMaxWindows = 11;

    explicit SplatPass(zeb::render::Device& device);

    /// The splats of a frame: `order` holds places in `viewData`, near ones first. With a count of 0 both
    /// may be null; the target is cleared all the same.
    struct Splats {
        zeb::render::Buffer* mOrder = nullptr;
        zeb::render::Buffer* mViewData = nullptr;
        std::uint32_t mCount = 0;
        std::uint32_t mWindowSize = 0;  ///< records of a part of `viewData`; 0 where it is bound as one
    };

    /// `sampler` holds a linear sampler. Both buffers must be readable by programs.
    void Record(zeb::render::CommandList& commandList, const zeb::DrawInfo& drawInfo, const Splats& splats,
                zeb::render::Texture& target, zeb::render::DescriptorRange& sampler);

private:
    void DrawSplats(zeb::render::CommandList& commandList, const zeb::DrawInfo& drawInfo, const Splats& splats,
                    zeb::render::Texture& target);
    void FillBackground(zeb::render::CommandList& commandList, zeb::render::Texture& target,
                        zeb::render::DescriptorRange& sampler);
    void BindSplats(zeb::render::GraphicsCommandEncoder& encoder, const zeb::DrawInfo& drawInfo, const Splats& splats,
                    zeb::render::Format format);
    GraphicsProgram& GetWindowed();
    zeb::render::Texture& GetZDepthTarget(const zeb::render::Texture& target);

    zeb::render::Device& mDevice;
    GraphicsProgram mSplats;
    std::optional<GraphicsProgram> mWindowed;  ///< the same over parts of the records, made when it is needed
    GraphicsProgram mBoxes;
    GraphicsProgram mFillBackground;
    StructuredBuffer<std::uint16_t> mIndexBuffer;  ///< a quad in the first six, a cube in all
    zeb::UniquePtr<zeb::render::Texture> mZDepthTarget;
    zeb::UniquePtr<zeb::render::DescriptorRange> mTargetRange;  ///< render target views
    zeb::UniquePtr<zeb::render::DescriptorRange> mZDepthRange;  ///< ZDepthRT as a texture
};
