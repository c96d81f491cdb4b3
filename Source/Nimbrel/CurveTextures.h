#pragma once

#include <cstdint>
#include <vector>

#include "Nimbrel/ModelGroup.h"
#include "PluginBase/Parameters/ParameterPacker.h"
#include "PluginBase/Render/Device.h"
#include "RenderHelper/Buffer.h"

/// The ramps and gradients of a frame as two textures of 1024 columns: seven rows of ramps and one of
/// gradients for each instance, in the frame's order of instances.
class CurveTextures {
public:
    explicit CurveTextures(zeb::render::Device& device);

    /// Reads "Ramps{}" and "Gradients{}" of each instance and records their copies. Leaves the textures
    /// readable by programs.
    void Upload(zeb::render::CommandList& commandList, const zeb::PackedParameters& packed,
                const std::vector<ModelGroup>& groups);

    /// Two views: the ramps, the gradients.
    zeb::render::DescriptorRange& GetRange() const { return *mRange; }

private:
    /// One of the two: how its rows look, and what they are kept in.
    struct Curves {
        const char* mTextureName;
        const char* mStructName;  ///< with the slot's number for "{}"
        zeb::render::Format mFormat;
        std::uint32_t mRowsPerInstance;
        Buffer mUploadBuffer;
        zeb::UniquePtr<zeb::render::Texture> mTexture;
    };

    void UploadCurves(zeb::render::CopyCommandEncoder& encoder, Curves& curves, std::uint32_t slot,
                      const zeb::PackedParameters& packed, const std::vector<std::uint32_t>& modelIndices);

    zeb::render::Device& mDevice;
    zeb::UniquePtr<zeb::render::DescriptorRange> mRange;
    Curves mRamps;
    Curves mGradients;
};
