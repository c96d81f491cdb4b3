#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "GpuHarness.h"
#include "Nimbrel/CPU/CalcDistances.h"
#include "Nimbrel/CPU/CalcViewData.h"
#include "Nimbrel/ShaderConstants.h"

/// A made-up packed asset with curves and settings, for one dispatch of the splat kernels.
namespace nimbrel::test {

struct Formats {
    std::uint32_t mPosition = 2;
    std::uint32_t mScale = 2;
    std::uint32_t mSH = 3;
    zeb::render::Format mColor = zeb::render::Format::RGBA8Unorm;
};

struct SplatModel {
    std::uint32_t mCount = 0;
    gpu::SplatConstants mSplat{};
    std::vector<gpu::SplatChunkInfo> mChunks;
    Bytes mPositions;
    Bytes mOther;
    Bytes mSH;
    zeb::render::Format mColorFormat = zeb::render::Format::RGBA8Unorm;
    std::uint32_t mColorHeight = 16;
    Bytes mColor;
    std::uint32_t mInstances = 1;  ///< rows of the curve textures: 7 and 1 for each
    std::vector<float> mRamps;
    std::vector<float> mGradients;
    gpu::CalcViewDataConstants mView{};
    gpu::CalcDistancesConstants mDistances{};
    gpu::ModelConstants1 mModel{};
    gpu::NoiseConstants1 mNoise{};

    cpu::SplatBlocks Blocks() const;
    cpu::CurveTextures Curves() const;
};

/// Random packed blocks of `count` splats in a box of about 1000 pixels, before a camera at its side. Every field takes
/// all its values, rotations included; all effects are off.
SplatModel MakeModel(std::uint32_t count, const Formats& formats, std::uint32_t seed);

/// What the device and the C++ twin make of a model.
struct KernelResults {
    std::vector<gpu::SplatViewData> mViewData;
    std::vector<std::uint32_t> mKeys;
};
/// `form` is appended to the kernels' names.
KernelResults RunOnDevice(const SplatModel& model, const std::string& form = "");
KernelResults RunOnProcessor(const SplatModel& model);
std::vector<gpu::ExportSplatData> ExportOnDevice(const SplatModel& model);

/// Records and keys behind the model's own that programs must leave alone; checked by RunOnDevice.
inline constexpr std::uint32_t kGuardRecords = 300;

}  // namespace nimbrel::test
