#pragma once

#include <cstdint>
#include <optional>

#include "Nimbrel/ShaderConstants.h"
#include "PluginBase/Render/Device.h"
#include "RenderHelper/Buffer.h"
#include "RenderHelper/ComputeProgram.h"

/// Records a stable sort of 32-bit keys with a 32-bit payload: the device's own where it can sort, else a radix sort by
/// programs, after the parallel sort of AMD's FidelityFX (GPUOpen): eight passes of four bits, each counting, reducing,
/// scanning and scattering.
///
/// The programs come in several forms with equal results.
class ParallelSort {
public:
    /// Which form of each program is run.
    enum class Form : std::uint8_t {
        ForDevice,  ///< the one that suits the device
        Plain,      ///< group-shared memory, which runs everywhere
    };

    explicit ParallelSort(zeb::render::Device& device, Form form = Form::ForDevice);

    /// Sorts the first `numKeys` elements of `keys` and `payload` in place. With none nothing is recorded.
    /// Both buffers must be in the state of unordered access. One sort per submitted list: the constants
    /// are shared.
    void Sort(zeb::render::ComputeCommandEncoder& encoder, std::uint32_t numKeys, zeb::render::Buffer& keys,
              zeb::render::Buffer& payload);

private:
    /// The programs and what lies between their passes.
    struct Programs {
        Programs(zeb::render::Device& device, Form form);

        ComputeProgram mReduce;
        ComputeProgram mScanAdd;
        ComputeProgram mScan;
        ComputeProgram mScatter;
        ComputeProgram mCount;
        StructuredBuffer<nimbrel::gpu::SortConstants> mConstants;
        StructuredBuffer<std::uint32_t> mSortScratch;
        StructuredBuffer<std::uint32_t> mPayloadScratch;
        StructuredBuffer<std::uint32_t> mScratch;         ///< the sum table: one count per bin and thread group
        StructuredBuffer<std::uint32_t> mReducedScratch;  ///< the reduced sum table

        void Sort(zeb::render::ComputeCommandEncoder& encoder, std::uint32_t numKeys, zeb::render::Buffer& keys,
                  zeb::render::Buffer& payload);
        void Pass(zeb::render::ComputeCommandEncoder& encoder, const nimbrel::gpu::SortConstants& constants,
                  std::uint32_t shift, zeb::render::Buffer* const (&keys)[2], zeb::render::Buffer* const (&payload)[2]);
        void Run(zeb::render::ComputeCommandEncoder& encoder, ComputeProgram& program, std::uint32_t groups);
    };

    std::optional<Programs> mPrograms;  ///< none where the device sorts
};
