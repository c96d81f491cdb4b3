#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <glm/mat4x4.hpp>

#include "Nimbrel/AssetUploader.h"
#include "Nimbrel/CurveTextures.h"
#include "Nimbrel/ModelGroup.h"
#include "Nimbrel/ParallelSort.h"
#include "Nimbrel/RenderShapesPass.h"
#include "Nimbrel/ShaderConstants.h"
#include "Nimbrel/SplatPass.h"
#include "PluginBase/DrawInfo.h"
#include "PluginBase/Render/Device.h"
#include "RenderHelper/Buffer.h"
#include "RenderHelper/ComputeProgram.h"

/// Which forms of its programs a renderer runs. Others than these are for measurements.
struct RendererPrograms {
    /// The splat kernels' form "NoEffects" for instances whose effects are off; else the full form for all.
    bool mLeaveOutEffects = true;
    ParallelSort::Form mSort = ParallelSort::Form::ForDevice;
    /// Splats that a kernel sees at once and records that the draw does, a multiple of kSplatsPerTileRow; 0 for as many
    /// as every device takes, and all records in one where this device binds them so.
    std::uint32_t mSplatsAtOnce = 0;
    /// Wires as on devices that draw lines by another rule.
    bool mLinesAsAreas = false;
};

/// Turns a list of models and one tile's camera and parameters into one recorded command list: upload,
/// depth keys, one sort over all instances of all models, projection, one instanced draw front to back,
/// wireframe aids on top.
/// Every frame is recorded from nothing; only the GPU resources are kept, and they only grow.
///
/// One object per device and thread, not locked. Failures of the render layer pass through; the list
/// recorded so far is dropped then.
class GaussianSplatRenderer {
public:
    /// Parts of a frame, in the order of their work.
    enum class Stage : std::uint8_t { Upload, Distances, Sort, ViewData, Draw };

    explicit GaussianSplatRenderer(zeb::render::Device& device, const RendererPrograms& programs = {});

    /// `projection` takes view space to clip space; DrawInfo::mCamera is the view matrix. Draws into the
    /// part of `target` from (0, 0) of the tile's size; all of `target` is cleared first.
    zeb::UniquePtr<zeb::render::CommandList> Render(zeb::render::Device& device, const glm::mat4& projection,
                                                    const zeb::DrawInfo& drawInfo,
                                                    const std::vector<ModelGroup>& models,
                                                    zeb::render::Texture& target);

    /// One stage of Render in a list of its own, so that it can be measured. All stages before it must have
    /// run for the same frame, and Distances anew before each Sort, which takes the keys apart. There must
    /// be splats.
    zeb::UniquePtr<zeb::render::CommandList> RenderStage(zeb::render::Device& device, Stage stage,
                                                         const glm::mat4& projection, const zeb::DrawInfo& drawInfo,
                                                         const std::vector<ModelGroup>& models,
                                                         zeb::render::Texture& target);

    /// What a frame with splats leaves behind once it has been executed, for tests: the depth keys in ascending order,
    /// the order in which splats were drawn, and their records.
    zeb::render::Buffer& GetSortDistances() const { return mSortDistances.Get(); }
    zeb::render::Buffer& GetSortKeys() const { return mSortKeys.Get(); }
    zeb::render::Buffer& GetViewData() const { return mViewData.Get(); }

private:
    /// Splats of one instance that one dispatch takes: all, or a part of those of a large model. Parts begin with a row
    /// of tiles of the colour texture, so that a kernel counts from its own first splat.
    struct SplatTurn {
        std::size_t mGroup;
        const GaussianSplatAsset& mAsset;
        const ModelInstance& mInstance;
        std::uint32_t mNumber;  ///< of the instance, in the frame's order
        std::uint32_t mFirst;   ///< within the asset
        std::uint32_t mCount;
        std::uint64_t mOffset;  ///< splats of all turns before

        bool HasSplatsOf(const SplatTurn& other) const { return mGroup == other.mGroup && mFirst == other.mFirst; }
    };

    /// What the steps of one frame share.
    struct Frame {
        const glm::mat4& mProjection;
        const zeb::DrawInfo& mDrawInfo;
        const std::vector<ModelGroup>& mModels;
        std::uint32_t mSplatCount = 0;     ///< sum over groups of splats times instances
        std::uint32_t mInstanceCount = 0;  ///< over all groups; an instance's number runs in frame order
        std::vector<SplatTurn> mTurns = {};
    };

    Frame MakeFrame(const glm::mat4& projection, const zeb::DrawInfo& drawInfo,
                    const std::vector<ModelGroup>& models) const;
    void CheckLimits(std::uint64_t splatCount, const std::vector<ModelGroup>& models) const;
    void Upload(zeb::render::CommandList& commandList, const Frame& frame);
    void FillSortKeys(zeb::render::ComputeCommandEncoder& encoder, const Frame& frame);
    void SortSplats(zeb::render::ComputeCommandEncoder& encoder, const Frame& frame);
    void FillCalcDistancesConstants(const Frame& frame);
    void CalcDistances(zeb::render::ComputeCommandEncoder& encoder, const Frame& frame);
    void FillCalcViewDataConstants(const Frame& frame);
    void CalcViewData(zeb::render::ComputeCommandEncoder& encoder, const Frame& frame);
    void Draw(zeb::render::CommandList& commandList, const Frame& frame, zeb::render::Texture& target);
    /// A kernel's forms, alike in results and parameters; the second is without the code of the effects.
    struct KernelForms {
        ComputeProgram mFull;
        ComputeProgram mNoEffects;
    };
    static KernelForms MakeKernel(zeb::render::Device& device, const std::string& name);
    void Use(zeb::render::ComputeCommandEncoder& encoder, ComputeProgram& program);
    void BindPlaces(zeb::render::ComputeCommandEncoder& encoder, const ComputeProgram& program,
                    const SplatTurn& turn) const;
    void BindAsset(zeb::render::ComputeCommandEncoder& encoder, const ComputeProgram& program, const SplatTurn& turn);

    bool mLeaveOutEffects;
    std::uint64_t mStorageRange;  ///< bytes of a buffer that a program sees at once
    std::uint32_t mSplatsAtOnce;
    ComputeProgram mSetIndices;
    StructuredBuffer<nimbrel::gpu::NoiseConstants1> mNoiseConstants;
    KernelForms mCalcDistances;
    StructuredBuffer<nimbrel::gpu::CalcDistancesConstants> mCalcDistancesConstants;
    CurveTextures mCurves;
    zeb::UniquePtr<zeb::render::Sampler> mLinearSampler;
    zeb::UniquePtr<zeb::render::DescriptorRange> mSamplerRange;
    KernelForms mCalcViewData;
    StructuredBuffer<nimbrel::gpu::CalcViewDataConstants> mCalcViewDataConstants;
    StructuredBuffer<nimbrel::gpu::ModelConstants1> mModelConstants;
    ComputeProgram mExportData;
    StructuredBuffer<std::uint32_t> mSortDistances;  ///< the sort's keys
    StructuredBuffer<std::uint32_t> mSortKeys;       ///< the sort's payload: places in mViewData
    AssetUploader mAssets;
    StructuredBuffer<nimbrel::gpu::SplatViewData> mViewData;
    StructuredBuffer<nimbrel::gpu::ExportSplatData> mExportSplatData;
    StructuredBuffer<nimbrel::gpu::ExportSplatData> mExportSplatDataReadback;
    ParallelSort mSort;
    SplatPass mSplatPass;
    RenderShapesPass mShapesPass;
};
