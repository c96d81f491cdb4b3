#include "Nimbrel/CurveTextures.h"

#include <bit>
#include <cstring>

#include <fmt/format.h>

#include "Nimbrel/ShaderConstants.h"

using namespace zeb::render;
using nimbrel::gpu::kCurveSamples;

CurveTextures::CurveTextures(Device& device)
    : mDevice(device),
      mRange(device.GetThreadData().mShaderResourceHeap->AllocateRange(2)),
      mRamps{"RampsTexture",
             "Ramps{}",
             Format::R32Float,
             nimbrel::gpu::kRampRows,
             ::Buffer(device, "RampsUploadBuffer", 4, kUploadBuffer),
             {}},
      mGradients{"GradientsTexture",
                 "Gradients{}",
                 Format::RGBA32Float,
                 1,
                 ::Buffer(device, "GradientsUploadBuffer", 16, kUploadBuffer),
                 {}} {}

void CurveTextures::Upload(CommandList& commandList, const zeb::PackedParameters& packed,
                           const std::vector<ModelGroup>& groups) {
    std::vector<std::uint32_t> modelIndices;
    for (const ModelGroup& group : groups) {
        for (const ModelInstance& instance : group.instances) modelIndices.push_back(instance.modelIndex);
    }
    if (modelIndices.empty()) return;
    const auto encoder = commandList.CreateCopyCommandEncoder();
    UploadCurves(*encoder, mRamps, 0, packed, modelIndices);
    UploadCurves(*encoder, mGradients, 1, packed, modelIndices);
    encoder->End();
}

void CurveTextures::UploadCurves(CopyCommandEncoder& encoder, Curves& curves, std::uint32_t slot,
                                 const zeb::PackedParameters& packed, const std::vector<std::uint32_t>& modelIndices) {
    const auto count = static_cast<std::uint32_t>(modelIndices.size());
    const std::size_t instanceSize =
        std::size_t{curves.mRowsPerInstance} * kCurveSamples * GetBytesPerPixel(curves.mFormat);
    // A power of two, so that the middle of each row is a number that floats hold: else the filter mixes in a little of
    // the next row, more or less by the height that earlier frames needed.
    const std::uint32_t rows = std::bit_ceil(curves.mRowsPerInstance * count);
    if (curves.mTexture == nullptr || curves.mTexture->GetHeight() < rows) {
        // First, so that a frame that fails in between is made up for by the next one.
        curves.mTexture.reset();
        const std::size_t size = std::size_t{rows} * kCurveSamples * GetBytesPerPixel(curves.mFormat);
        curves.mUploadBuffer.SetByteSize(size);
        // Rows that no instance fills are read with a share of 0, which what is no number would not survive.
        std::memset(MappedBuffer(curves.mUploadBuffer).Get(), 0, size);
        TextureDescription description;
        description.mFormat = curves.mFormat;
        description.mWidth = kCurveSamples;
        description.mHeight = rows;
        curves.mTexture = mDevice.CreateTexture(curves.mTextureName, description, 0, TextureState::Common);
        mDevice.CreateTextureView(*mRange, slot, *curves.mTexture);
    }
    {
        const MappedBuffer mapped(curves.mUploadBuffer);
        for (std::size_t i = 0; i < modelIndices.size(); ++i) {
            const std::byte* const bytes =
                packed.GetBytes(fmt::format(fmt::runtime(curves.mStructName), modelIndices[i]), instanceSize);
            std::memcpy(mapped.Get() + i * instanceSize, bytes, instanceSize);
        }
    }
    encoder.TextureTransitionBarrier(*curves.mTexture, TextureState::CopyDestination);
    encoder.CopyToTextureFromBuffer(*curves.mTexture, curves.mUploadBuffer.Get());
    encoder.TextureTransitionBarrier(*curves.mTexture, TextureState::ShaderRead);
}
