#include "Nimbrel/CurveTextures.h"

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
    const std::uint32_t rows = curves.mRowsPerInstance * count;
    if (curves.mTexture == nullptr || curves.mTexture->GetHeight() < rows) {
        // First, so that a frame that fails in between is made up for by the next one.
        curves.mTexture.reset();
        curves.mUploadBuffer.SetByteSize(instanceSize * count);
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
