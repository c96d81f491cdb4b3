#include "Nimbrel/ParallelSort.h"

#include <initializer_list>
#include <string>
#include <utility>

#include "Nimbrel/ProgramRegisters.h"
#include "PluginBase/Exception.h"
#include "PluginBase/Render/Render.h"

using namespace zeb::render;
using nimbrel::gpu::kSortBinCount;
using nimbrel::gpu::kSortBlockSize;
using nimbrel::gpu::kSortGroupSize;
using nimbrel::gpu::SortConstants;
using enum nimbrel::gpu::SortRegister;

namespace {

constexpr std::uint32_t kMaxThreadGroups = 800;
constexpr std::uint32_t kBitsPerPass = 4;
constexpr std::uint32_t kConstantsStride = 256;
constexpr std::uint32_t kMinWaveLanes = 16;

constexpr std::uint32_t DivideUp(std::uint32_t value, std::uint32_t divisor) {
    return value / divisor + (value % divisor != 0 ? 1 : 0);
}

bool IsRegistered(const std::string& program) {
    try {
        Render::GetEmbeddedShaderData(program);
        return true;
    } catch (const zeb::Exception&) {
        return false;
    }
}

/// Name of the program's form for this device: waves where they are wide enough and fill a group; else,
/// where barriers cost much, the form that has none; else group-shared memory, which runs everywhere.
std::string ChooseForm(const Device& device, ParallelSort::Form form, const std::string& program) {
    if (form == ParallelSort::Form::Plain) return program;
    const std::uint32_t lanes = device.GetWaveLaneCount();
    if (lanes >= kMinWaveLanes && kSortGroupSize % lanes == 0 && IsRegistered(program + ".Wave"))
        return program + ".Wave";
    if (device.AreGroupBarriersCostly() && IsRegistered(program + ".Serial")) return program + ".Serial";
    return program;
}

ComputeProgram MakeProgram(Device& device, ParallelSort::Form form, const char* name, bool hasShift,
                           std::initializer_list<nimbrel::gpu::SortRegister> buffers) {
    ComputeProgram program(device, ChooseForm(device, form, name), 0);
    program.AddConstantBuffer(kSortConstants);
    if (hasShift) program.AddRootConstants(1, kShift);
    for (const std::uint32_t buffer : buffers) program.AddUnorderedAccess(buffer);
    return program;
}

/// How `numKeys` are split: blocks of 512 keys over at most 800 thread groups.
SortConstants MakeConstants(std::uint32_t numKeys) {
    const std::uint32_t blocks = DivideUp(numKeys, kSortBlockSize);
    SortConstants constants{};
    constants.numKeys = numKeys;
    constants.numThreadGroups = blocks;
    constants.numBlocksPerThreadGroup = 1;
    if (blocks >= kMaxThreadGroups) {
        constants.numThreadGroups = kMaxThreadGroups;
        constants.numBlocksPerThreadGroup = static_cast<std::int32_t>(blocks / kMaxThreadGroups);
        constants.numThreadGroupsWithAdditionalBlocks = blocks % kMaxThreadGroups;
    }
    constants.numReduceThreadgroupPerBin =
        constants.numThreadGroups < kSortBlockSize ? 1 : DivideUp(constants.numThreadGroups, kSortBlockSize);
    constants.numScanValues = constants.numReduceThreadgroupPerBin * kSortBinCount;
    return constants;
}

}  // namespace

ParallelSort::Programs::Programs(Device& device, Form form)
    : mReduce(MakeProgram(device, form, "FfxParallelSortReduce", false, {kSumTable, kReduceTable})),
      mScanAdd(
          MakeProgram(device, form, "FfxParallelSortScanAdd", false, {kScanSource, kScanDestination, kScanScratch})),
      mScan(MakeProgram(device, form, "FfxParallelSortScan", false, {kScanSource, kScanDestination})),
      mScatter(MakeProgram(device, form, "FfxParallelSortScatter", true,
                           {kSourceKeys, kDestinationKeys, kSourcePayloads, kDestinationPayloads, kSumTable})),
      mCount(MakeProgram(device, form, "FfxParallelSortCount", true, {kSourceKeys, kSumTable})),
      mConstants(device, "SortConstantsBuffer", kUploadBuffer, kConstantsStride),
      mSortScratch(device, "SortScratchBuffer", kGpuBuffer),
      mPayloadScratch(device, "PayloadScratchBuffer", kGpuBuffer),
      mScratch(device, "ScratchBuffer", kGpuBuffer),
      mReducedScratch(device, "ReducedScratchBuffer", kGpuBuffer) {
    mConstants.SetCount(1);
}

ParallelSort::ParallelSort(Device& device, Form form) {
    if (!device.CanSort()) mPrograms.emplace(device, form);
}

void ParallelSort::Sort(ComputeCommandEncoder& encoder, std::uint32_t numKeys, zeb::render::Buffer& keys,
                        zeb::render::Buffer& payload) {
    if (numKeys == 0) return;
    if (mPrograms)
        mPrograms->Sort(encoder, numKeys, keys, payload);
    else
        encoder.Sort(keys, payload, numKeys);
}

void ParallelSort::Programs::Sort(ComputeCommandEncoder& encoder, std::uint32_t numKeys, zeb::render::Buffer& keys,
                                  zeb::render::Buffer& payload) {
    const std::uint32_t blocks = DivideUp(numKeys, kSortBlockSize);
    mSortScratch.SetCount(numKeys);
    mPayloadScratch.SetCount(numKeys);
    mScratch.SetCount(std::uint64_t{blocks} * kSortBinCount);
    mReducedScratch.SetCount(std::uint64_t{DivideUp(blocks, kSortBlockSize)} * kSortBinCount);
    for (const ::Buffer* buffer :
         std::initializer_list<const ::Buffer*>{&mSortScratch, &mPayloadScratch, &mScratch, &mReducedScratch})
        encoder.BufferTransitionBarrier(buffer->Get(), BufferState::UnorderedAccess);

    const SortConstants constants = MakeConstants(numKeys);
    mConstants.Store(MappedBuffer(mConstants).Get(), 0, constants);

    // Source and destination change places after each pass; their even number leaves the result in place.
    zeb::render::Buffer* keyPair[2] = {&keys, &mSortScratch.Get()};
    zeb::render::Buffer* payloadPair[2] = {&payload, &mPayloadScratch.Get()};
    for (std::uint32_t shift = 0; shift < 32; shift += kBitsPerPass) {
        Pass(encoder, constants, shift, keyPair, payloadPair);
        std::swap(keyPair[0], keyPair[1]);
        std::swap(payloadPair[0], payloadPair[1]);
    }
}

void ParallelSort::Programs::Run(ComputeCommandEncoder& encoder, ComputeProgram& program, std::uint32_t groups) {
    program.SetConstantBuffer(encoder, kSortConstants, mConstants.Get(), 0);
    encoder.Dispatch(groups, 1, 1, kSortGroupSize, 1, 1);
}

void ParallelSort::Programs::Pass(ComputeCommandEncoder& encoder, const SortConstants& constants, std::uint32_t shift,
                                  zeb::render::Buffer* const (&keys)[2], zeb::render::Buffer* const (&payload)[2]) {
    zeb::render::Buffer& sums = mScratch.Get();
    zeb::render::Buffer& reduced = mReducedScratch.Get();

    mCount.Use(encoder);
    mCount.SetConstant(encoder, kShift, shift);
    mCount.SetUnorderedAccess(encoder, kSourceKeys, *keys[0], 0);
    mCount.SetUnorderedAccess(encoder, kSumTable, sums, 0);
    Run(encoder, mCount, constants.numThreadGroups);
    encoder.BufferUnorderedAccessBarrier(sums);

    mReduce.Use(encoder);
    mReduce.SetUnorderedAccess(encoder, kSumTable, sums, 0);
    mReduce.SetUnorderedAccess(encoder, kReduceTable, reduced, 0);
    Run(encoder, mReduce, constants.numScanValues);
    encoder.BufferUnorderedAccessBarrier(reduced);

    mScan.Use(encoder);
    mScan.SetUnorderedAccess(encoder, kScanSource, reduced, 0);
    mScan.SetUnorderedAccess(encoder, kScanDestination, reduced, 0);
    Run(encoder, mScan, 1);
    encoder.BufferUnorderedAccessBarrier(sums);
    encoder.BufferUnorderedAccessBarrier(reduced);

    mScanAdd.Use(encoder);
    mScanAdd.SetUnorderedAccess(encoder, kScanSource, sums, 0);
    mScanAdd.SetUnorderedAccess(encoder, kScanDestination, sums, 0);
    mScanAdd.SetUnorderedAccess(encoder, kScanScratch, reduced, 0);
    Run(encoder, mScanAdd, constants.numScanValues);
    encoder.BufferUnorderedAccessBarrier(*keys[0]);
    encoder.BufferUnorderedAccessBarrier(*payload[0]);
    encoder.BufferUnorderedAccessBarrier(sums);

    mScatter.Use(encoder);
    mScatter.SetConstant(encoder, kShift, shift);
    mScatter.SetUnorderedAccess(encoder, kSourceKeys, *keys[0], 0);
    mScatter.SetUnorderedAccess(encoder, kDestinationKeys, *keys[1], 0);
    mScatter.SetUnorderedAccess(encoder, kSourcePayloads, *payload[0], 0);
    mScatter.SetUnorderedAccess(encoder, kDestinationPayloads, *payload[1], 0);
    mScatter.SetUnorderedAccess(encoder, kSumTable, sums, 0);
    Run(encoder, mScatter, constants.numThreadGroups);
    encoder.BufferUnorderedAccessBarrier(*keys[1]);
    encoder.BufferUnorderedAccessBarrier(*payload[1]);
    encoder.BufferUnorderedAccessBarrier(sums);
}
