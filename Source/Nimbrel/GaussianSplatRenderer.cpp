#include "Nimbrel/GaussianSplatRenderer.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>
#include <glm/matrix.hpp>

#include "Nimbrel/CommonCpp.h"
#include "Nimbrel/EffectSwitches.h"
#include "Nimbrel/ProgramRegisters.h"
#include "Nimbrel/SplatLimits.h"
#include "PluginBase/Exception.h"

using namespace zeb::render;
using nimbrel::gpu::kSplatGroupSize;
using enum nimbrel::gpu::SplatRegister;

namespace {

constexpr std::uint32_t kConstantsStride = 256;
constexpr std::uint32_t kViewDataConstantsStride = 768;
/// Splats whose records every Vulkan device binds at once: 128 MiB hold 3,355,443, taken down to whole rows of tiles.
/// One dispatch covers them on every device.
constexpr std::uint32_t kSplatsAtOnce = 102 * nimbrel::gpu::kSplatsPerTileRow;
static_assert(kSplatsAtOnce * sizeof(nimbrel::gpu::SplatViewData) <= (1U << 27));
static_assert(kSplatsAtOnce / kSplatGroupSize <= ComputeProgram::kMaxGroups);

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

/// A part of an asset's block, `stride` bytes a splat, as offset and size in the buffer of all assets.
struct BlockPart {
    BlockPart(std::uint64_t place, std::uint64_t stride, std::uint32_t first, std::uint32_t count)
        // Programs read whole words.
        : mOffset(place + stride * first), mSize((stride * count + 3) / 4 * 4) {}

    std::uint64_t mOffset;
    std::uint64_t mSize;
};

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
      mStorageRange(programs.mSplatsAtOnce == 0
                        ? device.GetStorageRange()
                        : std::uint64_t{programs.mSplatsAtOnce} * sizeof(nimbrel::gpu::SplatViewData)),
      mSplatsAtOnce(programs.mSplatsAtOnce == 0 ? kSplatsAtOnce : programs.mSplatsAtOnce),
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
      mShapesPass(device, programs.mLinesAsAreas || !device.HasDiamondLines()) {
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
    } else {
        mAssets.UploadNothing();
        for (StructuredBuffer<std::uint32_t>* buffer : {&mSortDistances, &mSortKeys}) buffer->SetCount(0);
        mViewData.SetCount(0);
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
                                                              const std::vector<ModelGroup>& models) const {
    Frame frame{projection, drawInfo, models};
    std::uint64_t splatCount = 0;
    for (const ModelGroup& group : models)
        splatCount += std::uint64_t{GetSplatCount(*group.asset)} * group.instances.size();
    CheckLimits(splatCount, models);
    frame.mSplatCount = static_cast<std::uint32_t>(splatCount);
    std::uint64_t offset = 0;
    for (std::size_t group = 0; group < models.size(); ++group) {
        const GaussianSplatAsset& asset = *models[group].asset;
        for (const ModelInstance& instance : models[group].instances) {
            const std::uint32_t number = frame.mInstanceCount++;
            const std::uint32_t total = GetSplatCount(asset);
            for (std::uint32_t first = 0; first < total; first += mSplatsAtOnce) {
                const std::uint32_t count = std::min(mSplatsAtOnce, total - first);
                frame.mTurns.push_back({group, asset, instance, number, first, count, offset});
                offset += count;
            }
        }
    }
    return frame;
}

// Told before anything of the frame is uploaded.
void GaussianSplatRenderer::CheckLimits(std::uint64_t splatCount, const std::vector<ModelGroup>& models) const {
    const std::uint64_t inWindows = std::uint64_t{SplatPass::kMaxWindows} * mSplatsAtOnce;
    const std::uint64_t records = std::max(mStorageRange / sizeof(nimbrel::gpu::SplatViewData), inWindows);
    const std::uint64_t limit =
        std::min({mStorageRange / sizeof(std::uint32_t), records, std::uint64_t{std::numeric_limits<int>::max()}});
    if (splatCount > limit) {
        ZEB_THROW(zeb::kInternalError,
                  fmt::format("The models of this frame have {} splats; no more than {} can be drawn on this device",
                              splatCount, limit));
    }
    std::uint64_t rows = 0;
    for (const ModelGroup& group : models) rows += static_cast<std::uint64_t>(group.asset->colorHeight);
    if (rows > nimbrel::kMaxColorRows) {
        ZEB_THROW(zeb::kInternalError,
                  fmt::format("The files of this frame have more than {} splats together; that many can be drawn, "
                              "each as often as wanted",
                              nimbrel::kMaxFileSplats));
    }
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
    mSetIndices.SetUnorderedAccess(encoder, kSortKeys, mSortKeys.Get(), 0,
                                   std::uint64_t{frame.mSplatCount} * mSortKeys.GetStride());
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

    mCalcDistancesConstants.SetCount(frame.mTurns.size());
    const MappedBuffer mapped(mCalcDistancesConstants);
    for (std::size_t i = 0; i < frame.mTurns.size(); ++i) {
        const SplatTurn& turn = frame.mTurns[i];
        nimbrel::gpu::CalcDistancesConstants constants{};
        constants._CalcDistancesMatrixAlign = turn.mInstance.localMatrix;
        constants._CalcDistancesMatrixVP = view * turn.mInstance.modelMatrix;
        constants._CalcDistancesSplatCount = turn.mCount;
        constants._CalcDistancesInstanceIndex = turn.mNumber;
        mCalcDistancesConstants.Store(mapped.Get(), i, constants);
    }
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

void GaussianSplatRenderer::BindPlaces(ComputeCommandEncoder& encoder, const ComputeProgram& program,
                                       const SplatTurn& turn) const {
    const GaussianSplatAsset& asset = turn.mAsset;
    const AssetUploader::Place& place = mAssets.GetPlaces()[turn.mGroup];
    constexpr std::uint32_t kChunkSize = nimbrel::gpu::kSplatsPerChunk;
    const BlockPart chunks(place.mChunks, sizeof(GaussianSplatAsset::ChunkInfo), turn.mFirst / kChunkSize,
                           (turn.mCount + kChunkSize - 1) / kChunkSize);
    const BlockPart pos(place.mPos, GaussianSplatAsset::GetVectorSize(asset.posFormat), turn.mFirst, turn.mCount);
    program.SetShaderResource(encoder, kChunks, mAssets.GetChunks(), chunks.mOffset, chunks.mSize);
    program.SetShaderResource(encoder, kPos, mAssets.GetPos(), pos.mOffset, pos.mSize);
    nimbrel::gpu::SplatConstants constants{};
    constants._SplatFormat = static_cast<std::uint32_t>(asset.posFormat) |
                             static_cast<std::uint32_t>(asset.scaleFormat) << 8 |
                             static_cast<std::uint32_t>(asset.shFormat) << 16;
    constants._SplatColorYOffset =
        place.mColorRow + turn.mFirst / nimbrel::gpu::kSplatsPerTileRow * nimbrel::gpu::kRowsPerTileRow;
    program.SetConstants(encoder, kSplatConstants, sizeof(constants) / 4, &constants);
}

void GaussianSplatRenderer::BindAsset(ComputeCommandEncoder& encoder, const ComputeProgram& program,
                                      const SplatTurn& turn) {
    const GaussianSplatAsset& asset = turn.mAsset;
    const AssetUploader::Place& place = mAssets.GetPlaces()[turn.mGroup];
    encoder.TextureTransitionBarrier(mAssets.GetColorTexture(asset.colorFormat), TextureState::ShaderRead);
    BindPlaces(encoder, program, turn);
    const BlockPart other(place.mOther, GaussianSplatAsset::GetOtherSize(asset.scaleFormat), turn.mFirst, turn.mCount);
    program.SetShaderResource(encoder, kOther, mAssets.GetOther(), other.mOffset, other.mSize);
    // A clustered form has one table for all splats.
    const bool hasOwn = GaussianSplatAsset::GetSHCount(asset.shFormat, 1) == 1;
    const auto records = static_cast<std::uint32_t>(GaussianSplatAsset::GetSHCount(asset.shFormat, asset.splatCount));
    const BlockPart sh(place.mSH, GaussianSplatAsset::CalcSHDataSize(1, asset.shFormat) / (hasOwn ? 1 : records),
                       hasOwn ? turn.mFirst : 0, hasOwn ? turn.mCount : records);
    program.SetShaderResource(encoder, kSH, mAssets.GetSH(), sh.mOffset, sh.mSize);
    program.SetDescriptorRange(encoder, kColor, mAssets.GetColorRange(), static_cast<std::uint32_t>(asset.colorFormat));
}

// Turns write ranges of the result that do not overlap, so no barrier stands between them. Direct3D binds no sizes, and
// a tool that takes each binding to reach to the buffer's end reports hazards that are none.
void GaussianSplatRenderer::CalcDistances(ComputeCommandEncoder& encoder, const Frame& frame) {
    FillCalcDistancesConstants(frame);
    const zeb::PackedParameters& packed = *frame.mDrawInfo.mPackedParameters;
    const ComputeProgram* used = nullptr;
    for (std::size_t i = 0; i < frame.mTurns.size(); ++i) {
        const SplatTurn& turn = frame.mTurns[i];
        const bool full = !mLeaveOutEffects || MovesSplats(packed, turn.mInstance.modelIndex);
        ComputeProgram& program = full ? mCalcDistances.mFull : mCalcDistances.mNoEffects;
        if (&program != used) Use(encoder, program);
        if (&program != used || !turn.HasSplatsOf(frame.mTurns[i - 1])) BindPlaces(encoder, program, turn);
        used = &program;
        const std::uint64_t stride = mSortDistances.GetStride();
        program.SetUnorderedAccess(encoder, kSortDistances, mSortDistances.Get(), turn.mOffset * stride,
                                   turn.mCount * stride);
        program.SetConstantBuffer(encoder, kNoiseConstants, mNoiseConstants.Get(),
                                  std::uint64_t{turn.mNumber} * kConstantsStride);
        program.SetConstantBuffer(encoder, kCalcDistancesConstants, mCalcDistancesConstants.Get(),
                                  i * kConstantsStride);
        program.DispatchItems(encoder, turn.mCount);
    }
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

    mCalcViewDataConstants.SetCount(frame.mTurns.size());
    const MappedBuffer mapped(mCalcViewDataConstants);
    for (std::size_t i = 0; i < frame.mTurns.size(); ++i) {
        const ModelInstance& instance = frame.mTurns[i].mInstance;
        constants._MatrixAlign = instance.localMatrix;
        constants._MatrixTransform = instance.modelMatrix;
        constants._MatrixWorldToObject = instance.thirdMatrix;
        constants._MatrixMV = view * instance.modelMatrix * instance.localMatrix;
        constants._SHOrder = frame.mTurns[i].mAsset.shLevel;
        constants._SplatCount = frame.mTurns[i].mCount;
        constants._DrawingIndex = frame.mTurns[i].mNumber;
        mCalcViewDataConstants.Store(mapped.Get(), i, constants);
    }
}

void GaussianSplatRenderer::CalcViewData(ComputeCommandEncoder& encoder, const Frame& frame) {
    FillCalcViewDataConstants(frame);
    mModelConstants.SetCount(frame.mInstanceCount);
    const zeb::PackedParameters& packed = *frame.mDrawInfo.mPackedParameters;
    FillFromPacked(mModelConstants, "ModelConstants{}", packed, frame.mModels);

    encoder.BufferTransitionBarrier(mViewData.Get(), BufferState::UnorderedAccess);
    const ComputeProgram* used = nullptr;
    for (std::size_t i = 0; i < frame.mTurns.size(); ++i) {
        const SplatTurn& turn = frame.mTurns[i];
        const std::uint32_t slot = turn.mInstance.modelIndex;
        const bool full = !mLeaveOutEffects || MovesSplats(packed, slot) || ChangesLook(packed, slot);
        ComputeProgram& program = full ? mCalcViewData.mFull : mCalcViewData.mNoEffects;
        if (&program != used) Use(encoder, program);
        if (&program != used || !turn.HasSplatsOf(frame.mTurns[i - 1])) BindAsset(encoder, program, turn);
        used = &program;
        program.SetConstantBuffer(encoder, kCalcViewDataConstants, mCalcViewDataConstants.Get(),
                                  i * kViewDataConstantsStride);
        const std::uint64_t ofInstance = std::uint64_t{turn.mNumber} * kConstantsStride;
        program.SetConstantBuffer(encoder, kModelConstants, mModelConstants.Get(), ofInstance);
        program.SetConstantBuffer(encoder, kNoiseConstants, mNoiseConstants.Get(), ofInstance);
        const std::uint64_t stride = mViewData.GetStride();
        program.SetUnorderedAccess(encoder, kViewData, mViewData.Get(), turn.mOffset * stride, turn.mCount * stride);
        program.DispatchItems(encoder, turn.mCount);
    }
    encoder.BufferTransitionBarrier(mViewData.Get(), BufferState::GenericRead);
}

void GaussianSplatRenderer::Draw(CommandList& commandList, const Frame& frame, Texture& target) {
    SplatPass::Splats splats;
    if (frame.mSplatCount != 0) splats = {&mSortKeys.Get(), &mViewData.Get(), frame.mSplatCount};
    if (frame.mSplatCount > mStorageRange / sizeof(nimbrel::gpu::SplatViewData)) splats.mWindowSize = mSplatsAtOnce;
    mSplatPass.Record(commandList, frame.mDrawInfo, splats, target, *mSamplerRange);
    const ShapesInfo shapes = ShapesInfo::Collect(*frame.mDrawInfo.mPackedParameters, frame.mModels);
    mShapesPass.Record(commandList, frame.mProjection, frame.mDrawInfo, shapes, target);
}
