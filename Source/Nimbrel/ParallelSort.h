#pragma once

#include <cstdint>

#include "Nimbrel/ShaderConstants.h"
#include "PluginBase/Render/Device.h"
#include "RenderHelper/Buffer.h"
#include "RenderHelper/ComputeProgram.h"

/// Records a radix sort of 32-bit keys with a 32-bit payload, after the parallel sort of AMD's FidelityFX
/// (GPUOpen): eight passes of four bits, each counting, reducing, scanning and scattering. Stable, so
/// equal keys keep their payload's order.
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

    /// How `numKeys` are split: blocks of 512 keys over at most 800 thread groups.
    static nimbrel::gpu::SortConstants MakeConstants(std::uint32_t numKeys);

private:
    void Pass(zeb::render::ComputeCommandEncoder& encoder, const nimbrel::gpu::SortConstants& constants,
              std::uint32_t shift, zeb::render::Buffer* const (&keys)[2], zeb::render::Buffer* const (&payload)[2]);
    void Run(zeb::render::ComputeCommandEncoder& encoder, ComputeProgram& program, std::uint32_t groups);

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
};
