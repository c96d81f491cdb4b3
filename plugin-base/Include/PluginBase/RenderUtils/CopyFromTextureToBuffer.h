#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "PluginBase/ImageInfo.h"
#include "PluginBase/Misc/RoomRule.h"
#include "PluginBase/Render/Device.h"

namespace zeb::render {

/// Converts a texture, on the GPU, into a byte buffer in the host's pixel layout, so that the final
/// read-back is a flat copy. Runs the Copy programs. Only one copy may be pending at a time: the
/// constants buffer is shared. Thread: that of the device's record it was made for.
class CopyFromTextureToBuffer {
public:
    struct Layout {
        std::uint32_t mWidth = 0;
        std::uint32_t mHeight = 0;
        std::uint32_t mRowPitch = 0;   ///< bytes
        std::uint64_t mTotalSize = 0;  ///< bytes
    };

    CopyFromTextureToBuffer(Device& device, std::string name);

    /// Makes sure that the read-write and the read-back buffer hold the layout. They grow, and shrink after several
    /// layouts that need far less.
    void SetLayout(const Layout& layout);

    /// Records the copy of width x height texels at (srcX, srcY) to pixel (dstX, dstY) of the layout.
    /// With `restoreState` the texture is put into `state` afterwards.
    void Copy(CommandList& commandList, const Layout& layout, PixelChannels pixelChannels, ChannelFormat channelFormat,
              std::uint32_t dstX, std::uint32_t dstY, Texture& texture, std::uint32_t srcX, std::uint32_t srcY,
              std::uint32_t width, std::uint32_t height, bool restoreState, TextureState state);

    Buffer& GetReadWriteBuffer() { return *mReadWriteBuffer; }
    Buffer& GetReadbackBuffer() { return *mReadbackBuffer; }

private:
    struct Program {
        UniquePtr<ShaderLibrary> mLibrary;
        UniquePtr<Shader> mShader;
        UniquePtr<ComputePipelineState> mPipelineState;
    };

    ComputePipelineState& GetPipelineState(PixelChannels pixelChannels, ChannelFormat channelFormat);

    Device& mDevice;
    std::string mName;
    UniquePtr<RootSignature> mRootSignature;
    UniquePtr<DescriptorRange> mTextureRange;
    RoomRule mRoom;
    UniquePtr<Buffer> mReadWriteBuffer;
    UniquePtr<Buffer> mReadbackBuffer;
    UniquePtr<Buffer> mConstantsBuffer;
    std::map<std::uint32_t, Program> mPrograms;  ///< key: (channel format << 16) | pixel channels
};

}  // namespace zeb::render
