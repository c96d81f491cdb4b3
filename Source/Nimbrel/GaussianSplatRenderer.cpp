#include "Nimbrel/GaussianSplatRenderer.h"

#include <algorithm>

#include <fmt/format.h>
#include <glm/matrix.hpp>

#include "Nimbrel/CommonCpp.h"
#include "Nimbrel/EffectSwitches.h"
#include "Nimbrel/ProgramRegisters.h"
#include "PluginBase/Exception.h"

using namespace zeb::render;
using nimbrel::gpu::kSplatGroupSize;
using enum nimbrel::gpu::SplatRegister;

namespace {

constexpr std::uint32_t kConstantsStride = 256;
constexpr std::uint32_t kViewDataConstantsStride = 768;
/// Groups of one dispatch that every device runs, times the splats of a group.
constexpr std::uint64_t kMaxSplats = std::uint64_t{65535} * kSplatGroupSize;

std::uint32_t GetSplatCount(const GaussianSplatAsset& asset) {
    return static_cast<std::uint32_t>(std::max(asset.splatCount, 0));
}

/// Calls `visit(group, instance, instanceIndex)` for every instance in the frame's order.
template <class Visitor>
void ForEachInstance(const std::vector<ModelGroup>& models, const Visitor& visit) {
    std::uint32_t instanceIndex = 0;
    for (const ModelGroup& group : models) {
        for (const ModelInstance& instance : group.instances) visit(group, instance, instanceIndex++);
    }
}

/// Copies a slot's structure, `stride` bytes each, for every instance.
template <class T>
void FillFromPacked(StructuredBuffer<T>& buffer, const char* name, const zeb::PackedParameters& packed,
                    const std::vector<ModelGroup>& models) {
    const MappedBuffer mapped(buffer);
    const std::uint32_t stride = buffer.GetStride();
    ForEachInstance(models, [&](const ModelGroup&, const ModelInstance& instance, std::uint32_t index) {
        const std::byte* const bytes = packed.GetBytes(fmt::format(fmt::runtime(name), instance.modelIndex), stride);
        std::memcpy(mapped.Get() + std::size_t{index} * stride, bytes, stride);
    });
}

/// The splats of one instance in a frame.
struct InstanceSplats {
    std::size_t mGroupIndex;
    const GaussianSplatAsset& mAsset;
    std::uint32_t mSlot;
    std::uint64_t mInstanceIndex;
    std::uint64_t mOffset;  ///< splats of all instances before
    std::uint32_t mCount;
};

/// Calls `visit(splats)` for every instance that has some, in the frame's order.
template <class Visitor>
void ForEachWithSplats(const std::vector<ModelGroup>& models, const Visitor& visit) {
    std::uint64_t offset = 0;
    std::uint64_t instanceIndex = 0;
    for (std::size_t group = 0; group < models.size(); ++group) {
        const GaussianSplatAsset& asset = *models[group].asset;
        const std::uint32_t count = GetSplatCount(asset);
        for (const ModelInstance& instance : models[group].instances) {
            if (count != 0) visit(InstanceSplats{group, asset, instance.modelIndex, instanceIndex, offset, count});
            offset += count;
            ++instanceIndex;
        }
    }
}

bool MovesSplats(const zeb::PackedParameters& packed, std::uint32_t slot) {
    return nimbrel::MovesSplats(packed.Read<nimbrel::gpu::NoiseConstants1>(fmt::format("NoiseConstants{}", slot), 0));
}

bool ChangesLook(const zeb::PackedParameters& packed, std::uint32_t slot) {
    return nimbrel::ChangesLook(packed.Read<nimbrel::gpu::ModelConstants1>(fmt::format("ModelConstants{}", slot), 0));
}

zeb::UniquePtr<CommandList> BeginList(Device& device) {
    ThreadData& threadData = device.GetThreadData();
    auto commandList = threadData.mCommandQueue->CreateCommandList("MainCommandList");
    commandList->SetDescriptorHeaps(*threadData.mShaderResourceHeap, threadData.mSamplerHeap.get());
    return commandList;
}

}  // namespace

GaussianSplatRenderer::GaussianSplatRenderer(Device& device, const RendererPrograms& programs)
    : mLeaveOutEffects(programs.mLeaveOutEffects),
      mSetIndices(device, "CSSetIndices", kSplatGroupSize),
      mNoiseConstants(device, "NoiseConstantsBuffer", kUploadBuffer, kConstantsStride),
      mCalcDistances(MakeKernel(device, "CSCalcDistances")),
      mCalcDistancesConstants(device, "CalcDistancesConstants", kUploadBuffer, kConstantsStride),
      mCurves(device),
      mLinearSampler(
          device.CreateSampler("LinearSampler", {SamplerFilter::Linear, SamplerFilter::Linear, SamplerFilter::Linear,
                                                 SamplerAddress::Clamp, SamplerAddress::Clamp, SamplerAddress::Clamp})),
      mSamplerRange(device.GetThreadData().mSamplerHeap->AllocateRange(1)),
      mCalcViewData(MakeKernel(device, "CSCalcViewData")),
      mCalcViewDataConstants(device, "CalcViewDataConstants", kUploadBuffer, kViewDataConstantsStride),
      mModelConstants(device, "ModelConstants", kUploadBuffer, kConstantsStride),
      mExportData(device, "CSExportData", kSplatGroupSize),
      mSortDistances(device, "SplatSortDistances", kGpuBuffer),
      mSortKeys(device, "SplatSortKeys", kGpuBuffer),
      mAssets(device),
      mViewData(device, "SplatViewData", kGpuBuffer),
      mExportSplatData(device, "ExportSplatData", kGpuBuffer),
      mExportSplatDataReadback(device, "ExportSplatDataReadbackBuffer", kReadbackBuffer),
      mSort(device, programs.mSort),
      mSplatPass(device),
      mShapesPass(device) {
    device.CreateSamplerView(*mSamplerRange, 0, *mLinearSampler);

    mSetIndices.AddUnorderedAccess(kSortKeys);
    mSetIndices.AddRootConstants(1, kSetIndicesConstants);

    for (ComputeProgram* program : {&mCalcDistances.mFull, &mCalcDistances.mNoEffects}) {
        program->AddShaderResource(kChunks);
        program->AddShaderResource(kPos);
        program->AddRootConstants(2, kSplatConstants);
        program->AddUnorderedAccess(kSortDistances);
        program->AddConstantBuffer(kNoiseConstants);
        program->AddDescriptorTable(DescriptorRangeType::Texture, 2, kRamps);  // and kGradients
        program->AddDescriptorTable(DescriptorRangeType::Sampler, 1, kSampler);
        program->AddConstantBuffer(kCalcDistancesConstants);
    }

    for (ComputeProgram* program : {&mCalcViewData.mFull, &mCalcViewData.mNoEffects}) {
        for (const std::uint32_t buffer : {kChunks, kPos, kOther, kSH}) program->AddShaderResource(buffer);
        program->AddDescriptorTable(DescriptorRangeType::Texture, 1, kColor);
        program->AddRootConstants(2, kSplatConstants);
        program->AddConstantBuffer(kCalcViewDataConstants);
        program->AddConstantBuffer(kNoiseConstants);
        program->AddDescriptorTable(DescriptorRangeType::Texture, 2, kRamps);  // and kGradients
        program->AddDescriptorTable(DescriptorRangeType::Sampler, 1, kSampler);
        program->AddConstantBuffer(kModelConstants);
        program->AddUnorderedAccess(kViewData);
    }

    for (const std::uint32_t buffer : {kChunks, kPos, kOther, kSH}) mExportData.AddShaderResource(buffer);
    mExportData.AddDescriptorTable(DescriptorRangeType::Texture, 1, kColor);
    mExportData.AddRootConstants(2, kSplatConstants);
    mExportData.AddUnorderedAccess(kExportBuffer);
    mExportData.AddRootConstants(1, kExportDataConstants);
}

zeb::UniquePtr<CommandList> GaussianSplatRenderer::Render(Device& device, const glm::mat4& projection,
                                                          const zeb::DrawInfo& drawInfo,
                                                          const std::vector<ModelGroup>& models, Texture& target) {
    const Frame frame = MakeFrame(projection, drawInfo, models);
    auto commandList = BeginList(device);
    if (frame.mSplatCount != 0) {
        Upload(*commandList, frame);
        const auto encoder = commandList->CreateComputeCommandEncoder();
        FillSortKeys(*encoder, frame);
        SortSplats(*encoder, frame);
        CalcViewData(*encoder, frame);
        encoder->End();
    }
    Draw(*commandList, frame, target);
    return commandList;
}

zeb::UniquePtr<CommandList> GaussianSplatRenderer::RenderStage(Device& device, Stage stage, const glm::mat4& projection,
                                                               const zeb::DrawInfo& drawInfo,
                                                               const std::vector<ModelGroup>& models, Texture& target) {
    const Frame frame = MakeFrame(projection, drawInfo, models);
    auto commandList = BeginList(device);
    if (stage == Stage::Upload) {
        Upload(*commandList, frame);
    } else if (stage == Stage::Draw) {
        Draw(*commandList, frame, target);
    } else {
        const auto encoder = commandList->CreateComputeCommandEncoder();
        if (stage == Stage::Distances) FillSortKeys(*encoder, frame);
        if (stage == Stage::Sort) SortSplats(*encoder, frame);
        if (stage == Stage::ViewData) CalcViewData(*encoder, frame);
        encoder->End();
    }
    return commandList;
}

GaussianSplatRenderer::Frame GaussianSplatRenderer::MakeFrame(const glm::mat4& projection,
                                                              const zeb::DrawInfo& drawInfo,
                                                              const std::vector<ModelGroup>& models) {
    std::uint64_t splatCount = 0;
    Frame frame{projection, drawInfo, models};
    for (const ModelGroup& group : models) {
        splatCount += std::uint64_t{GetSplatCount(*group.asset)} * group.instances.size();
        frame.mInstanceCount += static_cast<std::uint32_t>(group.instances.size());
    }
    if (splatCount > kMaxSplats) {
        ZEB_THROW(zeb::kInternalError,
                  fmt::format("The models of this frame have {} splats; no more than {} can be drawn", splatCount,
                              kMaxSplats));
    }
    frame.mSplatCount = static_cast<std::uint32_t>(splatCount);
    return frame;
}

void GaussianSplatRenderer::Upload(CommandList& commandList, const Frame& frame) {
    const zeb::PackedParameters& packed = *frame.mDrawInfo.mPackedParameters;
    mAssets.Upload(commandList, frame.mModels);
    mViewData.SetCount(frame.mSplatCount);
    mSortDistances.SetCount(frame.mSplatCount);
    mSortKeys.SetCount(frame.mSplatCount);
    mCurves.Upload(commandList, packed, frame.mModels);
    mNoiseConstants.SetCount(frame.mInstanceCount);
    FillFromPacked(mNoiseConstants, "NoiseConstants{}", packed, frame.mModels);
}

void GaussianSplatRenderer::FillSortKeys(ComputeCommandEncoder& encoder, const Frame& frame) {
    encoder.BufferTransitionBarrier(mSortKeys.Get(), BufferState::UnorderedAccess);
    encoder.BufferTransitionBarrier(mSortDistances.Get(), BufferState::UnorderedAccess);
    encoder.BufferUnorderedAccessBarrier(mSortKeys.Get());
    mSetIndices.Use(encoder);
    mSetIndices.SetConstant(encoder, kSetIndicesConstants, frame.mSplatCount);
    mSetIndices.SetUnorderedAccess(encoder, kSortKeys, mSortKeys.Get(), 0);
    mSetIndices.DispatchItems(encoder, frame.mSplatCount);

    CalcDistances(encoder, frame);
    encoder.BufferUnorderedAccessBarrier(mSortKeys.Get());
    encoder.BufferUnorderedAccessBarrier(mSortDistances.Get());
}

void GaussianSplatRenderer::SortSplats(ComputeCommandEncoder& encoder, const Frame& frame) {
    mSort.Sort(encoder, frame.mSplatCount, mSortDistances.Get(), mSortKeys.Get());
    encoder.BufferUnorderedAccessBarrier(mSortKeys.Get());
    encoder.BufferTransitionBarrier(mSortKeys.Get(), BufferState::GenericRead);
}

void GaussianSplatRenderer::FillCalcDistancesConstants(const Frame& frame) {
    // Depth is linear in the sort: the view's last elements, which only a projective view would have, are negated.
    glm::mat4 view = frame.mDrawInfo.mCamera;
    for (int row = 0; row < 3; ++row) view[row][3] = -view[row][3];

    mCalcDistancesConstants.SetCount(frame.mInstanceCount);
    const MappedBuffer mapped(mCalcDistancesConstants);
    ForEachInstance(frame.mModels, [&](const ModelGroup& group, const ModelInstance& instance, std::uint32_t index) {
        nimbrel::gpu::CalcDistancesConstants constants{};
        constants._CalcDistancesMatrixAlign = instance.localMatrix;
        constants._CalcDistancesMatrixVP = view * instance.modelMatrix;
        constants._CalcDistancesSplatCount = GetSplatCount(*group.asset);
        constants._CalcDistancesInstanceIndex = index;
        mCalcDistancesConstants.Store(mapped.Get(), index, constants);
    });
}

GaussianSplatRenderer::KernelForms GaussianSplatRenderer::MakeKernel(Device& device, const std::string& name) {
    return {ComputeProgram(device, name, kSplatGroupSize),
            ComputeProgram(device, name + ".NoEffects", kSplatGroupSize)};
}

void GaussianSplatRenderer::Use(ComputeCommandEncoder& encoder, ComputeProgram& program) {
    program.Use(encoder);
    program.SetDescriptorRange(encoder, kRamps, mCurves.GetRange(), 0);
    program.SetDescriptorRange(encoder, kSampler, *mSamplerRange, 0);
}

void GaussianSplatRenderer::BindGroup(ComputeCommandEncoder& encoder, const ComputeProgram& program,
                                      const GaussianSplatAsset& asset, const AssetUploader::Place& place) const {
    program.SetShaderResource(encoder, kChunks, mAssets.GetChunks(), place.mChunks);
    program.SetShaderResource(encoder, kPos, mAssets.GetPos(), place.mPos);
    nimbrel::gpu::SplatConstants constants{};
    constants._SplatFormat = static_cast<std::uint32_t>(asset.posFormat) |
                             static_cast<std::uint32_t>(asset.scaleFormat) << 8 |
                             static_cast<std::uint32_t>(asset.shFormat) << 16;
    constants._SplatColorYOffset = place.mColorRow;
    program.SetConstants(encoder, kSplatConstants, sizeof(constants) / 4, &constants);
}

void GaussianSplatRenderer::BindAllOfGroup(ComputeCommandEncoder& encoder, const ComputeProgram& program,
                                           const GaussianSplatAsset& asset, const AssetUploader::Place& place) {
    encoder.TextureTransitionBarrier(mAssets.GetColorTexture(asset.colorFormat), TextureState::ShaderRead);
    BindGroup(encoder, program, asset, place);
    program.SetShaderResource(encoder, kOther, mAssets.GetOther(), place.mOther);
    program.SetShaderResource(encoder, kSH, mAssets.GetSH(), place.mSH);
    program.SetDescriptorRange(encoder, kColor, mAssets.GetColorRange(), static_cast<std::uint32_t>(asset.colorFormat));
}

void GaussianSplatRenderer::CalcDistances(ComputeCommandEncoder& encoder, const Frame& frame) {
    FillCalcDistancesConstants(frame);
    const zeb::PackedParameters& packed = *frame.mDrawInfo.mPackedParameters;
    const ComputeProgram* used = nullptr;
    std::size_t group = 0;
    ForEachWithSplats(frame.mModels, [&](const InstanceSplats& splats) {
        const bool full = !mLeaveOutEffects || MovesSplats(packed, splats.mSlot);
        ComputeProgram& program = full ? mCalcDistances.mFull : mCalcDistances.mNoEffects;
        if (&program != used) Use(encoder, program);
        if (&program != used || group != splats.mGroupIndex)
            BindGroup(encoder, program, splats.mAsset, mAssets.GetPlaces()[splats.mGroupIndex]);
        used = &program;
        group = splats.mGroupIndex;
        program.SetUnorderedAccess(encoder, kSortDistances, mSortDistances.Get(),
                                   splats.mOffset * mSortDistances.GetStride());
        program.SetConstantBuffer(encoder, kNoiseConstants, mNoiseConstants.Get(),
                                  splats.mInstanceIndex * kConstantsStride);
        program.SetConstantBuffer(encoder, kCalcDistancesConstants, mCalcDistancesConstants.Get(),
                                  splats.mInstanceIndex * kConstantsStride);
        program.DispatchItems(encoder, splats.mCount);
    });
}

void GaussianSplatRenderer::FillCalcViewDataConstants(const Frame& frame) {
    const zeb::DrawInfo& drawInfo = frame.mDrawInfo;
    const CommonCpp common = CommonCpp::Read(*drawInfo.mPackedParameters);
    const glm::mat4& view = drawInfo.mCamera;

    nimbrel::gpu::CalcViewDataConstants constants{};
    constants._MatrixVP = frame.mProjection * view;
    constants._MatrixCamera = view;
    constants._MatrixP = frame.mProjection;
    constants._VecScreenParams = {static_cast<float>(drawInfo.mOutputWidth), static_cast<float>(drawInfo.mOutputHeight),
                                  0.0F, 0.0F};
    constants._VecWorldSpaceCameraPos = glm::inverse(view)[3];
    constants._SplatScale = 1.0F;
    constants._SplatOpacityScale = 1.0F;
    constants._CameraType = static_cast<std::uint32_t>(drawInfo.mCameraType == zeb::CameraType::Orthographic
                                                           ? nimbrel::gpu::CameraType::Orthographic
                                                           : nimbrel::gpu::CameraType::Perspective);
    constants._DrawZDepth = common._drawZDepthEnabled;
    constants._ZDepthNear = common._zDepthNear;
    constants._ZDepthFar = common._zDepthFar;

    mCalcViewDataConstants.SetCount(frame.mInstanceCount);
    const MappedBuffer mapped(mCalcViewDataConstants);
    ForEachInstance(frame.mModels, [&](const ModelGroup& group, const ModelInstance& instance, std::uint32_t index) {
        constants._MatrixAlign = instance.localMatrix;
        constants._MatrixTransform = instance.modelMatrix;
        constants._MatrixWorldToObject = instance.thirdMatrix;
        constants._MatrixMV = view * instance.modelMatrix * instance.localMatrix;
        constants._SHOrder = group.asset->shLevel;
        constants._SplatCount = GetSplatCount(*group.asset);
        constants._DrawingIndex = index;
        mCalcViewDataConstants.Store(mapped.Get(), index, constants);
    });
}

void GaussianSplatRenderer::CalcViewData(ComputeCommandEncoder& encoder, const Frame& frame) {
    FillCalcViewDataConstants(frame);
    mModelConstants.SetCount(frame.mInstanceCount);
    const zeb::PackedParameters& packed = *frame.mDrawInfo.mPackedParameters;
    FillFromPacked(mModelConstants, "ModelConstants{}", packed, frame.mModels);

    encoder.BufferTransitionBarrier(mViewData.Get(), BufferState::UnorderedAccess);
    const ComputeProgram* used = nullptr;
    std::size_t group = 0;
    ForEachWithSplats(frame.mModels, [&](const InstanceSplats& splats) {
        const bool full = !mLeaveOutEffects || MovesSplats(packed, splats.mSlot) || ChangesLook(packed, splats.mSlot);
        ComputeProgram& program = full ? mCalcViewData.mFull : mCalcViewData.mNoEffects;
        if (&program != used) Use(encoder, program);
        if (&program != used || group != splats.mGroupIndex)
            BindAllOfGroup(encoder, program, splats.mAsset, mAssets.GetPlaces()[splats.mGroupIndex]);
        used = &program;
        group = splats.mGroupIndex;
        program.SetConstantBuffer(encoder, kCalcViewDataConstants, mCalcViewDataConstants.Get(),
                                  splats.mInstanceIndex * kViewDataConstantsStride);
        program.SetConstantBuffer(encoder, kModelConstants, mModelConstants.Get(),
                                  splats.mInstanceIndex * kConstantsStride);
        program.SetConstantBuffer(encoder, kNoiseConstants, mNoiseConstants.Get(),
                                  splats.mInstanceIndex * kConstantsStride);
        program.SetUnorderedAccess(encoder, kViewData, mViewData.Get(), splats.mOffset * mViewData.GetStride());
        program.DispatchItems(encoder, splats.mCount);
    });
    encoder.BufferTransitionBarrier(mViewData.Get(), BufferState::GenericRead);
}

void GaussianSplatRenderer::Draw(CommandList& commandList, const Frame& frame, Texture& target) {
    SplatPass::Splats splats;
    if (frame.mSplatCount != 0) splats = {&mSortKeys.Get(), &mViewData.Get(), frame.mSplatCount};
    mSplatPass.Record(commandList, frame.mDrawInfo, splats, target, *mSamplerRange);
    const ShapesInfo shapes = ShapesInfo::Collect(*frame.mDrawInfo.mPackedParameters, frame.mModels);
    mShapesPass.Record(commandList, frame.mProjection, frame.mDrawInfo, shapes, target);
}
