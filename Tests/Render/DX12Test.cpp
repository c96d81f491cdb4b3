// What is Direct3D's own: the states of resources, and what long use leaves behind.
#include <gmock/gmock.h>

#include <thread>

#include "../Windows/ProcessUsage.h"
#include "DX12/CommandList.h"
#include "DX12/Device.h"
#include "DX12/PipelineStates.h"
#include "DX12/RootSignature.h"
#include "DeviceFixture.h"

namespace zeb::render {
namespace {

using testing::HasSubstr;

using DX12Test = DeviceFixture;

TEST_F(DX12Test, ProgramsWithWavesNeedShaderModel6AndADeviceThatHasThem) {
    const struct {
        D3D_SHADER_MODEL mModel;
        bool mHasWaves;
        ShaderFormat mFormat;
        std::uint32_t mLanes;
    } cases[] = {
        {D3D_SHADER_MODEL_5_1, false, ShaderFormat::Dxbc, 0},
        {D3D_SHADER_MODEL_5_1, true, ShaderFormat::Dxbc, 0},
        {D3D_SHADER_MODEL_6_0, false, ShaderFormat::Dxil, 0},
        {D3D_SHADER_MODEL_6_0, true, ShaderFormat::Dxil, 32},
        {static_cast<D3D_SHADER_MODEL>(D3D_SHADER_MODEL_6_0 + 5), true, ShaderFormat::Dxil, 32},
    };
    for (const auto& c : cases) {
        D3D12_FEATURE_DATA_D3D12_OPTIONS1 waves = {};
        waves.WaveOps = c.mHasWaves ? TRUE : FALSE;
        waves.WaveLaneCountMin = 32;
        const ProgramSupport support = ChoosePrograms(c.mModel, waves);
        EXPECT_EQ(support.mFormat, c.mFormat) << c.mModel << " " << c.mHasWaves;
        EXPECT_EQ(support.mWaveLaneCount, c.mLanes) << c.mModel << " " << c.mHasWaves;
    }
}

TEST_F(DX12Test, ThreadsSharePipelinesThatAreAlike) {
    const auto native = [](const ComputeProgramUnderTest& program) {
        return dynamic_cast<ComputePipelineStateDX12&>(*program.mPipeline).GetResource()->mPipelineState.Get();
    };
    const ComputeProgramUnderTest here = MakeChain(GetDevice());
    std::thread([&] { EXPECT_EQ(native(MakeChain(GetDevice())), native(here)); }).join();
    const ComputeProgramUnderTest other = {GetDevice(), "Chain", [](RootSignature& signature) {
                                               signature.AddRootUnorderedAccessBufferView(6);
                                               signature.AddRootConstants(20, 0);
                                           }};
    EXPECT_NE(native(other), native(here)) << "parameters in another order";
}

TEST_F(DX12Test, ATransitionIsRecordedOnce) {
    const auto texture = MakeTexture(Format::RGBA8Unorm, 4, 4);
    const auto buffer = MakeBuffer(64);
    const auto upload = MakeBuffer(64, MemoryKind::Upload);
    Run([&](CommandList& list) {
        const auto& own = dynamic_cast<CommandListDX12&>(list);
        const auto encoder = list.CreateCopyCommandEncoder();
        for (int i = 0; i < 2; ++i) {
            encoder->TextureTransitionBarrier(*texture, TextureState::CopyDestination);
            encoder->BufferTransitionBarrier(*buffer, BufferState::UnorderedAccess);
            encoder->BufferTransitionBarrier(*upload, BufferState::CopyDestination);  // stays as it is
        }
        EXPECT_EQ(own.GetBarrierCount(), 2U);
        encoder->BufferUnorderedAccessBarrier(*buffer);
        encoder->BufferUnorderedAccessBarrier(*buffer);
        EXPECT_EQ(own.GetBarrierCount(), 4U);
        encoder->End();
    });
    // Buffers fall back to the common state after each list, textures stay.
    Run([&](CommandList& list) {
        const auto encoder = list.CreateCopyCommandEncoder();
        encoder->TextureTransitionBarrier(*texture, TextureState::CopyDestination);
        encoder->BufferTransitionBarrier(*buffer, BufferState::UnorderedAccess);
        EXPECT_EQ(dynamic_cast<CommandListDX12&>(list).GetBarrierCount(), 1U);
        encoder->End();
    });
}

// Shaders read descriptors when the list runs, long after the range was written again or given back.
TEST_F(DX12Test, WorkSeesItsDescriptorsAsTheyWereWhenItWasRecorded) {
    constexpr std::uint32_t kUsage = kTextureUsageShaderRead | kTextureUsageUnorderedAccess;
    const ComputeProgramUnderTest program(GetDevice(), "WriteImage", [](RootSignature& signature) {
        signature.AddDescriptorTable({{DescriptorRangeType::UnorderedAccessTexture, 1, 13}});
        signature.AddRootConstants(20, 0);
    });
    std::vector<UniquePtr<Texture>> images;
    for (int i = 0; i < 4; ++i) images.push_back(MakeTexture(Format::RGBA32Float, 4, 4, kUsage));
    DescriptorHeap& heap = *GetDevice().GetThreadData().mShaderResourceHeap;
    auto range = heap.AllocateRange(2);
    const auto view = [&](std::uint32_t index, std::size_t image) {
        GetDevice().CreateUnorderedAccessTextureView(*range, index, *images[image]);
    };
    Compute([&](ComputeCommandEncoder& encoder) {
        program.Set(encoder);
        const auto dispatch = [&](std::uint32_t addend) {
            const std::uint32_t constants[] = {0, addend};
            encoder.SetRootConstants(1, 2, constants);
            encoder.Dispatch(1, 1, 1, 4, 4, 1);
        };
        view(0, 0);
        view(1, 1);
        encoder.SetRootDescriptorTable(0, *range, 1);
        dispatch(1);
        view(1, 2);  // a table that is bound shows what is written until the dispatch
        dispatch(2);
        view(1, 3);
        encoder.SetRootDescriptorTable(0, *range, 0);
        dispatch(0);
        encoder.SetRootDescriptorTable(0, *range, 1);
        dispatch(3);
        range = heap.AllocateRange(1);
        view(0, 0);
    });
    for (std::size_t i = 0; i < images.size(); ++i)
        EXPECT_EQ(ReadFloats(*images[i])[2], static_cast<float>(i)) << "image " << i;
    // All slots are free again.
    range.reset();
    heap.AllocateRange(static_cast<std::int32_t>(DescriptorHeapSizes().mShaderResources));
}

TEST_F(DX12Test, MemoryThatTheCpuSeesIsNotWrittenByPrograms) {
    const auto upload = MakeBuffer(64, MemoryKind::Upload);
    const auto source = MakeBuffer(64);
    EXPECT_THAT(
        GetFailure([&] { Copy([&](CopyCommandEncoder& encoder) { encoder.CopyBuffer(*upload, 0, *source, 0, 64); }); }),
        HasSubstr("\"Test buffer\" lies in memory that the device cannot use"));
}

TEST_F(DX12Test, AThousandListsLeaveNothingBehind) {
    DescriptorHeap& heap = *GetDevice().GetThreadData().mShaderResourceHeap;
    nimbrel::test::ProcessUsage before;
    std::uint32_t resources = 0;
    for (std::uint32_t i = 0; i < 1000; ++i) {
        if (i == 200) {
            before = nimbrel::test::MeasureProcess();
            resources = kTestedDevice.mGetLiveBlocks(GetDevice());
        }
        // What a frame does: a temporary texture with its view, unaligned copies to it and back, and a wait.
        const auto texture = MakeTexture(Format::RGBA8Unorm, 9, 5);
        const auto range = heap.AllocateRange(600);
        GetDevice().CreateTextureView(*range, i % 600, *texture);
        const std::vector<std::uint32_t> texels(45, i);
        Upload(*texture, texels.data(), texels.size() * 4);
        if (i % 100 == 0) {
            ASSERT_EQ(std::memcmp(ReadBytes(*texture).data(), texels.data(), 180), 0);
        }
    }
    const nimbrel::test::ProcessUsage after = nimbrel::test::MeasureProcess();
    EXPECT_EQ(kTestedDevice.mGetLiveBlocks(GetDevice()), resources);
    EXPECT_LE(after.mHandles, before.mHandles + 4);
    EXPECT_LE(after.mHeapBytes, before.mHeapBytes + (64U << 10));
}

}  // namespace
}  // namespace zeb::render
